// Round trips: what the writer saves, the reader gives back, and saving what
// was read gives the same bytes again.

#include <gtest/gtest.h>

#include <iomanip>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "mandor/util/number.h"
#include "mandor/xml/marquage.h"
#include "tests/textfile/textfile_test_util.h"

namespace mandor::textfile_test {
namespace {

enum class Layout { kExtended, kStandard };

// Members as "name=value" texts, so that a difference names the member.
class Members {
 public:
  template <class T>
  Members& operator()(const char* name, const T& value) {
    std::ostringstream text;
    text << std::setprecision(9) << name << '=' << value;
    texts_.push_back(text.str());
    return *this;
  }
  std::vector<std::string> texts_;
};

std::vector<std::string> RulerMembers(const CRegle& r, Layout layout, bool vertical) {
  Members m;
  m("Id", r.Id)("Nom", r.Nom)("pixel_X", r.Position_pixel_X)("pixel_Y", r.Position_pixel_Y);
  m("largeur_cm", r.largeur_cm)("Imprimable", r.Imprimable);
  if (layout == Layout::kExtended) {
    m("FontName", r.FontName())("FontSize", r.FontSize())("FontSpecial", r.FontSpecial())("Décimales", r.Décimales);
  } else {
    m("cm_X", r.Position_cm_X)("cm_Y", r.Position_cm_Y);
    if (vertical) m("Décimales", r.Décimales);
  }
  return m.texts_;
}

// The members both layouts keep, then those of the extended layout.
// `recurrent` takes a "[Champs Récurrents]" record (no column 24 or 25).
std::vector<std::string> FieldMembers(const CChamp& c, Layout layout, bool recurrent = false) {
  Members m;
  m("Id", c.Id)("Nom", c.Nom())("Accrochage_V", c.Accrochage_V())("V_Type", c.Accrochage_V_Type());
  m("Accrochage_H", c.Accrochage_H())("H_Type", c.Accrochage_H_Type)("Type_Champ", c.Type_Champ());
  m("Formule", c.HasTranslatted ? "" : c.Formule());  // a translated formula is not written
  m("Décimales", c.Décimales())("Top", c.Position_pixel_Top)("Bottom", c.Position_pixel_Bottom);
  m("Left", c.Position_pixel_Left)("Right", c.Position_pixel_Right)("Imprimable", c.Imprimable());
  if (layout == Layout::kStandard) {
    m("cm_Left", c.Position_cm_Left)("cm_Top", c.Position_cm_Top)("cm_Bottom", c.Position_cm_Bottom);
    m("cm_Right", c.Position_cm_Right);
    return m.texts_;
  }
  m("FontName", c.FontName())("FontSize", c.FontSize())("FontSpecial", c.FontSpecial())("Color", c.FontColor());
  m("Bold", c.Bold())("Strike", c.StrikeThrough())("Under", c.Underligne())("BackColor", c.BackColor());
  if (recurrent) {
    m("InitialValue", c.InitialValue())("Recurrent", c.Recurrent());
  } else {
    m("RecurrentDeRef", c.ChampRecurrentDeRef())("Transparent", c.Transparent());
  }
  return m.texts_;
}

std::vector<std::string> DocumentMembers(const Mandor& d, Layout layout) {
  Members m;
  m("Type_calage", d.Type_calage)("Orientation", d.Orientation)("X1_pixel", d.X1_pixel)("Y1_pixel", d.Y1_pixel);
  m("X1_cm", d.X1_cm)("Y1_cm", d.Y1_cm)("X2_pixel", d.X2_pixel)("Y2_pixel", d.Y2_pixel)("X2_cm", d.X2_cm);
  m("Y2_cm", d.Y2_cm)("largeur", d.feuille_cm_largeur)("hauteur", d.feuille_cm_hauteur);
  m("OrigineX", d.image_OrigineX_cm)("OrigineY", d.image_OrigineY_cm)("Fonte", d.Font()->Name());
  m("Points", d.Font()->Size())("iDevise", d.iDevise())("Devise", d.Devise());
  m("champ_largeur_cm", d.champ_largeur_cm)("Type_Document", d.Type_Document)("TVA", d.TVA);
  if (layout == Layout::kExtended) {
    const auto& f = *d.Font();
    m("FondGris", d.bFondGrise)("Gras", f.Bold())("Souligne", f.Underline())("Italique", f.Italic());
    m("Barre", f.StrikeThrough())("Couleur", f.Color())("CouleurFond", f.BackColor());
  }
  for (const auto& source : d.Docs) m("Fichier", source->Fichier)("Séparateur", source->Séparateur);
  return m.texts_;
}

void ExpectSameDocument(const Mandor& a, const Mandor& b, Layout layout) {
  EXPECT_EQ(DocumentMembers(a, layout), DocumentMembers(b, layout));
  const bool extended = layout == Layout::kExtended;
  ASSERT_EQ(extended ? a.ChampsRecurrents.Count() : 0, b.ChampsRecurrents.Count());
  for (long i = 1; i <= b.ChampsRecurrents.Count(); ++i) {
    EXPECT_EQ(FieldMembers(*a.ChampsRecurrents.Item(i), layout, true),
              FieldMembers(*b.ChampsRecurrents.Item(i), layout, true));
  }
  ASSERT_EQ(a.Regles_V.Count(), b.Regles_V.Count());
  for (long i = 1; i <= a.Regles_V.Count(); ++i) {
    EXPECT_EQ(RulerMembers(*a.Regles_V.Item(i), layout, true), RulerMembers(*b.Regles_V.Item(i), layout, true));
  }
  ASSERT_EQ(a.Pages.Count(), b.Pages.Count());
  for (long n = 1; n <= a.Pages.Count(); ++n) {
    SCOPED_TRACE("page " + std::to_string(n));
    const CPage& pa = *a.Pages.Item(n);
    const CPage& pb = *b.Pages.Item(n);
    EXPECT_EQ(pb.Id, "page_" + std::to_string(n));
    EXPECT_TRUE(!extended || pa.NoImage == pb.NoImage);
    ASSERT_EQ(pa.Regles_H.Count(), pb.Regles_H.Count());
    for (long i = 1; i <= pa.Regles_H.Count(); ++i) {
      EXPECT_EQ(RulerMembers(*pa.Regles_H.Item(i), layout, false), RulerMembers(*pb.Regles_H.Item(i), layout, false));
    }
    // The reader keeps fields in reading order; compare them by name.
    ASSERT_EQ(pa.Champs.Count(), pb.Champs.Count());
    for (const auto& field : pa.Champs) {
      ASSERT_TRUE(pb.Champs.Contains(field->Nom())) << field->Nom();
      EXPECT_EQ(FieldMembers(*field, layout), FieldMembers(*pb.Champs.Item(field->Nom()), layout));
    }
  }
}

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

  // Saves in `layout`, reads back and compares.
  void ExpectRoundTrip(const std::shared_ptr<Mandor>& written, Layout layout) {
    bool with_qte = true;
    if (layout == Layout::kExtended) {
      ASSERT_EQ(written->SauvegarderMarquageEx(false, with_qte), 0);  // also generates the identifiers
    } else {
      ASSERT_EQ(written->SauvegarderMarquageStd(), -1);
    }
    ExpectSameDocument(*written, *Restore(written->Répertoire_Document, written->Nom_Document()), layout);
  }
};

// Sheet-size calibration instead of reference points.
void UseSheetSize(Mandor& doc) {
  doc.Type_calage = 1;
  doc.Orientation = 2;
  doc.feuille_cm_largeur = 21;
  doc.feuille_cm_hauteur = 29.7f;
  doc.image_OrigineX_cm = -0.5f;
  doc.image_OrigineY_cm = 1.25f;
  doc.X1_pixel = doc.Y1_pixel = doc.X2_pixel = doc.Y2_pixel = 0;
  doc.X1_cm = doc.Y1_cm = doc.X2_cm = doc.Y2_cm = 0;
}

TEST_P(RoundTripTest, WriteThenReadGivesTheSameModel) {
  // Recurrent initial values are read back through the display picture, so
  // the model starts with the locale's own text of 1250.
  auto written = BuildPriceSchedule(FormatNumber(1250, "#,##0.00", platform_->locale()));
  written->iDevise(4);  // no catalogue: DefDevise carries the index itself
  ExpectRoundTrip(written, Layout::kExtended);
  auto read = Restore(written->Répertoire_Document, written->Nom_Document());
  EXPECT_EQ(read->ChampsRecurrents.Item(1L)->Formule(), "=SOMME(Prix)|x") << "unescaped";
  EXPECT_EQ(read->FichierMDN, "Bordereau Prix.MDN");
  EXPECT_EQ(read->SepDecExt, platform_->locale().decimal_separator) << "learnt from the quantity values";

  // No sources, no recurrent field, an empty page.
  UseSheetSize(*written);
  written->bFondGrise = false;
  written->Docs.Clear();
  written->ChampsRecurrents.Clear();
  written->Pages.Item(2L)->Champs.Clear();
  ExpectRoundTrip(written, Layout::kExtended);

  auto standard = BuildPriceSchedule("");
  standard->Répertoire_Document = "std/";  // away from the ".xnf", which would be read first
  standard->iDevise(3);
  ExpectRoundTrip(standard, Layout::kStandard);
  UseSheetSize(*standard);
  ExpectRoundTrip(standard, Layout::kStandard);
}

// Read, save, read, save: the same model and the same bytes, from a
// hand-written file or from a file of the writer.
TEST_P(RoundTripTest, ReadWriteIsStable) {
  for (const Layout layout : {Layout::kExtended, Layout::kStandard}) {
    const bool extended = layout == Layout::kExtended;
    const std::string data = extended ? "bordereau.bpx.xnf" : "bordereau.bpx.cnf";
    for (const bool hand_written : {true, false}) {
      SCOPED_TRACE(data + (hand_written ? " hand-written" : " written model"));
      const std::string folder = (extended ? "xnf/" : "cnf/") + std::string(hand_written ? "lot/" : "modèle/");
      const std::string path = folder + data;
      auto catalogue = std::make_shared<cMarquage>();
      catalogue->Font = std::make_shared<CFont>();
      catalogue->oDevises = std::make_shared<Devises>();
      if (!extended) catalogue = nullptr;
      const auto save = [&](Mandor& doc) {
        bool with_qte = true;
        if (extended) {
          ASSERT_EQ(doc.SauvegarderMarquageEx(false, with_qte), 0);
        } else {
          ASSERT_EQ(doc.SauvegarderMarquageStd(), -1);
        }
      };
      if (hand_written) {
        platform_->SetFileBytes(path, DataFile(data));
      } else {
        auto model = BuildPriceSchedule(extended ? "1 250,00" : "");
        model->Répertoire_Document = folder;
        model->Nom_Document("bordereau.bpx");
        save(*model);
      }
      auto first = Restore(folder, "bordereau.bpx", catalogue);
      save(*first);
      const std::string once = Bytes(path);
      auto second = Restore(folder, "bordereau.bpx", catalogue);
      ExpectSameDocument(*first, *second, layout);
      save(*second);
      EXPECT_EQ(Bytes(path), once);
      EXPECT_EQ(Bytes(folder + "bordereau.bpx.xak"), extended ? once : "<missing>");
    }
  }
}

INSTANTIATE_TEST_SUITE_P(BothLocales, RoundTripTest, ::testing::Values(true, false), LocaleName);

}  // namespace
}  // namespace mandor::textfile_test
