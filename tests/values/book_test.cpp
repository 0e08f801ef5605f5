// ValueBook on the sample tender's catalogue and text marking, in memory:
// reading cells and data-contract values, filling the detail estimate from
// the sample CSV, saving, and refusing bad input without writing anything.

#include "mandor/values/values.h"

#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "mandor/testing/memory_platform.h"
#include "mandor/values/csv.h"

namespace mandor::values {
namespace {

constexpr const char* kCatalogue = "/tender/menuiseries.xml";

std::string SampleBytes(const std::string& name) {
  std::ifstream in(std::string(MANDOR_SAMPLES_DIR) + "/" + name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// The sample catalogue, with the price schedule's words as formulas:
// L1_PULettres..L8_PULettres = LETTRES(Ln_PU).
std::string CatalogueWithWords() {
  std::string bytes = SampleBytes("menuiseries.xml");
  for (const std::string n : {"1", "2", "3", "4", "5", "6", "7", "8"}) {
    const size_t at = bytes.find("mn:Name=\"L" + n + "_PULettres\"");
    EXPECT_NE(at, std::string::npos) << n;
    if (at != std::string::npos) bytes.insert(at + 22, " mn:Formula=\"LETTRES(L" + n + "_PU)\"");
  }
  return bytes;
}

class BookTest : public ::testing::Test {
 protected:
  void SetUp() override { platform_->SetFileBytes(kCatalogue, CatalogueWithWords()); }

  std::unique_ptr<ValueBook> Open() {
    catalogue_ = std::make_shared<cMarquage>();
    EXPECT_TRUE(catalogue_->XML_ReadCNF(kCatalogue));
    return ValueBook::ForCatalogue(catalogue_);
  }

  FieldValue Value(const ValueBook& book, const std::string& doc, const std::string& name) {
    const auto document = catalogue_->Item(doc);
    return book.ValueOf(document, document->Champs.Item(name));
  }
  double Number(const ValueBook& book, const std::string& doc, const std::string& name) {
    const FieldValue value = Value(book, doc, name);
    EXPECT_TRUE(value.number) << name << " = \"" << value.text << "\"";
    return value.number.value_or(-1);
  }

  std::shared_ptr<MemoryPlatform> platform_ = std::make_shared<MemoryPlatform>(Locale::Comma());
  ScopedPlatform scope_{platform_};
  std::shared_ptr<cMarquage> catalogue_;
};

// The detail estimate filled with samples/prix-menuiseries.csv. Quantities
// are the sample's (L1 14, L2 6, L3 9, L4 236.5, L5 42, L6 4 on page 1;
// L7 18.75, L8 20 on page 2); two decimals everywhere, VAT 20 %.
TEST_F(BookTest, FillingTheDetailEstimateComputesEveryAmountCheckedByHand) {
  auto book = Open();
  const CsvResult csv = ReadValueFile(SampleBytes("prix-menuiseries.csv"), [&](const std::string& name) {
    return catalogue_->Item("mn1")->Champs.Contains(name);
  });
  ASSERT_TRUE(csv.errors.empty());
  std::vector<Assignment> assignments;
  for (const auto& pair : csv.pairs) assignments.push_back({pair.name, pair.value, ""});
  for (const auto& c : book->Set(assignments, "mn1")) EXPECT_EQ(c.result.error, "") << c.field->Nom();
  book->Save();

  book = Open();  // read back from the saved file, as a new command would
  const struct { const char *doc, *name; double number; } amounts[] = {
      {"mn1", "L1_PT", 5530.00}, {"mn1", "L2_PT", 3893.40},  // 14 x 395.00, 6 x 648.90
      {"mn1", "L3_PT", 4611.60}, {"mn1", "L4_PT", 2163.98},  // 9 x 512.40, 236.5 x 9.15 = 2163.975 rounded up
      {"mn1", "L5_PT", 1335.60}, {"mn1", "L6_PT", 650.00},   // 42 x 31.80, 4 x 162.50
      // Page 1: 5530 + 3893.40 + 4611.60 + 2163.98 + 1335.60 + 650 = 18184.58, carried onto page 2.
      {"mn1", "TA1", 18184.58}, {"mn1", "TD2", 18184.58},
      {"mn1", "L7_PT", 1950.00}, {"mn1", "L8_PT", 287.00},  // 18.75 x 104.00, 20 x 14.35
      {"mn1", "THT_PT", 20421.58},  // 18184.58 carried + 1950 + 287
      {"mn1", "TVA_PT", 4084.32},   // 20421.58 x 20 / 100 = 4084.316
      {"mn1", "TTC_PT", 24505.90},  // 20421.58 + 4084.32
      // The engagement act shares the recap's cells, the price schedule the unit prices.
      {"mn3", "TTC_Montant", 24505.90}, {"mn2", "L4_PU", 9.15},
  };
  for (const auto& a : amounts) EXPECT_EQ(Number(*book, a.doc, a.name), a.number) << a.name;
  EXPECT_EQ(Value(*book, "mn2", "L2_PULettres").text, "Six cent quarante-huit euros et quatre-vingt-dix centimes");
  EXPECT_EQ(Value(*book, "mn2", "L8_PULettres").text, "Quatorze euros et trente-cinq centimes");
  // Shown with grouping on screen, without in print; ShowInModel puts the texts of that document only.
  const auto mn1 = catalogue_->Item("mn1");
  const FieldValue pt = Value(*book, "mn1", "TTC_PT");
  EXPECT_EQ(DisplayText(*mn1, mn1->Champs.Item("TTC_PT"), pt, platform_->locale()), "24\xC2\xA0" "505,90");
  EXPECT_EQ(DisplayText(*mn1, mn1->Champs.Item("TTC_PT"), pt, platform_->locale(), Picture::kPrint), "24505,90");
  book->ShowInModel(mn1, platform_->locale());
  EXPECT_EQ(mn1->Champs.Item("L4_Qté")->valeur(), "236,50");
  EXPECT_EQ(catalogue_->Item("mn2")->Champs.Item("L2_PULettres")->valeur(), "");
  // The rest of the workbook is kept.
  const std::string saved = *platform_->FileBytes(kCatalogue);
  EXPECT_NE(saved.find("<Cell ss:Index=\"5\" ss:StyleID=\"sPrix\"><Data ss:Type=\"Number\">9.15</Data>"),
            std::string::npos);
  EXPECT_NE(saved.find("<Worksheet ss:Name=\"Notes\">"), std::string::npos);
}

TEST_F(BookTest, SettingTheSameValuesTwiceLeavesTheFileByteIdentical) {
  auto book = Open();
  book->Set({{"L1_PU", "400", ""}, {"L3_Qté", "10,5", ""}, {"L1_Désignation", "Bloc-porte 93 x 204", ""}});
  book->Save();
  const std::string first = *platform_->FileBytes(kCatalogue);
  book = Open();
  book->Set({{"L1_PU", "400,00", ""}, {"L3_Qté", "10.5", ""}, {"L1_Désignation", "Bloc-porte 93 x 204", ""}});
  book->Save();
  EXPECT_EQ(*platform_->FileBytes(kCatalogue), first);
  // A number goes into a number cell, a text into a string cell.
  EXPECT_NE(first.find("<Data ss:Type=\"Number\">10.5</Data>"), std::string::npos);
  EXPECT_NE(first.find("<Data ss:Type=\"String\">Bloc-porte 93 x 204</Data>"), std::string::npos);
  // Data-contract values go to "mn:Value" and read back.
  book->Set({{"Signataire", "Jean Lefèvre, gérant", ""}}, "mn3");
  book->Save();
  EXPECT_EQ(Value(*Open(), "mn3", "Signataire").text, "Jean Lefèvre, gérant");
}

TEST_F(BookTest, AFailedWriteLeavesTheCatalogueUnchanged) {
  const std::string before = *platform_->FileBytes(kCatalogue);
  auto book = Open();
  book->Set({{"L1_PU", "999", ""}});
  platform_->FailOn(MemoryPlatform::Operation::kRename, "menuiseries");
  EXPECT_THROW(book->Save(), Error);
  platform_->ClearFailures();
  EXPECT_EQ(*platform_->FileBytes(kCatalogue), before);
  EXPECT_FALSE(platform_->FileExists(std::string(kCatalogue) + ".tmp"));
}

TEST_F(BookTest, BadInputIsRefusedWholeWithEveryProblemNamed) {
  auto book = Open();
  const std::string before = *platform_->FileBytes(kCatalogue);
  try {
    book->Set({{"L1_PU", "410", "line 2"},              // fine, but not applied
               {"L1_PX", "12", "line 3"},               // unknown
               {"L2_PU", "douze", "line 4"},            // a number cell
               {"L3_PU", "1000000000000000", ""},       // too large for a number cell
               {"L1_PT", "12", ""},                     // computed
               {"Référence_Marché", "M-2024-17", ""}},  // recurrent: no place
              "mn1");
    FAIL() << "no error";
  } catch (const ValuesError& e) {
    EXPECT_EQ(e.problems().size(), 5u) << e.what();  // each one's text: tests/data/cli/values.txt
    EXPECT_EQ(e.problems()[1], "line 4: L2_PU (mn1) holds a number: \"douze\" is not one");
  }
  EXPECT_EQ(Number(*book, "mn1", "L1_PU"), 385);  // nothing changed in memory
  EXPECT_EQ(*platform_->FileBytes(kCatalogue), before);
  EXPECT_THROW(book->Set({{"L1_PU", "1", ""}}, "mn9"), ValuesError);
}

}  // namespace
}  // namespace mandor::values
