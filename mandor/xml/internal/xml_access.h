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
//
// ElementAttributes reads the attributes of an element that a reader asks
// for in one walk, leaving the element as it is: for the catalogue read,
// whose workbook is dropped afterwards, so that the attributes XmlGetAttribute
// would add could never be seen.
//
// Threading: single-threaded, as the whole model is: a document and its nodes
// are used by one thread at a time. The compiled queries are cached in a
// thread_local table, since the same few query texts are run thousands of
// times: each thread has its own, so that threads each reading its own
// workbook never share one and need no lock.
#ifndef MANDOR_XML_INTERNAL_XML_ACCESS_H_
#define MANDOR_XML_INTERNAL_XML_ACCESS_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include "mandor/util/internal/word.h"

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

// Calls visit(child) for each child element of parent called name, in
// order: what XmlSelectNodes(parent, name) gives for a plain name, without
// evaluating a query and collecting its nodes (a save walks every row and
// cell of a worksheet this way).
template <class Visit>
void ForEachChildElement(const pugi::xml_node& parent, const char* name, Visit&& visit) {
  for (pugi::xml_node child = parent.child(name); child; child = child.next_sibling(name)) {
    if (child.type() == pugi::node_element) visit(child);
  }
}

// The attribute called name (qualified, e.g. "mn:ID") of element. When the
// element has no such attribute it is appended with an empty value and that
// new attribute is returned. A null element gives a null attribute.
pugi::xml_attribute XmlGetAttribute(pugi::xml_node element, std::string_view name);

// Sets the attribute called name of element to value, appending it when
// missing. Error 91 when element is null: a writer that could not find the
// element it writes on must not go on as if it had written.
void XmlSetAttribute(pugi::xml_node element, const char* name, const std::string& value);

// Text of the attribute called name of element, without adding it when it
// is missing (an empty "ss:Index" added to a cell or row would break the
// spreadsheet); "" for a missing attribute or a null element.
std::string XmlPeekAttribute(const pugi::xml_node& element, const char* name);

// A number as attribute values hold it: the invariant form, with a decimal
// point whatever the locale (the default text of a Single or a Double).
std::string XmlNumberText(float v);
std::string XmlNumberText(double v);

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

// A fixed set of attribute names a reader asks elements for, to find them in
// one walk over an element's attributes (ElementAttributes) instead of one
// search along the list per name. Names are matched exactly, as
// pugi::xml_node::attribute does.
class AttributeNames {
 public:
  static constexpr size_t kMaxNames = 24;
  static constexpr size_t npos = static_cast<size_t>(-1);

  AttributeNames(std::initializer_list<const char*> names) : AttributeNames(names.begin(), names.size()) {}
  AttributeNames(const char* const* names, size_t count);

  size_t size() const { return count_; }
  // The place of name in the set, or npos.
  size_t Find(const char* name) const;

 private:
  // A name's length and two words of it: its first and last eight bytes, or
  // its ShortWord below eight. Up to sixteen bytes they cover the whole
  // name, so that names of equal words are equal.
  struct Words {
    uint64_t first = 0;
    uint64_t last = 0;
    size_t length = 0;
    bool operator==(const Words&) const = default;
  };
  struct Entry {
    Words words;
    const char* name = nullptr;
    size_t place = npos;  // npos: an empty slot
  };
  static constexpr size_t kSlotBits = 6;
  static constexpr size_t kSlots = size_t{1} << kSlotBits;  // well above kMaxNames

  static Words WordsOf(const char* name);
  size_t Slot(const Words& words) const {
    const uint64_t mixed = (words.first ^ (words.last * 0xff51afd7ed558ccdULL) ^ words.length) * 0x9e3779b97f4a7c15ULL;
    return static_cast<size_t>(mixed >> (64 - kSlotBits));
  }

  std::array<Entry, kSlots> slots_{};
  size_t count_ = 0;
};

// The values of an element's attributes named in an AttributeNames set, read
// without changing the element (unlike XmlGetAttribute): the first attribute
// of a name counts, as element.attribute(name) finds it, and a missing one
// reads as "". The texts live as long as the element.
class ElementAttributes {
 public:
  ElementAttributes(const pugi::xml_node& element, const AttributeNames& names);

  const pugi::xml_node& element() const { return element_; }

  // The text of the attribute at `place` in the names ("" when missing).
  std::string_view operator[](size_t place) const { return values_[place] ? values_[place] : ""; }

 private:
  pugi::xml_node element_;
  std::array<const char*, AttributeNames::kMaxNames> values_{};
};

// Inline: run for every attribute of every element read.
inline AttributeNames::Words AttributeNames::WordsOf(const char* name) {
  Words words;
  words.length = std::strlen(name);
  if (words.length >= 8) {
    words.first = Word(name);
    words.last = Word(name + words.length - 8);
  } else {
    words.first = ShortWord(name, words.length);
  }
  return words;
}

inline size_t AttributeNames::Find(const char* name) const {
  const Words words = WordsOf(name);
  for (size_t i = Slot(words);; i = (i + 1) & (kSlots - 1)) {
    const Entry& entry = slots_[i];
    if (entry.place == npos) return npos;
    if (entry.words == words && (words.length <= 16 || std::memcmp(entry.name, name, words.length) == 0)) {
      return entry.place;
    }
  }
}

}  // namespace mandor

#endif  // MANDOR_XML_INTERNAL_XML_ACCESS_H_
