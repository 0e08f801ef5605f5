// Reading a catalogue workbook into documents: the hand-written tender (a
// detail estimate, a price schedule and an engagement act sharing rows),
// and small catalogues for the edge cases.

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/test_util.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;
using xml_test::DataFile;
using xml_test::Describe;
using xml_test::Workbook;

// An mn:Image with one page, the columns PU (001) and PT (002) and the given children.
std::string Image(const std::string& children, const std::string& id = "mn1") {
  return "<mn:Image mn:ID=\"" + id + "\" mn:Name=\"Lot1.pdf\" mn:Type=\"DQE\" mn:Orientation=\"1\" mn:H=\"30\">"
         "<mn:iCol mn:Name=\"PU\" mn:Dec=\"2\" mn:X=\"500\" mn:W=\"100\"/>"
         "<mn:iCol mn:Name=\"PT\" mn:Dec=\"1\" mn:X=\"700\" mn:W=\"150\"/><mn:iPage mn:ID=\"1\"/>" + children +
         "</mn:Image>";
}

class XmlReaderTest : public xml_test::CatalogueFixture {
 protected:
  void SetUp() override { platform_->SetFileBytes("lots/tender.xml", DataFile("tender.xml")); }
  std::shared_ptr<cMarquage> ReadBytes(const std::string& bytes) { return Read("lots/cat.xml", &bytes); }
};

TEST_F(XmlReaderTest, TenderDocuments) {
  // Everything read is in the description (the writer's test reads it in both locales).
  platform_->SetLocale(Locale::Comma());
  auto catalogue = Read("lots/tender.xml");
  EXPECT_EQ(catalogue->Name() + "|" + catalogue->Path() + "|" + catalogue->File(), "Électricité|lots/|tender.xml");
  ASSERT_EQ(catalogue->Count(), 3);
  test_util::ExpectDescribedAs(Describe(*catalogue), "xml/tender.described.txt");
  const auto dqe = catalogue->Item("mn1");
  // Fields and rulers are shared objects, not copies; documents do not share them.
  const auto l1_qte = dqe->Champs.Item("L1_Qté");
  EXPECT_EQ(l1_qte->oRegleV(), dqe->Regles_V.Item("002"));
  EXPECT_EQ(l1_qte->oOwnerPage.lock()->Champs.Item("L1_Qté"), l1_qte);
  EXPECT_EQ(dqe->Pages.Item(1)->Regles_H.Item("00002"), dqe->Regles_H.Item("00002"));
  EXPECT_EQ(catalogue->Item("mn3")->Champs.Item("SIRET"), catalogue->Item("mn3")->champsDataContrat.Item("SIRET"));
  EXPECT_NE(catalogue->Item("mn2")->Champs.Item("L1_PU"), dqe->Champs.Item("L1_PU"));
  catalogue->Font->Size(12);  // fonts inherit along the chain: a later change shows through
  EXPECT_EQ(catalogue->Item("mn2")->Font()->Size(), 12);
  EXPECT_EQ(dqe->Font()->Size(), 11);
}

TEST_F(XmlReaderTest, FailedReadsChangeNothing) {
  // Unloadable files: nothing returned, no message, nothing changed.
  auto fresh = std::make_shared<cMarquage>();
  fresh->FullPath("lots/previous.xml");
  platform_->SetFileBytes("lots/broken.xml", "<Workbook><mn:MANDOR></Workbook>");
  for (const char* path : {"lots/missing.xml", "lots/broken.xml"}) EXPECT_EQ(fresh->XML_ReadCNF(path), nullptr);
  EXPECT_EQ(fresh->FullPath() + "|" + fresh->Name(), "lots/previous.xml|previous");
  EXPECT_TRUE(fresh->Count() == 0 && !fresh->Font && platform_->messages().empty());
  // A malformed header after a good image throws, the loaded catalogue unchanged.
  auto catalogue = Read("lots/tender.xml");
  const auto font = catalogue->Font;
  platform_->SetFileBytes("lots/bad.xml", Workbook(Image("", "mn7") + "<mn:Image mn:ID=\"mn9\" mn:Name=\"Bis.pdf\" "
                                                   "mn:Orientation=\"portrait\" mn:H=\"3\"/>", ""));
  EXPECT_EQ(ErrorNumberOf([&] { catalogue->XML_ReadCNF("lots/bad.xml"); }), kTypeMismatch);
  EXPECT_EQ(catalogue->Name() + "|" + catalogue->File(), "Électricité|tender.xml");
  EXPECT_TRUE(catalogue->Count() == 3 && catalogue->Font == font && catalogue->Item(1)->TVA == 5.5f);
  // A data-contract field on a missing page fails the whole read.
  platform_->SetFileBytes("lots/bad.xml", Workbook(Image("<mn:DataContrat><mn:iCell mn:ID=\"mn1\" mn:Name=\"Nom\" "
                                                         "mn:Page=\"3\"/></mn:DataContrat>"), ""));
  EXPECT_EQ(ErrorNumberOf([&] { fresh->XML_ReadCNF("lots/bad.xml"); }), kSubscriptOutOfRange);
  EXPECT_EQ(fresh->Count(), 0);
}

TEST_F(XmlReaderTest, RowAndCellEdgeCases) {
  // Bad attributes are skipped one by one; rows referring to lines further
  // down or to nothing, lines on missing pages, a second field of one name.
  for (const std::string name : {"bad_attributes", "row_edges"}) {
    test_util::ExpectDescribedAs(Describe(*ReadBytes(Workbook(Image(""), DataFile(name + ".rows.xml")))),
                                 "xml/" + name + ".described.txt");
  }
  // A bad column (B) stops the columns, with a message; the rest is read.
  const auto document = ReadBytes(Workbook(DataFile("bad_columns.image.xml"), ""))->Item(1);
  EXPECT_EQ(std::to_string(document->Regles_V.Count()) + "/" + std::to_string(document->Pages.Count()), "1/1");
  EXPECT_TRUE(OnlyMessage().ends_with(": " + Error::DefaultDescription(kTypeMismatch))) << OnlyMessage();
}

}  // namespace
}  // namespace mandor
