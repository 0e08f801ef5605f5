#include "tests/print/print_test_util.h"

#include <cairo-pdf.h>
#include <glib.h>
#include <gtest/gtest.h>
#include <poppler.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

namespace mandor::print::test {

std::shared_ptr<Mandor> MakeDocument(int pages, float w, float h, int16_t dpi) {
  auto document = std::make_shared<Mandor>();
  document->Nom_Document("essai.det");
  for (int i = 1; i <= pages; ++i) {
    auto page = std::make_shared<CPage>();
    page->SetSize(dpi, dpi, w, h);
    page->oOwnerMandor = document;
    page->Id = std::to_string(i);
    document->Pages.Add(page, "page_" + std::to_string(i));
  }
  return document;
}

std::shared_ptr<CChamp> AddField(Mandor& document, int page, const std::string& name, float left, float top,
                                 float right, float bottom, const std::string& value) {
  auto field = std::make_shared<CChamp>();
  const std::shared_ptr<CPage>& owner = document.Pages.Item(static_cast<long>(page));
  field->oOwnerPage = owner;
  field->Page = static_cast<int16_t>(page);
  field->Nom(name);
  field->Position_pixel_Left = left, field->Position_pixel_Top = top;
  field->Position_pixel_Right = right, field->Position_pixel_Bottom = bottom;
  field->Imprimable(-1);
  field->valeur(value);
  owner->Champs.Add(field, name);
  document.Champs.Add(field, name);
  return field;
}

namespace {
PopplerDocument* Doc(void* p) { return static_cast<PopplerDocument*>(p); }

struct PageRef {
  PopplerPage* page;
  PageRef(void* document, int number) : page(poppler_document_get_page(Doc(document), number - 1)) {}
  ~PageRef() {
    if (page != nullptr) g_object_unref(page);
  }
};

std::u32string Ucs4(const char* utf8) {
  glong length = 0;
  gunichar* ucs = g_utf8_to_ucs4_fast(utf8, -1, &length);
  std::u32string text(reinterpret_cast<char32_t*>(ucs), static_cast<size_t>(length));
  g_free(ucs);
  return text;
}

// Glib's text, freed, as a std::string.
std::string Take(char* text) {
  std::string out = text != nullptr ? text : "";
  g_free(text);
  return out;
}

cairo_status_t Append(void* closure, const unsigned char* data, unsigned int length) {
  static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
  return CAIRO_STATUS_SUCCESS;
}
}  // namespace

Pdf::Pdf(const std::string& bytes) {
  auto* gbytes = g_bytes_new(bytes.data(), bytes.size());
  bytes_ = gbytes;
  document_ = poppler_document_new_from_bytes(gbytes, nullptr, nullptr);
}

Pdf::~Pdf() {
  if (document_ != nullptr) g_object_unref(Doc(document_));
  if (bytes_ != nullptr) g_bytes_unref(static_cast<GBytes*>(bytes_));
}

int Pdf::pages() const { return document_ ? poppler_document_get_n_pages(Doc(document_)) : 0; }

std::pair<double, double> Pdf::size(int page) const {
  PageRef p(document_, page);
  double w = 0, h = 0;
  if (p.page != nullptr) poppler_page_get_size(p.page, &w, &h);
  return {w, h};
}

std::string Pdf::title() const { return Take(poppler_document_get_title(Doc(document_))); }

std::string Pdf::text(int page) const {
  PageRef p(document_, page);
  return p.page == nullptr ? "" : Take(poppler_page_get_text(p.page));
}

std::vector<TextBox> Pdf::Find(int page, const std::string& needle) const {
  std::vector<TextBox> found;
  PageRef p(document_, page);
  if (p.page == nullptr || needle.empty()) return found;
  // The page text as code points, with the box of each.
  const std::u32string text = Ucs4(Take(poppler_page_get_text(p.page)).c_str()), wanted = Ucs4(needle.c_str());
  PopplerRectangle* rects = nullptr;
  guint n = 0;
  if (!poppler_page_get_text_layout(p.page, &rects, &n)) return found;
  for (size_t at = text.find(wanted); at != std::u32string::npos && at + wanted.size() <= n;
       at = text.find(wanted, at + 1)) {
    constexpr double kMax = std::numeric_limits<double>::max();
    TextBox box{kMax, kMax, -kMax, -kMax, static_cast<int>(at)};
    for (size_t i = at; i < at + wanted.size(); ++i) {
      box.x1 = std::min(box.x1, rects[i].x1), box.y1 = std::min(box.y1, rects[i].y1);
      box.x2 = std::max(box.x2, rects[i].x2), box.y2 = std::max(box.y2, rects[i].y2);
    }
    found.push_back(box);
  }
  g_free(rects);
  return found;
}

std::optional<TextBox> Pdf::FindNear(int page, const std::string& needle, double x, double y) const {
  std::optional<TextBox> best;
  const auto distance = [&](const TextBox& box) { return std::hypot(box.cx() - x, box.cy() - y); };
  for (const TextBox& box : Find(page, needle)) {
    if (!best || distance(box) < distance(*best)) best = box;
  }
  return best;
}

std::optional<Pdf::Style> Pdf::StyleAt(int page, const TextBox& box) const {
  PageRef p(document_, page);
  if (p.page == nullptr) return std::nullopt;
  std::optional<Style> style;
  GList* attributes = poppler_page_get_text_attributes(p.page);
  for (GList* item = attributes; item != nullptr && !style; item = item->next) {
    const auto* a = static_cast<PopplerTextAttributes*>(item->data);
    if (box.start >= a->start_index && box.start <= a->end_index) {
      style = Style{a->font_name != nullptr ? a->font_name : "", a->font_size, a->color.red / 65535.0,
                    a->color.green / 65535.0, a->color.blue / 65535.0};
    }
  }
  poppler_page_free_text_attributes(attributes);
  return style;
}

std::shared_ptr<cairo_surface_t> Pdf::Render(int page, double x, double y, double w, double h,
                                             double pixels_per_point) const {
  std::shared_ptr<cairo_surface_t> surface(
      cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(std::ceil(w * pixels_per_point)),
                                 static_cast<int>(std::ceil(h * pixels_per_point))),
      cairo_surface_destroy);
  cairo_t* cr = cairo_create(surface.get());
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_paint(cr);
  cairo_scale(cr, pixels_per_point, pixels_per_point);
  cairo_translate(cr, -x, -y);
  PageRef p(document_, page);
  if (p.page != nullptr) poppler_page_render(p.page, cr);
  cairo_destroy(cr);
  cairo_surface_flush(surface.get());
  return surface;
}

uint32_t PixelAt(cairo_surface_t* surface, int x, int y) {
  const unsigned char* row = cairo_image_surface_get_data(surface) +
                             static_cast<size_t>(y) * cairo_image_surface_get_stride(surface);
  return *reinterpret_cast<const uint32_t*>(row + static_cast<size_t>(x) * 4) & 0xFFFFFF;
}

std::string MakePdfScan(int pages) {
  std::string bytes;
  cairo_surface_t* surface = cairo_pdf_surface_create_for_stream(Append, &bytes, 595.2, 841.92);
  cairo_t* cr = cairo_create(surface);
  for (int n = 1; n <= pages; ++n) {
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, 12);
    cairo_move_to(cr, 100, 100);
    cairo_show_text(cr, ("SCAN" + std::to_string(n)).c_str());
    cairo_rectangle(cr, 200, 300, 50, 50);
    cairo_fill(cr);
    cairo_show_page(cr);
  }
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
  return bytes;
}

std::string MakeTiff() {
  // libtiff writes to a file: a temporary one, read back and removed.
  std::string path = (std::filesystem::temp_directory_path() / "mandor-print-XXXXXX").string();
  const int fd = mkstemp(path.data());
  EXPECT_GE(fd, 0);
  if (fd >= 0) close(fd);
  TIFF* tiff = TIFFOpen(path.c_str(), "w");
  EXPECT_NE(tiff, nullptr);
  constexpr uint32_t w = 600, h = 800;
  for (uint16_t page = 0; page < 2; ++page) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, w), TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, h);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, h), TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3), TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB), TIFFSetField(tiff, TIFFTAG_PAGENUMBER, page, 2);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    const uint32_t x0 = page == 0 ? 100 : 300, y0 = page == 0 ? 100 : 500;
    std::vector<unsigned char> row(w * 3);
    for (uint32_t y = 0; y < h; ++y) {
      // Unsigned differences: below the square's corner they wrap to large values.
      for (uint32_t x = 0; x < w * 3; ++x) row[x] = y - y0 < 100 && x / 3 - x0 < 100 ? 0 : 255;
      TIFFWriteScanline(tiff, row.data(), y, 0);
    }
    TIFFWriteDirectory(tiff);
  }
  TIFFClose(tiff);
  std::string bytes = test_util::ReadBytes(path);
  std::filesystem::remove(path);
  return bytes;
}

std::string MakePng() {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 300, 400);
  cairo_t* cr = cairo_create(surface);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_paint(cr);
  cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_rectangle(cr, 10, 20, 50, 50);
  cairo_fill(cr);
  cairo_destroy(cr);
  std::string bytes;
  cairo_surface_write_to_png_stream(surface, Append, &bytes);
  cairo_surface_destroy(surface);
  return bytes;
}

}  // namespace mandor::print::test
