#include "mandor/model/regle.h"

#include "mandor/model/mandor.h"
#include "mandor/model/page.h"
#include "mandor/util/error.h"

namespace mandor {

CRegle::CRegle() : font_(std::make_shared<CFont>()) {}

void CRegle::WidthChamp(float value) {
  largeur_pixel = value;
  largeur_cm = value / 120;
}

float CRegle::Position_point_X() const {
  auto page = Page();
  return page ? PixelsToPoints(Position_pixel_X, page->hResolution()) : 0;
}

float CRegle::Position_point_Y() const {
  // The horizontal resolution, deliberately: Y positions of rulers are
  // converted the way the rest of the system expects them.
  auto page = Page();
  return page ? PixelsToPoints(Position_pixel_Y, page->hResolution()) : 0;
}

std::string CRegle::FontName() const { return font_->Name(); }
void CRegle::FontName(const std::string& value) { font_->Name(value); }
int16_t CRegle::FontSize() const { return font_->Size(); }
void CRegle::FontSize(int16_t value) { font_->Size(value); }
int16_t CRegle::FontSpecial() const { return font_->Special(); }
void CRegle::FontSpecial(int16_t value) { font_->Special(value); }
bool CRegle::Bold() const { return font_->Bold(); }
void CRegle::Bold(bool value) { font_->Bold(value); }
bool CRegle::Italic() const { return font_->Italic(); }
void CRegle::Italic(bool value) { font_->Italic(value); }
bool CRegle::Underligne() const { return font_->Underline(); }
void CRegle::Underligne(bool value) { font_->Underline(value); }
bool CRegle::StrikeThrough() const { return font_->StrikeThrough(); }
void CRegle::StrikeThrough(bool value) { font_->StrikeThrough(value); }
int32_t CRegle::BackColor() const { return font_->BackColor(); }
void CRegle::BackColor(int32_t value) { font_->BackColor(value); }
int32_t CRegle::FontColor() const { return font_->Color(); }
void CRegle::FontColor(int32_t value) { font_->Color(value); }
bool CRegle::Transparent() const { return font_->Transparent(); }
void CRegle::Transparent(bool value) { font_->Transparent(value); }

uint8_t CRegle::Alignement() const {
  // A ruler whose own font leaves the alignment unset reads as 3 ("other"),
  // unlike a field, which reads the inherited value.
  return font_->HasAlignment() ? font_->AlignmentCode(3) : 3;
}

void CRegle::Alignement(uint8_t value) { font_->SetAlignmentCode(value); }

void CRegle::SetPropertiesFromFontClass(const std::shared_ptr<CFont>& oFont) {
  // Every font getter of the ruler reads through its font: it is never null.
  if (!oFont) ThrowError(kObjectNotSet);
  font_ = oFont;
  auto owner = oOwnerMandor();
  font_->SetParents(owner ? owner->Font() : nullptr, font_->ParentFont2);
}

void CRegle::oOwnerMandor(const std::shared_ptr<Mandor>& owner) {
  owner_ = owner;
  font_->SetParents(owner ? owner->Font() : nullptr, font_->ParentFont2);
}

}  // namespace mandor
