// Adding an engagement act to a catalogue (cMarquage::XML_AddNewAE).

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "mandor/xml/image_pdf.h"
#include "tests/test_util.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

constexpr const char* kPath = "lots/lot3.xml";

// A catalogue of the images ("mn1:DQE", ...), a worksheet row carrying an mn:iRow of each.
std::string Catalogue(const std::vector<std::string>& images) {
  std::string xml, row;
  for (const std::string& image : images) {
    const std::string id = image.substr(0, image.find(':')), type = image.substr(image.find(':') + 1);
    xml += "<mn:Image mn:ID=\"" + id + "\" mn:Name=\"" + type + " " + id + ".pdf\" mn:Type=\"" + type +
           "\" mn:Orientation=\"0\" mn:H=\"40\"><mn:iPage mn:ID=\"1\"/></mn:Image>";
    row += "<mn:iRow mn:ID=\"" + id + "\" mn:Name=\"L1\" mn:Y=\"10\" mn:Page=\"1\"/>";
  }
  return xml_test::Workbook(xml + "<mn:Extra/>",
                            "<Row>" + row + "<Cell><Data ss:Type=\"String\">L1</Data></Cell></Row>");
}

class EngagementTest : public xml_test::CatalogueFixture {
 protected:
  std::shared_ptr<cMarquage> ReadCatalogue(const std::string& bytes) { return Read(kPath, &bytes); }
  static std::shared_ptr<Mandor> NewAct(const std::string& devise = "EUR") {
    auto act = std::make_shared<Mandor>();
    act->Orientation = 1, act->HauteurChamp = 42.5f, act->Devise(devise);
    return act;
  }
  std::string File() const { return Bytes(kPath); }
  // The mn:ID and mn:Devise of each saved image, in order.
  std::string SavedImages() const {
    std::string images;
    const auto saved = Saved(kPath);  // alive while its nodes are read
    for (const auto& image : XmlSelectNodes(saved->document(), "Workbook/mn:MANDOR/mn:Image")) {
      images += std::string(image.attribute("mn:ID").value()) + "=" + image.attribute("mn:Devise").value() + " ";
    }
    return images;
  }
  FixedImagePdf pdf_{"AE Lot5.pdf", {{1653, 2339, 200, 200}, {2480.5, 3508, 300, 301}, {1700, 2200, 150, 150}}};
};

TEST_F(EngagementTest, FirstActTakesTheFirstFreeNumberAndIsWritten) {
  auto catalogue = ReadCatalogue(Catalogue({"mn1:DQE", "mn2:BPU"}));
  auto act = NewAct();
  ASSERT_EQ(catalogue->XML_AddNewAE(act, pdf_), act);
  EXPECT_TRUE(catalogue->Count() == 3 && catalogue->Item(3L) == act && act->oOwnerMarquage() == catalogue);
  EXPECT_EQ(pdf_.selected(), (std::vector<int16_t>{1, 2, 3}));
  // Pages from the image object; in the file a new mn:Image last under mn:MANDOR.
  test_util::ExpectDescribedAs(test_util::Describe(*act), "xml/first_act.described.txt");
  ExpectSaved("first_act.xml");
}

TEST_F(EngagementTest, NumberingCountsUpFromTheFormerAct) {
  // A former act ("PC" is one too) is replaced under its number; else the
  // first free number. No currency: index 0 and an empty "mn:Devise".
  const struct { std::vector<std::string> images; const char* id; const char* saved; } cases[] = {
      {{"mn1:PC", "mn2:DQE"}, "mn1", "mn2= mn1= "}, {{"mn1:DQE", "mn3:BPU"}, "mn2", "mn1= mn3= mn2= "}};
  for (const auto& c : cases) {
    auto act = NewAct("");
    ASSERT_NE(ReadCatalogue(Catalogue(c.images))->XML_AddNewAE(act, pdf_), nullptr);
    EXPECT_EQ(act->Id + " " + std::to_string(act->iDevise()), c.id + std::string(" 0"));
    EXPECT_EQ(SavedImages(), c.saved);
  }
}

TEST_F(EngagementTest, FailuresChangeNeitherTheCatalogueNorItsFile) {
  // An unreadable catalogue: a message, nothing returned.
  auto catalogue = ReadCatalogue(Catalogue({"mn1:DQE", "mn2:AE"}));
  const std::string original = File();
  platform_->SetFileBytes(kPath, "not xml <");
  auto act = NewAct();
  EXPECT_EQ(catalogue->XML_AddNewAE(act, pdf_), nullptr);
  EXPECT_TRUE(OnlyMessage().ends_with(": Impossible d'ouvrir le fichier XML [lots/lot3.xml] !")) << OnlyMessage();
  EXPECT_TRUE(act->Id.empty());
  EXPECT_EQ(File(), "not xml <");
  // A former act whose image ID holds no number fails before anything is removed.
  platform_->SetFileBytes(kPath, original);
  catalogue->Item("mn2")->Id = "mnX";
  EXPECT_EQ(test_util::ErrorNumberOf([&] { catalogue->XML_AddNewAE(act, pdf_); }), 13);
  catalogue->Item("mn2")->Id = "mn2";
  // An error of the image object (more pages claimed than it has) reaches the caller.
  struct Broken : FixedImagePdf {
    using FixedImagePdf::FixedImagePdf;
    int32_t PageCount() const override { return 2; }
  } broken("AE.pdf", {{1653, 2339, 200, 200}});
  EXPECT_EQ(test_util::ErrorNumberOf([&] { catalogue->XML_AddNewAE(act, broken); }), 9);
  EXPECT_EQ(catalogue->Count(), 2);
  EXPECT_EQ(File(), original);
}

}  // namespace
}  // namespace mandor
