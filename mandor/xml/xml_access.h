// Node access for the XML catalogue workbook. Every reader and writer of the
// catalogue reaches elements and attributes through these five operations,
// and their rules are part of the file format: reading an attribute that is
// missing adds it, empty, to the document in memory, and asking for a missing
// child element with XmlGetNode creates it. Queries are XPath 1.0 location
// paths matched on qualified names as they are written in the file
// ("Workbook/mn:MANDOR", "Row[mn:iRow/@mn:ID='mn1']"), so the prefixes "mn"
// and "ss" must be the ones the workbook declares.
//
// None of these operations reports an error: a bad query or a null node gives
// a null result.
#ifndef MANDOR_XML_XML_ACCESS_H_
#define MANDOR_XML_XML_ACCESS_H_

#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace mandor {

// The 2003 spreadsheet namespace: the default namespace of the workbook and
// the one bound to the "ss" prefix.
inline constexpr const char* kSpreadsheetNamespace = "urn:schemas-microsoft-com:office:spreadsheet";
inline constexpr const char* kSpreadsheetPrefix = "ss";
// The system's own namespace, bound to the "mn" prefix on the Workbook element.
inline constexpr const char* kMandorNamespace = "urn:schemas-mandor:marquage";
inline constexpr const char* kMandorPrefix = "mn";

// The first node the query selects from node, as an element; a null node when
// node is null, the query is malformed, or nothing (or only a non-element) is
// found. Compiled queries are cached by text.
pugi::xml_node XmlSelectNode(const pugi::xml_node& node, std::string_view query);

// Every element the query selects from node, in document order; empty on any
// error or when nothing is found.
std::vector<pugi::xml_node> XmlSelectNodes(const pugi::xml_node& node, std::string_view query);

// The attribute called name (qualified, e.g. "mn:ID") of element. When the
// element has no such attribute it is appended with an empty value and that
// new attribute is returned. A null element gives a null attribute.
pugi::xml_attribute XmlGetAttribute(pugi::xml_node element, std::string_view name);

// The first child element of parent called name. When missing and name holds a
// prefix ("mn:iFont"), the child named by the part after the first ":" is
// tried; when that is missing too, the element is created with
// XmlCreateElement and returned. A null parent gives a null node.
pugi::xml_node XmlGetNode(pugi::xml_node parent, std::string_view name);

// Creates an element called name under parent. An unprefixed name is put in
// the spreadsheet namespace (an xmlns declaration is added only when the
// default namespace in scope at parent is another one). The element is
// inserted before insert_before when given, else before the previous sibling
// of reference_sibling when that exists, else appended as parent's last child.
// A null parent gives a null node.
pugi::xml_node XmlCreateElement(pugi::xml_node parent, std::string_view name,
                                pugi::xml_node reference_sibling = pugi::xml_node(),
                                pugi::xml_node insert_before = pugi::xml_node());

}  // namespace mandor

#endif  // MANDOR_XML_XML_ACCESS_H_
