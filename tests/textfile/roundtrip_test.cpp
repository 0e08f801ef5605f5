#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "mandor/fields/champ.h"
#include "mandor/model/mandor.h"
#include "mandor/util/memory_platform.h"
#include "mandor/util/number.h"
#include "mandor/xml/marquage.h"

namespace mandor {
namespace textfile_test {

// Defined in writer_test.cpp.
std::shared_ptr<Mandor> BuildPriceSchedule(const std::string& total_initial_value);

namespace {

enum class Layout { kExtended, kStandard };

void ExpectSameRuler(const CRegle& a, const CRegle& b, Layout layout, bool vertical) {
  SCOPED_TRACE("ruler " + a.Nom);
  EXPECT_EQ(a.Id, b.Id);
  EXPECT_EQ(a.Nom, b.Nom);
  EXPECT_EQ(a.Position_pixel_X, b.Position_pixel_X);
  EXPECT_EQ(a.Position_pixel_Y, b.Position_pixel_Y);
  EXPECT_EQ(a.largeur_cm, b.largeur_cm);
  EXPECT_EQ(a.Imprimable, b.Imprimable);
  if (layout == Layout::kExtended) {
    EXPECT_EQ(a.FontName(), b.FontName());
    EXPECT_EQ(a.FontSize(), b.FontSize());
    EXPECT_EQ(a.FontSpecial(), b.FontSpecial());
    EXPECT_EQ(a.Décimales, b.Décimales);
  } else {
    EXPECT_EQ(a.Position_cm_X, b.Position_cm_X);
    EXPECT_EQ(a.Position_cm_Y, b.Position_cm_Y);
    if (vertical) {
      EXPECT_EQ(a.Décimales, b.Décimales);
    }
  }
}

// The members both layouts keep, then those of the extended layout.
// `recurrent` compares a "[Champs Récurrents]" record (no column 24 or 25).
void ExpectSameField(const CChamp& a, const CChamp& b, Layout layout, bool recurrent = false) {
  SCOPED_TRACE("field " + a.Nom());
  EXPECT_EQ(a.Id, b.Id);
  EXPECT_EQ(a.Nom(), b.Nom());
  EXPECT_EQ(a.Accrochage_V(), b.Accrochage_V());
  EXPECT_EQ(a.Accrochage_V_Type(), b.Accrochage_V_Type());
  EXPECT_EQ(a.Accrochage_H(), b.Accrochage_H());
  EXPECT_EQ(a.Accrochage_H_Type, b.Accrochage_H_Type);
  EXPECT_EQ(a.Type_Champ(), b.Type_Champ());
  EXPECT_EQ(a.HasTranslatted ? "" : a.Formule(), b.Formule()) << "a translated formula is not kept";
  EXPECT_EQ(a.Décimales(), b.Décimales());
  EXPECT_EQ(a.Position_pixel_Top, b.Position_pixel_Top);
  EXPECT_EQ(a.Position_pixel_Bottom, b.Position_pixel_Bottom);
  EXPECT_EQ(a.Position_pixel_Left, b.Position_pixel_Left);
  EXPECT_EQ(a.Position_pixel_Right, b.Position_pixel_Right);
  EXPECT_EQ(a.Imprimable(), b.Imprimable());
  if (layout == Layout::kStandard) {
    EXPECT_EQ(a.Position_cm_Left, b.Position_cm_Left);
    EXPECT_EQ(a.Position_cm_Top, b.Position_cm_Top);
    EXPECT_EQ(a.Position_cm_Bottom, b.Position_cm_Bottom);
    EXPECT_EQ(a.Position_cm_Right, b.Position_cm_Right);
    return;
  }
  EXPECT_EQ(a.FontName(), b.FontName());
  EXPECT_EQ(a.FontSize(), b.FontSize());
  EXPECT_EQ(a.FontSpecial(), b.FontSpecial());
  EXPECT_EQ(a.FontColor(), b.FontColor());
  EXPECT_EQ(a.Bold(), b.Bold());
  EXPECT_EQ(a.StrikeThrough(), b.StrikeThrough());
  EXPECT_EQ(a.Underligne(), b.Underligne());
  EXPECT_EQ(a.BackColor(), b.BackColor());
  if (!recurrent) {
    EXPECT_EQ(a.ChampRecurrentDeRef(), b.ChampRecurrentDeRef());
    EXPECT_EQ(a.Transparent(), b.Transparent());
  }
}

void ExpectSameDocument(const Mandor& a, const Mandor& b, Layout layout) {
  EXPECT_EQ(a.Type_calage, b.Type_calage);
  EXPECT_EQ(a.Orientation, b.Orientation);
  EXPECT_EQ(a.X1_pixel, b.X1_pixel);
  EXPECT_EQ(a.Y1_pixel, b.Y1_pixel);
  EXPECT_EQ(a.X1_cm, b.X1_cm);
  EXPECT_EQ(a.Y1_cm, b.Y1_cm);
  EXPECT_EQ(a.X2_pixel, b.X2_pixel);
  EXPECT_EQ(a.Y2_pixel, b.Y2_pixel);
  EXPECT_EQ(a.X2_cm, b.X2_cm);
  EXPECT_EQ(a.Y2_cm, b.Y2_cm);
  EXPECT_EQ(a.feuille_cm_largeur, b.feuille_cm_largeur);
  EXPECT_EQ(a.feuille_cm_hauteur, b.feuille_cm_hauteur);
  EXPECT_EQ(a.image_OrigineX_cm, b.image_OrigineX_cm);
  EXPECT_EQ(a.image_OrigineY_cm, b.image_OrigineY_cm);
  EXPECT_EQ(a.Font()->Name(), b.Font()->Name());
  EXPECT_EQ(a.Font()->Size(), b.Font()->Size());
  EXPECT_EQ(a.iDevise(), b.iDevise());
  EXPECT_EQ(a.Devise(), b.Devise());
  EXPECT_EQ(a.champ_largeur_cm, b.champ_largeur_cm);
  EXPECT_EQ(a.Type_Document, b.Type_Document);
  EXPECT_EQ(a.TVA, b.TVA);
  if (layout == Layout::kExtended) {
    EXPECT_EQ(a.bFondGrise, b.bFondGrise);
    EXPECT_EQ(a.Font()->Bold(), b.Font()->Bold());
    EXPECT_EQ(a.Font()->Underline(), b.Font()->Underline());
    EXPECT_EQ(a.Font()->Italic(), b.Font()->Italic());
    EXPECT_EQ(a.Font()->StrikeThrough(), b.Font()->StrikeThrough());
    EXPECT_EQ(a.Font()->Color(), b.Font()->Color());
    EXPECT_EQ(a.Font()->BackColor(), b.Font()->BackColor());
  }

  ASSERT_EQ(a.Docs.Count(), b.Docs.Count());
  for (long i = 1; i <= a.Docs.Count(); ++i) {
    EXPECT_EQ(a.Docs.Item(i)->Fichier, b.Docs.Item(i)->Fichier);
    EXPECT_EQ(a.Docs.Item(i)->Séparateur, b.Docs.Item(i)->Séparateur);
  }

  if (layout == Layout::kExtended) {
    ASSERT_EQ(a.ChampsRecurrents.Count(), b.ChampsRecurrents.Count());
    for (long i = 1; i <= a.ChampsRecurrents.Count(); ++i) {
      const CChamp& ra = *a.ChampsRecurrents.Item(i);
      const CChamp& rb = *b.ChampsRecurrents.Item(i);
      ExpectSameField(ra, rb, layout, true);
      EXPECT_EQ(ra.InitialValue(), rb.InitialValue());
      EXPECT_TRUE(rb.Recurrent());
    }
  } else {
    EXPECT_EQ(b.ChampsRecurrents.Count(), 0);
  }

  ASSERT_EQ(a.Regles_V.Count(), b.Regles_V.Count());
  for (long i = 1; i <= a.Regles_V.Count(); ++i) {
    ExpectSameRuler(*a.Regles_V.Item(i), *b.Regles_V.Item(i), layout, true);
  }

  ASSERT_EQ(a.Pages.Count(), b.Pages.Count());
  for (long n = 1; n <= a.Pages.Count(); ++n) {
    SCOPED_TRACE("page " + std::to_string(n));
    const CPage& pa = *a.Pages.Item(n);
    const CPage& pb = *b.Pages.Item(n);
    EXPECT_EQ(pb.Id, "page_" + std::to_string(n));
    if (layout == Layout::kExtended) {
      EXPECT_EQ(pa.NoImage, pb.NoImage);
    }
    ASSERT_EQ(pa.Regles_H.Count(), pb.Regles_H.Count());
    for (long i = 1; i <= pa.Regles_H.Count(); ++i) {
      ExpectSameRuler(*pa.Regles_H.Item(i), *pb.Regles_H.Item(i), layout, false);
    }
    // The reader keeps fields in reading order; compare them by name.
    ASSERT_EQ(pa.Champs.Count(), pb.Champs.Count());
    for (const auto& field : pa.Champs) {
      ASSERT_TRUE(pb.Champs.Contains(field->Nom())) << field->Nom();
      ExpectSameField(*field, *pb.Champs.Item(field->Nom()), layout);
    }
  }
}

class RoundTripTest : public ::testing::TestWithParam<bool> {
 protected:
  RoundTripTest()
      : platform_(std::make_shared<MemoryPlatform>(GetParam() ? Locale::Comma() : Locale::Point())),
        scope_(platform_) {}

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

  // The bytes of a test data file, put in the in-memory file system at `path`.
  bool LoadDataFile(const std::string& data_name, const std::string& path) {
    SystemPlatform disk;
    const std::string source = std::string(MANDOR_TEST_DATA_DIR) + "/textfile/" + data_name;
    if (!disk.FileExists(source)) return false;
    std::unique_ptr<TextFile> file = disk.OpenTextFile(source, OpenMode::kInput);
    std::string text;
    while (!file->AtEnd()) text += file->ReadLine() + "\r\n";
    platform_->SetFileText(path, text);
    return true;
  }

  std::string Bytes(const std::string& path) const { return platform_->FileBytes(path).value_or("<missing>"); }

  std::shared_ptr<MemoryPlatform> platform_;
  ScopedPlatform scope_;
};

TEST_P(RoundTripTest, ExtendedWriteThenReadGivesTheSameModel) {
  // Recurrent initial values are read back through the display picture, so
  // the model starts with the locale's own text of 1250.
  auto written = BuildPriceSchedule(FormatNumber(1250, "#,##0.00", platform_->locale()));
  written->iDevise(4);  // no catalogue: DefDevise carries the index itself
  bool with_qte = true;
  ASSERT_EQ(written->SauvegarderMarquageEx(false, with_qte), 0);  // also generates the identifiers

  auto read = Restore(written->Répertoire_Document, written->Nom_Document());
  ExpectSameDocument(*written, *read, Layout::kExtended);
  EXPECT_EQ(read->ChampsRecurrents.Item(1L)->Formule(), "=SOMME(Prix)|x") << "unescaped";
  EXPECT_EQ(read->FichierMDN, "Bordereau Prix.MDN");
  EXPECT_EQ(read->SepDecExt, platform_->locale().decimal_separator) << "learnt from the quantity values";
  EXPECT_EQ(read->Docs.Item(1L)->Séparateur, "\t");

  // Sheet-size calibration, no sources, no recurrent field, an empty page.
  written->Type_calage = 1;
  written->feuille_cm_largeur = 21;
  written->feuille_cm_hauteur = 29.7f;
  written->image_OrigineX_cm = -0.5f;
  written->image_OrigineY_cm = 1.25f;
  written->X1_pixel = written->Y1_pixel = written->X2_pixel = written->Y2_pixel = 0;
  written->X1_cm = written->Y1_cm = written->X2_cm = written->Y2_cm = 0;
  written->bFondGrise = false;
  written->Docs.Clear();
  written->ChampsRecurrents.Clear();
  written->Pages.Item(2L)->Champs.Clear();
  ASSERT_EQ(written->SauvegarderMarquageEx(false, with_qte), 0);
  ExpectSameDocument(*written, *Restore(written->Répertoire_Document, written->Nom_Document()),
                     Layout::kExtended);
}

TEST_P(RoundTripTest, StandardWriteThenReadGivesTheSameModel) {
  auto written = BuildPriceSchedule("");
  written->iDevise(3);
  ASSERT_EQ(written->SauvegarderMarquageStd(), -1);
  auto read = Restore(written->Répertoire_Document, written->Nom_Document());
  ExpectSameDocument(*written, *read, Layout::kStandard);

  // Sheet-size calibration too.
  written->Type_calage = 1;
  written->Orientation = 2;
  written->feuille_cm_largeur = 21;
  written->feuille_cm_hauteur = 29.7f;
  written->image_OrigineX_cm = 0.5f;
  written->image_OrigineY_cm = -1.25f;
  written->X1_pixel = written->Y1_pixel = written->X2_pixel = written->Y2_pixel = 0;
  written->X1_cm = written->Y1_cm = written->X2_cm = written->Y2_cm = 0;
  ASSERT_EQ(written->SauvegarderMarquageStd(), -1);
  ExpectSameDocument(*written, *Restore(written->Répertoire_Document, written->Nom_Document()),
                     Layout::kStandard);
}

TEST_P(RoundTripTest, ExtendedReadWriteIsStable) {
  for (const std::string name : {"bordereau.bpx.xnf", ""}) {
    SCOPED_TRACE(name.empty() ? "written model" : name);
    auto catalogue = std::make_shared<cMarquage>();
    catalogue->Font = std::make_shared<CFont>();
    catalogue->oDevises = std::make_shared<Devises>();
    if (name.empty()) {
      auto model = BuildPriceSchedule("1 250,00");
      model->Répertoire_Document = "lot/";
      model->Nom_Document("bordereau.bpx");
      bool with_qte = true;
      ASSERT_EQ(model->SauvegarderMarquageEx(false, with_qte), 0);
    } else {
      ASSERT_TRUE(LoadDataFile(name, "lot/bordereau.bpx.xnf")) << "missing test data " << name;
    }
    auto first = Restore("lot/", "bordereau.bpx", catalogue);
    bool with_qte = true;
    ASSERT_EQ(first->SauvegarderMarquageEx(false, with_qte), 0);
    const std::string once = Bytes("lot/bordereau.bpx.xnf");

    auto second = Restore("lot/", "bordereau.bpx", catalogue);
    ExpectSameDocument(*first, *second, Layout::kExtended);
    ASSERT_EQ(second->SauvegarderMarquageEx(false, with_qte), 0);
    EXPECT_EQ(Bytes("lot/bordereau.bpx.xnf"), once);
    EXPECT_EQ(Bytes("lot/bordereau.bpx.xak"), once);
  }
}

TEST_P(RoundTripTest, StandardReadWriteIsStable) {
  for (const std::string name : {"bordereau.bpx.cnf", ""}) {
    SCOPED_TRACE(name.empty() ? "written model" : name);
    if (name.empty()) {
      auto model = BuildPriceSchedule("");
      model->Répertoire_Document = "std/";
      model->Nom_Document("bordereau.bpx");
      ASSERT_EQ(model->SauvegarderMarquageStd(), -1);
    } else {
      ASSERT_TRUE(LoadDataFile(name, "std/bordereau.bpx.cnf")) << "missing test data " << name;
    }
    auto first = Restore("std/", "bordereau.bpx");
    ASSERT_EQ(first->SauvegarderMarquageStd(), -1);
    const std::string once = Bytes("std/bordereau.bpx.cnf");

    auto second = Restore("std/", "bordereau.bpx");
    ExpectSameDocument(*first, *second, Layout::kStandard);
    ASSERT_EQ(second->SauvegarderMarquageStd(), -1);
    EXPECT_EQ(Bytes("std/bordereau.bpx.cnf"), once);
  }
}

INSTANTIATE_TEST_SUITE_P(BothLocales, RoundTripTest, ::testing::Values(true, false),
                         [](const ::testing::TestParamInfo<bool>& info) {
                           return info.param ? std::string("Comma") : std::string("Point");
                         });

}  // namespace
}  // namespace textfile_test
}  // namespace mandor
