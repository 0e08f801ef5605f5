#include "fuzz/fuzz_targets.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mandor/mandor.h"
#include "mandor/testing/memory_platform.h"
#include "mandor/util/error.h"
#include "mandor/util/fct_util.h"
#include "mandor/util/internal/buffer_text_file.h"
#include "mandor/util/internal/cp1252.h"
#include "mandor/util/internal/number.h"
#include "mandor/util/internal/text.h"
#include "mandor/xml/image_pdf.h"

namespace mandor::fuzz {

namespace {

// A broken promise: reported and aborted, so that libFuzzer keeps the input.
#define FUZZ_CHECK(condition)                                               \
  do {                                                                      \
    if (!(condition)) {                                                     \
      std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, \
                   #condition);                                             \
      std::abort();                                                         \
    }                                                                       \
  } while (0)

// Runs one step; mandor::Error is a documented outcome, anything else
// escapes to the fuzzer as a crash.
template <class F>
void Step(F&& f) {
  try {
    f();
  } catch (const Error&) {
  }
}

std::shared_ptr<MemoryPlatform> FreshPlatform() {
  auto platform = std::make_shared<MemoryPlatform>(Locale::Comma());
  platform->SetAnswer(true);
  return platform;
}

// Reads every derived property of a document that was read: fonts through
// their inheritance chains, positions in points, the value predicates.
void ReadProperties(const Mandor& doc) {
  for (const auto& champ : doc.Champs) {
    Step([&] {
      champ->valeur();
      champ->IsZero();
      champ->IsUnderOne();
      champ->DiffWithInitial();
      champ->HasInPU();
      champ->FormuleHasPourcent();
      champ->FontName();
      champ->FontSize();
      champ->Bold();
      champ->Alignement();
      champ->BackColor();
    });
    Step([&] {
      champ->Position_point_Left();
      champ->Position_point_Bottom();
    });
  }
  for (const auto& page : doc.Pages) Step([&] { page->Height_Point(); });
  for (const auto& regle : doc.Regles_V) Step([&] { regle->Position_point_X(); });
}

// Edits a document the way a user does before a save, so that the writer
// creates rows, cells and names as well as rewriting them: a new row on the
// first page, fields at the crossings of the first rulers, and one field
// deleted.
void EditForSave(const std::shared_ptr<Mandor>& doc) {
  if (doc->Pages.Count() == 0) return;
  const std::shared_ptr<CPage> page = doc->Pages.Item(1);
  auto regle = std::make_shared<CRegle>();
  regle->Nom = "Z9";
  regle->Id = "Z9";
  regle->oOwnerMandor(doc);
  regle->Page(page);
  regle->Position_pixel_Y = 640;
  Step([&] {
    page->Regles_H.Add(regle, regle->Id);
    doc->Regles_H.Add(regle, regle->Id);
  });
  std::vector<std::shared_ptr<CRegle>> rows(doc->Regles_H.begin(), doc->Regles_H.end());
  std::vector<std::shared_ptr<CRegle>> columns(doc->Regles_V.begin(), doc->Regles_V.end());
  rows.resize(std::min<size_t>(rows.size(), 4));
  columns.resize(std::min<size_t>(columns.size(), 4));
  for (const auto& row : rows) {
    for (const auto& column : columns) {
      if (!row || !column) continue;
      const std::string nom = row->Nom + "_" + column->Nom;
      if (doc->Champs.Contains(nom)) continue;
      auto champ = std::make_shared<CChamp>();
      champ->oOwnerMandor(doc);
      Step([&] {
        champ->Nom(nom);
        champ->oRegleH(row);
        champ->oRegleV(column);
        champ->Page = 1;
        doc->Champs.Add(champ, nom);
      });
    }
  }
  if (doc->Champs.Count() > 0) {
    Step([&] {
      const std::shared_ptr<CChamp> first = doc->Champs.Item(1);
      first->SupprimerDuDocument(first->Nom());
    });
  }
}

// Reads a text marking from the bytes, then saves what loaded in both
// layouts and reads each back, so the writer sees whatever the reader let in.
void TextRoundTrip(const uint8_t* data, size_t size, bool extended) {
  auto platform = FreshPlatform();
  ScopedPlatform scope(platform);
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  platform->SetFileBytes(extended ? "lot/doc.xnf" : "lot/doc.cnf", bytes);

  auto doc = std::make_shared<Mandor>();
  doc->Répertoire_Document = "lot/";
  doc->Nom_Document("doc");
  bool loaded = false;
  Step([&] { loaded = extended ? doc->RestaurerMarquageEx() != 0 : doc->RestaurerMarquageStd(); });
  if (!loaded) return;
  ReadProperties(*doc);
  Step([&] { doc->CalculerParamètresCalage(); });
  // A save that reports success is complete: saving the same document again
  // writes the same bytes, and the file reads back.
  bool saved = false;
  Step([&] { saved = doc->SauvegarderMarquageEx(false) == 0 && platform->messages().empty(); });
  if (saved) {
    const std::optional<std::string> first = platform->FileBytes("lot/doc.xnf");
    FUZZ_CHECK(first.has_value());
    Step([&] { doc->SauvegarderMarquageEx(false); });
    FUZZ_CHECK(platform->FileBytes("lot/doc.xnf") == first);
    auto back = std::make_shared<Mandor>();
    back->Répertoire_Document = "lot/";
    back->Nom_Document("doc");
    int16_t restored = 0;
    Step([&] { restored = back->RestaurerMarquageEx(); });
    FUZZ_CHECK(restored != 0);
  }
  bool saved_std = false;
  Step([&] { saved_std = doc->SauvegarderMarquageStd() == -1; });
  if (saved_std) {
    const std::optional<std::string> first = platform->FileBytes("lot/doc.cnf");
    FUZZ_CHECK(first.has_value());
    Step([&] { doc->SauvegarderMarquageStd(); });
    FUZZ_CHECK(platform->FileBytes("lot/doc.cnf") == first);
  }
  // No temporary file is left behind.
  for (const std::string& path : platform->Paths()) FUZZ_CHECK(path.find(".~") == std::string::npos);
  auto again = std::make_shared<Mandor>();
  again->Répertoire_Document = "lot/";
  again->Nom_Document("doc");
  Step([&] { again->RestaurerMarquageEx(); });
  Step([&] { again->RestaurerMarquageStd(); });
}

}  // namespace

void ExtendedReader(const uint8_t* data, size_t size) { TextRoundTrip(data, size, true); }

void StandardReader(const uint8_t* data, size_t size) { TextRoundTrip(data, size, false); }

void CatalogueReader(const uint8_t* data, size_t size) {
  auto platform = FreshPlatform();
  ScopedPlatform scope(platform);
  const std::string path = "lot/catalogue.xml";
  platform->SetFileBytes(path, std::string(reinterpret_cast<const char*>(data), size));

  auto catalogue = std::make_shared<cMarquage>();
  std::shared_ptr<cMarquage> read;
  Step([&] { read = catalogue->XML_ReadCNF(path); });
  if (!read) return;
  std::vector<std::shared_ptr<Mandor>> documents(catalogue->begin(), catalogue->end());
  for (auto& document : documents) {
    ReadProperties(*document);
    Step([&] { document->CalculerParamètresCalage(); });
    // A save that reports success is complete: the same document saved
    // again gives the same bytes, and the catalogue still reads.
    bool saved = false;
    Step([&] { saved = document->SauvegarderMarquageXml(document); });
    if (!saved) continue;
    const std::optional<std::string> first = platform->FileBytes(path);
    Step([&] { saved = document->SauvegarderMarquageXml(document); });
    FUZZ_CHECK(saved && platform->FileBytes(path) == first);
    auto check = std::make_shared<cMarquage>();
    std::shared_ptr<cMarquage> reread;
    Step([&] { reread = check->XML_ReadCNF(path); });
    FUZZ_CHECK(reread != nullptr);
  }
  // The first document again, after a user's edits.
  if (!documents.empty()) {
    EditForSave(documents.front());
    Step([&] { documents.front()->SauvegarderMarquageXml(documents.front()); });
  }
  // A new engagement act, written into the catalogue.
  auto act = std::make_shared<Mandor>();
  FixedImagePdf pdf("AE.pdf", {{1653, 2339, 200, 200}, {2480, 3508, 300, 300}});
  Step([&] { catalogue->XML_AddNewAE(act, pdf); });
  auto again = std::make_shared<cMarquage>();
  Step([&] { again->XML_ReadCNF(path); });
}

void StringRoutines(const uint8_t* data, size_t size) {
  auto platform = FreshPlatform();
  ScopedPlatform scope(platform);
  if (size < 3) return;
  // Two small counts (some negative) and a split point come first; the rest
  // is the text, cut in two at the split point.
  const long n1 = static_cast<long>(data[0]) - 8;
  const long n2 = static_cast<long>(data[1]) - 8;
  const std::string_view rest(reinterpret_cast<const char*>(data + 3), size - 3);
  const size_t cut = rest.empty() ? 0 : data[2] % (rest.size() + 1);
  const std::string_view a = rest.substr(0, cut);
  const std::string_view b = rest.substr(cut);
  const std::string s(rest);

  // Character routines.
  const size_t length = CharLength(s);
  Step([&] { FUZZ_CHECK(CharLength(Left(s, n1)) <= length); });
  Step([&] { FUZZ_CHECK(CharLength(Right(s, n1)) <= length); });
  Step([&] { FUZZ_CHECK(CharLength(Mid(s, n1, n2)) <= length); });
  Step([&] {
    const long at = InStr(s, b.substr(0, 4), n1);
    FUZZ_CHECK(at >= 0 && at <= static_cast<long>(length) + 1);
  });
  ReplaceAll(s, a.substr(0, 3), b.substr(0, 3));
  FUZZ_CHECK(CharLength(UpperCase(s)) == length);
  FUZZ_CHECK(CharLength(LowerCase(s)) == length);
  FUZZ_CHECK(EqualsIgnoreCase(s, s));
  FUZZ_CHECK(CharLength(Trim(s)) <= length);
  LTrim(s);
  RTrim(s);
  StartsWith(s, a);
  EndsWith(s, b);

  // Numbers, in both kinds of locale.
  for (const Locale& locale : {Locale::Comma(), Locale::Point()}) {
    const std::optional<double> value = ParseNumber(s, locale);
    FUZZ_CHECK(value.has_value() == IsNumericText(s, locale));
    Step([&] { ToDouble(s, locale); });
    const double v = value.value_or(static_cast<double>(n1) / 7.0);
    Step([&] { ToInt16(v); });
    Step([&] { ToInt32(v); });
    Step([&] { ToByte(v); });
    Step([&] { ToSingle(v); });
    FormatNumber(v, a.substr(0, 40), locale);
    const std::string text = DoubleToText(v, locale);
    if (std::isfinite(v) && std::fabs(v) < 1e300) FUZZ_CHECK(ParseNumber(text, locale).has_value());
    SingleToText(static_cast<float>(v), locale);
  }
  Step([&] { Val(s); });

  // Record splitting and escaping.
  StringArray parts;
  if (!b.empty()) DécomposerChaîne(a, parts, b.substr(0, 1));
  StringArray slots(static_cast<size_t>(data[0] % 8) + 1);
  if (!b.empty()) Step([&] { SeparateString(a, slots, b.substr(0, 1)); });
  const std::string escaped = ChangeCarSpec(s, 1);
  if (s.find_first_of("#\x7f") == std::string::npos && s.find("\xC3\xBF") == std::string::npos) {
    FUZZ_CHECK(ChangeCarSpec(escaped, 0) == s);
  }
  std::string copy = s;
  if (!b.empty()) EnleveCar(copy, b.substr(0, 1), a.substr(0, 2));
  EnlèveSéparateurs(s);
  NombreVersLocal(s);
  NombreVersFichier(s);
  RemplacerSi(s, a.substr(0, 2), b.substr(0, 2), true);
  FindValue(DecodeTextLines(s), a);

  // The file encoding.
  FUZZ_CHECK(Utf8ToWindows1252(Windows1252ToUtf8(s)) == s);
  EncodeTextLine(s);
}

TargetBody TargetNamed(std::string_view name) {
  if (name == "xnf") return ExtendedReader;
  if (name == "cnf") return StandardReader;
  if (name == "catalogue") return CatalogueReader;
  if (name == "strings") return StringRoutines;
  return nullptr;
}

}  // namespace mandor::fuzz
