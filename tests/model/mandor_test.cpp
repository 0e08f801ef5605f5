#include "mandor/model/mandor.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "mandor/fields/champ.h"
#include "mandor/util/memory_platform.h"
#include "mandor/xml/marquage.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

class MandorTest : public test_util::MemoryPlatformTest {
 protected:
  MandorTest() { platform_->SetLocale(Locale::Comma()); }
  std::shared_ptr<CRegle> Ruler(const std::string& name) {
    auto r = std::make_shared<CRegle>();
    r->Nom = name;
    return r;
  }

  std::shared_ptr<Mandor> doc_ = std::make_shared<Mandor>();
};

TEST_F(MandorTest, NomDocumentDerivesShortNameAndType) {
  // An unknown ending leaves the type as it was; lengths count characters, not bytes.
  const struct { const char* name; const char* short_name; const char* type; } cases[] = {
      {"DEVIS.BPX", "DEVIS.", "Prix"}, {"lot1.det", "lot1.", "Détail"}, {"acte.ae", "acte", "AE"},
      {"acte.pdf", "acte.", "AE"}, {"Été.det", "Été.", "Détail"}};
  for (const auto& c : cases) {
    doc_->Nom_Document(c.name);
    EXPECT_EQ(doc_->ShortName() + "|" + doc_->Type_Document, std::string(c.short_name) + "|" + c.type) << c.name;
  }
  doc_->Répertoire_Document = "/tmp/x/";
  EXPECT_EQ(doc_->FichierPdfImage(), "/tmp/x/Été.det.pdf");
  EXPECT_EQ(ErrorNumberOf([&] { doc_->Nom_Document("ab"); }), kInvalidArgument);
  EXPECT_EQ(doc_->Nom_Document(), "ab") << "the name is stored before the short name fails";
}

TEST_F(MandorTest, LookUpsReturnNullInsteadOfFailing) {
  doc_->Regles_V.Add(Ruler("PU"), "PU");
  doc_->Regles_H.Add(Ruler("L1"), "L1");
  EXPECT_EQ(doc_->RegleV("pu")->Nom + doc_->RegleH("l1")->Nom, "PUL1");
  EXPECT_TRUE(doc_->RegleV("L1") == nullptr && doc_->RegleH("nope") == nullptr);
  EXPECT_EQ(doc_->PageCourante(), nullptr) << "numero_page 0";
  auto page = std::make_shared<CPage>();
  doc_->Pages.Add(page, "page_12");
  doc_->numero_page = 12;  // the key, not the position
  EXPECT_EQ(doc_->PageCourante(), page);
  doc_->numero_page = 1;
  EXPECT_EQ(doc_->PageCourante(), nullptr);
}

TEST_F(MandorTest, NumberPicturesAndReadingOrder) {
  auto field = std::make_shared<CChamp>();
  EXPECT_EQ(doc_->FormatNombre(field) + " " + doc_->FormatNombreSortie(field), "#,##0 ###########0.");
  field->Décimales(2);
  EXPECT_EQ(doc_->FormatNombreSortie(field), "###########0.00");
  field->Décimales(-3);
  EXPECT_EQ(doc_->FormatNombre(field), "#,##0.000");

  // InsérerChamp orders by bottom then right; a tie goes after the existing one.
  const struct { const char* nom; float bottom, right; } fields[] = {
      {"a", 100, 10}, {"b", 50, 20}, {"c", 100, 5}, {"d", 100, 5}, {"e", 200, 0}, {"A", 1, 1}};
  Collection<CChamp> sorted;
  for (const auto& f : fields) {
    auto c = std::make_shared<CChamp>();
    c->Nom(f.nom);
    c->Position_pixel_Bottom = f.bottom;
    c->Position_pixel_Right = f.right;
    EXPECT_EQ(ErrorNumberOf([&] { doc_->InsérerChamp(sorted, c); }), f.nom[0] == 'A' ? kDuplicateKey : 0);
  }
  std::string order;
  for (const auto& f : sorted) order += f->Nom();
  EXPECT_EQ(order, "bcdae");
  EXPECT_EQ(sorted.Item("C")->Nom(), "c");
}

}  // namespace
}  // namespace mandor
