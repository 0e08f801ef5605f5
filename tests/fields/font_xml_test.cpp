// Tests of reading a font from an "mn:iFont" element and writing one back.

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <tuple>

#include <pugixml.hpp>

#include "mandor/fields/font.h"
#include "mandor/util/memory_platform.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

using xml_test::Serialized;

// The effective values of a font, in one line.
std::string Effective(const CFont& f) {
  std::ostringstream out;
  out << f.Name() << " " << f.Size() << " B" << f.Bold() << " I" << f.Italic() << " U" << f.Underline() << " S"
      << f.StrikeThrough() << " color=" << f.Color() << " back=" << f.BackColor() << " T" << f.Transparent()
      << " align=" << f.Alignment();
  return out.str();
}

class FontXmlTest : public test_util::MemoryPlatformTest {
 protected:
  pugi::xml_node Element(const std::string& xml) {
    EXPECT_TRUE(doc_.load_string(xml.c_str()));
    return doc_.first_child();
  }

  pugi::xml_document doc_;
};

TEST_F(FontXmlTest, ReadsEveryAttribute) {
  const pugi::xml_node node = Element(
      "<mn:iFont mn:Name=\"Times New Roman\" mn:Size=\"14\" mn:B=\"1\" mn:I=\"-1\" mn:U=\"0\" mn:S=\"2\""
      " mn:Color=\"255\" mn:BackColor=\"-65280\" mn:Alignment=\"2\"/>");
  const auto font = CFont::GetFontFromXmlNode(node);
  EXPECT_EQ(Effective(*font), "Times New Roman 14 B1 I1 U0 S1 color=255 back=65280 T1 align=2");
  EXPECT_FALSE(font->HasUnderline());  // false is what it would inherit
}

TEST_F(FontXmlTest, BackColorSignCarriesTransparency) {
  auto parent = std::make_shared<CFont>();
  parent->BackColor(123);
  parent->Transparent(false);
  // "-1": transparent, no colour of its own; "1": opaque, no colour of its own.
  const struct { const char* xml; bool transparent, has; int32_t back; } cases[] = {
      {"<f mn:BackColor=\"-1\"/>", true, false, 123}, {"<f mn:BackColor=\"1\"/>", false, false, 123},
      {"<f mn:BackColor=\" -255\"/>", true, true, 255}};
  for (const auto& c : cases) {
    const auto font = CFont::GetFontFromXmlNode(Element(c.xml), parent);
    EXPECT_EQ(std::make_tuple(font->Transparent(), font->HasBackColor(), font->BackColor()),
              std::make_tuple(c.transparent, c.has, c.back)) << c.xml;
  }
}

TEST_F(FontXmlTest, SkipsWhatIsNotANumberAndInheritsTheRest) {
  auto parent1 = std::make_shared<CFont>();
  parent1->Size(12);
  auto parent2 = std::make_shared<CFont>();
  parent2->Bold(true);
  pugi::xml_node node =
      Element("<f mn:Name=\"\" mn:Size=\"grand\" mn:B=\"0\" mn:Color=\"1e12\" mn:Alignment=\"300\" mn:I=\"1,0\"/>");
  const auto font = CFont::GetFontFromXmlNode(node, parent1, parent2);
  EXPECT_EQ(font->Size(), 12);
  // Colour out of range, alignment out of range for a byte; its own "not
  // bold" over parent 2's bold.
  EXPECT_FALSE(font->HasName() || font->HasColor() || font->HasAlignment() || font->Bold());
  EXPECT_TRUE(font->HasBold());
  // Every attribute asked for is now on the element, empty when it was missing.
  EXPECT_STREQ(node.attribute("mn:U").value(), "");
  EXPECT_STREQ(node.attribute("mn:BackColor").value(), "");
  // An override equal to the parent's value is not kept.
  EXPECT_FALSE(CFont::GetFontFromXmlNode(Element("<f mn:Size=\"12\"/>"), parent1)->HasSize());
  // ReadXmlFont reads the same font (the first of a name counts) and leaves
  // the element as it was.
  const pugi::xml_node kept =
      Element("<f mn:Size=\"grand\" mn:B=\"0\" mn:BackColor=\" -255\" mn:Size=\"9\" mn:Alignment=\"2\"/>");
  const std::string before = Serialized(kept);
  const auto read = CFont::ReadXmlFont(kept, parent1, parent2);
  EXPECT_EQ(Serialized(kept), before);
  const auto got = CFont::GetFontFromXmlNode(kept, parent1, parent2);
  EXPECT_EQ(Effective(*read), Effective(*got));
  EXPECT_EQ(std::make_tuple(read->HasSize(), read->HasBold(), read->HasBackColor(), read->HasAlignment()),
            std::make_tuple(false, true, true, true));
  // No element: an empty font on the parents given.
  EXPECT_FALSE(CFont::ReadXmlFont(pugi::xml_node(), parent1, nullptr)->HasSet());
  const auto empty = CFont::GetFontFromXmlNode(pugi::xml_node(), parent1);
  EXPECT_FALSE(empty->HasSet());
  EXPECT_EQ(empty->Size(), 12);
}

TEST_F(FontXmlTest, WritesOnlyWhatDiffers) {
  pugi::xml_node cell = Element("<mn:iCell mn:Name=\"L1_PU\"><a/><mn:iFont mn:Size=\"30\"/><b/></mn:iCell>");
  auto parent = std::make_shared<CFont>();
  parent->Bold(true);
  CFont font;
  font.ParentFont1 = parent;
  // No override: the old record goes and no new one comes.
  EXPECT_FALSE(font.GetXmlFontFromFontClass(cell));
  EXPECT_EQ(Serialized(cell), "<mn:iCell mn:Name=\"L1_PU\"><a/><b/></mn:iCell>");

  font.Name("Verdana"), font.Size(11), font.Color(255), font.BackColor(4080);
  font.Transparent(false), font.Bold(false), font.Underline(true), font.Alignment("1");
  const pugi::xml_node written = font.GetXmlFontFromFontClass(cell);
  ASSERT_TRUE(written);
  EXPECT_EQ(Serialized(written),
            "<mn:iFont mn:Name=\"Verdana\" mn:Size=\"11\" mn:Color=\"255\" mn:BackColor=\"4080\" mn:B=\"0\""
            " mn:U=\"1\" mn:Alignment=\"1\"/>");

  // Writing again replaces the record where it stands.
  cell.append_child("c");
  font.Transparent(true);
  font.Size(9);
  font.GetXmlFontFromFontClass(cell);
  EXPECT_EQ(std::distance(cell.begin(), cell.end()), 4);
  EXPECT_STREQ(cell.child("mn:iFont").next_sibling().name(), "c");
  EXPECT_EQ(Serialized(cell.child("mn:iFont")),
            "<mn:iFont mn:Name=\"Verdana\" mn:Color=\"255\" mn:BackColor=\"-4080\" mn:B=\"0\" mn:U=\"1\""
            " mn:Alignment=\"1\"/>");

  // Only the transparency differs: "-1" when transparent.
  CFont clear;
  clear.Transparent(false);
  EXPECT_STREQ(clear.GetXmlFontFromFontClass(cell).attribute("mn:BackColor").value(), "");
  auto opaque_parent = std::make_shared<CFont>();
  opaque_parent->Transparent(false);
  CFont see_through;
  see_through.ParentFont1 = opaque_parent;
  see_through.Transparent(true);
  const pugi::xml_node minus_one = see_through.GetXmlFontFromFontClass(cell);
  EXPECT_STREQ(minus_one.attribute("mn:BackColor").value(), "-1");
  EXPECT_TRUE(CFont::GetFontFromXmlNode(minus_one, opaque_parent)->Transparent());
  EXPECT_FALSE(see_through.GetXmlFontFromFontClass(pugi::xml_node()));
}

}  // namespace
}  // namespace mandor
