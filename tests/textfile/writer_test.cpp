// Tests of the text marking writer (extended ".xnf" and standard ".cnf"):
// the bytes of each layout, consent and the ".xak" backup, the sources; and
// what a save writes reads back whole (values holding a lone LF or CR, files
// whose line ends became LF, the source list) while the user's own files
// beside the marking stay as they were.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "mandor/model/marquage.h"
#include "mandor/util/internal/cp1252.h"
#include "mandor/util/internal/text.h"
#include "tests/model/describe.h"
#include "tests/test_util.h"
#include "tests/textfile/textfile_test_util.h"

namespace mandor::textfile_test {
namespace {

// The expected file from a template of tests/data/textfile: lines joined with
// CR LF, in Windows-1252. %T / %F stand for the locale's boolean texts, %D for
// its decimal separator (pixel values only: cm values always carry a comma)
// and %X for the escaped record separator (character 127).
std::string Expected(const std::string& template_name, const Locale& locale) {
  std::string text = DataFile(template_name);
  for (const auto& [from, to] : {std::pair<std::string, std::string>{"%T", locale.true_text}, {"%F", locale.false_text},
                                 {"%D", locale.decimal_separator}, {"%X", "\x7F"}, {"\n", "\r\n"}}) {
    text = ReplaceAll(text, from, to);
  }
  return Utf8ToWindows1252(text);
}

constexpr char kTarget[] = "marchés/BPU Lot 1.bpx.xnf";
constexpr char kBackup[] = "marchés/BPU Lot 1.bpx.xak";
constexpr char kStandard[] = "marchés/BPU Lot 1.bpx.cnf";

class WriterTest : public TextFileTest {
 protected:
  // The lines of the file at `path` from `header` (included) up to the next section.
  std::vector<std::string> Section(const std::string& path, const std::string& header) const {
    const auto lines = platform_->FileLines(path).value_or(std::vector<std::string>{});
    auto begin = std::find(lines.begin(), lines.end(), header);
    auto end = std::find_if(begin == lines.end() ? begin : begin + 1, lines.end(),
                            [](const std::string& l) { return !l.empty() && l[0] == '['; });
    return std::vector<std::string>(begin, end);
  }
  std::shared_ptr<Mandor> Restore() {
    auto doc = std::make_shared<Mandor>();
    doc->Répertoire_Document = "marchés/";
    doc->Nom_Document("BPU Lot 1.bpx");
    EXPECT_TRUE(doc->RestaurerMarquage());
    return doc;
  }
  static std::string Path(const char* extension) { return std::string("marchés/BPU Lot 1.bpx") + extension; }
  // The number of fields of the pages (the standard layout has no recurrent fields).
  static long FieldCount(const Mandor& doc) {
    long count = 0;
    for (const auto& page : doc.Pages) count += page->Champs.Count();
    return count;
  }
  static void Save(Mandor& doc, bool extended) {
    ASSERT_EQ(extended ? doc.SauvegarderMarquageEx(false) : doc.SauvegarderMarquageStd(), extended ? 0 : -1);
  }
};

TEST_F(WriterTest, LayoutBytesInBothLocales) {
  for (const Locale& locale : {Locale::Comma(), Locale::Point()}) {
    SCOPED_TRACE(locale.decimal_separator);
    platform_->SetLocale(locale);
    bool with_qte = true;
    EXPECT_EQ(BuildPriceSchedule()->SauvegarderMarquageEx(false, with_qte), 0);
    EXPECT_EQ(Bytes(kTarget), Expected("price_schedule.xnf.txt", locale));
    // No message, no question without Confirmation, no file left open.
    EXPECT_TRUE(platform_->messages().empty() && platform_->questions().empty() && !platform_->OpenFileCount());
    platform_->DeleteFile(kTarget);
    auto doc = BuildPriceSchedule();
    doc->iDevise(0);
    EXPECT_EQ(doc->SauvegarderMarquageStd(), -1);
    EXPECT_EQ(Bytes(kStandard), Expected("price_schedule.cnf.txt", locale));
  }
  // No backup in the standard layout (an existing file is overwritten without
  // a question), no temporary file left; an unnamed document writes nothing.
  EXPECT_EQ(platform_->Paths(), std::vector<std::string>{kStandard});
  EXPECT_EQ(std::make_shared<Mandor>()->SauvegarderMarquageStd(), 0);
  EXPECT_EQ(platform_->Paths().size(), 1u);
}

TEST_F(WriterTest, ConfirmationResultsAndBackupGenerations) {
  auto unnamed = std::make_shared<Mandor>();
  unnamed->Répertoire_Document = "marchés/";
  platform_->SetAnswer(true);
  EXPECT_EQ(unnamed->SauvegarderMarquageEx(true), -1);
  EXPECT_TRUE(platform_->questions().empty()) << "no question for an unnamed document";
  EXPECT_TRUE(platform_->Paths().empty());

  auto doc = BuildPriceSchedule();
  platform_->SetFileText(kTarget, "ancien\r\n");
  platform_->SetFileText(kBackup, "très ancien\r\n");
  // Declined: nothing written, nothing backed up.
  platform_->QueueAnswer(false);
  EXPECT_EQ(doc->SauvegarderMarquageEx(true), 0);
  ASSERT_EQ(platform_->questions().size(), 1u);
  EXPECT_EQ(platform_->questions()[0].text + "|" + platform_->questions()[0].title,
            std::string("Voulez vous écraser le marquage précédent du document marchés/BPU Lot 1.bpx|") +
                kDefaultMessageTitle);
  EXPECT_EQ(platform_->questions()[0].style, MessageStyle::kQuestion);
  EXPECT_EQ(*platform_->FileText(kTarget) + *platform_->FileText(kBackup), "ancien\r\ntrès ancien\r\n");

  // Accepted: the previous marking becomes the backup.
  platform_->QueueAnswer(true);
  EXPECT_EQ(doc->SauvegarderMarquageEx(true), 0);
  EXPECT_EQ(platform_->FileText(kBackup), "ancien\r\n");
  // Each save keeps exactly one generation.
  const std::string before = Bytes(kTarget);
  doc->TVA = 7;
  EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
  EXPECT_EQ(Bytes(kBackup), before);
  EXPECT_EQ(platform_->Paths(), (std::vector<std::string>{kBackup, kTarget}));

  // Without a previous marking no backup is made; a read-only marking is replaced.
  platform_->DeleteFile(kTarget);
  platform_->DeleteFile(kBackup);
  EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
  EXPECT_FALSE(platform_->FileExists(kBackup));
  platform_->SetReadOnly(kTarget);
  doc->TVA = 8;
  EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
  EXPECT_EQ(Section(kTarget, "[Constantes]").at(1) + Section(kBackup, "[Constantes]").at(1), "TVA=8TVA=7");
  EXPECT_TRUE(platform_->messages().empty() && doc->Nom_Document() == "BPU Lot 1.bpx");
}

// A document without sources gets an empty data file beside it, unless one
// is there (it is left as it is) or it cannot be created (the save goes on).
TEST_F(WriterTest, SourceSectionAndDataFile) {
  auto doc = std::make_shared<Mandor>();
  doc->Répertoire_Document = "d/";
  doc->Nom_Document("acte.ae");
  const auto source = [&] {
    EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
    return Section("d/acte.ae.xnf", "[Source]");
  };
  EXPECT_EQ(source(), (std::vector<std::string>{"[Source]", "Nombre=0"}));
  EXPECT_EQ(platform_->FileBytes("d/acte.ae.txt"), "");
  platform_->SetFileText("d/acte.ae.txt", "1;2;3\r\n");
  source();
  EXPECT_EQ(platform_->FileText("d/acte.ae.txt"), "1;2;3\r\n");
  platform_->DeleteFile("d/acte.ae.txt");
  platform_->FailOn(MemoryPlatform::Operation::kOpenOutput, ".txt");
  EXPECT_EQ(source().size(), 2u);
  EXPECT_TRUE(platform_->messages().empty());
  platform_->ClearFailures();
  auto unknown = std::make_shared<Doc>();
  unknown->Fichier = "données.txt";  // separator unknown: written empty
  doc->Docs.Add(unknown);
  EXPECT_EQ(source(), (std::vector<std::string>{"[Source]", "Nombre=1", "Document_1=données.txt", "Séparateur_1="}));
  EXPECT_FALSE(platform_->FileExists("d/acte.ae.txt"));
}

// The row's quantity goes in the seventh column only when asked for (a
// quantity that is not a number without its blanks); DefDevise is the code
// of the catalogue's currency table at the document's index.
TEST_F(WriterTest, QuantityCarriedOnlyWithQteAndDefDeviseFromTheCatalogue) {
  auto doc = BuildPriceSchedule();
  doc->Pages.Item(1L)->Champs.Item(2L)->valeur("environ 3");
  for (const bool with : {false, true}) {
    bool with_qte = with;
    EXPECT_EQ(with ? doc->SauvegarderMarquageEx(false, with_qte) : doc->SauvegarderMarquageEx(false), 0);
    EXPECT_TRUE(StartsWith(Section(kTarget, "[Page 1]").back(),
                           std::string("c3=001_00003|L1_PU|Arial|9|28|") + (with ? "environ3|" : "|")));
  }
  auto catalogue = std::make_shared<cMarquage>();
  catalogue->Font = std::make_shared<CFont>();
  catalogue->oDevises = std::make_shared<Devises>();
  catalogue->oDevises->AddDevise("USD", "dollar", "cent");
  catalogue->oDevises->AddDevise("CHF", "franc", "centime");
  doc->oOwnerMarquage(catalogue);
  for (const auto& [index, text] : {std::pair<int, const char*>{2, "CHF"}, {3, "3"} /* no such currency */}) {
    doc->iDevise(index);
    EXPECT_EQ(doc->SauvegarderMarquageEx(false), 0);
    EXPECT_EQ(Section(kTarget, "[Présentation]").at(9), std::string("DefDevise=") + text);
  }
}

// A value holding a lone LF and CR comes back with every field after it; a
// marking whose CR LF line ends became LF (edited on Linux) reads the same.
TEST_F(WriterTest, LoneLineFeedsAndLineFeedFilesReadBackWhole) {
  for (const bool extended : {true, false}) {
    SCOPED_TRACE(extended ? "extended" : "standard");
    const std::string path = Path(extended ? ".xnf" : ".cnf");
    for (const auto& p : platform_->Paths()) platform_->DeleteFile(p);
    auto doc = BuildPriceSchedule();
    doc->Champs.Item("L1_Qté")->Formule("Qté\r*2\n+1");
    Save(*doc, extended);
    auto read = Restore();
    EXPECT_EQ(FieldCount(*read), FieldCount(*doc));
    EXPECT_EQ(read->Pages.Item(1L)->Champs.Item("L1_Qté")->Formule(), "Qté\r*2\n+1");
    Save(*BuildPriceSchedule(), extended);
    const std::string expected = test_util::Describe(*Restore());
    platform_->SetFileBytes(path, ReplaceAll(Bytes(path), "\r\n", "\n"));
    EXPECT_EQ(test_util::Describe(*Restore()), expected);
    EXPECT_TRUE(platform_->messages().empty()) << platform_->messages()[0].text;
  }
}

// The [Source] count gives one record per number, present or not; a number
// lands in its place whatever the order; the sections after it still read.
TEST_F(WriterTest, SourceCountGivesOneRecordPerNumber) {
  auto doc = BuildPriceSchedule();
  Save(*doc, true);
  const std::string saved = Bytes(Path(".xnf"));
  const size_t start = saved.find("[Source]\r\n"), end = saved.find("\r\n[", start + 1);
  ASSERT_NE(end, std::string::npos);
  const struct { const char* section; const char* files; } cases[] = {
      {"Nombre=10\r\nDocument_1=a.csv\r\nS\xE9parateur_1=;\r\nDocument_2=b.MDN\r\nS\xE9parateur_2=TAB\r\n",
       "a.csv;|b.MDN\t|||||||||"},
      {"Nombre=3\r\nDocument_3=c.txt\r\n", "||c.txt|"}, {"Nombre=0\r\nDocument_1=x\r\n", ""}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.section);
    platform_->SetFileBytes(Path(".xnf"), saved.substr(0, start) + "[Source]\r\n" + c.section + saved.substr(end + 2));
    auto read = Restore();
    std::string files;
    for (const auto& source : read->Docs) files += source->Fichier + source->Séparateur + "|";
    EXPECT_EQ(files, c.files);
    EXPECT_EQ(FieldCount(*read), FieldCount(*doc));
    if (c.files[0] == 'a') {
      EXPECT_EQ(read->FichierMDN, "b.MDN");
    }
  }
}

TEST_F(WriterTest, SavesLeaveTheUsersFilesAloneAndSurviveAPowerCut) {
  // Files of the names earlier versions used for their temporary files, and
  // the first name the platform would pick: a save leaves them all alone.
  const std::string mine[] = {Path(".xnf.tmp"), Path(".cnf.tmp"), Path(".xak.tmp"),
                              TemporaryFileName(Path(".xnf"), 1), TemporaryFileName(Path(".cnf"), 1)};
  for (const auto& path : mine) platform_->SetFileBytes(path, "mine: " + path);
  const std::string previous = "[Calage]\r\nType=0\r\n";  // a marking to back up
  platform_->SetFileBytes(Path(".xnf"), previous);
  auto doc = BuildPriceSchedule();
  Save(*doc, true);
  Save(*doc, false);
  for (const auto& path : mine) EXPECT_EQ(Bytes(path), "mine: " + path);
  EXPECT_EQ(Bytes(Path(".xak")), previous);
  EXPECT_TRUE(StartsWith(Bytes(Path(".xnf")), "[Calage]\r\nType=2\r\n"));
  EXPECT_EQ(platform_->Paths().size(), std::size(mine) + 3) << "nothing else was left beside them";
  // A power cut right after the saves keeps the new markings and the backup
  // whole: each was flushed before it replaced the old one.
  const std::string xnf = Bytes(Path(".xnf")), cnf = Bytes(Path(".cnf"));
  platform_->SimulatePowerLoss();
  EXPECT_EQ(Bytes(Path(".xnf")) + Bytes(Path(".cnf")) + Bytes(Path(".xak")), xnf + cnf + previous);
  EXPECT_EQ(platform_->CommitCount(), 3u);  // backup, extended, standard
}

}  // namespace
}  // namespace mandor::textfile_test
