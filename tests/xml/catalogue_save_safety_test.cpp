// A catalogue save that reports success has written every field, removed only
// deleted ones and left alone what the read did not see; one that cannot keep
// a field fails visibly and leaves the file as it was.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <tuple>

#include "mandor/util/internal/text.h"
#include "mandor/xml/image_pdf.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

constexpr const char* kPath = "lots/lot.xml";
constexpr const char* kQte = "<mn:iCell mn:Name=\"L1_Qte\" mn:ID=\"mn1\" mn:Page=\"1\" mn:iPrint=\"1\" mn:Type=\"1\"/>";

// tests/data/xml/one_row_lot.xml: one detail estimate (mn1), columns Qte, PU
// and Total (no named range), row L1 holding the field L1_Qte; `extra` is
// appended to the image, `cells` to the row, `sheet` names the worksheet.
std::string Catalogue(const std::string& extra = "", const std::string& cells = "", const std::string& sheet = "Lot",
                      const std::string& encoding = "UTF-8") {
  std::string xml = xml_test::DataFile("one_row_lot.xml");
  for (const auto& [from, to] : {std::pair<std::string, std::string>{"{extra}", extra}, {"{cells}", cells},
                                 {"{sheet}", sheet}, {"encoding=\"UTF-8\"", "encoding=\"" + encoding + "\""}}) {
    xml = ReplaceAll(xml, from, to);
  }
  return xml;
}

size_t Occurrences(std::string_view text, std::string_view what) {
  size_t count = 0;
  for (size_t at = text.find(what); at != std::string_view::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

class CatalogueSaveSafetyTest : public xml_test::CatalogueFixture {
 protected:
  std::shared_ptr<cMarquage> Read(const std::string& bytes) { return kept_ = CatalogueFixture::Read(kPath, &bytes); }
  std::shared_ptr<Mandor> ReadAgain() { return (kept_ = CatalogueFixture::Read(kPath))->Item("mn1"); }
  static bool Save(std::shared_ptr<Mandor> doc) { return doc->SauvegarderMarquageXml(doc); }
  std::string Bytes() const { return CatalogueFixture::Bytes(kPath); }
  bool Has(std::string_view what) const { return Bytes().find(what) != std::string::npos; }
  void ExpectSavedTwiceAlike(const std::shared_ptr<Mandor>& doc) {
    ASSERT_TRUE(Save(doc)) << LastMessage();
    const std::string once = Bytes();
    ASSERT_TRUE(Save(doc)) << LastMessage();
    EXPECT_EQ(Bytes(), once);
  }
  static std::shared_ptr<Mandor> AddAct(cMarquage& catalogue) {
    auto act = std::make_shared<Mandor>();
    FixedImagePdf pdf("AE Lot.pdf", {{1653, 2339, 200, 200}});
    EXPECT_EQ(catalogue.XML_AddNewAE(act, pdf), act);
    return act;
  }

 private:
  std::shared_ptr<cMarquage> kept_;
};

TEST_F(CatalogueSaveSafetyTest, WorksheetFieldFlaggedDataContractIsKeptAndRewritten) {
  // A worksheet field flagged data-contract but not in champsDataContrat stays.
  for (const std::string extra : {"", "<mn:DataContrat/>"}) {
    SCOPED_TRACE(extra);
    auto field = Read(Catalogue(extra))->Item("mn1")->Champs.Item("L1_Qte");
    field->IsDataContrat(true), field->Formule("Qte*2");
    ASSERT_TRUE(Save(field->oOwnerMandor())) << LastMessage();
    EXPECT_EQ(Occurrences(Bytes(), "mn:Name=\"L1_Qte\""), 1u) << Bytes();
    EXPECT_TRUE(Has("mn:Formula=\"Qte*2\"")) << "rewritten, not left stale";
    EXPECT_EQ(ReadAgain()->Champs.Item("L1_Qte")->Formule(), "Qte*2");
  }
}

TEST_F(CatalogueSaveSafetyTest, SecondElementOfTheSameNameIsNotRemoved) {
  // The reader keeps the first L1_Qte; the second, in the PU cell, stays.
  auto doc = Read(Catalogue("", "<Cell><Data ss:Type=\"Number\">12.5</Data><NamedCell ss:Name=\"PU\"/>" +
                                    ReplaceAll(kQte, "/>", " mn:Dec=\"3\"/>") + "</Cell>"))->Item("mn1");
  ASSERT_TRUE(doc->Champs.Contains("L1_Qte"));
  ExpectSavedTwiceAlike(doc);
  EXPECT_EQ(Occurrences(Bytes(), "mn:Name=\"L1_Qte\""), 2u) << Bytes();
  EXPECT_TRUE(Has("mn:Dec=\"3\"") && Has(">12.5</Data>"));
  // A field deleted from the document loses all its elements of this document.
  (doc = ReadAgain())->Champs.Remove("L1_Qte");
  ASSERT_TRUE(Save(doc));
  EXPECT_EQ(Occurrences(Bytes(), "mn:Name=\"L1_Qte\""), 0u) << Bytes();
}

TEST_F(CatalogueSaveSafetyTest, EditedFieldReadsBackAheadOfItsNamesakeInTheSameCell) {
  // Of two L1_Qte elements in one cell the reader takes the first: the
  // rewritten one must stay first, or the edit is lost on the next read.
  auto doc = Read(ReplaceAll(Catalogue(), kQte, kQte + ReplaceAll(kQte, "/>", " mn:Formula=\"old\"/>")))->Item("mn1");
  ASSERT_EQ(doc->Champs.Item("L1_Qte")->Formule(), "");
  doc->Champs.Item("L1_Qte")->Formule("Qte*7");
  ExpectSavedTwiceAlike(doc);
  EXPECT_EQ(Occurrences(Bytes(), "mn:Name=\"L1_Qte\""), 2u);
  EXPECT_EQ(ReadAgain()->Champs.Item("L1_Qte")->Formule(), "Qte*7");
}

TEST_F(CatalogueSaveSafetyTest, SingleByteCataloguesKeepEveryCharacter) {
  // Characters the encoding cannot hold become character references.
  const std::string formula = "Qte*2 → 5 € Œuvre ✓ été 中", sub_name = "Ÿ‰“x”";
  for (const char* encoding : {"ISO-8859-1", "windows-1252"}) {
    SCOPED_TRACE(encoding);
    auto field = Read(Catalogue("", "", "Lot", encoding))->Item("mn1")->Champs.Item("L1_Qte");
    field->Formule(formula), field->SubName = sub_name;
    ASSERT_TRUE(Save(field->oOwnerMandor())) << LastMessage();
    const std::string bytes = Bytes();
    EXPECT_EQ(bytes.find('?', bytes.find("mn:Formula")), bytes.find("?>", bytes.find("mn:Formula")))
        << "no character became \"?\"";
    EXPECT_TRUE(Has("&#8594;") && Has("\xE9t\xE9"));
    auto again = ReadAgain();
    EXPECT_EQ(again->Champs.Item("L1_Qte")->Formule() + "|" + again->Champs.Item("L1_Qte")->SubName,
              formula + "|" + sub_name);
    ASSERT_TRUE(Save(again));
    EXPECT_EQ(Bytes(), bytes);
  }
}

TEST_F(CatalogueSaveSafetyTest, MislabelledCatalogueIsWrittenAsItWasRead) {
  // Declared UTF-16, written 8-bit with a non-UTF-8 byte in a name: the save
  // keeps the file 8-bit and the name.
  auto doc = Read(ReplaceAll(Catalogue("", "", "Lot", "UTF-16"), "L1_Qte", "L1_Q\xE5te"))->Item("mn1");
  ASSERT_TRUE(doc->Champs.Contains("L1_Q\xE5te"));
  doc->Champs.Item("L1_Q\xE5te")->Formule("Qté");
  ExpectSavedTwiceAlike(doc);
  EXPECT_EQ(Bytes().find('\0'), std::string::npos);
  EXPECT_TRUE(Has("mn:Name=\"L1_Q\xE5te\"") && Has("mn:Formula=\"Qt\xC3\xA9\""));
}

TEST_F(CatalogueSaveSafetyTest, RenamedWorksheetIsNeitherReadNorWritten) {
  // The worksheet was renamed: the read sees no rows, the save touches none.
  auto doc = Read(Catalogue("", "", "Lot (renamed)"))->Item("mn1");
  EXPECT_EQ(doc->Champs.Count(), 0);
  const std::string before = Bytes();
  ASSERT_TRUE(Save(doc)) << LastMessage();
  for (const char* element : {"<mn:iCell", "<mn:iRow", "mn:Name=\"L1_Qte\""}) {
    EXPECT_EQ(Occurrences(Bytes(), element), Occurrences(before, element)) << element;
  }
  // A new row has no worksheet to go to: the save fails visibly, file unchanged.
  auto regle = std::make_shared<CRegle>();
  regle->Nom = "L2", regle->oOwnerMandor(doc), regle->Page(doc->Pages.Item(1L));
  doc->Pages.Item(1L)->Regles_H.Add(regle, "00001"), doc->Regles_H.Add(regle, "00001");
  const std::string saved = Bytes();
  EXPECT_FALSE(Save(doc));
  EXPECT_EQ(Bytes(), saved);
  EXPECT_TRUE(StartsWith(LastMessage(), "Une erreur est survenue au cours de l'enregistrement : ")) << LastMessage();
}

TEST_F(CatalogueSaveSafetyTest, NewFieldWithoutNamedColumnKeepsItsPosition) {
  // Column Total has no named range: the field becomes a page-level cell
  // stating its whole position, though it sits exactly on its rulers.
  auto doc = Read(Catalogue())->Item("mn1");
  auto row = xml_test::Ruler(doc->Regles_H, "L1"), column = xml_test::Ruler(doc->Regles_V, "Total");
  ASSERT_TRUE(row && column);
  auto field = xml_test::AddField(doc, "L1_Total", row, column, 1);
  field->Position_pixel_Top = row->Position_pixel_Y, field->Position_pixel_Bottom = row->Position_pixel_Y + 40;
  field->Position_pixel_Left = column->Position_pixel_X, field->Position_pixel_Right = column->Position_pixel_X + 200;
  ASSERT_TRUE(Save(doc)) << LastMessage();
  for (int pass = 0; pass < 2; ++pass) {
    auto again = ReadAgain();
    auto read = again->Champs.Item("L1_Total");
    EXPECT_EQ(testing::PrintToString(std::tuple(read->Position_pixel_Top, read->Position_pixel_Bottom,
                                                read->Position_pixel_Left, read->Position_pixel_Right, read->Page)),
              "(500, 540, 1400, 1600, 1)") << pass;
    ASSERT_TRUE(Save(again));
  }
}

TEST_F(CatalogueSaveSafetyTest, SavesLeaveUsersFilesAndSurviveAPowerCut) {
  // Files named like the save's temporary files are the user's.
  const std::string mine[] = {std::string(kPath) + ".tmp", TemporaryFileName(kPath, 1), TemporaryFileName(kPath, 2)};
  for (const auto& path : mine) platform_->SetFileBytes(path, "mine: " + path);
  auto catalogue = Read(Catalogue());
  catalogue->Item("mn1")->Champs.Item("L1_Qte")->Formule("Qte*3");
  ASSERT_TRUE(Save(catalogue->Item("mn1")));
  for (int step = 0; step < 2; ++step) {  // the save, then a new act
    if (step == 1) AddAct(*catalogue);
    const std::string saved = Bytes();
    platform_->SimulatePowerLoss();
    EXPECT_EQ(Bytes(), saved) << step;
  }
  EXPECT_TRUE(Has("mn:Type=\"AE\"") && Has("mn:Formula=\"Qte*3\""));
  for (const auto& path : mine) EXPECT_EQ(CatalogueFixture::Bytes(path), "mine: " + path);
  EXPECT_EQ(platform_->Paths().size(), std::size(mine) + 1);
}

TEST_F(CatalogueSaveSafetyTest, UnknownTypeIsNoEngagementActWhateverItsFileName) {
  // "XYZ" is no type, whatever the file name: a new act does not replace it.
  auto catalogue = Read(Catalogue("</mn:Image><mn:Image mn:ID=\"mn2\" mn:Name=\"Annexe_ae.pdf\" mn:Type=\"XYZ\""
                                  " mn:Orientation=\"0\" mn:H=\"40\" mn:Devise=\"EUR\"><mn:iPage mn:ID=\"1\"/>"));
  ASSERT_EQ(catalogue->Count(), 2);
  auto annexe = catalogue->Item("mn2");
  EXPECT_EQ(annexe->Type_Document + "|" + catalogue->Item("mn1")->Type_Document, "|" + annexe->DOCUMENT_DETAIL());
  // The first act takes the next number; the next one replaces the real act only.
  for (int act = 0; act < 2; ++act) {
    EXPECT_EQ(AddAct(*catalogue)->Id, "mn3");
    EXPECT_EQ(catalogue->Item("mn2"), annexe);
    EXPECT_EQ(Occurrences(Bytes(), "mn:Type=\"AE\""), 1u);
    EXPECT_TRUE(Has("mn:Name=\"Annexe_ae.pdf\""));
  }
}

}  // namespace
}  // namespace mandor
