#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mandor/fields/champ.h"
#include "mandor/model/mandor.h"
#include "mandor/util/cp1252.h"
#include "mandor/util/fct_util.h"
#include "mandor/util/memory_platform.h"
#include "mandor/util/text.h"
#include "mandor/xml/marquage.h"

namespace mandor {
namespace textfile_test {

// A price schedule of two pages with vertical and horizontal rulers, a
// recurrent total, quantity fields and two source documents; shared with the
// round-trip tests.
std::shared_ptr<Mandor> BuildPriceSchedule(const std::string& total_initial_value = "1 250,00");

std::shared_ptr<CRegle> AddRuler(const std::shared_ptr<Mandor>& doc, Collection<CRegle>& rulers,
                                 const std::string& id, const std::string& nom, int16_t decimales, float cm_x,
                                 float cm_y, float pixel_x, float pixel_y, float largeur_cm, int16_t imprimable) {
  auto r = std::make_shared<CRegle>();
  r->oOwnerMandor(doc);
  r->Id = id;
  r->Nom = nom;
  r->FontName("Arial");
  r->FontSize(10);
  r->Décimales = decimales;
  r->Position_cm_X = cm_x;
  r->Position_cm_Y = cm_y;
  r->Position_pixel_X = pixel_x;
  r->Position_pixel_Y = pixel_y;
  r->largeur_cm = largeur_cm;
  r->Imprimable = imprimable;
  rulers.Add(r, nom);
  return r;
}

struct FieldSpec {
  std::string id, nom, accrochage_v, accrochage_h;
  int16_t v_type, type_champ;
  std::string formule;
  int16_t decimales;
  float top, bottom, left, right;      // pixels
  float cm_left, cm_top, cm_bottom, cm_right;
  int16_t imprimable;
  std::string valeur;
};

std::shared_ptr<CChamp> MakeField(const std::shared_ptr<Mandor>& doc, const FieldSpec& s) {
  auto c = std::make_shared<CChamp>();
  c->oOwnerMandor(doc);
  c->Id = s.id;
  c->Nom(s.nom);
  c->Accrochage_V(s.accrochage_v);
  c->Accrochage_H(s.accrochage_h);
  c->Accrochage_V_Type(s.v_type);
  c->Type_Champ(s.type_champ);
  c->Formule(s.formule);
  c->Décimales(s.decimales);
  c->Position_pixel_Top = s.top;
  c->Position_pixel_Bottom = s.bottom;
  c->Position_pixel_Left = s.left;
  c->Position_pixel_Right = s.right;
  c->Position_cm_Left = s.cm_left;
  c->Position_cm_Top = s.cm_top;
  c->Position_cm_Bottom = s.cm_bottom;
  c->Position_cm_Right = s.cm_right;
  c->Imprimable(s.imprimable);
  c->valeur(s.valeur);
  return c;
}

std::shared_ptr<CPage> AddPage(const std::shared_ptr<Mandor>& doc, int n) {
  auto page = std::make_shared<CPage>();
  page->oOwnerMandor = doc;
  page->Id = "page_" + std::to_string(n);
  doc->Pages.Add(page, page->Id);
  return page;
}

void AddToPage(const std::shared_ptr<CPage>& page, int n, const std::shared_ptr<CChamp>& c) {
  c->oOwnerPage = page;
  c->Page = static_cast<int16_t>(n);
  page->Champs.Add(c, c->Nom());
  c->oOwnerMandor()->Champs.Add(c, c->Nom());
}

std::shared_ptr<Mandor> BuildPriceSchedule(const std::string& total_initial_value) {
  auto doc = std::make_shared<Mandor>();
  doc->Répertoire_Document = "marchés/";
  doc->Nom_Document("BPU Lot 1.bpx");  // Type_Document "Prix"
  doc->Type_calage = 2;
  doc->Orientation = 1;
  doc->X1_pixel = 120;
  doc->Y1_pixel = 240.5f;
  doc->X1_cm = 1.5f;
  doc->Y1_cm = 2;
  doc->X2_pixel = 2400;
  doc->Y2_pixel = 3300;
  doc->X2_cm = 20.25f;
  doc->Y2_cm = 27.9f;
  doc->bFondGrise = true;
  doc->FonteName("Times New Roman");
  doc->FonteSize(11);
  doc->Font()->Italic(true);
  doc->Font()->Color(255);
  doc->champ_largeur_cm = 3.5f;
  doc->TVA = 19.6f;

  auto mdn = std::make_shared<Doc>();
  mdn->Fichier = "Bordereau Prix.MDN";
  mdn->Séparateur = "\t";
  doc->Docs.Add(mdn);
  auto csv = std::make_shared<Doc>();
  csv->Fichier = "quantités.csv";
  csv->Séparateur = ";";
  doc->Docs.Add(csv);

  AddRuler(doc, doc->Regles_V, "", "Désignation", 0, 1.27f, 0, 150, 0, 8.25f, 0);
  AddRuler(doc, doc->Regles_V, "V7", "Prix", 2, 12.9f, 0, 1520, 0, 3.5f, 1);

  auto total = MakeField(doc, {"R001", "Total_Prix", "Prix", "Total", 5, 3, "=SOMME(Prix)|x", 2, 3300, 3350, 1520,
                               1900, 12.9f, 27.5f, 27.9f, 16.1f, 1, ""});
  total->InitialValue(total_initial_value);
  total->Recurrent(true);
  doc->ChampsRecurrents.Add(total, total->Nom());

  auto page1 = AddPage(doc, 1);
  for (const auto& r : {AddRuler(doc, page1->Regles_H, "H1", "L1", 0, 0, 3.4f, 0, 410, 0, 1),
                        AddRuler(doc, page1->Regles_H, "", "L2", 0, 0, 4.6f, 0, 560.5f, 0, 1)}) {
    r->Page(page1);
  }
  auto designation = MakeField(doc, {"", "L1_Désignation", "Désignation", "L1", 0, 0, "", 0, 400.5f, 450, 150, 1500,
                                     1.27f, 3.39f, 3.81f, 12.7f, 1, "Terrassement"});
  designation->Bold(true);
  auto qte = MakeField(doc, {"F2", "L1_Qté", "Qté", "L1", 0, 1, "", 2, 400, 450, 1300, 1500, 11, 3.39f, 3.81f,
                             12.7f, 1, "1 234"});
  qte->FontColor(255);
  qte->Transparent(false);
  auto pu = MakeField(doc, {"", "L1_PU", "Prix", "L1", 0, 1, "Qté*PU", 2, 400, 450, 1520, 1900, 12.9f, 3.39f, 3.81f,
                            16.1f, 1, "12,5"});
  pu->StrikeThrough(true);
  pu->Underligne(true);
  pu->ChampRecurrentDeRef("Total_Prix");
  AddToPage(page1, 1, designation);
  AddToPage(page1, 1, qte);
  AddToPage(page1, 1, pu);

  auto page2 = AddPage(doc, 2);
  page2->NoImage = true;
  auto montant = MakeField(doc, {"", "L9_Montant", "Prix", "L9", 5, 3, "=Qté|PU", 2, 100, 150, 1520, 1900, 12.9f,
                                 0.85f, 1.27f, 16.1f, 0, ""});
  montant->BackColor(12632256);
  auto qte9 = MakeField(doc, {"G2", "L9_Qté", "Qté", "L9", 0, 1, "x", 0, 100, 150, 1300, 1500, 11, 0.85f, 1.27f,
                              12.7f, 1, ""});
  qte9->HasTranslatted = true;
  AddToPage(page2, 2, montant);
  AddToPage(page2, 2, qte9);
  return doc;
}

namespace {

// The expected file: lines joined with CR LF, in Windows-1252. In the
// template %T / %F stand for the locale's boolean texts, %D for its decimal
// separator (pixel values only: cm values always carry a comma) and %X for
// the escaped record separator (character 127).
std::string Expected(std::string_view layout_template, const Locale& locale) {
  std::string text(layout_template);
  text = ReplaceAll(text, "%T", locale.true_text);
  text = ReplaceAll(text, "%F", locale.false_text);
  text = ReplaceAll(text, "%D", locale.decimal_separator);
  text = ReplaceAll(text, "%X", "\x7F");
  text = ReplaceAll(text, "\n", "\r\n");
  return Utf8ToWindows1252(text);
}

constexpr std::string_view kExtendedTemplate = R"([Calage]
Type=2
Orientation=1
Version=2
X1_pixel=120
Y1_pixel=240%D5
X1_cm=1,5
Y1_cm=2
X2_pixel=2400
Y2_pixel=3300
X2_cm=20,25
Y2_cm=27,9
FondGris=1
[Présentation]
Fonte=Times New Roman
Points=11
Gras=%F
Souligne=%F
Italique=%T
Barre=%F
Couleur=255
CouleurFond=16777215
DefDevise=0
champ_largeur_cm=3,5
Type_document=Prix
[Constantes]
TVA=19,6
[Source]
Nombre=2
Document_1=Bordereau Prix.MDN
Séparateur_1=TAB
Document_2=quantités.csv
Séparateur_2=;
[Champs Récurrents]
Nombre_ChampsRecurrents=1
R1=R001|Total_Prix|Arial|9|16|1 250,00|Prix|5|Total|0|3|#SOMME(Prix)%Xx|2|3300|3350|1520|1900|1|0|%F|%F|%F|16777215
[Règles verticales]
Nombre=2
1=00001|Désignation|Arial|10|18|0|150|0|8,25|0|0
2=V7|Prix|Arial|10|18|2|1520|0|3,5|1|0
[Pages]
Nombre=2
[Page 1]
Nombre_règles_h=2
r1=H1|L1|Arial|10|18|0|0|410|0|1|0
r2=00002|L2|Arial|10|18|0|0|560%D5|0|1|0
Image=1
Nombre_champs=3
c1=001_00001|L1_Désignation|Arial|9|17||Désignation|0|L1|0|0||0|400%D5|450|150|1500|1|0|%T|%F|%F|16777215||%T
c2=F2|L1_Qté|Arial|9|16|1234%D00|Qté|0|L1|0|1||2|400|450|1300|1500|1|255|%F|%F|%F|16777215||%F
c3=001_00003|L1_PU|Arial|9|28|1234%D00|Prix|0|L1|0|1|Qté*PU|2|400|450|1520|1900|1|0|%F|%T|%T|16777215|Total_Prix|%T
[Page 2]
Nombre_règles_h=0
Image=0
Nombre_champs=2
c1=002_00001|L9_Montant|Arial|9|16|1234%D00|Prix|5|L9|0|3|#Qté%XPU|2|100|150|1520|1900|0|0|%F|%F|%F|12632256||%T
c2=G2|L9_Qté|Arial|9|16||Qté|0|L9|0|1||0|100|150|1300|1500|1|0|%F|%F|%F|16777215||%T
)";

constexpr std::string_view kStandardTemplate = R"([Calage]
Type=2
Orientation=1
X1_pixel=120
Y1_pixel=240%D5
X1_cm=1,5
Y1_cm=2
X2_pixel=2400
Y2_pixel=3300
X2_cm=20,25
Y2_cm=27,9
[Présentation]
Fonte=Times New Roman
Points=11
Couleur=0
champ_largeur_cm=3,5
Type_document=Prix
[Constantes]
TVA=19,6
[Source]
Nombre=2
Document_1=Bordereau Prix.MDN
Séparateur_1=TAB
Document_2=quantités.csv
Séparateur_2=;
[Règles verticales]
Nombre=2
1=00001|Désignation|1,27|0|0|150|0|8,25|0
2=V7|Prix|12,9|0|2|1520|0|3,5|1
[Pages]
Nombre=2
[Page 1]
Nombre_règles_h=2
r1=H1|L1|0|3,4|0|410|0|1
r2=00002|L2|0|4,6|0|560%D5|0|1
Nombre_champs=3
c1=001_00001|L1_Désignation|1,27|3,39|3,81|12,7|Désignation|0|L1|0|0||0|400%D5|450|150|1500|1
c2=F2|L1_Qté|11|3,39|3,81|12,7|Qté|0|L1|0|1||2|400|450|1300|1500|1
c3=001_00003|L1_PU|12,9|3,39|3,81|16,1|Prix|0|L1|0|1|Qté*PU|2|400|450|1520|1900|1
[Page 2]
Nombre_règles_h=0
Nombre_champs=2
c1=002_00001|L9_Montant|12,9|0,85|1,27|16,1|Prix|5|L9|0|3|#Qté%XPU|2|100|150|1520|1900|0
c2=G2|L9_Qté|11|0,85|1,27|12,7|Qté|0|L9|0|1||0|100|150|1300|1500|1
)";

constexpr char kTarget[] = "marchés/BPU Lot 1.bpx.xnf";
constexpr char kBackup[] = "marchés/BPU Lot 1.bpx.xak";
constexpr char kData[] = "marchés/BPU Lot 1.bpx.txt";
constexpr char kStandard[] = "marchés/BPU Lot 1.bpx.cnf";

class WriterTest : public ::testing::Test {
 protected:
  WriterTest() : platform_(std::make_shared<MemoryPlatform>(Locale::Comma())), scope_(platform_) {}

  std::string Bytes(const std::string& path) const { return platform_->FileBytes(path).value_or("<missing>"); }

  std::shared_ptr<MemoryPlatform> platform_;
  ScopedPlatform scope_;
};

TEST_F(WriterTest, ExtendedLayoutBytesInBothLocales) {
  for (const Locale& locale : {Locale::Comma(), Locale::Point()}) {
    SCOPED_TRACE(locale.decimal_separator);
    platform_->SetLocale(locale);
    auto doc = BuildPriceSchedule();
    bool with_qte = true;
    EXPECT_EQ(doc->SauvegarderMarquageEx(false, with_qte), 0);
    EXPECT_EQ(Bytes(kTarget), Expected(kExtendedTemplate, locale));
    EXPECT_TRUE(platform_->messages().empty());
    EXPECT_TRUE(platform_->questions().empty()) << "no question without Confirmation";
    EXPECT_EQ(platform_->OpenFileCount(), 0u);
  }
  // A few raw bytes, independent of the expected-text helper.
  const std::string bytes = Bytes(kTarget);
  EXPECT_EQ(bytes.substr(0, 10), "[Calage]\r\n");
  EXPECT_NE(bytes.find("\r\n[Pr\xE9sentation]\r\n"), std::string::npos);
  EXPECT_NE(bytes.find("\r\nS\xE9parateur_1=TAB\r\n"), std::string::npos);
  EXPECT_NE(bytes.find("|#Qt\xE9\x7FPU|"), std::string::npos);
  EXPECT_EQ(bytes.find("\n\n"), std::string::npos) << "no blank line";
  EXPECT_EQ(bytes.substr(bytes.size() - 2), "\r\n");
}

TEST_F(WriterTest, StandardLayoutBytesInBothLocales) {
  for (const Locale& locale : {Locale::Comma(), Locale::Point()}) {
    SCOPED_TRACE(locale.decimal_separator);
    platform_->SetLocale(locale);
    auto doc = BuildPriceSchedule();
    doc->iDevise(0);
    EXPECT_EQ(doc->SauvegarderMarquageStd(), -1);
    EXPECT_EQ(Bytes(kStandard), Expected(kStandardTemplate, locale));
  }
  EXPECT_FALSE(platform_->FileExists(kTarget));
  EXPECT_FALSE(platform_->FileExists(kBackup)) << "no backup in the standard layout";
  EXPECT_EQ(platform_->Paths(), std::vector<std::string>{kStandard}) << "no temporary file left";

  // An existing file is overwritten without a question; an unnamed document writes nothing.
  auto doc = BuildPriceSchedule();
  doc->Pages.Clear();
  EXPECT_EQ(doc->SauvegarderMarquageStd(), -1);
  EXPECT_NE(Bytes(kStandard).find("[Pages]\r\nNombre=0\r\n"), std::string::npos);
  EXPECT_EQ(Bytes(kStandard).find("[Page 1]"), std::string::npos);
  EXPECT_TRUE(platform_->questions().empty());
  auto unnamed = std::make_shared<Mandor>();
  EXPECT_EQ(unnamed->SauvegarderMarquageStd(), 0);
  EXPECT_EQ(platform_->Paths().size(), 1u);
}

TEST_F(WriterTest, GeneratedIdentifiersAreKept) {
  auto doc = BuildPriceSchedule();
  EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
  EXPECT_EQ(doc->Regles_V.Item(1L)->Id, "00001");
  EXPECT_EQ(doc->Regles_V.Item(2L)->Id, "V7");
  EXPECT_EQ(doc->Pages.Item(1L)->Regles_H.Item(2L)->Id, "00002");
  EXPECT_EQ(doc->Pages.Item(1L)->Champs.Item(1L)->Id, "001_00001");
  EXPECT_EQ(doc->Pages.Item(1L)->Champs.Item(2L)->Id, "F2");
  EXPECT_EQ(doc->Pages.Item(1L)->Champs.Item(3L)->Id, "001_00003");
  EXPECT_EQ(doc->Pages.Item(2L)->Champs.Item(1L)->Id, "002_00001");

  // Numbers run past the width of the format; page numbers count in collection order.
  auto big = std::make_shared<Mandor>();
  big->Nom_Document("grand.det");
  for (int n = 1; n <= 12; ++n) AddPage(big, n);
  auto page12 = big->Pages.Item(12L);
  for (int i = 1; i <= 3; ++i) {
    auto c = std::make_shared<CChamp>();
    c->oOwnerMandor(big);
    c->Nom("L_" + std::to_string(i));
    page12->Champs.Add(c, c->Nom());
  }
  EXPECT_EQ(big->SauvegarderMarquageStd(), -1);
  EXPECT_EQ(page12->Champs.Item(3L)->Id, "012_00003");
  const auto lines = platform_->FileLines("grand.det.cnf").value();
  EXPECT_NE(std::find(lines.begin(), lines.end(), "[Page 12]"), lines.end());
  EXPECT_TRUE(StartsWith(lines.back(), "c3=012_00003|L_3|"));
}

TEST_F(WriterTest, ConfirmationAndBackupGenerations) {
  auto doc = BuildPriceSchedule();
  platform_->SetFileText(kTarget, "ancien\r\n");
  platform_->SetFileText(kBackup, "très ancien\r\n");

  // Declined: nothing written, nothing backed up.
  platform_->QueueAnswer(false);
  EXPECT_EQ(doc->SauvegarderMarquageEx(true), 0);
  ASSERT_EQ(platform_->questions().size(), 1u);
  EXPECT_EQ(platform_->questions()[0].text,
            "Voulez vous écraser le marquage précédent du document marchés/BPU Lot 1.bpx");
  EXPECT_EQ(platform_->questions()[0].title, kDefaultMessageTitle);
  EXPECT_EQ(platform_->questions()[0].style, MessageStyle::kQuestion);
  EXPECT_EQ(platform_->FileText(kTarget), "ancien\r\n");
  EXPECT_EQ(platform_->FileText(kBackup), "très ancien\r\n");
  EXPECT_FALSE(platform_->FileExists(kData)) << "declining writes no data file either";
  EXPECT_EQ(doc->Regles_V.Item(1L)->Id, "") << "nor generates identifiers";

  // Accepted: the previous marking becomes the backup.
  platform_->QueueAnswer(true);
  EXPECT_EQ(doc->SauvegarderMarquageEx(true), 0);
  EXPECT_EQ(platform_->questions().size(), 2u);
  EXPECT_EQ(platform_->FileText(kBackup), "ancien\r\n");
  const std::string first = Bytes(kTarget);
  EXPECT_TRUE(StartsWith(first, "[Calage]\r\n"));

  // A second save keeps exactly one generation: the first save.
  doc->TVA = 5.5f;
  EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
  EXPECT_EQ(Bytes(kBackup), first);
  EXPECT_NE(Bytes(kTarget).find("TVA=5,5\r\n"), std::string::npos);
  const std::string second = Bytes(kTarget);
  doc->TVA = 7;
  EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
  EXPECT_EQ(Bytes(kBackup), second);
  EXPECT_EQ(platform_->Paths(), (std::vector<std::string>{kBackup, kTarget}));

  // Without a previous marking no backup is made; a read-only marking is replaced.
  platform_->DeleteFile(kTarget);
  platform_->DeleteFile(kBackup);
  EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
  EXPECT_FALSE(platform_->FileExists(kBackup));
  platform_->SetReadOnly(kTarget);
  doc->TVA = 8;
  EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
  EXPECT_NE(Bytes(kTarget).find("TVA=8\r\n"), std::string::npos);
  EXPECT_NE(Bytes(kBackup).find("TVA=7\r\n"), std::string::npos);
  EXPECT_TRUE(platform_->messages().empty());
}

TEST_F(WriterTest, ResultValuesAndUnnamedDocument) {
  auto unnamed = std::make_shared<Mandor>();
  unnamed->Répertoire_Document = "marchés/";
  platform_->SetAnswer(true);
  EXPECT_EQ(unnamed->SauvegarderMarquageEx(true), -1);
  EXPECT_TRUE(platform_->questions().empty()) << "no question for an unnamed document";
  EXPECT_TRUE(platform_->Paths().empty());

  auto doc = BuildPriceSchedule();
  EXPECT_EQ(doc->SauvegarderMarquageEx(true), 0);   // saved
  platform_->SetAnswer(false);
  EXPECT_EQ(doc->SauvegarderMarquageEx(true), 0);   // declined
  EXPECT_EQ(doc->SauvegarderMarquageStd(), -1);
  EXPECT_EQ(doc->Nom_Document(), "BPU Lot 1.bpx");
}

TEST_F(WriterTest, SourceSectionAndDataFile) {
  auto doc = std::make_shared<Mandor>();
  doc->Répertoire_Document = "d/";
  doc->Nom_Document("acte.ae");
  EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
  const auto lines = platform_->FileLines("d/acte.ae.xnf").value();
  auto source = std::find(lines.begin(), lines.end(), "[Source]");
  ASSERT_NE(source, lines.end());
  EXPECT_EQ(*(source + 1), "Nombre=0");
  EXPECT_EQ(*(source + 2), "[Champs Récurrents]");
  EXPECT_EQ(platform_->FileBytes("d/acte.ae.txt"), "") << "created empty";

  // An existing data file is left as it is; documents with sources create none.
  platform_->SetFileText("d/acte.ae.txt", "1;2;3\r\n");
  EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
  EXPECT_EQ(platform_->FileText("d/acte.ae.txt"), "1;2;3\r\n");
  platform_->DeleteFile("d/acte.ae.txt");
  auto unknown = std::make_shared<Doc>();
  unknown->Fichier = "données.txt";  // separator unknown: written empty
  doc->Docs.Add(unknown);
  EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
  EXPECT_FALSE(platform_->FileExists("d/acte.ae.txt"));
  const auto with_source = platform_->FileLines("d/acte.ae.xnf").value();
  source = std::find(with_source.begin(), with_source.end(), "[Source]");
  ASSERT_NE(source, with_source.end());
  EXPECT_EQ(*(source + 1), "Nombre=1");
  EXPECT_EQ(*(source + 2), "Document_1=données.txt");
  EXPECT_EQ(*(source + 3), "Séparateur_1=");

  // A data file that cannot be created does not fail the save.
  doc->Docs.Clear();
  platform_->FailOn(MemoryPlatform::Operation::kOpenOutput, ".txt");
  EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
  EXPECT_TRUE(platform_->messages().empty());
  EXPECT_FALSE(platform_->FileExists("d/acte.ae.txt"));
  EXPECT_NE(Bytes("d/acte.ae.xnf").find("[Pages]\r\nNombre=0\r\n"), std::string::npos);
}

TEST_F(WriterTest, CalageKeysFollowTheType) {
  auto doc = std::make_shared<Mandor>();
  doc->Nom_Document("a.det");
  doc->feuille_cm_largeur = 21;
  doc->feuille_cm_hauteur = 29.7f;
  doc->image_OrigineX_cm = 0.5f;
  doc->image_OrigineY_cm = -0.25f;
  doc->X1_pixel = 5;

  const auto calage = [&] {
    EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
    auto lines = platform_->FileLines("a.det.xnf").value();
    auto end = std::find(lines.begin(), lines.end(), "[Présentation]");
    return std::vector<std::string>(lines.begin(), end);
  };
  EXPECT_EQ(calage(), (std::vector<std::string>{"[Calage]", "Type=0", "Orientation=0", "Version=2", "FondGris=0"}));
  doc->Type_calage = 1;
  doc->Orientation = 2;
  platform_->SetLocale(Locale::Point());
  EXPECT_EQ(calage(), (std::vector<std::string>{"[Calage]", "Type=1", "Orientation=2", "Version=2",
                                                "largeur_cm=21", "hauteur_cm=29,7", "origineX_cm=0,5",
                                                "origineY_cm=-0,25", "FondGris=0"}));
  doc->Type_calage = 7;
  EXPECT_EQ(calage().size(), 5u);
}

TEST_F(WriterTest, QuantityValueIsCarriedOnlyWithQte) {
  auto doc = BuildPriceSchedule();
  EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);  // WithQte omitted: false
  const auto lines = platform_->FileLines(kTarget).value();
  int fields = 0;
  for (const std::string& line : lines) {
    if (line.size() < 2 || line[0] != 'c' || !isdigit(static_cast<unsigned char>(line[1]))) continue;
    ++fields;
    StringArray cols(26);
    EXPECT_TRUE(SeparateString(Mid(line, InStr(line, "=") + 1), cols, "|"));
    EXPECT_EQ(cols[6], "") << line;
    EXPECT_EQ(cols[25].empty(), false) << line;
  }
  EXPECT_EQ(fields, 5);

  // A quantity that is not a number is carried without its blanks.
  doc->Pages.Item(1L)->Champs.Item(2L)->valeur("environ 3");
  bool with_qte = true;
  EXPECT_EQ(doc->SauvegarderMarquageEx(false, with_qte), 0);
  EXPECT_TRUE(with_qte);
  const auto carried = platform_->FileLines(kTarget).value();
  EXPECT_NE(std::find_if(carried.begin(), carried.end(),
                         [](const std::string& l) { return StartsWith(l, "c3=001_00003|L1_PU|Arial|9|28|environ3|"); }),
            carried.end());
}

TEST_F(WriterTest, DefDeviseComesFromTheCatalogue) {
  auto catalogue = std::make_shared<cMarquage>();
  catalogue->Font = std::make_shared<CFont>();
  catalogue->oDevises = std::make_shared<Devises>();
  catalogue->oDevises->AddDevise("USD", "dollar", "cent");
  catalogue->oDevises->AddDevise("CHF", "franc", "centime");
  auto doc = std::make_shared<Mandor>();
  doc->Nom_Document("p.bpx");
  doc->oOwnerMarquage(catalogue);
  const auto def_devise = [&] {
    EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
    const auto lines = platform_->FileLines("p.bpx.xnf").value();
    for (const auto& line : lines) {
      if (StartsWith(line, "DefDevise=")) return line;
    }
    return std::string("<none>");
  };
  doc->iDevise(2);
  EXPECT_EQ(def_devise(), "DefDevise=CHF");
  doc->iDevise(0);
  EXPECT_EQ(def_devise(), "DefDevise=EUR");
  doc->iDevise(3);  // the count itself: no such currency
  EXPECT_EQ(def_devise(), "DefDevise=3");
  catalogue->oDevises = nullptr;
  doc->iDevise(1);
  EXPECT_EQ(def_devise(), "DefDevise=1");
}

TEST_F(WriterTest, FailurePartWayKeepsThePreviousMarking) {
  using Op = MemoryPlatform::Operation;
  const std::string previous = "[Calage]\r\nType=0\r\n";
  const std::string message = "Impossible de céer le fichier marchés/BPU Lot 1.bpx.xnf !!";
  const size_t line_count = static_cast<size_t>(std::count(kExtendedTemplate.begin(), kExtendedTemplate.end(), '\n'));
  const std::vector<std::function<void()>> failures = {
      [&] { platform_->FailOn(Op::kOpenOutput, ".xnf"); },
      [&] { platform_->FailWriteAfter(0, ".xnf"); },
      [&] { platform_->FailWriteAfter(20, ".xnf"); },
      [&] { platform_->FailWriteAfter(line_count - 1, ".xnf"); },  // the very last line
      [&] { platform_->FailOn(Op::kClose, ".xnf"); },
      [&] { platform_->FailOn(Op::kRename, ".xnf"); },
  };
  for (size_t k = 0; k < failures.size(); ++k) {
    SCOPED_TRACE(k);
    platform_->ClearFailures();
    platform_->ClearMessages();
    platform_->SetFileBytes(kTarget, previous);
    if (platform_->FileExists(kBackup)) platform_->DeleteFile(kBackup);
    auto doc = BuildPriceSchedule();
    failures[k]();
    bool with_qte = true;
    EXPECT_EQ(doc->SauvegarderMarquageEx(false, with_qte), 0);
    EXPECT_EQ(Bytes(kTarget), previous) << "the marking is not truncated";
    EXPECT_EQ(Bytes(kBackup), previous);
    ASSERT_EQ(platform_->messages().size(), 1u);
    EXPECT_EQ(platform_->messages()[0].text, message);
    EXPECT_EQ(platform_->messages()[0].title, "Erreur Fichier");
    EXPECT_EQ(platform_->messages()[0].style, MessageStyle::kExclamation);
    EXPECT_EQ(doc->Nom_Document(), "") << "the failed save forgets the document name";
    EXPECT_EQ(platform_->OpenFileCount(), 0u);
    for (const auto& path : platform_->Paths()) EXPECT_FALSE(EndsWith(path, ".tmp")) << path;
  }

  // Letting every line of the file through saves.
  platform_->ClearFailures();
  platform_->ClearMessages();
  platform_->FailWriteAfter(line_count, ".xnf");
  auto doc = BuildPriceSchedule();
  bool with_qte = true;
  EXPECT_EQ(doc->SauvegarderMarquageEx(false, with_qte), 0);
  EXPECT_EQ(Bytes(kTarget), Expected(kExtendedTemplate, platform_->locale()));
  EXPECT_TRUE(platform_->messages().empty());

  // A null member of a collection stops its section: the save fails the same way.
  platform_->ClearMessages();
  const std::string saved = Bytes(kTarget);
  auto broken = BuildPriceSchedule();
  broken->Pages.Item(2L)->Champs.Add(nullptr);
  EXPECT_EQ(broken->SauvegarderMarquageEx(false), 0);
  EXPECT_EQ(Bytes(kTarget), saved);
  ASSERT_EQ(platform_->messages().size(), 1u);
  EXPECT_EQ(platform_->messages()[0].text, message);
  auto broken_std = BuildPriceSchedule();
  broken_std->Regles_V.Add(nullptr);
  try {
    broken_std->SauvegarderMarquageStd();
    ADD_FAILURE() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), kObjectNotSet);
  }
  EXPECT_FALSE(platform_->FileExists(kStandard));

  // A backup that cannot be made stops the save before anything is written.
  platform_->ClearFailures();
  platform_->SetFileBytes(kTarget, previous);
  platform_->FailOn(Op::kCopy, ".xak");
  auto other = BuildPriceSchedule();
  EXPECT_THROW(other->SauvegarderMarquageEx(false), Error);
  EXPECT_EQ(Bytes(kTarget), previous);
}

TEST_F(WriterTest, StandardFailureKeepsThePreviousMarkingAndRaises) {
  platform_->SetFileBytes(kStandard, "old");
  platform_->FailWriteAfter(10, ".cnf");
  auto doc = BuildPriceSchedule();
  try {
    doc->SauvegarderMarquageStd();
    ADD_FAILURE() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), kPathFileAccessError);
  }
  EXPECT_EQ(Bytes(kStandard), "old");
  EXPECT_EQ(platform_->Paths(), std::vector<std::string>{kStandard});
  EXPECT_TRUE(platform_->messages().empty());
}

TEST_F(WriterTest, OpenFileWriteAndSectionProcedures) {
  auto doc = BuildPriceSchedule();
  platform_->FailOn(MemoryPlatform::Operation::kOpenOutput, "verrou");
  EXPECT_TRUE(doc->OpenFileWrite("dossier/verrou.xnf") == nullptr);
  platform_->SetFileText("ro.xnf", "x");
  platform_->SetReadOnly("ro.xnf");
  EXPECT_TRUE(doc->OpenFileWrite("ro.xnf") == nullptr);
  EXPECT_TRUE(platform_->messages().empty()) << "OpenFileWrite shows no message";

  platform_->SetFileText("s.xnf", "ancien contenu\r\n");
  auto fich = doc->OpenFileWrite("s.xnf");
  ASSERT_NE(fich, nullptr);
  EXPECT_EQ(platform_->FileBytes("s.xnf"), "") << "truncated";
  EXPECT_TRUE(doc->WriteConstante(*fich));
  EXPECT_TRUE(doc->WriteRegle_V(*fich));
  fich->Close();
  EXPECT_EQ(platform_->FileText("s.xnf"),
            "[Constantes]\r\nTVA=19,6\r\n[Règles verticales]\r\nNombre=2\r\n"
            "1=00001|Désignation|Arial|10|18|0|150|0|8,25|0|0\r\n2=V7|Prix|Arial|10|18|2|1520|0|3,5|1|0\r\n");

  // A section that cannot finish reports false.
  auto partial = doc->OpenFileWrite("p.xnf");
  ASSERT_NE(partial, nullptr);
  platform_->FailWriteAfter(1, "p.xnf");
  EXPECT_FALSE(doc->WriteCalage(*partial));
  EXPECT_FALSE(doc->WritePresentation(*partial));
  EXPECT_FALSE(doc->WritePage(*partial, true));
  EXPECT_EQ(platform_->FileText("p.xnf"), "[Calage]\r\n");
}

}  // namespace
}  // namespace textfile_test
}  // namespace mandor
