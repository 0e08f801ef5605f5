// Tests of reading a catalogue workbook into documents: the hand-written
// tender of the test tree (a detail estimate, a price schedule and an
// engagement act sharing rows), small catalogues for the edge cases, and a
// large one for speed.

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "mandor/fields/champ.h"
#include "mandor/model/mandor.h"
#include "mandor/model/page.h"
#include "mandor/model/regle.h"
#include "mandor/util/memory_platform.h"
#include "mandor/util/text.h"
#include "mandor/xml/marquage.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

std::string DataFile(const std::string& name) {
  std::ifstream in(std::string(MANDOR_TEST_DATA_DIR) + "/xml/" + name, std::ios::binary);
  EXPECT_TRUE(in.good()) << name;
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A workbook with the header attributes `header`, the mn:Image elements
// `images` and the rows `rows` of the sheet "Lot".
std::string Workbook(const std::string& images, const std::string& rows, const std::string& header = "") {
  return "<?xml version=\"1.0\"?>\n<Workbook xmlns=\"urn:schemas-microsoft-com:office:spreadsheet\""
         " xmlns:ss=\"urn:schemas-microsoft-com:office:spreadsheet\" xmlns:mn=\"urn:schemas-mandor:marquage\">\n"
         "<mn:MANDOR mn:Name=\"Lot\"" + header + ">" + images + "</mn:MANDOR>\n"
         "<Worksheet ss:Name=\"Lot\"><Table>" + rows + "</Table></Worksheet>\n</Workbook>\n";
}

// An mn:Image with one page, two columns and the given children.
std::string Image(const std::string& attributes, const std::string& children, const std::string& id = "mn1") {
  return "<mn:Image mn:ID=\"" + id + "\" mn:Name=\"Lot1.pdf\" mn:Type=\"DQE\" mn:Orientation=\"1\" mn:H=\"30\"" + attributes +
         "><mn:iCol mn:Name=\"PU\" mn:Dec=\"2\" mn:X=\"500\" mn:W=\"100\"/>"
         "<mn:iCol mn:Name=\"PT\" mn:Dec=\"1\" mn:X=\"700\" mn:W=\"150\"/><mn:iPage mn:ID=\"1\"/>" + children +
         "</mn:Image>";
}

class XmlReaderTest : public ::testing::Test {
 protected:
  void SetUp() override { platform_->SetFileBytes("lots/tender.xml", DataFile("tender.xml")); }

  // Reads `bytes` as the catalogue lots/cat.xml into a new catalogue.
  std::shared_ptr<cMarquage> Read(const std::string& bytes) {
    platform_->SetFileBytes("lots/cat.xml", bytes);
    auto catalogue = std::make_shared<cMarquage>();
    EXPECT_EQ(catalogue->XML_ReadCNF("lots/cat.xml"), catalogue);
    return catalogue;
  }

  std::shared_ptr<MemoryPlatform> platform_ = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope_{platform_};
};

TEST_F(XmlReaderTest, TenderDocumentsInEitherLocale) {
  for (const Locale& locale : {Locale::Point(), Locale::Comma()}) {
    platform_->SetLocale(locale);
    auto catalogue = std::make_shared<cMarquage>();
    ASSERT_EQ(catalogue->XML_ReadCNF("lots/tender.xml"), catalogue);
    EXPECT_EQ(catalogue->Name(), "Électricité");
    EXPECT_EQ(catalogue->Path(), "lots/");
    EXPECT_EQ(catalogue->File(), "tender.xml");
    ASSERT_EQ(catalogue->Count(), 3);

    const auto dqe = catalogue->Item("mn1");
    const auto bpu = catalogue->Item(2);
    const auto ae = catalogue->Item("MN3");  // keys ignore case
    EXPECT_EQ(dqe->Id, "mn1");
    EXPECT_EQ(dqe->oOwnerMarquage(), catalogue);
    EXPECT_EQ(dqe->Nom_Document(), "DQE Électricité");
    EXPECT_EQ(dqe->Répertoire_Document, "lots/");
    EXPECT_EQ(dqe->Type_Document, "Détail");
    EXPECT_EQ(bpu->Type_Document, "Prix");
    EXPECT_EQ(ae->Type_Document, "AE");
    EXPECT_EQ(dqe->Orientation, 1);
    EXPECT_EQ(ae->Orientation, 0);
    EXPECT_FLOAT_EQ(dqe->HauteurChamp, 32.5f);
    // Decimals: the image's own, else the catalogue's.
    EXPECT_EQ(dqe->Decimales, 2);
    EXPECT_EQ(bpu->Decimales, 2);
    EXPECT_EQ(ae->Decimales, 0);
    // Currency: "EUR" given, empty, absent; the table is created on first need.
    ASSERT_TRUE(catalogue->oDevises);
    for (const auto& document : *catalogue) EXPECT_EQ(document->Devise(), "EUR");
    EXPECT_EQ(dqe->iDevise(), catalogue->oDevises->FindPos("EUR"));
    // The VAT rate "5,5" reaches every document.
    for (const auto& document : *catalogue) EXPECT_FLOAT_EQ(document->TVA, 5.5f);
  }
}

TEST_F(XmlReaderTest, TenderFontsInheritAlongTheChain) {
  auto catalogue = std::make_shared<cMarquage>();
  ASSERT_TRUE(catalogue->XML_ReadCNF("lots/tender.xml"));
  ASSERT_TRUE(catalogue->Font);
  EXPECT_EQ(catalogue->Font->Size(), 10);
  EXPECT_EQ(catalogue->Font->Name(), "Arial");
  const auto dqe = catalogue->Item("mn1");
  const auto bpu = catalogue->Item("mn2");
  EXPECT_EQ(dqe->Font()->ParentFont1, catalogue->Font);
  EXPECT_EQ(dqe->Font()->Size(), 11);
  EXPECT_EQ(bpu->Font()->Size(), 10);  // inherited from the catalogue
  catalogue->Font->Size(12);           // a later change shows through
  EXPECT_EQ(bpu->Font()->Size(), 12);
  EXPECT_EQ(dqe->Font()->Size(), 11);

  const auto qte = dqe->Regles_V.Item("002");
  EXPECT_TRUE(qte->Bold());
  EXPECT_FALSE(dqe->Regles_V.Item("001")->Bold());
  EXPECT_EQ(dqe->Regles_H.Item("00001")->FontColor(), 255);
  // A field hangs on both its rulers' fonts: colour from its line, bold from its column.
  const auto l1_qte = dqe->Champs.Item("L1_Qté");
  EXPECT_EQ(l1_qte->FontColor(), 255);
  EXPECT_TRUE(l1_qte->Bold());
  EXPECT_EQ(l1_qte->FontSize(), 11);
  const auto l1_pt = dqe->Champs.Item("L1_PT");
  EXPECT_TRUE(l1_pt->Transparent());
  EXPECT_EQ(l1_pt->BackColor(), 255);
  EXPECT_FALSE(dqe->Champs.Item("L2_PT")->Font()->HasBackColor());
}

TEST_F(XmlReaderTest, TenderRulersAndPages) {
  auto catalogue = std::make_shared<cMarquage>();
  ASSERT_TRUE(catalogue->XML_ReadCNF("lots/tender.xml"));
  const auto dqe = catalogue->Item("mn1");
  const auto bpu = catalogue->Item("mn2");
  const auto ae = catalogue->Item("mn3");

  ASSERT_EQ(dqe->Regles_V.Count(), 4);
  const auto designation = dqe->Regles_V.Item(1);
  EXPECT_EQ(designation->Id, "001");
  EXPECT_EQ(designation->Nom, "Désignation");
  EXPECT_EQ(designation->Décimales, 0);
  EXPECT_EQ(designation->Imprimable, 0);
  EXPECT_FLOAT_EQ(designation->WidthChamp(), 700.5f);
  EXPECT_EQ(designation->oOwnerMandor(), dqe);
  const auto qte = dqe->Regles_V.Item("002");
  EXPECT_EQ(qte->Nom, "Qté");
  EXPECT_FLOAT_EQ(qte->Position_pixel_X, 830.25f);
  EXPECT_EQ(qte->Imprimable, -1);
  EXPECT_EQ(dqe->Regles_V.Item("004")->Imprimable, -1);  // empty "mn:iPrint"

  // Pages: sizes as given, an A4 page at 200 dpi when nothing is given.
  ASSERT_EQ(dqe->Pages.Count(), 2);
  const auto page2 = dqe->Pages.Item("page_2");
  EXPECT_EQ(page2->Id, "2");
  EXPECT_FLOAT_EQ(page2->Width, 1653);
  EXPECT_FLOAT_EQ(page2->Height, 2339);
  EXPECT_EQ(page2->hResolution(), 200);
  EXPECT_EQ(page2->vResolution(), 200);
  const auto bpu_page = bpu->Pages.Item("page_1");
  EXPECT_FLOAT_EQ(bpu_page->Width, 2480);
  EXPECT_EQ(bpu_page->hResolution(), 300);

  // Lines: numbered by their place among the rows of the document, in the
  // document and on their page.
  ASSERT_EQ(dqe->Regles_H.Count(), 3);
  const auto l1 = dqe->Regles_H.Item("00001");
  const auto l2 = dqe->Regles_H.Item("00002");
  const auto tot = dqe->Regles_H.Item("00003");
  EXPECT_EQ(l1->Nom, "L1");
  EXPECT_FLOAT_EQ(l1->Position_pixel_Y, 400);
  EXPECT_FLOAT_EQ(l1->hauteur_pixel, 35);
  EXPECT_EQ(l1->TypeLigne, "ART");
  EXPECT_EQ(l1->Level, 2);
  EXPECT_EQ(l1->Page(), dqe->Pages.Item(1));
  EXPECT_FLOAT_EQ(l2->Position_pixel_Y, 450.25f);
  EXPECT_FLOAT_EQ(l2->hauteur_pixel, 32.5f);  // empty "mn:H": the document's field height
  EXPECT_EQ(l2->Imprimable, 0);
  EXPECT_EQ(tot->Page(), page2);
  EXPECT_EQ(tot->TypeLigne, "TOT");
  EXPECT_EQ(dqe->Pages.Item(1)->Regles_H.Count(), 2);
  EXPECT_EQ(dqe->Pages.Item(1)->Regles_H.Item("00002"), l2);
  EXPECT_EQ(page2->Regles_H.Item("00003"), tot);
  // The same rows on the price schedule, each at its own height; its third
  // row carries no line of its own.
  ASSERT_EQ(bpu->Regles_H.Count(), 2);
  EXPECT_FLOAT_EQ(bpu->Regles_H.Item("00001")->Position_pixel_Y, 610.5f);
  EXPECT_EQ(bpu->Regles_H.Item("00003")->Nom, "L2");
  EXPECT_EQ(ae->Regles_H.Item("00001")->Nom, "TOT");
}

TEST_F(XmlReaderTest, TenderFields) {
  auto catalogue = std::make_shared<cMarquage>();
  ASSERT_TRUE(catalogue->XML_ReadCNF("lots/tender.xml"));
  const auto dqe = catalogue->Item("mn1");
  const auto bpu = catalogue->Item("mn2");
  const auto ae = catalogue->Item("mn3");
  const auto page1 = dqe->Pages.Item(1);

  // A field on its rulers takes its place from them.
  const auto l1_qte = dqe->Champs.Item("L1_Qté");
  EXPECT_EQ(l1_qte->oOwnerMandor(), dqe);
  EXPECT_EQ(l1_qte->Page, 1);
  EXPECT_EQ(l1_qte->oRegleV(), dqe->Regles_V.Item("002"));
  EXPECT_EQ(l1_qte->oRegleH(), dqe->Regles_H.Item("00001"));
  EXPECT_EQ(l1_qte->Accrochage_V(), "Qté");
  EXPECT_EQ(l1_qte->Accrochage_H(), "L1");
  EXPECT_FLOAT_EQ(l1_qte->Position_pixel_Left, 830.25f);
  EXPECT_FLOAT_EQ(l1_qte->Position_pixel_Right, 950.25f);
  EXPECT_FLOAT_EQ(l1_qte->Position_pixel_Top, 400);
  EXPECT_FLOAT_EQ(l1_qte->Position_pixel_Bottom, 435);
  EXPECT_EQ(l1_qte->Décimales(), 3);  // the column's
  EXPECT_EQ(l1_qte->Imprimable(), -1);
  EXPECT_EQ(l1_qte->Type_Champ(), 1);
  EXPECT_EQ(l1_qte->oOwnerPage.lock(), page1);
  EXPECT_EQ(page1->Champs.Item("L1_Qté"), l1_qte);

  const auto l1_pu = dqe->Champs.Item("L1_PU");
  EXPECT_EQ(l1_pu->Décimales(), 3);  // its own
  // "mn:SubName" is what the writer writes, "mn:subName" what is read.
  EXPECT_EQ(l1_pu->SubName, "");
  const auto l1_pt = dqe->Champs.Item("L1_PT");
  EXPECT_EQ(l1_pt->Type_Champ(), 3);
  EXPECT_EQ(l1_pt->Accrochage_V_Type(), 2);  // "mn:SubType" wins over "mn:V_Type"
  EXPECT_EQ(l1_pt->Accrochage_H_Type, 1);
  EXPECT_EQ(l1_pt->Formule(), "L1_Qté*L1_PU");

  // The same cell is a field of the price schedule with a place of its own.
  const auto bpu_pu = bpu->Champs.Item("L1_PU");
  EXPECT_NE(bpu_pu, l1_pu);
  EXPECT_FLOAT_EQ(bpu_pu->Position_pixel_Left, 725);
  EXPECT_FLOAT_EQ(bpu_pu->Position_pixel_Right, 725 + 155.5f);
  EXPECT_FLOAT_EQ(bpu_pu->Position_pixel_Top, 610.5f);
  EXPECT_FLOAT_EQ(bpu_pu->Position_pixel_Bottom, 610.5f + 30);  // the line's height is the document's
  // A row without a line of its own puts its fields on the line it refers to.
  const auto lettres = bpu->Champs.Item("L1_PULettres");
  EXPECT_EQ(lettres->oRegleH(), bpu->Regles_H.Item("00001"));
  EXPECT_FLOAT_EQ(lettres->Position_pixel_Top, 650);
  EXPECT_FLOAT_EQ(lettres->Position_pixel_Left, 100);
  EXPECT_FLOAT_EQ(lettres->Position_pixel_Right, 1300);
  EXPECT_EQ(bpu->Champs.Count(), 5);

  // Page-level fields: no rulers, their own place, on their own page.
  const auto ta1 = dqe->Champs.Item("TA1");
  EXPECT_FALSE(ta1->oRegleH());
  EXPECT_FALSE(ta1->oRegleV());
  EXPECT_FLOAT_EQ(ta1->Position_pixel_Left, 1120);
  EXPECT_FLOAT_EQ(ta1->Position_pixel_Bottom, 2140);
  EXPECT_EQ(page1->Champs.Item("TA1"), ta1);
  const auto td2 = dqe->Pages.Item(2)->Champs.Item("TD2");
  EXPECT_FLOAT_EQ(td2->Position_pixel_Top, 2150.5f);
  EXPECT_EQ(td2->Formule(), "TA1");
  EXPECT_EQ(dqe->Champs.Item("TOT_PT")->Page, 2);
  EXPECT_EQ(ae->Champs.Item("TOT_Montant")->oRegleV(), ae->Regles_V.Item("001"));
  EXPECT_FLOAT_EQ(ae->Champs.Item("TOT_Montant")->Position_pixel_Top, 1200);
  // 2 page-level fields, 1 recurrent field and 7 cells.
  EXPECT_EQ(dqe->Champs.Count(), 10);
}

TEST_F(XmlReaderTest, TenderRecurrentAndDataContractFields) {
  auto catalogue = std::make_shared<cMarquage>();
  ASSERT_TRUE(catalogue->XML_ReadCNF("lots/tender.xml"));
  const auto dqe = catalogue->Item("mn1");
  const auto ae = catalogue->Item("mn3");

  // A recurrent field is in Champs, and also in ChampsRecurrents, from which
  // the writer rebuilds "mn:ChampsRecurrents": without it a read and a save
  // would drop the field from the catalogue.
  const auto report = dqe->Champs.Item("REPORT");
  EXPECT_TRUE(report->Recurrent());
  EXPECT_EQ(dqe->ChampsRecurrents.Count(), 1);
  EXPECT_EQ(dqe->ChampsRecurrents.Item("REPORT"), report);
  EXPECT_FLOAT_EQ(report->Position_pixel_Top, 180);
  EXPECT_FALSE(report->IsDataContrat());

  ASSERT_EQ(ae->champsDataContrat.Count(), 2);
  const auto raison = ae->champsDataContrat.Item("RaisonSociale");
  EXPECT_TRUE(raison->IsDataContrat());
  EXPECT_FALSE(raison->Recurrent());
  EXPECT_EQ(raison->Label(), "Raison sociale");
  EXPECT_FALSE(raison->IsOptional());
  EXPECT_EQ(raison->Groupe(), "Candidat");
  EXPECT_EQ(raison->ToReport(), "Entête");
  // The value is written with the field and read back, so a read and a save keeps it.
  EXPECT_EQ(raison->valeur(), "Société Électrique Générale");
  EXPECT_EQ(raison->InitialValue(), "Société Électrique Générale");
  EXPECT_TRUE(ae->champsDataContrat.Item("SIRET")->IsOptional());
  EXPECT_EQ(ae->Champs.Item("SIRET"), ae->champsDataContrat.Item("SIRET"));
  EXPECT_EQ(ae->Pages.Item(1)->Champs.Item("RaisonSociale"), raison);
  // Only data-contract fields read the data-contract attributes.
  EXPECT_EQ(ae->Champs.Item("TOT_Montant")->Label(), "");
}

TEST_F(XmlReaderTest, DocumentHeaderAttributes) {
  const std::string images =
      "<mn:Image mn:ID=\"mn1\" mn:Name=\"Lot1.pdf\" mn:Type=\"PC\" mn:Orientation=\"2\" mn:H=\"12.5\" mn:Devise=\"2\"/>"
      "<mn:Image mn:ID=\"mn2\" mn:Name=\"Lot2.pdf\" mn:Type=\"dqe\" mn:Orientation=\"2\" mn:H=\"12,5\"/>"
      "<mn:Image mn:ID=\"mn3\" mn:Name=\"Lot3.pdf\" mn:Type=\"XYZ\" mn:Orientation=\"2\" mn:H=\"1\" mn:Dec=\"x\"/>";
  auto catalogue = Read(Workbook(images, "", " mn:Dec=\"4\""));
  ASSERT_EQ(catalogue->Count(), 3);
  const auto first = catalogue->Item(1);
  EXPECT_EQ(first->Nom_Document(), "Lot1");
  EXPECT_EQ(first->Type_Document, "AE");
  EXPECT_EQ(first->iDevise(), 2);
  EXPECT_EQ(first->Decimales, 4);
  EXPECT_FLOAT_EQ(catalogue->Item(2)->HauteurChamp, 12.5f);
  EXPECT_EQ(catalogue->Item(2)->Type_Document, "");  // codes are case-sensitive
  EXPECT_EQ(catalogue->Item(3)->Type_Document, "");
  EXPECT_EQ(catalogue->Item(3)->Decimales, 4);  // a non-numeric "mn:Dec" is skipped
  EXPECT_EQ(catalogue->Item(2)->Devise(), "EUR");
  EXPECT_TRUE(catalogue->oDevises);
  // Without any "mn:Dec" a document has 2 decimals; a numeric currency
  // needs no currency table.
  auto plain = Read(Workbook("<mn:Image mn:ID=\"a\" mn:Name=\"Avis.pdf\" mn:Orientation=\"0\" mn:H=\"0\""
                             " mn:Devise=\"1\"/>", ""));
  EXPECT_EQ(plain->Item(1)->Decimales, 2);
  EXPECT_EQ(plain->Item(1)->Pages.Count(), 0);
  EXPECT_FALSE(plain->oDevises);
}

TEST_F(XmlReaderTest, UnloadableCatalogueChangesNothing) {
  auto catalogue = std::make_shared<cMarquage>();
  catalogue->FullPath("lots/previous.xml");
  platform_->SetFileBytes("lots/broken.xml", "<Workbook><mn:MANDOR></Workbook>");
  EXPECT_EQ(catalogue->XML_ReadCNF("lots/missing.xml"), nullptr);
  EXPECT_EQ(catalogue->XML_ReadCNF("lots/broken.xml"), nullptr);
  EXPECT_EQ(catalogue->FullPath(), "lots/previous.xml");
  EXPECT_EQ(catalogue->Name(), "previous");
  EXPECT_EQ(catalogue->Count(), 0);
  EXPECT_FALSE(catalogue->Font);
  EXPECT_TRUE(platform_->messages().empty());
}

TEST_F(XmlReaderTest, MalformedHeaderFailsTheReadAndChangesNothing) {
  auto catalogue = std::make_shared<cMarquage>();
  ASSERT_TRUE(catalogue->XML_ReadCNF("lots/tender.xml"));
  const auto font = catalogue->Font;
  const std::string good = Image("", "", "mn7");
  struct Case {
    std::string images;
    int error;
  };
  for (const Case& c : {
           Case{good + "<mn:Image mn:ID=\"mn9\" mn:Name=\"Bis.pdf\" mn:Orientation=\"portrait\" mn:H=\"3\"/>", kTypeMismatch},
           Case{good + "<mn:Image mn:ID=\"mn9\" mn:Name=\"Bis.pdf\" mn:Orientation=\"1\" mn:H=\"\"/>", kTypeMismatch},
           Case{good + "<mn:Image mn:ID=\"mn9\" mn:Name=\"pdf\" mn:Orientation=\"1\" mn:H=\"3\"/>", kInvalidArgument},
           Case{"<mn:Image mn:ID=\"mn2\" mn:Name=\"Bis.pdf\" mn:Orientation=\"1\" mn:H=\"3\"/>", kDuplicateKey},
       }) {
    platform_->SetFileBytes("lots/bad.xml", Workbook(c.images, ""));
    EXPECT_EQ(ErrorNumberOf([&] { catalogue->XML_ReadCNF("lots/bad.xml"); }), c.error) << c.images;
    EXPECT_EQ(catalogue->Count(), 3);
    EXPECT_EQ(catalogue->Name(), "Électricité");
    EXPECT_EQ(catalogue->File(), "tender.xml");
    EXPECT_EQ(catalogue->Font, font);
    EXPECT_FLOAT_EQ(catalogue->Item(1)->TVA, 5.5f);
  }
  // A second good file appends its documents.
  platform_->SetFileBytes("lots/more.xml", Workbook(Image("", "", "mn4"), ""));
  EXPECT_EQ(catalogue->XML_ReadCNF("lots/more.xml"), catalogue);
  EXPECT_EQ(catalogue->Count(), 4);
  EXPECT_EQ(catalogue->Name(), "Lot");
}

TEST_F(XmlReaderTest, BadFieldAttributeLeavesOnlyThatPropertyAlone) {
  const std::string rows =
      "<Row><mn:iRow mn:ID=\"mn1\" mn:Name=\"L1\" mn:Y=\"100\" mn:H=\"20\" mn:Page=\"1\"/>"
      "<Cell ss:Index=\"1\"><mn:iCell mn:ID=\"mn1\" mn:Name=\"L1_PU\" mn:Page=\"un\" mn:X=\"abc\" mn:W=\"50\""
      " mn:Type=\"x\" mn:Dec=\"deux\" mn:V_Type=\"?\" mn:Formula=\"L1_PT*2\" mn:iPrint=\"1\"/></Cell>"
      "<Cell ss:Index=\"2\"><mn:iCell mn:ID=\"mn1\" mn:Name=\"L1_PT\" mn:Page=\"1\" mn:Y=\"1e400\" mn:Dec=\"0\"/></Cell>"
      "</Row>";
  auto catalogue = Read(Workbook(Image("", ""), rows));
  const auto document = catalogue->Item(1);
  const auto pu = document->Champs.Item("L1_PU");
  EXPECT_EQ(pu->Page, 0);
  EXPECT_FLOAT_EQ(pu->Position_pixel_Left, 0);
  EXPECT_FLOAT_EQ(pu->Position_pixel_Right, 50);
  EXPECT_FLOAT_EQ(pu->Position_pixel_Top, 100);
  EXPECT_EQ(pu->Type_Champ(), 0);
  EXPECT_EQ(pu->Décimales(), 0);
  EXPECT_EQ(pu->Formule(), "L1_PT*2");
  EXPECT_EQ(pu->Imprimable(), -1);
  EXPECT_EQ(pu->oRegleV(), document->Regles_V.Item("001"));
  // Without a page of its own number the field is in the document only.
  EXPECT_EQ(document->Pages.Item(1)->Champs.Count(), 1);
  const auto pt = document->Champs.Item("L1_PT");
  EXPECT_FLOAT_EQ(pt->Position_pixel_Top, 0);  // out of range
  EXPECT_FLOAT_EQ(pt->Position_pixel_Left, 700);
  EXPECT_EQ(pt->Imprimable(), -1);  // empty: its rulers are printable
  EXPECT_EQ(pt->Décimales(), 0);
}

TEST_F(XmlReaderTest, RowsAndCellsEdgeCases) {
  const std::string rows =
      // Refers to a line further down.
      "<Row><mn:iRow mn:ID=\"mn1\" mn:Name=\"\" mn:RefersTo=\"l2\"/>"
      "<Cell><mn:iCell mn:ID=\"mn1\" mn:Name=\"L2_PU\" mn:Page=\"1\"/></Cell></Row>"
      "<Row><mn:iRow mn:ID=\"mn1\" mn:Name=\"L2\" mn:Y=\"300\" mn:H=\"abc\" mn:Page=\"1\" mn:iPrint=\"0\"/>"
      "<Cell><mn:iCell mn:ID=\"mn1\" mn:Name=\"L2_PT\" mn:Page=\"1\"/></Cell></Row>"
      // Refers to nothing: the fields have no line.
      "<Row><mn:iRow mn:ID=\"mn1\" mn:RefersTo=\"Nowhere\"/>"
      "<Cell><mn:iCell mn:ID=\"mn1\" mn:Name=\"X_PU\" mn:Page=\"1\" mn:Y=\"5\"/></Cell></Row>"
      // A line on a page that does not exist stays in the document.
      "<Row><mn:iRow mn:ID=\"mn1\" mn:Name=\"L4\" mn:Y=\"400\" mn:Page=\"7\"/>"
      // The second field of one name is left out, the other fields are read.
      "<Cell><mn:iCell mn:ID=\"mn1\" mn:Name=\"L2_PT\" mn:Page=\"1\" mn:Formula=\"second\"/></Cell>"
      "<Cell><mn:iCell mn:ID=\"mn1\" mn:Name=\"L4_PU\" mn:Page=\"1\"/>"
      "<mn:iCell mn:ID=\"mn2\" mn:Name=\"L4_Other\" mn:Page=\"1\"/></Cell></Row>"
      // A row of another document only.
      "<Row><mn:iRow mn:ID=\"mn2\" mn:Name=\"Z\"/><Cell><mn:iCell mn:ID=\"mn1\" mn:Name=\"Z_PU\"/></Cell></Row>";
  auto catalogue = Read(Workbook(Image("", ""), rows));
  const auto document = catalogue->Item(1);
  ASSERT_EQ(document->Regles_H.Count(), 2);
  const auto l2 = document->Regles_H.Item("00002");
  EXPECT_FLOAT_EQ(l2->hauteur_pixel, 30);
  EXPECT_EQ(l2->Imprimable, 0);
  const auto l4 = document->Regles_H.Item("00004");
  EXPECT_FALSE(l4->Page());
  EXPECT_EQ(document->Pages.Item(1)->Regles_H.Count(), 1);

  EXPECT_EQ(document->Champs.Item("L2_PU")->oRegleH(), l2);
  EXPECT_FLOAT_EQ(document->Champs.Item("L2_PU")->Position_pixel_Top, 300);
  EXPECT_EQ(document->Champs.Item("L2_PT")->Imprimable(), 0);  // its line is not printable
  EXPECT_EQ(document->Champs.Item("L2_PT")->Formule(), "");
  EXPECT_FALSE(document->Champs.Item("X_PU")->oRegleH());
  EXPECT_FLOAT_EQ(document->Champs.Item("X_PU")->Position_pixel_Top, 5);
  EXPECT_EQ(document->Champs.Item("L4_PU")->oRegleH(), l4);
  EXPECT_FALSE(document->Champs.Contains("L4_Other"));
  EXPECT_FALSE(document->Champs.Contains("Z_PU"));
  EXPECT_EQ(document->Champs.Count(), 4);
}

TEST_F(XmlReaderTest, ColumnErrorKeepsTheColumnsReadSoFar) {
  const std::string image =
      "<mn:Image mn:ID=\"mn1\" mn:Name=\"Lot1.pdf\" mn:Orientation=\"1\" mn:H=\"30\">"
      "<mn:iCol mn:Name=\"A\" mn:Dec=\"1\" mn:X=\"1\" mn:W=\"2\"/>"
      "<mn:iCol mn:Name=\"B\" mn:Dec=\"\" mn:X=\"1\" mn:W=\"2\"/>"
      "<mn:iCol mn:Name=\"C\" mn:Dec=\"1\" mn:X=\"1\" mn:W=\"2\"/><mn:iPage mn:ID=\"1\"/></mn:Image>";
  auto catalogue = Read(Workbook(image, ""));
  const auto document = catalogue->Item(1);
  EXPECT_EQ(document->Regles_V.Count(), 1);
  EXPECT_EQ(document->Pages.Count(), 1);  // the rest of the document is read
  ASSERT_EQ(platform_->messages().size(), 1u);
  EXPECT_EQ(platform_->messages()[0].text, Error::DefaultDescription(kTypeMismatch));
}

TEST_F(XmlReaderTest, DataContractOnAMissingPageFailsTheRead) {
  const std::string contract =
      "<mn:DataContrat><mn:iCell mn:ID=\"mn1\" mn:Name=\"Nom\" mn:Page=\"3\"/></mn:DataContrat>";
  platform_->SetFileBytes("lots/cat.xml", Workbook(Image("", contract), ""));
  auto catalogue = std::make_shared<cMarquage>();
  EXPECT_EQ(ErrorNumberOf([&] { catalogue->XML_ReadCNF("lots/cat.xml"); }), kSubscriptOutOfRange);
  EXPECT_EQ(catalogue->Count(), 0);
}

TEST_F(XmlReaderTest, LargeCatalogueLoadsInSeconds) {
  // 5 documents, 4 000 rows, one cell per row and document: 20 000 fields.
  constexpr int kDocuments = 5, kRows = 4000;
  std::string images, rows;
  for (int d = 1; d <= kDocuments; ++d) {
    images += "<mn:Image mn:ID=\"mn" + std::to_string(d) + "\" mn:Name=\"Doc" + std::to_string(d) +
              ".pdf\" mn:Orientation=\"1\" mn:H=\"30\"><mn:iCol mn:Name=\"PU\" mn:Dec=\"2\" mn:X=\"5\" mn:W=\"9\"/>"
              "<mn:iPage mn:ID=\"1\"/></mn:Image>";
  }
  for (int r = 1; r <= kRows; ++r) {
    const std::string line = "L" + std::to_string(r);
    rows += "<Row>";
    for (int d = 1; d <= kDocuments; ++d) {
      rows += "<mn:iRow mn:ID=\"mn" + std::to_string(d) + "\" mn:Name=\"" + line + "\" mn:Y=\"" + std::to_string(r) +
              "\" mn:Page=\"1\"/>";
    }
    rows += "<Cell ss:Index=\"1\">";
    for (int d = 1; d <= kDocuments; ++d) {
      rows += "<mn:iCell mn:ID=\"mn" + std::to_string(d) + "\" mn:Name=\"" + line + "_PU\" mn:Page=\"1\"/>";
    }
    rows += "</Cell></Row>";
  }
  const auto start = std::chrono::steady_clock::now();
  auto catalogue = Read(Workbook(images, rows));
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  ASSERT_EQ(catalogue->Count(), kDocuments);
  for (const auto& document : *catalogue) {
    EXPECT_EQ(document->Champs.Count(), kRows);
    EXPECT_EQ(document->Regles_H.Count(), kRows);
  }
  EXPECT_EQ(catalogue->Item(kDocuments)->Champs.Item("L4000_PU")->oRegleV()->Nom, "PU");
  EXPECT_LT(seconds, 10.0);
}

}  // namespace
}  // namespace mandor
