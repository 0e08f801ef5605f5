// Tests of the node-access operations of the catalogue workbook and of
// loading and saving the workbook file.

#include <gtest/gtest.h>

#include <iterator>
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

// A small workbook: two images, a worksheet of two rows, another namespace.
std::string SmallWorkbook() { return DataFile("small_workbook.xml"); }

TEST(XmlAccessTest, SelectNodeAndNodesMatchQualifiedNamesAndSwallowErrors) {
  pugi::xml_document doc;
  ASSERT_TRUE(doc.load_string(SmallWorkbook().c_str()));
  const pugi::xml_node header = XmlSelectNode(doc, "Workbook/mn:MANDOR");
  EXPECT_STREQ(header.attribute("mn:Name").value(), "Lot");
  const pugi::xml_node table = XmlSelectNode(doc, "Workbook/Worksheet[@ss:Name='Lot']/Table");
  EXPECT_EQ(Serialized(XmlSelectNode(table, "Row[mn:iRow/@mn:ID='mn1']")),
            "<Row><mn:iRow mn:ID=\"mn1\" mn:Name=\"L1\"/><Cell ss:Index=\"1\"/></Row>");
  // "Cell[@ss:Index>'3']" compares numbers: 10 is after 4, not before it.
  std::string found;
  for (const auto& node : XmlSelectNodes(table.first_child(), "Cell[@ss:Index>'3']")) found += Serialized(node);
  for (const auto& node : XmlSelectNodes(header, "mn:Image")) found += Serialized(node);
  EXPECT_EQ(found, "<Cell ss:Index=\"4\"/><Cell ss:Index=\"10\"/><mn:Image mn:ID=\"mn1\"/><mn:Image mn:ID=\"mn2\"/>");

  // Nothing found, a malformed query, a query giving no element, a null node.
  for (const auto& [node, query] : {std::pair<pugi::xml_node, const char*>{doc, "Workbook/Nothing"},
                                     {doc, "Workbook/[[["}, {header, "@mn:Name"},
                                     {pugi::xml_node(), "Workbook"}}) {
    EXPECT_FALSE(XmlSelectNode(node, query)) << query;
    EXPECT_TRUE(XmlSelectNodes(node, query).empty()) << query;
  }
}

TEST(XmlAccessTest, ElementAttributesReadTheNamedOnesWithoutChangingTheElement) {
  // Names of every length class: below four bytes, below eight, up to
  // sixteen, and beyond (two that differ only in the middle).
  const AttributeNames names{"a",        "mn:X",     "mn:Name", "mn:iPrint", "mn:Referant",
                             "mn:LongAttributeName1x", "mn:LongAttributeName2x"};
  pugi::xml_document doc;
  ASSERT_TRUE(doc.load_string("<e mn:Name=\"first\" b=\"\" mn:iPrint=\"1\" mn:Name=\"second\" a=\"A\""
                              " mn:LongAttributeName2x=\"two\" mn:Nam=\"short\" mn:NameX=\"long\"/>"));
  const std::string before = Serialized(doc.first_child());
  const ElementAttributes read(doc.first_child(), names);
  // The first of a name, as attribute() finds it; "" when missing.
  std::string values;
  for (size_t i = 0; i < 7; ++i) values += std::string(read[i]) + "|";
  EXPECT_EQ(values, "A||first|1|||two|");
  EXPECT_EQ(Serialized(doc.first_child()), before);
  EXPECT_EQ(names.Find("mn:LongAttributeName1x"), 5u);
  EXPECT_EQ(names.Find("mn:LongAttributeName3x"), AttributeNames::npos);
  EXPECT_EQ(names.Find(""), AttributeNames::npos);

  // A null node reads as an element without attributes.
  EXPECT_EQ(ElementAttributes(pugi::xml_node(), names)[2], "");
}

TEST(XmlAccessTest, SetPeekAndGetNode) {
  pugi::xml_document doc;
  ASSERT_TRUE(doc.load_string(
      "<Workbook xmlns=\"urn:schemas-microsoft-com:office:spreadsheet\" xmlns:mn=\"urn:schemas-mandor:marquage\">"
      "<mn:MANDOR><mn:iFont mn:Size=\"10\"/><Extra/></mn:MANDOR></Workbook>"));
  pugi::xml_node header = doc.document_element().first_child();
  // Peeking leaves a missing attribute missing; setting adds or replaces.
  EXPECT_EQ(XmlPeekAttribute(header, "ss:Index"), "");
  XmlSetAttribute(header, "mn:Name", "L1_MT");
  XmlSetAttribute(header, "mn:Name", "L2_MT");
  EXPECT_EQ(XmlPeekAttribute(header, "mn:Name"), "L2_MT");
  EXPECT_EQ(std::distance(header.attributes_begin(), header.attributes_end()), 1);
  // XmlGetNode finds the child (a prefixed name falls back on the local name)
  // or appends it, once.
  EXPECT_STREQ(XmlGetNode(header, "mn:iFont").attribute("mn:Size").value(), "10");
  EXPECT_STREQ(XmlGetNode(header, "mn:Extra").name(), "Extra");
  EXPECT_EQ(XmlGetNode(header, "mn:iRow"), XmlGetNode(header, "mn:iRow"));
  EXPECT_EQ(Serialized(header),
            "<mn:MANDOR mn:Name=\"L2_MT\"><mn:iFont mn:Size=\"10\"/><Extra/><mn:iRow/></mn:MANDOR>");
  // Writing on an element that is not there is Error 91; peeking gives "",
  // getting a child nothing.
  EXPECT_EQ(ErrorNumberOf([] { XmlSetAttribute(pugi::xml_node(), "mn:Name", "x"); }), 91);
  EXPECT_EQ(XmlPeekAttribute(pugi::xml_node(), "mn:Name"), "");
  EXPECT_FALSE(XmlGetNode(pugi::xml_node(), "mn:iFont"));
  // Numbers are written with a point in either locale, a Single with its 7 digits.
  for (const Locale& locale : {Locale::Comma(), Locale::Point()}) {
    auto platform = std::make_shared<MemoryPlatform>();
    platform->SetLocale(locale);
    ScopedPlatform scoped(platform);
    EXPECT_EQ(XmlNumberText(12.5f) + " " + XmlNumberText(0.1f) + " " + XmlNumberText(1234.5678) + " " +
                  XmlNumberText(-3.0), "12.5 0.1 1234.5678 -3");
  }
}

TEST(XmlAccessTest, CreateElementPlacesAndQualifiesTheElement) {
  pugi::xml_document doc;
  ASSERT_TRUE(doc.load_string(SmallWorkbook().c_str()));
  pugi::xml_node table = XmlSelectNode(doc, "Workbook/Worksheet/Table");
  pugi::xml_node first = table.first_child(), second = first.next_sibling();

  // Appended last by default; in the default namespace of the workbook, so
  // no declaration is needed.
  XmlCreateElement(table, "Row").append_attribute("n") = "last";
  // Before an insertion point given directly; before the previous sibling of
  // a reference sibling.
  pugi::xml_node before_second = XmlCreateElement(table, "Row", pugi::xml_node(), second);
  before_second.append_attribute("n") = "2";
  XmlCreateElement(table, "Row", before_second).append_attribute("n") = "1";
  // A prefixed element keeps its name and needs no declaration.
  XmlCreateElement(first, "mn:ILM");
  EXPECT_EQ(Serialized(table), "<Table><Row n=\"1\"/><Row><mn:iRow mn:ID=\"mn2\"/><Cell ss:Index=\"2\"/>"
                               "<Cell ss:Index=\"4\"/><Cell ss:Index=\"10\"/><mn:ILM/></Row><Row n=\"2\"/>"
                               "<Row><mn:iRow mn:ID=\"mn1\" mn:Name=\"L1\"/><Cell ss:Index=\"1\"/></Row>"
                               "<Row n=\"last\"/></Table>");

  // Under an element of another default namespace, an unprefixed element is
  // still a spreadsheet element.
  pugi::xml_node properties = XmlSelectNode(doc, "Workbook/CustomDocumentProperties");
  pugi::xml_node rate = XmlCreateElement(properties, "Rate");
  EXPECT_STREQ(rate.attribute("xmlns").value(), kSpreadsheetNamespace);
  EXPECT_FALSE(XmlCreateElement(pugi::xml_node(), "Row"));
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
