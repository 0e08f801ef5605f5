// DispatchImagePdf lets the catalogue ask a host's image object for the
// pages of a new engagement act: it calls the object's "File", "PageCount",
// "SelectPage", "Width", "Height", "HResol" and "VResol" by name through
// IDispatch, as the host's image viewer exposes them.
//
// Threading: called on the host's thread, like the model.
#ifndef MANDOR_SERVER_IMAGE_DISPATCH_H_
#define MANDOR_SERVER_IMAGE_DISPATCH_H_

#include <windows.h>
#include <oleauto.h>

#include <string>

#include "mandor/xml/image_pdf.h"

namespace mandor::server {

class DispatchImagePdf : public ImagePdf {
 public:
  // image is the host's argument; Error 13 unless it holds an object, 91 for Nothing.
  explicit DispatchImagePdf(const VARIANT* image);
  ~DispatchImagePdf() override;
  DispatchImagePdf(const DispatchImagePdf&) = delete;
  DispatchImagePdf& operator=(const DispatchImagePdf&) = delete;

  std::string File() const override;
  int32_t PageCount() const override;
  void SelectPage(int16_t page) override;
  double Width() const override;
  double Height() const override;
  int32_t HResol() const override;
  int32_t VResol() const override;

 private:
  // Calls member name with the given arguments (at most one) and returns the
  // result converted to vt. Failures of the host's object become mandor::Error.
  VARIANT Call(const wchar_t* name, VARTYPE vt, VARIANT* arg = nullptr) const;

  IDispatch* image_ = nullptr;
};

}  // namespace mandor::server

#endif  // MANDOR_SERVER_IMAGE_DISPATCH_H_
