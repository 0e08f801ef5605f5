// A field written into the XML catalogue (CChamp::MajXmlNodeFromChampProperties
// and MajXmlNodeDataContratFromChampProperties).

#include <memory>
#include <string>
#include <tuple>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "mandor/fields/champ.h"
#include "mandor/model/mandor.h"
#include "mandor/model/marquage.h"
#include "mandor/model/regle.h"
#include "mandor/testing/memory_platform.h"
#include "tests/test_util.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {


class ChampXmlTest : public test_util::MemoryPlatformTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(xml_.load_string(xml_test::DataFile("champ_xml_cells.xml").c_str()));
    std::tie(doc_->Id, doc_->Decimales) = std::make_tuple("mn4", 2);
    std::tie(regle_v_->Nom, regle_v_->Position_pixel_X) = std::make_tuple("PU", 1000.f);
    regle_v_->WidthChamp(150);
    regle_v_->oOwnerMandor(doc_);
    std::tie(regle_h_->Nom, regle_h_->Position_pixel_Y, regle_h_->hauteur_pixel) = std::make_tuple("1.1", 500.f, 40.f);
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
    std::tie(champ_->Position_pixel_Left, champ_->Position_pixel_Right, champ_->Position_pixel_Top,
             champ_->Position_pixel_Bottom) = std::make_tuple(1000.f, 1150.f, 500.f, 540.f);
  }
  pugi::xml_node Cell() { return xml_.child("Workbook").child("Cell"); }
  pugi::xml_node Contract() { return xml_.child("Workbook").child("mn:DataContrat").child("mn:iCell"); }
  // Adds the element as it now stands to the transcript.
  void Step(const std::string& label, const pugi::xml_node& node) {
    transcript_ += "== " + label + "\n" + xml_test::Serialized(node) + "\n";
  }

  std::string transcript_;
  pugi::xml_document xml_;
  std::shared_ptr<Mandor> doc_ = std::make_shared<Mandor>();
  std::shared_ptr<CRegle> regle_v_ = std::make_shared<CRegle>();
  std::shared_ptr<CRegle> regle_h_ = std::make_shared<CRegle>();
  std::shared_ptr<CChamp> champ_ = std::make_shared<CChamp>();
};

// Each step's element is in tests/data/xml/champ_xml_<test>.txt.
TEST_F(ChampXmlTest, FieldElementIsRebuiltFromScratch) {
  // The old element is gone, the new one is last in the cell, the other
  // document's element stays. A field sitting on its rulers, with the
  // document's decimals, carries only what nothing else gives.
  pugi::xml_node node = Cell().child("mn:iCell");
  champ_->MajXmlNodeFromChampProperties(node);
  EXPECT_EQ(node, Cell().last_child());
  Step("on its rulers", Cell());
  // A placeholder is replaced the same way.
  pugi::xml_node placeholder = Cell().append_child("iCell");
  champ_->MajXmlNodeFromChampProperties(placeholder);
  Step("placeholder", Cell());

  // Positions are written where the rulers do not give them.
  // The same width as the column.
  std::tie(champ_->Position_pixel_Left, champ_->Position_pixel_Right, champ_->Position_pixel_Top,
           champ_->Position_pixel_Bottom) = std::make_tuple(1010.f, 1010.f + 150, 502.5f, 502.5f + 30);
  champ_->MajXmlNodeFromChampProperties(node);
  Step("off its rulers", node);
  // Without rulers every position is written, in the invariant form.
  platform_->SetLocale(Locale::Comma());
  champ_->oRegleH(nullptr);
  champ_->oRegleV(nullptr);
  PlaceOnRulers();
  champ_->Position_pixel_Right = 1150.25f;
  champ_->MajXmlNodeFromChampProperties(node);
  Step("no rulers", node);
  champ_->oRegleH(regle_h_);
  champ_->oRegleV(regle_v_);
  PlaceOnRulers();

  // Type 3 always carries its sub-type; other types a vertical anchoring
  // type only from 1 up.
  champ_->Type_Champ(3);
  champ_->Accrochage_V_Type(0);
  champ_->MajXmlNodeFromChampProperties(node);
  Step("type 3", node);
  champ_->Type_Champ(1);
  champ_->Accrochage_V_Type(2);
  champ_->MajXmlNodeFromChampProperties(node);
  Step("anchoring type 2", node);
  // "mn:subName" is the spelling readers look for.
  champ_->Imprimable(0);
  champ_->Décimales(3);
  champ_->SubName = "PU HT";
  champ_->Formule("Montant/Qté");
  champ_->Accrochage_H_Type = 1;
  champ_->ChampRecurrentDeRef("NumMarché");
  champ_->Bold(true);
  champ_->MajXmlNodeFromChampProperties(node);
  Step("every attribute", node);
  test_util::ExpectDescribedAs(transcript_, "xml/champ_xml_field.txt");

  // Nothing to replace is an error for the caller.
  pugi::xml_node none;
  EXPECT_EQ(test_util::ErrorNumberOf([&] { champ_->MajXmlNodeFromChampProperties(none); }), 91);
  auto orphan = std::make_shared<CChamp>();
  pugi::xml_node orphan_node = Cell().append_child("mn:iCell");
  EXPECT_EQ(test_util::ErrorNumberOf([&] { orphan->MajXmlNodeFromChampProperties(orphan_node); }), 91);
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
  Step("first", node);

  // A formula is written while the value is a number or empty; a text typed
  // over it leaves the stored formula; a value cleared by the user is written empty.
  champ_->Formule("Qté*PU");
  champ_->valeur(true, "12,5");  // as a value read or typed first
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  Step("number", node);
  champ_->Formule("SOMME(Montant)");
  champ_->valeur("sans objet");
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  Step("text", node);
  champ_->valeur("");
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  Step("cleared", node);

  // With both rulers and the field on them, no position at all; the
  // vertical anchoring type only above 0.
  champ_->oRegleH(regle_h_);
  champ_->Accrochage_V_Type(0);
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  Step("on its rulers", node);
  champ_->Accrochage_V_Type(1);
  champ_->Position_pixel_Bottom = 560;
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  Step("anchoring type 1, taller", node);

  // The field's font, or its column's when it has none.
  champ_->Italic(true);
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  Step("italic", node);
  champ_->Font(nullptr);
  regle_v_->Underligne(true);
  champ_->MajXmlNodeDataContratFromChampProperties(node);
  Step("column's font", node);
  test_util::ExpectDescribedAs(transcript_, "xml/champ_xml_contract.txt");

  pugi::xml_node none;
  EXPECT_EQ(test_util::ErrorNumberOf([&] { champ_->MajXmlNodeDataContratFromChampProperties(none); }), 91);
}

}  // namespace
}  // namespace mandor
