// Drawing a field's value as the paper form expects it: laid out with Pango
// on cairo in the field's font family (through fontconfig, which gives the
// metric-compatible substitutes for the usual Windows families: Liberation
// for Arial, Times New Roman and Courier New, Carlito for Calibri, Caladea
// for Cambria), its size in points, bold, italic, underline and
// strike-through, its colour, aligned left, right or centred inside the
// field's rectangle with its back colour behind unless it is transparent.
//
// FieldTextDrawer keeps one Pango layout and a cache of font look-ups; it
// draws on the cairo context it was made for, whose user space is in points.
//
// Threading: one drawer per thread (Pango layouts are not thread-safe).
#ifndef MANDOR_PRINT_FIELD_TEXT_H_
#define MANDOR_PRINT_FIELD_TEXT_H_

#include <cairo.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "mandor/mandor.h"

namespace mandor::print {

// Horizontal room kept between the text and the left or right edge of its
// rectangle, in points.
constexpr double kTextPaddingPt = 1.0;

struct Rgb {
  double r = 0, g = 0, b = 0;
};

// A Windows colour (0x00BBGGRR); a negative value (unset, a system colour)
// gives `fallback`.
Rgb FromColorRef(int32_t value, Rgb fallback);

struct TextStyle {
  std::string family = "Arial";
  double size_pt = 9;
  bool bold = false, italic = false, underline = false, strike = false;
  Rgb color;
  bool transparent = true;
  Rgb back{1, 1, 1};
  int alignment = 0;  // 0 left, 1 right, 2 centre (the field's Alignement)
};

// The style of a field's text: its font attributes (inherited as fonts
// inherit), each falling back on the built-in default when it cannot be read.
TextStyle StyleOf(const mandor::CChamp& field);

// A rectangle in points, y growing down the page.
struct BoxPt {
  double x = 0, y = 0, w = 0, h = 0;
};

// What fontconfig gives for a family.
struct FontMatch {
  std::string used;   // the family actually drawn
  bool known = true;  // the family itself or its metric-compatible substitute
};

class FieldTextDrawer {
 public:
  explicit FieldTextDrawer(cairo_t* cr);
  ~FieldTextDrawer();
  FieldTextDrawer(const FieldTextDrawer&) = delete;
  FieldTextDrawer& operator=(const FieldTextDrawer&) = delete;

  // The font drawn for `family` (cached).
  const FontMatch& Match(const std::string& family);

  // Width and height in points of `text` laid out in `style`.
  void Measure(const std::string& text, const TextStyle& style, double& width, double& height);

  // Fills the box with the back colour (unless transparent), then draws the
  // text on one line, vertically centred, aligned inside the box less the
  // padding. Text wider than the box runs out of it on the side away from
  // the alignment (both sides when centred). Returns the text's width.
  double Draw(const BoxPt& box, const std::string& text, const TextStyle& style);

  // Draws plain text with its top-left corner at (x, y), in a sans-serif
  // font of size_pt, in the current source colour (labels of the test sheet).
  void DrawLabel(double x, double y, const std::string& text, double size_pt, bool bold = false);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// The name as fontconfig matches it: the metric-compatible substitutes
// installed for the Windows families, compared without regard to case.
bool SameFamily(const std::string& requested, const std::string& used);

}  // namespace mandor::print

#endif  // MANDOR_PRINT_FIELD_TEXT_H_
