// The member tables of the automation interfaces: one function per class
// listing every member under its exact name, in interface order.
#include <memory>
#include <string>

#include "mandor/mandor.h"
#include "mandor/server/dispatch.h"
#include "mandor/server/image_dispatch.h"

namespace mandor::server {

// The model classes and their collections; the definitions are below.
template <> const ClassInfo& ClassOf<Mandor>();
template <> const ClassInfo& ClassOf<cMarquage>();
template <> const ClassInfo& ClassOf<CChamp>();
template <> const ClassInfo& ClassOf<CPage>();
template <> const ClassInfo& ClassOf<CRegle>();
template <> const ClassInfo& ClassOf<CFont>();
template <> const ClassInfo& ClassOf<Devise>();
template <> const ClassInfo& ClassOf<Devises>();
template <> const ClassInfo& ClassOf<Doc>();
template <> const ClassInfo& ClassOf<Collection<Doc>>();
template <> const ClassInfo& ClassOf<Collection<CPage>>();
template <> const ClassInfo& ClassOf<Collection<CChamp>>();
template <> const ClassInfo& ClassOf<Collection<CRegle>>();

namespace {

// The collection interfaces, one per item type.
constexpr GUID kPageCollectionIid = {0xbccf20c1, 0x8759, 0x571b, {0xb6, 0xbf, 0xae, 0x47, 0x7d, 0x46, 0x06, 0x8f}};
constexpr GUID kChampCollectionIid = {0x5f0c8a12, 0x3d6e, 0x4b71, {0x9a, 0x20, 0x6e, 0x81, 0x4c, 0x2d, 0x90, 0x11}};
constexpr GUID kRegleCollectionIid = {0x5f0c8a12, 0x3d6e, 0x4b71, {0x9a, 0x20, 0x6e, 0x81, 0x4c, 0x2d, 0x90, 0x12}};
constexpr GUID kDocCollectionIid = {0x5f0c8a12, 0x3d6e, 0x4b71, {0x9a, 0x20, 0x6e, 0x81, 0x4c, 0x2d, 0x90, 0x13}};

// Parameter and result types of the members the type library declares
// without a server behind them.
ParamSpec In(const char* name, VARTYPE vt, bool optional = false) { return {name, {vt}, optional, false}; }
ParamSpec ByRef(const char* name, VARTYPE vt, bool optional = false) { return {name, {vt}, optional, true}; }
template <class T>
ParamSpec InObject(const char* name, bool optional = false) {
  return {name, {VT_DISPATCH, &ClassOf<T>}, optional, false};
}
template <class T>
ParamSpec ByRefObject(const char* name) {
  return {name, {VT_DISPATCH, &ClassOf<T>}, false, true};
}

// Members taking XML nodes have no MSXML object to receive from a host.
constexpr const char* kXmlNode =
    "its argument is an XML node of the catalogue, which a host cannot pass to this component";
// Members taking an open text file have no file number a host could pass.
constexpr const char* kFileNumber =
    "its argument is a text file opened by the component itself, which a host cannot pass";

template <class C>
ClassInfo NewClass(const char* name, GUID clsid, GUID iid) {
  ClassInfo info;
  info.name = name;
  info.clsid = clsid;
  info.iid = iid;
  info.creatable = true;
  info.create = [] { return std::shared_ptr<void>(std::make_shared<C>()); };
  return info;
}

template <class T>
std::vector<std::shared_ptr<void>> Snapshot(const T& items) {
  std::vector<std::shared_ptr<void>> out;
  for (const auto& item : items) out.push_back(item);
  return out;
}

// A position or a key, as collections take them.
template <class Coll>
auto ItemAt(const Coll& c, const Variant& index) {
  return index.IsNumber() ? c.Item(index.AsLong()) : c.Item(index.AsString());
}

// A keyed collection of items of class T, under the interface "_" + name.
template <class T>
ClassInfo CollectionClass(const char* name, GUID iid) {
  using C = Collection<T>;
  ClassInfo info;
  info.name = name;
  info.iid = iid;
  Builder<C> b(info);
  b.Method("Add", [](C& c, std::shared_ptr<T> item, std::optional<std::string> key, Variant before, Variant after) {
     const std::string k = key.value_or("");
     // As the hosts' own collections: a place before and after at once is an invalid call.
     if (!before.Missing() && !after.Missing()) ThrowError(kInvalidArgument, "Add takes Before or After, not both");
     if (!before.Missing()) {
       before.IsNumber() ? c.AddBefore(item, k, before.AsLong()) : c.AddBefore(item, k, before.AsString());
     } else if (!after.Missing()) {
       after.IsNumber() ? c.AddAfter(item, k, after.AsLong()) : c.AddAfter(item, k, after.AsString());
     } else {
       c.Add(item, k);
     }
   }, "Item, Key, Before, After")
      .Get("Count", [](C& c) { return static_cast<int32_t>(c.Count()); })
      .Get("Item", [](C& c, Variant index) { return ItemAt(c, index); }, "Index")
      .Method("Remove", [](C& c, Variant index) {
        index.IsNumber() ? c.Remove(index.AsLong()) : c.Remove(index.AsString());
      }, "Index")
      .Method("Clear", [](C& c) { c.Clear(); })
      .Get("_NewEnum", [](C& c) { return Enumeration{Snapshot(c), &ClassOf<T>}; })
      .Id("Item", DISPID_VALUE)
      .Id("_NewEnum", DISPID_NEWENUM);
  // Variant parameters Before and After are optional.
  for (ParamSpec& p : info.members.front().method.params) p.optional = p.name != "Item";
  return info;
}

#define FIELD(name) .Field(#name, &C::name)
#define PROP(name) .Prop(#name, [](C& o) { return o.name(); }, [](C& o, auto v) { o.name(v); })
#define GET(name) .Get(#name, [](C& o) { return o.name(); })
#define ACTION(name) .Method(#name, [](C& o) { return o.name(); })
// The font attributes that rulers and fields pass to their own font, and their links.
#define FONT_DELEGATION                                                                                    \
  PROP(FontName) PROP(FontSize) PROP(FontSpecial) PROP(Bold) PROP(Italic) PROP(Underligne) PROP(StrikeThrough) \
  PROP(BackColor) PROP(FontColor) PROP(Transparent) PROP(Alignement)
#define OWNER_AND_FONT                                                                                \
  .Prop("oOwnerMandor", [](C& o) { return o.oOwnerMandor(); },                                       \
        [](C& o, std::shared_ptr<Mandor> m) { o.oOwnerMandor(m); })                                  \
  .Prop("Font", [](C& o) { return o.Font(); }, [](C& o, std::shared_ptr<CFont> f) { o.Font(f); })    \
  ACTION(isNewVersion)                                                                                \
  .Method("ToggleVersion", [](C& o, Ref<bool>& bNew) { o.ToggleVersion(bNew.value); }, "bNew")

// The owners of a ruler or a field: its document and page.
#define OWNERS_DOCUMENT_AND_PAGE(page)                                          \
  info.owners = [](const void* object, std::vector<Owned>& out) {               \
    const auto& o = *static_cast<const C*>(object);                             \
    out.push_back({o.oOwnerMandor(), &ClassOf<Mandor>()});                      \
    out.push_back({page, &ClassOf<CPage>()});                                   \
  };

ClassInfo MandorClass() {
  using C = Mandor;
  ClassInfo info = NewClass<C>("Mandor", {0x3b5dac2f, 0x9542, 0x5de2, {0xb8, 0x12, 0x8d, 0xa8, 0x12, 0x28, 0x96, 0xba}},
                               {0xd42ac75c, 0xff48, 0x5b8f, {0xb0, 0xda, 0xc0, 0x4f, 0x59, 0x07, 0xf0, 0x32}});
  Builder<C>(info)
      FIELD(Id) FIELD(m_oOwnerMarquage) FIELD(Orientation) FIELD(HauteurChamp) FIELD(Type_calage)
      FIELD(image_pixels_largeur) FIELD(image_pixels_hauteur) FIELD(feuille_cm_largeur) FIELD(feuille_cm_hauteur)
      FIELD(X1_cm) FIELD(Y1_cm) FIELD(X1_pixel) FIELD(Y1_pixel) FIELD(X2_cm) FIELD(Y2_cm) FIELD(X2_pixel)
      FIELD(Y2_pixel) FIELD(résolution_papier_largeur) FIELD(résolution_papier_hauteur) FIELD(image_OrigineX_cm)
      FIELD(image_OrigineY_cm) FIELD(imprimante_OrigineX_cm) FIELD(imprimante_OrigineY_cm)
      FIELD(Répertoire_Document) FIELD(Type_Document) FIELD(champ_largeur_cm) FIELD(numero_page) FIELD(Decimales)
      FIELD(TVA) FIELD(Docs) FIELD(Pages) FIELD(Champs) FIELD(ChampsCachés) FIELD(ChampsFormules)
      FIELD(ChampsRecurrents) FIELD(champsContenantReference) FIELD(champsDataContrat) FIELD(bFondGrise)
      FIELD(FichierMDN) FIELD(SepDecExt) FIELD(Donnees_a_Sauvegarder) FIELD(Marquage_a_Sauvegarder)
      FIELD(Police_pixels_écran) FIELD(Police_texte_pixels_écran) FIELD(champ_largeur_pixels) FIELD(Regles_V)
      FIELD(Regles_H)
      GET(DOCUMENT_DETAIL) GET(DOCUMENT_PRIX) GET(DOCUMENT_AE)
      PROP(Nom_Document) GET(ShortName) GET(FichierPdfImage)
      PROP(FonteName) PROP(FonteName_nombre) PROP(FonteSize) PROP(FonteSize_nombre) PROP(Font)
      PROP(Devise) PROP(iDevise)
      ACTION(MarquageRAZ)
      .Get("RegleV", [](C& o, std::string sNom) { return o.RegleV(sNom); }, "sNom")
      .Get("RegleH", [](C& o, std::string sNom) { return o.RegleH(sNom); }, "sNom")
      GET(PageCourante)
      ACTION(RestaurerMarquage)
      .Prop("oOwnerMarquage", [](C& o) { return o.oOwnerMarquage(); },
            [](C& o, std::shared_ptr<cMarquage> v) { o.oOwnerMarquage(v); })
      // the text marking reader
      ACTION(RestaurerMarquageEx) ACTION(RestaurerMarquageStd)
      .Method("ExtractCalage", [](C& o, Ref<StringArray>& l) { o.ExtractCalage(l.value); }, "cLignes")
      .Method("ExtractPresentation", [](C& o, Ref<StringArray>& l) { o.ExtractPresentation(l.value); }, "cLignes")
      .Method("ExtractConstante", [](C& o, Ref<StringArray>& l) { o.ExtractConstante(l.value); }, "cLignes")
      .Method("ExtractSource", [](C& o, Ref<StringArray>& l) { o.ExtractSource(l.value); }, "cLignes")
      .Method("ExtractChampsRecurrents", [](C& o, Ref<StringArray>& l) { o.ExtractChampsRecurrents(l.value); },
              "cLignes")
      .Method("ExtractRegles_V", [](C& o, Ref<StringArray>& l) { o.ExtractRegles_V(l.value); }, "cLignes")
      .Unavailable("ExtractPages", kFileNumber, {ByRef("cLignes", VT_VARIANT), ByRef("fich", VT_I2)}, {VT_BOOL})
      .Method("ExtractPage", [](C& o, Ref<StringArray>& l, Ref<int16_t>& iPage) { o.ExtractPage(l.value, iPage.value); },
              "cLignes, iPage")
      // the text marking writer
      .Method("SauvegarderMarquageEx", [](C& o, bool Confirmation, OptRef<bool>& WithQte) {
        return WithQte.present ? o.SauvegarderMarquageEx(Confirmation, WithQte.value)
                               : o.SauvegarderMarquageEx(Confirmation);
      }, "Confirmation, WithQte")
      ACTION(SauvegarderMarquageStd)
      .Unavailable("OpenFileWrite", kFileNumber, {ByRef("cFileName", VT_BSTR)}, {VT_I2})
      .Unavailable("WriteCalage", kFileNumber, {ByRef("fich", VT_I2)}, {VT_BOOL})
      .Unavailable("WritePresentation", kFileNumber, {ByRef("fich", VT_I2)}, {VT_BOOL})
      .Unavailable("WriteConstante", kFileNumber, {ByRef("fich", VT_I2)}, {VT_BOOL})
      .Unavailable("WriteSource", kFileNumber, {ByRef("fich", VT_I2)}, {VT_BOOL})
      .Unavailable("WriteChampsRecurrents", kFileNumber, {ByRef("fich", VT_I2)}, {VT_BOOL})
      .Unavailable("WriteRegle_V", kFileNumber, {ByRef("fich", VT_I2)}, {VT_BOOL})
      .Unavailable("WritePage", kFileNumber, {ByRef("fich", VT_I2), In("WithQte", VT_BOOL, true)}, {VT_BOOL})
      // calibration and the XML catalogue
      ACTION(CalculerParamètresCalage)
      .Method("SauvegarderMarquageXml", [](C& o, std::shared_ptr<Mandor> oMandor) {
        return o.SauvegarderMarquageXml(oMandor);
      }, "oMandor")
      // string and number routines
      .Method("DécomposerChaîne", [](C& o, std::string s, Ref<StringArray>& p, std::string sep) {
        o.DécomposerChaîne(s, p.value, sep);
      }, "chaîne, Paramètres, Séparateur")
      .Method("SeparateString", [](C& o, std::string s, Ref<StringArray>& p, std::string sep) {
        return o.SeparateString(s, p.value, sep);
      }, "cString, Parametres, cSep")
      .Method("ChangeCarSpec", [](C& o, std::string v, std::optional<int16_t> t) { return o.ChangeCarSpec(v, t.value_or(0)); },
              "sValue, iType")
      .Method("ChangeCrLF", [](C& o, std::string v, std::optional<int16_t> t) { return o.ChangeCrLF(v, t.value_or(0)); },
              "sValue, iType")
      .Method("ChangeEgal", [](C& o, std::string v, std::optional<int16_t> t) { return o.ChangeEgal(v, t.value_or(0)); },
              "sValue, iType")
      .Method("ChangeSepMarquage", [](C& o, std::string v, std::optional<int16_t> t) {
        return o.ChangeSepMarquage(v, t.value_or(0));
      }, "sValue, iType")
      .Method("EnlèveSéparateurs", [](C& o, std::string n) { return o.EnlèveSéparateurs(n); }, "Nombre")
      .Method("EnleveCar", [](C& o, Ref<std::string>& n, std::string car, std::optional<std::string> repl) {
        return o.EnleveCar(n.value, car, repl.value_or(""));
      }, "Nombre, Car, CarReplace")
      .Method("FormatNombre", [](C& o, std::shared_ptr<CChamp> ch) { return o.FormatNombre(ch); }, "Champ")
      .Method("FormatNombreSortie", [](C& o, std::shared_ptr<CChamp> ch) { return o.FormatNombreSortie(ch); }, "Champ")
      .Unavailable("ReadSection", kFileNumber, {In("fich", VT_I2), In("cSection", VT_BSTR)}, {VT_VARIANT})
      .Method("FindValue", [](C& o, StringArray l, std::string v) { return o.FindValue(l, v); }, "cLignes, cValue")
      .Method("InsérerChamp", [](C& o, std::shared_ptr<Collection<CChamp>> col, std::shared_ptr<CChamp> ch) {
        if (!col) ThrowError(kObjectNotSet);
        o.InsérerChamp(*col, ch);
      }, "colChamps, pChamp")
      // A host has no file of the component's to pass: the message is shown and the name cleared.
      .Method("CloseFileError", [](C& o, Variant, std::string msg) { return o.CloseFileError(nullptr, msg); },
              "fich, cMsg");
  info.owners = [](const void* object, std::vector<Owned>& out) {
    out.push_back({static_cast<const C*>(object)->oOwnerMarquage(), &ClassOf<cMarquage>()});
  };
  return info;
}

ClassInfo PageClass() {
  using C = CPage;
  ClassInfo info = NewClass<C>("CPage", {0x87194cb1, 0x74e6, 0x5bcc, {0x8c, 0x5e, 0xf2, 0x75, 0x7c, 0x3d, 0x49, 0x1b}},
                               {0xa571901f, 0xb1f3, 0x54ea, {0x94, 0xf2, 0xa7, 0xaf, 0x09, 0xe8, 0x3b, 0x17}});
  Builder<C>(info)
      FIELD(oOwnerMandor) FIELD(Id) FIELD(Champs) FIELD(Width) FIELD(Height) FIELD(Regles_H) FIELD(NoImage)
      GET(EmptyPage)
      .Method("SetSize", [](C& o, int16_t iVRes, int16_t iHres, float fWidth, float fHeight) {
        o.SetSize(iVRes, iHres, fWidth, fHeight);
      }, "iVRes, iHres, fWidth, fHeight")
      PROP(hResolution) PROP(vResolution) GET(Height_Point) GET(Width_Point);
  info.owners = [](const void* object, std::vector<Owned>& out) {
    out.push_back({static_cast<const C*>(object)->oOwnerMandor.lock(), &ClassOf<Mandor>()});
  };
  return info;
}

ClassInfo RegleClass() {
  using C = CRegle;
  ClassInfo info = NewClass<C>("CRegle", {0x1b21e939, 0xd82e, 0x5297, {0x80, 0x76, 0xd4, 0x0f, 0x69, 0x50, 0x8b, 0x4d}},
                               {0x78253af1, 0xa34a, 0x5adf, {0xb0, 0xb5, 0x0c, 0xc2, 0x5e, 0xe8, 0x32, 0x61}});
  Builder<C>(info)
      FIELD(Id) FIELD(Nom) FIELD(Position_cm_X) FIELD(Position_cm_Y) FIELD(Position_pixel_X) FIELD(Position_pixel_Y)
      FIELD(Décimales) FIELD(largeur_cm) FIELD(largeur_pixel) FIELD(hauteur_pixel) FIELD(Imprimable) FIELD(Controle)
      FIELD(Etiquette) FIELD(Déplacement) FIELD(Numéro) FIELD(TypeLigne) FIELD(Level) FIELD(Operande1)
      FIELD(Operande2) FIELD(Operateur) FIELD(bNew) FIELD(iClass)
      .Prop("Page", [](C& o) { return o.Page(); }, [](C& o, std::shared_ptr<CPage> p) { o.Page(p); })
      PROP(WidthChamp) GET(Position_point_X) GET(Position_point_Y)
      FONT_DELEGATION
      .Method("SetPropertiesFromFontClass", [](C& o, std::shared_ptr<CFont> f) { o.SetPropertiesFromFontClass(f); },
              "oFont")
      ACTION(GetFontClassFromProperties)
      OWNER_AND_FONT;
  OWNERS_DOCUMENT_AND_PAGE(o.Page())
  return info;
}

ClassInfo ChampClass() {
  using C = CChamp;
  ClassInfo info = NewClass<C>("CChamp", {0xb2ef24e9, 0x57ee, 0x59a2, {0x8e, 0xfe, 0xee, 0xa1, 0xcf, 0xa8, 0x3d, 0x31}},
                               {0x33191438, 0xdbfc, 0x5f6a, {0x8a, 0x8b, 0x2f, 0x4f, 0x58, 0x7b, 0xc0, 0xc8}});
  Builder<C>(info)
      FIELD(oOwnerPage) FIELD(Position_cm_Left) FIELD(Position_cm_Top) FIELD(Position_cm_Bottom)
      FIELD(Position_cm_Right) FIELD(Position_pixel_Left) FIELD(Position_pixel_Top) FIELD(Position_pixel_Bottom)
      FIELD(Position_pixel_Right) FIELD(bPropage) FIELD(Accrochage_H_Type) FIELD(Id) FIELD(OldFormule)
      FIELD(NonImprime0) FIELD(Controle) FIELD(ValeurNonImp) FIELD(Déplacement) FIELD(Numéro)
      FIELD(DonnéesImportées) FIELD(NumChamp) FIELD(HasTranslatted) FIELD(NoData) FIELD(iClass) FIELD(bCalculed)
      FIELD(ReNamed) FIELD(Page) FIELD(SubName)
      PROP(IsDataContrat) PROP(ToReport) PROP(Groupe) PROP(IsOptional) PROP(Label) PROP(Imprimable)
      PROP(Recurrent) PROP(ChampRecurrentDeRef) GET(NomRegleH) GET(NomRegleV)
      .Prop("oRegleH", [](C& o) { return o.oRegleH(); }, [](C& o, std::shared_ptr<CRegle> r) { o.oRegleH(r); })
      .Prop("oRegleV", [](C& o) { return o.oRegleV(); }, [](C& o, std::shared_ptr<CRegle> r) { o.oRegleV(r); })
      OWNER_AND_FONT
      ACTION(GetFontClassFromFontProperties)
      PROP(Nom) PROP(Accrochage_V) PROP(Accrochage_H) PROP(InitialValue)
      .Get("valeur", [](C& o, std::optional<bool> bInitial) { return o.valeur(bInitial.value_or(false)); }, "bInitial")
      .Let("valeur", [](C& o, std::optional<bool> bInitial, std::string v) { o.valeur(bInitial.value_or(false), v); },
           "bInitial, value")
      PROP(Formule) PROP(Accrochage_V_Type) PROP(Décimales) PROP(Type_Champ)
      ACTION(IsZero) ACTION(DiffWithInitial) ACTION(HasInPU) ACTION(HasInMT) ACTION(IsUnderOne)
      ACTION(FormuleHasPourcent) ACTION(ValueChanged)
      FONT_DELEGATION
      .Method("SetFontPropertiesFromFontClass",
              [](C& o, std::shared_ptr<CFont> f) { o.SetFontPropertiesFromFontClass(f); }, "oFont")
      GET(Position_point_Left) GET(Position_point_Top) GET(Position_point_Bottom) GET(Position_point_Right)
      .Unavailable("MajXmlNodeFromChampProperties", kXmlNode,
                   {ByRef("oNoeudParent", VT_DISPATCH), ByRef("oNoeud", VT_DISPATCH), ByRefObject<Mandor>("oMandor")},
                   {VT_DISPATCH})
      .Unavailable("MajXmlNodeDataContratFromChampProperties", kXmlNode,
                   {ByRef("oNoeud", VT_DISPATCH), ByRefObject<Mandor>("oMandor")}, {VT_DISPATCH});
  OWNERS_DOCUMENT_AND_PAGE(o.oOwnerPage.lock())
  return info;
}

#define FONT_ATTRIBUTE(name) PROP(name) GET(Has##name) GET(Default##name)

ClassInfo FontClass() {
  using C = CFont;
  ClassInfo info = NewClass<C>("CFont", {0x719f945e, 0x4559, 0x5a59, {0xa5, 0xc0, 0xb6, 0xc6, 0x5a, 0xdb, 0xe2, 0x77}},
                               {0xcae670de, 0xe43a, 0x508a, {0xaf, 0xf9, 0xa8, 0x16, 0xbb, 0x3d, 0x05, 0x9f}});
  Builder<C>(info)
      FIELD(ParentFont1) FIELD(ParentFont2)
      FONT_ATTRIBUTE(Name) FONT_ATTRIBUTE(Size) FONT_ATTRIBUTE(Color) FONT_ATTRIBUTE(BackColor)
      FONT_ATTRIBUTE(Transparent) FONT_ATTRIBUTE(Bold) FONT_ATTRIBUTE(Italic) FONT_ATTRIBUTE(Underline)
      FONT_ATTRIBUTE(StrikeThrough) FONT_ATTRIBUTE(Alignment)
      GET(Id) GET(ALIGN_LEFT) GET(ALIGN_RIGHT) GET(ALIGN_CENTER) PROP(Special)
      .Unavailable("GetFontFromXmlNode", kXmlNode,
                   {In("XmlFont", VT_DISPATCH), InObject<CFont>("oParentFont1", true),
                    InObject<CFont>("oParentFont2", true)},
                   {VT_DISPATCH, &ClassOf<CFont>})
      .Unavailable("GetXmlFontFromFontClass", kXmlNode, {In("oXmlParent", VT_DISPATCH)}, {VT_DISPATCH})
      .Method("SetMe", [](C& o, std::shared_ptr<CFont> f, std::optional<bool> force) { o.SetMe(f, force.value_or(false)); },
              "Font, force")
      GET(HasSet);
  return info;
}

ClassInfo DeviseClass() {
  using C = Devise;
  ClassInfo info = NewClass<C>("Devise", {0xdcf31e2d, 0x7bac, 0x5141, {0x91, 0x98, 0x83, 0x72, 0xdb, 0x09, 0x8f, 0x24}},
                               {0x4c595d6e, 0xcc85, 0x57b6, {0x9f, 0xa4, 0x66, 0x0b, 0x00, 0x50, 0x0c, 0xc5}});
  Builder<C>(info) PROP(code) PROP(Unite) PROP(SousUnite) PROP(PostUnite) PROP(Pays) PROP(Symbole);
  return info;
}

ClassInfo DevisesClass() {
  using C = Devises;
  ClassInfo info = NewClass<C>("Devises", {0xcd83b30c, 0x1979, 0x5fc1, {0xac, 0x8e, 0x8e, 0xed, 0x31, 0xca, 0xf5, 0xac}},
                               {0x42385e1f, 0x3bc8, 0x5040, {0xa4, 0xaa, 0x04, 0x59, 0x1a, 0x76, 0x07, 0x95}});
  Builder<C>(info)
      GET(Count)
      .Method("Add", [](C& o, std::shared_ptr<Devise> d) { o.Add(d); }, "oDevise")
      .Method("AddDevise", [](C& o, std::string code, std::string unite, std::string sous,
                              std::optional<std::string> post, std::optional<std::string> pays,
                              std::optional<std::string> symbole) {
        o.AddDevise(code, unite, sous, post.value_or(""), pays.value_or(""), symbole.value_or(""));
      }, "code, Unite, SousUnite, PostUnite, Pays, Symbole")
      .Method("Item", [](C& o, Variant code) { return ItemAt(o, code); }, "code")
      .Method("Find", [](C& o, std::string code) { return o.Find(code); }, "code")
      .Method("FindPos", [](C& o, std::string code) { return o.FindPos(code); }, "code")
      PROP(Defaut)
      // For Each over the entries, positions 0 to Count - 1.
      .Get("_NewEnum", [](C& o) {
        std::vector<std::shared_ptr<void>> items;
        for (long i = 0; i < o.Count(); ++i) items.push_back(o.Item(i));
        return Enumeration{std::move(items), &ClassOf<Devise>};
      })
      .Id("Item", DISPID_VALUE)
      .Id("_NewEnum", DISPID_NEWENUM);
  return info;
}

ClassInfo DocClass() {
  using C = Doc;
  ClassInfo info = NewClass<C>("Doc", {0x37727de1, 0x445d, 0x52a4, {0x9e, 0x26, 0x9d, 0x30, 0x2c, 0x83, 0x57, 0x41}},
                               {0xec06fdcb, 0x5551, 0x55b6, {0xad, 0xf7, 0xe9, 0x55, 0x49, 0xa1, 0xdc, 0x09}});
  Builder<C>(info) FIELD(Fichier) FIELD(Séparateur);
  return info;
}

ClassInfo MarquageClass() {
  using C = cMarquage;
  ClassInfo info = NewClass<C>("cMarquage", {0x65edb579, 0x0b40, 0x567b, {0x97, 0xb8, 0xc9, 0xf8, 0xa1, 0xfe, 0xad, 0xcf}},
                               {0x87b0b518, 0x6dee, 0x56db, {0x97, 0x01, 0x46, 0x23, 0x83, 0x5e, 0xc6, 0xbf}});
  Builder<C>(info)
      FIELD(oDevises) FIELD(Font)
      PROP(FullPath) GET(Path) GET(File) PROP(Name)
      .Method("Add", [](C& o, std::string sKey, std::string Name, std::string Path) { return o.Add(sKey, Name, Path); },
              "sKey, Name, Path")
      .Unavailable("AddItemWithNode", kXmlNode, {In("oNode", VT_DISPATCH), In("sPath", VT_BSTR, true)},
                   {VT_DISPATCH, &ClassOf<Mandor>})
      .Get("Item", [](C& o, Variant vntIndexKey) { return ItemAt(o, vntIndexKey); }, "vntIndexKey")
      GET(Count)
      .Method("Remove", [](C& o, Variant vntIndexKey) {
        vntIndexKey.IsNumber() ? o.Remove(vntIndexKey.AsLong()) : o.Remove(vntIndexKey.AsString());
      }, "vntIndexKey")
      ACTION(Clear)
      .Get("NewEnum", [](C& o) { return Enumeration{Snapshot(o), &ClassOf<Mandor>}; })
      .Method("XML_ReadCNF", [](C& o, std::string sFile) { return o.XML_ReadCNF(sFile); }, "sFile")
      .Method("XML_AddNewAE", [](C& o, std::shared_ptr<Mandor> act, Variant iPdf) {
        DispatchImagePdf image(iPdf.v);
        return o.XML_AddNewAE(act, image);
      }, "oTmpAeMandor, iPdf")
      .Id("Item", DISPID_VALUE)
      .Id("NewEnum", DISPID_NEWENUM);
  return info;
}

}  // namespace

template <> const ClassInfo& ClassOf<Mandor>() { static const ClassInfo info = MandorClass(); return info; }
template <> const ClassInfo& ClassOf<cMarquage>() { static const ClassInfo info = MarquageClass(); return info; }
template <> const ClassInfo& ClassOf<CChamp>() { static const ClassInfo info = ChampClass(); return info; }
template <> const ClassInfo& ClassOf<CPage>() { static const ClassInfo info = PageClass(); return info; }
template <> const ClassInfo& ClassOf<CRegle>() { static const ClassInfo info = RegleClass(); return info; }
template <> const ClassInfo& ClassOf<CFont>() { static const ClassInfo info = FontClass(); return info; }
template <> const ClassInfo& ClassOf<Devise>() { static const ClassInfo info = DeviseClass(); return info; }
template <> const ClassInfo& ClassOf<Devises>() { static const ClassInfo info = DevisesClass(); return info; }
template <> const ClassInfo& ClassOf<Doc>() { static const ClassInfo info = DocClass(); return info; }
template <> const ClassInfo& ClassOf<Collection<Doc>>() {
  static const ClassInfo info = CollectionClass<Doc>("DocCollection", kDocCollectionIid);
  return info;
}
template <> const ClassInfo& ClassOf<Collection<CPage>>() {
  static const ClassInfo info = CollectionClass<CPage>("CPageCollection", kPageCollectionIid);
  return info;
}
template <> const ClassInfo& ClassOf<Collection<CChamp>>() {
  static const ClassInfo info = CollectionClass<CChamp>("CChampCollection", kChampCollectionIid);
  return info;
}
template <> const ClassInfo& ClassOf<Collection<CRegle>>() {
  static const ClassInfo info = CollectionClass<CRegle>("CRegleCollection", kRegleCollectionIid);
  return info;
}

const std::vector<const ClassInfo*>& CollectionClasses() {
  static const std::vector<const ClassInfo*> classes = {&ClassOf<Collection<CPage>>(), &ClassOf<Collection<CChamp>>(),
                                                        &ClassOf<Collection<CRegle>>(), &ClassOf<Collection<Doc>>()};
  return classes;
}

const std::vector<const ClassInfo*>& CreatableClasses() {
  static const std::vector<const ClassInfo*> classes = {
      &ClassOf<Mandor>(), &ClassOf<cMarquage>(), &ClassOf<CChamp>(), &ClassOf<CPage>(), &ClassOf<CRegle>(),
      &ClassOf<CFont>(),  &ClassOf<Devise>(),    &ClassOf<Devises>(), &ClassOf<Doc>()};
  return classes;
}

}  // namespace mandor::server
