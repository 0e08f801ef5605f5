// ImagePdf is the host's view of an opened document image (the PDF of an
// engagement act): its file name, its page count, and the size and
// resolution of the page made current with SelectPage. The catalogue asks it
// for the pages of a new engagement act (cMarquage::XML_AddNewAE). A host
// binds its own image viewer to this interface; FixedImagePdf answers from a
// list of page sizes given up front, for tests and for hosts that already
// know the pages.
//
// Usage:
//   mandor::FixedImagePdf pdf("Acte.pdf", {{1653, 2339, 200, 200}});
//   catalogue->XML_AddNewAE(act, pdf);
//
// Threading: single-threaded, as the whole model is: an image object is used
// by one thread at a time (the host's); nothing here locks, and nothing is
// shared between threads but what the platform holds.
#ifndef MANDOR_XML_IMAGE_PDF_H_
#define MANDOR_XML_IMAGE_PDF_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "mandor/util/error.h"

namespace mandor {

class ImagePdf {
 public:
  virtual ~ImagePdf() = default;

  // File name of the image (what the catalogue stores as the image's name).
  virtual std::string File() const = 0;
  // Number of pages.
  virtual int32_t PageCount() const = 0;
  // Makes the 1-based page `page` current; Width, Height, HResol and VResol
  // then answer for it. An implementation throws mandor::Error for a page it
  // does not have.
  virtual void SelectPage(int16_t page) = 0;
  // Size of the current page in pixels.
  virtual double Width() const = 0;
  virtual double Height() const = 0;
  // Horizontal and vertical resolution of the current page in dots per inch.
  virtual int32_t HResol() const = 0;
  virtual int32_t VResol() const = 0;
};

// An ImagePdf over a fixed list of pages. The first page is current until
// SelectPage chooses another; asking for the size of a page of an image
// without pages, or selecting a page outside 1..PageCount(), throws Error 9.
class FixedImagePdf : public ImagePdf {
 public:
  struct PageSize {
    double width = 1653;
    double height = 2339;
    int32_t h_resol = 200;
    int32_t v_resol = 200;
  };

  FixedImagePdf(std::string file, std::vector<PageSize> pages) : file_(std::move(file)), pages_(std::move(pages)) {}

  std::string File() const override { return file_; }
  int32_t PageCount() const override { return static_cast<int32_t>(pages_.size()); }
  void SelectPage(int16_t page) override {
    if (page < 1 || static_cast<size_t>(page) > pages_.size()) ThrowError(kSubscriptOutOfRange);
    current_ = static_cast<size_t>(page) - 1;
    selected_.push_back(page);
  }
  double Width() const override { return Current().width; }
  double Height() const override { return Current().height; }
  int32_t HResol() const override { return Current().h_resol; }
  int32_t VResol() const override { return Current().v_resol; }

  // The pages selected so far, in call order (1-based numbers).
  const std::vector<int16_t>& selected() const { return selected_; }

 private:
  const PageSize& Current() const {
    if (current_ >= pages_.size()) ThrowError(kSubscriptOutOfRange);
    return pages_[current_];
  }

  std::string file_;
  std::vector<PageSize> pages_;
  size_t current_ = 0;
  std::vector<int16_t> selected_;
};

}  // namespace mandor

#endif  // MANDOR_XML_IMAGE_PDF_H_
