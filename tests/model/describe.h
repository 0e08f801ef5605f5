// A one-text description of a document: one line per setting group, source,
// page, ruler and field with everything a read sets and a save must keep, so
// that a reading compares as a whole against a described data file and a
// difference names the line and member that changed.
#ifndef MANDOR_TESTS_MODEL_DESCRIBE_H_
#define MANDOR_TESTS_MODEL_DESCRIBE_H_

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "mandor/fields/champ.h"
#include "mandor/model/mandor.h"
#include "mandor/model/page.h"
#include "mandor/model/regle.h"
#include "tests/test_util.h"

namespace mandor::test_util {

// Name/size/bold italic underline strike/colour/back colour of a font.
inline std::string DescribeFont(const std::shared_ptr<CFont>& f) {
  if (!f) return "-";
  return f->Name() + "/" + std::to_string(f->Size()) + "/" + std::to_string(f->Bold()) + std::to_string(f->Italic()) +
         std::to_string(f->Underline()) + std::to_string(f->StrikeThrough()) + "/" + std::to_string(f->Color()) + "/" +
         std::to_string(f->BackColor());
}

inline std::string Describe(const Mandor& doc) {
  std::ostringstream out;
  const auto name = [](const std::shared_ptr<CRegle>& r) { return r ? r->Nom : std::string("-"); };
  out << doc.Id << " " << doc.Nom_Document() << " dir=" << doc.Répertoire_Document << " " << doc.Type_Document
      << " or=" << doc.Orientation << " dec=" << doc.Decimales << " devise=" << doc.Devise() << "/" << doc.iDevise()
      << " tva=" << doc.TVA << " h=" << doc.HauteurChamp << " w=" << doc.champ_largeur_cm
      << " font=" << DescribeFont(doc.Font()) << " grise=" << doc.bFondGrise << " sep=" << doc.SepDecExt << "\n";
  out << " calage " << doc.Type_calage << " [" << doc.X1_pixel << "," << doc.Y1_pixel << "," << doc.X1_cm << ","
      << doc.Y1_cm << "] [" << doc.X2_pixel << "," << doc.Y2_pixel << "," << doc.X2_cm << "," << doc.Y2_cm
      << "] sheet=" << doc.feuille_cm_largeur << "x" << doc.feuille_cm_hauteur << "+" << doc.image_OrigineX_cm << ","
      << doc.image_OrigineY_cm << "\n";
  for (const auto& source : doc.Docs) out << " source " << source->Fichier << " sep=[" << source->Séparateur << "]\n";
  if (!doc.FichierMDN.empty()) out << " mdn " << doc.FichierMDN << "\n";
  for (const auto& page : doc.Pages) {
    out << " page " << page->Id << " " << page->Width << "x" << page->Height << " " << page->hResolution() << "/"
        << page->vResolution() << " noimage=" << page->NoImage << " rows=" << page->Regles_H.Count() << " fields:";
    for (const auto& champ : page->Champs) out << " " << champ->Nom();
    out << "\n";
  }
  const auto ruler = [&](const char* kind, const CRegle& regle) {
    out << " " << kind << " " << regle.Id << " " << regle.Nom << " x=" << regle.Position_pixel_X
        << " y=" << regle.Position_pixel_Y << " cm=" << regle.Position_cm_X << "," << regle.Position_cm_Y
        << " w=" << regle.largeur_cm << " h=" << regle.hauteur_pixel << " dec=" << regle.Décimales
        << " type=" << regle.TypeLigne << " level=" << regle.Level << " print=" << regle.Imprimable
        << " page=" << (regle.Page() ? regle.Page()->Id : "-") << " new=" << regle.isNewVersion()
        << " font=" << DescribeFont(regle.Font()) << " special=" << regle.FontSpecial() << "\n";
  };
  for (const auto& page : doc.Pages) {
    for (const auto& regle : page->Regles_H) ruler("row", *regle);
  }
  for (const auto& regle : doc.Regles_H) ruler("docrow", *regle);
  for (const auto& regle : doc.Regles_V) ruler("col", *regle);
  const auto field = [&](const char* kind, const CChamp& champ) {
    const auto page = champ.oOwnerPage.lock();
    out << " " << kind << " " << champ.Id << " " << champ.Nom() << " #" << champ.NumChamp << " p" << champ.Page << "/"
        << (page ? page->Id : "-") << " [" << champ.Position_pixel_Left << "," << champ.Position_pixel_Top << ","
        << champ.Position_pixel_Right << "," << champ.Position_pixel_Bottom << "] cm=[" << champ.Position_cm_Left
        << "," << champ.Position_cm_Top << "," << champ.Position_cm_Right << "," << champ.Position_cm_Bottom
        << "] on " << name(champ.oRegleH()) << "/" << name(champ.oRegleV()) << " anchor=" << champ.Accrochage_H()
        << ":" << champ.Accrochage_H_Type << "/" << champ.Accrochage_V() << ":" << champ.Accrochage_V_Type()
        << " type=" << champ.Type_Champ() << " dec=" << champ.Décimales() << " print=" << champ.Imprimable()
        << " f=" << champ.Formule() << " sub=" << champ.SubName << " init=" << champ.InitialValue()
        << " v=" << champ.valeur() << " rec=" << champ.Recurrent() << " ref=" << champ.ChampRecurrentDeRef()
        << " dc=" << champ.IsDataContrat() << " label=" << champ.Label() << " opt=" << champ.IsOptional()
        << " group=" << champ.Groupe() << " report=" << champ.ToReport() << " new=" << champ.isNewVersion()
        << " font=" << DescribeFont(champ.Font()) << " special=" << champ.FontSpecial()
        << " back=" << champ.Transparent() << ":" << champ.BackColor() << "\n";
  };
  for (const auto& champ : doc.Champs) field("field", *champ);
  // Fields that live on a page only (the text layouts keep page fields out of
  // the document's collection).
  for (const auto& page : doc.Pages) {
    for (const auto& champ : page->Champs) {
      if (!doc.Champs.Contains(champ->Nom()) || doc.Champs.Item(champ->Nom()) != champ) field("pfield", *champ);
    }
  }
  for (const auto& champ : doc.ChampsRecurrents) out << " recurrent " << champ->Nom() << "\n";
  for (const auto& champ : doc.champsContenantReference) out << " referring " << champ->Nom() << "\n";
  for (const auto& champ : doc.champsDataContrat) out << " contract " << champ->Nom() << "\n";
  return out.str();
}

}  // namespace mandor::test_util

#endif  // MANDOR_TESTS_MODEL_DESCRIBE_H_
