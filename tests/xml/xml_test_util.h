// Helpers of the catalogue tests: data files, hand-built rulers and fields,
// catalogue descriptions, and a fixture holding catalogue files in memory.
#ifndef MANDOR_TESTS_XML_XML_TEST_UTIL_H_
#define MANDOR_TESTS_XML_XML_TEST_UTIL_H_

#include <memory>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "mandor/fields/champ.h"
#include "mandor/model/mandor.h"
#include "mandor/model/marquage.h"
#include "mandor/model/page.h"
#include "mandor/model/regle.h"
#include "mandor/testing/memory_platform.h"
#include "mandor/xml/internal/workbook.h"
#include "mandor/xml/internal/xml_access.h"
#include "tests/model/describe.h"

namespace mandor::xml_test {

// The bytes of tests/data/xml/<name>.
inline std::string DataFile(const std::string& name) { return test_util::DataFile("xml/" + name); }

// A workbook with the header attributes `header`, the mn:Image elements
// `images` and the rows `rows` of the sheet "Lot".
inline std::string Workbook(const std::string& images, const std::string& rows, const std::string& header = "") {
  return "<?xml version=\"1.0\"?>\n<Workbook xmlns=\"urn:schemas-microsoft-com:office:spreadsheet\""
         " xmlns:ss=\"urn:schemas-microsoft-com:office:spreadsheet\" xmlns:mn=\"urn:schemas-mandor:marquage\">\n"
         "<mn:MANDOR mn:Name=\"Lot\"" + header + ">" + images + "</mn:MANDOR>\n"
         "<Worksheet ss:Name=\"Lot\"><Table>" + rows + "</Table></Worksheet>\n</Workbook>\n";
}

inline std::string Serialized(const pugi::xml_node& node) {  // without indentation
  std::ostringstream out;
  node.print(out, "", pugi::format_raw);
  return out.str();
}

// Rulers are keyed by their Id; tests look them up by name.
inline std::shared_ptr<CRegle> Ruler(const Collection<CRegle>& rulers, const std::string& nom) {
  for (const auto& regle : rulers) if (regle->Nom == nom) return regle;
  return nullptr;
}

// A new field of doc on the given rulers and page, added to doc->Champs.
inline std::shared_ptr<CChamp> AddField(const std::shared_ptr<Mandor>& doc, const std::string& nom,
                                        std::shared_ptr<CRegle> regle_h, std::shared_ptr<CRegle> regle_v,
                                        int16_t page) {
  auto champ = std::make_shared<CChamp>();
  champ->oOwnerMandor(doc), champ->Nom(nom), champ->Page = page;
  if (regle_h) champ->oRegleH(regle_h);
  if (regle_v) champ->oRegleV(regle_v);
  doc->Champs.Add(champ, nom);
  return champ;
}

using test_util::Describe;

inline std::string Describe(const cMarquage& catalogue) {
  std::string all;
  for (const auto& doc : catalogue) all += test_util::Describe(*doc);
  return all;
}

// An in-memory platform holding catalogue files.
class CatalogueFixture : public test_util::MemoryPlatformTest {
 protected:
  std::shared_ptr<cMarquage> Read(const std::string& path, const std::string* bytes = nullptr) {
    if (bytes) platform_->SetFileBytes(path, *bytes);
    auto catalogue = std::make_shared<cMarquage>();
    EXPECT_EQ(catalogue->XML_ReadCNF(path), catalogue) << path;
    return catalogue;
  }
  std::string Bytes(const std::string& path) const { return platform_->FileBytes(path).value_or(""); }
  void ExpectSaved(const std::string& name) const {
    test_util::ExpectDescribedAs(Bytes("lots/lot3.xml"), "xml/saved/" + name);
  }
  std::unique_ptr<WorkbookDocument> Saved(const std::string& path) const {
    auto workbook = std::make_unique<WorkbookDocument>();
    EXPECT_TRUE(workbook->LoadFromBytes(Bytes(path)));
    return workbook;
  }
  std::string LastMessage() const { return platform_->messages().empty() ? "" : platform_->messages().back().text; }
  // The one message shown since the last ClearMessages, as "title: text" ("" when none or several).
  std::string OnlyMessage() const {
    const auto& all = platform_->messages();
    return all.size() == 1 ? all[0].title + ": " + all[0].text : "";
  }
};

}  // namespace mandor::xml_test

#endif  // MANDOR_TESTS_XML_XML_TEST_UTIL_H_
