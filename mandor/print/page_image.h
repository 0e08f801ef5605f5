// The scanned images of a document's pages, found beside its marking and
// drawn onto a cairo context: a PNG per page ("<base>-<N>.png", the names
// `pdftoppm -png <base>.pdf <base>` gives, or "<base>.png" for page 1), the
// document's PDF ("<base>.pdf", Mandor::FichierPdfImage; page N of it, drawn
// as vectors through poppler), or a multi-page TIFF ("<base>.tif" or
// "<base>.tiff"; directory N of it). <base> is the document's folder and
// name. Files are read through mandor::Platform.
//
// PageImages opens each source once and hands out the images of its pages;
// a PageImage keeps what it needs alive by itself. What went wrong (a file
// that does not decode, a PDF with fewer pages than the document) is
// reported as a warning, never thrown: a missing image is simply not drawn.
//
// Threading: none; use one PageImages from one thread (poppler and libtiff
// objects are not shared between threads).
#ifndef MANDOR_PRINT_PAGE_IMAGE_H_
#define MANDOR_PRINT_PAGE_IMAGE_H_

#include <cairo.h>

#include <memory>
#include <string>
#include <vector>

#include "mandor/mandor.h"

namespace mandor::print {

enum class ImageKind { kNone, kPng, kPdf, kTiff };

class PageImage {
 public:
  PageImage() = default;

  bool empty() const { return kind_ == ImageKind::kNone; }
  ImageKind kind() const { return kind_; }
  const std::string& path() const { return path_; }
  // Natural size: pixels for PNG and TIFF, points for a PDF page.
  double width() const { return width_; }
  double height() const { return height_; }

  // Draws the image stretched over the rectangle (0, 0)-(w, h) of the
  // context's user space. A PDF page stays vector graphics on a vector
  // surface. Does nothing for an empty image.
  void Draw(cairo_t* cr, double w, double h) const;

  // The image as PNG bytes of pixel_width x pixel_height (the file's own
  // bytes for a PNG of that size), or "" when empty or too large to draw.
  std::string ToPng(int pixel_width, int pixel_height) const;

 private:
  friend class PageImages;
  ImageKind kind_ = ImageKind::kNone;
  std::string path_;
  double width_ = 0, height_ = 0;
  std::shared_ptr<const std::string> png_bytes_;  // PNG: the file
  std::shared_ptr<cairo_surface_t> raster_;       // PNG, TIFF: decoded pixels
  std::shared_ptr<void> pdf_page_;                // PDF: the PopplerPage
};

class PageImages {
 public:
  // The images beside `document` (its Répertoire_Document and Nom_Document).
  explicit PageImages(const mandor::Mandor& document);
  // Images of a given PDF or TIFF file (or a PNG, for page 1).
  static PageImages OfFile(const std::string& path);
  ~PageImages();
  PageImages(PageImages&&) noexcept;
  PageImages& operator=(PageImages&&) noexcept;

  // The image of page `page_number` (1-based), or an empty image with the
  // reason appended to warnings() when there is none or it cannot be read.
  PageImage Page(int page_number);

  // Reasons images were not found or not drawn, in the order met.
  const std::vector<std::string>& warnings() const { return warnings_; }

 private:
  PageImages() = default;
  struct Source;
  std::string base_;   // folder + name of the document, "" for OfFile
  std::string single_; // OfFile: the file
  std::unique_ptr<Source> pdf_, tiff_;
  bool pdf_opened_ = false, tiff_opened_ = false;
  std::vector<std::string> warnings_;

  Source* OpenPdf(const std::string& path);
  Source* OpenTiff(const std::string& path);
  // False, with a warning, when the source has fewer pages.
  bool HasPage(const Source& source, int page_number);
  PageImage PdfPage(Source& source, int page_number);
  PageImage TiffPage(Source& source, int page_number);
  PageImage PngFile(const std::string& path);
};

}  // namespace mandor::print

#endif  // MANDOR_PRINT_PAGE_IMAGE_H_
