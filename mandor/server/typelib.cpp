#include "mandor/server/typelib.h"

#include <map>
#include <vector>

#include "mandor/server/dispatch.h"

namespace mandor::server {

namespace {

// Releases a COM pointer at the end of a scope.
template <class T>
struct ComPtr {
  T* p = nullptr;
  ~ComPtr() {
    if (p != nullptr) p->Release();
  }
  T** operator&() { return &p; }
  T* operator->() const { return p; }
};

#define RETURN_IF_FAILED(expr)     \
  do {                             \
    const HRESULT hr_ = (expr);    \
    if (FAILED(hr_)) return hr_;   \
  } while (0)

class TypeLibWriter {
 public:
  explicit TypeLibWriter(ICreateTypeLib2* lib) : lib_(lib) {}
  ~TypeLibWriter() {
    for (auto& [cls, info] : interfaces_) info->Release();
  }
  TypeLibWriter(const TypeLibWriter&) = delete;
  TypeLibWriter& operator=(const TypeLibWriter&) = delete;

  HRESULT Write(const std::vector<const ClassInfo*>& classes) {
    ComPtr<ITypeLib> stdole;
    RETURN_IF_FAILED(LoadTypeLib(L"stdole2.tlb", &stdole));
    RETURN_IF_FAILED(stdole->GetTypeInfoOfGuid(IID_IDispatch, &dispatch_));
    // Declare every interface first, so that members can name any of them.
    for (const ClassInfo* cls : classes) RETURN_IF_FAILED(Declare(*cls));
    for (const ClassInfo* cls : classes) RETURN_IF_FAILED(AddMembers(*cls));
    for (const ClassInfo* cls : classes) {
      if (cls->creatable) RETURN_IF_FAILED(AddCoclass(*cls));
    }
    for (auto& [cls, info] : interfaces_) RETURN_IF_FAILED(info->LayOut());
    return lib_->SaveAllChanges();
  }

 private:
  HRESULT Declare(const ClassInfo& cls) {
    ICreateTypeInfo* info = nullptr;
    const std::wstring name = Utf8ToWide("_" + cls.name);
    RETURN_IF_FAILED(lib_->CreateTypeInfo(const_cast<LPOLESTR>(name.c_str()), TKIND_DISPATCH, &info));
    interfaces_[&cls] = info;
    RETURN_IF_FAILED(info->SetGuid(cls.iid));
    RETURN_IF_FAILED(info->SetTypeFlags(static_cast<UINT>(TYPEFLAG_FDISPATCHABLE)));
    HREFTYPE base;
    RETURN_IF_FAILED(info->AddRefTypeInfo(dispatch_.p, &base));
    return info->AddImplType(0, base);
  }

  // The type description of t (with storage for a pointer's target in *inner).
  HRESULT Describe(ICreateTypeInfo* owner, const TypeSpec& t, bool byref, TYPEDESC* desc, TYPEDESC* inner) {
    *desc = TYPEDESC{};
    *inner = TYPEDESC{};
    VARTYPE vt = t.vt == VT_EMPTY ? static_cast<VARTYPE>(VT_VOID) : t.vt;
    if (vt == VT_DISPATCH && t.cls != nullptr) {
      auto it = interfaces_.find(&t.cls());
      if (it != interfaces_.end()) {
        ComPtr<ITypeInfo> target;
        RETURN_IF_FAILED(it->second->QueryInterface(IID_ITypeInfo, reinterpret_cast<void**>(&target)));
        inner->vt = VT_USERDEFINED;
        RETURN_IF_FAILED(owner->AddRefTypeInfo(target.p, &inner->hreftype));
        desc->vt = VT_PTR;
        desc->lptdesc = inner;
        return S_OK;
      }
    }
    if ((vt & VT_ARRAY) != 0) vt = VT_VARIANT;  // arrays cross in variants
    if (byref) {
      inner->vt = vt;
      desc->vt = VT_PTR;
      desc->lptdesc = inner;
    } else {
      desc->vt = vt;
    }
    return S_OK;
  }

  HRESULT AddAccessor(ICreateTypeInfo* info, UINT& index, const Member& m, const Accessor& acc, INVOKEKIND kind) {
    if (!acc) return S_OK;
    const size_t n = acc.params.size();
    std::vector<ELEMDESC> params(n);
    std::vector<TYPEDESC> inner(n);
    for (size_t i = 0; i < n; ++i) {
      const ParamSpec& p = acc.params[i];
      params[i] = ELEMDESC{};
      RETURN_IF_FAILED(Describe(info, p.type, p.byref, &params[i].tdesc, &inner[i]));
      params[i].paramdesc.wParamFlags =
          static_cast<USHORT>(PARAMFLAG_FIN | (p.byref ? PARAMFLAG_FOUT : 0u) | (p.optional ? PARAMFLAG_FOPT : 0u));
    }
    FUNCDESC fd{};
    fd.memid = m.id;
    fd.funckind = FUNC_DISPATCH;
    fd.invkind = kind;
    fd.callconv = CC_STDCALL;
    fd.cParams = static_cast<SHORT>(n);
    fd.lprgelemdescParam = params.data();
    TYPEDESC result_inner{};
    const bool put = kind == INVOKE_PROPERTYPUT || kind == INVOKE_PROPERTYPUTREF;
    RETURN_IF_FAILED(Describe(info, put ? TypeSpec{} : acc.result, false, &fd.elemdescFunc.tdesc, &result_inner));
    if (m.id == DISPID_NEWENUM) fd.wFuncFlags = FUNCFLAG_FRESTRICTED | FUNCFLAG_FHIDDEN;
    if (m.id == DISPID_VALUE) fd.wFuncFlags = FUNCFLAG_FUIDEFAULT;
    RETURN_IF_FAILED(info->AddFuncDesc(index, &fd));
    // Names: the member, then its parameters; a put's value is not named.
    std::vector<std::wstring> names = {Utf8ToWide(m.name)};
    for (size_t i = 0; i < n - (put ? 1 : 0); ++i) names.push_back(Utf8ToWide(acc.params[i].name));
    std::vector<LPOLESTR> raw;
    for (std::wstring& s : names) raw.push_back(s.data());
    RETURN_IF_FAILED(info->SetFuncAndParamNames(index, raw.data(), static_cast<UINT>(raw.size())));
    ++index;
    return S_OK;
  }

  HRESULT AddMembers(const ClassInfo& cls) {
    ICreateTypeInfo* info = interfaces_[&cls];
    UINT index = 0;
    for (const Member& m : cls.members) {
      RETURN_IF_FAILED(AddAccessor(info, index, m, m.method, INVOKE_FUNC));
      RETURN_IF_FAILED(AddAccessor(info, index, m, m.get, INVOKE_PROPERTYGET));
      RETURN_IF_FAILED(AddAccessor(info, index, m, m.let, INVOKE_PROPERTYPUT));
      RETURN_IF_FAILED(AddAccessor(info, index, m, m.set, INVOKE_PROPERTYPUTREF));
    }
    return S_OK;
  }

  HRESULT AddCoclass(const ClassInfo& cls) {
    ComPtr<ICreateTypeInfo> coclass;
    const std::wstring name = Utf8ToWide(cls.name);
    RETURN_IF_FAILED(lib_->CreateTypeInfo(const_cast<LPOLESTR>(name.c_str()), TKIND_COCLASS, &coclass));
    RETURN_IF_FAILED(coclass->SetGuid(cls.clsid));
    RETURN_IF_FAILED(coclass->SetTypeFlags(TYPEFLAG_FCANCREATE));
    ComPtr<ITypeInfo> iface;
    RETURN_IF_FAILED(interfaces_[&cls]->QueryInterface(IID_ITypeInfo, reinterpret_cast<void**>(&iface)));
    HREFTYPE ref;
    RETURN_IF_FAILED(coclass->AddRefTypeInfo(iface.p, &ref));
    RETURN_IF_FAILED(coclass->AddImplType(0, ref));
    RETURN_IF_FAILED(coclass->SetImplTypeFlags(0, IMPLTYPEFLAG_FDEFAULT));
    return coclass->LayOut();
  }

  ICreateTypeLib2* lib_;
  ComPtr<ITypeInfo> dispatch_;
  std::map<const ClassInfo*, ICreateTypeInfo*> interfaces_;
};

}  // namespace

HRESULT WriteTypeLib(const std::wstring& path, SYSKIND syskind) {
  ComPtr<ICreateTypeLib2> lib;
  RETURN_IF_FAILED(CreateTypeLib2(syskind, path.c_str(), &lib));
  RETURN_IF_FAILED(lib->SetName(const_cast<LPOLESTR>(L"MandorDLL")));
  RETURN_IF_FAILED(lib->SetGuid(kLibId));
  RETURN_IF_FAILED(lib->SetVersion(kLibMajor, kLibMinor));
  RETURN_IF_FAILED(lib->SetLcid(LOCALE_NEUTRAL));
  RETURN_IF_FAILED(lib->SetDocString(const_cast<LPOLESTR>(L"MandorDLL: markings of scanned tender documents")));
  std::vector<const ClassInfo*> classes = CreatableClasses();
  for (const ClassInfo* cls : CollectionClasses()) classes.push_back(cls);
  TypeLibWriter writer(lib.p);
  return writer.Write(classes);
}

}  // namespace mandor::server
