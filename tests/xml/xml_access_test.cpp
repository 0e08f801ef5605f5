// The workbook's node access, and loading and saving the workbook file.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "mandor/testing/memory_platform.h"
#include "mandor/util/internal/cp1252.h"
#include "mandor/xml/internal/workbook.h"
#include "mandor/xml/internal/xml_access.h"
#include "tests/test_util.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;
using xml_test::DataFile;
using xml_test::Serialized;

TEST(XmlAccessTest, QueriesAttributesAndNewElements) {
  pugi::xml_document doc;
  ASSERT_TRUE(doc.load_string(DataFile("small_workbook.xml").c_str()));
  const pugi::xml_node table = XmlSelectNode(doc, "Workbook/Worksheet[@ss:Name='Lot']/Table");
  EXPECT_EQ(Serialized(XmlSelectNode(table, "Row[mn:iRow/@mn:ID='mn1']")),
            "<Row><mn:iRow mn:ID=\"mn1\" mn:Name=\"L1\"/><Cell ss:Index=\"1\"/></Row>");
  // Indexes compare as numbers: 10 is after 4, not before it.
  std::string found;
  for (const auto& node : XmlSelectNodes(table.first_child(), "Cell[@ss:Index>'3']")) found += Serialized(node);
  EXPECT_EQ(found, "<Cell ss:Index=\"4\"/><Cell ss:Index=\"10\"/>");
  EXPECT_FALSE(XmlSelectNode(doc, "Workbook/[[[") || XmlSelectNode(doc, "Workbook/mn:MANDOR/@mn:Name"));
  // Under an element of another default namespace, a new unprefixed element
  // is still a spreadsheet element.
  pugi::xml_node rate = XmlCreateElement(XmlSelectNode(doc, "Workbook/CustomDocumentProperties"), "Rate");
  EXPECT_STREQ(rate.attribute("xmlns").value(), kSpreadsheetNamespace);

  // Attributes read by name, the first of a name as attribute() finds it, in
  // every length class of names (two differing only in the middle).
  const AttributeNames names{"a", "mn:X", "mn:Name", "mn:iPrint", "mn:LongAttributeName1x", "mn:LongAttributeName2x"};
  ASSERT_TRUE(doc.load_string("<e mn:Name=\"first\" b=\"\" mn:iPrint=\"1\" mn:Name=\"second\" a=\"A\""
                              " mn:LongAttributeName2x=\"two\" mn:Nam=\"short\" mn:NameX=\"long\"/>"));
  const ElementAttributes read(doc.first_child(), names);
  std::string values;
  for (size_t i = 0; i < 6; ++i) values += std::string(read[i]) + "|";
  EXPECT_EQ(values, "A||first|1||two|");
}

TEST(WorkbookDocumentTest, EncodingAndLineEndsFollowTheFile) {
  // Windows-1252 and ISO-8859-1: the DOM holds UTF-8, the file its own bytes.
  for (const char* encoding : {"windows-1252", "ISO-8859-1"}) {
    const std::string bytes = std::string("<?xml version=\"1.0\" encoding=\"") + encoding +
                              "\"?>\r\n<Workbook>\r\n <Data>\xC9t\xE9</Data>\r\n</Workbook>\r\n";
    WorkbookDocument workbook;
    ASSERT_TRUE(workbook.LoadFromBytes(bytes)) << encoding;
    EXPECT_STREQ(workbook.Root().child("Data").text().get(), "\xC3\x89t\xC3\xA9") << encoding;
    EXPECT_EQ(workbook.ToBytes(), bytes) << encoding;
  }
  // UTF-16 stays UTF-16, with its byte-order mark.
  const std::string utf8 = "<?xml version=\"1.0\" encoding=\"UTF-16\"?><Workbook>\xC3\x89</Workbook>";
  std::string utf16 = "\xFF\xFE";
  for (unsigned char c : Utf8ToWindows1252(utf8)) {
    utf16 += static_cast<char>(c);
    utf16 += '\0';
  }
  WorkbookDocument wide, marked;
  ASSERT_TRUE(wide.LoadFromBytes(utf16));
  EXPECT_STREQ(wide.Root().text().get(), "\xC3\x89");
  EXPECT_EQ(wide.ToBytes(), utf16);
  // A UTF-8 byte-order mark is kept, and no declaration is added to a file without one.
  ASSERT_TRUE(marked.LoadFromBytes("\xEF\xBB\xBF<Workbook/>"));
  EXPECT_EQ(marked.ToBytes(), "\xEF\xBB\xBF<Workbook/>");
}

TEST(WorkbookDocumentTest, SaveReplacesTheFileOnlyWhenTheWholeFileIsWritten) {
  // (Every other failing step: the fault-injection test.)
  auto platform = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope(platform);
  platform->SetFileBytes("lots/tender.xml", "<Workbook><Old/></Workbook>");
  WorkbookDocument workbook;
  ASSERT_TRUE(workbook.LoadFromBytes("<Workbook><New/></Workbook>"));
  platform->FailOn(MemoryPlatform::Operation::kRename, "tender", kPermissionDenied);
  EXPECT_EQ(ErrorNumberOf([&] { workbook.Save("lots/tender.xml"); }), kPermissionDenied);
  EXPECT_EQ(platform->Paths(), std::vector<std::string>{"lots/tender.xml"});
  EXPECT_EQ(platform->FileBytes("lots/tender.xml"), "<Workbook><Old/></Workbook>");
}

}  // namespace
}  // namespace mandor
