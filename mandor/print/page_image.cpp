#include "mandor/print/page_image.h"

#include <glib-object.h>
#include <poppler.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdint>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string_view>
#include <vector>

#include "mandor/util/internal/text.h"
#include "mandor/util/platform.h"

namespace mandor::print {

namespace {

// Largest raster decoded or produced, in pixels (a 600 dpi A3 page is 70
// million): beyond it the image is not drawn rather than exhausting memory.
constexpr double kMaxRasterPixels = 150.0e6;

struct ByteReader {
  const std::string* bytes;
  size_t position;
};

cairo_status_t ReadBytes(void* closure, unsigned char* data, unsigned int length) {
  auto* reader = static_cast<ByteReader*>(closure);
  if (reader->bytes->size() - reader->position < length) return CAIRO_STATUS_READ_ERROR;
  std::copy_n(reader->bytes->data() + reader->position, length, data);
  reader->position += length;
  return CAIRO_STATUS_SUCCESS;
}

cairo_status_t AppendBytes(void* closure, const unsigned char* data, unsigned int length) {
  static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
  return CAIRO_STATUS_SUCCESS;
}

std::shared_ptr<cairo_surface_t> OwnSurface(cairo_surface_t* surface) {
  return std::shared_ptr<cairo_surface_t>(surface, cairo_surface_destroy);
}

// --- TIFF read from memory ---

struct MemoryStream {
  std::string bytes;
  toff_t position = 0;
};

tmsize_t TiffRead(thandle_t handle, void* data, tmsize_t size) {
  auto* stream = static_cast<MemoryStream*>(handle);
  if (size <= 0 || stream->position >= stream->bytes.size()) return 0;
  const size_t n = std::min<size_t>(static_cast<size_t>(size), stream->bytes.size() - stream->position);
  std::memcpy(data, stream->bytes.data() + stream->position, n);
  stream->position += n;
  return static_cast<tmsize_t>(n);
}

tmsize_t TiffWrite(thandle_t, void*, tmsize_t) { return 0; }

toff_t TiffSeek(thandle_t handle, toff_t offset, int whence) {
  auto* stream = static_cast<MemoryStream*>(handle);
  toff_t base = 0;
  if (whence == SEEK_CUR) base = stream->position;
  if (whence == SEEK_END) base = stream->bytes.size();
  stream->position = base + offset;
  return stream->position;
}

int TiffClose(thandle_t) { return 0; }
toff_t TiffSize(thandle_t handle) { return static_cast<MemoryStream*>(handle)->bytes.size(); }
int TiffMap(thandle_t, void**, toff_t*) { return 0; }
void TiffUnmap(thandle_t, void*, toff_t) {}

// libtiff reports through process-wide handlers; the last error is kept for
// the warning, and nothing is written to the terminal.
thread_local std::string tiff_error;

void TiffErrorHandler(const char* module, const char* format, va_list args) {
  char text[512];
  vsnprintf(text, sizeof text, format, args);
  tiff_error = module != nullptr ? std::string(module) + ": " + text : std::string(text);
}

void TiffWarningHandler(const char*, const char*, va_list) {}

void QuietTiff() {
  TIFFSetErrorHandler(TiffErrorHandler);
  TIFFSetWarningHandler(TiffWarningHandler);
}

}  // namespace

struct PageImages::Source {
  std::string path;
  int pages = 0;
  // PDF
  GBytes* bytes = nullptr;
  PopplerDocument* document = nullptr;
  // TIFF
  std::unique_ptr<MemoryStream> stream;
  TIFF* tiff = nullptr;

  ~Source() {
    if (document != nullptr) g_object_unref(document);
    if (bytes != nullptr) g_bytes_unref(bytes);
    if (tiff != nullptr) TIFFClose(tiff);
  }
};

void PageImage::Draw(cairo_t* cr, double w, double h) const {
  if (empty() || !(width_ > 0) || !(height_ > 0) || !(w > 0) || !(h > 0)) return;
  cairo_save(cr);
  cairo_rectangle(cr, 0, 0, w, h);
  cairo_clip(cr);
  cairo_scale(cr, w / width_, h / height_);
  if (pdf_page_) {
    poppler_page_render(static_cast<PopplerPage*>(pdf_page_.get()), cr);
  } else if (raster_) {
    cairo_set_source_surface(cr, raster_.get(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
    cairo_paint(cr);
  }
  cairo_restore(cr);
}

std::string PageImage::ToPng(int pixel_width, int pixel_height) const {
  if (empty() || pixel_width <= 0 || pixel_height <= 0 ||
      static_cast<double>(pixel_width) * pixel_height > kMaxRasterPixels) {
    return "";
  }
  if (png_bytes_ && pixel_width == static_cast<int>(width_) && pixel_height == static_cast<int>(height_)) {
    return *png_bytes_;
  }
  auto surface = OwnSurface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, pixel_width, pixel_height));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return "";
  cairo_t* cr = cairo_create(surface.get());
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_paint(cr);
  Draw(cr, pixel_width, pixel_height);
  cairo_destroy(cr);
  cairo_surface_flush(surface.get());
  std::string png;
  if (cairo_surface_write_to_png_stream(surface.get(), AppendBytes, &png) != CAIRO_STATUS_SUCCESS) return "";
  return png;
}

PageImages::PageImages(const mandor::Mandor& document)
    : base_(document.Répertoire_Document + document.Nom_Document()) {}

PageImages PageImages::OfFile(const std::string& path) {
  PageImages images;
  images.single_ = path;
  return images;
}

PageImages::~PageImages() = default;
PageImages::PageImages(PageImages&&) noexcept = default;
PageImages& PageImages::operator=(PageImages&&) noexcept = default;

PageImage PageImages::PngFile(const std::string& path) {
  PageImage image;
  std::string bytes;
  try {
    bytes = mandor::CurrentPlatform().ReadFileBytes(path);
  } catch (const std::exception& e) {
    warnings_.push_back("cannot read " + path + ": " + e.what());
    return image;
  }
  ByteReader reader{&bytes, 0};
  auto surface = OwnSurface(cairo_image_surface_create_from_png_stream(ReadBytes, &reader));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS || cairo_image_surface_get_width(surface.get()) <= 0 ||
      cairo_image_surface_get_height(surface.get()) <= 0) {
    warnings_.push_back(path + " is not a PNG image that can be read");
    return image;
  }
  image.kind_ = ImageKind::kPng;
  image.path_ = path;
  image.width_ = cairo_image_surface_get_width(surface.get());
  image.height_ = cairo_image_surface_get_height(surface.get());
  image.raster_ = std::move(surface);
  image.png_bytes_ = std::make_shared<const std::string>(std::move(bytes));
  return image;
}

PageImages::Source* PageImages::OpenPdf(const std::string& path) {
  if (pdf_opened_) return pdf_.get();
  pdf_opened_ = true;
  auto source = std::make_unique<Source>();
  source->path = path;
  std::string bytes;
  try {
    bytes = mandor::CurrentPlatform().ReadFileBytes(path);
  } catch (const std::exception& e) {
    warnings_.push_back("cannot read " + path + ": " + e.what());
    return nullptr;
  }
  source->bytes = g_bytes_new(bytes.data(), bytes.size());
  GError* error = nullptr;
  source->document = poppler_document_new_from_bytes(source->bytes, nullptr, &error);
  if (source->document == nullptr) {
    warnings_.push_back(path + " is not a PDF that can be read" +
                        (error != nullptr ? std::string(": ") + error->message : std::string()));
    if (error != nullptr) g_error_free(error);
    return nullptr;
  }
  source->pages = poppler_document_get_n_pages(source->document);
  pdf_ = std::move(source);
  return pdf_.get();
}

PageImages::Source* PageImages::OpenTiff(const std::string& path) {
  if (tiff_opened_) return tiff_.get();
  tiff_opened_ = true;
  QuietTiff();
  auto source = std::make_unique<Source>();
  source->path = path;
  source->stream = std::make_unique<MemoryStream>();
  try {
    source->stream->bytes = mandor::CurrentPlatform().ReadFileBytes(path);
  } catch (const std::exception& e) {
    warnings_.push_back("cannot read " + path + ": " + e.what());
    return nullptr;
  }
  tiff_error.clear();
  source->tiff = TIFFClientOpen(path.c_str(), "rm", source->stream.get(), TiffRead, TiffWrite, TiffSeek, TiffClose,
                                TiffSize, TiffMap, TiffUnmap);
  if (source->tiff == nullptr) {
    warnings_.push_back(path + " is not a TIFF image that can be read" +
                        (tiff_error.empty() ? std::string() : " (" + tiff_error + ")"));
    return nullptr;
  }
  source->pages = TIFFNumberOfDirectories(source->tiff);
  tiff_ = std::move(source);
  return tiff_.get();
}

bool PageImages::HasPage(const Source& source, int page_number) {
  if (page_number <= source.pages) return true;
  warnings_.push_back(source.path + " has " + std::to_string(source.pages) + " page" + (source.pages == 1 ? "" : "s") +
                      ": no image for page " + std::to_string(page_number));
  return false;
}

PageImage PageImages::PdfPage(Source& source, int page_number) {
  PageImage image;
  if (!HasPage(source, page_number)) return image;
  PopplerPage* page = poppler_document_get_page(source.document, page_number - 1);
  if (page == nullptr) {
    warnings_.push_back("cannot read page " + std::to_string(page_number) + " of " + source.path);
    return image;
  }
  image.pdf_page_ = std::shared_ptr<void>(page, g_object_unref);
  double w = 0, h = 0;
  poppler_page_get_size(page, &w, &h);
  if (!(w > 0) || !(h > 0)) {
    warnings_.push_back("page " + std::to_string(page_number) + " of " + source.path + " has no size");
    return {};
  }
  image.kind_ = ImageKind::kPdf;
  image.path_ = source.path;
  image.width_ = w;
  image.height_ = h;
  return image;
}

PageImage PageImages::TiffPage(Source& source, int page_number) {
  PageImage image;
  if (!HasPage(source, page_number)) return image;
  tiff_error.clear();
  uint32_t w = 0, h = 0;
  if (!TIFFSetDirectory(source.tiff, static_cast<tdir_t>(page_number - 1)) ||
      !TIFFGetField(source.tiff, TIFFTAG_IMAGEWIDTH, &w) || !TIFFGetField(source.tiff, TIFFTAG_IMAGELENGTH, &h) ||
      w == 0 || h == 0) {
    warnings_.push_back("cannot read page " + std::to_string(page_number) + " of " + source.path);
    return image;
  }
  if (static_cast<double>(w) * h > kMaxRasterPixels || w > 32767 || h > 32767) {
    warnings_.push_back("page " + std::to_string(page_number) + " of " + source.path + " is too large to draw (" +
                        std::to_string(w) + " x " + std::to_string(h) + " pixels)");
    return image;
  }
  std::vector<uint32_t> raster(static_cast<size_t>(w) * h);
  if (!TIFFReadRGBAImageOriented(source.tiff, w, h, raster.data(), ORIENTATION_TOPLEFT, 0)) {
    warnings_.push_back("cannot decode page " + std::to_string(page_number) + " of " + source.path +
                        (tiff_error.empty() ? std::string() : " (" + tiff_error + ")"));
    return image;
  }
  auto surface = OwnSurface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(w), static_cast<int>(h)));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
    warnings_.push_back("no memory to draw page " + std::to_string(page_number) + " of " + source.path);
    return image;
  }
  cairo_surface_flush(surface.get());
  unsigned char* data = cairo_image_surface_get_data(surface.get());
  const int stride = cairo_image_surface_get_stride(surface.get());
  for (uint32_t y = 0; y < h; ++y) {
    auto* row = reinterpret_cast<uint32_t*>(data + static_cast<size_t>(y) * stride);
    for (uint32_t x = 0; x < w; ++x) {
      const uint32_t p = raster[static_cast<size_t>(y) * w + x];
      // Transparent parts of the scan become paper white.
      const uint32_t a = TIFFGetA(p);
      auto over_white = [a](uint32_t c) { return c + (255 - a); };
      row[x] = (over_white(TIFFGetR(p)) << 16) | (over_white(TIFFGetG(p)) << 8) | over_white(TIFFGetB(p));
    }
  }
  cairo_surface_mark_dirty(surface.get());
  image.kind_ = ImageKind::kTiff;
  image.path_ = source.path;
  image.width_ = w;
  image.height_ = h;
  image.raster_ = std::move(surface);
  return image;
}

PageImage PageImages::Page(int page_number) {
  if (page_number < 1) return {};
  mandor::Platform& platform = mandor::CurrentPlatform();
  auto exists = [&platform](const std::string& path) {
    try {
      return platform.FileExists(path);
    } catch (const std::exception&) {
      return false;
    }
  };
  if (!single_.empty()) {
    const std::string lower = mandor::LowerCase(single_);
    if (mandor::EndsWith(lower, ".pdf")) {
      Source* pdf = OpenPdf(single_);
      return pdf != nullptr ? PdfPage(*pdf, page_number) : PageImage();
    }
    if (mandor::EndsWith(lower, ".tif") || mandor::EndsWith(lower, ".tiff")) {
      Source* tiff = OpenTiff(single_);
      return tiff != nullptr ? TiffPage(*tiff, page_number) : PageImage();
    }
    if (page_number == 1) return PngFile(single_);
    warnings_.push_back(single_ + " holds one page: no image for page " + std::to_string(page_number));
    return {};
  }

  const std::string png = base_ + "-" + std::to_string(page_number) + ".png";
  if (exists(png)) return PngFile(png);
  if (page_number == 1 && exists(base_ + ".png")) return PngFile(base_ + ".png");
  if (exists(base_ + ".pdf")) {
    Source* pdf = OpenPdf(base_ + ".pdf");
    return pdf != nullptr ? PdfPage(*pdf, page_number) : PageImage();
  }
  for (const char* ending : {".tif", ".tiff"}) {
    if (!exists(base_ + ending)) continue;
    Source* tiff = OpenTiff(base_ + ending);
    return tiff != nullptr ? TiffPage(*tiff, page_number) : PageImage();
  }
  warnings_.push_back("no image for page " + std::to_string(page_number) + " (looked for " + png +
                      (page_number == 1 ? ", " + base_ + ".png" : std::string()) + ", " + base_ + ".pdf, " + base_ +
                      ".tif)");
  return {};
}

}  // namespace mandor::print
