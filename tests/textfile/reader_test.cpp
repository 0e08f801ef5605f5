// Tests of the text marking reader (extended ".xnf" and standard ".cnf"
// layouts): hand-written files (read, saved and read again to the same
// bytes), edited ones and broken ones.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "mandor/model/marquage.h"
#include "mandor/textfile/internal/format.h"
#include "mandor/util/internal/text.h"
#include "tests/model/describe.h"
#include "tests/test_util.h"
#include "tests/textfile/textfile_test_util.h"

namespace mandor::textfile_test {
namespace {

namespace tf = textfile;

constexpr char kFolder[] = "marquages/";
constexpr char kName[] = "bordereau.bpx";

// The lines without the section `header` and its lines.
std::vector<std::string> WithoutSection(const std::vector<std::string>& lines, const std::string& header) {
  std::vector<std::string> kept;
  bool skipping = false;
  for (const auto& line : lines) {
    skipping = line == header || (skipping && (line.empty() || line[0] != '['));
    if (!skipping) kept.push_back(line);
  }
  return kept;
}

// The lines with the first line starting with `prefix` replaced.
std::vector<std::string> Replaced(std::vector<std::string> lines, const std::string& prefix,
                                  const std::string& replacement) {
  const auto line = std::find_if(lines.begin(), lines.end(), [&](const auto& l) { return StartsWith(l, prefix); });
  EXPECT_NE(line, lines.end()) << "no line starts with " << prefix;
  if (line != lines.end()) *line = replacement;
  return lines;
}

// A small extended marking (one vertical ruler, one page with one ruler and
// two fields) and a standard one with the same content, as UTF-8 templates
// that the tests edit before writing them in Windows-1252.
std::vector<std::string> SmallXnf() { return DataLines("small.xnf.txt"); }
std::vector<std::string> SmallCnf() { return DataLines("small.cnf.txt"); }

// The edit blocks of tests/data/textfile/reader_edits.txt by label, in order.
using Edits = std::vector<std::pair<std::string, std::string>>;
std::vector<std::pair<std::string, Edits>> EditBlocks() {
  std::vector<std::pair<std::string, Edits>> blocks;
  for (auto line : DataLines("reader_edits.txt")) {
    line = ReplaceAll(line, "\\r\\n", "\r\n");
    const size_t arrow = line.find(" =>");
    if (StartsWith(line, "== ")) {
      blocks.emplace_back(line.substr(3), Edits{});
    } else if (!line.empty() && line[0] != '#' && arrow != std::string::npos) {
      blocks.back().second.emplace_back(line.substr(0, arrow), line.size() > arrow + 4 ? line.substr(arrow + 4) : "");
    }
  }
  return blocks;
}

// The lines with the edits of the block `label` made.
std::vector<std::string> Edited(std::vector<std::string> lines, const std::string& label) {
  static const auto blocks = EditBlocks();
  const auto block = std::find_if(blocks.begin(), blocks.end(), [&](const auto& b) { return b.first == label; });
  EXPECT_NE(block, blocks.end()) << "no edit block " << label;
  for (const auto& [prefix, replacement] : block == blocks.end() ? Edits{} : block->second) {
    lines = Replaced(lines, prefix, replacement);
  }
  return lines;
}

// Every ruler and field points back at its document and page, and a field at
// the rulers it hangs on.
void ExpectLinked(const std::shared_ptr<Mandor>& doc) {
  for (const auto& ruler : doc->Regles_V) EXPECT_EQ(ruler->oOwnerMandor(), doc);
  for (const auto& page : doc->Pages) {
    EXPECT_EQ(page->oOwnerMandor.lock(), doc);
    for (const auto& ruler : page->Regles_H) EXPECT_TRUE(ruler->Page() == page && ruler->oOwnerMandor() == doc);
    for (const auto& field : page->Champs) {
      EXPECT_TRUE(field->oOwnerPage.lock() == page && field->oOwnerMandor() == doc) << field->Nom();
      if (field->Accrochage_H().empty()) continue;
      EXPECT_EQ(field->oRegleH(), page->Regles_H.Item(field->Accrochage_H())) << field->Nom();
      EXPECT_EQ(field->oRegleV(), doc->RegleV(field->Accrochage_V())) << field->Nom();
    }
  }
}

class ReaderTest : public TextFileTest {
 protected:
  ReaderTest() {
    doc_->Répertoire_Document = kFolder;
    doc_->Nom_Document(kName);
  }

  static std::string XnfPath() { return std::string(kFolder) + kName + tf::kExtendedExtension; }
  static std::string CnfPath() { return std::string(kFolder) + kName + tf::kStandardExtension; }
  void PutXnf(const std::vector<std::string>& lines) { platform_->SetFileText(XnfPath(), CrLf(lines)); }
  void PutCnf(const std::vector<std::string>& lines) { platform_->SetFileText(CnfPath(), CrLf(lines)); }
  void PutData(bool extended) {
    const char* data = extended ? "bordereau.bpx.xnf" : "bordereau.bpx.cnf";
    platform_->SetFileBytes(extended ? XnfPath() : CnfPath(), DataFile(data));
  }

  std::shared_ptr<Mandor> doc_ = std::make_shared<Mandor>();
};

// --- the hand-written price schedule ---

class ScheduleTest : public ReaderTest, public ::testing::WithParamInterface<bool> {
 protected:
  // Reads the hand-written schedule in `layout` and compares the reading with
  // its description in the test's locale.
  void ExpectRead(const std::string& layout) {
    platform_->SetLocale(GetParam() ? Locale::Comma() : Locale::Point());
    PutData(layout == "xnf");
    ASSERT_TRUE(layout == "xnf" ? doc_->RestaurerMarquage() : doc_->RestaurerMarquageStd());
    EXPECT_TRUE(platform_->messages().empty() && platform_->OpenFileCount() == 0u);
    test_util::ExpectDescribedAs(test_util::Describe(*doc_), "textfile/bordereau.bpx." + layout + "." +
                                                                 (GetParam() ? "comma" : "point") + ".described.txt");
    ExpectLinked(doc_);
    // Saving what was read, reading that and saving it again gives the same
    // bytes (field numbers and carried quantities follow the reading order,
    // so the second reading is compared through what it saves).
    const auto save = [&](Mandor& doc) {
      bool with_qte = true;
      EXPECT_EQ(layout == "xnf" ? doc.SauvegarderMarquageEx(false, with_qte) : doc.SauvegarderMarquageStd(),
                layout == "xnf" ? 0 : -1);
      return Bytes(layout == "xnf" ? XnfPath() : CnfPath());
    };
    const std::string once = save(*doc_);
    auto again = std::make_shared<Mandor>();
    again->Répertoire_Document = kFolder;
    again->Nom_Document(kName);
    ASSERT_TRUE(again->RestaurerMarquage());
    EXPECT_EQ(save(*again), once);
    EXPECT_EQ(Bytes(std::string(kFolder) + kName + ".xak"), layout == "xnf" ? once : "<missing>");
    EXPECT_TRUE(platform_->messages().empty());
  }
};

TEST_P(ScheduleTest, Standard) {
  // Calibration points are not in a type 1 file: they keep their values.
  doc_->Type_calage = 2;
  doc_->X1_pixel = 99;
  ExpectRead("cnf");
}

TEST_P(ScheduleTest, Extended) {
  // Every value read (calibration, fonts, sources, rulers, fields in reading
  // order whatever the line order, inherited blank font columns, values
  // brought to the locale, escaped formulas) is in the description.
  ASSERT_NO_FATAL_FAILURE(ExpectRead("xnf"));

  // A change on one recurrent copy reaches the master and the other copy.
  doc_->Pages.Item(2)->Champs.Item("Report_Montant")->Décimales(3);
  EXPECT_EQ(doc_->ChampsRecurrents.Item("Report_Montant")->Décimales(), 3);
  EXPECT_EQ(doc_->Pages.Item(3)->Champs.Item("Report_Montant")->Décimales(), 3);
}

INSTANTIATE_TEST_SUITE_P(BothLocales, ScheduleTest, ::testing::Values(true, false), LocaleName);

// Edited small markings, each read after the other into the same document
// and described in tests/data/textfile/reader_edits.described.txt.
TEST_F(ReaderTest, EditedExtendedMarkings) {
  std::string transcript;
  const auto read = [&](const std::string& label, const std::vector<std::string>& lines) {
    PutXnf(lines);
    const int16_t result = doc_->RestaurerMarquageEx();
    transcript += "== " + label + "\n" + std::to_string(result) + "\n" + test_util::Describe(*doc_);
    EXPECT_TRUE(platform_->messages().empty()) << label;
  };
  // Values written in a point locale: grouping removed, then formatted; the
  // last field decides the data's separator. In a comma locale the point of
  // the data is brought to a comma.
  platform_->SetLocale(Locale::Point());
  auto lines = Edited(SmallXnf(), "point values, point locale");
  read("point values, point locale", lines);
  platform_->SetLocale(Locale::Comma());
  read("point values, comma locale", lines);

  // DefDevise as a code found in the catalogue's table gives its index. A
  // separator "inconnu" leaves it unset, only the first character counts,
  // keys ignore case; the MDN file is the last source ending in .MDN or
  // .mdn (.Mdn does not count).
  auto catalogue = std::make_shared<cMarquage>();
  catalogue->oDevises = std::make_shared<Devises>();
  catalogue->oDevises->AddDevise("USD", "DOLLAR", "CENT");
  doc_->oOwnerMarquage(catalogue);
  read("currency code, sources", Edited(SmallXnf(), "currency code, sources"));
  // A numeric DefDevise is the index itself; a code the table lacks is kept as the code.
  doc_->Devise("");
  read("currency index", Edited(SmallXnf(), "currency index"));
  read("unknown currency code", Edited(SmallXnf(), "unknown currency code"));

  // No "Image" key: the new page keeps its default; "Image=0" sets NoImage.
  read("no image key", Edited(SmallXnf(), "no image key"));
  read("no image", Edited(SmallXnf(), "no image"));
  // "[Pages]" with Nombre=0 loads a document without pages.
  lines = SmallXnf();
  lines.resize(27);  // up to and including "[Pages]"
  ASSERT_EQ(lines.back(), "[Pages]");
  lines.push_back("Nombre=0");
  read("no pages", lines);
  read("no recurrent fields section", WithoutSection(SmallXnf(), tf::kSectionChampsRecurrents));

  // Malformed records are skipped: a field of 20 000 columns, a ruler of 10
  // and one of 12, a field of 24; field 4 is missing, field 5 present with an
  // empty last column (false); keys ignore case; two vertical rulers announced.
  std::string many_columns = "c2=001_00002|Large";
  for (int i = 0; i < 20000; ++i) many_columns += "|x";
  lines = Replaced(Edited(SmallXnf(), "malformed records"), "c2=", many_columns);
  lines.insert(lines.begin() + 31, "r3=00003|L3|Arial|10|0|2|0|990|0|1");
  lines.insert(lines.begin() + 25, "2=00002|Vide|Arial|10|0|2|1250|0|2|1|0|0");
  lines.push_back("c3=001_00003|Court|Arial|10|0||Qté|0|L1|0|1||2|800|850|1600|1700|1|0|False|False|False|0|");
  lines.push_back("C5=001_00005|L1_Dernier|Arial|10|0||Qté|0|L1|0|1||2|900|950|1250|1500|1|0|False|False|False|0||");
  read("malformed records", lines);

  // Two billion rulers, fields, recurrent fields and sources: only the lines
  // present count, and a far number splits into nothing.
  lines = Edited(SmallXnf(), "huge counts");
  lines.push_back("c1999999999=z");
  read("huge counts", lines);
  test_util::ExpectDescribedAs(transcript, "textfile/reader_edits.described.txt");
}

// --- choice of the layout ---

TEST_F(ReaderTest, RestaurerMarquageChoosesTheLayout) {
  // Neither file: false, model untouched.
  doc_->Pages.Add(std::make_shared<CPage>(), "page_1");
  EXPECT_FALSE(doc_->RestaurerMarquage());
  EXPECT_TRUE(doc_->Pages.Count() == 1 && platform_->messages().empty());

  // Only the ".cnf": the standard reader. Both: only the ".xnf" is read.
  PutData(false);
  ASSERT_TRUE(doc_->RestaurerMarquage());
  EXPECT_EQ(std::make_tuple(doc_->Type_Document, doc_->Pages.Count()), std::make_tuple("Prix", 2));
  PutData(true);
  ASSERT_TRUE(doc_->RestaurerMarquage());
  EXPECT_EQ(std::make_tuple(doc_->Type_Document, doc_->Pages.Count()), std::make_tuple("BPU", 3));

  // A broken ".xnf" is not replaced by the ".cnf".
  platform_->SetFileText(XnfPath(), "[Calage]\r\nType=0\r\n");
  EXPECT_FALSE(doc_->RestaurerMarquage());
  EXPECT_EQ(doc_->Pages.Count(), 0);
}

// Every failure of either reader: what the read returns, what it keeps and
// every message word for word (tests/data/textfile/reader_failures.txt).
// Mandatory sections of the extended layout fail through CloseFileError,
// which clears the name, then the handler; run-time errors go to the
// handler only; the standard reader's messages end the read.
TEST_F(ReaderTest, FailuresAndTheirMessages) {
  std::string transcript;
  const auto read = [&](const std::string& label, const std::vector<std::string>& lines, bool extended) {
    extended ? PutXnf(lines) : PutCnf(lines);
    const bool result = doc_->RestaurerMarquage();
    long fields = 0;
    for (const auto& page : doc_->Pages) fields += page->Champs.Count();
    transcript += "== " + label + "\n" + std::to_string(result) + " name=" + doc_->Nom_Document() +
                  " pages=" + std::to_string(doc_->Pages.Count()) + " fields=" + std::to_string(fields) +
                  " columns=" + std::to_string(doc_->Regles_V.Count()) + " sources=" +
                  std::to_string(doc_->Docs.Count()) + " tva=" + std::to_string(doc_->TVA) +
                  " open=" + std::to_string(platform_->OpenFileCount()) + "\n";
    for (const auto& m : platform_->messages()) {
      transcript += "[" + m.title + "|" + std::to_string(static_cast<int>(m.style)) + "] " +
                    ReplaceAll(m.text, "\n", "\\n") + "\n";
    }
    platform_->ClearMessages();
    doc_->Nom_Document(kName);
  };
  for (const char* header : {tf::kSectionCalage, tf::kSectionPresentation, tf::kSectionConstantes,
                             tf::kSectionSource, tf::kSectionReglesVerticales, tf::kSectionPages}) {
    read(std::string("without ") + header, WithoutSection(SmallXnf(), header), true);
  }
  const auto ending_at = [](const std::string& last) {
    auto lines = SmallXnf();
    while (lines.back() != last) lines.pop_back();
    return lines;
  };
  for (const auto& [label, unused] : EditBlocks()) {
    if (StartsWith(label, "extended ")) read(label, Edited(SmallXnf(), label), true);
  }
  read("ending at [Pages]", ending_at("[Pages]"), true);  // a header as the last line
  read("ending at [Page 1]", ending_at("[Page 1]"), true);
  // The file cannot be opened: the model is untouched.
  read("read", SmallXnf(), true);
  platform_->FailOn(MemoryPlatform::Operation::kOpenInput, ".xnf");
  read("cannot open", SmallXnf(), true);
  platform_->ClearFailures();
  platform_->DeleteFile(XnfPath());

  for (const auto& [label, unused] : EditBlocks()) {
    if (StartsWith(label, "standard ")) read(label, Edited(SmallCnf(), label), false);
  }
  auto truncated = SmallCnf();
  truncated.resize(11);  // ends after TVA=20,6: the [Source] header is missing
  read("standard truncated", truncated, false);
  auto huge_pages = SmallCnf();
  ASSERT_EQ(huge_pages[16], "[Pages]");
  huge_pages[17] = "Nombre=2000000000";  // one page present, the file ends there
  read("standard two billion pages", huge_pages, false);
  // Numbers above 999 keep all their digits; what was read before the failure stays.
  auto lines = Replaced(SmallCnf(), "Nombre_champs=", "Nombre_champs=1234");
  for (int i = 2; i <= 1233; ++i) {
    const std::string n = std::to_string(i);
    lines.push_back("c" + n + "=" + n + "|C" + n + "|0|0|0|0|Qté|0|L1|0|1||0|" + n + "|" + n + "|0|1|1");
  }
  read("standard 1234 fields", lines, false);
  test_util::ExpectDescribedAs(transcript, "textfile/reader_failures.txt");
}

}  // namespace
}  // namespace mandor::textfile_test
