// A field written into the XML catalogue (CChamp::MajXmlNodeFromChampProperties
// and MajXmlNodeDataContratFromChampProperties).

#include <iterator>
#include <memory>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "mandor/fields/champ.h"
#include "mandor/model/mandor.h"
#include "mandor/model/regle.h"
#include "mandor/util/memory_platform.h"
#include "mandor/xml/marquage.h"
#include "tests/test_util.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

constexpr const char* kWorkbook =
    "<Workbook xmlns=\"urn:schemas-microsoft-com:office:spreadsheet\" "
    "xmlns:ss=\"urn:schemas-microsoft-com:office:spreadsheet\" xmlns:mn=\"urn:schemas-mandor:marquage\">"
    "<Cell><Data ss:Type=\"String\"/><mn:iCell mn:Name=\"1.1_PU\" mn:ID=\"mn4\" mn:Stale=\"x\"/>"
    "<mn:iCell mn:Name=\"1.1_PU\" mn:ID=\"mn5\"/></Cell>"
    "<mn:DataContrat><mn:iCell mn:Name=\"Total\" mn:X=\"5\" mn:Dec=\"4\" mn:Formula=\"A+B\" mn:Value=\"99,5\" "
    "mn:Extra=\"kept\"/></mn:DataContrat>"
    "</Workbook>";

using xml_test::Attributes;

class ChampXmlTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(xml_.load_string(kWorkbook));
    doc_->Id = "mn4";
    doc_->Decimales = 2;
    regle_v_->Nom = "PU";
    regle_v_->Position_pixel_X = 1000;
    regle_v_->WidthChamp(150);
    regle_v_->oOwnerMandor(doc_);
    regle_h_->Nom = "1.1";
    regle_h_->Position_pixel_Y = 500;
    regle_h_->hauteur_pixel = 40;
    regle_h_->oOwnerMandor(doc_);
    champ_->oOwnerMandor(doc_);
    champ_->Nom("1.1_PU");
    champ_->oRegleH(regle_h_);
    champ_->oRegleV(regle_v_);
    champ_->Page = 2;
    PlaceOnRulers();
    champ_->Imprimable(-1);
    champ_->Type_Champ(1);
    champ_->Décimales(2);
  }
  void PlaceOnRulers() {
    champ_->Position_pixel_Left = 1000;
    champ_->Position_pixel_Right = 1150;
    champ_->Position_pixel_Top = 500;
    champ_->Position_pixel_Bottom = 540;
  }
  pugi::xml_node Cell() { return xml_.child("Workbook").child("Cell"); }
  pugi::xml_node Contract() { return xml_.child("Workbook").child("mn:DataContrat").child("mn:iCell"); }

  std::shared_ptr<MemoryPlatform> platform_ = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope_{platform_};
  pugi::xml_document xml_;
  std::shared_ptr<Mandor> doc_ = std::make_shared<Mandor>();
  std::shared_ptr<CRegle> regle_v_ = std::make_shared<CRegle>();
  std::shared_ptr<CRegle> regle_h_ = std::make_shared<CRegle>();
  std::shared_ptr<CChamp> champ_ = std::make_shared<CChamp>();
};

TEST_F(ChampXmlTest, FieldElementIsRebuiltFromScratch) {
  pugi::xml_node node = Cell().child("mn:iCell");
  champ_->MajXmlNodeFromChampProperties(node);
  // The old element is gone, the new one is last in the cell, the other
  // document's element stays.
  EXPECT_EQ(node, Cell().last_child());
  EXPECT_STREQ(node.name(), "mn:iCell");
  EXPECT_STREQ(Cell().first_child().name(), "Data");
  EXPECT_STREQ(Cell().first_child().next_sibling().attribute("mn:ID").value(), "mn5");
  EXPECT_EQ(std::distance(Cell().children("mn:iCell").begin(), Cell().children("mn:iCell").end()), 2);
  // A field sitting on its rulers, with the document's decimals, carries
  // only what nothing else gives.
  EXPECT_EQ(Attributes(node), "mn:Name=1.1_PU mn:ID=mn4 mn:Page=2 mn:iPrint=1 mn:Type=1 ");
  EXPECT_FALSE(node.child("mn:iFont"));

  // Saving twice gives the same element.
  std::ostringstream first, second;
  node.print(first);
  champ_->MajXmlNodeFromChampProperties(node);
  node.print(second);
  EXPECT_EQ(second.str(), first.str());

  // A placeholder is replaced the same way.
  pugi::xml_node placeholder = Cell().append_child("iCell");
  champ_->MajXmlNodeFromChampProperties(placeholder);
  EXPECT_FALSE(Cell().child("iCell"));
  EXPECT_STREQ(placeholder.name(), "mn:iCell");

  // Nothing to replace is an error for the caller.
  pugi::xml_node none;
  EXPECT_EQ(test_util::ErrorNumberOf([&] { champ_->MajXmlNodeFromChampProperties(none); }), 91);
  auto orphan = std::make_shared<CChamp>();
  pugi::xml_node orphan_node = Cell().append_child("mn:iCell");
  EXPECT_EQ(test_util::ErrorNumberOf([&] { orphan->MajXmlNodeFromChampProperties(orphan_node); }), 91);
}

TEST_F(ChampXmlTest, PositionsAreWrittenWhereTheRulersDoNotGiveThem) {
  pugi::xml_node node = Cell().child("mn:iCell");
  champ_->Position_pixel_Left = 1010;
  champ_->Position_pixel_Right = 1010 + 150;  // same width as the column
  champ_->Position_pixel_Top = 502.5f;
  champ_->Position_pixel_Bottom = 502.5f + 30;
  champ_->MajXmlNodeFromChampProperties(node);
  EXPECT_STREQ(node.attribute("mn:X").value(), "1010");
  EXPECT_FALSE(node.attribute("mn:W"));
  EXPECT_STREQ(node.attribute("mn:Y").value(), "502.5");
  EXPECT_STREQ(node.attribute("mn:H").value(), "30");

  // Without rulers every position is written, in the invariant form.
  platform_->SetLocale(Locale::Comma());
  champ_->oRegleH(nullptr);
  champ_->oRegleV(nullptr);
  PlaceOnRulers();
  champ_->Position_pixel_Right = 1150.25f;
  champ_->MajXmlNodeFromChampProperties(node);
  EXPECT_STREQ(node.attribute("mn:X").value(), "1000");
  EXPECT_STREQ(node.attribute("mn:W").value(), "150.25");
  EXPECT_STREQ(node.attribute("mn:Y").value(), "500");
  EXPECT_STREQ(node.attribute("mn:H").value(), "40");
}

TEST_F(ChampXmlTest, OptionalAttributes) {
  pugi::xml_node node = Cell().child("mn:iCell");
  // Type 3 always carries its sub-type; other types a vertical anchoring
  // type only from 1 up.
  champ_->Type_Champ(3);
  champ_->Accrochage_V_Type(0);
  champ_->MajXmlNodeFromChampProperties(node);
  EXPECT_STREQ(node.attribute("mn:SubType").value(), "0");
  EXPECT_FALSE(node.attribute("mn:V_Type"));
  champ_->Type_Champ(1);
  champ_->MajXmlNodeFromChampProperties(node);
  EXPECT_FALSE(node.attribute("mn:SubType"));
  EXPECT_FALSE(node.attribute("mn:V_Type"));
  champ_->Accrochage_V_Type(2);
  champ_->MajXmlNodeFromChampProperties(node);
  EXPECT_STREQ(node.attribute("mn:V_Type").value(), "2");

  champ_->Imprimable(0);
  champ_->Décimales(3);
  champ_->SubName = "PU HT";
  champ_->Formule("Montant/Qté");
  champ_->Accrochage_H_Type = 1;
  champ_->ChampRecurrentDeRef("NumMarché");
  champ_->Bold(true);
  champ_->MajXmlNodeFromChampProperties(node);
  // "mn:subName" is the spelling readers look for; the stale attribute goes.
  EXPECT_EQ(Attributes(node),
            "mn:Name=1.1_PU mn:ID=mn4 mn:Page=2 mn:iPrint=0 mn:Type=1 mn:Dec=3 mn:SubName=PU HT mn:subName=PU HT "
            "mn:Formula=Montant/Qté mn:V_Type=2 mn:H_Type=1 mn:Referant=NumMarché ");
  EXPECT_STREQ(node.child("mn:iFont").attribute("mn:B").value(), "1");
}

TEST_F(ChampXmlTest, DataContractElementIsUpdatedInPlace) {
  champ_->Nom("Total");
  champ_->IsDataContrat(true);
  champ_->oRegleH(nullptr);  // data-contract fields are read without horizontal ruler
  champ_->Label("Total HT");
  champ_->IsOptional(true);
  champ_->Groupe("Offre");
  champ_->ToReport("AE");
  pugi::xml_node node = Contract();
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  EXPECT_EQ(node, Contract());
  // Unknown attributes stay. On its column: no X; the height always (no
  // horizontal ruler gives it back), Y and W always without horizontal ruler.
  // Decimals equal to the document's: the stale "4" goes. No value given
  // yet: the stored one stays. A cleared formula goes.
  EXPECT_EQ(Attributes(node),
            "mn:Name=Total mn:Value=99,5 mn:Extra=kept mn:ID=mn4 mn:Page=2 mn:H=40 mn:Y=500 mn:W=150 mn:iPrint=1 "
            "mn:Type=1 mn:Label=Total HT mn:Optional=1 mn:Groupe=Offre mn:ToReport=AE ");

  // A formula is written while the value is a number or empty; a text typed
  // over it leaves the stored formula.
  champ_->Formule("Qté*PU");
  champ_->valeur(true, "12,5");  // as a value read or typed first
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  EXPECT_STREQ(node.attribute("mn:Formula").value(), "Qté*PU");
  EXPECT_STREQ(node.attribute("mn:Value").value(), "12,5");
  champ_->Formule("SOMME(Montant)");
  champ_->valeur("sans objet");
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  EXPECT_STREQ(node.attribute("mn:Formula").value(), "Qté*PU");
  EXPECT_STREQ(node.attribute("mn:Value").value(), "sans objet");
  champ_->valeur("");  // a value cleared by the user is written empty
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  EXPECT_STREQ(node.attribute("mn:Value").value(), "");

  // With both rulers and the field on them, no position at all; the
  // vertical anchoring type only above 0.
  champ_->oRegleH(regle_h_);
  champ_->Accrochage_V_Type(0);
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  for (const char* name : {"mn:X", "mn:Y", "mn:W", "mn:H", "mn:V_Type", "mn:SubType", "mn:H_Type"}) {
    EXPECT_FALSE(node.attribute(name)) << name;
  }
  champ_->Accrochage_V_Type(1);
  champ_->Position_pixel_Bottom = 560;
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  EXPECT_STREQ(node.attribute("mn:V_Type").value(), "1");
  EXPECT_STREQ(node.attribute("mn:H").value(), "60");

  // The field's font, or its column's when it has none.
  champ_->Italic(true);
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  EXPECT_STREQ(node.child("mn:iFont").attribute("mn:I").value(), "1");
  champ_->Font(nullptr);
  regle_v_->Underligne(true);
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  EXPECT_STREQ(node.child("mn:iFont").attribute("mn:U").value(), "1");
  EXPECT_FALSE(node.child("mn:iFont").attribute("mn:I"));

  pugi::xml_node none;
  EXPECT_EQ(test_util::ErrorNumberOf([&] { champ_->MajXmlNodeDataContratFromChampProperties(none); }), 91);
}

}  // namespace
}  // namespace mandor
