// Round trips: what the writer saves, the reader gives back, as described in
// the data files. (Saving what was read gives the same bytes again: see the
// reader's test of the hand-written files.)

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "mandor/util/internal/number.h"
#include "tests/model/describe.h"
#include "tests/textfile/textfile_test_util.h"

namespace mandor::textfile_test {
namespace {

enum class Layout { kExtended, kStandard };

class RoundTripTest : public TextFileTest, public ::testing::WithParamInterface<bool> {
 protected:
  RoundTripTest() { platform_->SetLocale(GetParam() ? Locale::Comma() : Locale::Point()); }

  // Saves in `layout` (the extended save also generates the identifiers),
  // reads back and compares the reading with the described data file `name`
  // of the test's locale.
  void ExpectRoundTrip(const std::shared_ptr<Mandor>& written, Layout layout, const std::string& name) {
    bool with_qte = true;
    ASSERT_EQ(layout == Layout::kExtended ? written->SauvegarderMarquageEx(false, with_qte)
                                          : written->SauvegarderMarquageStd(),
              layout == Layout::kExtended ? 0 : -1);
    auto read = std::make_shared<Mandor>();
    read->Répertoire_Document = written->Répertoire_Document;
    read->Nom_Document(written->Nom_Document());
    EXPECT_TRUE(read->RestaurerMarquage());
    EXPECT_TRUE(platform_->messages().empty()) << platform_->messages().front().text;
    test_util::ExpectDescribedAs(test_util::Describe(*read),
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

INSTANTIATE_TEST_SUITE_P(BothLocales, RoundTripTest, ::testing::Values(true, false), LocaleName);

}  // namespace
}  // namespace mandor::textfile_test
