// The writer of the text marking files: the extended layout (".xnf", one
// procedure per section, with confirmation and a ".xak" backup) and the
// older standard layout (".cnf", in one pass). FORMAT.md beside this file
// describes both layouts; every name and column count comes from format.h.
//
// A marking is never written in place: the lines go to a temporary file in
// the same folder, which replaces the marking only once it is complete and
// closed. A save that fails part-way leaves the previous marking as it was.

#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mandor/fields/champ.h"
#include "mandor/model/mandor.h"
#include "mandor/model/marquage.h"
#include "mandor/textfile/internal/format.h"
#include "mandor/textfile/internal/records.h"
#include "mandor/util/error.h"
#include "mandor/util/fct_util.h"
#include "mandor/util/internal/number.h"
#include "mandor/util/platform.h"

namespace mandor {

namespace {

using namespace textfile;

constexpr char kOverwriteQuestion[] = "Voulez vous écraser le marquage précédent du document ";
// The wording, missing letter included, is the one users know.
constexpr char kCannotCreatePrefix[] = "Impossible de céer le fichier ";
constexpr char kCannotCreateSuffix[] = " !!";

// A member of a collection; a null one stops the section.
template <class T>
const T& Deref(const std::shared_ptr<T>& p) {
  if (!p) ThrowError(kObjectNotSet);
  return *p;
}

// --- value encodings ---

std::string IntText(long long v) { return std::to_string(v); }
std::string BoolText(bool v) { return BoolToText(v, CurrentPlatform().locale()); }

// Starts the line "key=" in `line`; a record's line reuses its storage from
// one record to the next.
std::string& RecordLine(std::string& line, std::string_view key) {
  line.assign(key);
  line += kKeyValueSeparator;
  return line;
}

std::string KeyLine(std::string_view key, std::string_view value) {
  std::string line;
  RecordLine(line, key) += value;
  return line;
}

// The line "key=" followed by the record's columns, in `line`.
template <class Object>
const std::string& RecordLineOf(std::string& line, std::string_view key, Record<Object> record, const Object& object,
                                const RecordContext& context = {}) {
  AppendRecord(RecordLine(line, key), record, object, context);
  return line;
}

// A text formatted with a number picture: a text the locale reads as a
// number is formatted as that number, any other text is kept as it is.
std::string FormatText(const std::string& text, std::string_view picture) {
  const Locale& locale = CurrentPlatform().locale();
  const std::optional<double> number = ParseNumber(text, locale);
  return number ? FormatNumber(*number, picture, locale) : text;
}

// Writes one ruler line per ruler, numbering those without an identifier.
void WriteRulerLines(TextFile& fich, const Collection<CRegle>& rulers, std::string_view prefix, Record<CRegle> record) {
  std::string line;
  long i = 0;
  for (const auto& regle : rulers) {
    ++i;
    Deref(regle);
    if (regle->Id.empty()) regle->Id = GeneratedRulerId(i);
    fich.WriteLine(RecordLineOf(line, NumberedKey(prefix, i), record, *regle));
  }
}

// --- sections shared by both layouts ---

void WriteCalageLines(const Mandor& doc, TextFile& fich, bool extended) {
  fich.WriteLine(kSectionCalage);
  fich.WriteLine(KeyLine(kKeyType, IntText(doc.Type_calage)));
  fich.WriteLine(KeyLine(kKeyOrientation, IntText(doc.Orientation)));
  if (extended) fich.WriteLine(KeyLine(kKeyVersion, IntText(kCalageVersion)));
  if (doc.Type_calage == kCalageTwoPoints) {
    fich.WriteLine(KeyLine(kKeyX1Pixel, PixelText(doc.X1_pixel)));
    fich.WriteLine(KeyLine(kKeyY1Pixel, PixelText(doc.Y1_pixel)));
    fich.WriteLine(KeyLine(kKeyX1Cm, CentimetreText(doc.X1_cm)));
    fich.WriteLine(KeyLine(kKeyY1Cm, CentimetreText(doc.Y1_cm)));
    fich.WriteLine(KeyLine(kKeyX2Pixel, PixelText(doc.X2_pixel)));
    fich.WriteLine(KeyLine(kKeyY2Pixel, PixelText(doc.Y2_pixel)));
    fich.WriteLine(KeyLine(kKeyX2Cm, CentimetreText(doc.X2_cm)));
    fich.WriteLine(KeyLine(kKeyY2Cm, CentimetreText(doc.Y2_cm)));
  } else if (doc.Type_calage == kCalageSheet) {
    fich.WriteLine(KeyLine(kKeyLargeurCm, CentimetreText(doc.feuille_cm_largeur)));
    fich.WriteLine(KeyLine(kKeyHauteurCm, CentimetreText(doc.feuille_cm_hauteur)));
    fich.WriteLine(KeyLine(kKeyOrigineXCm, CentimetreText(doc.image_OrigineX_cm)));
    fich.WriteLine(KeyLine(kKeyOrigineYCm, CentimetreText(doc.image_OrigineY_cm)));
  }
  if (extended) fich.WriteLine(KeyLine(kKeyFondGris, Bool01Text(doc.bFondGrise)));
}

void WriteConstanteLines(const Mandor& doc, TextFile& fich) {
  fich.WriteLine(kSectionConstantes);
  fich.WriteLine(KeyLine(kKeyTVA, CentimetreText(doc.TVA)));
}

void WriteSourceLines(const Mandor& doc, TextFile& fich) {
  fich.WriteLine(kSectionSource);
  fich.WriteLine(KeyLine(kKeyNombre, IntText(doc.Docs.Count())));
  long i = 0;
  for (const auto& source : doc.Docs) {
    ++i;
    const Doc& d = Deref(source);
    fich.WriteLine(KeyLine(NumberedKey(kKeyDocumentPrefix, i), d.Fichier));
    fich.WriteLine(KeyLine(NumberedKey(kKeySeparateurPrefix, i), SeparatorToText(d.Séparateur)));
  }
}


}  // namespace

// --- extended layout ---

int16_t Mandor::SauvegarderMarquageEx(bool Confirmation) {
  bool with_qte = false;
  return SauvegarderMarquageEx(Confirmation, with_qte);
}

int16_t Mandor::SauvegarderMarquageEx(bool Confirmation, bool& WithQte) {
  if (Nom_Document().empty()) return -1;
  Platform& platform = CurrentPlatform();
  const std::string base = Répertoire_Document + Nom_Document();
  const std::string target = base + kExtendedExtension;
  const std::string backup = base + kBackupExtension;

  if (Confirmation && !platform.AskYesNo(kOverwriteQuestion + base, kDefaultMessageTitle)) return 0;

  // One backup generation, refreshed only when there is a marking to keep.
  // It is replaced like the marking itself, so it is never left half copied.
  if (platform.FileExists(target)) platform.ReplaceFileBytes(backup, platform.ReadFileBytes(target));

  const bool complete = RunIgnoringErrors([&] {
    platform.ReplaceFile(target, [&](const std::string& temporary) {
      std::unique_ptr<TextFile> fich = OpenFileWrite(temporary);
      if (fich == nullptr) ThrowError(kPathFileAccessError);
      // A section that stops early leaves the file incomplete: the rest is skipped.
      const bool written = WriteCalage(*fich) && WritePresentation(*fich) && WriteConstante(*fich) &&
                           WriteSource(*fich) && WriteChampsRecurrents(*fich) && WriteRegle_V(*fich) &&
                           WritePage(*fich, WithQte);
      fich->Close();
      if (!written) ThrowError(kPathFileAccessError);
    });
  });
  if (complete) return 0;

  try {
    CloseFileError(nullptr, kCannotCreatePrefix + target + kCannotCreateSuffix);
  } catch (const Error&) {
    // Clearing the document name raises; the save still reports 0.
  }
  return 0;
}

std::unique_ptr<TextFile> Mandor::OpenFileWrite(const std::string& cFileName) {
  try {
    return CurrentPlatform().OpenTextFile(cFileName, OpenMode::kOutput);
  } catch (const std::exception&) {
    return nullptr;
  }
}

bool Mandor::WriteCalage(TextFile& fich) {
  return RunIgnoringErrors([&] { WriteCalageLines(*this, fich, true); });
}

bool Mandor::WritePresentation(TextFile& fich) {
  return RunIgnoringErrors([&] {
    const std::shared_ptr<CFont> font = Font();
    fich.WriteLine(kSectionPresentation);
    fich.WriteLine(KeyLine(kKeyFonte, font->Name()));
    fich.WriteLine(KeyLine(kKeyPoints, IntText(font->Size())));
    fich.WriteLine(KeyLine(kKeyGras, BoolText(font->Bold())));
    fich.WriteLine(KeyLine(kKeySouligne, BoolText(font->Underline())));
    fich.WriteLine(KeyLine(kKeyItalique, BoolText(font->Italic())));
    fich.WriteLine(KeyLine(kKeyBarre, BoolText(font->StrikeThrough())));
    fich.WriteLine(KeyLine(kKeyCouleur, IntText(font->Color())));
    fich.WriteLine(KeyLine(kKeyCouleurFond, IntText(font->BackColor())));
    // The currency's code when the catalogue knows the index, else the index.
    std::string devise = IntText(iDevise());
    try {
      const std::shared_ptr<cMarquage> owner = oOwnerMarquage();
      if (owner && owner->oDevises) {
        const std::shared_ptr<mandor::Devise> entry = owner->oDevises->Item(static_cast<long>(iDevise()));
        if (entry) devise = entry->code();
      }
    } catch (const std::exception&) {
    }
    fich.WriteLine(KeyLine(kKeyDefDevise, devise));
    fich.WriteLine(KeyLine(kKeyChampLargeurCm, CentimetreText(champ_largeur_cm)));
    fich.WriteLine(KeyLine(kKeyTypeDocument, Type_Document));
  });
}

bool Mandor::WriteConstante(TextFile& fich) {
  return RunIgnoringErrors([&] { WriteConstanteLines(*this, fich); });
}

bool Mandor::WriteSource(TextFile& fich) {
  if (!RunIgnoringErrors([&] { WriteSourceLines(*this, fich); })) return false;
  if (Docs.Count() == 0) {
    // The document's default data file, created empty when missing. It is
    // not part of the marking, so failing to create it fails nothing.
    const std::string data_file = Répertoire_Document + Nom_Document() + kDataExtension;
    RunIgnoringErrors([&] {
      if (CurrentPlatform().FileExists(data_file)) return;
      if (std::unique_ptr<TextFile> data = OpenFileWrite(data_file)) data->Close();
    });
  }
  return true;
}

bool Mandor::WriteChampsRecurrents(TextFile& fich) {
  return RunIgnoringErrors([&] {
    fich.WriteLine(kSectionChampsRecurrents);
    fich.WriteLine(KeyLine(kKeyNombreChampsRecurrents, IntText(ChampsRecurrents.Count())));
    std::string line;
    long i = 0;
    for (const auto& champ : ChampsRecurrents) {
      ++i;
      fich.WriteLine(RecordLineOf(line, NumberedKey(kKeyRecurrentPrefix, i), RecurrentRecord(), Deref(champ)));
    }
  });
}

bool Mandor::WriteRegle_V(TextFile& fich) {
  return RunIgnoringErrors([&] {
    fich.WriteLine(kSectionReglesVerticales);
    fich.WriteLine(KeyLine(kKeyNombre, IntText(Regles_V.Count())));
    WriteRulerLines(fich, Regles_V, kKeyVerticalRulerPrefix, RulerRecord());
  });
}

bool Mandor::WritePage(TextFile& fich, bool WithQte) {
  return RunIgnoringErrors([&] {
    fich.WriteLine(kSectionPages);
    fich.WriteLine(KeyLine(kKeyNombre, IntText(Pages.Count())));
    // The last quantity value met, written in every field until the next.
    std::string value_text;
    std::string line;
    long n = 0;
    for (const auto& page_ptr : Pages) {
      ++n;
      const CPage& page = Deref(page_ptr);
      fich.WriteLine(PageSectionHeader(n));
      fich.WriteLine(KeyLine(kKeyNombreReglesH, IntText(page.Regles_H.Count())));
      WriteRulerLines(fich, page.Regles_H, kKeyRulerPrefix, RulerRecord());
      fich.WriteLine(KeyLine(kKeyImage, Bool01Text(!page.NoImage)));
      fich.WriteLine(KeyLine(kKeyNombreChamps, IntText(page.Champs.Count())));
      long i = 0;
      for (const auto& champ : page.Champs) {
        ++i;
        Deref(champ);
        if (champ->Id.empty()) champ->Id = GeneratedFieldId(n, i);
        if (WithQte && champ->Nom().find(kQuantityMarker) != std::string::npos) {
          value_text = FormatText(EnlèveSéparateurs(champ->valeur()), FormatNombreSortie(champ));
        }
        fich.WriteLine(RecordLineOf(line, NumberedKey(kKeyFieldPrefix, i), FieldRecord(), *champ, {value_text}));
      }
    }
  });
}

// --- standard layout ---

int16_t Mandor::SauvegarderMarquageStd() {
  if (Nom_Document().empty()) return 0;
  Platform& platform = CurrentPlatform();
  const std::string target = Répertoire_Document + Nom_Document() + kStandardExtension;
  // An error reaches the caller; the previous marking stays.
  platform.ReplaceFile(target, [&](const std::string& temporary) {
    std::unique_ptr<TextFile> fich = platform.OpenTextFile(temporary, OpenMode::kOutput);
    WriteCalageLines(*this, *fich, false);

    const std::shared_ptr<CFont> font = Font();
    fich->WriteLine(kSectionPresentation);
    fich->WriteLine(KeyLine(kKeyFonte, font->Name()));
    fich->WriteLine(KeyLine(kKeyPoints, IntText(font->Size())));
    fich->WriteLine(KeyLine(kKeyCouleur, IntText(iDevise())));  // the currency index in this layout
    fich->WriteLine(KeyLine(kKeyChampLargeurCm, CentimetreText(champ_largeur_cm)));
    fich->WriteLine(KeyLine(kKeyTypeDocument, Type_Document));

    WriteConstanteLines(*this, *fich);
    WriteSourceLines(*this, *fich);

    fich->WriteLine(kSectionReglesVerticales);
    fich->WriteLine(KeyLine(kKeyNombre, IntText(Regles_V.Count())));
    WriteRulerLines(*fich, Regles_V, kKeyVerticalRulerPrefix, StdVerticalRulerRecord());

    fich->WriteLine(kSectionPages);
    fich->WriteLine(KeyLine(kKeyNombre, IntText(Pages.Count())));
    long n = 0;
    for (const auto& page_ptr : Pages) {
      ++n;
      const CPage& page = Deref(page_ptr);
      fich->WriteLine(PageSectionHeader(n));
      fich->WriteLine(KeyLine(kKeyNombreReglesH, IntText(page.Regles_H.Count())));
      WriteRulerLines(*fich, page.Regles_H, kKeyRulerPrefix, StdPageRulerRecord());
      fich->WriteLine(KeyLine(kKeyNombreChamps, IntText(page.Champs.Count())));
      std::string line;
      long i = 0;
      for (const auto& champ : page.Champs) {
        ++i;
        Deref(champ);
        if (champ->Id.empty()) champ->Id = GeneratedFieldId(n, i);
        fich->WriteLine(RecordLineOf(line, NumberedKey(kKeyFieldPrefix, i), StdFieldRecord(), *champ));
      }
    }
    fich->Close();
  });
  return -1;
}

}  // namespace mandor
