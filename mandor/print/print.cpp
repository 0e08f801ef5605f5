#include "mandor/print/print.h"

#include <cairo-pdf.h>
#include <cairo.h>
#include <glib.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <exception>
#include <memory>
#include <set>

#include "mandor/print/field_text.h"
#include "mandor/print/page_fields.h"
#include "mandor/print/page_image.h"
#include "mandor/util/fct_util.h"
#include "mandor/util/internal/number.h"
#include "mandor/util/internal/text.h"
#include "mandor/util/platform.h"

namespace mandor::print {

namespace {

using mandor::CChamp;
using mandor::CPage;
using mandor::Mandor;

// Colours of the test sheet.
const Rgb kGrid{0.72, 0.80, 0.92};
const Rgb kGridText{0.35, 0.45, 0.65};
const Rgb kCrosshair{1, 0, 0};
const Rgb kFieldOutline{0.1, 0.45, 0.2};

std::string Number(double v, int decimals = 2) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, v);
  std::string s = text;
  return s == "-0.00" || s == "-0.0" || s == "-0" ? s.substr(1) : s;
}

// Warnings in the order met, each once.
class Warnings {
 public:
  explicit Warnings(std::vector<std::string>& out) : out_(out) {}
  void Add(const std::string& text) {
    if (seen_.insert(text).second) out_.push_back(text);
  }
  void AddAll(const std::vector<std::string>& texts) {
    for (const std::string& text : texts) Add(text);
  }

 private:
  std::vector<std::string>& out_;
  std::set<std::string> seen_;
};

cairo_status_t AppendBytes(void* closure, const unsigned char* data, unsigned int length) {
  static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
  return CAIRO_STATUS_SUCCESS;
}

// The field's rectangle in points on the sheet, or false when its pixel
// positions are not numbers.
bool BoxOf(const CChamp& field, const PaperMapping& mapping, BoxPt& box) {
  const double l = field.Position_pixel_Left, t = field.Position_pixel_Top;
  const double r = field.Position_pixel_Right, b = field.Position_pixel_Bottom;
  if (!std::isfinite(l) || !std::isfinite(t) || !std::isfinite(r) || !std::isfinite(b)) return false;
  box.x = mapping.X(std::min(l, r)) * kPointsPerCm;
  box.y = mapping.Y(std::min(t, b)) * kPointsPerCm;
  box.w = std::fabs(r - l) / mapping.pixels_per_cm_x * kPointsPerCm;
  box.h = std::fabs(b - t) / mapping.pixels_per_cm_y * kPointsPerCm;
  // Far off the sheet: not drawn (and no absurd coordinates in the PDF).
  constexpr double kLimit = 1.0e5;
  return std::fabs(box.x) < kLimit && std::fabs(box.y) < kLimit && box.w < kLimit && box.h < kLimit;
}

std::string FoldedKey(const std::string& name) { return mandor::FoldCase(mandor::Trim(name)); }

// Splits at every `separator`.
std::vector<std::string> SplitAt(const std::string& text, char separator) {
  std::vector<std::string> parts(1);
  for (const char c : text) {
    if (c == separator) {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

bool IsZeroText(const std::string& text) {
  const mandor::Locale& locale = mandor::CurrentPlatform().locale();
  const std::optional<double> v = mandor::ParseNumber(mandor::EnlèveSéparateurs(text), locale);
  return v && *v == 0;
}

struct Printer {
  Mandor& document;
  const PrintOptions& options;
  Warnings warnings;
  PrintReport& report;
  Calibration calibration;
  std::map<std::string, std::string> values;  // folded names
  PageImages images;
  cairo_t* cr = nullptr;
  std::unique_ptr<FieldTextDrawer> text;
  std::set<std::string> fonts_reported;

  Printer(Mandor& d, const PrintOptions& o, PrintReport& r)
      : document(d), options(o), warnings(r.warnings), report(r), images(d) {}

  std::optional<std::string> TextOf(const std::shared_ptr<CChamp>& field) {
    const auto given = values.find(FoldedKey(field->Nom()));
    if (given != values.end()) return DisplayValue(document, field, given->second);
    if (options.value_of) {
      try {
        std::optional<std::string> text = options.value_of(*field);
        if (text) return text;
      } catch (const std::exception&) {
        // A value that cannot be computed: the model's own is printed.
      }
    }
    return DisplayValue(document, field, field->valeur());
  }

  void DrawImage(const CPage& page, int number, const PaperMapping& mapping) {
    PageImage image = images.Page(number);
    warnings.AddAll(images.warnings());
    if (image.empty()) return;
    const PagePixels size = PixelSizeOf(document, page);
    double w_px = size.width, h_px = size.height;
    if (size.from == PagePixels::From::kA4 && image.kind() == ImageKind::kPdf) {
      // No size in the marking: a PDF page at the page's resolution.
      w_px = image.width() / 72.0 * (page.hResolution() > 0 ? page.hResolution() : 300);
      h_px = image.height() / 72.0 * (page.vResolution() > 0 ? page.vResolution() : 300);
    } else if (size.from == PagePixels::From::kA4 && image.kind() == ImageKind::kTiff) {
      w_px = image.width();  // a scan's own pixels
      h_px = image.height();
    }
    cairo_save(cr);
    cairo_translate(cr, mapping.X(0) * kPointsPerCm, mapping.Y(0) * kPointsPerCm);
    image.Draw(cr, w_px / mapping.pixels_per_cm_x * kPointsPerCm, h_px / mapping.pixels_per_cm_y * kPointsPerCm);
    cairo_restore(cr);
  }

  void DrawCrosshair(double x_cm, double y_cm, const std::string& label, double sheet_width_cm) {
    const double x = x_cm * kPointsPerCm, y = y_cm * kPointsPerCm, arm = 0.6 * kPointsPerCm;
    cairo_set_source_rgb(cr, kCrosshair.r, kCrosshair.g, kCrosshair.b);
    cairo_set_line_width(cr, 0.5);
    cairo_move_to(cr, x - arm, y);
    cairo_line_to(cr, x + arm, y);
    cairo_move_to(cr, x, y - arm);
    cairo_line_to(cr, x, y + arm);
    cairo_stroke(cr);
    cairo_arc(cr, x, y, arm / 2, 0, 2 * M_PI);
    cairo_stroke(cr);
    // The label beside the circle, on its left when the sheet ends too soon.
    TextStyle style;
    style.family = "sans-serif";
    style.size_pt = 7;
    style.bold = true;
    double w = 0, h = 0;
    text->Measure(label, style, w, h);
    double label_x = x + arm / 2 + 2;
    if (label_x + w > sheet_width_cm * kPointsPerCm) label_x = x - arm / 2 - 2 - w;
    text->DrawLabel(label_x, y + 2, label, 7, true);
  }

  void DrawTestSheet(const Sheet& sheet, const CPage& page, const PaperMapping& mapping) {
    // A centimetre grid from the sheet's corner, each line numbered.
    cairo_set_line_width(cr, 0.3);
    for (int i = 0; i <= static_cast<int>(std::floor(sheet.width_cm)); ++i) {
      cairo_set_source_rgb(cr, kGrid.r, kGrid.g, kGrid.b);
      cairo_move_to(cr, i * kPointsPerCm, 0);
      cairo_line_to(cr, i * kPointsPerCm, sheet.height_cm * kPointsPerCm);
      cairo_stroke(cr);
      cairo_set_source_rgb(cr, kGridText.r, kGridText.g, kGridText.b);
      if (i > 0) text->DrawLabel(i * kPointsPerCm + 1.5, 1.5, std::to_string(i), 6);
    }
    for (int i = 0; i <= static_cast<int>(std::floor(sheet.height_cm)); ++i) {
      cairo_set_source_rgb(cr, kGrid.r, kGrid.g, kGrid.b);
      cairo_move_to(cr, 0, i * kPointsPerCm);
      cairo_line_to(cr, sheet.width_cm * kPointsPerCm, i * kPointsPerCm);
      cairo_stroke(cr);
      cairo_set_source_rgb(cr, kGridText.r, kGridText.g, kGridText.b);
      if (i > 0) text->DrawLabel(1.5, i * kPointsPerCm + 1.5, std::to_string(i), 6);
    }
    // The calibration points where the calibration puts them, printer offset included.
    if (calibration.type == 2) {
      const double ox = calibration.offset.x_cm, oy = calibration.offset.y_cm;
      DrawCrosshair(document.X1_cm + ox, document.Y1_cm + oy,
                    "1: " + Number(document.X1_cm) + " cm, " + Number(document.Y1_cm) + " cm (pixel " +
                        Number(document.X1_pixel, 0) + ", " + Number(document.Y1_pixel, 0) + ")",
                    sheet.width_cm);
      DrawCrosshair(document.X2_cm + ox, document.Y2_cm + oy,
                    "2: " + Number(document.X2_cm) + " cm, " + Number(document.Y2_cm) + " cm (pixel " +
                        Number(document.X2_pixel, 0) + ", " + Number(document.Y2_pixel, 0) + ")",
                    sheet.width_cm);
    }
    // The settings in use, in the bottom-left corner.
    std::vector<std::string> lines;
    lines.push_back("printer offset X " + Number(calibration.offset.x_cm) + " cm, Y " +
                    Number(calibration.offset.y_cm) + " cm" +
                    (calibration.offset_overridden ? " (given for this print)" : " (from the marking)"));
    if (calibration.type == 0) {
      lines.push_back("calibration: none, " + std::to_string(page.hResolution()) + " x " +
                      std::to_string(page.vResolution()) + " dpi from the sheet's corner");
    } else {
      lines.push_back("calibration type " + std::to_string(calibration.type) + ": " +
                      Number(mapping.pixels_per_cm_x, 3) + " x " + Number(mapping.pixels_per_cm_y, 3) +
                      " pixels per cm, image origin " + Number(calibration.origin_x_cm, 3) + ", " +
                      Number(calibration.origin_y_cm, 3) + " cm");
    }
    lines.push_back("sheet " + Number(sheet.width_cm) + " x " + Number(sheet.height_cm) + " cm");
    cairo_set_source_rgb(cr, 0, 0, 0);
    double y = sheet.height_cm * kPointsPerCm - 12.0 * static_cast<double>(lines.size()) - 6;
    for (const std::string& line : lines) {
      text->DrawLabel(0.6 * kPointsPerCm, y, line, 8);
      y += 12;
    }
  }

  void DrawFields(const CPage& page, const PaperMapping& mapping) {
    const bool test_sheet = options.mode == PrintMode::kTestSheet;
    for (const PageField& entry : FieldsOfPage(document, page)) {
      const CChamp& field = *entry.field;
      BoxPt box;
      if (!BoxOf(field, mapping, box)) continue;
      if (test_sheet) {
        cairo_set_source_rgb(cr, kFieldOutline.r, kFieldOutline.g, kFieldOutline.b);
        cairo_set_line_width(cr, 0.5);
        cairo_rectangle(cr, box.x, box.y, box.w, box.h);
        cairo_stroke(cr);
        text->DrawLabel(box.x + 1, box.y + 1, field.Nom(), std::clamp(box.h * 0.45, 4.0, 7.0));
        continue;
      }
      if (field.Imprimable() == 0) continue;
      const std::string value = TextOf(entry.field).value_or("");
      if (value.empty()) continue;
      if (field.NonImprime0 && IsZeroText(value)) continue;
      const TextStyle style = StyleOf(field);
      const FontMatch& font = text->Match(style.family);
      if (!font.known && fonts_reported.insert(mandor::FoldCase(style.family)).second) {
        warnings.Add("font \"" + style.family + "\" (field " + field.Nom() + ") is not installed: drawn in " +
                     font.used);
      }
      const double width = text->Draw(box, value, style);
      ++report.fields;
      if (width + 2 * kTextPaddingPt > box.w + 0.01) {
        warnings.Add("the value of " + field.Nom() + " on page " + std::to_string(page_number) + " (\"" + value +
                     "\") is " + Number(width / kPointsPerCm) + " cm wide, its box " +
                     Number(box.w / kPointsPerCm) + " cm: drawn anyway");
      }
    }
  }

  int page_number = 0;
};

}  // namespace

std::string DisplayValue(const Mandor& document, const std::shared_ptr<CChamp>& field, const std::string& raw) {
  if (raw.empty() || !field) return raw;
  if (field->Type_Champ() == 0 && field->Décimales() == 0) return raw;
  const mandor::Locale& locale = mandor::CurrentPlatform().locale();
  const std::optional<double> v = mandor::ParseNumber(mandor::EnlèveSéparateurs(raw), locale);
  if (!v) return raw;
  return mandor::FormatNumber(*v, document.FormatNombreSortie(field), locale);
}

std::string PrintToPdfBytes(Mandor& document, const PrintOptions& options, PrintReport& report) {
  report = {};
  Printer printer(document, options, report);
  for (const auto& [name, value] : options.values) printer.values[FoldedKey(name)] = value;

  std::vector<std::string> calibration_warnings;
  printer.calibration = CalibrationOf(document, options.offset, calibration_warnings);
  printer.warnings.AddAll(calibration_warnings);

  const long count = document.Pages.Count();
  std::vector<int> pages = options.pages;
  if (pages.empty()) {
    for (long i = 1; i <= count; ++i) pages.push_back(static_cast<int>(i));
  }
  std::vector<int> wanted;
  for (int n : pages) {
    if (n < 1 || n > count) {
      printer.warnings.Add("no page " + std::to_string(n) + ": the document has " + std::to_string(count) + " page" +
                           (count == 1 ? "" : "s"));
    } else if (!document.Pages.Item(static_cast<long>(n))) {
      printer.warnings.Add("page " + std::to_string(n) + " is empty in the marking");
    } else {
      wanted.push_back(n);
    }
  }
  if (wanted.empty()) throw PrintFailure("no page to print", report.warnings);

  std::string bytes;
  cairo_surface_t* surface = cairo_pdf_surface_create_for_stream(AppendBytes, &bytes, 595.0, 842.0);
  gchar* title = g_utf8_make_valid(document.Nom_Document().c_str(), -1);
  cairo_pdf_surface_set_metadata(surface, CAIRO_PDF_METADATA_TITLE, title);
  g_free(title);
  cairo_pdf_surface_set_metadata(surface, CAIRO_PDF_METADATA_CREATOR, "mandor");
  cairo_t* cr = cairo_create(surface);
  printer.cr = cr;
  printer.text = std::make_unique<FieldTextDrawer>(cr);

  for (int n : wanted) {
    const CPage& page = *document.Pages.Item(static_cast<long>(n));
    printer.page_number = n;
    std::vector<std::string> sheet_warnings;
    const Sheet sheet = SheetOf(document, page, sheet_warnings);
    printer.warnings.AddAll(sheet_warnings);
    cairo_pdf_surface_set_size(surface, sheet.width_cm * kPointsPerCm, sheet.height_cm * kPointsPerCm);
    const PaperMapping mapping = MappingOf(printer.calibration, page);
    if (options.mode == PrintMode::kOverImage) printer.DrawImage(page, n, mapping);
    if (options.mode == PrintMode::kTestSheet) printer.DrawTestSheet(sheet, page, mapping);
    printer.DrawFields(page, mapping);
    cairo_show_page(cr);
    ++report.pages;
  }
  printer.text.reset();
  const cairo_status_t status = cairo_status(cr);
  cairo_destroy(cr);
  cairo_surface_finish(surface);
  const cairo_status_t surface_status = cairo_surface_status(surface);
  cairo_surface_destroy(surface);
  if (status != CAIRO_STATUS_SUCCESS || surface_status != CAIRO_STATUS_SUCCESS) {
    throw PrintFailure(std::string("drawing the PDF failed: ") +
                           cairo_status_to_string(status != CAIRO_STATUS_SUCCESS ? status : surface_status),
                       report.warnings);
  }
  return bytes;
}

PrintReport PrintToPdf(Mandor& document, const PrintOptions& options, const std::string& output) {
  PrintReport report;
  const std::string bytes = PrintToPdfBytes(document, options, report);
  try {
    mandor::CurrentPlatform().ReplaceFileBytes(output, bytes);
  } catch (const std::exception& e) {
    throw PrintFailure("cannot write " + output + ": " + e.what(), report.warnings);
  }
  return report;
}

std::vector<int> ParsePageList(const std::string& text) {
  std::vector<int> pages;
  std::set<int> seen;
  auto number = [&text](std::string_view s) {
    s = std::string_view(s.data(), s.size());
    while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
    int v = 0;
    const auto result = std::from_chars(s.data(), s.data() + s.size(), v);
    if (s.empty() || result.ec != std::errc() || result.ptr != s.data() + s.size() || v < 1) {
      throw std::invalid_argument("bad page list \"" + text + "\" (expected e.g. 1,3-5)");
    }
    return v;
  };
  std::string_view rest = text;
  if (mandor::Trim(text).empty()) throw std::invalid_argument("empty page list");
  while (true) {
    const size_t comma = rest.find(',');
    const std::string_view item = rest.substr(0, comma);
    const size_t dash = item.find('-');
    int first = 0, last = 0;
    if (dash == std::string_view::npos) {
      first = last = number(item);
    } else {
      first = number(item.substr(0, dash));
      last = number(item.substr(dash + 1));
      if (last < first) throw std::invalid_argument("bad page range \"" + std::string(item) + "\"");
      if (last - first > 100000) throw std::invalid_argument("page range too long: \"" + std::string(item) + "\"");
    }
    for (int n = first; n <= last; ++n) {
      if (seen.insert(n).second) pages.push_back(n);
    }
    if (comma == std::string_view::npos) break;
    rest.remove_prefix(comma + 1);
  }
  return pages;
}

Offset ParseOffset(const std::string& text) {
  std::vector<std::string> parts;
  if (text.find(';') != std::string::npos) {
    for (const std::string& part : SplitAt(text, ';')) parts.push_back(mandor::ReplaceAll(part, ",", "."));
  } else {
    parts = SplitAt(text, ',');
  }
  auto value = [&text](const std::string& part) {
    const std::string s = mandor::Trim(part);
    double v = 0;
    const auto result = std::from_chars(s.data(), s.data() + s.size(), v);
    if (s.empty() || result.ec != std::errc() || result.ptr != s.data() + s.size() || !std::isfinite(v) ||
        std::fabs(v) > 100) {
      throw std::invalid_argument("bad offset \"" + text + "\" (expected X,Y in cm, e.g. 0.3,-0.2)");
    }
    return v;
  };
  if (parts.size() != 2) throw std::invalid_argument("bad offset \"" + text + "\" (expected X,Y in cm, e.g. 0.3,-0.2)");
  return {value(parts[0]), value(parts[1])};
}

}  // namespace mandor::print
