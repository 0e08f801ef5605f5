#include "mandor/fields/champ.h"

#include <cmath>
#include <utility>

#include "mandor/model/mandor.h"
#include "mandor/model/page.h"
#include "mandor/model/regle.h"
#include "mandor/util/error.h"
#include "mandor/util/internal/number.h"
#include "mandor/util/internal/text.h"
#include "mandor/util/platform.h"

namespace mandor {

namespace {

// "Object variable not set": a field used without the document, font or
// ruler it needs.
[[noreturn]] void ThrowObjectNotSet(const char* what) {
  ThrowError(kObjectNotSet, std::string("Object variable not set (") + what + ")");
}

// Format of a text value with a number picture: a text the locale reads as a
// number is formatted as that number, any other text comes back as it is.
std::string FormatText(const std::string& text, std::string_view picture, const Locale& locale) {
  std::optional<double> number = ParseNumber(text, locale);
  return number ? FormatNumber(*number, picture, locale) : text;
}

// True when the part of name after its first "_" begins with prefix once
// upper-cased; false for a name without "_".
bool PartAfterUnderscoreStartsWith(const std::string& name, std::string_view prefix) {
  long p = InStr(name, "_");
  if (p == 0) return false;
  return StartsWith(UpperCase(Mid(name, p + 1)), prefix);
}

}  // namespace

CChamp::CChamp() : font_(std::make_shared<CFont>()) {}
CChamp::CChamp(std::shared_ptr<CFont> font) : font_(std::move(font)) {}

// --- private helpers ---

std::shared_ptr<Mandor> CChamp::Document() const {
  std::shared_ptr<Mandor> doc = owner_.lock();
  if (!doc) ThrowObjectNotSet("the field has no document");
  return doc;
}

CFont& CChamp::FontRef() const {
  if (!font_) ThrowObjectNotSet("the field has no font");
  return *font_;
}

std::shared_ptr<CChamp> CChamp::Self() {
  std::shared_ptr<CChamp> self = weak_from_this().lock();
  if (!self) ThrowError(kInvalidArgument, "the field is not held by a std::shared_ptr");
  return self;
}

// --- name and anchoring ---

void CChamp::Nom(const std::string& value) {
  texts_.Set(kNom, value);
  if (const size_t first = value.find('_'); first != std::string::npos) {
    // Split at every "_": the first part names the horizontal ruler, the
    // second the vertical one; further parts are ignored.
    const std::string_view name = value;
    texts_.Set(kNomRegleH, name.substr(0, first));
    const size_t second = name.find('_', first + 1);
    texts_.Set(kNomRegleV, name.substr(first + 1, second == std::string::npos ? std::string::npos : second - first - 1));
  }
  // Both loops compare with the first part and set oRegleV: the readers and
  // the files depend on this anchoring, so it stays as it is. Every match
  // overrides the previous one; Regles_V comes last.
  std::shared_ptr<Mandor> doc = owner_.lock();
  if (!doc) return;
  const std::string_view regle_h = TextView(kNomRegleH);
  for (const auto& regle : doc->Regles_H) {
    if (regle && regle->Nom == regle_h) regle_v_ = regle;
  }
  for (const auto& regle : doc->Regles_V) {
    if (regle && regle->Nom == regle_h) regle_v_ = regle;
  }
}

void CChamp::Accrochage_V(const std::string& value) {
  texts_.Set(kAccrochageV, value);
  std::shared_ptr<Mandor> doc = owner_.lock();
  if (!doc) return;
  // Names that are not keys are the common case: look up without throwing.
  if (const auto* regle = doc->Regles_V.Find(value)) regle_v_ = *regle;
}

void CChamp::HangOn(const std::shared_ptr<CRegle>& regle_v, const std::shared_ptr<CRegle>& regle_h) {
  if (regle_v) texts_.Set(kAccrochageV, regle_v->Nom);
  if (regle_h) texts_.Set(kAccrochageH, regle_h->Nom);
  regle_v_ = regle_v;
  regle_h_ = regle_h;
}

void CChamp::Accrochage_H(const std::string& value) {
  texts_.Set(kAccrochageH, value);
  std::shared_ptr<Mandor> doc = owner_.lock();
  if (!doc) return;
  if (const auto* regle = doc->Regles_H.Find(value)) regle_h_ = *regle;
  // A ruler of the field's page (taken by position, not by key) replaces a
  // document ruler of the same name.
  if (Page < 1 || Page > doc->Pages.Count()) return;
  const std::shared_ptr<CPage>& page = doc->Pages.Item(static_cast<long>(Page));
  if (!page) return;
  if (const auto* regle = page->Regles_H.Find(value)) regle_h_ = *regle;
}

// --- values ---

void CChamp::InitialValue(const std::string& value) {
  if (initial_value_fixed_) return;
  texts_.Set(kInitialValue, value);
  valeur(false, value);
  initial_value_fixed_ = true;
}

std::string CChamp::valeur(bool /*bInitial*/) const { return Text(kValeur); }

void CChamp::valeur(bool bInitial, const std::string& value) {
  if (bInitial) InitialValue(value);
  texts_.Set(kValeur, value);
}

// --- formula settings ---

void CChamp::Formule(const std::string& value) {
  texts_.Set(kFormule, value);
  PropagateIfRecurrent();
}

void CChamp::Accrochage_V_Type(int16_t value) {
  accrochage_v_type_ = value;
  PropagateIfRecurrent();
}

void CChamp::Décimales(int16_t value) {
  décimales_ = value;
  PropagateIfRecurrent();
}

void CChamp::Type_Champ(int16_t value) {
  type_champ_ = value;
  PropagateIfRecurrent();
}

void CChamp::PropagateIfRecurrent() {
  if (bPropage && (Recurrent() || !TextView(kChampRecurrentDeRef).empty())) {
    PropagerParametresFormule();
  }
}

void CChamp::CopierParametresFormule(CChamp& source, CChamp& target) {
  // With bPropage off the target's lets do not propagate again.
  target.bPropage = false;
  target.Formule(source.Formule());
  target.Type_Champ(source.Type_Champ());
  target.Accrochage_V_Type(source.Accrochage_V_Type());
  target.Décimales(source.Décimales());
  target.bPropage = true;
}

void CChamp::PropagerParametresFormule() {
  std::shared_ptr<Mandor> doc = Document();
  std::string reference;
  if (Recurrent()) {
    reference = Nom();
  } else {
    reference = ChampRecurrentDeRef();
    // A master missing from Champs raises the collection's error to the caller.
    std::shared_ptr<CChamp> master = doc->Champs.Item(reference);
    if (master) CopierParametresFormule(*this, *master);
  }
  for (const auto& copy : doc->champsContenantReference) {
    if (copy && copy->ChampRecurrentDeRef() == reference) CopierParametresFormule(*this, *copy);
  }
}

// --- value predicates ---

std::optional<bool> CChamp::IsZero() const {
  std::optional<double> number = ParseNumber(TextView(kValeur), CurrentPlatform().locale());
  if (number && *number == 0) return true;
  return std::nullopt;
}

bool CChamp::DiffWithInitial() const {
  const Locale& locale = CurrentPlatform().locale();
  const std::string separator = Mid(FormatNumber(11.9, "###.#", locale), 3, 1);
  if (Type_Champ() == 2 || Formule().empty() || InitialValue().empty()) return false;

  std::string initial = ReplaceAll(InitialValue(), ".", separator);
  initial = ReplaceAll(initial, ",", separator);
  Document();  // a field without its document is an error, as for any picture
  const std::string picture = FormatNombre(*this);
  const std::string initial_text = FormatText(initial, picture, locale);
  const std::string value_text = FormatText(Text(kValeur), picture, locale);
  return initial_text != value_text;
}

bool CChamp::HasInPU() const { return PartAfterUnderscoreStartsWith(Text(kNom), "PU"); }

bool CChamp::HasInMT() const { return PartAfterUnderscoreStartsWith(Text(kNom), "MT"); }

std::optional<bool> CChamp::IsUnderOne() const {
  const Locale& locale = CurrentPlatform().locale();
  std::optional<double> number = ParseNumber(TextView(kValeur), locale);
  if (!number) return std::nullopt;
  // Both sides go through the locale-independent Val on purpose: in a comma
  // locale "0,5" reads as 0 and is not reported as under one.
  try {
    const double a = Val(DoubleToText(std::fabs(*number), locale));
    const double b = Val(TextView(kValeur));
    return b != 0 && a < 1;
  } catch (const Error&) {
    // Near the largest double its 15-digit text reads back as an overflow:
    // such a value is anything but under one.
    return false;
  }
}

bool CChamp::FormuleHasPourcent() const {
  return TextView(kFormule).find("/100") != std::string_view::npos;
}

bool CChamp::ValueChanged() const {
  if (TextView(kInitialValue).empty()) return false;
  return TextView(kValeur) != TextView(kInitialValue);
}

// --- font delegation ---

bool CChamp::Transparent() const { return FontRef().Transparent(); }
void CChamp::Transparent(bool v) { FontRef().Transparent(v); }
bool CChamp::Bold() const { return FontRef().Bold(); }
void CChamp::Bold(bool v) { FontRef().Bold(v); }
bool CChamp::Italic() const { return FontRef().Italic(); }
void CChamp::Italic(bool v) { FontRef().Italic(v); }
bool CChamp::Underligne() const { return FontRef().Underline(); }
void CChamp::Underligne(bool v) { FontRef().Underline(v); }
bool CChamp::StrikeThrough() const { return FontRef().StrikeThrough(); }
void CChamp::StrikeThrough(bool v) { FontRef().StrikeThrough(v); }
std::string CChamp::FontName() const { return FontRef().Name(); }
void CChamp::FontName(const std::string& v) { FontRef().Name(v); }
int16_t CChamp::FontSize() const { return FontRef().Size(); }
void CChamp::FontSize(int16_t v) { FontRef().Size(v); }
int16_t CChamp::FontSpecial() const { return FontRef().Special(); }
void CChamp::FontSpecial(int16_t v) { FontRef().Special(v); }
int32_t CChamp::BackColor() const { return FontRef().BackColor(); }
void CChamp::BackColor(int32_t v) { FontRef().BackColor(v); }
int32_t CChamp::FontColor() const { return FontRef().Color(); }
void CChamp::FontColor(int32_t v) { FontRef().Color(v); }

uint8_t CChamp::Alignement() const { return FontRef().AlignmentCode(0); }

void CChamp::Alignement(uint8_t v) { FontRef().SetAlignmentCode(v); }

void CChamp::SetFontPropertiesFromFontClass(const std::shared_ptr<CFont>& oFont) {
  if (!oFont) ThrowObjectNotSet("no font given");
  std::shared_ptr<CFont> font = oFont;  // oFont may alias a parent being cleared
  font_ = font;
  font->SetParents(nullptr);  // left so when the field has no document (Error 91)
  const auto [parent1, parent2] = FontParents();
  font->SetParents(parent1, parent2);
}

std::pair<std::shared_ptr<CFont>, std::shared_ptr<CFont>> CChamp::FontParents() const {
  if (regle_h_) {
    return {regle_h_->GetFontClassFromProperties(), regle_v_ ? regle_v_->GetFontClassFromProperties() : nullptr};
  }
  if (regle_v_) return {regle_v_->GetFontClassFromProperties(), nullptr};
  return {Document()->Font(), nullptr};
}

// --- positions in points ---

float CChamp::Position_point_Left() const {
  std::shared_ptr<CPage> page = oOwnerPage.lock();
  return page ? PixelsToPoints(Position_pixel_Left, page->hResolution()) : 0.0f;
}

float CChamp::Position_point_Top() const {
  std::shared_ptr<CPage> page = oOwnerPage.lock();
  return page ? PixelsToPoints(Position_pixel_Top, page->vResolution()) : 0.0f;
}

float CChamp::Position_point_Bottom() const {
  std::shared_ptr<CPage> page = oOwnerPage.lock();
  return page ? PixelsToPoints(Position_pixel_Bottom, page->vResolution()) : 0.0f;
}

float CChamp::Position_point_Right() const {
  std::shared_ptr<CPage> page = oOwnerPage.lock();
  return page ? PixelsToPoints(Position_pixel_Right, page->hResolution()) : 0.0f;
}

// --- internal operations on the document's collections ---

void CChamp::RendreRecurrent() {
  std::shared_ptr<CChamp> self = Self();
  std::shared_ptr<Mandor> doc = Document();
  const std::string key = Text(kNom);
  doc->ChampsRecurrents.Add(self, key);
  if (doc->numero_page > 0 && doc->Pages.Count() > 0) {
    std::shared_ptr<CPage> page = doc->Pages.Item(static_cast<long>(doc->numero_page));
    if (page) page->Champs.Remove(key);
  }
  oOwnerPage.reset();
}

void CChamp::SupprimerDuDocument(const std::string& key) {
  // The collections may hold the last references to this field, and key may
  // be one of its own strings: keep both alive until the end.
  std::shared_ptr<CChamp> keep_alive = weak_from_this().lock();
  const std::string k = key;
  std::shared_ptr<Mandor> doc = owner_.lock();
  if (!doc) return;
  RunIgnoringErrors([&] { doc->champsContenantReference.Remove(k); });
  RunIgnoringErrors([&] { doc->Champs.Remove(k); });
  for (long i = 1; i <= doc->Pages.Count(); ++i) {
    RunIgnoringErrors([&] {
      std::shared_ptr<CPage> page = doc->Pages.Item(i);
      if (page) page->Champs.Remove(k);
    });
  }
}

void CChamp::SupprimerDesRecurrents(const std::string& key) {
  std::shared_ptr<CChamp> keep_alive = weak_from_this().lock();
  const std::string k = key;
  std::shared_ptr<Mandor> doc = owner_.lock();
  if (!doc) return;
  RunIgnoringErrors([&] { doc->ChampsRecurrents.Remove(k); });
  RunIgnoringErrors([&] { doc->Champs.Remove(k); });
}

}  // namespace mandor
