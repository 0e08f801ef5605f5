#include "cli/render.h"

#include <cairo.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <exception>
#include <memory>
#include <set>
#include <variant>
#include <vector>

#include "cli/marking.h"
#include "mandor/print/field_text.h"
#include "mandor/print/page_fields.h"
#include "mandor/print/page_image.h"
#include "mandor/print/sheet.h"
#include "mandor/util/internal/text.h"

namespace mandor_cli {

using mandor::CChamp;
using mandor::CPage;
using mandor::CRegle;
using mandor::Mandor;

namespace {

// Largest PNG drawn, in pixels (a 300 dpi A4 page is 8.7 million).
constexpr double kMaxPngPixels = 100.0e6;
constexpr double kMaxPngSide = 32000.0;
// Coordinates beyond this are clamped, so that absurd positions in a file
// neither overflow the rasteriser nor blow up the SVG.
constexpr double kMaxCoordinate = 1.0e6;

using mandor::print::Rgb;

const Rgb kBorder{0.55, 0.55, 0.55};
const Rgb kVerticalRuler{0.13, 0.35, 0.85};
const Rgb kHorizontalRuler{0.05, 0.55, 0.25};

enum class Anchor { kStart, kMiddle, kEnd };

struct TextItem {
  double x = 0, y = 0;  // baseline point at the anchor
  std::string text;
  std::string font;
  double size = 10;
  bool bold = false, italic = false, underline = false, strike = false;
  Rgb color;
  double opacity = 1;
  Anchor anchor = Anchor::kStart;
};

// The bold name drawn beside a ruler line; u is the drawing's unit.
TextItem RulerLabel(double x, double y, const std::string& name, double u, Rgb color) {
  TextItem label;
  label.x = x;
  label.y = y;
  label.text = name;
  label.font = "sans-serif";
  label.size = 12 * u;
  label.bold = true;
  label.color = color;
  return label;
}

struct RectItem {
  double x = 0, y = 0, w = 0, h = 0;
  Rgb stroke;
  double stroke_width = 0;  // 0: no outline
  bool dashed = false;
  bool filled = false;
  Rgb fill;
  double fill_opacity = 1;
};

struct LineItem {
  double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
  Rgb color;
  double width = 1;
  bool dashed = false;
};

using Item = std::variant<RectItem, LineItem, TextItem>;

struct Scene {
  double width = 0, height = 0;  // page pixels
  double scale = 1;
  double unit = 1;  // one picture pixel in page pixels
  mandor::print::PageImage image;
  std::string image_png;  // the image as a PNG, for the SVG
  std::vector<Item> items;
};

double Clamp(double v) { return std::clamp(v, -kMaxCoordinate, kMaxCoordinate); }
bool Finite(double v) { return std::isfinite(v); }

// --- cairo resources ---

struct SurfaceDeleter {
  void operator()(cairo_surface_t* s) const { cairo_surface_destroy(s); }
};
struct ContextDeleter {
  void operator()(cairo_t* c) const { cairo_destroy(c); }
};
using Surface = std::unique_ptr<cairo_surface_t, SurfaceDeleter>;
using Context = std::unique_ptr<cairo_t, ContextDeleter>;

cairo_status_t AppendBytes(void* closure, const unsigned char* data, unsigned int length) {
  static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
  return CAIRO_STATUS_SUCCESS;
}

// --- text ---

// --- building the scene ---

std::string FormatNumberForSvg(double v) {
  char text[64];
  const auto result = std::to_chars(text, text + sizeof text, Clamp(v), std::chars_format::fixed, 2);
  std::string s(text, result.ptr);
  if (s.find('.') != std::string::npos) {
    while (s.back() == '0') s.pop_back();
    if (s.back() == '.') s.pop_back();
  }
  return s == "-0" ? "0" : s;
}

// The size of the page in pixels: its own, else the document's image size,
// else an A4 sheet at the page's resolution, grown to hold every ruler and
// field (a text marking does not store the page size).
void SizePage(Scene& scene, const Mandor& document, const CPage& page, const std::vector<RectItem>& boxes) {
  const mandor::print::PagePixels size = mandor::print::PixelSizeOf(document, page);
  scene.width = Clamp(size.width);
  scene.height = Clamp(size.height);
  if (size.from == mandor::print::PagePixels::From::kPage) return;
  for (const RectItem& box : boxes) {
    scene.width = std::max(scene.width, std::ceil(box.x + box.w + 20));
    scene.height = std::max(scene.height, std::ceil(box.y + box.h + 20));
  }
}

void AddField(Scene& scene, const CChamp& field, bool repeating, const CPage& page, RectItem box) {
  const double u = scene.unit;
  const mandor::print::TextStyle style = mandor::print::StyleOf(field);
  const Rgb ink = style.color;
  box.stroke = ink;
  box.stroke_width = 1.5 * u;
  box.dashed = repeating;
  box.filled = !style.transparent;
  box.fill = style.back;
  box.fill_opacity = 0.55;  // the page image stays visible underneath
  scene.items.emplace_back(box);

  TextItem name;
  name.x = box.x;
  name.y = box.y - 5 * u;
  name.text = field.Nom();
  name.font = "sans-serif";
  name.size = 11 * u;
  name.color = ink;
  name.opacity = 0.8;
  scene.items.emplace_back(name);

  std::string value;
  try {
    value = field.valeur();
  } catch (const std::exception&) {
    // A value that cannot be read is not drawn.
  }
  if (value.empty()) return;
  TextItem text;
  text.text = value;
  text.font = style.family;
  const double resolution = page.vResolution() > 0 ? page.vResolution() : 300;
  text.size = style.size_pt * resolution / 72.0;
  if (box.h > 0) text.size = std::min(text.size, 0.85 * box.h);
  text.size = std::max(text.size, 6 * u);
  text.bold = style.bold;
  text.italic = style.italic;
  text.underline = style.underline;
  text.strike = style.strike;
  text.color = ink;
  text.y = box.y + (box.h + 0.7 * text.size) / 2;
  const double pad = std::min(6 * u, box.w / 10);
  switch (style.alignment) {
    case 1:
      text.anchor = Anchor::kEnd;
      text.x = box.x + box.w - pad;
      break;
    case 2:
      text.anchor = Anchor::kMiddle;
      text.x = box.x + box.w / 2;
      break;
    default:
      text.x = box.x + pad;
      break;
  }
  scene.items.emplace_back(text);
}

Scene BuildScene(const Mandor& document, const CPage& page, int page_number, double scale) {
  Scene scene;
  scene.scale = scale;
  scene.unit = 1.0 / scale;
  const double u = scene.unit;

  const std::vector<mandor::print::PageField> fields = mandor::print::FieldsOfPage(document, page);
  std::vector<RectItem> boxes;
  for (const mandor::print::PageField& entry : fields) {
    const std::shared_ptr<CChamp>& field = entry.field;
    const double l = field->Position_pixel_Left, t = field->Position_pixel_Top;
    const double r = field->Position_pixel_Right, b = field->Position_pixel_Bottom;
    RectItem box;
    if (Finite(l) && Finite(t) && Finite(r) && Finite(b)) {
      box.x = Clamp(std::min(l, r));
      box.y = Clamp(std::min(t, b));
      box.w = Clamp(std::fabs(r - l));
      box.h = Clamp(std::fabs(b - t));
    } else {
      box.w = -1;  // not drawn
    }
    boxes.push_back(box);
  }
  SizePage(scene, document, page, boxes);
  // An image that cannot be read is simply not drawn.
  mandor::print::PageImages images(document);
  scene.image = images.Page(page_number);

  scene.items.emplace_back(RectItem{0, 0, scene.width, scene.height, kBorder, 1 * u, false, false, {}, 1});

  for (const std::shared_ptr<CRegle>& ruler : document.Regles_V) {
    if (!ruler || !Finite(ruler->Position_pixel_X)) continue;
    const double x = Clamp(ruler->Position_pixel_X);
    if (Finite(ruler->largeur_pixel) && ruler->largeur_pixel > 0) {
      scene.items.emplace_back(
          RectItem{x, 0, Clamp(ruler->largeur_pixel), scene.height, {}, 0, false, true, kVerticalRuler, 0.06});
    }
    scene.items.emplace_back(LineItem{x, 0, x, scene.height, kVerticalRuler, 1.5 * u, true});
    scene.items.emplace_back(RulerLabel(x + 3 * u, 14 * u, ruler->Nom, u, kVerticalRuler));
  }
  for (const std::shared_ptr<CRegle>& ruler : page.Regles_H) {
    if (!ruler || !Finite(ruler->Position_pixel_Y)) continue;
    const double y = Clamp(ruler->Position_pixel_Y);
    scene.items.emplace_back(LineItem{0, y, scene.width, y, kHorizontalRuler, 1.5 * u, true});
    scene.items.emplace_back(RulerLabel(3 * u, y - 3 * u, ruler->Nom, u, kHorizontalRuler));
  }
  for (size_t i = 0; i < fields.size(); ++i) {
    if (boxes[i].w < 0) continue;
    AddField(scene, *fields[i].field, fields[i].repeating, page, boxes[i]);
  }
  return scene;
}

// --- SVG ---

std::string SvgColor(const Rgb& c) {
  static const char* kHex = "0123456789abcdef";
  std::string text = "#";
  for (double channel : {c.r, c.g, c.b}) {
    const int v = std::clamp(static_cast<int>(std::lround(channel * 255)), 0, 255);
    text += kHex[v >> 4];
    text += kHex[v & 15];
  }
  return text;
}

std::string SvgFontFamily(const std::string& font) {
  const std::string lower = mandor::LowerCase(font);
  const bool serif = lower.find("times") != std::string::npos || lower.find("serif") != std::string::npos;
  const std::string generic = serif && lower != "sans-serif" ? "serif" : "sans-serif";
  if (font.empty() || font == generic) return generic;
  return "'" + XmlEscape(font) + "', " + generic;
}

std::string Base64(const std::string& bytes) {
  static const char* kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    const uint32_t n = (static_cast<uint8_t>(bytes[i]) << 16) | (static_cast<uint8_t>(bytes[i + 1]) << 8) |
                       static_cast<uint8_t>(bytes[i + 2]);
    out += kAlphabet[(n >> 18) & 63];
    out += kAlphabet[(n >> 12) & 63];
    out += kAlphabet[(n >> 6) & 63];
    out += kAlphabet[n & 63];
  }
  if (i < bytes.size()) {
    uint32_t n = static_cast<uint8_t>(bytes[i]) << 16;
    if (i + 1 < bytes.size()) n |= static_cast<uint8_t>(bytes[i + 1]) << 8;
    out += kAlphabet[(n >> 18) & 63];
    out += kAlphabet[(n >> 12) & 63];
    out += i + 1 < bytes.size() ? kAlphabet[(n >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

std::string WriteSvg(const Scene& scene, const std::string& title) {
  auto n = FormatNumberForSvg;
  std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  svg += "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" width=\"" +
         n(std::round(scene.width * scene.scale)) + "\" height=\"" + n(std::round(scene.height * scene.scale)) +
         "\" viewBox=\"0 0 " + n(scene.width) + " " + n(scene.height) + "\">\n";
  svg += "<title>" + XmlEscape(title) + "</title>\n";
  svg += "<rect x=\"0\" y=\"0\" width=\"" + n(scene.width) + "\" height=\"" + n(scene.height) +
         "\" fill=\"#ffffff\"/>\n";
  if (!scene.image_png.empty()) {
    // The image once, under xlink:href, which SVG 1.1 viewers need and SVG 2 ones still read.
    svg += "<image x=\"0\" y=\"0\" width=\"" + n(scene.width) + "\" height=\"" + n(scene.height) +
           "\" preserveAspectRatio=\"none\" xlink:href=\"data:image/png;base64," + Base64(scene.image_png) + "\"/>\n";
  }
  const std::string dash = " stroke-dasharray=\"" + n(6 * scene.unit) + " " + n(4 * scene.unit) + "\"";
  for (const Item& item : scene.items) {
    if (const auto* rect = std::get_if<RectItem>(&item)) {
      svg += "<rect x=\"" + n(rect->x) + "\" y=\"" + n(rect->y) + "\" width=\"" + n(rect->w) + "\" height=\"" +
             n(rect->h) + "\"";
      svg += rect->filled ? " fill=\"" + SvgColor(rect->fill) + "\" fill-opacity=\"" + n(rect->fill_opacity) + "\""
                          : std::string(" fill=\"none\"");
      if (rect->stroke_width > 0) {
        svg += " stroke=\"" + SvgColor(rect->stroke) + "\" stroke-width=\"" + n(rect->stroke_width) + "\"";
        if (rect->dashed) svg += dash;
      }
      svg += "/>\n";
    } else if (const auto* line = std::get_if<LineItem>(&item)) {
      svg += "<line x1=\"" + n(line->x1) + "\" y1=\"" + n(line->y1) + "\" x2=\"" + n(line->x2) + "\" y2=\"" +
             n(line->y2) + "\" stroke=\"" + SvgColor(line->color) + "\" stroke-width=\"" + n(line->width) + "\"" +
             (line->dashed ? dash : std::string()) + "/>\n";
    } else if (const auto* text = std::get_if<TextItem>(&item)) {
      svg += "<text x=\"" + n(text->x) + "\" y=\"" + n(text->y) + "\" font-family=\"" + SvgFontFamily(text->font) +
             "\" font-size=\"" + n(text->size) + "\" fill=\"" + SvgColor(text->color) + "\"";
      if (text->opacity < 1) svg += " fill-opacity=\"" + n(text->opacity) + "\"";
      if (text->bold) svg += " font-weight=\"bold\"";
      if (text->italic) svg += " font-style=\"italic\"";
      if (text->underline || text->strike) {
        svg += std::string(" text-decoration=\"") + (text->underline ? "underline" : "") +
               (text->underline && text->strike ? " " : "") + (text->strike ? "line-through" : "") + "\"";
      }
      if (text->anchor == Anchor::kMiddle) svg += " text-anchor=\"middle\"";
      if (text->anchor == Anchor::kEnd) svg += " text-anchor=\"end\"";
      svg += " xml:space=\"preserve\">" + XmlEscape(text->text) + "</text>\n";
    }
  }
  svg += "</svg>\n";
  return svg;
}

// --- PNG ---

void CairoSource(cairo_t* cr, const Rgb& c, double alpha) { cairo_set_source_rgba(cr, c.r, c.g, c.b, alpha); }

void CairoDash(cairo_t* cr, bool dashed, double unit) {
  const double dashes[] = {6 * unit, 4 * unit};
  cairo_set_dash(cr, dashes, dashed ? 2 : 0, 0);
}

void DrawText(cairo_t* cr, const TextItem& text, double unit) {
  const std::string clean = CleanText(text.text);
  if (clean.empty()) return;
  const std::string family = text.font.empty() ? "sans-serif" : CleanText(text.font);
  cairo_select_font_face(cr, family.c_str(), text.italic ? CAIRO_FONT_SLANT_ITALIC : CAIRO_FONT_SLANT_NORMAL,
                         text.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cr, text.size);
  cairo_text_extents_t extents;
  cairo_text_extents(cr, clean.c_str(), &extents);
  double x = text.x;
  if (text.anchor == Anchor::kMiddle) x -= extents.x_advance / 2;
  if (text.anchor == Anchor::kEnd) x -= extents.x_advance;
  CairoSource(cr, text.color, text.opacity);
  cairo_move_to(cr, x, text.y);
  cairo_show_text(cr, clean.c_str());
  cairo_new_path(cr);
  CairoDash(cr, false, unit);
  cairo_set_line_width(cr, std::max(text.size / 15, unit));
  if (text.underline) {
    cairo_move_to(cr, x, text.y + text.size * 0.12);
    cairo_line_to(cr, x + extents.x_advance, text.y + text.size * 0.12);
    cairo_stroke(cr);
  }
  if (text.strike) {
    cairo_move_to(cr, x, text.y - text.size * 0.3);
    cairo_line_to(cr, x + extents.x_advance, text.y - text.size * 0.3);
    cairo_stroke(cr);
  }
}

std::string WritePng(const Scene& scene, int width, int height) {
  Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
    throw CommandFailure("cannot make a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                         " pixels");
  }
  Context context(cairo_create(surface.get()));
  cairo_t* cr = context.get();
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_paint(cr);
  cairo_scale(cr, scene.scale, scene.scale);
  scene.image.Draw(cr, scene.width, scene.height);
  for (const Item& item : scene.items) {
    if (const auto* rect = std::get_if<RectItem>(&item)) {
      cairo_rectangle(cr, rect->x, rect->y, rect->w, rect->h);
      if (rect->filled) {
        CairoSource(cr, rect->fill, rect->fill_opacity);
        cairo_fill_preserve(cr);
      }
      if (rect->stroke_width > 0) {
        CairoSource(cr, rect->stroke, 1);
        cairo_set_line_width(cr, rect->stroke_width);
        CairoDash(cr, rect->dashed, scene.unit);
        cairo_stroke(cr);
      }
      cairo_new_path(cr);
    } else if (const auto* line = std::get_if<LineItem>(&item)) {
      cairo_move_to(cr, line->x1, line->y1);
      cairo_line_to(cr, line->x2, line->y2);
      CairoSource(cr, line->color, 1);
      cairo_set_line_width(cr, line->width);
      CairoDash(cr, line->dashed, scene.unit);
      cairo_stroke(cr);
    } else if (const auto* text = std::get_if<TextItem>(&item)) {
      DrawText(cr, *text, scene.unit);
    }
  }
  cairo_surface_flush(surface.get());
  if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) {
    throw CommandFailure(std::string("drawing failed: ") + cairo_status_to_string(cairo_status(cr)));
  }
  std::string png;
  if (cairo_surface_write_to_png_stream(surface.get(), AppendBytes, &png) != CAIRO_STATUS_SUCCESS) {
    throw CommandFailure("cannot encode the PNG picture");
  }
  return png;
}

}  // namespace

RenderFormat RenderFormatOf(const std::string& file) {
  const std::string lower = mandor::LowerCase(file);
  if (mandor::EndsWith(lower, ".svg")) return RenderFormat::kSvg;
  if (mandor::EndsWith(lower, ".png")) return RenderFormat::kPng;
  return RenderFormat::kUnknown;
}

std::string CleanText(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  const size_t size = text.size();
  size_t i = 0;
  while (i < size) {
    const mandor::Utf8Char c = mandor::DecodeUtf8(text, i);
    i += c.length;
    if (!c.valid) {
      mandor::AppendUtf8(out, 0xFFFD);
      continue;
    }
    char32_t cp = c.code;
    if (cp < 0x20 || cp == 0x7F || cp == 0xFFFE || cp == 0xFFFF) cp = ' ';
    mandor::AppendUtf8(out, cp);
  }
  return out;
}

std::string XmlEscape(const std::string& text) {
  const std::string clean = CleanText(text);
  std::string out;
  out.reserve(clean.size());
  for (const char c : clean) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&apos;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

RenderResult RenderPage(const Mandor& document, int page_number, double scale, RenderFormat format,
                        const std::string& output) {
  const std::shared_ptr<CPage>& page = document.Pages.Item(static_cast<long>(page_number));
  if (!page) throw CommandFailure("page " + std::to_string(page_number) + " is missing");
  Scene scene = BuildScene(document, *page, page_number, scale);

  RenderResult result;
  const double width = std::max(1.0, std::round(scene.width * scale));
  const double height = std::max(1.0, std::round(scene.height * scale));
  std::string bytes;
  if (format == RenderFormat::kPng) {
    if (width > kMaxPngSide || height > kMaxPngSide || width * height > kMaxPngPixels) {
      throw CommandFailure("page " + std::to_string(page_number) + " would be " + FormatNumberForSvg(width) + " x " +
                           FormatNumberForSvg(height) + " pixels, too large for a PNG; try a smaller --scale");
    }
    bytes = WritePng(scene, static_cast<int>(width), static_cast<int>(height));
  } else {
    // A PNG scan goes in as it is; a PDF or TIFF page as a PNG of the page's pixels.
    const mandor::print::PageImage& image = scene.image;
    scene.image_png = image.kind() == mandor::print::ImageKind::kPng
                          ? image.ToPng(static_cast<int>(image.width()), static_cast<int>(image.height()))
                          : image.ToPng(static_cast<int>(std::round(scene.width)), static_cast<int>(std::round(scene.height)));
    const std::string name = document.Id.empty() ? document.Nom_Document() : document.Id + " " + document.Nom_Document();
    bytes = WriteSvg(scene, name + ", page " + std::to_string(page_number));
  }
  try {
    mandor::CurrentPlatform().ReplaceFileBytes(output, bytes);
  } catch (const std::exception& e) {
    throw CommandFailure("cannot write " + output + ": " + e.what());
  }
  result.width = static_cast<int>(std::min(width, 2.0e9));
  result.height = static_cast<int>(std::min(height, 2.0e9));
  result.image = scene.image.path();
  return result;
}

}  // namespace mandor_cli
