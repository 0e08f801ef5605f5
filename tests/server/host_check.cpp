// A compiled host driving MandorDLL through IDispatch as Office does: named
// arguments, typed by-reference variables, memory over many create/release
// cycles, DllCanUnloadNow once all is gone. Run under Wine by
// run_com_tests.sh (host_check DATA_DIR [OBJECT_CYCLES [CATALOGUE_CYCLES]]),
// one line per failure, exit status their number; --bench times property reads.
#include <windows.h>
#include <oleauto.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace {

int failures = 0;

void Check(bool ok, const std::string& what) {
  if (!ok) {
    ++failures;
    std::printf("FAIL %s\n", what.c_str());
  }
}

// An owned VARIANT.
struct Var {
  VARIANT v;
  Var() { VariantInit(&v); }
  explicit Var(const wchar_t* s) : Var() { v.vt = VT_BSTR, v.bstrVal = SysAllocString(s); }
  explicit Var(int n) : Var() { v.vt = VT_I4, v.lVal = n; }
  explicit Var(bool b) : Var() { v.vt = VT_BOOL, v.boolVal = b ? VARIANT_TRUE : VARIANT_FALSE; }
  explicit Var(IDispatch* d) : Var() {
    v.vt = VT_DISPATCH, v.pdispVal = d;
    if (d != nullptr) d->AddRef();
  }
  ~Var() { VariantClear(&v); }
  Var(const Var&) = delete;
  Var& operator=(const Var&) = delete;
  std::wstring Text() const { return v.vt == VT_BSTR && v.bstrVal != nullptr ? v.bstrVal : L""; }
};

// Calls member name of object with the arguments in the caller's order, the
// last `names.size()` of them named by names (VBA's Member Arg:=value).
HRESULT Call(IDispatch* object, const wchar_t* name, WORD flags, std::vector<VARIANT> args, VARIANT* result,
             std::vector<const wchar_t*> names = {}) {
  std::vector<LPOLESTR> all = {const_cast<LPOLESTR>(name)};
  for (const wchar_t* n : names) all.push_back(const_cast<LPOLESTR>(n));
  std::vector<DISPID> ids(all.size());
  HRESULT hr = object->GetIDsOfNames(IID_NULL, all.data(), static_cast<UINT>(all.size()), LOCALE_USER_DEFAULT,
                                     ids.data());
  if (FAILED(hr)) return hr;
  // DISPPARAMS keeps the named arguments first, then the positional ones in reverse order.
  const size_t named = names.size();
  std::vector<VARIANT> rg;
  std::vector<DISPID> named_ids(ids.begin() + 1, ids.end());
  for (size_t i = 0; i < named; ++i) rg.push_back(args[args.size() - named + i]);
  for (size_t i = args.size() - named; i-- > 0;) rg.push_back(args[i]);
  // A put names its value (the last argument, so already first).
  if ((flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0 && named == 0) {
    named_ids.push_back(DISPID_PROPERTYPUT);
  }
  DISPPARAMS params = {rg.data(), named_ids.empty() ? nullptr : named_ids.data(), static_cast<UINT>(rg.size()),
                       static_cast<UINT>(named_ids.size())};
  EXCEPINFO info{};
  UINT arg_error = 0;
  hr = object->Invoke(ids[0], IID_NULL, LOCALE_USER_DEFAULT, flags, &params, result, &info, &arg_error);
  for (BSTR b : {info.bstrSource, info.bstrDescription, info.bstrHelpFile}) SysFreeString(b);
  return hr;
}

// The class objects, looked up once as a compiled host's New does (the
// registry look-up of each CreateObject would dominate the cycles below).
std::vector<std::pair<std::wstring, IClassFactory*>> factories;

IDispatch* Create(const wchar_t* progid) {
  IClassFactory* factory = nullptr;
  for (auto& [name, f] : factories) factory = name == progid ? f : factory;
  CLSID clsid;
  if (factory == nullptr && SUCCEEDED(CLSIDFromProgID(progid, &clsid)) &&
      SUCCEEDED(CoGetClassObject(clsid, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                                 reinterpret_cast<void**>(&factory)))) {
    factories.emplace_back(progid, factory);
  }
  IDispatch* d = nullptr;
  if (factory == nullptr || FAILED(factory->CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(&d)))) {
    Check(false, "create " + std::string(progid, progid + wcslen(progid)));
    return nullptr;
  }
  return d;
}

// The object a property returns (AddRef'ed), or null.
IDispatch* GetObject(IDispatch* object, const wchar_t* name, std::vector<VARIANT> args = {}) {
  Var r;
  if (object == nullptr ||
      FAILED(Call(object, name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, std::move(args), &r.v)) ||
      r.v.vt != VT_DISPATCH || r.v.pdispVal == nullptr) {
    return nullptr;
  }
  r.v.pdispVal->AddRef();
  return r.v.pdispVal;
}

void SetObject(IDispatch* object, const wchar_t* name, IDispatch* value) {
  Var v(value);
  Call(object, name, DISPATCH_PROPERTYPUTREF, {v.v}, nullptr);
}

void Release(std::initializer_list<IDispatch*> objects) {
  for (IDispatch* d : objects) {
    if (d != nullptr) d->Release();
  }
}

// Named arguments (VBA's Member Arg:=value) through the server's own
// parameter names; collections' Before:= and After:= are host_test.vbs's.
void NamedArguments() {
  IDispatch* doc = Create(L"MandorDLL.Mandor");
  if (doc == nullptr) return;
  // ChangeSepMarquage(sValue, iType): both by name in the other order; one
  // positional and one named, names without regard to case.
  Var value(L"a|b"), type(1), r, r2, r3, r4, no(false);
  HRESULT hr = Call(doc, L"ChangeSepMarquage", DISPATCH_METHOD, {type.v, value.v}, &r.v, {L"iType", L"sValue"});
  Check(SUCCEEDED(hr) && r.Text() == std::wstring(L"a\x7f" L"b"), "named arguments in another order");
  hr = Call(doc, L"ChangeSepMarquage", DISPATCH_METHOD, {value.v, type.v}, &r2.v, {L"ITYPE"});
  Check(SUCCEEDED(hr) && r2.Text() == std::wstring(L"a\x7f" L"b"), "a positional and a named argument");
  // A named optional argument left out: SauvegarderMarquageEx Confirmation:=False on an unnamed document.
  hr = Call(doc, L"SauvegarderMarquageEx", DISPATCH_METHOD, {no.v}, &r3.v, {L"Confirmation"});
  Check(SUCCEEDED(hr) && r3.v.vt == VT_I2 && r3.v.iVal == -1, "SauvegarderMarquageEx Confirmation:=False");
  hr = Call(doc, L"ChangeSepMarquage", DISPATCH_METHOD, {value.v}, &r4.v, {L"NoSuchParameter"});
  Check(hr == DISP_E_UNKNOWNNAME, "an unknown parameter name");
  Release({doc});
}

// A compiled host's typed variables passed by reference (VT_I2 | VT_BYREF,
// VT_BSTR | VT_BYREF), where a script passes variants.
void TypedByReference() {
  IDispatch* regle = Create(L"MandorDLL.CRegle");
  IDispatch* doc = Create(L"MandorDLL.Mandor");
  if (regle != nullptr && doc != nullptr) {
    SHORT flag = 1;
    BSTR number = SysAllocString(L"1 234");
    VARIANT arg{}, n{};
    arg.vt = VT_I2 | VT_BYREF, arg.piVal = &flag;
    n.vt = VT_BSTR | VT_BYREF, n.pbstrVal = &number;
    Var r, r2, space(L" ");
    Check(SUCCEEDED(Call(regle, L"ToggleVersion", DISPATCH_METHOD, {arg}, nullptr)), "ToggleVersion with an Integer");
    Check(flag == 1, "the Integer is left as it was");
    Call(regle, L"isNewVersion", DISPATCH_METHOD, {}, &r.v);
    Check(r.v.vt == VT_BOOL && r.v.boolVal == VARIANT_TRUE, "the flag was taken");
    // A String variable EnleveCar changes is written back in its own type.
    Check(SUCCEEDED(Call(doc, L"EnleveCar", DISPATCH_METHOD, {n, space.v}, &r2.v)), "EnleveCar");
    Check(std::wstring(number) == L"1234", "EnleveCar wrote its argument back");
    SysFreeString(number);
  }
  Release({regle, doc});
}

// A whole catalogue read from its file: the first field of `document` (by
// index or key), given back after everything above it was released.
IDispatch* FieldOfCatalogue(const std::wstring& data, const Var& document) {
  IDispatch* cat = Create(L"MandorDLL.cMarquage");
  Var file((data + L"menuiseries.xml").c_str());
  if (cat != nullptr) Call(cat, L"XML_ReadCNF", DISPATCH_METHOD, {file.v}, nullptr);
  IDispatch* doc = GetObject(cat, L"Item", {document.v});
  Release({cat});
  IDispatch* champs = GetObject(doc, L"Champs");
  Release({doc});
  IDispatch* field = GetObject(champs, L"Item", {Var(1).v});
  Release({champs});
  return field;
}

// The committed private memory of the process (heaps included), by walking
// its address space: Wine leaves the process memory counters at 0.
SIZE_T PrivateBytes() {
  SIZE_T total = 0;
  MEMORY_BASIC_INFORMATION info;
  for (const char* at = nullptr; VirtualQuery(at, &info, sizeof info) == sizeof info;
       at = static_cast<const char*>(info.BaseAddress) + info.RegionSize) {
    if (info.State == MEM_COMMIT && info.Type == MEM_PRIVATE) total += info.RegionSize;
  }
  return total;
}

// One cycle: a catalogue, a document owned by it, a page and a field owned by
// both, each object fetched back through its owner links, all released.
void ObjectCycle() {
  IDispatch* cat = Create(L"MandorDLL.cMarquage");
  IDispatch* doc = Create(L"MandorDLL.Mandor");
  IDispatch* page = Create(L"MandorDLL.CPage");
  IDispatch* field = Create(L"MandorDLL.CChamp");
  SetObject(doc, L"oOwnerMarquage", cat);
  SetObject(page, L"oOwnerMandor", doc);
  SetObject(field, L"oOwnerMandor", doc);
  SetObject(field, L"oOwnerPage", page);
  IDispatch* pages = GetObject(doc, L"Pages");
  IDispatch* champs = GetObject(page, L"Champs");
  Var p(page), key(L"page_1"), f(field);
  Call(pages, L"Add", DISPATCH_METHOD, {p.v, key.v}, nullptr);
  Call(champs, L"Add", DISPATCH_METHOD, {f.v}, nullptr);
  Release({cat, doc, page, pages});
  IDispatch* owner = GetObject(field, L"oOwnerMandor");
  IDispatch* root = GetObject(owner, L"oOwnerMarquage");
  Release({root, owner, field, champs});
}

// Runs cycle `count` times and reports the private memory after a tenth of
// them and at the end. Fails when it grew by more than `allowed` bytes.
template <class F>
void Flat(const char* what, long count, SIZE_T allowed, F cycle) {
  const long warm = count / 10;
  for (long i = 0; i < warm; ++i) cycle();
  const SIZE_T before = PrivateBytes();
  const DWORD start = GetTickCount();
  for (long i = warm; i < count; ++i) cycle();
  const SIZE_T after = PrivateBytes();
  const double grown = static_cast<double>(after) - static_cast<double>(before);
  std::printf("memory %s: %ld cycles, private bytes %.1f MiB after %ld, %.1f MiB at the end (%+.0f KiB), %lu ms\n",
              what, count, before / 1048576.0, warm, after / 1048576.0, grown / 1024.0,
              static_cast<unsigned long>(GetTickCount() - start));
  Check(grown <= static_cast<double>(allowed), std::string("memory stays flat over the ") + what + " cycles");
}

// Any dispatch object, enumerator or factory still alive shows here.
void CanUnload() {
  HMODULE dll = GetModuleHandleW(L"MandorDLL.dll");
  auto can_unload = dll == nullptr ? nullptr
                                   : reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(
                                         reinterpret_cast<void (*)()>(GetProcAddress(dll, "DllCanUnloadNow")));
  Check(can_unload != nullptr, "MandorDLL.dll is loaded and exports DllCanUnloadNow");
  if (can_unload == nullptr) return;
  IDispatch* held = Create(L"MandorDLL.CChamp");
  // The class objects kept for the cycles count as live objects too.
  for (auto& [name, f] : factories) f->Release();
  factories.clear();
  Check(can_unload() == S_FALSE, "DllCanUnloadNow answers S_FALSE while an object lives");
  Release({held});
  Check(can_unload() == S_OK, "DllCanUnloadNow answers S_OK once everything is released");
}

// For the host-loop benchmark: the server's own cost of the five property
// reads of the script loop, by name each time as a script engine calls
// them, then with the ids looked up once.
void BenchProperties() {
  IDispatch* field = Create(L"MandorDLL.CChamp");
  if (field == nullptr) return;
  Var name(L"L1_PU");
  Call(field, L"Nom", DISPATCH_PROPERTYPUT, {name.v}, nullptr);
  LPOLESTR names[] = {const_cast<LPOLESTR>(L"Nom"), const_cast<LPOLESTR>(L"Position_pixel_Left"),
                      const_cast<LPOLESTR>(L"valeur"), const_cast<LPOLESTR>(L"Bold"), const_cast<LPOLESTR>(L"Page")};
  DISPID ids[5];
  for (int k = 0; k < 5; ++k) field->GetIDsOfNames(IID_NULL, &names[k], 1, LOCALE_USER_DEFAULT, &ids[k]);
  const long reads = 200000;
  DISPPARAMS none = {nullptr, nullptr, 0, 0};
  LARGE_INTEGER frequency, start, end;
  QueryPerformanceFrequency(&frequency);
  double us[2];
  for (int by_name = 1; by_name >= 0; --by_name) {
    QueryPerformanceCounter(&start);
    for (long i = 0; i < reads; ++i) {
      Var r;
      DISPID id = ids[i % 5];
      if (by_name) field->GetIDsOfNames(IID_NULL, &names[i % 5], 1, LOCALE_USER_DEFAULT, &id);
      field->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, &r.v, nullptr, nullptr);
    }
    QueryPerformanceCounter(&end);
    us[by_name] = static_cast<double>(end.QuadPart - start.QuadPart) / frequency.QuadPart / reads * 1e6;
  }
  std::printf("server per property read: %.2f us by name (GetIDsOfNames + Invoke), %.2f us by id (Invoke)\n", us[1],
              us[0]);
  Release({field});
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: host_check DATA_DIR [OBJECT_CYCLES [CATALOGUE_CYCLES]] | host_check --bench\n");
    return 2;
  }
  const std::string dir = argv[1];
  const std::wstring data(dir.begin(), dir.end());
  CoInitialize(nullptr);
  if (dir == "--bench") {
    BenchProperties();
  } else {
    NamedArguments();
    TypedByReference();
    IDispatch* field = FieldOfCatalogue(data, Var(L"mn1"));
    Check(field != nullptr, "a field of the catalogue");
    Release({field});
    // 64 bytes a cycle lost would be 5.5 MB over 90 000 cycles.
    Flat("object", argc > 2 ? std::atol(argv[2]) : 100000, 1 << 20, ObjectCycle);
    Flat("catalogue", argc > 3 ? std::atol(argv[3]) : 2000, 1 << 20,
         [&] { Release({FieldOfCatalogue(data, Var(1))}); });
    CanUnload();
    std::printf("host: %d failures\n", failures);
  }
  for (auto& [name, f] : factories) f->Release();
  CoUninitialize();
  return failures;
}
