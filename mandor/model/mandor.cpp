#include "mandor/model/mandor.h"

#include <cstdlib>

#include "mandor/fields/champ.h"
#include "mandor/model/internal/reading_order.h"
#include "mandor/model/marquage.h"
#include "mandor/util/error.h"
#include "mandor/util/internal/text.h"

namespace mandor {

Mandor::Mandor() = default;
Mandor::~Mandor() = default;

void Mandor::Nom_Document(const std::string& value) {
  nom_document_ = value;
  const long length = static_cast<long>(CharLength(value));
  short_name_ = Left(value, length - 3);  // Error 5 for fewer than 3 characters
  if (LowerCase(Right(value, 3)) == "det") {
    Type_Document = DOCUMENT_DETAIL();
  } else if (LowerCase(Right(value, 3)) == "bpx") {
    Type_Document = DOCUMENT_PRIX();
  } else if (LowerCase(Right(value, 2)) == "ae") {
    Type_Document = DOCUMENT_AE();
  }
}

std::string Mandor::FichierPdfImage() const { return Répertoire_Document + nom_document_ + ".pdf"; }

std::string Mandor::FonteName() const { return Font()->Name(); }
void Mandor::FonteName(const std::string& value) { Font()->Name(value); }
std::string Mandor::FonteName_nombre() const { return Font()->Name(); }
void Mandor::FonteName_nombre(const std::string& value) { Font()->Name(value); }
int16_t Mandor::FonteSize() const { return Font()->Size(); }
void Mandor::FonteSize(int16_t value) { Font()->Size(value); }
int16_t Mandor::FonteSize_nombre() const { return Font()->Size(); }
void Mandor::FonteSize_nombre(int16_t value) { Font()->Size(value); }

std::shared_ptr<CFont> Mandor::Font() const {
  if (!font_) font_ = std::make_shared<CFont>();
  return font_;
}

void Mandor::Font(std::shared_ptr<CFont> font) {
  font_ = font ? std::move(font) : std::make_shared<CFont>();
  auto owner = oOwnerMarquage();
  font_->ParentFont1 = owner ? owner->Font : nullptr;
}

void Mandor::oOwnerMarquage(const std::shared_ptr<cMarquage>& owner) {
  m_oOwnerMarquage = owner;
  Font()->ParentFont1 = owner ? owner->Font : nullptr;
}

void Mandor::iDevise(int16_t value) {
  i_devise_ = value;
  // Resolution failures are ignored: Devise keeps the last code found.
  auto owner = oOwnerMarquage();
  if (!owner || !owner->oDevises) return;
  RunIgnoringErrors([&] { devise_ = owner->oDevises->Item(0L)->code(); });
  RunIgnoringErrors([&] { devise_ = owner->oDevises->Item(static_cast<long>(value))->code(); });
}

std::shared_ptr<CRegle> Mandor::RegleV(std::string_view sNom) const {
  return Regles_V.Contains(sNom) ? Regles_V.Item(sNom) : nullptr;
}

std::shared_ptr<CRegle> Mandor::RegleH(std::string_view sNom) const {
  return Regles_H.Contains(sNom) ? Regles_H.Item(sNom) : nullptr;
}

std::shared_ptr<CPage> Mandor::PageCourante() const {
  std::string key = "page_" + std::to_string(numero_page);
  return Pages.Contains(key) ? Pages.Item(key) : nullptr;
}

void Mandor::MarquageRAZ() {
  Pages = Collection<CPage>();
  Regles_V = Collection<CRegle>();
  Champs = Collection<CChamp>();
  ChampsCachés = Collection<CChamp>();
  ChampsFormules = Collection<CChamp>();
  champsContenantReference = Collection<CChamp>();
  ChampsRecurrents = Collection<CChamp>();
  Docs = Collection<Doc>();
  feuille_cm_largeur = 0;
  feuille_cm_hauteur = 0;
  image_OrigineX_cm = 0;
  image_OrigineY_cm = 0;
  imprimante_OrigineX_cm = 0;
  imprimante_OrigineY_cm = 0;
  Font(std::make_shared<CFont>());
}

// --- string and number routines ---

void Mandor::DécomposerChaîne(std::string_view chaîne, StringArray& Paramètres,
                              std::string_view Séparateur) const {
  mandor::DécomposerChaîne(chaîne, Paramètres, Séparateur);
}

bool Mandor::SeparateString(std::string_view cString, StringArray& Parametres, std::string_view cSep) const {
  return mandor::SeparateString(cString, Parametres, cSep);
}

std::string Mandor::ChangeCarSpec(std::string_view sValue, int16_t iType) const {
  return mandor::ChangeCarSpec(sValue, iType);
}
std::string Mandor::ChangeCrLF(std::string_view sValue, int16_t iType) const {
  return mandor::ChangeCrLF(sValue, iType);
}
std::string Mandor::ChangeEgal(std::string_view sValue, int16_t iType) const {
  return mandor::ChangeEgal(sValue, iType);
}
std::string Mandor::ChangeSepMarquage(std::string_view sValue, int16_t iType) const {
  return mandor::ChangeSepMarquage(sValue, iType);
}
std::string Mandor::EnlèveSéparateurs(std::string_view Nombre) const { return mandor::EnlèveSéparateurs(Nombre); }
std::string Mandor::EnleveCar(std::string& Nombre, std::string_view Car, std::string_view CarReplace) const {
  return mandor::EnleveCar(Nombre, Car, CarReplace);
}

std::string FormatNombre(const CChamp& Champ) {
  const int d = std::abs(static_cast<int>(Champ.Décimales()));
  return d == 0 ? "#,##0" : "#,##0." + std::string(static_cast<size_t>(d), '0');
}

std::string FormatNombreSortie(const CChamp& Champ) {
  // The trailing point stays even without decimals.
  const int d = std::abs(static_cast<int>(Champ.Décimales()));
  return "###########0." + std::string(static_cast<size_t>(d), '0');
}

std::string Mandor::FormatNombre(const std::shared_ptr<CChamp>& Champ) const {
  if (!Champ) ThrowError(kObjectNotSet);
  return mandor::FormatNombre(*Champ);
}

std::string Mandor::FormatNombreSortie(const std::shared_ptr<CChamp>& Champ) const {
  if (!Champ) ThrowError(kObjectNotSet);
  return mandor::FormatNombreSortie(*Champ);
}

StringArray Mandor::ReadSection(TextFile& fich, std::string_view cSection) const {
  return mandor::ReadSection(fich, cSection);
}

std::string Mandor::FindValue(const StringArray& cLignes, std::string_view cValue) const {
  return mandor::FindValue(cLignes, cValue);
}

void Mandor::InsérerChamp(Collection<CChamp>& colChamps, const std::shared_ptr<CChamp>& pChamp) const {
  if (!pChamp) ThrowError(kObjectNotSet);
  const float bottom = pChamp->Position_pixel_Bottom;
  const float right = pChamp->Position_pixel_Right;
  for (long i = 1; i <= colChamps.Count(); ++i) {
    const CChamp& c = *colChamps.Item(i);
    if (ReadingOrder::GoesAfter(c.Position_pixel_Bottom, c.Position_pixel_Right, bottom, right)) {
      colChamps.AddBefore(pChamp, pChamp->Nom(), i);
      return;
    }
  }
  colChamps.Add(pChamp, pChamp->Nom());
}

bool Mandor::CloseFileError(TextFile* fich, const std::string& cMsg) {
  if (fich != nullptr) fich->Close();
  CurrentPlatform().Message(cMsg, "Erreur Fichier", MessageStyle::kExclamation);
  Nom_Document("");  // raises Error 5, which reaches the caller
  return false;
}

std::string Mandor::LireValeurParamètre(TextFile& fich, const std::string& key) const {
  if (fich.AtEnd()) return "";
  const std::string line = fich.ReadLine();
  StringArray parts;
  mandor::DécomposerChaîne(line, parts, "=");
  if (parts.size() == 3) {
    if (UpperCase(Trim(parts[1])) != UpperCase(Trim(key))) {
      CurrentPlatform().Message("ERREUR: attendu: " + key + "\n" + "Lu: " + line, kDefaultMessageTitle,
                                MessageStyle::kPlain);
      return "";
    }
    return parts[2];
  }
  CurrentPlatform().Message("ERREUR, manque signe = dans la ligne: " + line + "\n" + "Attendu: " + key,
                            kDefaultMessageTitle, MessageStyle::kPlain);
  return "";
}

}  // namespace mandor
