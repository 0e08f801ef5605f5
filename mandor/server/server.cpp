// The entry points of the in-process server: class objects for the
// creatable classes, registration under the ProgIDs "MandorDLL.<class>"
// (apartment-threaded) with the type library (embedded, or written beside
// the DLL), and the unload test.
#include <windows.h>
#include <oleauto.h>
#include <olectl.h>

#include <new>
#include <string>

#include "mandor/server/com_object.h"
#include "mandor/server/dispatch.h"
#include "mandor/server/typelib.h"

namespace mandor::server {
namespace {

HMODULE g_module = nullptr;

std::wstring GuidText(const GUID& guid) {
  wchar_t text[40];
  StringFromGUID2(guid, text, 40);
  return text;
}

std::wstring ModulePath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD n = GetModuleFileNameW(g_module, path.data(), static_cast<DWORD>(path.size()));
    if (n == 0) return {};
    if (n < path.size()) {
      path.resize(n);
      return path;
    }
    path.resize(path.size() * 2);
  }
}

std::wstring TypeLibPath() {
  std::wstring path = ModulePath();
  const size_t dot = path.find_last_of(L'.');
  return (dot == std::wstring::npos ? path : path.substr(0, dot)) + L".tlb";
}

class ClassFactory final : public ComObject<IClassFactory, IID_IClassFactory> {
 public:
  explicit ClassFactory(const ClassInfo& cls) : cls_(cls) {}

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** out) override {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    try {
      IDispatch* disp = Wrap(cls_.create(), cls_);
      const HRESULT hr = disp->QueryInterface(riid, out);
      disp->Release();
      return hr;
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    } catch (...) {
      return E_UNEXPECTED;
    }
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    if (lock) {
      InterlockedIncrement(&LiveObjects());
    } else {
      InterlockedDecrement(&LiveObjects());
    }
    return S_OK;
  }

 private:
  const ClassInfo& cls_;
};

bool SetKey(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
  HKEY h;
  if (RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &h, nullptr) !=
      ERROR_SUCCESS) {
    return false;
  }
  const LONG rc = RegSetValueExW(h, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                                 static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  RegCloseKey(h);
  return rc == ERROR_SUCCESS;
}

std::wstring ProgId(const ClassInfo& cls) { return L"MandorDLL." + Utf8ToWide(cls.name); }

}  // namespace
}  // namespace mandor::server

using namespace mandor::server;
using mandor::Utf8ToWide;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    g_module = instance;
    DisableThreadLibraryCalls(instance);
  }
  return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, LPVOID* out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  try {
    for (const ClassInfo* cls : CreatableClasses()) {
      if (!IsEqualCLSID(clsid, cls->clsid)) continue;
      auto* factory = new ClassFactory(*cls);
      factory->AddRef();
      const HRESULT hr = factory->QueryInterface(riid, out);
      factory->Release();
      return hr;
    }
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return LiveObjects() == 0 ? S_OK : S_FALSE; }

STDAPI DllRegisterServer() {
  try {
    const std::wstring module = ModulePath();
    const std::wstring libid = GuidText(kLibId);
    for (const ClassInfo* cls : CreatableClasses()) {
      const std::wstring progid = ProgId(*cls);
      const std::wstring clsid = GuidText(cls->clsid);
      const std::wstring key = L"CLSID\\" + clsid;
      const bool ok = SetKey(progid, nullptr, Utf8ToWide(cls->name)) && SetKey(progid + L"\\CLSID", nullptr, clsid) &&
                      SetKey(key, nullptr, progid) && SetKey(key + L"\\ProgID", nullptr, progid) &&
                      SetKey(key + L"\\InprocServer32", nullptr, module) &&
                      SetKey(key + L"\\InprocServer32", L"ThreadingModel", L"Apartment") &&
                      SetKey(key + L"\\TypeLib", nullptr, libid) && SetKey(key + L"\\Version", nullptr, L"1.0");
      if (!ok) return SELFREG_E_CLASS;
    }
    // The type library embedded as resource TYPELIB 1, else one written beside the DLL now.
    ITypeLib* lib = nullptr;
    HRESULT hr;
    if (FindResourceW(g_module, MAKEINTRESOURCEW(1), L"TYPELIB") != nullptr) {
      hr = LoadTypeLibEx(module.c_str(), REGKIND_REGISTER, &lib);
      if (SUCCEEDED(hr)) lib->Release();
    } else {
      const std::wstring tlb = TypeLibPath();
      if (FAILED(WriteTypeLib(tlb, kOwnSysKind))) return SELFREG_E_TYPELIB;
      hr = LoadTypeLibEx(tlb.c_str(), REGKIND_NONE, &lib);
      if (SUCCEEDED(hr)) {
        hr = RegisterTypeLib(lib, const_cast<LPOLESTR>(tlb.c_str()), nullptr);
        lib->Release();
      }
    }
    return SUCCEEDED(hr) ? S_OK : SELFREG_E_TYPELIB;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

STDAPI DllUnregisterServer() {
  try {
    for (const ClassInfo* cls : CreatableClasses()) {
      RegDeleteTreeW(HKEY_CLASSES_ROOT, ProgId(*cls).c_str());
      RegDeleteTreeW(HKEY_CLASSES_ROOT, (L"CLSID\\" + GuidText(cls->clsid)).c_str());
    }
    UnRegisterTypeLib(kLibId, kLibMajor, kLibMinor, LOCALE_NEUTRAL, kOwnSysKind);
    return S_OK;
  } catch (...) {
    return E_UNEXPECTED;
  }
}
