// A field written into the XML catalogue, each step's element compared with
// tests/data/xml/champ_xml_<test>.txt.

#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "mandor/fields/champ.h"
#include "mandor/model/mandor.h"
#include "mandor/model/marquage.h"
#include "mandor/model/regle.h"
#include "tests/test_util.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

// The field 1.1_PU of page 2 on the rulers 1.1 (Y 500, 40 high) and PU (X 1000,
// 150 wide), printable, type 1, with the document's 2 decimals.
class ChampXmlTest : public test_util::MemoryPlatformTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(xml_.load_string(xml_test::DataFile("champ_xml_cells.xml").c_str()));
    doc_->Id = "mn4", doc_->Decimales = 2;
    regle_v_->Nom = "PU", regle_v_->Position_pixel_X = 1000, regle_v_->WidthChamp(150);
    regle_h_->Nom = "1.1", regle_h_->Position_pixel_Y = 500, regle_h_->hauteur_pixel = 40;
    regle_v_->oOwnerMandor(doc_), regle_h_->oOwnerMandor(doc_), champ_->oOwnerMandor(doc_);
    champ_->Nom("1.1_PU"), champ_->Page = 2, SetRulers(true, true), Place(1000, 1150, 500, 540);
    champ_->Imprimable(-1), champ_->Type_Champ(1), champ_->Décimales(2);
  }
  void SetRulers(bool h, bool v) { champ_->oRegleH(h ? regle_h_ : nullptr), champ_->oRegleV(v ? regle_v_ : nullptr); }
  void Place(float left, float right, float top, float bottom) {
    champ_->Position_pixel_Left = left, champ_->Position_pixel_Right = right;
    champ_->Position_pixel_Top = top, champ_->Position_pixel_Bottom = bottom;
  }
  pugi::xml_node Cell() { return xml_.child("Workbook").child("Cell"); }
  pugi::xml_node Contract() { return xml_.child("Workbook").child("mn:DataContrat").child("mn:iCell"); }
  // Writes the field into node (worksheet or data-contract form); shown goes to the transcript.
  void Write(const std::string& label, pugi::xml_node& node, bool contract = false, pugi::xml_node shown = {}) {
    contract ? champ_->MajXmlNodeDataContratFromChampProperties(node) : champ_->MajXmlNodeFromChampProperties(node);
    transcript_ += "== " + label + "\n" + xml_test::Serialized(shown ? shown : node) + "\n";
  }
  std::string transcript_;
  pugi::xml_document xml_;
  std::shared_ptr<Mandor> doc_ = std::make_shared<Mandor>();
  std::shared_ptr<CRegle> regle_v_ = std::make_shared<CRegle>(), regle_h_ = std::make_shared<CRegle>();
  std::shared_ptr<CChamp> champ_ = std::make_shared<CChamp>();
};

TEST_F(ChampXmlTest, FieldElementIsRebuiltFromScratch) {
  // The new element is last in the cell, the other document's stays; on its
  // rulers, with the document's decimals, it carries only what nothing else gives.
  pugi::xml_node node = Cell().child("mn:iCell");
  Write("on its rulers", node, false, Cell());
  EXPECT_EQ(node, Cell().last_child());
  pugi::xml_node placeholder = Cell().append_child("iCell");  // replaced the same way
  Write("placeholder", placeholder, false, Cell());
  // Positions are written where the rulers do not give them; without rulers
  // every one, with a decimal point.
  Place(1010, 1010 + 150, 502.5f, 502.5f + 30);
  Write("off its rulers", node);
  platform_->SetLocale(Locale::Comma()), SetRulers(false, false), Place(1000, 1150.25f, 500, 540);
  Write("no rulers", node);
  SetRulers(true, true), Place(1000, 1150, 500, 540);
  // Type 3 always carries its sub-type, others an anchoring type from 1 up.
  champ_->Type_Champ(3), champ_->Accrochage_V_Type(0);
  Write("type 3", node);
  champ_->Type_Champ(1), champ_->Accrochage_V_Type(2);
  Write("anchoring type 2", node);
  champ_->Imprimable(0), champ_->Décimales(3), champ_->SubName = "PU HT", champ_->Formule("Montant/Qté");
  champ_->Accrochage_H_Type = 1, champ_->ChampRecurrentDeRef("NumMarché"), champ_->Bold(true);
  Write("every attribute", node);
  test_util::ExpectDescribedAs(transcript_, "xml/champ_xml_field.txt");
  // Nothing to replace, or no document to take the Id from: an error for the caller.
  pugi::xml_node none, orphan_node = Cell().append_child("mn:iCell");
  EXPECT_EQ(ErrorNumberOf([&] { champ_->MajXmlNodeFromChampProperties(none); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { std::make_shared<CChamp>()->MajXmlNodeFromChampProperties(orphan_node); }), 91);
}

TEST_F(ChampXmlTest, DataContractElementIsUpdatedInPlace) {
  champ_->Nom("Total"), champ_->IsDataContrat(true), champ_->Label("Total HT"), champ_->IsOptional(true);
  champ_->Groupe("Offre"), champ_->ToReport("AE");
  SetRulers(false, true);  // data-contract fields are read without horizontal ruler
  pugi::xml_node node = Contract();
  // Unknown attributes stay; on its column no X; without horizontal ruler H, Y
  // and W; the document's decimals and a cleared formula go; no value: kept.
  Write("first", node, true);
  EXPECT_EQ(node, Contract());
  // A formula is written while the value is a number or empty.
  champ_->Formule("Qté*PU"), champ_->valeur(true, "12,5");  // as a value read or typed first
  Write("number", node, true);
  champ_->Formule("SOMME(Montant)"), champ_->valeur("sans objet");
  Write("text", node, true);
  champ_->valeur("");
  Write("cleared", node, true);
  // On both rulers no position at all.
  SetRulers(true, true);
  champ_->Accrochage_V_Type(0);
  Write("on its rulers", node, true);
  champ_->Accrochage_V_Type(1), champ_->Position_pixel_Bottom = 560;
  Write("anchoring type 1, taller", node, true);
  // The field's font, or its column's when it has none.
  champ_->Italic(true);
  Write("italic", node, true);
  champ_->Font(nullptr), regle_v_->Underligne(true);
  Write("column's font", node, true);
  test_util::ExpectDescribedAs(transcript_, "xml/champ_xml_contract.txt");
  pugi::xml_node none;
  EXPECT_EQ(ErrorNumberOf([&] { champ_->MajXmlNodeDataContratFromChampProperties(none); }), 91);
}

}  // namespace
}  // namespace mandor
