#include "mandor/server/image_dispatch.h"

#include <dispex.h>

#include "mandor/server/dispatch.h"
#include "mandor/util/error.h"

namespace mandor::server {

namespace {

// Error 438: the object lacks the member.
constexpr int kNoSuchMember = 438;

// IID_IDispatchEx, which MinGW's uuid library lacks.
constexpr IID kIidDispatchEx = {0xa6ef9860, 0xc720, 0x11d0, {0x93, 0x37, 0x00, 0xa0, 0xc9, 0x0d, 0xca, 0xa9}};

}  // namespace

DispatchImagePdf::DispatchImagePdf(const VARIANT* image) {
  if (image == nullptr) ThrowError(kObjectNotSet);
  if (image->vt != VT_DISPATCH) ThrowError(kTypeMismatch);
  if (image->pdispVal == nullptr) ThrowError(kObjectNotSet);
  image_ = image->pdispVal;
  image_->AddRef();
}

DispatchImagePdf::~DispatchImagePdf() { image_->Release(); }

VARIANT DispatchImagePdf::Call(const wchar_t* name, VARTYPE vt, VARIANT* arg) const {
  DISPID id = DISPID_UNKNOWN;
  LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
  if (FAILED(image_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id))) {
    // Script objects (a VBScript class instance) may answer by IDispatchEx only.
    IDispatchEx* ex = nullptr;
    HRESULT hr = image_->QueryInterface(kIidDispatchEx, reinterpret_cast<void**>(&ex));
    if (SUCCEEDED(hr)) {
      BSTR bstr = SysAllocString(name);
      hr = bstr == nullptr ? E_OUTOFMEMORY : ex->GetDispID(bstr, fdexNameCaseInsensitive, &id);
      SysFreeString(bstr);
      ex->Release();
    }
    if (FAILED(hr)) {
      ThrowError(kNoSuchMember, "Object doesn't support this property or method: " + WideToUtf8(name, wcslen(name)));
    }
  }
  DISPPARAMS params = {arg, nullptr, arg == nullptr ? 0u : 1u, 0};
  VARIANT result;
  VariantInit(&result);
  EXCEPINFO exception{};
  const HRESULT hr = image_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                                    &params, &result, &exception, nullptr);
  if (FAILED(hr)) {
    if (hr == DISP_E_EXCEPTION) {
      if (exception.pfnDeferredFillIn != nullptr) exception.pfnDeferredFillIn(&exception);
      const HRESULT code = exception.scode != 0 ? exception.scode : MAKE_HRESULT(1, FACILITY_CONTROL, exception.wCode);
      std::string description = BstrToUtf8(exception.bstrDescription);
      SysFreeString(exception.bstrSource);
      SysFreeString(exception.bstrDescription);
      SysFreeString(exception.bstrHelpFile);
      const int number = HRESULT_FACILITY(code) == FACILITY_CONTROL ? HRESULT_CODE(code) : static_cast<int>(kInvalidArgument);
      ThrowError(number, description.empty() ? Error::DefaultDescription(number) : description);
    }
    ThrowError(kNoSuchMember, "The image object failed on " + WideToUtf8(name, wcslen(name)));
  }
  if (vt == VT_EMPTY) {
    VariantClear(&result);
    return result;
  }
  VARIANT converted;
  try {
    ChangeType(result, vt, &converted);
  } catch (const DispatchFailure&) {
    VariantClear(&result);
    ThrowError(kTypeMismatch);
  }
  VariantClear(&result);
  return converted;
}

std::string DispatchImagePdf::File() const {
  VARIANT v = Call(L"File", VT_BSTR);
  std::string s = BstrToUtf8(v.bstrVal);
  VariantClear(&v);
  return s;
}

int32_t DispatchImagePdf::PageCount() const { return Call(L"PageCount", VT_I4).lVal; }

void DispatchImagePdf::SelectPage(int16_t page) {
  VARIANT arg;
  VariantInit(&arg);
  arg.vt = VT_I2;
  arg.iVal = page;
  Call(L"SelectPage", VT_EMPTY, &arg);
}

double DispatchImagePdf::Width() const { return Call(L"Width", VT_R8).dblVal; }
double DispatchImagePdf::Height() const { return Call(L"Height", VT_R8).dblVal; }
int32_t DispatchImagePdf::HResol() const { return Call(L"HResol", VT_I4).lVal; }
int32_t DispatchImagePdf::VResol() const { return Call(L"VResol", VT_I4).lVal; }

}  // namespace mandor::server
