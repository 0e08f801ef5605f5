// What a text marking save writes reads back whole: values holding a lone LF
// or CR, files whose line ends were changed to LF, the source list; and the
// user's own files beside the marking stay as they were.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "mandor/model/marquage.h"
#include "mandor/util/internal/text.h"
#include "tests/model/describe.h"
#include "tests/textfile/textfile_test_util.h"

namespace mandor::textfile_test {
namespace {

constexpr char kFolder[] = "marchés/";
constexpr char kName[] = "BPU Lot 1.bpx";

class SavedMarkingSafetyTest : public TextFileTest {
 protected:
  std::shared_ptr<Mandor> Restore() {
    auto doc = std::make_shared<Mandor>();
    doc->Répertoire_Document = kFolder;
    doc->Nom_Document(kName);
    EXPECT_TRUE(doc->RestaurerMarquage());
    return doc;
  }
  static std::string Path(const char* extension) { return std::string(kFolder) + kName + extension; }
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

// A value holding a lone LF and CR comes back with every field after it; a
// marking whose CR LF line ends became LF (edited on Linux) reads the same.
TEST_F(SavedMarkingSafetyTest, LoneLineFeedsAndLineFeedFilesReadBackWhole) {
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
TEST_F(SavedMarkingSafetyTest, SourceCountGivesOneRecordPerNumber) {
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

TEST_F(SavedMarkingSafetyTest, SavesLeaveTheUsersFilesAloneAndSurviveAPowerCut) {
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
