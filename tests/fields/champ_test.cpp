#include "mandor/fields/champ.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "mandor/model/mandor.h"
#include "mandor/model/page.h"
#include "mandor/model/regle.h"
#include "mandor/util/error.h"
#include "mandor/util/memory_platform.h"

namespace mandor {
namespace {

// A document with an in-memory platform (point locale unless a test switches).
class ChampTest : public ::testing::Test {
 protected:
  ChampTest()
      : platform_(std::make_shared<MemoryPlatform>()), scope_(platform_), doc_(std::make_shared<Mandor>()) {}

  void UseCommaLocale() { platform_->SetLocale(Locale::Comma()); }
  void UsePointLocale() { platform_->SetLocale(Locale::Point()); }

  // A ruler named nom attached to the document, stored under key (nom when
  // key is nullptr, no key when key is "").
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

  // A field with a formula, an initial value and a value, for DiffWithInitial.
  std::shared_ptr<CChamp> FormulaField(const std::string& initial, const std::string& value, int16_t decimals) {
    auto champ = NewField("L1_MT");
    champ->Formule("A*B");
    champ->Décimales(decimals);
    champ->InitialValue(initial);
    champ->valeur(value);
    return champ;
  }

  std::shared_ptr<MemoryPlatform> platform_;
  ScopedPlatform scope_;
  std::shared_ptr<Mandor> doc_;
};

int ErrorNumberOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

TEST_F(ChampTest, NomSplitsAtEveryUnderscore) {
  auto champ = NewField("A_B_C");
  EXPECT_EQ(champ->Nom(), "A_B_C");
  EXPECT_EQ(champ->NomRegleH(), "A");
  EXPECT_EQ(champ->NomRegleV(), "B");

  champ->Nom("_V");
  EXPECT_EQ(champ->NomRegleH(), "");
  EXPECT_EQ(champ->NomRegleV(), "V");
  champ->Nom("H_");
  EXPECT_EQ(champ->NomRegleH(), "H");
  EXPECT_EQ(champ->NomRegleV(), "");

  // Without "_" both parts keep what they held.
  champ->Nom("H7_V7");
  champ->Nom("plain");
  EXPECT_EQ(champ->Nom(), "plain");
  EXPECT_EQ(champ->NomRegleH(), "H7");
  EXPECT_EQ(champ->NomRegleV(), "V7");

  auto fresh = NewField("plain");
  EXPECT_EQ(fresh->NomRegleH(), "");
  EXPECT_EQ(fresh->NomRegleV(), "");

  // No document: the name is stored, nothing fails.
  auto orphan = std::make_shared<CChamp>();
  orphan->Nom("X_Y");
  EXPECT_EQ(orphan->NomRegleV(), "Y");
  EXPECT_EQ(orphan->oRegleV(), nullptr);
}

TEST_F(ChampTest, NomAnchorsTheFirstPartAsVerticalRuler) {
  auto v_a = AddRegle(doc_->Regles_V, "A");
  auto v_b = AddRegle(doc_->Regles_V, "B");
  auto champ = NewField("A_B_C");
  // The first part picks the vertical ruler; the ruler named like the second part is not used.
  EXPECT_EQ(champ->oRegleV(), v_a);
  EXPECT_NE(champ->oRegleV(), v_b);
  EXPECT_EQ(champ->oRegleH(), nullptr);

  // A horizontal ruler matching the first part also lands in oRegleV; a
  // vertical one of the same name overrides it.
  auto h_l = AddRegle(doc_->Regles_H, "L1");
  auto h_only = NewField("L1_B");
  EXPECT_EQ(h_only->oRegleV(), h_l);
  EXPECT_EQ(h_only->oRegleH(), nullptr);
  auto v_l = AddRegle(doc_->Regles_V, "L1", "L1bis");
  h_only->Nom("L1_B");
  EXPECT_EQ(h_only->oRegleV(), v_l);

  // The comparison is exact: "a" is not "A".
  auto lower = NewField("a_B");
  EXPECT_EQ(lower->oRegleV(), nullptr);

  // No match keeps the previous ruler.
  lower->oRegleV(v_b);
  lower->Nom("ZZ_A");
  EXPECT_EQ(lower->oRegleV(), v_b);
}

TEST_F(ChampTest, NomLastMatchWinsAndLoopsRunWithoutUnderscore) {
  auto first = AddRegle(doc_->Regles_V, "A", "");
  auto second = AddRegle(doc_->Regles_V, "A", "");
  auto champ = NewField("A_X");
  EXPECT_EQ(champ->oRegleV(), second);

  // A name without "_" searches with the part left from before.
  champ->oRegleV(nullptr);
  champ->Nom("renamed");
  EXPECT_EQ(champ->oRegleV(), second);

  // On a fresh field the empty part matches a ruler with an empty name.
  auto unnamed = AddRegle(doc_->Regles_V, "", "unnamed");
  auto fresh = NewField("nounderscore");
  EXPECT_EQ(fresh->oRegleV(), unnamed);
  (void)first;
}

TEST_F(ChampTest, InitialValueIsFixedByTheFirstAssignmentOnly) {
  auto champ = NewField();
  champ->InitialValue("10");
  EXPECT_EQ(champ->InitialValue(), "10");
  EXPECT_EQ(champ->valeur(), "10");
  champ->InitialValue("20");
  champ->InitialValue("");
  EXPECT_EQ(champ->InitialValue(), "10");
  EXPECT_EQ(champ->valeur(), "10");

  // Even an empty first assignment fixes it.
  auto empty_first = NewField();
  empty_first->InitialValue("");
  empty_first->InitialValue("9");
  EXPECT_EQ(empty_first->InitialValue(), "");
  EXPECT_EQ(empty_first->valeur(), "");

  // A plain value assignment does not fix it.
  auto plain = NewField();
  plain->valeur("5");
  EXPECT_EQ(plain->InitialValue(), "");
  plain->InitialValue("7");
  EXPECT_EQ(plain->InitialValue(), "7");
  EXPECT_EQ(plain->valeur(), "7");
}

TEST_F(ChampTest, ValeurWithInitialFlag) {
  auto champ = NewField();
  champ->valeur(true, "12");
  EXPECT_EQ(champ->InitialValue(), "12");
  EXPECT_EQ(champ->valeur(), "12");
  champ->valeur(true, "13");
  EXPECT_EQ(champ->InitialValue(), "12");
  EXPECT_EQ(champ->valeur(), "13");
  champ->valeur(false, "14");
  EXPECT_EQ(champ->valeur(true), "14");  // get ignores the flag
  EXPECT_EQ(champ->InitialValue(), "12");
}

TEST_F(ChampTest, AccrochageVLooksTheDocumentRulersUp) {
  auto v = AddRegle(doc_->Regles_V, "PU");
  auto champ = NewField();
  champ->Accrochage_V("pu");  // keys ignore case
  EXPECT_EQ(champ->Accrochage_V(), "pu");
  EXPECT_EQ(champ->oRegleV(), v);
  champ->Accrochage_V("missing");
  EXPECT_EQ(champ->Accrochage_V(), "missing");
  EXPECT_EQ(champ->oRegleV(), v);
  // A horizontal ruler of that name is not a vertical anchor.
  AddRegle(doc_->Regles_H, "row");
  champ->Accrochage_V("row");
  EXPECT_EQ(champ->oRegleV(), v);

  auto orphan = std::make_shared<CChamp>();
  orphan->Accrochage_V("PU");
  EXPECT_EQ(orphan->Accrochage_V(), "PU");
  EXPECT_EQ(orphan->oRegleV(), nullptr);
}

TEST_F(ChampTest, AccrochageHPrefersThePageRulerTakenByPosition) {
  auto doc_ruler = AddRegle(doc_->Regles_H, "L1");
  // The page sits at position 1 although its key names page 5.
  auto page = AddPage("page_5");
  auto page_ruler = std::make_shared<CRegle>();
  page_ruler->Nom = "L1";
  page->Regles_H.Add(page_ruler, "L1");
  auto page_only = std::make_shared<CRegle>();
  page_only->Nom = "L2";
  page->Regles_H.Add(page_only, "L2");

  auto champ = NewField();
  champ->Page = 1;
  champ->Accrochage_H("L1");
  EXPECT_EQ(champ->oRegleH(), page_ruler);
  champ->Accrochage_H("L2");
  EXPECT_EQ(champ->oRegleH(), page_only);
  champ->Accrochage_H("nowhere");
  EXPECT_EQ(champ->Accrochage_H(), "nowhere");
  EXPECT_EQ(champ->oRegleH(), page_only);

  // Page 5 by number is no page by position: the document ruler stays.
  auto other = NewField();
  other->Page = 5;
  other->Accrochage_H("L1");
  EXPECT_EQ(other->oRegleH(), doc_ruler);
  other->Page = 0;
  other->Accrochage_H("L2");
  EXPECT_EQ(other->oRegleH(), doc_ruler);
  EXPECT_EQ(other->oRegleV(), nullptr);
}

TEST_F(ChampTest, AlignementMapsTheFontCodes) {
  auto champ = NewField();
  EXPECT_EQ(champ->Alignement(), 0);
  champ->Alignement(1);
  EXPECT_EQ(champ->Font()->Alignment(), "1");
  EXPECT_EQ(champ->Alignement(), 1);
  champ->Alignement(2);
  EXPECT_EQ(champ->Font()->Alignment(), "2");
  EXPECT_EQ(champ->Alignement(), 2);
  champ->Alignement(3);
  EXPECT_EQ(champ->Font()->Alignment(), "2");
  champ->Alignement(7);
  EXPECT_EQ(champ->Alignement(), 2);
  champ->Alignement(0);
  EXPECT_EQ(champ->Font()->Alignment(), "0");
  EXPECT_EQ(champ->Alignement(), 0);
  // Any other alignment text reads as left.
  champ->Font()->Alignment("5");
  EXPECT_EQ(champ->Alignement(), 0);
}

TEST_F(ChampTest, FontPropertiesDelegateToTheFieldFont) {
  auto champ = NewField();
  auto font = champ->Font();
  ASSERT_NE(font, nullptr);
  EXPECT_NE(font, NewField()->Font());  // each field is created with a font of its own
  EXPECT_EQ(champ->GetFontClassFromFontProperties(), font);
  champ->Bold(true);
  champ->Italic(true);
  champ->Underligne(true);
  champ->StrikeThrough(true);
  champ->Transparent(false);
  champ->FontName("Courier");
  champ->FontSize(12);
  champ->BackColor(255);
  champ->FontColor(65280);
  EXPECT_TRUE(font->Bold() && font->Italic() && font->Underline() && font->StrikeThrough());
  EXPECT_FALSE(font->Transparent());
  EXPECT_EQ(font->Name(), "Courier");
  EXPECT_EQ(font->Size(), 12);
  EXPECT_EQ(font->BackColor(), 255);
  EXPECT_EQ(font->Color(), 65280);
  EXPECT_TRUE(champ->Underligne());
  EXPECT_FALSE(champ->Transparent());
  EXPECT_EQ(champ->FontSpecial(), font->Special());

  champ->FontSpecial(2 + 32);
  EXPECT_FALSE(champ->Bold());
  EXPECT_TRUE(champ->Italic());
  EXPECT_EQ(champ->Alignement(), 2);

  // Font set shares the object.
  auto shared = std::make_shared<CFont>();
  champ->Font(shared);
  shared->Name("Verdana");
  EXPECT_EQ(champ->FontName(), "Verdana");

  champ->Font(nullptr);
  EXPECT_EQ(ErrorNumberOf([&] { champ->Bold(); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { champ->Alignement(1); }), 91);
}

TEST_F(ChampTest, SetFontPropertiesFromFontClassRebuildsTheParents) {
  auto v = AddRegle(doc_->Regles_V, "V");
  auto h = AddRegle(doc_->Regles_H, "H");
  auto stale = std::make_shared<CFont>();

  auto only_v = NewField();
  only_v->oRegleV(v);
  auto font = std::make_shared<CFont>();
  font->ParentFont2 = stale;
  only_v->SetFontPropertiesFromFontClass(font);
  EXPECT_EQ(only_v->Font(), font);
  EXPECT_EQ(font->ParentFont1, v->GetFontClassFromProperties());
  EXPECT_EQ(font->ParentFont2, nullptr);

  auto both = NewField();
  both->oRegleH(h);
  both->oRegleV(v);
  auto font2 = std::make_shared<CFont>();
  both->SetFontPropertiesFromFontClass(font2);
  EXPECT_EQ(font2->ParentFont1, h->GetFontClassFromProperties());
  EXPECT_EQ(font2->ParentFont2, v->GetFontClassFromProperties());

  auto only_h = NewField();
  only_h->oRegleH(h);
  auto font3 = std::make_shared<CFont>();
  font3->ParentFont2 = stale;
  only_h->SetFontPropertiesFromFontClass(font3);
  EXPECT_EQ(font3->ParentFont1, h->GetFontClassFromProperties());
  EXPECT_EQ(font3->ParentFont2, nullptr);

  auto no_ruler = NewField();
  auto font4 = std::make_shared<CFont>();
  font4->ParentFont2 = stale;
  no_ruler->SetFontPropertiesFromFontClass(font4);
  EXPECT_EQ(font4->ParentFont1, doc_->Font());
  EXPECT_EQ(font4->ParentFont2, nullptr);

  // Without ruler and document the call fails, as it does without a font.
  auto orphan = std::make_shared<CChamp>();
  EXPECT_EQ(ErrorNumberOf([&] { orphan->SetFontPropertiesFromFontClass(std::make_shared<CFont>()); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { only_v->SetFontPropertiesFromFontClass(nullptr); }), 91);
}

TEST_F(ChampTest, FontInheritsFromRulerThenDocument) {
  auto v = AddRegle(doc_->Regles_V, "V");
  auto h = AddRegle(doc_->Regles_H, "H");
  auto champ = NewField();
  champ->oRegleH(h);
  champ->oRegleV(v);
  champ->SetFontPropertiesFromFontClass(champ->Font());

  doc_->FonteName("Times New Roman");
  doc_->FonteSize(11);
  EXPECT_EQ(champ->FontName(), "Times New Roman");
  EXPECT_EQ(champ->FontSize(), 11);
  EXPECT_FALSE(champ->Bold());

  // A vertical-ruler override shows; the horizontal ruler's beats it.
  v->Bold(true);
  v->FontSize(14);
  EXPECT_TRUE(champ->Bold());
  EXPECT_EQ(champ->FontSize(), 14);
  h->FontSize(16);
  EXPECT_EQ(champ->FontSize(), 16);

  // The field's own override beats everything; setting the inherited value clears it.
  champ->FontSize(20);
  EXPECT_EQ(champ->FontSize(), 20);
  champ->FontSize(16);
  EXPECT_FALSE(champ->Font()->HasSize());
  h->FontSize(11);  // equal to the document's: no override left on the ruler
  EXPECT_EQ(champ->FontSize(), 14);

  // A field without rulers inherits from the document directly.
  auto loose = NewField();
  loose->SetFontPropertiesFromFontClass(loose->Font());
  EXPECT_EQ(loose->FontName(), "Times New Roman");
  EXPECT_FALSE(loose->Bold());
}

TEST_F(ChampTest, PositionsInPoints) {
  auto page = AddPage("page_1");
  page->hResolution(200);
  page->vResolution(300);
  auto champ = NewField();
  champ->Position_pixel_Left = 300;
  champ->Position_pixel_Right = 400;
  champ->Position_pixel_Top = 600;
  champ->Position_pixel_Bottom = 1;
  EXPECT_EQ(champ->Position_point_Left(), 0.0f);  // no page yet
  EXPECT_EQ(champ->Position_point_Bottom(), 0.0f);

  champ->oOwnerPage = page;
  EXPECT_EQ(champ->Position_point_Left(), 108.0f);   // horizontal resolution
  EXPECT_EQ(champ->Position_point_Right(), 144.0f);
  EXPECT_EQ(champ->Position_point_Top(), 144.0f);    // vertical resolution
  // The quotient is taken in double: 1 / 300 * 72 is the float nearest 0.24.
  EXPECT_EQ(champ->Position_point_Bottom(), 0.24f);

  page->hResolution(300);
  EXPECT_EQ(champ->Position_point_Left(), 72.0f);
  page->hResolution(0);
  EXPECT_EQ(ErrorNumberOf([&] { champ->Position_point_Left(); }), 11);
  EXPECT_EQ(ErrorNumberOf([&] { champ->Position_point_Right(); }), 11);
  EXPECT_EQ(champ->Position_point_Top(), 144.0f);
  page->vResolution(0);
  EXPECT_EQ(ErrorNumberOf([&] { champ->Position_point_Top(); }), 11);
  EXPECT_EQ(ErrorNumberOf([&] { champ->Position_point_Bottom(); }), 11);

  // The page is a back-link: once the document drops it, the field has no page.
  doc_->Pages.Clear();
  page.reset();
  EXPECT_EQ(champ->Position_point_Left(), 0.0f);
}

// A master "M" and its copies, as a reader leaves them.
class RecurrentTest : public ChampTest {
 protected:
  RecurrentTest() {
    master_ = NewField("M");
    master_->Recurrent(true);
    doc_->Champs.Add(master_, "M");
    copy1_ = AddCopy("M_1", "M");
    copy2_ = AddCopy("M_2", "M");
    other_ = AddCopy("N_1", "N");
  }

  std::shared_ptr<CChamp> AddCopy(const std::string& nom, const std::string& ref) {
    auto copy = NewField(nom);
    copy->ChampRecurrentDeRef(ref);
    doc_->champsContenantReference.Add(copy, nom);
    return copy;
  }

  static void ExpectSettings(const CChamp& c, const std::string& formule, int16_t type, int16_t v_type,
                             int16_t decimals) {
    EXPECT_EQ(c.Formule(), formule) << c.Nom();
    EXPECT_EQ(c.Type_Champ(), type) << c.Nom();
    EXPECT_EQ(c.Accrochage_V_Type(), v_type) << c.Nom();
    EXPECT_EQ(c.Décimales(), decimals) << c.Nom();
  }

  std::shared_ptr<CChamp> master_, copy1_, copy2_, other_;
};

TEST_F(RecurrentTest, ACopyPushesItsSettingsToTheMasterAndOtherCopies) {
  copy1_->bPropage = false;
  copy1_->Formule("A*B");
  copy1_->Type_Champ(5);
  copy1_->Accrochage_V_Type(3);
  copy1_->bPropage = true;
  ExpectSettings(*master_, "", 0, 0, 0);

  copy2_->bPropage = false;  // a copy is re-armed whatever it was before
  copy1_->Décimales(2);
  ExpectSettings(*master_, "A*B", 5, 3, 2);
  ExpectSettings(*copy2_, "A*B", 5, 3, 2);
  ExpectSettings(*other_, "", 0, 0, 0);
  EXPECT_TRUE(master_->bPropage);
  EXPECT_TRUE(copy1_->bPropage);
  EXPECT_TRUE(copy2_->bPropage);
  EXPECT_EQ(master_->OldFormule, "");
}

TEST_F(RecurrentTest, TheMasterPushesToItsCopies) {
  master_->Formule("X+Y");
  ExpectSettings(*copy1_, "X+Y", 0, 0, 0);
  ExpectSettings(*copy2_, "X+Y", 0, 0, 0);
  master_->Type_Champ(21);
  EXPECT_EQ(copy2_->Type_Champ(), 21);
  EXPECT_EQ(copy2_->Formule(), "X+Y");
  ExpectSettings(*other_, "", 0, 0, 0);

  // The reference is compared exactly: a copy naming "m" is left alone,
  // although the collection finds the master under "m".
  auto lower = AddCopy("m_3", "m");
  master_->Décimales(4);
  EXPECT_EQ(copy1_->Décimales(), 4);
  EXPECT_EQ(lower->Décimales(), 0);
  lower->Décimales(1);
  EXPECT_EQ(master_->Décimales(), 1);  // found through Champs
  EXPECT_EQ(copy1_->Décimales(), 4);
}

TEST_F(RecurrentTest, PropagationIsGatedAndNeedsTheMaster) {
  copy1_->bPropage = false;
  copy1_->Formule("only here");
  EXPECT_EQ(copy1_->Formule(), "only here");
  EXPECT_EQ(master_->Formule(), "");
  EXPECT_EQ(copy2_->Formule(), "");
  EXPECT_FALSE(copy1_->bPropage);

  // A plain field, without document even, just stores its settings.
  auto plain = std::make_shared<CChamp>();
  plain->Formule("A/100");
  plain->Décimales(3);
  EXPECT_EQ(plain->Formule(), "A/100");
  EXPECT_EQ(plain->Décimales(), 3);

  // A copy whose master is missing: the value is stored, then the look-up fails.
  EXPECT_EQ(ErrorNumberOf([&] { other_->Formule("lost"); }), 5);
  EXPECT_EQ(other_->Formule(), "lost");
  EXPECT_EQ(ErrorNumberOf([&] { other_->Décimales(2); }), 5);
}

TEST_F(ChampTest, IsZeroInBothLocales) {
  auto champ = NewField();
  UseCommaLocale();
  for (const char* zero : {"0", "0,0", "-0", " 0 "}) {
    champ->valeur(zero);
    EXPECT_EQ(champ->IsZero(), std::optional<bool>(true)) << zero;
  }
  for (const char* other : {"abc", "5", "", "0,001", "0.0"}) {
    champ->valeur(other);
    EXPECT_EQ(champ->IsZero(), std::nullopt) << other;  // empty, never false
  }
  UsePointLocale();
  champ->valeur("0.0");
  EXPECT_EQ(champ->IsZero(), std::optional<bool>(true));
  champ->valeur("0,5");
  EXPECT_EQ(champ->IsZero(), std::nullopt);
  champ->valeur("-3.5");
  EXPECT_EQ(champ->IsZero(), std::nullopt);
}

TEST_F(ChampTest, IsUnderOneInBothLocales) {
  auto champ = NewField();
  UsePointLocale();
  champ->valeur("0.5");
  EXPECT_EQ(champ->IsUnderOne(), std::optional<bool>(true));
  champ->valeur("-0.25");
  EXPECT_EQ(champ->IsUnderOne(), std::optional<bool>(true));
  for (const char* not_under : {"0", "1", "1.5", "-2", "0.0"}) {
    champ->valeur(not_under);
    EXPECT_EQ(champ->IsUnderOne(), std::optional<bool>(false)) << not_under;
  }
  champ->valeur("abc");
  EXPECT_EQ(champ->IsUnderOne(), std::nullopt);
  champ->valeur("1.7976931348623157E308");  // its text reads back beyond a double
  EXPECT_EQ(champ->IsUnderOne(), std::optional<bool>(false));

  // Both sides are read whatever the locale: 0,5 reads as 0 and is not under one.
  UseCommaLocale();
  for (const char* not_under : {"0,5", "-0,5", "12,5", "1", "0"}) {
    champ->valeur(not_under);
    EXPECT_EQ(champ->IsUnderOne(), std::optional<bool>(false)) << not_under;
  }
  champ->valeur("");
  EXPECT_EQ(champ->IsUnderOne(), std::nullopt);
  champ->valeur("x0,5");
  EXPECT_EQ(champ->IsUnderOne(), std::nullopt);
}

TEST_F(ChampTest, DiffWithInitialInACommaLocale) {
  UseCommaLocale();
  EXPECT_FALSE(FormulaField("1.5", "1,5", 1)->DiffWithInitial());
  EXPECT_FALSE(FormulaField("1,5", "1,50", 1)->DiffWithInitial());
  EXPECT_TRUE(FormulaField("1.5", "1,6", 1)->DiffWithInitial());
  // Compared once formatted: with no decimals 1.4 and 1 both show "1".
  EXPECT_FALSE(FormulaField("1.4", "1", 0)->DiffWithInitial());
  EXPECT_TRUE(FormulaField("1.6", "1", 0)->DiffWithInitial());
  // Grouping does not matter: 1234 and 1 234 show alike.
  EXPECT_FALSE(FormulaField("1234", "1\xC2\xA0" "234", 0)->DiffWithInitial());
  // Texts that are not numbers are compared as they are.
  EXPECT_FALSE(FormulaField("abc", "abc", 2)->DiffWithInitial());
  EXPECT_TRUE(FormulaField("abc", "abd", 2)->DiffWithInitial());
  EXPECT_TRUE(FormulaField("1", "", 0)->DiffWithInitial());
}

TEST_F(ChampTest, DiffWithInitialInAPointLocale) {
  UsePointLocale();
  EXPECT_FALSE(FormulaField("1,5", "1.5", 1)->DiffWithInitial());
  EXPECT_TRUE(FormulaField("1,5", "1.56", 2)->DiffWithInitial());
  EXPECT_FALSE(FormulaField("2", "2.004", -2)->DiffWithInitial());  // |Décimales| places
  EXPECT_TRUE(FormulaField("2", "2.004", 3)->DiffWithInitial());

  // Never reported: type 2, no formula, no initial value.
  auto typed = FormulaField("1", "2", 0);
  typed->Type_Champ(2);
  EXPECT_FALSE(typed->DiffWithInitial());
  auto no_formula = FormulaField("1", "2", 0);
  no_formula->Formule("");
  EXPECT_FALSE(no_formula->DiffWithInitial());
  auto no_initial = NewField("L_MT");
  no_initial->Formule("A*B");
  no_initial->valeur("2");
  EXPECT_FALSE(no_initial->DiffWithInitial());

  // The picture comes from the document.
  auto orphan = std::make_shared<CChamp>();
  orphan->Formule("A*B");
  orphan->InitialValue("1");
  EXPECT_EQ(ErrorNumberOf([&] { orphan->DiffWithInitial(); }), 91);
}

TEST_F(ChampTest, HasInPUAndHasInMTTestThePartAfterTheFirstUnderscore) {
  auto champ = NewField();
  champ->Nom("X_pu2");
  EXPECT_TRUE(champ->HasInPU());
  EXPECT_FALSE(champ->HasInMT());
  champ->Nom("PU_X");
  EXPECT_FALSE(champ->HasInPU());
  champ->Nom("L1_MT_3");
  EXPECT_TRUE(champ->HasInMT());
  champ->Nom("L1_B_PU");
  EXPECT_FALSE(champ->HasInPU());
  champ->Nom("PU");
  EXPECT_FALSE(champ->HasInPU());
  champ->Nom("L1_");
  EXPECT_FALSE(champ->HasInPU());
  champ->Nom("É_mt");
  EXPECT_TRUE(champ->HasInMT());
  champ->Nom("L1_ PU");
  EXPECT_FALSE(champ->HasInPU());
}

TEST_F(ChampTest, FormuleHasPourcentAndValueChanged) {
  auto champ = NewField();
  EXPECT_FALSE(champ->FormuleHasPourcent());
  champ->Formule("A*B/100");
  EXPECT_TRUE(champ->FormuleHasPourcent());
  champ->Formule("A/10");
  EXPECT_FALSE(champ->FormuleHasPourcent());
  champ->Formule("A/1000");
  EXPECT_TRUE(champ->FormuleHasPourcent());
  champ->Formule("A / 100");
  EXPECT_FALSE(champ->FormuleHasPourcent());

  champ->valeur("anything");
  EXPECT_FALSE(champ->ValueChanged());  // no initial value
  auto changed = NewField();
  changed->InitialValue("abc");
  EXPECT_FALSE(changed->ValueChanged());
  changed->valeur("ABC");
  EXPECT_TRUE(changed->ValueChanged());
  changed->valeur("");
  EXPECT_TRUE(changed->ValueChanged());
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

  // A second registration under the same name is the collection's error.
  EXPECT_EQ(ErrorNumberOf([&] { other->RendreRecurrent(); }), 457);
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
  EXPECT_FALSE(doc_->Champs.Contains("GONE"));
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
  EXPECT_EQ(doc_->ChampsRecurrents.Count(), 0);
  EXPECT_EQ(doc_->Champs.Count(), 0);
  EXPECT_TRUE(page1->Champs.Contains("KEEP"));  // pages are not touched

  auto last = NewField("LAST");
  page1->Champs.Add(last, "LAST");
  page2->Champs.Add(last, "LAST");
  doc_->Pages.Item(1L)->Champs.Item("LAST")->SupprimerDuDocument(last->Nom());
  EXPECT_FALSE(page1->Champs.Contains("LAST"));
  EXPECT_FALSE(page2->Champs.Contains("LAST"));

  auto orphan = std::make_shared<CChamp>();
  EXPECT_NO_THROW(orphan->SupprimerDuDocument("KEEP"));
  EXPECT_NO_THROW(orphan->SupprimerDesRecurrents("KEEP"));
  EXPECT_TRUE(page1->Champs.Contains("KEEP"));
}

}  // namespace
}  // namespace mandor
