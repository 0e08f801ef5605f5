// ComObject is the reference counting and interface lookup shared by the
// server's small COM objects (class factories, enumerators): one interface
// besides IUnknown, deleted at the last Release, and counted as live for
// DllCanUnloadNow while it exists.
//
// Threading: reference counts and the live-object count change with
// interlocked operations, as COM asks of objects any apartment may release.
#ifndef MANDOR_SERVER_COM_OBJECT_H_
#define MANDOR_SERVER_COM_OBJECT_H_

#include <windows.h>
#include <oleauto.h>

#include "mandor/server/dispatch.h"

namespace mandor::server {

template <class Interface, const IID& kIid>
class ComObject : public Interface {
 public:
  ComObject() { InterlockedIncrement(&LiveObjects()); }
  virtual ~ComObject() { InterlockedDecrement(&LiveObjects()); }
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
    if (out == nullptr) return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, kIid)) {
      *out = static_cast<Interface*>(this);
      this->AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&refs_)); }
  ULONG STDMETHODCALLTYPE Release() override {
    const LONG n = InterlockedDecrement(&refs_);
    if (n == 0) delete this;
    return static_cast<ULONG>(n);
  }

 private:
  LONG refs_ = 0;
};

}  // namespace mandor::server

#endif  // MANDOR_SERVER_COM_OBJECT_H_
