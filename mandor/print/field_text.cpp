#include "mandor/print/field_text.h"

#include <fontconfig/fontconfig.h>
#include <glib.h>
#include <pango/pangocairo.h>

#include <cmath>
#include <exception>
#include <utility>

#include "mandor/util/internal/text.h"

namespace mandor::print {

namespace {

// Text valid for Pango: invalid UTF-8 replaced by U+FFFD, control
// characters (line ends of a multi-line value among them) by spaces.
std::string PrintableText(const std::string& text) {
  gchar* valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
  std::string out(valid);
  g_free(valid);
  for (char& c : out) {
    if ((static_cast<unsigned char>(c) < 0x20) || c == 0x7F) c = ' ';
  }
  return out;
}

template <class Getter, class T>
T Or(Getter getter, T fallback) {
  try {
    return getter();
  } catch (const std::exception&) {
    return fallback;
  }
}

}  // namespace

TextStyle StyleOf(const mandor::CChamp& field) {
  TextStyle style;
  style.family = Or([&] { return field.FontName(); }, std::string("Arial"));
  if (mandor::Trim(style.family).empty()) style.family = "Arial";
  style.size_pt = Or([&] { return static_cast<double>(field.FontSize()); }, 9.0);
  if (!(style.size_pt > 0)) style.size_pt = 9;
  style.bold = Or([&] { return field.Bold(); }, false);
  style.italic = Or([&] { return field.Italic(); }, false);
  style.underline = Or([&] { return field.Underligne(); }, false);
  style.strike = Or([&] { return field.StrikeThrough(); }, false);
  style.color = FromColorRef(Or([&] { return field.FontColor(); }, int32_t{0}), Rgb{0, 0, 0});
  style.transparent = Or([&] { return field.Transparent(); }, true);
  style.back = FromColorRef(Or([&] { return field.BackColor(); }, int32_t{-1}), Rgb{1, 1, 1});
  style.alignment = Or([&] { return static_cast<int>(field.Alignement()); }, 0);
  return style;
}

Rgb FromColorRef(int32_t value, Rgb fallback) {
  if (value < 0) return fallback;
  return {(value & 0xFF) / 255.0, ((value >> 8) & 0xFF) / 255.0, ((value >> 16) & 0xFF) / 255.0};
}

bool SameFamily(const std::string& requested, const std::string& used) {
  static const std::pair<const char*, const char*> kSubstitutes[] = {
      {"arial", "liberation sans"},          {"helvetica", "liberation sans"},
      {"arial narrow", "liberation sans narrow"}, {"times new roman", "liberation serif"},
      {"times", "liberation serif"},         {"courier new", "liberation mono"},
      {"courier", "liberation mono"},        {"calibri", "carlito"},
      {"cambria", "caladea"},
  };
  const std::string r = mandor::LowerCase(mandor::Trim(requested));
  const std::string u = mandor::LowerCase(used);
  if (r == u) return true;
  for (const auto& [from, to] : kSubstitutes) {
    if (r == from && u == to) return true;
  }
  return false;
}

struct FieldTextDrawer::Impl {
  cairo_t* cr = nullptr;
  PangoLayout* layout = nullptr;
  std::map<std::string, FontMatch> fonts;

  void Prepare(const std::string& text, const TextStyle& style) {
    PangoFontDescription* font = pango_font_description_new();
    pango_font_description_set_family(font, style.family.empty() ? "Arial" : style.family.c_str());
    const double size = std::isfinite(style.size_pt) && style.size_pt > 0 ? style.size_pt : 9.0;
    pango_font_description_set_absolute_size(font, size * PANGO_SCALE);
    pango_font_description_set_weight(font, style.bold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
    pango_font_description_set_style(font, style.italic ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
    pango_layout_set_font_description(layout, font);
    pango_font_description_free(font);

    PangoAttrList* attributes = pango_attr_list_new();
    if (style.underline) pango_attr_list_insert(attributes, pango_attr_underline_new(PANGO_UNDERLINE_SINGLE));
    if (style.strike) pango_attr_list_insert(attributes, pango_attr_strikethrough_new(TRUE));
    pango_layout_set_attributes(layout, attributes);
    pango_attr_list_unref(attributes);

    const std::string clean = PrintableText(text);
    pango_layout_set_text(layout, clean.c_str(), static_cast<int>(clean.size()));
  }
};

FieldTextDrawer::FieldTextDrawer(cairo_t* cr) : impl_(std::make_unique<Impl>()) {
  impl_->cr = cr;
  impl_->layout = pango_cairo_create_layout(cr);
  // Positions as the font designs them, not snapped to a device grid: the
  // text must stand where the form expects it at any printer resolution.
  cairo_font_options_t* options = cairo_font_options_create();
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
  pango_cairo_context_set_font_options(pango_layout_get_context(impl_->layout), options);
  cairo_font_options_destroy(options);
  pango_layout_context_changed(impl_->layout);
  pango_layout_set_single_paragraph_mode(impl_->layout, TRUE);
}

FieldTextDrawer::~FieldTextDrawer() {
  if (impl_->layout != nullptr) g_object_unref(impl_->layout);
}

const FontMatch& FieldTextDrawer::Match(const std::string& family) {
  const auto found = impl_->fonts.find(family);
  if (found != impl_->fonts.end()) return found->second;
  FontMatch match;
  match.used = family;
  FcPattern* pattern = FcPatternCreate();
  FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
  FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
  FcDefaultSubstitute(pattern);
  FcResult result = FcResultNoMatch;
  FcPattern* best = FcFontMatch(nullptr, pattern, &result);
  FcChar8* name = nullptr;
  if (best != nullptr && FcPatternGetString(best, FC_FAMILY, 0, &name) == FcResultMatch && name != nullptr) {
    match.used = reinterpret_cast<const char*>(name);
    match.known = SameFamily(family, match.used);
  } else {
    match.known = false;
  }
  if (best != nullptr) FcPatternDestroy(best);
  FcPatternDestroy(pattern);
  return impl_->fonts.emplace(family, std::move(match)).first->second;
}

void FieldTextDrawer::Measure(const std::string& text, const TextStyle& style, double& width, double& height) {
  impl_->Prepare(text, style);
  PangoRectangle logical;
  pango_layout_get_extents(impl_->layout, nullptr, &logical);
  width = static_cast<double>(logical.width) / PANGO_SCALE;
  height = static_cast<double>(logical.height) / PANGO_SCALE;
}

double FieldTextDrawer::Draw(const BoxPt& box, const std::string& text, const TextStyle& style) {
  cairo_t* cr = impl_->cr;
  if (!style.transparent) {
    cairo_rectangle(cr, box.x, box.y, box.w, box.h);
    cairo_set_source_rgb(cr, style.back.r, style.back.g, style.back.b);
    cairo_fill(cr);
  }
  impl_->Prepare(text, style);
  PangoRectangle logical;
  pango_layout_get_extents(impl_->layout, nullptr, &logical);
  const double lx = static_cast<double>(logical.x) / PANGO_SCALE;
  const double ly = static_cast<double>(logical.y) / PANGO_SCALE;
  const double lw = static_cast<double>(logical.width) / PANGO_SCALE;
  const double lh = static_cast<double>(logical.height) / PANGO_SCALE;
  double x = box.x + kTextPaddingPt - lx;                                  // left
  if (style.alignment == 1) x = box.x + box.w - kTextPaddingPt - (lx + lw);  // right
  if (style.alignment == 2) x = box.x + box.w / 2 - (lx + lw / 2);          // centre
  const double y = box.y + (box.h - lh) / 2 - ly;
  cairo_set_source_rgb(cr, style.color.r, style.color.g, style.color.b);
  cairo_move_to(cr, x, y);
  pango_cairo_show_layout(cr, impl_->layout);
  cairo_new_path(cr);
  return lw;
}

void FieldTextDrawer::DrawLabel(double x, double y, const std::string& text, double size_pt, bool bold) {
  TextStyle style;
  style.family = "sans-serif";
  style.size_pt = size_pt;
  style.bold = bold;
  impl_->Prepare(text, style);
  PangoRectangle logical;
  pango_layout_get_extents(impl_->layout, nullptr, &logical);
  cairo_move_to(impl_->cr, x - static_cast<double>(logical.x) / PANGO_SCALE,
                y - static_cast<double>(logical.y) / PANGO_SCALE);
  pango_cairo_show_layout(impl_->cr, impl_->layout);
  cairo_new_path(impl_->cr);
}

}  // namespace mandor::print
