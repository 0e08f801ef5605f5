// Saving a document into its catalogue workbook (Mandor::SauvegarderMarquageXml).

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "tests/test_util.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

using xml_test::AddField;
using xml_test::Attributes;
using xml_test::DataFile;
using xml_test::Describe;
using xml_test::Ruler;

constexpr const char* kPath = "lots/lot3.xml";
constexpr const char* kSheet = "Workbook/Worksheet[@ss:Name='Lot 3 Électricité']/Table";

class XmlWriterTest : public xml_test::CatalogueFixture {
 protected:
  void SetUp() override { platform_->SetFileBytes(kPath, DataFile("ecriture_lot3.xml")); }
  std::shared_ptr<cMarquage> Read() { return CatalogueFixture::Read(kPath); }
  static bool Save(std::shared_ptr<Mandor> doc) { return doc->SauvegarderMarquageXml(doc); }
  std::string Bytes() const { return CatalogueFixture::Bytes(kPath); }
  std::unique_ptr<WorkbookDocument> Saved() const { return CatalogueFixture::Saved(kPath); }
  static pugi::xml_node Select(const WorkbookDocument& workbook, const std::string& query) {
    return XmlSelectNode(workbook.document(), query);
  }
  static size_t Count(const WorkbookDocument& workbook, const std::string& query) {
    return XmlSelectNodes(workbook.document(), query).size();
  }
  static std::string ICellQuery(const std::string& id, const std::string& name) {
    return std::string(kSheet) + "/Row/Cell/mn:iCell[@mn:ID='" + id + "' and @mn:Name='" + name + "']";
  }
};

TEST_F(XmlWriterTest, SavedCataloguesReadBackTheSameAndSaveAgainToTheSameBytes) {
  // In either locale: numbers are written with a point and read with both.
  // tender.xml has a "mn:RefersTo" row, a type-3 field, a data contract on the
  // act and a currency given as an empty text.
  for (const char* file : {"ecriture_lot3.xml", "tender.xml"}) {
    const std::string original = DataFile(file);
    for (const Locale& locale : {Locale::Comma(), Locale::Point()}) {
      SCOPED_TRACE(std::string(file) + " " + locale.decimal_separator);
      platform_->SetLocale(locale);
      platform_->SetFileBytes(kPath, original);
      auto catalogue = Read();
      ASSERT_EQ(catalogue->Count(), 3);
      const std::string before = Describe(*catalogue);
      // One document saved twice, then all of them, then all of a new reading.
      ASSERT_TRUE(Save(catalogue->Item(1)));
      const std::string one = Bytes();
      ASSERT_TRUE(Save(catalogue->Item(1)));
      EXPECT_EQ(Bytes(), one);
      for (const auto& doc : *catalogue) ASSERT_TRUE(Save(doc)) << doc->Id;
      const std::string all = Bytes();
      auto again = Read();
      EXPECT_EQ(Describe(*again), before);
      for (const auto& doc : *again) ASSERT_TRUE(Save(doc));
      EXPECT_EQ(Bytes(), all);
      EXPECT_TRUE(platform_->messages().empty());
    }
  }
  // The tender's row that refers to L1 for mn2 keeps its field and its reference.
  auto tender = Saved();
  const pugi::xml_node lettres =
      Select(*tender, "Workbook/Worksheet/Table/Row/Cell/mn:iCell[@mn:ID='mn2' and @mn:Name='L1_PULettres']");
  ASSERT_TRUE(lettres);
  EXPECT_STREQ(lettres.parent().parent().child("mn:iRow").attribute("mn:RefersTo").value(), "L1");
  EXPECT_STREQ(lettres.attribute("mn:Y").value(), "650");

  platform_->SetFileBytes(kPath, DataFile("ecriture_lot3.xml"));
  auto lot3 = Read();
  for (const auto& doc : *lot3) ASSERT_TRUE(Save(doc));
  // The parts the reader works around are still in the file.
  auto saved = Saved();
  const pugi::xml_node image = Select(*saved, "Workbook/mn:MANDOR/mn:Image[@mn:ID='mn1']");
  EXPECT_TRUE(XmlSelectNode(image, "mn:ChampsRecurrents/mn:iCell[@mn:Name='NumMarché']"));
  EXPECT_STREQ(XmlSelectNode(image, "mn:DataContrat/mn:iCell[@mn:Name='MontantTotal']").attribute("mn:Value").value(),
               "12345,67");
  EXPECT_EQ(XmlSelectNodes(image, "mn:iPage[@mn:ID='2']/Cell/mn:iCell[@mn:Name='TA1']").size(), 1u);
  // Each document's cell is still in its own place, once.
  EXPECT_EQ(Count(*saved, ICellQuery("mn1", "1.1_PU")), 1u);
  EXPECT_EQ(Count(*saved, ICellQuery("mn2", "1.1_PU")), 1u);
  EXPECT_STREQ(Select(*saved, ICellQuery("mn1", "1.1_PU")).parent().child("NamedCell").attribute("ss:Name").value(),
               "PU");
  EXPECT_STREQ(Select(*saved, ICellQuery("mn3", "TOTAL_Montant")).parent().child("Data").text().get(), "575.4");
  // What the model does not own is carried through.
  const std::string bytes = Bytes();
  for (const char* kept : {"<?mso-application progid=\"Excel.Sheet\"?>",
                           "<!-- Appel d'offres 2024-17, lot 3 : DQE, BPU et acte d'engagement -->",
                           "<NumberFormat ss:Format=\"#,##0.00\"/>", "<Author>Service des marchés</Author>",
                           "xmlns:mn=\"urn:schemas-mandor:marquage\""}) {
    EXPECT_NE(bytes.find(kept), std::string::npos) << kept;
  }
  EXPECT_STREQ(Select(*saved, "Workbook/Worksheet[@ss:Name='Notes']/Table/Row/Cell/Data").text().get(),
               "Visite de site le 14 mars");
  EXPECT_STREQ(Select(*saved, kSheet).attribute("ss:ExpandedRowCount").value(), "5");
}

TEST_F(XmlWriterTest, ChangedFieldIsRewrittenInItsCell) {
  auto catalogue = Read();
  auto dqe = catalogue->Item("mn1");
  auto champ = dqe->Champs.Item("1.1_PU");
  champ->Position_pixel_Left = 1190;
  champ->Position_pixel_Right = 1190 + 160;  // the column's width
  champ->Décimales(3);
  champ->Formule("Montant/Qté");
  champ->SubName = "Prix unitaire";
  ASSERT_TRUE(Save(dqe));

  auto saved = Saved();
  ASSERT_EQ(Count(*saved, ICellQuery("mn1", "1.1_PU")), 1u);
  const pugi::xml_node icell = Select(*saved, ICellQuery("mn1", "1.1_PU"));
  // No "mn:W": the width is the column's.
  EXPECT_EQ(Attributes(icell), "mn:Name=1.1_PU mn:ID=mn1 mn:Page=1 mn:X=1190 mn:iPrint=1 mn:Type=1 mn:Dec=3 "
                               "mn:SubName=Prix unitaire mn:subName=Prix unitaire mn:Formula=Montant/Qté ");
  EXPECT_STREQ(icell.parent().child("NamedCell").attribute("ss:Name").value(), "PU");
  // The other document's element in the same cell is untouched.
  const pugi::xml_node other = Select(*saved, ICellQuery("mn2", "1.1_PU"));
  EXPECT_EQ(other.parent(), icell.parent());
  EXPECT_FALSE(other.attribute("mn:Dec"));

  auto reread = Read()->Item("mn1")->Champs.Item("1.1_PU");
  EXPECT_FLOAT_EQ(reread->Position_pixel_Left, 1190);
  EXPECT_EQ(reread->Décimales(), 3);
  EXPECT_EQ(reread->Formule(), "Montant/Qté");
  EXPECT_EQ(reread->SubName, "Prix unitaire");  // through "mn:subName"
}

TEST_F(XmlWriterTest, NewHorizontalRulerGetsARowAndNames) {
  auto catalogue = Read();
  auto dqe = catalogue->Item("mn1");
  auto page = dqe->Pages.Item("page_1");
  auto regle = std::make_shared<CRegle>();
  regle->Nom = "1.3";
  regle->Id = "00009";
  regle->oOwnerMandor(dqe);
  regle->Page(page);
  regle->Position_pixel_Y = 640;
  regle->hauteur_pixel = 40;
  regle->TypeLigne = "Article";
  regle->Level = 2;
  regle->Italic(true);
  page->Regles_H.Add(regle, regle->Id);
  dqe->Regles_H.Add(regle, regle->Id);

  auto champ = AddField(dqe, "1.3_PU", regle, Ruler(dqe->Regles_V, "PU"), 1);
  champ->Position_pixel_Left = 1180.5f;
  champ->Position_pixel_Right = 1180.5f + 160;
  champ->Position_pixel_Top = 640;
  champ->Position_pixel_Bottom = 680;
  champ->Imprimable(-1);
  champ->Type_Champ(1);
  champ->Décimales(2);
  page->Champs.Add(champ, champ->Nom());
  ASSERT_TRUE(Save(dqe)) << LastMessage();
  auto saved = Saved();
  const pugi::xml_node table = Select(*saved, kSheet);
  EXPECT_STREQ(table.attribute("ss:ExpandedRowCount").value(), "6");
  const pugi::xml_node row = XmlSelectNode(table, "Row[mn:ILM[@mn:Name='1.3']]");
  ASSERT_TRUE(row);
  EXPECT_EQ(row, table.last_child());
  const pugi::xml_node line = row.child("mn:ILM");
  EXPECT_STREQ(line.attribute("mn:Type").value(), "Article");
  EXPECT_STREQ(line.attribute("mn:Level").value(), "2");
  const pugi::xml_node nump = XmlSelectNode(row, "Cell[NamedCell/@ss:Name='NumP']");
  EXPECT_STREQ(nump.child("Data").text().get(), "1.3");
  EXPECT_STREQ(nump.child("Data").attribute("ss:Type").value(), "String");
  EXPECT_FALSE(nump.attribute("ss:Index"));  // column 1
  EXPECT_STREQ(
      Select(*saved, "Workbook/Worksheet/Names/NamedRange[@ss:Name='P_0_1.3']").attribute("ss:RefersTo").value(),
      "='Lot 3 Électricité'!R6C1");
  const pugi::xml_node irow = XmlSelectNode(row, "mn:iRow[@mn:ID='mn1' and @mn:Name='1.3']");
  EXPECT_EQ(Attributes(irow), "mn:ID=mn1 mn:Name=1.3 mn:Y=640 mn:Page=1 ");
  EXPECT_STREQ(irow.child("mn:iFont").attribute("mn:I").value(), "1");
  // The field's cell sits in the PU column.
  const pugi::xml_node cell = Select(*saved, ICellQuery("mn1", "1.3_PU")).parent();
  EXPECT_EQ(cell.parent(), row);
  EXPECT_STREQ(cell.attribute("ss:Index").value(), "5");
  EXPECT_STREQ(cell.child("NamedCell").attribute("ss:Name").value(), "PU");
  EXPECT_STREQ(cell.child("Data").attribute("ss:Type").value(), "String");

  // Saving again neither adds a row nor a name.
  const std::string first = Bytes();
  ASSERT_TRUE(Save(dqe));
  EXPECT_EQ(Bytes(), first);

  // The ruler and its field are read back.
  auto reread = Read()->Item("mn1");
  auto ruler = Ruler(reread->Regles_H, "1.3");
  ASSERT_NE(ruler, nullptr);
  EXPECT_FLOAT_EQ(ruler->Position_pixel_Y, 640);
  EXPECT_EQ(ruler->TypeLigne, "Article");
  ASSERT_TRUE(reread->Champs.Contains("1.3_PU"));
  EXPECT_FLOAT_EQ(reread->Champs.Item("1.3_PU")->Position_pixel_Left, 1180.5f);
}

TEST_F(XmlWriterTest, RowsGoToTheMarkingWorksheetAndKeepItValid) {
  // See the comment in the file.
  platform_->SetFileBytes(kPath, DataFile("second_sheet.xml"));
  auto catalogue = Read();
  auto doc = catalogue->Item("mn1");
  ASSERT_NE(Ruler(doc->Regles_H, "L1"), nullptr);
  auto page = doc->Pages.Item("page_1");
  auto regle = std::make_shared<CRegle>();
  regle->Nom = "L2";
  regle->Position_pixel_Y = 140;
  page->Regles_H.Add(regle, "00002");
  AddField(doc, "L2_Prix", regle, Ruler(doc->Regles_V, "Prix"), 1);
  ASSERT_TRUE(Save(doc)) << LastMessage();

  auto saved = Saved();
  const std::string sheet = "Workbook/Worksheet[@ss:Name=\"Feuille d'offre\"]";
  EXPECT_EQ(Count(*saved, "Workbook/Worksheet[@ss:Name='Autre']/Table/Row"), 1u);
  // L1 keeps its row though it has no line record; L2 gets one.
  const auto rows = XmlSelectNodes(Select(*saved, sheet + "/Table"), "Row");
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(XmlSelectNodes(rows[0], "mn:iRow").size(), 1u);
  const pugi::xml_node nump = rows[1].child("Cell");
  EXPECT_STREQ(nump.attribute("ss:Index").value(), "3");
  EXPECT_STREQ(nump.child("Data").text().get(), "L2");
  EXPECT_STREQ(XmlSelectNode(rows[1], "Cell[NamedCell/@ss:Name='Prix']").attribute("ss:Index").value(), "5");
  EXPECT_TRUE(XmlSelectNode(rows[1], "Cell[@ss:Index='5']/mn:iCell[@mn:Name='L2_Prix']"));
  // The stale name now points at the new row (row 5), once.
  const auto names = XmlSelectNodes(saved->document(), sheet + "/Names/NamedRange[@ss:Name='P_0_L2']");
  ASSERT_EQ(names.size(), 1u);
  EXPECT_STREQ(names[0].attribute("ss:RefersTo").value(), "='Feuille d''offre'!R5C3");
  EXPECT_FALSE(Select(*saved, sheet + "/Table").attribute("ss:ExpandedRowCount"));
}

TEST_F(XmlWriterTest, NewFieldFindsOrInsertsTheCellOfItsColumn) {
  // Row 2.1 has cells in columns 1 to 4 and 6: a PU cell goes between them.
  auto catalogue = Read();
  auto dqe = catalogue->Item("mn1");
  AddField(dqe, "2.1_PU", Ruler(dqe->Regles_H, "2.1"), Ruler(dqe->Regles_V, "PU"), 2);
  ASSERT_TRUE(Save(dqe));

  auto saved = Saved();
  const pugi::xml_node row = Select(*saved, std::string(kSheet) + "/Row[mn:ILM/@mn:Name='2.1']");
  std::vector<std::string> layout;
  for (const pugi::xml_node& cell : XmlSelectNodes(row, "Cell")) {
    layout.push_back(std::string(cell.attribute("ss:Index").value()) + ":" +
                     cell.child("NamedCell").attribute("ss:Name").value());
  }
  EXPECT_EQ(layout, (std::vector<std::string>{":NumP", ":Désignation", ":Unité", ":Qté", "5:PU", "6:Montant"}));

  // In a row whose cells carry no index, the cell of a column is found by
  // counting; no cell is added.
  auto designation = std::make_shared<CRegle>();
  designation->Nom = "Désignation";
  AddField(dqe, "1.2_Désignation", Ruler(dqe->Regles_H, "1.2"), designation, 1);
  ASSERT_TRUE(Save(dqe));
  auto resaved = Saved();
  const pugi::xml_node cell = Select(*resaved, ICellQuery("mn1", "1.2_Désignation")).parent();
  EXPECT_STREQ(cell.child("Data").text().get(), "Disjoncteur différentiel 30 mA");  // the existing cell
  EXPECT_EQ(Count(*resaved, std::string(kSheet) + "/Row[mn:ILM/@mn:Name='1.2']/Cell"), 6u);
}

TEST_F(XmlWriterTest, DeletedFieldLosesOnlyItsOwnElement) {
  auto catalogue = Read();
  auto dqe = catalogue->Item("mn1");
  dqe->Champs.Item("1.2_PU")->SupprimerDuDocument("1.2_PU");
  ASSERT_FALSE(dqe->Champs.Contains("1.2_PU"));
  ASSERT_TRUE(Save(dqe));

  auto saved = Saved();
  EXPECT_EQ(Count(*saved, ICellQuery("mn1", "1.2_PU")), 0u);
  EXPECT_EQ(Count(*saved, ICellQuery("mn2", "1.2_PU")), 1u);
  EXPECT_EQ(Count(*saved, ICellQuery("mn1", "1.2_Montant")), 1u);
  auto reread = Read();
  EXPECT_FALSE(reread->Item("mn1")->Champs.Contains("1.2_PU"));
  EXPECT_TRUE(reread->Item("mn2")->Champs.Contains("1.2_PU"));
}

TEST_F(XmlWriterTest, PageLevelFieldsGoUnderTheirPage) {
  auto catalogue = Read();
  auto dqe = catalogue->Item("mn1");
  const auto add = [&](const std::string& nom, int16_t page, bool recurrent) {
    auto champ = AddField(dqe, nom, nullptr, nullptr, page);
    champ->Position_pixel_Left = 100;
    champ->Position_pixel_Right = 300;
    champ->Position_pixel_Top = 2000;
    champ->Position_pixel_Bottom = 2040;
    champ->Recurrent(recurrent);
    return champ;
  };
  add("TA12", 1, false);
  add("TD", 2, false);
  add("TB7", 5, true);  // recurrent: written with the recurrent fields
  auto worksheet_field = add("TA1X", 1, false);
  worksheet_field->oRegleH(Ruler(dqe->Regles_H, "1.1"));
  worksheet_field->oRegleV(Ruler(dqe->Regles_V, "Montant"));
  add("ta3", 1, false);  // lower case: not a page-level name, and no rulers
  ASSERT_TRUE(Save(dqe)) << LastMessage();

  auto saved = Saved();
  const std::string image = "Workbook/mn:MANDOR/mn:Image[@mn:ID='mn1']";
  const pugi::xml_node ta12 = Select(*saved, image + "/mn:iPage[@mn:ID='1']/Cell/mn:iCell[@mn:Name='TA12']");
  ASSERT_TRUE(ta12);
  EXPECT_STREQ(ta12.attribute("mn:X").value(), "100");  // no rulers: every position written
  EXPECT_STREQ(ta12.attribute("mn:W").value(), "200");
  EXPECT_STREQ(ta12.attribute("mn:H").value(), "40");
  EXPECT_TRUE(Select(*saved, image + "/mn:iPage[@mn:ID='2']/Cell/mn:iCell[@mn:Name='TD']"));
  EXPECT_EQ(Count(*saved, image + "/mn:iPage/Cell/mn:iCell[@mn:Name='TA1']"), 1u);  // rebuilt, not doubled
  EXPECT_FALSE(Select(*saved, image + "/mn:iPage/Cell/mn:iCell[@mn:Name='TB7']"));
  EXPECT_TRUE(Select(*saved, image + "/mn:ChampsRecurrents/mn:iCell[@mn:Name='TB7']"));
  EXPECT_EQ(Count(*saved, ICellQuery("mn1", "TA12")), 0u);
  const pugi::xml_node ta1x = Select(*saved, ICellQuery("mn1", "TA1X"));
  ASSERT_TRUE(ta1x);
  EXPECT_STREQ(ta1x.parent().child("NamedCell").attribute("ss:Name").value(), "Montant");
  // A field with no place in the worksheet is kept as a page-level field.
  EXPECT_TRUE(Select(*saved, image + "/mn:iPage[@mn:ID='1']/Cell/mn:iCell[@mn:Name='ta3']"));

  auto reread = Read()->Item("mn1");
  for (const char* nom : {"TA12", "TD", "TA1X", "ta3", "TA1"}) EXPECT_TRUE(reread->Champs.Contains(nom)) << nom;
  EXPECT_TRUE(reread->Pages.Item("page_1")->Champs.Contains("TA12"));
}

TEST_F(XmlWriterTest, RecurrentFieldsAreRebuilt) {
  auto catalogue = Read();
  auto dqe = catalogue->Item("mn1");
  // The reader's recurrent field is written even when it is only in Champs.
  dqe->ChampsRecurrents = Collection<CChamp>();
  ASSERT_TRUE(dqe->Champs.Contains("NumMarché"));
  ASSERT_TRUE(Save(dqe));
  auto saved = Saved();
  const std::string list = "Workbook/mn:MANDOR/mn:Image[@mn:ID='mn1']/mn:ChampsRecurrents";
  EXPECT_EQ(Count(*saved, list), 1u);
  EXPECT_EQ(Count(*saved, list + "/mn:iCell"), 1u);
  EXPECT_STREQ(Select(*saved, list + "/mn:iCell").attribute("mn:Name").value(), "NumMarché");
  // Not in the worksheet.
  EXPECT_EQ(Count(*saved, ICellQuery("mn1", "NumMarché")), 0u);

  // A worksheet field made recurrent moves to the list: the worksheet keeps
  // no second element that reading back would find twice.
  dqe->Champs.Item("1.1_Qté")->Recurrent(true);
  ASSERT_TRUE(Save(dqe));
  saved = Saved();
  EXPECT_EQ(Count(*saved, ICellQuery("mn1", "1.1_Qté")), 0u);
  EXPECT_TRUE(Select(*saved, list + "/mn:iCell[@mn:Name='1.1_Qté']"));
  auto reread = Read()->Item("mn1");
  EXPECT_TRUE(reread->Champs.Item("1.1_Qté")->Recurrent());
  dqe->Champs.Item("1.1_Qté")->Recurrent(false);

  // A document without recurrent fields gets no list.
  dqe->Champs.Remove("NumMarché");
  ASSERT_TRUE(Save(dqe));
  EXPECT_EQ(Count(*Saved(), list), 0u);
}

TEST_F(XmlWriterTest, DataContractFields) {
  auto catalogue = Read();
  auto dqe = catalogue->Item("mn1");
  auto champ = dqe->champsDataContrat.Item("MontantTotal");
  EXPECT_EQ(champ->valeur(), "12345,67");
  ASSERT_TRUE(Save(dqe));
  auto saved = Saved();
  const std::string contract = "Workbook/mn:MANDOR/mn:Image[@mn:ID='mn1']/mn:DataContrat/mn:iCell";
  pugi::xml_node node = Select(*saved, contract + "[@mn:Name='MontantTotal']");
  EXPECT_EQ(Attributes(node),
            "mn:Name=MontantTotal mn:ID=mn1 mn:Page=2 mn:X=1370 mn:Y=2200 mn:W=200 mn:H=40 mn:iPrint=1 mn:Type=1 "
            "mn:Label=Montant total HT mn:Optional=0 mn:Groupe=Offre mn:ToReport=AE mn:Value=12345,67 mn:Dec=0 ");
  EXPECT_EQ(Count(*saved, ICellQuery("mn1", "MontantTotal")), 0u);  // never in the worksheet

  champ->valeur("13000");
  champ->IsOptional(true);
  champ->Label("Total HT du lot");
  auto added = AddField(dqe, "DelaiExecution", nullptr, nullptr, 1);
  added->IsDataContrat(true);
  added->valeur("6 mois");
  dqe->champsDataContrat.Add(added, added->Nom());
  ASSERT_TRUE(Save(dqe));
  saved = Saved();
  node = Select(*saved, contract + "[@mn:Name='MontantTotal']");
  EXPECT_EQ(Attributes(node),
            "mn:Name=MontantTotal mn:ID=mn1 mn:Page=2 mn:X=1370 mn:Y=2200 mn:W=200 mn:H=40 mn:iPrint=1 "
            "mn:Type=1 mn:Label=Total HT du lot mn:Optional=1 mn:Groupe=Offre mn:ToReport=AE mn:Value=13000 mn:Dec=0 ");
  EXPECT_STREQ(Select(*saved, contract + "[@mn:Name='DelaiExecution']").attribute("mn:Value").value(), "6 mois");

  // A document without mn:DataContrat saves without one.
  auto bpu = catalogue->Item("mn2");
  auto loose = AddField(bpu, "Remise", nullptr, nullptr, 0);
  loose->IsDataContrat(true);
  bpu->champsDataContrat.Add(loose, "Remise");
  ASSERT_TRUE(Save(bpu));
  EXPECT_EQ(Count(*Saved(), "Workbook/mn:MANDOR/mn:Image[@mn:ID='mn2']/mn:DataContrat"), 0u);
  EXPECT_EQ(Count(*Saved(), "//mn:iCell[@mn:Name='Remise']"), 0u);
}

TEST_F(XmlWriterTest, ImageColumnsAndRowsAreUpdated) {
  auto catalogue = Read();
  auto dqe = catalogue->Item("mn1");
  dqe->Decimales = 3;
  dqe->Font()->Italic(true);
  auto montant = Ruler(dqe->Regles_V, "Montant");
  montant->Position_pixel_X = 1375.5f;
  montant->Imprimable = 0;
  auto ghost = std::make_shared<CRegle>();  // no mn:iCol: not added
  ghost->Nom = "Remise";
  dqe->Regles_V.Add(ghost, "099");
  Ruler(dqe->Regles_H, "1.2")->Position_pixel_Y = 585.25f;
  ASSERT_TRUE(Save(dqe));

  auto saved = Saved();
  const std::string image = "Workbook/mn:MANDOR/mn:Image[@mn:ID='mn1']";
  EXPECT_STREQ(Select(*saved, image).attribute("mn:Dec").value(), "3");
  EXPECT_STREQ(Select(*saved, image).attribute("mn:Devise").value(), "EUR");
  EXPECT_STREQ(Select(*saved, image + "/mn:iFont").attribute("mn:I").value(), "1");
  const pugi::xml_node column = Select(*saved, image + "/mn:iCol[@mn:Name='Montant']");
  EXPECT_STREQ(column.attribute("mn:X").value(), "1375.5");
  EXPECT_STREQ(column.attribute("mn:iPrint").value(), "0");
  EXPECT_STREQ(column.child("mn:iFont").attribute("mn:B").value(), "1");
  EXPECT_EQ(Count(*saved, image + "/mn:iCol"), 3u);
  EXPECT_STREQ(
      Select(*saved, std::string(kSheet) + "/Row/mn:iRow[@mn:ID='mn1' and @mn:Name='1.2']").attribute("mn:Y").value(),
      "585.25");
  EXPECT_STREQ(
      Select(*saved, std::string(kSheet) + "/Row/mn:iRow[@mn:ID='mn2' and @mn:Name='1.2']").attribute("mn:Y").value(),
      "680.5");
}

TEST_F(XmlWriterTest, FailuresLeaveTheFileAsItWas) {
  auto catalogue = Read();
  auto dqe = catalogue->Item("mn1");
  const std::string original = Bytes();

  // A catalogue that cannot be loaded.
  platform_->SetFileBytes(kPath, "<Workbook><unclosed>");
  EXPECT_FALSE(Save(dqe));
  ASSERT_EQ(platform_->messages().size(), 1u);
  EXPECT_EQ(platform_->messages()[0].text, "Impossible d'ouvrir le fichier XML [lots/lot3.xml].");
  EXPECT_EQ(platform_->messages()[0].style, MessageStyle::kCritical);
  EXPECT_EQ(Bytes(), "<Workbook><unclosed>");
  platform_->DeleteFile(kPath);
  EXPECT_FALSE(Save(dqe));
  EXPECT_FALSE(platform_->FileExists(kPath));
  platform_->ClearMessages();

  // A failed write or rename: see the fault-injection test.
  dqe->Champs.Item("1.1_PU")->Décimales(4);

  // A new ruler in a worksheet without "NumP" aborts the save with the message.
  std::string without_nump = original;
  const std::string nump = "<NamedRange ss:Name=\"NumP\" ss:RefersTo=\"='Lot 3 Électricité'!C1\"/>";
  without_nump.erase(without_nump.find(nump), nump.size());
  platform_->SetFileBytes(kPath, without_nump);
  auto regle = std::make_shared<CRegle>();
  regle->Nom = "9.9";
  dqe->Pages.Item("page_1")->Regles_H.Add(regle, "09999");
  EXPECT_FALSE(Save(dqe));
  ASSERT_EQ(platform_->messages().size(), 1u);
  EXPECT_EQ(platform_->messages()[0].title, "Sauvegarde annulée");
  EXPECT_EQ(Bytes(), without_nump);
  dqe->Pages.Item("page_1")->Regles_H.Remove("09999");
  platform_->ClearMessages();

  // The cells step cannot resume: its error reaches the caller, no message,
  // no file written.
  platform_->SetFileBytes(kPath, original);
  AddField(dqe, "TA9", nullptr, nullptr, 7);  // no such mn:iPage
  EXPECT_EQ(test_util::ErrorNumberOf([&] { Save(dqe); }), 91);
  EXPECT_TRUE(platform_->messages().empty());
  EXPECT_EQ(Bytes(), original);

  // A document outside any catalogue.
  auto orphan = std::make_shared<Mandor>();
  EXPECT_FALSE(Save(orphan));
  EXPECT_EQ(platform_->messages().size(), 1u);
}

}  // namespace
}  // namespace mandor
