// Saving a document into its catalogue workbook (Mandor::SauvegarderMarquageXml).

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "mandor/util/internal/text.h"
#include "tests/test_util.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

using xml_test::AddField;
using xml_test::DataFile;
using xml_test::Describe;
using xml_test::Ruler;

constexpr const char* kPath = "lots/lot3.xml";

class XmlWriterTest : public xml_test::CatalogueFixture {
 protected:
  void SetUp() override { platform_->SetFileBytes(kPath, DataFile("ecriture_lot3.xml")); }
  std::shared_ptr<cMarquage> Read() { return CatalogueFixture::Read(kPath); }
  static bool Save(std::shared_ptr<Mandor> doc) { return doc->SauvegarderMarquageXml(doc); }
  std::string Bytes() const { return CatalogueFixture::Bytes(kPath); }
};

TEST_F(XmlWriterTest, SavedCataloguesReadBackTheSameAndSaveAgainToTheSameBytes) {
  // In either locale numbers are written with a point. The saved files keep
  // what the model does not own (processing instruction, comment, styles,
  // other worksheets, cells the reader works around), each cell once.
  for (const char* file : {"ecriture_lot3.xml", "tender.xml"}) {
    const std::string original = DataFile(file);
    for (const Locale& locale : {Locale::Comma(), Locale::Point()}) {
      SCOPED_TRACE(std::string(file) + " " + locale.decimal_separator);
      platform_->SetLocale(locale);
      platform_->SetFileBytes(kPath, original);
      auto catalogue = Read();
      ASSERT_EQ(catalogue->Count(), 3);
      const std::string before = Describe(*catalogue);
      for (const auto& doc : *catalogue) ASSERT_TRUE(Save(doc)) << doc->Id;
      ExpectSaved(file);
      auto again = Read();
      EXPECT_EQ(Describe(*again), before);
      for (const auto& doc : *again) ASSERT_TRUE(Save(doc));
      ExpectSaved(file);
      EXPECT_TRUE(platform_->messages().empty());
    }
  }
}

TEST_F(XmlWriterTest, NewHorizontalRulerGetsARowAndNames) {
  // A last row with its line record, NumP cell, name P_0_1.3 and the PU cell.
  auto catalogue = Read();
  auto dqe = catalogue->Item("mn1");
  auto page = dqe->Pages.Item("page_1");
  auto regle = std::make_shared<CRegle>();
  std::tie(regle->Nom, regle->Id, regle->TypeLigne, regle->Position_pixel_Y, regle->hauteur_pixel, regle->Level) =
      std::make_tuple("1.3", "00009", "Article", 640.f, 40.f, 2);
  regle->oOwnerMandor(dqe), regle->Page(page), regle->Italic(true);
  page->Regles_H.Add(regle, regle->Id), dqe->Regles_H.Add(regle, regle->Id);
  auto champ = AddField(dqe, "1.3_PU", regle, Ruler(dqe->Regles_V, "PU"), 1);
  std::tie(champ->Position_pixel_Left, champ->Position_pixel_Right, champ->Position_pixel_Top,
           champ->Position_pixel_Bottom) = std::make_tuple(1180.5f, 1180.5f + 160, 640.f, 680.f);
  champ->Imprimable(-1), champ->Type_Champ(1), champ->Décimales(2);
  page->Champs.Add(champ, champ->Nom());
  for (int save = 0; save < 2; ++save) {  // saving again neither adds a row nor a name
    ASSERT_TRUE(Save(dqe)) << LastMessage();
    ExpectSaved("new_row.xml");
  }
}

TEST_F(XmlWriterTest, RowsGoToTheMarkingWorksheetAndKeepItValid) {
  // See the comment in the file.
  platform_->SetFileBytes(kPath, DataFile("second_sheet.xml"));
  auto catalogue = Read();
  auto doc = catalogue->Item("mn1");
  auto regle = std::make_shared<CRegle>();
  regle->Nom = "L2", regle->Position_pixel_Y = 140;
  doc->Pages.Item("page_1")->Regles_H.Add(regle, "00002");
  AddField(doc, "L2_Prix", regle, Ruler(doc->Regles_V, "Prix"), 1);
  ASSERT_TRUE(Save(doc)) << LastMessage();
  ExpectSaved("second_sheet.xml");
}

TEST_F(XmlWriterTest, FieldsFindOrInsertTheCellOfTheirColumnOrGoUnderTheirPage) {
  // Row 2.1 has cells in columns 1 to 4 and 6: a PU cell goes between them;
  // in row 1.2 (no indexes) the cell is found by counting. A deleted field
  // loses only its own element.
  auto catalogue = Read();
  auto dqe = catalogue->Item("mn1");
  AddField(dqe, "2.1_PU", Ruler(dqe->Regles_H, "2.1"), Ruler(dqe->Regles_V, "PU"), 2);
  auto designation = std::make_shared<CRegle>();
  designation->Nom = "Désignation", AddField(dqe, "1.2_Désignation", Ruler(dqe->Regles_H, "1.2"), designation, 1);
  dqe->Champs.Item("1.2_PU")->SupprimerDuDocument("1.2_PU");
  // Fields without rulers go under their page (TA1 rebuilt, not doubled), a
  // recurrent one with the recurrent fields, one with rulers to the worksheet.
  const auto add = [&](const std::string& nom, int16_t page, bool recurrent) {
    auto champ = AddField(dqe, nom, nullptr, nullptr, page);
    std::tie(champ->Position_pixel_Left, champ->Position_pixel_Right, champ->Position_pixel_Top,
             champ->Position_pixel_Bottom) = std::make_tuple(100.f, 300.f, 2000.f, 2040.f);
    champ->Recurrent(recurrent);
    return champ;
  };
  add("TA12", 1, false), add("TD", 2, false), add("TB7", 5, true), add("ta3", 1, false);
  auto worksheet_field = add("TA1X", 1, false);
  worksheet_field->oRegleH(Ruler(dqe->Regles_H, "1.1")), worksheet_field->oRegleV(Ruler(dqe->Regles_V, "Montant"));
  ASSERT_TRUE(Save(dqe)) << LastMessage();
  ExpectSaved("cells.xml");
  auto reread = Read();
  EXPECT_TRUE(!reread->Item("mn1")->Champs.Contains("1.2_PU") && reread->Item("mn2")->Champs.Contains("1.2_PU"));
}

TEST_F(XmlWriterTest, RecurrentAndDataContractFieldsAreRebuilt) {
  auto catalogue = Read();
  auto dqe = catalogue->Item("mn1");
  // A recurrent field only in Champs is written; a worksheet field made
  // recurrent goes to the list too; the data contract takes changed and added fields.
  dqe->ChampsRecurrents = Collection<CChamp>();
  ASSERT_TRUE(dqe->Champs.Contains("NumMarché"));
  dqe->Champs.Item("1.1_Qté")->Recurrent(true);
  auto contract = dqe->champsDataContrat.Item("MontantTotal");
  contract->valeur("13000"), contract->IsOptional(true), contract->Label("Total HT du lot");
  auto added = AddField(dqe, "DelaiExecution", nullptr, nullptr, 1);
  added->IsDataContrat(true), added->valeur("6 mois");
  dqe->champsDataContrat.Add(added, added->Nom());
  ASSERT_TRUE(Save(dqe));
  ExpectSaved("recurrent_contract.xml");
  EXPECT_TRUE(Read()->Item("mn1")->Champs.Item("1.1_Qté")->Recurrent());
  // Without recurrent fields no list. A document without mn:DataContrat has
  // no place for a new data-contract field: the save fails, file unchanged.
  dqe->Champs.Item("1.1_Qté")->Recurrent(false);
  dqe->Champs.Remove("NumMarché");
  auto bpu = catalogue->Item("mn2");
  auto loose = AddField(bpu, "Remise", nullptr, nullptr, 0);
  loose->IsDataContrat(true), bpu->champsDataContrat.Add(loose, "Remise");
  ASSERT_TRUE(Save(dqe));
  const std::string before = Bytes();
  platform_->ClearMessages();
  EXPECT_FALSE(Save(bpu));
  EXPECT_EQ(Bytes(), before);
  EXPECT_TRUE(StartsWith(OnlyMessage(), "Sauvegarde annulée: ") && OnlyMessage().find("Remise") != std::string::npos)
      << OnlyMessage();
  // Without the data-contract flag it is written as a page-level cell.
  loose->IsDataContrat(false), loose->Page = 1, bpu->champsDataContrat.Remove("Remise");
  ASSERT_TRUE(Save(bpu));
  ExpectSaved("no_recurrent.xml");
  EXPECT_TRUE(Read()->Item("mn2")->Champs.Contains("Remise"));
}

TEST_F(XmlWriterTest, ManyFieldsInOneCellAreRebuiltOnceEach) {
  // Hundreds of fields in one cell: each is rebuilt once, and the elements
  // destroyed as their fields are rebuilt are not looked at again.
  constexpr int kFields = 600;
  std::string cell;
  for (int i = 1; i <= kFields; ++i) {
    cell += "<mn:iCell mn:ID=\"mn1\" mn:Name=\"L1_F" + std::to_string(i) + "\" mn:Page=\"1\" mn:X=\"" +
            std::to_string(i) + "\"/>";
  }
  platform_->SetFileBytes(
      kPath, xml_test::Workbook("<mn:Image mn:ID=\"mn1\" mn:Name=\"DQE.pdf\" mn:Type=\"DQE\" mn:Orientation=\"0\""
                                " mn:H=\"40\"><mn:iPage mn:ID=\"1\"/></mn:Image>",
                                "<Row><mn:iRow mn:ID=\"mn1\" mn:Name=\"L1\" mn:Page=\"1\"/><Cell>" + cell +
                                    "</Cell></Row>"));
  auto catalogue = Read();
  ASSERT_EQ(catalogue->Item("mn1")->Champs.Count(), kFields);
  ASSERT_TRUE(Save(catalogue->Item("mn1")));
  auto catalogue_again = Read();
  auto again = catalogue_again->Item("mn1");
  ASSERT_EQ(again->Champs.Count(), kFields);
  const std::string saved = Bytes();  // saved again, the bytes do not change
  ASSERT_TRUE(Save(again));
  EXPECT_EQ(Bytes(), saved);
}

TEST_F(XmlWriterTest, FailuresLeaveTheFileAsItWas) {
  auto catalogue = Read();
  auto dqe = catalogue->Item("mn1");
  const std::string original = Bytes();
  // A catalogue that cannot be loaded.
  platform_->SetFileBytes(kPath, "<Workbook><unclosed>");
  EXPECT_FALSE(Save(dqe));
  EXPECT_TRUE(OnlyMessage().ends_with(": Impossible d'ouvrir le fichier XML [lots/lot3.xml].")) << OnlyMessage();
  EXPECT_EQ(Bytes(), "<Workbook><unclosed>");
  platform_->ClearMessages();
  // A new ruler in a worksheet without "NumP" aborts the save with the message.
  const std::string without_nump =
      ReplaceAll(original, "<NamedRange ss:Name=\"NumP\" ss:RefersTo=\"='Lot 3 Électricité'!C1\"/>", "");
  ASSERT_NE(without_nump, original);
  platform_->SetFileBytes(kPath, without_nump);
  auto regle = std::make_shared<CRegle>();
  regle->Nom = "9.9", dqe->Pages.Item("page_1")->Regles_H.Add(regle, "09999");
  EXPECT_FALSE(Save(dqe));
  EXPECT_TRUE(StartsWith(OnlyMessage(), "Sauvegarde annulée: ")) << OnlyMessage();
  EXPECT_EQ(Bytes(), without_nump);
  dqe->Pages.Item("page_1")->Regles_H.Remove("09999");
  platform_->ClearMessages();
  // An error of the cells step reaches the caller, no file written.
  platform_->SetFileBytes(kPath, original);
  AddField(dqe, "TA9", nullptr, nullptr, 7);  // no such mn:iPage
  EXPECT_EQ(test_util::ErrorNumberOf([&] { Save(dqe); }), 91);
  EXPECT_TRUE(platform_->messages().empty());
  EXPECT_EQ(Bytes(), original);
}

}  // namespace
}  // namespace mandor
