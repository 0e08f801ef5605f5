// The document, its pages and rulers, on what the host's scripts do not
// check: the type a name gives, the current page, a ruler's shared font.
#include "mandor/model/mandor.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/test_util.h"

namespace mandor {
namespace {

class MandorTest : public test_util::MemoryPlatformTest {
 protected:
  std::shared_ptr<Mandor> doc_ = std::make_shared<Mandor>();
};

// The name gives the short name and the type (an unknown ending leaves the
// type as it was; lengths count characters, not bytes); the current page is
// looked up by its key; a ruler's font is shared and adopts the document's.
TEST_F(MandorTest, NamesPagesAndRulerFonts) {
  const struct { const char* name; const char* short_name; const char* type; } cases[] = {
      {"DEVIS.BPX", "DEVIS.", "Prix"}, {"lot1.det", "lot1.", "Détail"}, {"acte.ae", "acte", "AE"},
      {"acte.pdf", "acte.", "AE"}, {"Été.det", "Été.", "Détail"}};
  for (const auto& c : cases) {
    doc_->Nom_Document(c.name);
    EXPECT_EQ(doc_->ShortName() + "|" + doc_->Type_Document, std::string(c.short_name) + "|" + c.type) << c.name;
  }
  auto page = std::make_shared<CPage>();
  doc_->Pages.Add(page, "page_12");
  doc_->numero_page = 12;
  EXPECT_EQ(doc_->PageCourante(), page);
  doc_->numero_page = 1;
  EXPECT_EQ(doc_->PageCourante(), nullptr);

  CRegle ruler;
  ruler.Alignement(2);
  ruler.Alignement(7);
  EXPECT_EQ(ruler.Font()->Alignment(), "2") << "other codes change nothing";
  ruler.GetFontClassFromProperties()->Bold(true);
  EXPECT_TRUE(ruler.Bold()) << "the font object itself, not a copy";
  doc_->FonteName("Courier");
  ruler.oOwnerMandor(doc_);
  EXPECT_EQ(ruler.FontName(), "Courier");
  auto adopted = std::make_shared<CFont>();
  ruler.Font(adopted);
  EXPECT_EQ(adopted->ParentFont1, doc_->Font());
}

}  // namespace
}  // namespace mandor
