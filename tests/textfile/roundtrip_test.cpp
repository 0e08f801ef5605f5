// Round trips: what the writer saves, the reader gives back (as described in
// the data files), and saving what was read gives the same bytes again.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "mandor/model/marquage.h"
#include "mandor/util/internal/number.h"
#include "tests/model/describe.h"
#include "tests/textfile/textfile_test_util.h"

namespace mandor::textfile_test {
namespace {

enum class Layout { kExtended, kStandard };

class RoundTripTest : public TextFileTest, public ::testing::WithParamInterface<bool> {
 protected:
  RoundTripTest() { platform_->SetLocale(GetParam() ? Locale::Comma() : Locale::Point()); }

  std::shared_ptr<Mandor> Restore(const std::string& folder, const std::string& name,
                                  std::shared_ptr<cMarquage> catalogue = nullptr) {
    auto doc = std::make_shared<Mandor>();
    if (catalogue) doc->oOwnerMarquage(catalogue);
    doc->Répertoire_Document = folder;
    doc->Nom_Document(name);
    EXPECT_TRUE(doc->RestaurerMarquage());
    EXPECT_TRUE(platform_->messages().empty()) << platform_->messages().front().text;
    return doc;
  }

  // Saves in `layout` (the extended save also generates the identifiers).
  static void Save(Mandor& doc, Layout layout) {
    bool with_qte = true;
    ASSERT_EQ(layout == Layout::kExtended ? doc.SauvegarderMarquageEx(false, with_qte) : doc.SauvegarderMarquageStd(),
              layout == Layout::kExtended ? 0 : -1);
  }

  // Saves in `layout`, reads back and compares the reading with the described
  // data file `name` of the test's locale.
  void ExpectRoundTrip(const std::shared_ptr<Mandor>& written, Layout layout, const std::string& name) {
    ASSERT_NO_FATAL_FAILURE(Save(*written, layout));
    test_util::ExpectDescribedAs(test_util::Describe(*Restore(written->Répertoire_Document, written->Nom_Document())),
                                 "textfile/" + name + (GetParam() ? ".comma" : ".point") + ".described.txt");
  }
};

// Sheet-size calibration instead of reference points.
void UseSheetSize(Mandor& doc) {
  std::tie(doc.Type_calage, doc.Orientation) = std::make_tuple(1, 2);
  std::tie(doc.feuille_cm_largeur, doc.feuille_cm_hauteur, doc.image_OrigineX_cm, doc.image_OrigineY_cm) =
      std::make_tuple(21.f, 29.7f, -0.5f, 1.25f);
  doc.X1_pixel = doc.Y1_pixel = doc.X2_pixel = doc.Y2_pixel = 0;
  doc.X1_cm = doc.Y1_cm = doc.X2_cm = doc.Y2_cm = 0;
}

TEST_P(RoundTripTest, WriteThenReadGivesTheSameModel) {
  // Recurrent initial values are read back through the display picture, so
  // the model starts with the locale's own text of 1250.
  auto written = BuildPriceSchedule(FormatNumber(1250, "#,##0.00", platform_->locale()));
  written->iDevise(4);  // no catalogue: DefDevise carries the index itself
  // The description holds the unescaped formula, the MDN file and the
  // separator learnt from the quantity values.
  ExpectRoundTrip(written, Layout::kExtended, "price_schedule.xnf");

  // No sources, no recurrent field, an empty page.
  UseSheetSize(*written);
  written->bFondGrise = false;
  written->Docs.Clear();
  written->ChampsRecurrents.Clear();
  written->Pages.Item(2L)->Champs.Clear();
  ExpectRoundTrip(written, Layout::kExtended, "price_schedule_sheet.xnf");

  auto standard = BuildPriceSchedule("");
  standard->Répertoire_Document = "std/";  // away from the ".xnf", which would be read first
  standard->iDevise(3);
  ExpectRoundTrip(standard, Layout::kStandard, "price_schedule.cnf");
  UseSheetSize(*standard);
  ExpectRoundTrip(standard, Layout::kStandard, "price_schedule_sheet.cnf");
}

// Read, save, read, save: the same bytes, from the hand-written files (the
// writer's own files read back are pinned by WriteThenReadGivesTheSameModel).
TEST_P(RoundTripTest, ReadWriteIsStable) {
  for (const Layout layout : {Layout::kExtended, Layout::kStandard}) {
    const bool extended = layout == Layout::kExtended;
    const std::string data = extended ? "bordereau.bpx.xnf" : "bordereau.bpx.cnf";
    SCOPED_TRACE(data);
    const std::string folder = extended ? "xnf/" : "cnf/";
    platform_->SetFileBytes(folder + data, DataFile(data));
    std::shared_ptr<cMarquage> catalogue;
    if (extended) {
      catalogue = std::make_shared<cMarquage>();
      catalogue->Font = std::make_shared<CFont>();
      catalogue->oDevises = std::make_shared<Devises>();
    }
    Save(*Restore(folder, "bordereau.bpx", catalogue), layout);
    const std::string once = Bytes(folder + data);
    // Field numbers and carried quantities follow the reading order, so the
    // second reading is compared through what it saves.
    Save(*Restore(folder, "bordereau.bpx", catalogue), layout);
    EXPECT_EQ(Bytes(folder + data), once);
    EXPECT_EQ(Bytes(folder + "bordereau.bpx.xak"), extended ? once : "<missing>");
  }
}

INSTANTIATE_TEST_SUITE_P(BothLocales, RoundTripTest, ::testing::Values(true, false), LocaleName);

}  // namespace
}  // namespace mandor::textfile_test
