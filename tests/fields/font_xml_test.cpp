// Tests of reading a font from an "mn:iFont" element and writing one back.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include <pugixml.hpp>

#include "mandor/fields/font.h"
#include "mandor/testing/memory_platform.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

using xml_test::Serialized;

class FontXmlTest : public test_util::MemoryPlatformTest {
 protected:
  pugi::xml_node Element(const std::string& xml) {
    EXPECT_TRUE(doc_.load_string(xml.c_str()));
    return doc_.first_child();
  }
  pugi::xml_document doc_;
};

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
  EXPECT_EQ(Serialized(font.GetXmlFontFromFontClass(cell)),
            "<mn:iFont mn:Name=\"Verdana\" mn:Size=\"11\" mn:Color=\"255\" mn:BackColor=\"4080\" mn:B=\"0\""
            " mn:U=\"1\" mn:Alignment=\"1\"/>");
  // Writing again replaces the record where it stands.
  cell.append_child("c");
  font.Transparent(true), font.Size(9);
  font.GetXmlFontFromFontClass(cell);
  EXPECT_EQ(Serialized(cell), "<mn:iCell mn:Name=\"L1_PU\"><a/><b/><mn:iFont mn:Name=\"Verdana\" mn:Color=\"255\""
                              " mn:BackColor=\"-4080\" mn:B=\"0\" mn:U=\"1\" mn:Alignment=\"1\"/><c/></mn:iCell>");
  // Only the transparency differs: "-1" when transparent.
  auto opaque_parent = std::make_shared<CFont>();
  opaque_parent->Transparent(false);
  CFont see_through;
  see_through.ParentFont1 = opaque_parent;
  see_through.Transparent(true);
  const pugi::xml_node minus_one = see_through.GetXmlFontFromFontClass(cell);
  EXPECT_STREQ(minus_one.attribute("mn:BackColor").value(), "-1");
  EXPECT_TRUE(CFont::GetFontFromXmlNode(minus_one, opaque_parent)->Transparent());
}

}  // namespace
}  // namespace mandor
