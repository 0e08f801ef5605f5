#include "tests/print/print_test_util.h"

#include <cairo-pdf.h>
#include <glib.h>
#include <gtest/gtest.h>
#include <tiffio.h>
#include <poppler.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <algorithm>

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
  field->Position_pixel_Left = left;
  field->Position_pixel_Top = top;
  field->Position_pixel_Right = right;
  field->Position_pixel_Bottom = bottom;
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
  explicit PageRef(void* document, int number) : page(poppler_document_get_page(Doc(document), number - 1)) {}
  ~PageRef() {
    if (page != nullptr) g_object_unref(page);
  }
};

// The page text as code points, with the box of each.
struct Layout {
  std::u32string text;
  std::vector<PopplerRectangle> boxes;
};

Layout LayoutOf(PopplerPage* page) {
  Layout layout;
  char* text = poppler_page_get_text(page);
  if (text != nullptr) {
    glong length = 0;
    gunichar* ucs = g_utf8_to_ucs4_fast(text, -1, &length);
    layout.text.assign(reinterpret_cast<char32_t*>(ucs), static_cast<size_t>(length));
    g_free(ucs);
    g_free(text);
  }
  PopplerRectangle* rects = nullptr;
  guint n = 0;
  if (poppler_page_get_text_layout(page, &rects, &n)) {
    layout.boxes.assign(rects, rects + n);
    g_free(rects);
  }
  return layout;
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

std::string Pdf::title() const {
  gchar* title = poppler_document_get_title(Doc(document_));
  std::string out = title != nullptr ? title : "";
  g_free(title);
  return out;
}

std::string Pdf::text(int page) const {
  PageRef p(document_, page);
  if (p.page == nullptr) return "";
  char* text = poppler_page_get_text(p.page);
  std::string out = text != nullptr ? text : "";
  g_free(text);
  return out;
}

std::vector<TextBox> Pdf::Find(int page, const std::string& needle) const {
  std::vector<TextBox> found;
  PageRef p(document_, page);
  if (p.page == nullptr || needle.empty()) return found;
  const Layout layout = LayoutOf(p.page);
  glong length = 0;
  gunichar* ucs = g_utf8_to_ucs4_fast(needle.c_str(), -1, &length);
  const std::u32string wanted(reinterpret_cast<char32_t*>(ucs), static_cast<size_t>(length));
  g_free(ucs);
  for (size_t at = layout.text.find(wanted); at != std::u32string::npos; at = layout.text.find(wanted, at + 1)) {
    if (at + wanted.size() > layout.boxes.size()) break;
    TextBox box{std::numeric_limits<double>::max(), std::numeric_limits<double>::max(),
                std::numeric_limits<double>::lowest(), std::numeric_limits<double>::lowest(), static_cast<int>(at)};
    for (size_t i = at; i < at + wanted.size(); ++i) {
      const PopplerRectangle& r = layout.boxes[i];
      box.x1 = std::min(box.x1, r.x1);
      box.y1 = std::min(box.y1, r.y1);
      box.x2 = std::max(box.x2, r.x2);
      box.y2 = std::max(box.y2, r.y2);
    }
    found.push_back(box);
  }
  return found;
}

std::optional<TextBox> Pdf::FindNear(int page, const std::string& needle, double x, double y) const {
  std::optional<TextBox> best;
  double best_distance = 0;
  for (const TextBox& box : Find(page, needle)) {
    const double d = std::hypot(box.cx() - x, box.cy() - y);
    if (!best || d < best_distance) best = box, best_distance = d;
  }
  return best;
}

std::optional<Pdf::Style> Pdf::StyleAt(int page, const TextBox& box) const {
  PageRef p(document_, page);
  if (p.page == nullptr) return std::nullopt;
  std::optional<Style> style;
  GList* attributes = poppler_page_get_text_attributes(p.page);
  for (GList* item = attributes; item != nullptr; item = item->next) {
    auto* a = static_cast<PopplerTextAttributes*>(item->data);
    if (box.start >= a->start_index && box.start <= a->end_index) {
      style = Style{a->font_name != nullptr ? a->font_name : "", a->font_size, a->color.red / 65535.0,
                    a->color.green / 65535.0, a->color.blue / 65535.0};
      break;
    }
  }
  poppler_page_free_text_attributes(attributes);
  return style;
}

std::vector<std::pair<std::string, bool>> Pdf::Fonts() const {
  std::vector<std::pair<std::string, bool>> fonts;
  PopplerFontInfo* info = poppler_font_info_new(Doc(document_));
  PopplerFontsIter* iter = nullptr;
  while (poppler_font_info_scan(info, 20, &iter)) {
    if (iter == nullptr) continue;
    do {
      const char* name = poppler_fonts_iter_get_name(iter);
      fonts.emplace_back(name != nullptr ? name : "",
                         poppler_fonts_iter_is_embedded(iter) && poppler_fonts_iter_is_subset(iter));
    } while (poppler_fonts_iter_next(iter));
    poppler_fonts_iter_free(iter);
    iter = nullptr;
  }
  g_object_unref(info);
  return fonts;
}

std::shared_ptr<cairo_surface_t> Pdf::Render(int page, double x, double y, double w, double h,
                                             double pixels_per_point) const {
  const int pw = static_cast<int>(std::ceil(w * pixels_per_point)), ph = static_cast<int>(std::ceil(h * pixels_per_point));
  std::shared_ptr<cairo_surface_t> surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, pw, ph),
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
  const unsigned char* data = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  return *reinterpret_cast<const uint32_t*>(data + static_cast<size_t>(y) * stride + static_cast<size_t>(x) * 4) &
         0xFFFFFF;
}

cairo_status_t Append(void* closure, const unsigned char* data, unsigned int length) {
  static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
  return CAIRO_STATUS_SUCCESS;
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
  const uint32_t w = 600, h = 800;
  for (int page = 0; page < 2; ++page) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, w);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, h);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, h);
    TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
    TIFFSetField(tiff, TIFFTAG_PAGENUMBER, page, 2);
    const uint32_t x0 = page == 0 ? 100 : 300, y0 = page == 0 ? 100 : 500;
    std::vector<unsigned char> row(w * 3);
    for (uint32_t y = 0; y < h; ++y) {
      for (uint32_t x = 0; x < w; ++x) {
        const bool ink = x >= x0 && x < x0 + 100 && y >= y0 && y < y0 + 100;
        row[x * 3] = row[x * 3 + 1] = row[x * 3 + 2] = ink ? 0 : 255;
      }
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

uint32_t PngPixel(const std::string& png, int x, int y) {
  struct Reader {
    const std::string* bytes;
    size_t at;
  } reader{&png, 0};
  cairo_surface_t* surface = cairo_image_surface_create_from_png_stream(
      [](void* closure, unsigned char* data, unsigned int length) {
        auto* r = static_cast<Reader*>(closure);
        if (r->bytes->size() - r->at < length) return CAIRO_STATUS_READ_ERROR;
        std::copy_n(r->bytes->data() + r->at, length, data);
        r->at += length;
        return CAIRO_STATUS_SUCCESS;
      },
      &reader);
  const uint32_t pixel = cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS ? PixelAt(surface, x, y) : 0x123456;
  cairo_surface_destroy(surface);
  return pixel;
}

}  // namespace mandor::print::test
