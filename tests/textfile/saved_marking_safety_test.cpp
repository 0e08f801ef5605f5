// What a text marking save writes reads back whole: values holding a lone LF
// or CR, files whose line ends were changed to LF, the source list, and the
// user's own files beside the marking.

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

TEST_F(SavedMarkingSafetyTest, LoneLineFeedsAndCarriageReturnsStayInTheirValues) {
  for (const bool extended : {true, false}) {
    SCOPED_TRACE(extended ? "extended" : "standard");
    for (const auto& path : platform_->Paths()) platform_->DeleteFile(path);
    auto doc = BuildPriceSchedule();
    doc->Champs.Item("L1_Qté")->Formule("Qté\r*2\n+1");
    Save(*doc, extended);
    auto read = Restore();
    EXPECT_TRUE(platform_->messages().empty()) << platform_->messages()[0].text;
    // Every field comes back (those after it on the page and on the next
    // page too), and the lone LF and CR with their value.
    EXPECT_EQ(FieldCount(*read), FieldCount(*doc));
    EXPECT_EQ(read->Pages.Item(1L)->Champs.Item("L1_Qté")->Formule(), "Qté\r*2\n+1");
  }
}

TEST_F(SavedMarkingSafetyTest, FilesWithLineFeedLineEndsReadLikeTheirCrLfOriginal) {
  // A marking edited on Linux: every CR LF became LF. It reads to the same
  // model, in both layouts.
  for (const bool extended : {true, false}) {
    SCOPED_TRACE(extended ? "extended" : "standard");
    const std::string path = Path(extended ? ".xnf" : ".cnf");
    Save(*BuildPriceSchedule(), extended);
    const std::string crlf = Bytes(path);
    ASSERT_NE(crlf.find("\r\n"), std::string::npos);
    const std::string expected = test_util::Describe(*Restore());
    platform_->SetFileBytes(path, ReplaceAll(crlf, "\r\n", "\n"));
    EXPECT_EQ(test_util::Describe(*Restore()), expected);
    EXPECT_TRUE(platform_->messages().empty()) << platform_->messages()[0].text;
    platform_->DeleteFile(path);
  }
}

TEST_F(SavedMarkingSafetyTest, SourceCountGivesOneRecordPerNumber) {
  auto doc = BuildPriceSchedule();
  Save(*doc, true);
  const std::string saved = Bytes(Path(".xnf"));
  const size_t start = saved.find("[Source]\r\n");
  const size_t end = saved.find("\r\n[", start + 1);
  ASSERT_NE(start, std::string::npos);
  ASSERT_NE(end, std::string::npos);
  const auto with_source = [&](const std::string& section) {
    platform_->SetFileBytes(Path(".xnf"), saved.substr(0, start) + section + saved.substr(end + 2));
    return Restore();
  };

  // Ten claimed, two present: ten records, the missing ones without a file.
  auto read = with_source(
      "[Source]\r\nNombre=10\r\nDocument_1=a.csv\r\nS\xE9parateur_1=;\r\nDocument_2=b.MDN\r\n"
      "S\xE9parateur_2=TAB\r\n");
  ASSERT_EQ(read->Docs.Count(), 10);
  EXPECT_EQ(read->Docs.Item(1L)->Fichier, "a.csv");
  EXPECT_EQ(read->Docs.Item(1L)->Séparateur, ";");
  EXPECT_EQ(read->Docs.Item(2L)->Séparateur, "\t");
  for (long i = 3; i <= 10; ++i) EXPECT_EQ(read->Docs.Item(i)->Fichier, "") << i;
  EXPECT_EQ(read->FichierMDN, "b.MDN");
  EXPECT_EQ(FieldCount(*read), FieldCount(*doc)) << "the sections after [Source] still read";

  // A number given out of order still lands in its place.
  read = with_source("[Source]\r\nNombre=3\r\nDocument_3=c.txt\r\n");
  ASSERT_EQ(read->Docs.Count(), 3);
  EXPECT_EQ(read->Docs.Item(3L)->Fichier, "c.txt");
  EXPECT_EQ(with_source("[Source]\r\nNombre=0\r\nDocument_1=x\r\n")->Docs.Count(), 0);
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
