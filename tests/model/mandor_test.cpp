// The document, its pages and rulers, on what the host's scripts do not
// check: the type a name gives, positions in points, a ruler's shared font.
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
// looked up by its key; points divide by the page's own resolutions (a
// ruler's Y by hResolution); a ruler's font is shared and adopts the document's.
TEST_F(MandorTest, NamesPagesPointsAndRulerFonts) {
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

  page->SetSize(200, 100, 2480, 3508);  // vertical resolution first
  EXPECT_FLOAT_EQ(page->Width_Point(), 2480.0f / 100 * 72);
  EXPECT_FLOAT_EQ(page->Height_Point(), 3508.0f / 200 * 72);
  CRegle ruler;
  ruler.Position_pixel_X = 300;
  ruler.Position_pixel_Y = 600;
  ruler.Page(page);
  page->hResolution(200), page->vResolution(300);
  EXPECT_FLOAT_EQ(ruler.Position_point_X(), 108);
  EXPECT_FLOAT_EQ(ruler.Position_point_Y(), 216) << "divided by hResolution (200), not 300";

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
