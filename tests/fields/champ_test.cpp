#include "mandor/fields/champ.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <tuple>

#include "mandor/model/mandor.h"
#include "mandor/testing/memory_platform.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

// A document on an in-memory platform (point locale unless a test switches).
class ChampTest : public test_util::MemoryPlatformTest {
 protected:
  // A ruler named nom attached to the document, kept under key (nom when key
  // is nullptr, no key when key is "").
  std::shared_ptr<CRegle> AddRegle(Collection<CRegle>& rulers, const std::string& nom,
                                   const char* key = nullptr) {
    auto regle = std::make_shared<CRegle>();
    regle->Nom = nom;
    regle->oOwnerMandor(doc_);
    rulers.Add(regle, key ? std::string(key) : nom);
    return regle;
  }

  std::shared_ptr<CPage> AddPage(const std::string& key) {
    auto page = std::make_shared<CPage>();
    page->oOwnerMandor = doc_;
    doc_->Pages.Add(page, key);
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
  auto v_a = AddRegle(doc_->Regles_V, "A");
  auto v_b = AddRegle(doc_->Regles_V, "B");
  auto champ = NewField("A_B_C");
  // The parts are "A" (horizontal) and "B" (vertical), yet the first part
  // picks the vertical ruler.
  EXPECT_EQ(champ->NomRegleH() + "|" + champ->NomRegleV(), "A|B");
  EXPECT_EQ(champ->oRegleV(), v_a);
  EXPECT_EQ(champ->oRegleH(), nullptr);
  // A horizontal ruler matching the first part also lands in oRegleV; a
  // vertical one of the same name overrides it.
  auto h_l = AddRegle(doc_->Regles_H, "L1");
  EXPECT_EQ(NewField("L1_B")->oRegleV(), h_l);
  auto v_l = AddRegle(doc_->Regles_V, "L1", "L1bis");
  EXPECT_EQ(NewField("L1_B")->oRegleV(), v_l);

  auto lower = NewField("a_B");  // the comparison is exact
  EXPECT_EQ(lower->oRegleV(), nullptr);
  lower->oRegleV(v_b);
  lower->Nom("plain");  // without "_" the parts, and so the ruler, stay
  EXPECT_EQ(lower->NomRegleH() + "|" + lower->NomRegleV() + "|" + lower->Nom(), "a|B|plain");
  EXPECT_EQ(lower->oRegleV(), v_b);
  // The last match wins; a field without document only stores the name.
  auto second = AddRegle(doc_->Regles_V, "A", "");
  EXPECT_EQ(NewField("A_X")->oRegleV(), second);
  auto orphan = std::make_shared<CChamp>();
  orphan->Nom("_Y");
  EXPECT_EQ(orphan->NomRegleH() + "|" + orphan->NomRegleV(), "|Y");
}

TEST_F(ChampTest, InitialValueIsFixedByTheFirstAssignmentOnly) {
  auto champ = NewField();
  champ->InitialValue("10");
  champ->InitialValue("20");
  champ->InitialValue("");
  EXPECT_EQ(champ->InitialValue() + "|" + champ->valeur(), "10|10");

  auto empty_first = NewField();  // even an empty first assignment fixes it
  empty_first->InitialValue("");
  empty_first->InitialValue("9");
  EXPECT_EQ(empty_first->InitialValue() + "|" + empty_first->valeur(), "|");

  auto plain = NewField();  // a plain value assignment does not fix it
  plain->valeur("5");
  EXPECT_EQ(plain->InitialValue() + "|" + plain->valeur(), "|5");
  plain->InitialValue("7");
  EXPECT_EQ(plain->InitialValue() + "|" + plain->valeur(), "7|7");
}

TEST_F(ChampTest, AccrochageLooksTheRulersUp) {
  auto v = AddRegle(doc_->Regles_V, "PU");
  auto champ = NewField();
  champ->Accrochage_V("pu");  // keys ignore case
  EXPECT_EQ(champ->oRegleV(), v);
  auto doc_ruler = AddRegle(doc_->Regles_H, "L1");
  champ->Accrochage_V("L1");  // a horizontal ruler is no vertical anchor: the ruler stays
  EXPECT_EQ(champ->Accrochage_V(), "L1");
  EXPECT_EQ(champ->oRegleV(), v);
  auto orphan = std::make_shared<CChamp>();
  orphan->Accrochage_V("PU");
  EXPECT_EQ(orphan->Accrochage_V(), "PU");
  EXPECT_EQ(orphan->oRegleV(), nullptr);

  // Accrochage_H prefers the ruler of the page at position Page, although
  // this page's key names page 5; no match keeps the ruler; no page at
  // position 5: the document's ruler.
  auto page = AddPage("page_5");
  auto page_ruler = AddRegle(page->Regles_H, "L1");
  champ->Page = 1;
  champ->Accrochage_H("L1");
  EXPECT_EQ(champ->oRegleH(), page_ruler);
  champ->Accrochage_H("nowhere");
  EXPECT_EQ(champ->Accrochage_H(), "nowhere");
  EXPECT_EQ(champ->oRegleH(), page_ruler);
  champ->Page = 5;
  champ->Accrochage_H("L1");
  EXPECT_EQ(champ->oRegleH(), doc_ruler);
}

TEST_F(ChampTest, FontPropertiesDelegateToTheFieldFont) {
  auto champ = NewField();
  auto font = champ->Font();
  ASSERT_NE(font, nullptr);
  EXPECT_NE(font, NewField()->Font());  // each field is created with a font of its own
  champ->Bold(true), champ->BackColor(255), champ->FontColor(65280);  // colours are not swapped
  EXPECT_EQ(std::to_string(font->BackColor()) + "/" + std::to_string(font->Color()), "255/65280");
  champ->FontSpecial(2 + 32);
  EXPECT_FALSE(champ->Bold());
  EXPECT_TRUE(champ->Italic());
  EXPECT_EQ(champ->Alignement(), 2);

  // Alignement maps to the font's alignment codes; other codes change
  // nothing, other font codes read as left.
  const struct { uint8_t let; const char* font; uint8_t get; } aligns[] = {
      {1, "1", 1}, {2, "2", 2}, {3, "2", 2}, {0, "0", 0}};
  for (const auto& a : aligns) {
    SCOPED_TRACE(int{a.let});
    champ->Alignement(a.let);
    EXPECT_EQ(font->Alignment(), a.font);
    EXPECT_EQ(champ->Alignement(), a.get);
  }
  font->Alignment("5");
  EXPECT_EQ(champ->Alignement(), 0);

  champ->Font(nullptr);
  EXPECT_EQ(ErrorNumberOf([&] { champ->Bold(); }), 91);
}

TEST_F(ChampTest, FontInheritsFromRulersThenDocument) {
  // SetFontPropertiesFromFontClass rebuilds the parents: the horizontal
  // ruler's font then the vertical one's, else the document's.
  auto v = AddRegle(doc_->Regles_V, "V");
  auto h = AddRegle(doc_->Regles_H, "H");
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
    EXPECT_EQ(champ->Font(), font);
    EXPECT_EQ(font->ParentFont1, c.parent1);
    EXPECT_EQ(font->ParentFont2, c.parent2);
  }
  // Without ruler and document the call fails, as it does without a font.
  auto orphan = std::make_shared<CChamp>();
  EXPECT_EQ(ErrorNumberOf([&] { orphan->SetFontPropertiesFromFontClass(std::make_shared<CFont>()); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { NewField()->SetFontPropertiesFromFontClass(nullptr); }), 91);
}

TEST_F(ChampTest, PositionsInPoints) {
  auto page = AddPage("page_1");
  page->hResolution(200);
  page->vResolution(300);
  auto champ = NewField();
  std::tie(champ->Position_pixel_Left, champ->Position_pixel_Right, champ->Position_pixel_Top,
           champ->Position_pixel_Bottom) = std::make_tuple(300.f, 400.f, 600.f, 1.f);
  EXPECT_EQ(champ->Position_point_Left() + champ->Position_point_Bottom(), 0.0f);  // no page yet

  champ->oOwnerPage = page;
  EXPECT_EQ(champ->Position_point_Left(), 108.0f);  // horizontal resolution
  EXPECT_EQ(champ->Position_point_Right(), 144.0f);
  EXPECT_EQ(champ->Position_point_Top(), 144.0f);  // vertical resolution
  // The quotient is taken in double: 1 / 300 * 72 is the float nearest 0.24.
  EXPECT_EQ(champ->Position_point_Bottom(), 0.24f);
  page->hResolution(0);
  EXPECT_EQ(ErrorNumberOf([&] { champ->Position_point_Right(); }), 11);
  EXPECT_EQ(champ->Position_point_Top(), 144.0f);
  page->vResolution(0);
  EXPECT_EQ(ErrorNumberOf([&] { champ->Position_point_Bottom(); }), 11);

  // The page is a back-link: once the document drops it, the field has no page.
  doc_->Pages.Clear();
  page.reset();
  EXPECT_EQ(champ->Position_point_Left(), 0.0f);
}

TEST_F(ChampTest, TheRecurrentMasterPushesToCopiesNamingItExactly) {
  // A master "M", its copies M_1 and M_2, and a copy N_1 whose master is missing.
  const auto add_copy = [&](const std::string& nom, const std::string& ref) {
    auto copy = NewField(nom);
    copy->ChampRecurrentDeRef(ref);
    doc_->champsContenantReference.Add(copy, nom);
    return copy;
  };
  auto master = NewField("M");
  master->Recurrent(true);
  doc_->Champs.Add(master, "M");
  auto copy1 = add_copy("M_1", "M"), copy2 = add_copy("M_2", "M"), other = add_copy("N_1", "N");
  // Formule, Type_Champ, Accrochage_V_Type and Décimales, "|"-separated.
  const auto settings = [](const CChamp& c) {
    return c.Formule() + "|" + std::to_string(c.Type_Champ()) + "|" + std::to_string(c.Accrochage_V_Type()) +
           "|" + std::to_string(c.Décimales());
  };

  master->Formule("X+Y");
  EXPECT_EQ(settings(*copy1), "X+Y|0|0|0");
  master->Type_Champ(21);
  EXPECT_EQ(settings(*copy2), "X+Y|21|0|0");
  EXPECT_EQ(settings(*other), "|0|0|0");

  // A copy naming "m" is left alone, although Champs finds the master under "m".
  auto lower = add_copy("m_3", "m");
  master->Décimales(4);
  EXPECT_EQ(copy1->Décimales(), 4);
  EXPECT_EQ(lower->Décimales(), 0);
  // Its own change reaches the master, which the look-up finds, but not the
  // copies naming the master exactly.
  lower->Décimales(1);
  EXPECT_EQ(master->Décimales(), 1);
  EXPECT_EQ(copy1->Décimales(), 4);
  // A copy whose master is missing: the value is stored, then the look-up fails.
  EXPECT_EQ(ErrorNumberOf([&] { other->Formule("lost"); }), 5);
  EXPECT_EQ(other->Formule(), "lost");

  // A copy with bPropage off changes alone; a copy that pushes re-arms every
  // field it reaches, whatever their flag was.
  const std::string before = settings(*master) + " " + settings(*copy2);
  copy1->bPropage = false;
  copy1->Type_Champ(5);
  EXPECT_FALSE(copy1->bPropage);
  EXPECT_EQ(settings(*master) + " " + settings(*copy2), before);
  copy1->bPropage = true;
  copy2->bPropage = false;
  copy1->Accrochage_V_Type(3);
  EXPECT_EQ(settings(*master) + " " + settings(*copy2), "X+Y|5|3|4 X+Y|5|3|4");
  EXPECT_TRUE(master->bPropage);
  EXPECT_TRUE(copy1->bPropage);
  EXPECT_TRUE(copy2->bPropage);
}

TEST_F(ChampTest, NumericPredicatesInBothLocales) {
  const std::optional<bool> yes = true, no = false, none;
  // IsZero (Z) is True or empty, never False. IsUnderOne (U) reads both sides
  // whatever the locale: in a comma locale 0,5 reads as 0.
  const struct { char fn; bool comma; const char* value; std::optional<bool> expected; } cases[] = {
      {'Z', true, "0,0", yes},   {'Z', true, "-0", yes},    {'Z', true, " 0 ", yes},  {'Z', true, "abc", none},
      {'Z', true, "", none},     {'Z', true, "0,001", none}, {'Z', true, "0.0", none}, {'Z', false, "0.0", yes},
      {'U', false, "-0.25", yes}, {'U', false, "0", no},    {'U', false, "1", no},    {'U', false, "abc", none},
      {'U', false, "1.7976931348623157E308", no},  // its text reads back beyond a double
      {'U', true, "0,5", no},    {'U', true, "", none},     {'U', true, "x0,5", none}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.fn << " " << c.value << (c.comma ? " comma" : " point"));
    SetLocale(c.comma);
    auto champ = NewField();
    champ->valeur(c.value);
    EXPECT_EQ(c.fn == 'Z' ? champ->IsZero() : champ->IsUnderOne(), c.expected);
  }
}

TEST_F(ChampTest, DiffWithInitialComparesFormattedValues) {
  // Compared once formatted with |Décimales| places and grouping; texts that
  // are not numbers are compared as they are.
  const struct { bool comma; const char* initial; const char* value; int16_t decimals; bool diff; } cases[] = {
      {true, "1.5", "1,5", 1, false},   {true, "1.4", "1", 0, false},     {true, "1.6", "1", 0, true},
      {true, "1234", "1\xC2\xA0" "234", 0, false}, {true, "abc", "abd", 2, true}, {true, "1", "", 0, true},
      {false, "1,5", "1.5", 1, false},  {false, "1,5", "1.56", 2, true},  {false, "2", "2.004", -2, false}, {false, "2", "2.004", 3, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.initial << " / " << c.value << (c.comma ? " comma" : " point"));
    SetLocale(c.comma);
    auto champ = NewField("L1_MT");
    champ->Formule("A*B");
    champ->Décimales(c.decimals);
    champ->InitialValue(c.initial);
    champ->valeur(c.value);
    EXPECT_EQ(champ->DiffWithInitial(), c.diff);
  }
  // Never reported: no initial value, type 2, no formula.
  auto champ = NewField("L1_MT");
  champ->Formule("A*B"), champ->valeur("2");
  EXPECT_FALSE(champ->DiffWithInitial());
  champ->InitialValue("1"), champ->valeur("2");
  ASSERT_TRUE(champ->DiffWithInitial());
  champ->Type_Champ(2);
  EXPECT_FALSE(champ->DiffWithInitial());
  champ->Type_Champ(0), champ->Formule("");
  EXPECT_FALSE(champ->DiffWithInitial());
  // The picture comes from the document.
  auto orphan = std::make_shared<CChamp>();
  orphan->Formule("A*B"), orphan->InitialValue("1");
  EXPECT_EQ(ErrorNumberOf([&] { orphan->DiffWithInitial(); }), 91);
}

TEST_F(ChampTest, NumberPicturesFollowTheDecimals) {
  // The field's own pictures and the document's agree, for a field that no
  // shared pointer owns too; the sign of Décimales does not matter.
  const struct { int16_t decimals; const char* display; const char* output; } cases[] = {
      {0, "#,##0", "###########0."}, {2, "#,##0.00", "###########0.00"}, {-3, "#,##0.000", "###########0.000"}};
  auto doc = std::make_shared<Mandor>();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.decimals);
    CChamp on_stack;
    on_stack.Décimales(c.decimals);
    EXPECT_EQ(FormatNombre(on_stack), c.display);
    EXPECT_EQ(FormatNombreSortie(on_stack), c.output);
    auto shared = std::make_shared<CChamp>();
    shared->Décimales(c.decimals);
    EXPECT_EQ(doc->FormatNombre(shared), c.display);
    EXPECT_EQ(doc->FormatNombreSortie(shared), c.output);
  }
}

TEST_F(ChampTest, NameAndFormulaPredicates) {
  // HasInPU / HasInMT test the start of the part after the first "_".
  const struct { const char* nom; bool pu, mt; } names[] = {
      {"X_pu2", true, false}, {"PU_X", false, false}, {"L1_MT_3", false, true}, {"L1_", false, false},
      {"É_mt", false, true},  {"L1_ PU", false, false}};
  for (const auto& n : names) {
    SCOPED_TRACE(n.nom);
    auto champ = NewField(n.nom);
    EXPECT_EQ(champ->HasInPU(), n.pu);
    EXPECT_EQ(champ->HasInMT(), n.mt);
  }
  const struct { const char* formule; bool pourcent; } formulas[] = {
      {"", false}, {"A*B/100", true}, {"A/10", false}, {"A / 100", false}};
  for (const auto& f : formulas) {
    auto champ = NewField();
    champ->Formule(f.formule);
    EXPECT_EQ(champ->FormuleHasPourcent(), f.pourcent) << f.formule;
  }

  auto champ = NewField();
  champ->valeur("anything");
  EXPECT_FALSE(champ->ValueChanged());  // no initial value
  champ = NewField();
  champ->InitialValue("abc");
  EXPECT_FALSE(champ->ValueChanged());
  const std::string changed[] = {"ABC", ""};
  for (const auto& value : changed) EXPECT_TRUE((champ->valeur(value), champ->ValueChanged())) << value;
}

TEST_F(ChampTest, RendreRecurrentMovesTheFieldOffTheCurrentPage) {
  auto page1 = AddPage("page_1");
  auto page2 = AddPage("page_2");
  auto champ = NewField("TOTAL_MT");
  champ->oOwnerPage = page2;
  page1->Champs.Add(NewField("keep"), "keep");
  page2->Champs.Add(champ, "TOTAL_MT");
  doc_->numero_page = 2;
  champ->RendreRecurrent();
  EXPECT_EQ(doc_->ChampsRecurrents.Item("total_mt"), champ);
  EXPECT_FALSE(page2->Champs.Contains("TOTAL_MT"));
  EXPECT_TRUE(page1->Champs.Contains("keep"));
  EXPECT_EQ(champ->oOwnerPage.lock(), nullptr);

  // Page number 0: only the registration and the page link change.
  auto other = NewField("SUB_MT");
  other->oOwnerPage = page1;
  page1->Champs.Add(other, "SUB_MT");
  doc_->numero_page = 0;
  other->RendreRecurrent();
  EXPECT_TRUE(doc_->ChampsRecurrents.Contains("SUB_MT"));
  EXPECT_TRUE(page1->Champs.Contains("SUB_MT"));
  EXPECT_EQ(other->oOwnerPage.lock(), nullptr);
}

TEST_F(ChampTest, SupprimerDuDocumentAndDesRecurrentsIgnoreMissingKeys) {
  auto page1 = AddPage("page_1");
  auto page2 = AddPage("page_2");
  auto keep = NewField("KEEP");
  doc_->Champs.Add(keep, "KEEP");
  {
    auto gone = NewField("GONE");
    doc_->Champs.Add(gone, "GONE");
    doc_->champsContenantReference.Add(gone, "GONE");
    doc_->ChampsRecurrents.Add(gone, "GONE");
    page2->Champs.Add(gone, "GONE");
  }
  page1->Champs.Add(keep, "KEEP");
  keep->SupprimerDuDocument("GONE");
  EXPECT_FALSE(doc_->champsContenantReference.Contains("GONE"));
  EXPECT_FALSE(page2->Champs.Contains("GONE"));
  EXPECT_TRUE(doc_->ChampsRecurrents.Contains("GONE"));
  EXPECT_TRUE(page1->Champs.Contains("KEEP"));
  EXPECT_EQ(doc_->Champs.Count(), 1);

  // Called on a field that only the collection it leaves keeps alive, with
  // one of its own strings as key.
  const auto& gone = doc_->ChampsRecurrents.Item("GONE");
  gone->Id = "gone";
  gone->SupprimerDesRecurrents(gone->Id);
  EXPECT_FALSE(doc_->ChampsRecurrents.Contains("GONE"));

  doc_->ChampsRecurrents.Add(keep, "KEEP");
  keep->SupprimerDesRecurrents("KEEP");
  EXPECT_EQ(doc_->ChampsRecurrents.Count() + doc_->Champs.Count(), 0);
  EXPECT_TRUE(page1->Champs.Contains("KEEP"));  // pages are not touched

  auto last = NewField("LAST");
  page1->Champs.Add(last, "LAST");
  page2->Champs.Add(last, "LAST");
  doc_->Pages.Item(1L)->Champs.Item("LAST")->SupprimerDuDocument(last->Nom());
  EXPECT_FALSE(page1->Champs.Contains("LAST"));
  EXPECT_FALSE(page2->Champs.Contains("LAST"));

  auto orphan = std::make_shared<CChamp>();
  EXPECT_NO_THROW(orphan->SupprimerDuDocument("KEEP"); orphan->SupprimerDesRecurrents("KEEP"));
  EXPECT_TRUE(page1->Champs.Contains("KEEP"));
}

}  // namespace
}  // namespace mandor
