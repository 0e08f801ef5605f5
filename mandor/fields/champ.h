// CChamp is one field of a marking: a rectangle on a page of the scanned
// document with a name, a value (and the value it had first), a formula, a
// number format, printing flags, font attributes, and its anchoring to one
// horizontal and one vertical ruler. The name carries the names of the two
// rulers ("H_V"). A recurrent field repeats on several pages: one master in
// the document's Champs and copies naming it in ChampRecurrentDeRef; the
// formula settings of any copy travel to the master and every other copy.
//
// Threading: single-threaded, as the whole model is: a field is used by one
// thread at a time (the host's); nothing here locks, and nothing is shared
// between threads but what the platform holds.
#ifndef MANDOR_FIELDS_CHAMP_H_
#define MANDOR_FIELDS_CHAMP_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "mandor/fields/font.h"
#include "mandor/util/internal/packed_texts.h"

namespace pugi {
class xml_node;
}

namespace mandor {

class CPage;
class CRegle;
class Mandor;

class CChamp : public std::enable_shared_from_this<CChamp> {
 public:
  CChamp();
  // A field with the given font; a reader that reads the font afterwards
  // passes nullptr and sets it before the field is seen.
  explicit CChamp(std::shared_ptr<CFont> font);

  // --- public data, in interface order ---
  std::weak_ptr<CPage> oOwnerPage;
  float Position_cm_Left = 0;
  float Position_cm_Top = 0;
  float Position_cm_Bottom = 0;
  float Position_cm_Right = 0;
  float Position_pixel_Left = 0;
  float Position_pixel_Top = 0;
  float Position_pixel_Bottom = 0;
  float Position_pixel_Right = 0;
  bool bPropage = true;
  int16_t Accrochage_H_Type = 0;
  std::string Id;
  std::string OldFormule;
  bool NonImprime0 = false;
  std::shared_ptr<void> Controle;
  std::string ValeurNonImp;
  int16_t Déplacement = 0;
  int16_t Numéro = 0;
  int16_t DonnéesImportées = 0;
  int16_t NumChamp = 0;
  bool HasTranslatted = false;
  bool NoData = true;
  int16_t iClass = 1;
  bool bCalculed = false;
  bool ReNamed = false;
  int16_t Page = 0;
  std::string SubName;

  // --- plain properties ---
  bool IsDataContrat() const { return is_data_contrat_; }
  void IsDataContrat(bool v) { is_data_contrat_ = v; }
  std::string ToReport() const { return Text(kToReport); }
  void ToReport(const std::string& v) { texts_.Set(kToReport, v); }
  std::string Groupe() const { return Text(kGroupe); }
  void Groupe(const std::string& v) { texts_.Set(kGroupe, v); }
  bool IsOptional() const { return is_optional_; }
  void IsOptional(bool v) { is_optional_ = v; }
  std::string Label() const { return Text(kLabel); }
  void Label(const std::string& v) { texts_.Set(kLabel, v); }
  int16_t Imprimable() const { return imprimable_; }
  void Imprimable(int16_t v) { imprimable_ = v; }
  bool Recurrent() const { return recurrent_; }
  void Recurrent(bool v) { recurrent_ = v; }
  std::string ChampRecurrentDeRef() const { return Text(kChampRecurrentDeRef); }
  void ChampRecurrentDeRef(const std::string& v) { texts_.Set(kChampRecurrentDeRef, v); }
  std::string NomRegleH() const { return Text(kNomRegleH); }
  std::string NomRegleV() const { return Text(kNomRegleV); }

  std::shared_ptr<CRegle> oRegleH() const { return regle_h_; }
  void oRegleH(const std::shared_ptr<CRegle>& r) { regle_h_ = r; }
  std::shared_ptr<CRegle> oRegleV() const { return regle_v_; }
  void oRegleV(const std::shared_ptr<CRegle>& r) { regle_v_ = r; }
  // Hangs the field on the given rulers: each that is not null gives its
  // Nom to Accrochage_V or Accrochage_H. Both rulers are set as given, with
  // none of the look-ups by key the name setters make.
  void HangOn(const std::shared_ptr<CRegle>& regle_v, const std::shared_ptr<CRegle>& regle_h);
  std::shared_ptr<Mandor> oOwnerMandor() const { return owner_.lock(); }
  void oOwnerMandor(const std::shared_ptr<Mandor>& m) { owner_ = m; }
  std::shared_ptr<CFont> Font() const { return font_; }
  void Font(const std::shared_ptr<CFont>& f) { font_ = f; }
  std::shared_ptr<CFont> GetFontClassFromFontProperties() const { return font_; }
  bool isNewVersion() const { return new_version_; }
  void ToggleVersion(bool& bNew) { new_version_ = bNew; }

  // --- name and anchoring ---
  std::string Nom() const { return Text(kNom); }
  // Stores the name, splits "H_V" into NomRegleH / NomRegleV, then (on
  // purpose) looks the first part up in Regles_H and Regles_V and assigns
  // the last match to oRegleV. Look-up failures are ignored.
  void Nom(const std::string& value);
  std::string Accrochage_V() const { return Text(kAccrochageV); }
  void Accrochage_V(const std::string& value);
  std::string Accrochage_H() const { return Text(kAccrochageH); }
  void Accrochage_H(const std::string& value);

  // --- values ---
  std::string InitialValue() const { return Text(kInitialValue); }
  // The first assignment fixes the initial and the current value; later ones are ignored.
  void InitialValue(const std::string& value);
  std::string valeur(bool bInitial = false) const;
  void valeur(bool bInitial, const std::string& value);
  void valeur(const std::string& value) { valeur(false, value); }
  void valeur(const char* value) { valeur(false, std::string(value)); }

  // --- formula settings, propagated between recurrent copies ---
  std::string Formule() const { return Text(kFormule); }
  void Formule(const std::string& value);
  int16_t Accrochage_V_Type() const { return accrochage_v_type_; }
  void Accrochage_V_Type(int16_t value);
  int16_t Décimales() const { return décimales_; }
  void Décimales(int16_t value);
  int16_t Type_Champ() const { return type_champ_; }
  void Type_Champ(int16_t value);

  // --- value predicates ---
  std::optional<bool> IsZero() const;      // true, or empty
  bool DiffWithInitial() const;
  bool HasInPU() const;
  bool HasInMT() const;
  std::optional<bool> IsUnderOne() const;  // empty when the value is not numeric
  bool FormuleHasPourcent() const;
  bool ValueChanged() const;

  // --- font delegation ---
  bool Transparent() const;
  void Transparent(bool v);
  bool Bold() const;
  void Bold(bool v);
  bool Italic() const;
  void Italic(bool v);
  bool Underligne() const;
  void Underligne(bool v);
  bool StrikeThrough() const;
  void StrikeThrough(bool v);
  uint8_t Alignement() const;  // 0 left, 1 right, 2 centre; 0 for anything else
  void Alignement(uint8_t v);  // other codes change nothing
  std::string FontName() const;
  void FontName(const std::string& v);
  int16_t FontSize() const;
  void FontSize(int16_t v);
  int16_t FontSpecial() const;
  void FontSpecial(int16_t v);
  int32_t BackColor() const;
  void BackColor(int32_t v);
  int32_t FontColor() const;
  void FontColor(int32_t v);
  // Adopts oFont itself and makes it inherit from oRegleH then oRegleV, or
  // from the document's font when the field has no ruler.
  void SetFontPropertiesFromFontClass(const std::shared_ptr<CFont>& oFont);
  // The fonts this field's font inherits from, first parent first: the
  // horizontal ruler's then the vertical ruler's; the vertical ruler's
  // alone; else the document's (Error 91 without a document). Readers that
  // build a font before attaching it ask for its parents here.
  std::pair<std::shared_ptr<CFont>, std::shared_ptr<CFont>> FontParents() const;

  // --- positions in points (0 without a page; Error 11 for a zero resolution) ---
  float Position_point_Left() const;
  float Position_point_Top() const;
  float Position_point_Bottom() const;
  float Position_point_Right() const;

  // --- XML catalogue ---
  void MajXmlNodeFromChampProperties(pugi::xml_node& node);
  void MajXmlNodeDataContratFromChampProperties(pugi::xml_node& node);

  // --- internal operations on the document's collections ---
  // Registers this field as a recurrent master and takes it off the current page.
  void RendreRecurrent();
  // Removes key from champsContenantReference, Champs and every page's Champs.
  void SupprimerDuDocument(const std::string& key);
  // Removes key from ChampsRecurrents and Champs.
  void SupprimerDesRecurrents(const std::string& key);

 private:
  static void CopierParametresFormule(CChamp& source, CChamp& target);
  void PropagerParametresFormule();
  void PropagateIfRecurrent();
  // The owning document; Error 91 when the field has none.
  std::shared_ptr<Mandor> Document() const;
  // The field's font; Error 91 after Font(nullptr).
  CFont& FontRef() const;
  // This field as a shared pointer; Error 5 when it is not held by one.
  std::shared_ptr<CChamp> Self();

  // The texts behind the field's properties, packed in one block: most
  // fields have a few short texts, which twelve std::strings would hold in
  // 384 bytes, and a large marking holds hundreds of thousands of fields.
  // (The public text members are the model's own std::string variables.)
  enum TextIndex : size_t {
    kNom,
    kNomRegleH,
    kNomRegleV,
    kAccrochageV,
    kAccrochageH,
    kInitialValue,
    kValeur,
    kFormule,
    kLabel,
    kToReport,
    kGroupe,
    kChampRecurrentDeRef,
    kTextCount
  };
  std::string_view TextView(TextIndex i) const { return texts_.Get(i); }
  std::string Text(TextIndex i) const { return std::string(texts_.Get(i)); }
  PackedTexts<kTextCount> texts_;
  std::weak_ptr<Mandor> owner_;
  std::shared_ptr<CFont> font_;
  std::shared_ptr<CRegle> regle_h_;
  std::shared_ptr<CRegle> regle_v_;
  // The small members last, together, so that they share one padded word.
  int16_t accrochage_v_type_ = 0;
  int16_t type_champ_ = 0;
  int16_t décimales_ = 0;
  int16_t imprimable_ = 0;
  bool initial_value_fixed_ = false;
  bool is_data_contrat_ = false;
  bool is_optional_ = false;
  bool new_version_ = false;
  bool recurrent_ = false;
};

}  // namespace mandor

#endif  // MANDOR_FIELDS_CHAMP_H_
