#include "mandor/server/dispatch.h"

#include <algorithm>
#include <map>
#include <new>
#include <stdexcept>

#include "mandor/server/com_object.h"
#include "mandor/server/typelib.h"
#include "mandor/util/error.h"
#include "mandor/util/internal/text.h"

namespace mandor::server {

// --- strings ---

BSTR MakeBstr(std::string_view utf8) {
  const std::wstring wide = Utf8ToWide(utf8);
  BSTR b = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  if (b == nullptr) throw std::bad_alloc();
  return b;
}

std::string BstrToUtf8(BSTR bstr) { return WideToUtf8(bstr, bstr == nullptr ? 0 : SysStringLen(bstr)); }

// --- tables ---

const Member* ClassInfo::Find(std::string_view name) const {
  auto it = by_folded_name.find(FoldCase(name));
  return it == by_folded_name.end() ? nullptr : &members[it->second];
}

const Member* ClassInfo::Find(DISPID id) const {
  auto it = by_id.find(id);
  return it == by_id.end() ? nullptr : &members[it->second];
}

Member& AddOrFindMember(ClassInfo& info, std::string_view name) {
  const std::string folded = FoldCase(name);
  auto it = info.by_folded_name.find(folded);
  if (it != info.by_folded_name.end()) return info.members[it->second];
  Member m;
  m.name = std::string(name);
  // DISPIDs count from 1 in table order; 0 and the negative ones are the standard ids.
  DISPID next = 1;
  for (const Member& other : info.members) next = std::max(next, other.id + 1);
  m.id = next;
  info.members.push_back(std::move(m));
  info.by_folded_name.emplace(folded, info.members.size() - 1);
  info.by_id.emplace(next, info.members.size() - 1);
  return info.members.back();
}

void SetMemberId(ClassInfo& info, std::string_view name, DISPID id) {
  Member& m = AddOrFindMember(info, name);
  info.by_id.erase(m.id);
  m.id = id;
  info.by_id[id] = static_cast<size_t>(&m - info.members.data());
}

Accessor UnavailableAccessor(std::string name, std::string why, std::vector<ParamSpec> params, TypeSpec result) {
  Accessor acc;
  acc.params = std::move(params);
  acc.result = result;
  const std::string message = name + " is not available through automation: " + why;
  acc.call = [message](const std::shared_ptr<void>&, Args&, VARIANT*) { ThrowError(kInvalidArgument, message); };
  return acc;
}

namespace detail {

std::vector<std::string> SplitNames(std::string_view names) {
  std::vector<std::string> out;
  while (!names.empty()) {
    const size_t comma = names.find(',');
    out.emplace_back(Trim(names.substr(0, comma)));
    if (comma == std::string_view::npos) break;
    names.remove_prefix(comma + 1);
  }
  return out;
}

void WriteBackVariant(VARIANT* target, VARIANT* value) {
  if (target->vt == (VT_BYREF | VT_VARIANT)) {
    VariantClear(target->pvarVal);
    *target->pvarVal = *value;  // takes over the value
    return;
  }
  // A typed variable of an early-bound caller: store in its own type.
  const VARTYPE base = static_cast<VARTYPE>(target->vt & ~VT_BYREF);
  VARIANT converted;
  VariantInit(&converted);
  const HRESULT hr = VariantChangeType(&converted, value, 0, base);
  VariantClear(value);
  if (FAILED(hr)) throw DispatchFailure{DISP_E_TYPEMISMATCH};
  switch (base) {
    case VT_BOOL: *target->pboolVal = converted.boolVal; break;
    case VT_I2: *target->piVal = converted.iVal; break;
    case VT_I4: *target->plVal = converted.lVal; break;
    case VT_UI1: *target->pbVal = converted.bVal; break;
    case VT_R4: *target->pfltVal = converted.fltVal; break;
    case VT_R8: *target->pdblVal = converted.dblVal; break;
    case VT_BSTR:
      SysFreeString(*target->pbstrVal);
      *target->pbstrVal = converted.bstrVal;
      return;
    default:
      if (base & VT_ARRAY) {
        SafeArrayDestroy(*target->pparray);
        *target->pparray = converted.parray;
        return;
      }
      VariantClear(&converted);
      throw DispatchFailure{DISP_E_TYPEMISMATCH};
  }
}

void GetBoxed(const std::shared_ptr<void>& slot, VARIANT* result) {
  result->vt = VT_DISPATCH;
  result->pdispVal = nullptr;  // Nothing
  if (!slot) return;
  result->pdispVal = static_cast<DispatchBox*>(slot.get())->object;
  result->pdispVal->AddRef();
}

void SetBoxed(std::shared_ptr<void>& slot, const VARIANT* value) {
  if (value == nullptr) throw DispatchFailure{DISP_E_PARAMNOTFOUND};
  IUnknown* unknown = nullptr;
  switch (value->vt) {
    case VT_DISPATCH: unknown = value->pdispVal; break;
    case VT_UNKNOWN: unknown = value->punkVal; break;
    case VT_DISPATCH | VT_BYREF: unknown = value->ppdispVal != nullptr ? *value->ppdispVal : nullptr; break;
    case VT_UNKNOWN | VT_BYREF: unknown = value->ppunkVal != nullptr ? *value->ppunkVal : nullptr; break;
    case VT_NULL: case VT_EMPTY: break;  // a script's null or an unset variable: Nothing
    default: ThrowError(kTypeMismatch);  // a value, not an object
  }
  if (unknown == nullptr) {  // Nothing clears the slot
    slot.reset();
    return;
  }
  IDispatch* disp = nullptr;
  if (FAILED(unknown->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&disp))) || disp == nullptr) {
    ThrowError(kTypeMismatch);
  }
  try {
    auto box = std::make_shared<DispatchBox>(disp);
    disp->Release();
    slot = std::move(box);
  } catch (...) {
    disp->Release();
    throw;
  }
}

}  // namespace detail

// --- arguments and conversions ---

VARIANT* Args::Raw(size_t i) const {
  const size_t n = params_->cArgs;
  if (put_) {
    if (n == 0) return nullptr;
    if (i + 1 == count_) return &params_->rgvarg[0];
    return i + 1 < n ? &params_->rgvarg[n - 1 - i] : nullptr;
  }
  return i < n ? &params_->rgvarg[n - 1 - i] : nullptr;
}

UINT Args::ErrorIndex(size_t i) const {
  VARIANT* v = Raw(i);
  return v == nullptr ? 0 : static_cast<UINT>(v - params_->rgvarg);
}

const VARIANT* Args::Get(size_t i) const {
  const VARIANT* v = Raw(i);
  if (v == nullptr) return nullptr;
  while (v->vt == (VT_BYREF | VT_VARIANT) && v->pvarVal != nullptr) v = v->pvarVal;
  if (v->vt == VT_ERROR && v->scode == DISP_E_PARAMNOTFOUND) return nullptr;
  return v;
}

VARIANT* Args::Target(size_t i) const {
  VARIANT* v = Raw(i);
  return v != nullptr && (v->vt & VT_BYREF) != 0 ? v : nullptr;
}

void ChangeType(const VARIANT& from, VARTYPE vt, VARIANT* to) {
  VariantInit(to);
  const HRESULT hr = VariantChangeTypeEx(to, const_cast<VARIANT*>(&from), LOCALE_USER_DEFAULT, 0, vt);
  if (FAILED(hr)) throw DispatchFailure{hr == DISP_E_OVERFLOW ? DISP_E_OVERFLOW : DISP_E_TYPEMISMATCH};
}

bool Variant::IsNumber() const {
  if (v == nullptr) return false;
  switch (v->vt & ~VT_BYREF) {
    case VT_I1: case VT_I2: case VT_I4: case VT_I8: case VT_UI1: case VT_UI2: case VT_UI4: case VT_UI8:
    case VT_INT: case VT_UINT: case VT_R4: case VT_R8: case VT_DECIMAL: case VT_CY: case VT_BOOL:
      return true;
    default:
      return false;
  }
}

long Variant::AsLong() const {
  if (v == nullptr) throw DispatchFailure{DISP_E_PARAMNOTFOUND};
  return Traits<long>::From(*v);
}

std::string Variant::AsString() const {
  if (v == nullptr) return {};
  return Traits<std::string>::From(*v);
}

std::string Traits<std::string>::From(const VARIANT& v) {
  if (v.vt == VT_BSTR) return BstrToUtf8(v.bstrVal);
  if (v.vt == VT_NULL) throw DispatchFailure{DISP_E_TYPEMISMATCH};
  VARIANT t;
  ChangeType(v, VT_BSTR, &t);
  std::string s = BstrToUtf8(t.bstrVal);
  VariantClear(&t);
  return s;
}

void Traits<std::string>::To(const std::string& value, VARIANT* out) {
  out->bstrVal = MakeBstr(value);
  out->vt = VT_BSTR;
}

StringArray Traits<StringArray>::From(const VARIANT& v) {
  if (v.vt == VT_EMPTY) return {};
  if ((v.vt & VT_ARRAY) == 0) throw DispatchFailure{DISP_E_TYPEMISMATCH};
  SAFEARRAY* array = (v.vt & VT_BYREF) != 0 ? (v.pparray ? *v.pparray : nullptr) : v.parray;
  if (array == nullptr) return {};  // an undimensioned array
  if (SafeArrayGetDim(array) != 1) throw DispatchFailure{DISP_E_TYPEMISMATCH};
  LONG lower = 0, upper = -1;
  SafeArrayGetLBound(array, 1, &lower);
  SafeArrayGetUBound(array, 1, &upper);
  if (upper < 0) return {};
  StringArray out(static_cast<size_t>(upper) + 1);
  const VARTYPE element = static_cast<VARTYPE>(v.vt & VT_TYPEMASK);
  for (LONG i = std::max<LONG>(lower, 0); i <= upper; ++i) {
    VARIANT item;
    VariantInit(&item);
    if (element == VT_VARIANT) {
      SafeArrayGetElement(array, &i, &item);
    } else if (element == VT_BSTR) {
      item.vt = VT_BSTR;
      SafeArrayGetElement(array, &i, &item.bstrVal);
    } else {
      throw DispatchFailure{DISP_E_TYPEMISMATCH};
    }
    try {
      out[static_cast<size_t>(i)] = Traits<std::string>::From(item);
    } catch (...) {
      VariantClear(&item);
      throw;
    }
    VariantClear(&item);
  }
  return out;
}

void Traits<StringArray>::To(const StringArray& value, VARIANT* out) {
  // Variant elements, the arrays a script can index.
  SAFEARRAY* array = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(value.size()));
  if (array == nullptr) throw std::bad_alloc();
  for (LONG i = 0; i < static_cast<LONG>(value.size()); ++i) {
    VARIANT item;
    VariantInit(&item);
    Traits<std::string>::To(value[static_cast<size_t>(i)], &item);
    SafeArrayPutElement(array, &i, &item);
    VariantClear(&item);
  }
  out->vt = VT_ARRAY | VT_VARIANT;
  out->parray = array;
}

// --- the COM objects ---

LONG& LiveObjects() {
  static LONG count = 0;
  return count;
}

namespace {

// {5A0E9C3B-7F41-4D2E-9B8A-1C6D3E2F4A50}: asked by this server only, to find
// the model object behind a dispatch object it made.
const IID kIidNativeObject = {0x5a0e9c3b, 0x7f41, 0x4d2e, {0x9b, 0x8a, 0x1c, 0x6d, 0x3e, 0x2f, 0x4a, 0x50}};

HRESULT ExceptionResult(EXCEPINFO* info, HRESULT scode, const std::string& description) {
  if (info == nullptr) return scode;
  *info = EXCEPINFO{};
  info->bstrSource = SysAllocString(L"MandorDLL");
  info->bstrDescription = SysAllocString(Utf8ToWide(description).c_str());
  info->scode = scode;
  return DISP_E_EXCEPTION;
}

class NativeObject;

// The live dispatch object of each (model object, class) pair.
struct Registry {
  SRWLOCK lock = SRWLOCK_INIT;
  std::map<std::pair<const void*, const ClassInfo*>, NativeObject*> objects;
};

Registry& TheRegistry() {
  static Registry* registry = new Registry;  // never destroyed: objects may outlive static destruction
  return *registry;
}

class NativeObject final : public IDispatch {
 public:
  NativeObject(std::shared_ptr<void> object, const ClassInfo& cls, Owned anchor)
      : object_(std::move(object)), cls_(cls), anchor_(std::move(anchor)) {
    RefreshOwners();
    InterlockedIncrement(&LiveObjects());
  }
  ~NativeObject() { InterlockedDecrement(&LiveObjects()); }
  NativeObject(const NativeObject&) = delete;
  NativeObject& operator=(const NativeObject&) = delete;

  const std::shared_ptr<void>& object() const { return object_; }
  const ClassInfo& cls() const { return cls_; }
  LONG refs() const { return refs_; }

  // Takes counted references to the current owner chain (see dispatch.h),
  // dropping those to former owners.
  // Out of memory, it keeps the references it had.
  void RefreshOwners() noexcept {
    try {
      std::vector<std::shared_ptr<void>> chain;
      OwnerChain(object_.get(), cls_, chain);
      if (anchor_.object) {
        chain.push_back(anchor_.object);
        OwnerChain(anchor_.object.get(), *anchor_.cls, chain);
      }
      owners_.swap(chain);
    } catch (...) {
    }
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
    if (out == nullptr) return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IDispatch) || IsEqualIID(riid, cls_.iid) ||
        IsEqualIID(riid, kIidNativeObject)) {
      *out = static_cast<IDispatch*>(this);
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&refs_)); }
  ULONG STDMETHODCALLTYPE Release() override {
    const LONG n = InterlockedDecrement(&refs_);
    if (n == 0) {
      Registry& r = TheRegistry();
      AcquireSRWLockExclusive(&r.lock);
      auto it = r.objects.find({object_.get(), &cls_});
      if (it != r.objects.end() && it->second == this) r.objects.erase(it);
      ReleaseSRWLockExclusive(&r.lock);
      delete this;
    }
    return static_cast<ULONG>(n);
  }

  // The interface's description, from the registered type library.
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    ITypeInfo* info = nullptr;
    *count = SUCCEEDED(GetTypeInfo(0, 0, &info)) ? 1 : 0;
    if (info != nullptr) info->Release();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    ITypeLib* lib = nullptr;
    HRESULT hr = LoadRegTypeLib(kLibId, kLibMajor, kLibMinor, LOCALE_NEUTRAL, &lib);
    if (FAILED(hr)) return hr;
    hr = lib->GetTypeInfoOfGuid(cls_.iid, info);
    lib->Release();
    return hr;
  }

  // The member's id, then for named arguments their positions (0 for the
  // first parameter), as the type library names them.
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    if (names == nullptr || ids == nullptr) return E_POINTER;
    HRESULT hr = S_OK;
    for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
    if (count == 0) return S_OK;
    if (names[0] == nullptr) return DISP_E_UNKNOWNNAME;
    const Member* m = cls_.Find(WideToUtf8(names[0], wcslen(names[0])));
    if (m == nullptr) return DISP_E_UNKNOWNNAME;
    ids[0] = m->id;
    const Accessor& acc = m->method ? m->method : m->get ? m->get : m->let ? m->let : m->set;
    for (UINT i = 1; i < count; ++i) {
      const std::string name = names[i] == nullptr ? std::string() : FoldCase(WideToUtf8(names[i], wcslen(names[i])));
      for (size_t p = 0; p < acc.params.size(); ++p) {
        if (FoldCase(acc.params[p].name) == name) ids[i] = static_cast<DISPID>(p);
      }
      if (ids[i] == DISPID_UNKNOWN) hr = DISP_E_UNKNOWNNAME;
    }
    return hr;
  }

  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                   EXCEPINFO* exception, UINT* arg_error) override {
    const Member* m = cls_.Find(id);
    if (m == nullptr) return DISP_E_MEMBERNOTFOUND;
    DISPPARAMS none = {nullptr, nullptr, 0, 0};
    if (params == nullptr) params = &none;
    if ((params->cArgs > 0 && params->rgvarg == nullptr) || params->cNamedArgs > params->cArgs ||
        (params->cNamedArgs > 0 && params->rgdispidNamedArgs == nullptr)) {
      return E_INVALIDARG;
    }
    const bool put = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    const Accessor* acc = nullptr;
    if ((flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET)) != 0) {
      acc = m->method ? &m->method : m->get ? &m->get : nullptr;
    }
    if (acc == nullptr && (flags & DISPATCH_PROPERTYPUTREF) != 0) acc = m->set ? &m->set : m->let ? &m->let : nullptr;
    if (acc == nullptr && (flags & DISPATCH_PROPERTYPUT) != 0) acc = m->let ? &m->let : m->set ? &m->set : nullptr;
    if (acc == nullptr) return DISP_E_MEMBERNOTFOUND;
    if (put && params->cArgs == 0) return DISP_E_BADPARAMCOUNT;
    // Named arguments are put in their positions, the others marked missing.
    std::vector<VARIANT> ordered;
    DISPPARAMS positional;
    DISPID put_id = DISPID_PROPERTYPUT;
    if (params->cNamedArgs > 0) {
      const HRESULT hr = OrderNamedArguments(*acc, put, params, ordered, arg_error);
      if (FAILED(hr)) return hr;
      positional = {ordered.data(), put ? &put_id : nullptr, static_cast<UINT>(ordered.size()), put ? 1u : 0u};
      params = &positional;
    }
    if (result != nullptr) VariantInit(result);
    struct Refresh {  // the owners may have changed, whatever the outcome
      NativeObject* self;
      ~Refresh() { self->RefreshOwners(); }
    } refresh{this};
    try {
      if (!put && params->cArgs > acc->params.size()) return InvokeDefaultOfResult(*acc, params, result, exception,
                                                                                     arg_error);
      Args args(params, put, acc->params.size());
      acc->call(object_, args, result);
      return S_OK;
    } catch (const DispatchFailure& f) {
      if (result != nullptr) VariantClear(result);
      if (arg_error != nullptr) *arg_error = f.arg;
      // A value that does not convert is the automation error every host
      // reports alike (JScript numbers the bare failure codes its own way).
      if (f.hr == DISP_E_TYPEMISMATCH || f.hr == DISP_E_OVERFLOW) {
        const int number = f.hr == DISP_E_OVERFLOW ? kOverflow : kTypeMismatch;
        return ExceptionResult(exception, MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, number),
                               Error::DefaultDescription(number));
      }
      return f.hr;
    } catch (const Error& e) {
      if (result != nullptr) VariantClear(result);
      return ExceptionResult(exception, MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, e.number()), e.what());
    } catch (const std::bad_alloc&) {
      if (result != nullptr) VariantClear(result);
      return E_OUTOFMEMORY;
    } catch (const std::exception& e) {
      if (result != nullptr) VariantClear(result);
      return ExceptionResult(exception, E_UNEXPECTED, e.what());
    } catch (...) {
      if (result != nullptr) VariantClear(result);
      return ExceptionResult(exception, E_UNEXPECTED, "Unexpected failure in MandorDLL");
    }
  }

 private:
  // Rewrites params, some of whose arguments are named, into ordered: all in
  // parameter order (reversed, as DISPPARAMS keeps them), named positions
  // left empty marked missing, and for a put the assigned value first.
  static HRESULT OrderNamedArguments(const Accessor& acc, bool put, const DISPPARAMS* params,
                                     std::vector<VARIANT>& ordered, UINT* arg_error) {
    const UINT named = params->cNamedArgs;
    const UINT positional = params->cArgs - named;
    const VARIANT* value = nullptr;
    std::vector<const VARIANT*> slots(positional, nullptr);
    for (UINT i = 0; i < positional; ++i) slots[i] = &params->rgvarg[params->cArgs - 1 - i];
    for (UINT j = 0; j < named; ++j) {
      const DISPID id = params->rgdispidNamedArgs[j];
      if (put && id == DISPID_PROPERTYPUT) {
        value = &params->rgvarg[j];
        continue;
      }
      const size_t own = acc.params.size() - (put ? 1 : 0);
      if (id < 0 || static_cast<size_t>(id) >= own) {
        if (arg_error != nullptr) *arg_error = j;
        return DISP_E_PARAMNOTFOUND;
      }
      if (slots.size() <= static_cast<size_t>(id)) slots.resize(static_cast<size_t>(id) + 1, nullptr);
      if (slots[static_cast<size_t>(id)] != nullptr) {  // given twice
        if (arg_error != nullptr) *arg_error = j;
        return DISP_E_PARAMNOTFOUND;
      }
      slots[static_cast<size_t>(id)] = &params->rgvarg[j];
    }
    if (put && value == nullptr) return DISP_E_PARAMNOTFOUND;
    VARIANT missing;
    VariantInit(&missing);
    missing.vt = VT_ERROR;
    missing.scode = DISP_E_PARAMNOTFOUND;
    if (put) ordered.push_back(*value);
    for (size_t i = slots.size(); i-- > 0;) ordered.push_back(slots[i] != nullptr ? *slots[i] : missing);
    return S_OK;
  }

  // obj.Pages(1): a property without arguments called with some hands them
  // to the default member of the object it returns.
  HRESULT InvokeDefaultOfResult(const Accessor& acc, DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                                UINT* arg_error) {
    const UINT own = static_cast<UINT>(acc.params.size());
    const UINT rest = params->cArgs - own;
    DISPPARAMS first = {params->rgvarg + rest, nullptr, own, 0};
    Args args(&first);
    VARIANT object;
    VariantInit(&object);
    acc.call(object_, args, &object);
    if (object.vt != VT_DISPATCH || object.pdispVal == nullptr) {
      VariantClear(&object);
      return DISP_E_BADPARAMCOUNT;
    }
    DISPPARAMS second = {params->rgvarg, nullptr, rest, 0};
    const HRESULT hr = object.pdispVal->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT,
                                               DISPATCH_METHOD | DISPATCH_PROPERTYGET, &second, result, exception,
                                               arg_error);
    VariantClear(&object);
    return hr;
  }

  LONG refs_ = 0;
  std::shared_ptr<void> object_;
  const ClassInfo& cls_;
  Owned anchor_;
  std::vector<std::shared_ptr<void>> owners_;
};

// IEnumVARIANT over a snapshot of a collection.
class Enumerator final : public ComObject<IEnumVARIANT, IID_IEnumVARIANT> {
 public:
  Enumerator(std::vector<std::shared_ptr<void>> items, const ClassInfo& cls, size_t position = 0)
      : items_(std::move(items)), cls_(cls), position_(position) {}

  HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* out, ULONG* fetched) override {
    if (out == nullptr) return E_POINTER;
    ULONG n = 0;
    while (n < count && position_ < items_.size()) {
      VariantInit(&out[n]);
      out[n].vt = VT_DISPATCH;
      out[n].pdispVal = Wrap(items_[position_++], cls_);
      ++n;
    }
    if (fetched != nullptr) *fetched = n;
    return n == count ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
    const size_t left = items_.size() - position_;
    position_ += std::min<size_t>(count, left);
    return count <= left ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Reset() override {
    position_ = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** out) override {
    if (out == nullptr) return E_POINTER;
    try {
      *out = new Enumerator(items_, cls_, position_);
    } catch (const std::bad_alloc&) {
      *out = nullptr;
      return E_OUTOFMEMORY;
    }
    (*out)->AddRef();
    return S_OK;
  }

 private:
  std::vector<std::shared_ptr<void>> items_;
  const ClassInfo& cls_;
  size_t position_;
};

}  // namespace

void OwnerChain(const void* object, const ClassInfo& cls, std::vector<std::shared_ptr<void>>& out) {
  std::vector<Owned> pending;
  if (cls.owners != nullptr) cls.owners(object, pending);
  while (!pending.empty()) {
    Owned next = std::move(pending.back());
    pending.pop_back();
    if (!next.object || std::find(out.begin(), out.end(), next.object) != out.end()) continue;
    if (next.cls->owners != nullptr) next.cls->owners(next.object.get(), pending);
    out.push_back(std::move(next.object));
  }
}

IDispatch* Wrap(std::shared_ptr<void> object, const ClassInfo& cls, Owned anchor) {
  if (!object) return nullptr;
  Registry& r = TheRegistry();
  AcquireSRWLockExclusive(&r.lock);
  NativeObject* disp = nullptr;
  try {
    NativeObject*& slot = r.objects[{object.get(), &cls}];
    // An object whose count reached 0 is on its way out: replace it.
    if (slot == nullptr || slot->refs() == 0) slot = new NativeObject(std::move(object), cls, std::move(anchor));
    disp = slot;
    disp->AddRef();
  } catch (...) {
    ReleaseSRWLockExclusive(&r.lock);
    throw;
  }
  ReleaseSRWLockExclusive(&r.lock);
  // Handed out again: its owners may have changed since.
  disp->RefreshOwners();
  return disp;
}

std::shared_ptr<void> Unwrap(IUnknown* disp, const ClassInfo& cls) {
  if (disp == nullptr) return nullptr;
  void* raw = nullptr;
  if (FAILED(disp->QueryInterface(kIidNativeObject, &raw)) || raw == nullptr) ThrowError(kTypeMismatch);
  auto* native = static_cast<NativeObject*>(static_cast<IDispatch*>(raw));
  std::shared_ptr<void> object = &native->cls() == &cls ? native->object() : nullptr;
  native->Release();
  if (!object) ThrowError(kTypeMismatch);
  return object;
}

void MakeEnumerator(std::vector<std::shared_ptr<void>> items, const ClassInfo& cls, VARIANT* result) {
  if (result == nullptr) return;
  auto* e = new Enumerator(std::move(items), cls);
  e->AddRef();
  result->vt = VT_UNKNOWN;
  result->punkVal = e;
}

}  // namespace mandor::server
