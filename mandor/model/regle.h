// CRegle is a ruler: a named guide line. Vertical rulers (the columns of a
// price schedule) belong to the document, horizontal rulers (its rows) to a
// page. Fields are anchored to one ruler of each kind. A ruler has a font of
// its own that inherits from its document's font.
//
// Threading: single-threaded, as the whole model is: a ruler is used by one
// thread at a time (the host's); nothing here locks, and nothing is shared
// between threads but what the platform holds.
#ifndef MANDOR_MODEL_REGLE_H_
#define MANDOR_MODEL_REGLE_H_

#include <cstdint>
#include <memory>
#include <string>

#include "mandor/fields/font.h"

namespace mandor {

class CPage;
class Mandor;

class CRegle {
 public:
  CRegle();

  std::string Id;
  std::string Nom;
  float Position_cm_X = 0;
  float Position_cm_Y = 0;
  float Position_pixel_X = 0;
  float Position_pixel_Y = 0;
  int16_t Décimales = 0;
  float largeur_cm = 0;
  float largeur_pixel = 0;
  float hauteur_pixel = 0;
  int16_t Imprimable = 0;
  std::shared_ptr<void> Controle;
  std::shared_ptr<void> Etiquette;
  int16_t Déplacement = 0;
  int16_t Numéro = 0;
  std::string TypeLigne;
  int16_t Level = 0;
  std::string Operande1;
  std::string Operande2;
  std::string Operateur;
  bool bNew = false;
  int16_t iClass = 2;

  std::shared_ptr<CPage> Page() const { return page_.lock(); }
  void Page(const std::shared_ptr<CPage>& page) { page_ = page; }

  float WidthChamp() const { return largeur_pixel; }
  void WidthChamp(float value);  // also largeur_cm := value / 120

  // Both divide by the page's horizontal resolution (Y included, so that Y
  // positions agree with the rest of the system); 0 without a page.
  float Position_point_X() const;
  float Position_point_Y() const;

  std::string FontName() const;
  void FontName(const std::string& value);
  int16_t FontSize() const;
  void FontSize(int16_t value);
  int16_t FontSpecial() const;
  void FontSpecial(int16_t value);
  bool Bold() const;
  void Bold(bool value);
  bool Italic() const;
  void Italic(bool value);
  bool Underligne() const;
  void Underligne(bool value);
  bool StrikeThrough() const;
  void StrikeThrough(bool value);
  int32_t BackColor() const;
  void BackColor(int32_t value);
  int32_t FontColor() const;
  void FontColor(int32_t value);
  bool Transparent() const;
  void Transparent(bool value);
  // 0 left, 1 right, 2 centre, 3 anything else (an alignment the ruler
  // does not set itself included); let ignores other codes.
  uint8_t Alignement() const;
  void Alignement(uint8_t value);

  bool isNewVersion() const { return new_version_; }
  void ToggleVersion(bool& bNew) { new_version_ = bNew; }

  // Adopts oFont itself and makes it inherit from the document's font.
  void SetPropertiesFromFontClass(const std::shared_ptr<CFont>& oFont);
  // The ruler's font object itself, not a copy.
  std::shared_ptr<CFont> GetFontClassFromProperties() const { return font_; }

  std::shared_ptr<Mandor> oOwnerMandor() const { return owner_.lock(); }
  // Stores the document and makes the ruler's font inherit from its font.
  void oOwnerMandor(const std::shared_ptr<Mandor>& owner);

  std::shared_ptr<CFont> Font() const { return font_; }
  void Font(const std::shared_ptr<CFont>& font) { SetPropertiesFromFontClass(font); }

 private:
  std::weak_ptr<Mandor> owner_;
  std::weak_ptr<CPage> page_;
  std::shared_ptr<CFont> font_;
  bool new_version_ = false;
};

}  // namespace mandor

#endif  // MANDOR_MODEL_REGLE_H_
