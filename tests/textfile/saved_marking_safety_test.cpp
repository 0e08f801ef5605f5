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
  // The fields of every page, by name (null when none has that name).
  static std::shared_ptr<CChamp> Field(const Mandor& doc, const std::string& nom) {
    for (const auto& page : doc.Pages) {
      if (page->Champs.Contains(nom)) return page->Champs.Item(std::string_view(nom));
    }
    return nullptr;
  }
  // The number of fields of the pages (the standard layout has no recurrent fields).
  static long FieldCount(const Mandor& doc) {
    long count = 0;
    for (const auto& page : doc.Pages) count += page->Champs.Count();
    return count;
  }
};

TEST_F(SavedMarkingSafetyTest, LoneLineFeedsAndCarriageReturnsStayInTheirValues) {
  for (const bool extended : {true, false}) {
    SCOPED_TRACE(extended ? "extended" : "standard");
    platform_->ClearMessages();
    for (const auto& path : platform_->Paths()) platform_->DeleteFile(path);
    auto doc = BuildPriceSchedule();
    doc->Champs.Item("L1_Qté")->Formule("Qté\r*2\n+1");
    if (extended) {
      ASSERT_EQ(doc->SauvegarderMarquageEx(false), 0);
    } else {
      ASSERT_EQ(doc->SauvegarderMarquageStd(), -1);
    }
    ASSERT_TRUE(platform_->messages().empty()) << platform_->messages()[0].text;

    auto read = Restore();
    EXPECT_TRUE(platform_->messages().empty()) << platform_->messages()[0].text;
    // Every field comes back, and the lone LF and CR with their values.
    EXPECT_EQ(FieldCount(*read), FieldCount(*doc));
    ASSERT_NE(Field(*read, "L1_Désignation"), nullptr);
    ASSERT_NE(Field(*read, "L1_Qté"), nullptr);
    ASSERT_NE(Field(*read, "L1_PU"), nullptr);       // the field after them on the same page
    ASSERT_NE(Field(*read, "L9_Montant"), nullptr);  // and on the next page
    EXPECT_EQ(Field(*read, "L1_Qté")->Formule(), "Qté\r*2\n+1");
  }
}

TEST_F(SavedMarkingSafetyTest, FilesWithLineFeedLineEndsReadLikeTheirCrLfOriginal) {
  // A marking edited on Linux: every CR LF became LF. It reads to the same
  // model, in both layouts.
  for (const bool extended : {true, false}) {
    SCOPED_TRACE(extended ? "extended" : "standard");
    auto doc = BuildPriceSchedule();
    const std::string path = Path(extended ? ".xnf" : ".cnf");
    extended ? doc->SauvegarderMarquageEx(false) : doc->SauvegarderMarquageStd();
    const std::string crlf = Bytes(path);
    ASSERT_NE(crlf.find("\r\n"), std::string::npos);
    const std::string expected = test_util::Describe(*Restore());

    platform_->SetFileBytes(path, ReplaceAll(crlf, "\r\n", "\n"));
    platform_->ClearMessages();
    auto read = Restore();
    EXPECT_TRUE(platform_->messages().empty()) << platform_->messages()[0].text;
    EXPECT_EQ(test_util::Describe(*read), expected);
    EXPECT_EQ(FieldCount(*read), FieldCount(*doc));
    platform_->DeleteFile(path);
  }
}

TEST_F(SavedMarkingSafetyTest, SourceCountGivesOneRecordPerNumber) {
  auto doc = BuildPriceSchedule();
  ASSERT_EQ(doc->SauvegarderMarquageEx(false), 0);
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

TEST_F(SavedMarkingSafetyTest, UsersTemporaryLookingFilesAreNeverTouched) {
  // Files of the names earlier versions used for their temporary files, and
  // the first name the platform would pick: a save leaves them all alone.
  const std::string mine[] = {Path(".xnf.tmp"), Path(".cnf.tmp"), Path(".xak.tmp"),
                              TemporaryFileName(Path(".xnf"), 1), TemporaryFileName(Path(".cnf"), 1)};
  for (const auto& path : mine) platform_->SetFileBytes(path, "mine: " + path);
  platform_->SetFileBytes(Path(".xnf"), "[Calage]\r\nType=0\r\n");  // a marking to back up
  auto doc = BuildPriceSchedule();
  ASSERT_EQ(doc->SauvegarderMarquageEx(false), 0);
  ASSERT_EQ(doc->SauvegarderMarquageStd(), -1);
  for (const auto& path : mine) EXPECT_EQ(Bytes(path), "mine: " + path);
  EXPECT_EQ(Bytes(Path(".xak")), "[Calage]\r\nType=0\r\n");
  EXPECT_TRUE(StartsWith(Bytes(Path(".xnf")), "[Calage]\r\nType=2\r\n"));
  // Nothing else was left beside them.
  EXPECT_EQ(platform_->Paths().size(), std::size(mine) + 3);
}

TEST_F(SavedMarkingSafetyTest, SavedMarkingsSurviveAPowerCut) {
  // A power cut right after each save keeps the new marking and its backup
  // whole: both were flushed before they replaced the old ones.
  platform_->SetFileBytes(Path(".xnf"), "[Calage]\r\nType=0\r\n");
  auto doc = BuildPriceSchedule();
  ASSERT_EQ(doc->SauvegarderMarquageEx(false), 0);
  ASSERT_EQ(doc->SauvegarderMarquageStd(), -1);
  const std::string xnf = Bytes(Path(".xnf")), cnf = Bytes(Path(".cnf"));
  platform_->SimulatePowerLoss();
  EXPECT_EQ(Bytes(Path(".xnf")), xnf);
  EXPECT_EQ(Bytes(Path(".cnf")), cnf);
  EXPECT_EQ(Bytes(Path(".xak")), "[Calage]\r\nType=0\r\n");
  EXPECT_GT(xnf.size(), 100u);
  EXPECT_EQ(platform_->CommitCount(), 3u);  // backup, extended, standard
}

}  // namespace
}  // namespace mandor::textfile_test
