#include "mandor/model/mandor.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "mandor/testing/memory_platform.h"
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
  EXPECT_EQ(doc_->RegleV("L1"), nullptr);
  EXPECT_EQ(doc_->RegleH("nope"), nullptr);
  EXPECT_EQ(doc_->PageCourante(), nullptr) << "numero_page 0";
  auto page = std::make_shared<CPage>();
  doc_->Pages.Add(page, "page_12");
  doc_->numero_page = 12;  // the key, not the position
  EXPECT_EQ(doc_->PageCourante(), page);
  doc_->numero_page = 1;
  EXPECT_EQ(doc_->PageCourante(), nullptr);
}

}  // namespace
}  // namespace mandor
