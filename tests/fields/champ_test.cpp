#include "mandor/fields/champ.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <tuple>
#include <string>
#include <utility>
#include <vector>

#include "mandor/model/mandor.h"
#include "mandor/testing/memory_platform.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

// A document on an in-memory platform (point locale unless a test switches).
class ChampTest : public test_util::MemoryPlatformTest {
 protected:
  // A ruler of the document named nom, kept under key (nom when key is nullptr).
  std::shared_ptr<CRegle> AddRegle(Collection<CRegle>& rulers, const std::string& nom, const char* key = nullptr) {
    auto regle = std::make_shared<CRegle>();
    regle->Nom = nom, regle->oOwnerMandor(doc_), rulers.Add(regle, key ? std::string(key) : nom);
    return regle;
  }
  std::shared_ptr<CPage> AddPage(const std::string& key) {
    auto page = std::make_shared<CPage>();
    page->oOwnerMandor = doc_, doc_->Pages.Add(page, key);
    return page;
  }
  std::shared_ptr<CChamp> NewField(const std::string& nom = "") {
    auto champ = std::make_shared<CChamp>();
    champ->oOwnerMandor(doc_);
    if (!nom.empty()) champ->Nom(nom);
    return champ;
  }
  void SetLocale(bool comma) { platform_->SetLocale(comma ? Locale::Comma() : Locale::Point()); }
  std::shared_ptr<Mandor> doc_ = std::make_shared<Mandor>();
};

TEST_F(ChampTest, NomSplitsAtTheUnderscoresAndAnchorsTheFirstPartAsVerticalRuler) {
  auto v_a = AddRegle(doc_->Regles_V, "A"), v_b = AddRegle(doc_->Regles_V, "B");
  auto champ = NewField("A_B_C");
  // The first part picks the vertical ruler, even a horizontal one of that
  // name unless a vertical one overrides it.
  EXPECT_EQ(champ->NomRegleH() + "|" + champ->NomRegleV(), "A|B");
  EXPECT_TRUE(champ->oRegleV() == v_a && !champ->oRegleH());
  auto h_l = AddRegle(doc_->Regles_H, "L1");
  EXPECT_EQ(NewField("L1_B")->oRegleV(), h_l);
  auto v_l = AddRegle(doc_->Regles_V, "L1", "L1bis");
  EXPECT_EQ(NewField("L1_B")->oRegleV(), v_l);
  // The comparison is exact; without "_" the parts and the ruler stay.
  auto lower = NewField("a_B");
  EXPECT_EQ(lower->oRegleV(), nullptr);
  lower->oRegleV(v_b), lower->Nom("plain");
  EXPECT_EQ(lower->NomRegleH() + "|" + lower->NomRegleV() + (lower->oRegleV() == v_b ? "|kept" : ""), "a|B|kept");
  auto second = AddRegle(doc_->Regles_V, "A", "");  // the last match wins
  EXPECT_EQ(NewField("A_X")->oRegleV(), second);
}

TEST_F(ChampTest, FontInheritsFromRulersThenDocument) {
  // The parents are rebuilt: the horizontal ruler's font then the vertical
  // one's, else the document's.
  auto v = AddRegle(doc_->Regles_V, "V"), h = AddRegle(doc_->Regles_H, "H");
  auto hf = h->GetFontClassFromProperties(), vf = v->GetFontClassFromProperties();
  const struct { bool h, v; std::shared_ptr<CFont> parent1, parent2; } cases[] = {
      {false, true, vf, nullptr}, {true, true, hf, vf}, {true, false, hf, nullptr},
      {false, false, doc_->Font(), nullptr}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.h << c.v);
    auto champ = NewField();
    if (c.h) champ->oRegleH(h);
    if (c.v) champ->oRegleV(v);
    auto font = std::make_shared<CFont>();
    font->ParentFont2 = std::make_shared<CFont>();  // stale: replaced
    champ->SetFontPropertiesFromFontClass(font);
    EXPECT_TRUE(champ->Font() == font && font->ParentFont1 == c.parent1 && font->ParentFont2 == c.parent2);
  }
  // Without ruler and document the call fails, as it does without a font.
  EXPECT_EQ(ErrorNumberOf([] { CChamp().SetFontPropertiesFromFontClass(std::make_shared<CFont>()); }), 91);
}

TEST_F(ChampTest, TheRecurrentMasterPushesToCopiesNamingItExactly) {
  // A master "M", copies M_1 and M_2, and N_1 whose master is missing.
  const auto add_copy = [&](const std::string& nom, const std::string& ref) {
    auto copy = NewField(nom);
    copy->ChampRecurrentDeRef(ref);
    doc_->champsContenantReference.Add(copy, nom);
    return copy;
  };
  auto master = NewField("M");
  master->Recurrent(true), doc_->Champs.Add(master, "M");
  auto copy1 = add_copy("M_1", "M"), copy2 = add_copy("M_2", "M"), other = add_copy("N_1", "N");
  const auto settings = [](const CChamp& c) {
    return c.Formule() + "|" + std::to_string(c.Type_Champ()) + "|" + std::to_string(c.Accrochage_V_Type()) + "|" +
           std::to_string(c.Décimales());
  };
  master->Formule("X+Y"), master->Type_Champ(21);
  EXPECT_EQ(settings(*copy1) + " " + settings(*copy2) + " " + settings(*other), "X+Y|21|0|0 X+Y|21|0|0 |0|0|0");
  // A copy naming "m" is left alone, although Champs finds the master under
  // "m"; its own change reaches the master but not the exact copies.
  auto lower = add_copy("m_3", "m");
  master->Décimales(4);
  EXPECT_EQ(settings(*copy1) + " " + settings(*lower), "X+Y|21|0|4 |0|0|0");
  lower->Décimales(1);
  EXPECT_EQ(std::to_string(master->Décimales()) + " " + settings(*copy1), "1 X+Y|21|0|4");
  // A copy whose master is missing: the value is stored, then the look-up fails.
  EXPECT_EQ(ErrorNumberOf([&] { other->Formule("lost"); }), 5);
  // A copy with bPropage off changes alone; one that pushes re-arms every field it reaches.
  const std::string before = settings(*master) + " " + settings(*copy2);
  copy1->bPropage = false, copy1->Type_Champ(5);
  EXPECT_EQ(settings(*master) + " " + settings(*copy2), before);
  copy1->bPropage = true, copy2->bPropage = false, copy1->Accrochage_V_Type(3);
  EXPECT_EQ(settings(*master) + " " + settings(*copy2), "X+Y|5|3|4 X+Y|5|3|4");
  EXPECT_TRUE(master->bPropage && copy1->bPropage && copy2->bPropage);
}

TEST_F(ChampTest, ValuePredicatesInBothLocales) {
  const std::optional<bool> yes = true, no = false, none;
  // IsZero (Z) is True or empty, never False. IsUnderOne (U) reads both sides
  // whatever the locale: in a comma locale 0,5 reads as 0.
  const struct { char fn; bool comma; const char* value; std::optional<bool> expected; } cases[] = {
      {'Z', true, "-0", yes},     {'Z', true, " 0 ", yes}, {'Z', true, "abc", none}, {'Z', true, "0,001", none},
      {'Z', true, "0.0", none},   {'Z', false, "0.0", yes}, {'U', false, "-0.25", yes}, {'U', false, "1", no},
      {'U', false, "1.7976931348623157E308", no},  // its text reads back beyond a double
      {'U', true, "0,5", no},     {'U', true, "", none}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.fn << " " << c.value << (c.comma ? " comma" : " point"));
    SetLocale(c.comma);
    auto champ = NewField();
    champ->valeur(c.value);
    EXPECT_EQ(c.fn == 'Z' ? champ->IsZero() : champ->IsUnderOne(), c.expected);
  }
  // The initial value is fixed by the first assignment only, even an empty one;
  // ValueChanged needs one.
  const struct { std::vector<std::string> initials; const char* value; const char* expected; } initials[] = {
      {{"10", "20", ""}, nullptr, "10|10"}, {{"", "9"}, nullptr, "|"}, {{}, "5", "|5"}, {{"7"}, "5", "7|7"}};
  for (const auto& c : initials) {
    auto champ = NewField();
    if (c.value) champ->valeur(c.value);
    for (const auto& initial : c.initials) champ->InitialValue(initial);
    EXPECT_EQ(champ->InitialValue() + "|" + champ->valeur(), c.expected);
    EXPECT_FALSE(champ->ValueChanged());
  }
  auto champ = NewField();
  champ->InitialValue("abc");
  for (const char* value : {"ABC", ""}) EXPECT_TRUE((champ->valeur(value), champ->ValueChanged())) << value;
}

TEST_F(ChampTest, DiffWithInitialComparesFormattedValues) {
  // Compared formatted with |Décimales| places and grouping, texts as they
  // are; type 2 and fields without formula never.
  const struct { bool comma; const char* initial; const char* value; int16_t decimals; bool diff; int16_t type = 0;
                 const char* formula = "A*B"; } cases[] = {
      {true, "1.5", "1,5", 1, false},  {true, "1.6", "1", 0, true},     {true, "1234", "1\xC2\xA0" "234", 0, false},
      {true, "abc", "abd", 2, true},   {true, "1", "", 0, true},        {false, "1,5", "1.56", 2, true},
      {false, "2", "2.004", -2, false}, {false, "1", "2", 0, false, 2}, {false, "1", "2", 0, false, 0, ""}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.initial << " / " << c.value << (c.comma ? " comma" : " point"));
    SetLocale(c.comma);
    auto champ = NewField("L1_MT");
    champ->Formule(c.formula), champ->Type_Champ(c.type), champ->Décimales(c.decimals);
    champ->InitialValue(c.initial), champ->valeur(c.value);
    EXPECT_EQ(champ->DiffWithInitial(), c.diff);
  }
  CChamp orphan;  // the picture comes from the document
  orphan.Formule("A*B"), orphan.InitialValue("1");
  EXPECT_EQ(ErrorNumberOf([&] { orphan.DiffWithInitial(); }), 91);
}

TEST_F(ChampTest, SupprimerDuDocumentAndDesRecurrentsIgnoreMissingKeys) {
  auto page1 = AddPage("page_1"), page2 = AddPage("page_2");
  auto keep = NewField("KEEP");
  doc_->Champs.Add(keep, "KEEP"), page1->Champs.Add(keep, "KEEP");
  {
    auto gone = NewField("GONE");
    for (auto* c : {&doc_->Champs, &doc_->champsContenantReference, &doc_->ChampsRecurrents, &page2->Champs}) {
      c->Add(gone, "GONE");
    }
  }
  keep->SupprimerDuDocument("GONE");
  EXPECT_FALSE(doc_->champsContenantReference.Contains("GONE") || page2->Champs.Contains("GONE"));
  EXPECT_TRUE(doc_->ChampsRecurrents.Contains("GONE") && page1->Champs.Contains("KEEP"));
  EXPECT_EQ(doc_->Champs.Count(), 1);
  // On a field only the collection it leaves keeps alive, keyed by its own string.
  const auto& gone = doc_->ChampsRecurrents.Item("GONE");
  gone->Id = "gone";
  gone->SupprimerDesRecurrents(gone->Id);
  EXPECT_FALSE(doc_->ChampsRecurrents.Contains("GONE"));
  // Every page loses the field, through a reference the page holds.
  auto last = NewField("LAST");
  page1->Champs.Add(last, "LAST"), page2->Champs.Add(last, "LAST");
  doc_->Pages.Item(1L)->Champs.Item("LAST")->SupprimerDuDocument(last->Nom());
  EXPECT_FALSE(page1->Champs.Contains("LAST") || page2->Champs.Contains("LAST"));
}

}  // namespace
}  // namespace mandor
