// Inputs built to make a reader work forever or exhaust memory: a line of
// 100 MB in a text marking, a catalogue nested a hundred thousand elements
// deep. Each gets the result the readers document for it, in one pass over
// the input. (Counts of two billion pages, rulers and fields are covered by
// the reader tests.)
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "mandor/util/internal/cp1252.h"
#include "tests/textfile/textfile_test_util.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

using textfile_test::CrLf;
using textfile_test::DataLines;

constexpr size_t kHundredMegabytes = 100u << 20;

// The bytes of a small text marking whose line starting with `prefix` is
// replaced by prefix + tail; tail is ASCII and goes in without conversion.
std::string WithLine(const char* file, const std::string& prefix, const std::string& tail) {
  const std::string text = Utf8ToWindows1252("\r\n" + CrLf(DataLines(file)));
  const size_t start = text.find("\r\n" + prefix);
  EXPECT_NE(start, std::string::npos) << prefix;
  if (start == std::string::npos) return "";
  return text.substr(2, start + prefix.size()) + tail + text.substr(text.find("\r\n", start + 2));
}

using BoundedWorkTest = textfile_test::TextFileTest;

TEST_F(BoundedWorkTest, HundredMegabyteLines) {
  const auto document = [] {
    auto doc = std::make_shared<Mandor>();
    doc->Répertoire_Document = "lot/", doc->Nom_Document("doc.bpx");
    return doc;
  };
  const std::string bars(kHundredMegabytes, '|');
  // The extended reader skips a record with the wrong number of columns.
  platform_->SetFileBytes("lot/doc.bpx.xnf", WithLine("small.xnf.txt", "c2=", bars));
  auto doc = document();
  EXPECT_EQ(doc->RestaurerMarquageEx(), -1);
  ASSERT_EQ(doc->Pages.Count(), 1);
  EXPECT_EQ(doc->Pages.Item(1)->Champs.Count(), 1);
  EXPECT_TRUE(platform_->messages().empty());

  // The standard reader refuses it with its format message.
  platform_->SetFileBytes("lot/doc.bpx.cnf", WithLine("small.cnf.txt", "c1=", bars));
  EXPECT_FALSE(document()->RestaurerMarquageStd());
  ASSERT_EQ(platform_->messages().size(), 1u);
  EXPECT_EQ(platform_->messages()[0].text.rfind("ERREUR de format à la lecture du paramètre c1 de la page 1", 0), 0u);
  platform_->ClearMessages();

  // A file that is one 100 MB line without a line end misses every section
  // (the document's name is then cleared, which the error handler reports).
  platform_->SetFileBytes("lot/doc.bpx.xnf", std::string(kHundredMegabytes, 'x'));
  EXPECT_EQ(document()->RestaurerMarquageEx(), 0);
  ASSERT_EQ(platform_->messages().size(), 2u);
  EXPECT_EQ(platform_->messages()[0].text, "Section [Calage] absente du fichier lot/doc.bpx.xnf");
  EXPECT_EQ(platform_->OpenFileCount(), 0u);
}

using DeepCatalogueTest = xml_test::CatalogueFixture;

TEST_F(DeepCatalogueTest, DeepNestingReadsAndSavesWithoutRecursion) {
  constexpr int kDepth = 100000;
  std::string open, close;
  for (int i = 0; i < kDepth; ++i) open += "<x:B>", close += "</x:B>";
  // Deep elements in the catalogue header, in a document's image and in a cell.
  const std::string tender = xml_test::DataFile("tender.xml");
  std::string xml = tender;
  for (const std::string anchor : {"</mn:MANDOR>", "</mn:Image>", "</Data></Cell>"}) {
    const size_t at = xml.find(anchor);
    ASSERT_NE(at, std::string::npos) << anchor;
    xml.insert(at, "<x:Deep xmlns:x=\"urn:deep\">" + open + close + "</x:Deep>");
  }
  auto plain = Read("lot/plain.xml", &tender);
  auto deep = Read("lot/deep.xml", &xml);
  ASSERT_GT(deep->Count(), 0);
  EXPECT_EQ(xml_test::Describe(*deep), xml_test::Describe(*plain));

  std::shared_ptr<Mandor> doc = deep->Item(1);
  ASSERT_TRUE(doc->SauvegarderMarquageXml(doc));
  EXPECT_EQ(XmlSelectNodes(Saved("lot/deep.xml")->document(), "//x:Deep").size(), 3u);
  EXPECT_EQ(xml_test::Describe(*Read("lot/deep.xml")), xml_test::Describe(*plain));

  // Nesting that never closes is not well-formed: the read fails, nothing changes.
  platform_->SetFileBytes("lot/open.xml", xml.substr(0, xml.size() / 2));
  auto catalogue = std::make_shared<cMarquage>();
  EXPECT_EQ(catalogue->XML_ReadCNF("lot/open.xml"), nullptr);
  EXPECT_EQ(catalogue->Count(), 0);
}

}  // namespace
}  // namespace mandor
