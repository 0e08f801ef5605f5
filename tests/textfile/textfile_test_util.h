// Helpers shared by the text marking tests: a fixture with an in-memory
// platform, access to the files of tests/data/textfile and a price schedule
// built by hand, which the writer and round-trip tests save and read back.
#ifndef MANDOR_TESTS_TEXTFILE_TEXTFILE_TEST_UTIL_H_
#define MANDOR_TESTS_TEXTFILE_TEXTFILE_TEST_UTIL_H_

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "mandor/fields/champ.h"
#include "mandor/model/mandor.h"
#include "mandor/testing/memory_platform.h"
#include "tests/test_util.h"

namespace mandor::textfile_test {

// The raw bytes of tests/data/textfile/<name>.
inline std::string DataFile(const std::string& name) { return test_util::DataFile("textfile/" + name); }

// The lines of a UTF-8 data file written with LF ends.
inline std::vector<std::string> DataLines(const std::string& name) {
  std::vector<std::string> lines;
  std::istringstream text(DataFile(name));
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

// Lines joined with CR LF, as the files are written.
inline std::string CrLf(const std::vector<std::string>& lines) {
  std::string text;
  for (const auto& line : lines) text += line + "\r\n";
  return text;
}

// An in-memory platform with the comma locale.
class TextFileTest : public test_util::MemoryPlatformTest {
 protected:
  TextFileTest() { platform_->SetLocale(Locale::Comma()); }
  std::string Bytes(const std::string& path) const { return platform_->FileBytes(path).value_or("<missing>"); }
};

// Parameter names of the suites run in both locales.
inline std::string LocaleName(const ::testing::TestParamInfo<bool>& info) { return info.param ? "Comma" : "Point"; }

inline std::shared_ptr<CRegle> AddRuler(const std::shared_ptr<Mandor>& doc, Collection<CRegle>& rulers,
                                        const std::string& id, const std::string& nom, int16_t decimales,
                                        std::vector<float> cm_xy_pixel_xy_largeur, int16_t imprimable) {
  auto r = std::make_shared<CRegle>();
  r->oOwnerMandor(doc);
  r->Id = id, r->Nom = nom, r->Décimales = decimales, r->Imprimable = imprimable;
  r->FontName("Arial"), r->FontSize(10);
  const auto& v = cm_xy_pixel_xy_largeur;
  std::tie(r->Position_cm_X, r->Position_cm_Y, r->Position_pixel_X, r->Position_pixel_Y, r->largeur_cm) =
      std::tie(v[0], v[1], v[2], v[3], v[4]);
  rulers.Add(r, nom);
  return r;
}

struct FieldSpec {
  std::string id, nom, accrochage_v, accrochage_h;
  int16_t v_type, type_champ;
  std::string formule;
  int16_t decimales;
  float top, bottom, left, right;  // pixels
  float cm_left, cm_top, cm_bottom, cm_right;
  int16_t imprimable;
  std::string valeur;
};

// A field of `page` (or a recurrent one when page is null).
inline std::shared_ptr<CChamp> AddField(const std::shared_ptr<Mandor>& doc, const std::shared_ptr<CPage>& page,
                                        int n, const FieldSpec& s) {
  auto c = std::make_shared<CChamp>();
  c->oOwnerMandor(doc);
  c->Id = s.id;
  c->Nom(s.nom), c->Accrochage_V(s.accrochage_v), c->Accrochage_H(s.accrochage_h);
  c->Accrochage_V_Type(s.v_type), c->Type_Champ(s.type_champ), c->Formule(s.formule), c->Décimales(s.decimales);
  std::tie(c->Position_pixel_Top, c->Position_pixel_Bottom, c->Position_pixel_Left, c->Position_pixel_Right) =
      std::tie(s.top, s.bottom, s.left, s.right);
  std::tie(c->Position_cm_Left, c->Position_cm_Top, c->Position_cm_Bottom, c->Position_cm_Right) =
      std::tie(s.cm_left, s.cm_top, s.cm_bottom, s.cm_right);
  c->Imprimable(s.imprimable), c->valeur(s.valeur);
  if (page) {
    c->oOwnerPage = page, c->Page = static_cast<int16_t>(n);
    page->Champs.Add(c, c->Nom()), doc->Champs.Add(c, c->Nom());
  }
  return c;
}

inline std::shared_ptr<CPage> AddPage(const std::shared_ptr<Mandor>& doc, int n) {
  auto page = std::make_shared<CPage>();
  page->oOwnerMandor = doc, page->Id = "page_" + std::to_string(n);
  doc->Pages.Add(page, page->Id);
  return page;
}

// A price schedule of two pages with vertical and horizontal rulers, a
// recurrent total, quantity fields and two source documents. Saved, it gives
// price_schedule.xnf.txt / price_schedule.cnf.txt.
inline std::shared_ptr<Mandor> BuildPriceSchedule(const std::string& total_initial_value = "1 250,00") {
  auto doc = std::make_shared<Mandor>();
  doc->Répertoire_Document = "marchés/";
  doc->Nom_Document("BPU Lot 1.bpx");  // Type_Document "Prix"
  std::tie(doc->Type_calage, doc->Orientation) = std::make_tuple(2, 1);
  std::tie(doc->X1_pixel, doc->Y1_pixel, doc->X1_cm, doc->Y1_cm) = std::make_tuple(120.f, 240.5f, 1.5f, 2.f);
  std::tie(doc->X2_pixel, doc->Y2_pixel, doc->X2_cm, doc->Y2_cm) = std::make_tuple(2400.f, 3300.f, 20.25f, 27.9f);
  std::tie(doc->bFondGrise, doc->champ_largeur_cm, doc->TVA) = std::make_tuple(true, 3.5f, 19.6f);
  doc->FonteName("Times New Roman"), doc->FonteSize(11), doc->Font()->Italic(true), doc->Font()->Color(255);
  for (const auto& [fichier, separateur] : {std::pair{"Bordereau Prix.MDN", "\t"}, {"quantités.csv", ";"}}) {
    auto source = std::make_shared<Doc>();
    source->Fichier = fichier, source->Séparateur = separateur;
    doc->Docs.Add(source);
  }

  AddRuler(doc, doc->Regles_V, "", "Désignation", 0, {1.27f, 0, 150, 0, 8.25f}, 0);
  AddRuler(doc, doc->Regles_V, "V7", "Prix", 2, {12.9f, 0, 1520, 0, 3.5f}, 1);

  auto total = AddField(doc, nullptr, 0, {"R001", "Total_Prix", "Prix", "Total", 5, 3, "=SOMME(Prix)|x", 2, 3300,
                                          3350, 1520, 1900, 12.9f, 27.5f, 27.9f, 16.1f, 1, ""});
  total->InitialValue(total_initial_value), total->Recurrent(true);
  doc->ChampsRecurrents.Add(total, total->Nom());

  auto page1 = AddPage(doc, 1);
  AddRuler(doc, page1->Regles_H, "H1", "L1", 0, {0, 3.4f, 0, 410, 0}, 1)->Page(page1);
  AddRuler(doc, page1->Regles_H, "", "L2", 0, {0, 4.6f, 0, 560.5f, 0}, 1)->Page(page1);
  AddField(doc, page1, 1, {"", "L1_Désignation", "Désignation", "L1", 0, 0, "", 0, 400.5f, 450, 150, 1500, 1.27f,
                           3.39f, 3.81f, 12.7f, 1, "Terrassement"})
      ->Bold(true);
  auto qte = AddField(doc, page1, 1, {"F2", "L1_Qté", "Qté", "L1", 0, 1, "", 2, 400, 450, 1300, 1500, 11, 3.39f,
                                      3.81f, 12.7f, 1, "1 234"});
  qte->FontColor(255), qte->Transparent(false);
  auto pu = AddField(doc, page1, 1, {"", "L1_PU", "Prix", "L1", 0, 1, "Qté*PU", 2, 400, 450, 1520, 1900, 12.9f,
                                     3.39f, 3.81f, 16.1f, 1, "12,5"});
  pu->StrikeThrough(true), pu->Underligne(true), pu->ChampRecurrentDeRef("Total_Prix");

  auto page2 = AddPage(doc, 2);
  page2->NoImage = true;
  AddField(doc, page2, 2, {"", "L9_Montant", "Prix", "L9", 5, 3, "=Qté|PU", 2, 100, 150, 1520, 1900, 12.9f, 0.85f,
                           1.27f, 16.1f, 0, ""})
      ->BackColor(12632256);
  AddField(doc, page2, 2, {"G2", "L9_Qté", "Qté", "L9", 0, 1, "x", 0, 100, 150, 1300, 1500, 11, 0.85f, 1.27f,
                           12.7f, 1, ""})
      ->HasTranslatted = true;
  return doc;
}

}  // namespace mandor::textfile_test

#endif  // MANDOR_TESTS_TEXTFILE_TEXTFILE_TEST_UTIL_H_
