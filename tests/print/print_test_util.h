// Helpers of the print tests: documents built in code, a reader of produced
// PDFs through poppler-glib (text with the boxes of its characters, styles,
// fonts, title, pictures of parts of a page) and scans made in the tests.
#ifndef MANDOR_TESTS_PRINT_PRINT_TEST_UTIL_H_
#define MANDOR_TESTS_PRINT_PRINT_TEST_UTIL_H_

#include <cairo.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mandor/mandor.h"
#include "tests/test_util.h"

namespace mandor::print::test {

constexpr double kCm = 72.0 / 2.54;              // points per cm
constexpr double kTolerancePt = 0.2 / 10 * kCm;  // 0.2 mm

// A document of `pages` pages of w x h pixels at `dpi`, with no fields.
std::shared_ptr<Mandor> MakeDocument(int pages, float w = 2480, float h = 3508, int16_t dpi = 300);
// Adds a printable field on page `page` (1-based) with its pixel rectangle and value.
std::shared_ptr<CChamp> AddField(Mandor& document, int page, const std::string& name, float left, float top,
                                 float right, float bottom, const std::string& value);

struct TextBox {
  double x1 = 0, y1 = 0, x2 = 0, y2 = 0;  // points, from the page's top-left corner
  int start = 0;                          // index of the first character in the page text
  double cx() const { return (x1 + x2) / 2; }
  double cy() const { return (y1 + y2) / 2; }
};

class Pdf {
 public:
  explicit Pdf(const std::string& bytes);
  ~Pdf();
  Pdf(const Pdf&) = delete;
  Pdf& operator=(const Pdf&) = delete;

  bool ok() const { return document_ != nullptr; }
  int pages() const;
  std::pair<double, double> size(int page) const;  // points; pages counted from 1
  std::string title() const;
  std::string text(int page) const;
  // Every occurrence of `needle` on the page, as the union of its characters' boxes.
  std::vector<TextBox> Find(int page, const std::string& needle) const;
  // The occurrence whose centre is nearest to (x, y), or nullopt.
  std::optional<TextBox> FindNear(int page, const std::string& needle, double x, double y) const;
  struct Style {
    std::string font;
    double size = 0, r = 0, g = 0, b = 0;
  };
  // Font, size and colour of the character at the start of an occurrence.
  std::optional<Style> StyleAt(int page, const TextBox& box) const;
  // A picture of the area (x, y, w, h) in points of a page at `pixels_per_point`.
  std::shared_ptr<cairo_surface_t> Render(int page, double x, double y, double w, double h,
                                          double pixels_per_point) const;

 private:
  void* bytes_ = nullptr;     // GBytes
  void* document_ = nullptr;  // PopplerDocument
};

// The pixel (x, y) of an RGB24 surface as 0xRRGGBB.
uint32_t PixelAt(cairo_surface_t* surface, int x, int y);

// A scanned form as a PDF of `pages` A4 pages (595.2 x 841.92 pt): on page
// n, the word "SCANn" at (100 pt, 100 pt) and a black square of 50 pt at
// (200 pt, 300 pt).
std::string MakePdfScan(int pages);
// A TIFF of two 600 x 800 RGB pages, white with a black 100-pixel square at
// (100, 100) on page 1 and at (300, 500) on page 2.
std::string MakeTiff();
// A 300 x 400 PNG, white with a black 50-pixel square at (10, 20).
std::string MakePng();

inline std::string Sample(const std::string& name) { return std::string(MANDOR_SAMPLES_DIR) + "/" + name; }

}  // namespace mandor::print::test

#endif  // MANDOR_TESTS_PRINT_PRINT_TEST_UTIL_H_
