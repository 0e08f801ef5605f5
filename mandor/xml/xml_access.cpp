#include "mandor/xml/internal/xml_access.h"

#include <cstring>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_map>

#include "mandor/util/error.h"
#include "mandor/util/internal/number.h"

namespace mandor {

namespace {

// Compiled queries by text. Readers and writers run the same few query texts
// (with the document's image ID in them) thousands of times; compiling each
// once saves most of the cost. The cache is dropped when it grows beyond a
// bound, so that queries built from many different values cannot make it
// grow without end.
class QueryCache {
 public:
  // The compiled query, or null when the text is not a valid query.
  const pugi::xpath_query* Get(std::string_view text) {
    std::string key(text);
    auto it = queries_.find(key);
    if (it != queries_.end()) return it->second.get();
    if (queries_.size() >= kMaxQueries) queries_.clear();
    std::unique_ptr<pugi::xpath_query> query;
    try {
      query = std::make_unique<pugi::xpath_query>(key.c_str());
      if (!query->result()) query.reset();
    } catch (const std::exception&) {
      query.reset();
    }
    const pugi::xpath_query* result = query.get();
    queries_.emplace(std::move(key), std::move(query));
    return result;
  }

 private:
  static constexpr size_t kMaxQueries = 512;
  std::unordered_map<std::string, std::unique_ptr<pugi::xpath_query>> queries_;
};

QueryCache& Cache() {
  thread_local QueryCache cache;
  return cache;
}

// The default namespace in scope at node: the nearest xmlns attribute of
// node or its ancestors; empty when none is declared.
std::string_view DefaultNamespaceAt(pugi::xml_node node) {
  for (; node; node = node.parent()) {
    if (node.type() != pugi::node_element) continue;
    if (pugi::xml_attribute xmlns = node.attribute("xmlns")) return xmlns.value();
  }
  return {};
}

}  // namespace

pugi::xml_node XmlSelectNode(const pugi::xml_node& node, std::string_view query) {
  if (!node) return {};
  const pugi::xpath_query* compiled = Cache().Get(query);
  if (!compiled) return {};
  try {
    return compiled->evaluate_node(node).node();
  } catch (const std::exception&) {
    return {};
  }
}

std::vector<pugi::xml_node> XmlSelectNodes(const pugi::xml_node& node, std::string_view query) {
  std::vector<pugi::xml_node> nodes;
  if (!node) return nodes;
  const pugi::xpath_query* compiled = Cache().Get(query);
  if (!compiled) return nodes;
  try {
    pugi::xpath_node_set set = compiled->evaluate_node_set(node);
    set.sort();
    nodes.reserve(set.size());
    for (const pugi::xpath_node& found : set) {
      if (found.node()) nodes.push_back(found.node());
    }
  } catch (const std::exception&) {
    nodes.clear();
  }
  return nodes;
}

void XmlSetAttribute(pugi::xml_node element, const char* name, const std::string& value) {
  if (!element) ThrowError(kObjectNotSet, std::string("Object variable not set (element for ") + name + ")");
  XmlGetAttribute(element, name).set_value(value.c_str());
}

std::string XmlPeekAttribute(const pugi::xml_node& element, const char* name) {
  return element.attribute(name).value();
}

std::string XmlNumberText(float v) { return SingleToText(v, Locale::Point()); }
std::string XmlNumberText(double v) { return DoubleToText(v, Locale::Point()); }

pugi::xml_attribute XmlGetAttribute(pugi::xml_node element, std::string_view name) {
  if (!element || element.type() != pugi::node_element || name.empty()) return {};
  const std::string key(name);
  if (pugi::xml_attribute attribute = element.attribute(key.c_str())) return attribute;
  return element.append_attribute(key.c_str());
}

pugi::xml_node XmlGetNode(pugi::xml_node parent, std::string_view name) {
  if (!parent || name.empty()) return {};
  const std::string key(name);
  if (pugi::xml_node child = parent.child(key.c_str())) return child;
  const size_t colon = key.find(':');
  if (colon != std::string::npos) {
    if (pugi::xml_node child = parent.child(key.substr(colon + 1).c_str())) return child;
  }
  return XmlCreateElement(parent, name);
}

pugi::xml_node XmlCreateElement(pugi::xml_node parent, std::string_view name, pugi::xml_node reference_sibling,
                                pugi::xml_node insert_before) {
  if (!parent || name.empty()) return {};
  if (parent.type() != pugi::node_element && parent.type() != pugi::node_document) return {};
  if (!insert_before && reference_sibling) insert_before = reference_sibling.previous_sibling();
  if (insert_before && insert_before.parent() != parent) insert_before = pugi::xml_node();

  const std::string key(name);
  pugi::xml_node element =
      insert_before ? parent.insert_child_before(key.c_str(), insert_before) : parent.append_child(key.c_str());
  if (element && key.find(':') == std::string::npos && DefaultNamespaceAt(parent) != kSpreadsheetNamespace) {
    element.append_attribute("xmlns") = kSpreadsheetNamespace;
  }
  return element;
}

// Names whose slots collide are probed in turn.
AttributeNames::AttributeNames(const char* const* names, size_t count) {
  if (count > kMaxNames) throw std::length_error("too many attribute names");
  for (size_t place = 0; place < count; ++place) {
    const Words words = WordsOf(names[place]);
    size_t i = Slot(words);
    while (slots_[i].place != npos) i = (i + 1) & (kSlots - 1);
    slots_[i] = Entry{words, names[place], place};
  }
  count_ = count;
}

ElementAttributes::ElementAttributes(const pugi::xml_node& element, const AttributeNames& names)
    : element_(element) {
  for (pugi::xml_attribute a = element.first_attribute(); a; a = a.next_attribute()) {
    const size_t place = names.Find(a.name());
    if (place != AttributeNames::npos && !values_[place]) values_[place] = a.value();
  }
}

}  // namespace mandor
