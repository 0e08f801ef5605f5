#include "cli/json_dump.h"

#include "cli/values_json.h"

#include <charconv>
#include <cmath>
#include <exception>
#include <system_error>
#include <type_traits>

#include "cli/output.h"

namespace mandor_cli {

using mandor::CChamp;
using mandor::CFont;
using mandor::Collection;
using mandor::CPage;
using mandor::CRegle;
using mandor::Mandor;

namespace {

// The value of a property, or null when its getter throws (a field whose
// font was taken away, say): a dump shows what there is.
template <class Getter>
Json Safe(Getter getter) {
  try {
    return Json(getter());
  } catch (const std::exception&) {
    return Json(nullptr);
  }
}

// The key of item i of a keyed collection, null when it has none.
template <class T>
Json KeyJson(const Collection<T>& collection, long i) {
  const std::string& key = collection.Key(i);
  return key.empty() ? Json(nullptr) : Json(key);
}

// Item i of a keyed collection: an object with its "key" first, then what
// fill(json, item) puts in it.
template <class T, class Fill>
Json ItemJson(const Collection<T>& collection, long i, Fill fill) {
  Json item = Json::object();
  item["key"] = KeyJson(collection, i);
  const std::shared_ptr<T>& member = collection.Item(i);
  if (member) fill(item, *member);
  return item;
}

// Every item of a keyed collection, in order.
template <class T, class Fill>
Json CollectionJson(const Collection<T>& collection, Fill fill) {
  Json items = Json::array();
  for (long i = 1; i <= collection.Count(); ++i) items.push_back(ItemJson(collection, i, fill));
  return items;
}

// The font properties shared by rulers and fields.
template <class T>
void AddFontProperties(Json& json, const T& owner) {
  json["FontName"] = Safe([&] { return owner.FontName(); });
  json["FontSize"] = Safe([&] { return owner.FontSize(); });
  json["FontSpecial"] = Safe([&] { return owner.FontSpecial(); });
  json["Bold"] = Safe([&] { return owner.Bold(); });
  json["Italic"] = Safe([&] { return owner.Italic(); });
  json["Underligne"] = Safe([&] { return owner.Underligne(); });
  json["StrikeThrough"] = Safe([&] { return owner.StrikeThrough(); });
  json["BackColor"] = Safe([&] { return owner.BackColor(); });
  json["FontColor"] = Safe([&] { return owner.FontColor(); });
  json["Transparent"] = Safe([&] { return owner.Transparent(); });
  json["Alignement"] = Safe([&] { return static_cast<int>(owner.Alignement()); });
}

Json NameOf(const std::shared_ptr<CRegle>& ruler) { return ruler ? Json(ruler->Nom) : Json(nullptr); }

void FillDoc(Json& json, const mandor::Doc& doc) {
  json["Fichier"] = doc.Fichier;
  json["Séparateur"] = doc.Séparateur;
}

}  // namespace

Json FloatJson(float value) {
  if (!std::isfinite(value)) return Json(nullptr);
  // The shortest decimal text of the float, read back as a double: its own
  // shortest text (what the JSON writer prints) is that same text.
  char text[64];
  const std::to_chars_result written = std::to_chars(text, text + sizeof text, value);
  double as_double = static_cast<double>(value);
  if (written.ec == std::errc()) std::from_chars(text, written.ptr, as_double);
  if (as_double == std::floor(as_double) && std::fabs(as_double) < 9.0e15) {
    return Json(static_cast<int64_t>(as_double));  // whole numbers without ".0"
  }
  return Json(as_double);
}

Json FontJson(const std::shared_ptr<CFont>& font) {
  if (!font) return Json(nullptr);
  const CFont& f = *font;
  Json json = Json::object();
  json["Name"] = Safe([&] { return f.Name(); });
  json["Size"] = Safe([&] { return f.Size(); });
  json["Color"] = Safe([&] { return f.Color(); });
  json["BackColor"] = Safe([&] { return f.BackColor(); });
  json["Transparent"] = Safe([&] { return f.Transparent(); });
  json["Bold"] = Safe([&] { return f.Bold(); });
  json["Italic"] = Safe([&] { return f.Italic(); });
  json["Underline"] = Safe([&] { return f.Underline(); });
  json["StrikeThrough"] = Safe([&] { return f.StrikeThrough(); });
  json["Alignment"] = Safe([&] { return f.Alignment(); });
  Json has = Json::array();
  if (f.HasName()) has.push_back("Name");
  if (f.HasSize()) has.push_back("Size");
  if (f.HasColor()) has.push_back("Color");
  if (f.HasBackColor()) has.push_back("BackColor");
  if (f.HasTransparent()) has.push_back("Transparent");
  if (f.HasBold()) has.push_back("Bold");
  if (f.HasItalic()) has.push_back("Italic");
  if (f.HasUnderline()) has.push_back("Underline");
  if (f.HasStrikeThrough()) has.push_back("StrikeThrough");
  if (f.HasAlignment()) has.push_back("Alignment");
  json["Has"] = std::move(has);
  return json;
}

namespace {

void FillRuler(Json& json, const CRegle& r) {
  json["Id"] = r.Id;
  json["Nom"] = r.Nom;
  json["Position_cm_X"] = FloatJson(r.Position_cm_X);
  json["Position_cm_Y"] = FloatJson(r.Position_cm_Y);
  json["Position_pixel_X"] = FloatJson(r.Position_pixel_X);
  json["Position_pixel_Y"] = FloatJson(r.Position_pixel_Y);
  json["Décimales"] = r.Décimales;
  json["largeur_cm"] = FloatJson(r.largeur_cm);
  json["largeur_pixel"] = FloatJson(r.largeur_pixel);
  json["hauteur_pixel"] = FloatJson(r.hauteur_pixel);
  json["Imprimable"] = r.Imprimable;
  json["Déplacement"] = r.Déplacement;
  json["Numéro"] = r.Numéro;
  json["TypeLigne"] = r.TypeLigne;
  json["Level"] = r.Level;
  json["Operande1"] = r.Operande1;
  json["Operande2"] = r.Operande2;
  json["Operateur"] = r.Operateur;
  json["bNew"] = r.bNew;
  json["iClass"] = r.iClass;
  AddFontProperties(json, r);
  const std::shared_ptr<CPage> page = r.Page();
  json["Page"] = page ? Json(page->Id) : Json(nullptr);
}

void FillField(Json& json, const CChamp& c) {
  json["Position_cm_Left"] = FloatJson(c.Position_cm_Left);
  json["Position_cm_Top"] = FloatJson(c.Position_cm_Top);
  json["Position_cm_Bottom"] = FloatJson(c.Position_cm_Bottom);
  json["Position_cm_Right"] = FloatJson(c.Position_cm_Right);
  json["Position_pixel_Left"] = FloatJson(c.Position_pixel_Left);
  json["Position_pixel_Top"] = FloatJson(c.Position_pixel_Top);
  json["Position_pixel_Bottom"] = FloatJson(c.Position_pixel_Bottom);
  json["Position_pixel_Right"] = FloatJson(c.Position_pixel_Right);
  json["bPropage"] = c.bPropage;
  json["Accrochage_H_Type"] = c.Accrochage_H_Type;
  json["Id"] = c.Id;
  json["OldFormule"] = c.OldFormule;
  json["NonImprime0"] = c.NonImprime0;
  json["ValeurNonImp"] = c.ValeurNonImp;
  json["Déplacement"] = c.Déplacement;
  json["Numéro"] = c.Numéro;
  json["DonnéesImportées"] = c.DonnéesImportées;
  json["NumChamp"] = c.NumChamp;
  json["HasTranslatted"] = c.HasTranslatted;
  json["NoData"] = c.NoData;
  json["iClass"] = c.iClass;
  json["bCalculed"] = c.bCalculed;
  json["ReNamed"] = c.ReNamed;
  json["Page"] = c.Page;
  json["SubName"] = c.SubName;
  json["Nom"] = c.Nom();
  json["NomRegleH"] = c.NomRegleH();
  json["NomRegleV"] = c.NomRegleV();
  json["InitialValue"] = c.InitialValue();
  json["valeur"] = Safe([&] { return c.valeur(); });
  json["Formule"] = c.Formule();
  json["Type_Champ"] = c.Type_Champ();
  json["Décimales"] = c.Décimales();
  json["Imprimable"] = c.Imprimable();
  json["Recurrent"] = c.Recurrent();
  json["ChampRecurrentDeRef"] = c.ChampRecurrentDeRef();
  json["Accrochage_V"] = c.Accrochage_V();
  json["Accrochage_H"] = c.Accrochage_H();
  json["Accrochage_V_Type"] = c.Accrochage_V_Type();
  json["IsDataContrat"] = c.IsDataContrat();
  json["Label"] = c.Label();
  json["IsOptional"] = c.IsOptional();
  json["Groupe"] = c.Groupe();
  json["ToReport"] = c.ToReport();
  AddFontProperties(json, c);
  json["oRegleH"] = NameOf(c.oRegleH());
  json["oRegleV"] = NameOf(c.oRegleV());
}

// A page's own members; its collections Regles_H and Champs follow them.
void FillPageHeader(Json& json, const CPage& p) {
  json["Id"] = p.Id;
  json["Width"] = FloatJson(p.Width);
  json["Height"] = FloatJson(p.Height);
  json["NoImage"] = p.NoImage;
  json["hResolution"] = p.hResolution();
  json["vResolution"] = p.vResolution();
}

void FillPage(Json& json, const CPage& p) {
  FillPageHeader(json, p);
  json["Regles_H"] = CollectionJson(p.Regles_H, FillRuler);
  json["Champs"] = CollectionJson(p.Champs, FillField);
}

}  // namespace

Json RulerJson(const CRegle& r) {
  Json json = Json::object();
  FillRuler(json, r);
  return json;
}

Json FieldJson(const CChamp& c) {
  Json json = Json::object();
  FillField(json, c);
  return json;
}

Json PageJson(const CPage& p) {
  Json json = Json::object();
  FillPage(json, p);
  return json;
}

namespace {

// Calls visit(name, collection, fill) for each collection of a document, in
// the order the JSON lists them.
template <class Visit>
void VisitCollections(const Mandor& d, Visit visit) {
  visit("Docs", d.Docs, FillDoc);
  visit("Pages", d.Pages, FillPage);
  visit("Regles_V", d.Regles_V, FillRuler);
  visit("Regles_H", d.Regles_H, FillRuler);
  visit("Champs", d.Champs, FillField);
  visit("ChampsCachés", d.ChampsCachés, FillField);
  visit("ChampsFormules", d.ChampsFormules, FillField);
  visit("ChampsRecurrents", d.ChampsRecurrents, FillField);
  visit("champsContenantReference", d.champsContenantReference, FillField);
  visit("champsDataContrat", d.champsDataContrat, FillField);
}

// A document's public data and properties; its collections follow them.
void FillDocumentHeader(Json& json, const Mandor& d) {
  // Public data, in interface order (the collections come last, below).
  json["Id"] = d.Id;
  json["Orientation"] = d.Orientation;
  json["HauteurChamp"] = FloatJson(d.HauteurChamp);
  json["Type_calage"] = d.Type_calage;
  json["image_pixels_largeur"] = d.image_pixels_largeur;
  json["image_pixels_hauteur"] = d.image_pixels_hauteur;
  json["feuille_cm_largeur"] = FloatJson(d.feuille_cm_largeur);
  json["feuille_cm_hauteur"] = FloatJson(d.feuille_cm_hauteur);
  json["X1_cm"] = FloatJson(d.X1_cm);
  json["Y1_cm"] = FloatJson(d.Y1_cm);
  json["X1_pixel"] = FloatJson(d.X1_pixel);
  json["Y1_pixel"] = FloatJson(d.Y1_pixel);
  json["X2_cm"] = FloatJson(d.X2_cm);
  json["Y2_cm"] = FloatJson(d.Y2_cm);
  json["X2_pixel"] = FloatJson(d.X2_pixel);
  json["Y2_pixel"] = FloatJson(d.Y2_pixel);
  json["résolution_papier_largeur"] = FloatJson(d.résolution_papier_largeur);
  json["résolution_papier_hauteur"] = FloatJson(d.résolution_papier_hauteur);
  json["image_OrigineX_cm"] = FloatJson(d.image_OrigineX_cm);
  json["image_OrigineY_cm"] = FloatJson(d.image_OrigineY_cm);
  json["imprimante_OrigineX_cm"] = FloatJson(d.imprimante_OrigineX_cm);
  json["imprimante_OrigineY_cm"] = FloatJson(d.imprimante_OrigineY_cm);
  json["Répertoire_Document"] = d.Répertoire_Document;
  json["Type_Document"] = d.Type_Document;
  json["champ_largeur_cm"] = FloatJson(d.champ_largeur_cm);
  json["numero_page"] = d.numero_page;
  json["Decimales"] = d.Decimales;
  json["TVA"] = FloatJson(d.TVA);
  json["bFondGrise"] = d.bFondGrise;
  json["FichierMDN"] = d.FichierMDN;
  json["SepDecExt"] = d.SepDecExt;
  json["Donnees_a_Sauvegarder"] = d.Donnees_a_Sauvegarder;
  json["Marquage_a_Sauvegarder"] = d.Marquage_a_Sauvegarder;
  json["Police_pixels_écran"] = d.Police_pixels_écran;
  json["Police_texte_pixels_écran"] = d.Police_texte_pixels_écran;
  json["champ_largeur_pixels"] = d.champ_largeur_pixels;
  // Properties.
  json["Nom_Document"] = d.Nom_Document();
  json["ShortName"] = d.ShortName();
  json["Devise"] = d.Devise();
  json["iDevise"] = d.iDevise();
  json["FonteName"] = Safe([&] { return d.FonteName(); });
  json["FonteSize"] = Safe([&] { return d.FonteSize(); });
  json["Font"] = FontJson(d.Font());
}

}  // namespace

Json DocumentJson(const Mandor& d) {
  Json json = Json::object();
  FillDocumentHeader(json, d);
  // Collections.
  VisitCollections(d, [&](const char* name, const auto& collection, auto fill) {
    json[name] = CollectionJson(collection, fill);
  });
  return json;
}

Json CatalogueJson(const mandor::cMarquage& catalogue) {
  Json json = Json::object();
  json["Name"] = catalogue.Name();
  json["FullPath"] = catalogue.FullPath();
  json["Path"] = catalogue.Path();
  json["File"] = catalogue.File();
  json["Font"] = FontJson(catalogue.Font);
  if (!catalogue.oDevises) {
    json["oDevises"] = nullptr;
  } else {
    const mandor::Devises& devises = *catalogue.oDevises;
    Json table = Json::object();
    table["Defaut"] = devises.Defaut();
    Json entries = Json::array();
    for (long i = 0; i < devises.Count(); ++i) {
      const std::shared_ptr<mandor::Devise> devise = devises.Item(i);
      if (!devise) continue;
      Json entry = Json::object();
      // The built-in euro at position 0 is kept under "EUR(Defaut)"; every
      // other entry under its code.
      entry["key"] = i == 0 ? "EUR(Defaut)" : devise->code();
      entry["code"] = devise->code();
      entry["Unite"] = devise->Unite();
      entry["SousUnite"] = devise->SousUnite();
      entry["PostUnite"] = devise->PostUnite();
      entry["Pays"] = devise->Pays();
      entry["Symbole"] = devise->Symbole();
      entries.push_back(std::move(entry));
    }
    table["entries"] = std::move(entries);
    json["oDevises"] = std::move(table);
  }
  return json;
}

Json MessageJson(const RecordedMessage& message) {
  Json json = Json::object();
  json["title"] = message.title;
  json["text"] = message.text;
  json["style"] = StyleName(message.style);
  return json;
}

void WriteJsonLine(std::ostream& out, const Json& json) {
  out << json.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

JsonStreamWriter::JsonStreamWriter(std::ostream& out) : out_(out) {}

void JsonStreamWriter::Indent(size_t depth) {
  out_ << '\n';
  for (size_t i = 0; i < depth; ++i) out_ << "  ";
}

// Before a member or element: the comma after the previous one, the line
// break and indent of this one.
void JsonStreamWriter::Next() {
  if (open_.empty()) return;
  Level& level = open_.back();
  if (level.count++ > 0) out_ << ',';
  Indent(open_.size());
}

void JsonStreamWriter::Begin(char bracket) {
  if (!after_key_) Next();
  after_key_ = false;
  out_ << bracket;
  open_.push_back(Level{});
}

void JsonStreamWriter::End(char bracket) {
  const bool empty = open_.back().count == 0;
  open_.pop_back();
  if (!empty) Indent(open_.size());
  out_ << bracket;
  if (open_.empty()) out_ << '\n';
}

void JsonStreamWriter::Key(std::string_view name) {
  Next();
  out_ << Json(std::string(name)).dump(-1, ' ', false, Json::error_handler_t::replace) << ": ";
  after_key_ = true;
}

void JsonStreamWriter::Value(const Json& value) {
  if (!after_key_) Next();
  after_key_ = false;
  // The value as the whole document would print it at this depth: nested
  // lines indented by the depth (a line break in JSON text is never inside
  // a string, where it is escaped).
  const std::string text = value.dump(2, ' ', false, Json::error_handler_t::replace);
  const std::string indent(2 * open_.size(), ' ');
  size_t from = 0;
  for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', from)) {
    out_.write(text.data() + from, static_cast<std::streamsize>(at + 1 - from));
    out_ << indent;
    from = at + 1;
  }
  out_.write(text.data() + from, static_cast<std::streamsize>(text.size() - from));
  if (open_.empty()) out_ << '\n';
  CheckOutput(out_);
}

namespace {

// Every item of a keyed collection as CollectionJson writes it, one at a time.
template <class T, class Fill>
void StreamCollection(JsonStreamWriter& writer, const Collection<T>& collection, Fill fill) {
  writer.BeginArray();
  for (long i = 1; i <= collection.Count(); ++i) writer.Value(ItemJson(collection, i, fill));
  writer.EndArray();
}

// Writes each member of `json` as a member of the open object.
void StreamMembers(JsonStreamWriter& writer, const Json& json) {
  for (const auto& [name, value] : json.items()) {
    writer.Key(name);
    writer.Value(value);
  }
}

void StreamPages(JsonStreamWriter& writer, const Collection<CPage>& pages) {
  writer.BeginArray();
  for (long i = 1; i <= pages.Count(); ++i) {
    writer.BeginObject();
    writer.Key("key");
    writer.Value(KeyJson(pages, i));
    if (const std::shared_ptr<CPage>& page = pages.Item(i)) {
      Json header = Json::object();
      FillPageHeader(header, *page);
      StreamMembers(writer, header);
      writer.Key("Regles_H");
      StreamCollection(writer, page->Regles_H, FillRuler);
      writer.Key("Champs");
      StreamCollection(writer, page->Champs, FillField);
    }
    writer.EndObject();
  }
  writer.EndArray();
}

void StreamDocument(JsonStreamWriter& writer, const std::shared_ptr<Mandor>& document,
                    const mandor::values::ValueBook* book) {
  const Mandor& d = *document;
  writer.BeginObject();
  Json header = Json::object();
  FillDocumentHeader(header, d);
  StreamMembers(writer, header);
  VisitCollections(d, [&](const char* name, const auto& collection, auto fill) {
    writer.Key(name);
    // A page holds collections of its own: streamed too, not built whole.
    if constexpr (std::is_same_v<std::decay_t<decltype(collection)>, Collection<CPage>>) {
      StreamPages(writer, collection);
    } else {
      StreamCollection(writer, collection, fill);
    }
  });
  writer.Key("Valeurs");
  StreamDocumentValues(writer, book, document);
  writer.EndObject();
}

}  // namespace

void WriteDump(std::ostream& out, const std::shared_ptr<mandor::cMarquage>& catalogue,
               const std::vector<std::shared_ptr<Mandor>>& documents, const std::vector<RecordedMessage>& messages) {
  JsonStreamWriter writer(out);
  writer.BeginObject();
  writer.Key("catalogue");
  writer.Value(catalogue ? CatalogueJson(*catalogue) : Json(nullptr));
  writer.Key("documents");
  writer.BeginArray();
  // What the fields hold, read once for the whole dump (a catalogue's
  // workbook is loaded again for its cells).
  std::unique_ptr<mandor::values::ValueBook> catalogue_book;
  if (catalogue) catalogue_book = DumpValueBook(catalogue, nullptr);
  for (const std::shared_ptr<Mandor>& document : documents) {
    if (!document) continue;
    if (catalogue) {
      StreamDocument(writer, document, catalogue_book.get());
    } else {
      StreamDocument(writer, document, DumpValueBook(nullptr, document).get());
    }
  }
  writer.EndArray();
  writer.Key("messages");
  Json msgs = Json::array();
  for (const RecordedMessage& message : messages) msgs.push_back(MessageJson(message));
  writer.Value(msgs);
  writer.EndObject();
  CheckOutput(out);
}

}  // namespace mandor_cli
