// Mandor is the root of one marked document: a scanned or PDF business
// document (price schedule, detail estimate, engagement act) with everything
// placed on it. It owns the pages, fields, rulers and source documents, the
// calibration values and the presentation settings, knows its file name and
// folder, and inherits its default font and currency table from the
// catalogue (cMarquage) it belongs to.
//
// The same class carries the string routines of the marking format as
// public methods; they forward to mandor/util/fct_util.h.
//
// Threading: single-threaded, as the whole model is: a document and
// everything it owns are used by one thread at a time (the host's); nothing
// here locks, and nothing is shared between threads but what the platform
// holds.
#ifndef MANDOR_MODEL_MANDOR_H_
#define MANDOR_MODEL_MANDOR_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mandor/fields/font.h"
#include "mandor/model/doc.h"
#include "mandor/model/page.h"
#include "mandor/model/regle.h"
#include "mandor/util/collection.h"
#include "mandor/util/fct_util.h"
#include "mandor/util/platform.h"

namespace mandor {

class CChamp;
class cMarquage;

class Mandor : public std::enable_shared_from_this<Mandor> {
 public:
  Mandor();
  ~Mandor();

  // --- public data, in interface order ---
  std::string Id;
  std::weak_ptr<cMarquage> m_oOwnerMarquage;
  int16_t Orientation = 0;
  float HauteurChamp = 0;
  int16_t Type_calage = 0;
  int16_t image_pixels_largeur = 0;
  int16_t image_pixels_hauteur = 0;
  float feuille_cm_largeur = 0;
  float feuille_cm_hauteur = 0;
  float X1_cm = 0;
  float Y1_cm = 0;
  float X1_pixel = 0;
  float Y1_pixel = 0;
  float X2_cm = 0;
  float Y2_cm = 0;
  float X2_pixel = 0;
  float Y2_pixel = 0;
  float résolution_papier_largeur = 0;
  float résolution_papier_hauteur = 0;
  float image_OrigineX_cm = 0;
  float image_OrigineY_cm = 0;
  float imprimante_OrigineX_cm = 0;
  float imprimante_OrigineY_cm = 0;
  std::string Répertoire_Document;  // ends with its path separator
  std::string Type_Document;
  float champ_largeur_cm = 0;
  int16_t numero_page = 0;
  int16_t Decimales = 0;
  float TVA = 0;
  Collection<Doc> Docs;
  Collection<CPage> Pages;  // keyed "page_<n>"
  Collection<CChamp> Champs;
  Collection<CChamp> ChampsCachés;
  Collection<CChamp> ChampsFormules;
  Collection<CChamp> ChampsRecurrents;
  Collection<CChamp> champsContenantReference;
  Collection<CChamp> champsDataContrat;
  bool bFondGrise = false;
  std::string FichierMDN;
  std::string SepDecExt;
  bool Donnees_a_Sauvegarder = false;
  bool Marquage_a_Sauvegarder = false;
  int16_t Police_pixels_écran = 0;
  int16_t Police_texte_pixels_écran = 0;
  int16_t champ_largeur_pixels = 0;
  Collection<CRegle> Regles_V;
  Collection<CRegle> Regles_H;

  // --- constants ---
  std::string DOCUMENT_DETAIL() const { return "Détail"; }
  std::string DOCUMENT_PRIX() const { return "Prix"; }
  std::string DOCUMENT_AE() const { return "AE"; }

  // --- names ---
  std::string Nom_Document() const { return nom_document_; }
  // Stores the name, derives the short name (all but the last 3 characters:
  // "DEVIS.BPX" gives "DEVIS.") and the type from the ending (det, bpx, ae).
  // Error 5 for a name shorter than 3 characters.
  void Nom_Document(const std::string& value);
  std::string ShortName() const { return short_name_; }
  std::string FichierPdfImage() const;

  // --- fonts ---
  std::string FonteName() const;
  void FonteName(const std::string& value);
  std::string FonteName_nombre() const;  // the same attribute as FonteName
  void FonteName_nombre(const std::string& value);
  int16_t FonteSize() const;
  void FonteSize(int16_t value);
  int16_t FonteSize_nombre() const;  // the same attribute as FonteSize
  void FonteSize_nombre(int16_t value);
  // The document font, created on first use.
  std::shared_ptr<CFont> Font() const;
  // Stores font (a new one for nullptr) and makes it inherit from the catalogue's font.
  void Font(std::shared_ptr<CFont> font);

  // --- currency ---
  std::string Devise() const { return devise_; }
  void Devise(const std::string& value) { devise_ = value; }
  int16_t iDevise() const { return i_devise_; }
  // Stores the index and resolves Devise from the catalogue's table, ignoring errors.
  void iDevise(int16_t value);

  // --- catalogue ---
  std::shared_ptr<cMarquage> oOwnerMarquage() const { return m_oOwnerMarquage.lock(); }
  void oOwnerMarquage(const std::shared_ptr<cMarquage>& owner);

  // --- look-ups (null when missing, never an error) ---
  std::shared_ptr<CRegle> RegleV(std::string_view sNom) const;
  std::shared_ptr<CRegle> RegleH(std::string_view sNom) const;
  std::shared_ptr<CPage> PageCourante() const;

  // --- lifecycle ---
  // Empties the marking: new Pages, Regles_V, Champs, ChampsCachés,
  // ChampsFormules, champsContenantReference, ChampsRecurrents and Docs, sheet
  // size and origins 0, a new font. Regles_H and champsDataContrat are kept.
  void MarquageRAZ();

  // --- text markings (".xnf" extended layout, ".cnf" standard layout) ---
  // Restores from Répertoire_Document + Nom_Document + ".xnf" when it
  // exists, else from ".cnf"; false when neither exists.
  bool RestaurerMarquage();
  int16_t RestaurerMarquageEx();  // -1 success, 0 failure
  bool RestaurerMarquageStd();
  void ExtractCalage(StringArray& cLignes);
  void ExtractPresentation(StringArray& cLignes);
  void ExtractConstante(StringArray& cLignes);
  void ExtractSource(StringArray& cLignes);
  void ExtractChampsRecurrents(StringArray& cLignes);
  void ExtractRegles_V(StringArray& cLignes);
  bool ExtractPages(StringArray& cLignes, TextFile& fich);
  void ExtractPage(StringArray& cLignes, int16_t& iPage);
  int16_t SauvegarderMarquageEx(bool Confirmation);
  int16_t SauvegarderMarquageEx(bool Confirmation, bool& WithQte);
  int16_t SauvegarderMarquageStd();
  // Creates or truncates cFileName for output; nullptr on any failure.
  std::unique_ptr<TextFile> OpenFileWrite(const std::string& cFileName);
  bool WriteCalage(TextFile& fich);
  bool WritePresentation(TextFile& fich);
  bool WriteConstante(TextFile& fich);
  bool WriteSource(TextFile& fich);
  bool WriteChampsRecurrents(TextFile& fich);
  bool WriteRegle_V(TextFile& fich);
  bool WritePage(TextFile& fich, bool WithQte = false);

  // --- calibration ---
  // Derives the paper resolutions, image origin, field width in pixels and
  // screen font sizes from the calibration inputs; false when it failed.
  bool CalculerParamètresCalage();

  // --- XML catalogue ---
  // Writes oMandor back into its catalogue workbook (the catalogue's
  // FullPath); true when the file was saved.
  bool SauvegarderMarquageXml(std::shared_ptr<Mandor>& oMandor);

 private:
  // The steps of SauvegarderMarquageXml, run in this order on the loaded
  // workbook (xml_writer.cpp). Nodes are pugi::xml_node; oXml is the
  // workbook's document node.
  pugi::xml_node EcrireImageXml(const pugi::xml_node& oXml, const std::shared_ptr<Mandor>& oMandor);
  void EcrireColonnesXml(const pugi::xml_node& oImage, const std::shared_ptr<Mandor>& oMandor);
  void EcrireLignesXml(const pugi::xml_node& oTable, const std::shared_ptr<Mandor>& oMandor);
  void EffacerCellulesPagesXml(const pugi::xml_node& oImage, const std::shared_ptr<Mandor>& oMandor);
  void EcrireCellulesXml(const pugi::xml_node& oXml, const std::shared_ptr<Mandor>& oMandor);
  void EcrireChampsRecurrentsXml(const pugi::xml_node& oImage, const std::shared_ptr<Mandor>& oMandor);
  void EcrireDataContratXml(const pugi::xml_node& oDataContrat, const std::shared_ptr<Mandor>& oMandor);

 public:

  // --- string and number routines of the marking format ---
  void DécomposerChaîne(std::string_view chaîne, StringArray& Paramètres, std::string_view Séparateur) const;
  bool SeparateString(std::string_view cString, StringArray& Parametres, std::string_view cSep) const;
  std::string ChangeCarSpec(std::string_view sValue, int16_t iType = 0) const;
  std::string ChangeCrLF(std::string_view sValue, int16_t iType = 0) const;
  std::string ChangeEgal(std::string_view sValue, int16_t iType = 0) const;
  std::string ChangeSepMarquage(std::string_view sValue, int16_t iType = 0) const;
  std::string EnlèveSéparateurs(std::string_view Nombre) const;
  std::string EnleveCar(std::string& Nombre, std::string_view Car, std::string_view CarReplace = {}) const;
  // Display picture of a number field: "#,##0" or "#,##0." and |Décimales| zeros.
  std::string FormatNombre(const std::shared_ptr<CChamp>& Champ) const;
  // Output picture: "###########0." and |Décimales| zeros.
  std::string FormatNombreSortie(const std::shared_ptr<CChamp>& Champ) const;
  StringArray ReadSection(TextFile& fich, std::string_view cSection) const;
  std::string FindValue(const StringArray& cLignes, std::string_view cValue) const;
  // Inserts pChamp into colChamps in reading order (bottom, then right edge,
  // ascending; ties after the existing ones) under the key pChamp->Nom().
  void InsérerChamp(Collection<CChamp>& colChamps, const std::shared_ptr<CChamp>& pChamp) const;
  // Closes fich (when given), shows cMsg under "Erreur Fichier", then clears
  // Nom_Document, which raises Error 5 to the caller.
  bool CloseFileError(TextFile* fich, const std::string& cMsg);

 protected:
  // Reads the next line of fich as "key = value" and returns the value,
  // telling the user and returning "" when the line is malformed or holds
  // another key.
  std::string LireValeurParamètre(TextFile& fich, const std::string& key) const;

 private:
  std::string nom_document_;
  std::string short_name_;
  std::string devise_;
  int16_t i_devise_ = 0;
  mutable std::shared_ptr<CFont> font_;
};

// The number pictures of a field, for the model's own callers that hold the
// field by reference (Mandor::FormatNombre and FormatNombreSortie check for a
// null field and forward here).
std::string FormatNombre(const CChamp& Champ);
std::string FormatNombreSortie(const CChamp& Champ);

}  // namespace mandor

#endif  // MANDOR_MODEL_MANDOR_H_
