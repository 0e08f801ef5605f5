// Checks the registered type library of MandorDLL as an early-binding host
// sees it: members under their exact names with their kinds and ids, each
// collection's item type, by-reference parameters; given the 32-bit DLL, that
// its embedded library is a 32-bit one with as many types. Run under Wine by
// run_com_tests.sh; prints one line per failure, exits with their number.
#include <windows.h>
#include <oleauto.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

int failures = 0;

void Fail(const std::wstring& what) {
  ++failures;
  std::fwprintf(stdout, L"FAIL %ls\n", what.c_str());
}

struct Releaser {
  void operator()(IUnknown* p) const { p->Release(); }
};
using Info = std::unique_ptr<ITypeInfo, Releaser>;

// The name of a type or (with a member id) of a member.
std::wstring NameOf(ITypeInfo* info, MEMBERID id = MEMBERID_NIL) {
  BSTR name = nullptr;
  info->GetDocumentation(id, &name, nullptr, nullptr, nullptr);
  std::wstring out = name != nullptr ? name : L"";
  SysFreeString(name);
  return out;
}

// The type named exactly `name`; null (and, when `needed`, a failure) when there is none.
Info FindType(ITypeLib* lib, const std::wstring& name, bool needed = true) {
  for (UINT i = 0; i < lib->GetTypeInfoCount(); ++i) {
    ITypeInfo* info = nullptr;
    if (SUCCEEDED(lib->GetTypeInfo(i, &info)) && NameOf(info) == name) return Info(info);
    if (info != nullptr) info->Release();
  }
  if (needed) Fail(name + L" missing");
  return nullptr;
}

// The description of member `name` with the given kind, found by the type
// library's own name lookup, or null (release with ReleaseFuncDesc).
FUNCDESC* FindFunc(ITypeInfo* info, const wchar_t* name, INVOKEKIND kind) {
  LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
  MEMBERID id = 0;
  if (FAILED(info->GetIDsOfNames(names, 1, &id))) return nullptr;
  TYPEATTR* attr = nullptr;
  info->GetTypeAttr(&attr);
  FUNCDESC* found = nullptr;
  for (UINT i = 0; i < attr->cFuncs && found == nullptr; ++i) {
    info->GetFuncDesc(i, &found);
    if (found->memid != id || found->invkind != kind) {
      info->ReleaseFuncDesc(found);
      found = nullptr;
    }
  }
  info->ReleaseTypeAttr(attr);
  return found;
}

// The interface a pointer type names ("_CPage" for _CPage*), or "".
std::wstring PointedInterface(ITypeInfo* info, const TYPEDESC& t) {
  ITypeInfo* target = nullptr;
  if (t.vt != VT_PTR || t.lptdesc == nullptr || t.lptdesc->vt != VT_USERDEFINED ||
      FAILED(info->GetRefTypeInfo(t.lptdesc->hreftype, &target))) {
    return L"";
  }
  return NameOf(Info(target).get());
}

// Each collection hands out and takes its own item type; the generic
// _Collection is gone.
void CheckCollections(ITypeLib* lib, const std::wstring& label) {
  for (const auto& [collection, item] : {std::pair<const wchar_t*, std::wstring>{L"_CPageCollection", L"_CPage"},
                                         {L"_CChampCollection", L"_CChamp"},
                                         {L"_CRegleCollection", L"_CRegle"},
                                         {L"_DocCollection", L"_Doc"}}) {
    const Info info = FindType(lib, collection);
    if (!info) continue;
    FUNCDESC* get = FindFunc(info.get(), L"Item", INVOKE_PROPERTYGET);
    FUNCDESC* add = FindFunc(info.get(), L"Add", INVOKE_FUNC);
    if (get == nullptr || get->memid != DISPID_VALUE || PointedInterface(info.get(), get->elemdescFunc.tdesc) != item) {
      Fail(label + L" " + collection + L".Item does not return " + item);
    }
    if (add == nullptr || add->cParams != 4 || PointedInterface(info.get(), add->lprgelemdescParam[0].tdesc) != item) {
      Fail(label + L" " + collection + L".Add does not take " + item);
    }
    if (get != nullptr) info->ReleaseFuncDesc(get);
    if (add != nullptr) info->ReleaseFuncDesc(add);
  }
  if (FindType(lib, L"_Collection", false)) Fail(label + L" still has _Collection");
}

// The sizes the type records of a type library file store: 32-bit ones for a
// 32-bit library (Wine's loader reports its own process's sizes instead).
void CheckStoredSizes(const unsigned char* file, size_t size, int pointer) {
  auto word = [&](size_t at) {
    int32_t v = 0;
    if (at + 4 <= size) std::memcpy(&v, file + at, 4);
    return v;
  };
  if (size < 0x60 || word(0) != 0x5446534d) return Fail(L"32-bit: not a type library");
  const int32_t count = word(0x20);
  const size_t offsets = 0x54 + ((word(0x14) & 0x100) != 0 ? 4 : 0);
  const size_t types = static_cast<size_t>(word(offsets + 4 * static_cast<size_t>(count)));
  if (count <= 0) Fail(L"32-bit: no types");
  for (int32_t i = 0; i < count; ++i) {
    const size_t at = types + static_cast<size_t>(word(offsets + 4 * static_cast<size_t>(i)));
    const int32_t kind = word(at), funcs = word(at + 24) & 0xffff;
    int16_t vft = 0;
    if (at + 80 <= size) std::memcpy(&vft, file + at + 78, 2);
    // A dispatch interface's table: IDispatch's seven entries, then its own members.
    if (word(at + 80) != pointer || ((kind >> 11) & 0x1f) != pointer ||
        ((kind & 0xf) == TKIND_DISPATCH && vft != (funcs + 7) * pointer)) {
      Fail(L"32-bit: type " + std::to_wstring(i) + L" stores sizes for another system");
    }
  }
}

// The 32-bit DLL, which this 64-bit process can only read.
void Check32BitLibrary(const wchar_t* path, ITypeLib* reference) {
  ITypeLib* lib = nullptr;
  if (FAILED(LoadTypeLibEx(path, REGKIND_NONE, &lib))) return Fail(L"the 32-bit DLL's type library does not load");
  TLIBATTR* attr = nullptr;
  lib->GetLibAttr(&attr);
  if (attr->syskind != SYS_WIN32) Fail(L"the 32-bit type library is not SYS_WIN32");
  lib->ReleaseTLibAttr(attr);
  if (lib->GetTypeInfoCount() != reference->GetTypeInfoCount()) Fail(L"the 32-bit library has other types");
  CheckCollections(lib, L"32-bit");
  lib->Release();
  HMODULE dll = LoadLibraryExW(path, nullptr, LOAD_LIBRARY_AS_DATAFILE);
  HRSRC res = dll ? FindResourceW(dll, MAKEINTRESOURCEW(1), L"TYPELIB") : nullptr;
  HGLOBAL data = res ? LoadResource(dll, res) : nullptr;
  if (data == nullptr) {
    Fail(L"the 32-bit DLL has no TYPELIB resource");
  } else {
    CheckStoredSizes(static_cast<const unsigned char*>(LockResource(data)), SizeofResource(dll, res), 4);
  }
  if (dll != nullptr) FreeLibrary(dll);
}

// A parameter: name, type (VT_PTR for by reference, with its target's).
struct Param { const wchar_t* name; VARTYPE vt, target; };

// Checks the member's parameters and result: a type, or an interface pointer when `result_interface` is given.
void CheckSignature(ITypeLib* lib, const wchar_t* iface, const wchar_t* member, INVOKEKIND kind,
                    const std::vector<Param>& params, VARTYPE result, const wchar_t* result_interface = nullptr) {
  const Info info = FindType(lib, iface);
  if (!info) return;
  const std::wstring what = std::wstring(iface) + L"." + member;
  FUNCDESC* fd = FindFunc(info.get(), member, kind);
  if (fd == nullptr) return Fail(what + L" missing");
  if (fd->cParams != static_cast<SHORT>(params.size())) {
    Fail(what + L" has " + std::to_wstring(fd->cParams) + L" parameters");
  } else {
    std::vector<BSTR> names(params.size() + 1, nullptr);
    UINT got = 0;
    info->GetNames(fd->memid, names.data(), static_cast<UINT>(names.size()), &got);
    for (size_t i = 0; i < params.size(); ++i) {
      const TYPEDESC& t = fd->lprgelemdescParam[i].tdesc;
      const bool name_ok = i + 1 < got && names[i + 1] != nullptr && std::wstring(names[i + 1]) == params[i].name;
      const bool type_ok = t.vt == params[i].vt && (t.vt != VT_PTR || (t.lptdesc && t.lptdesc->vt == params[i].target));
      if (!name_ok || !type_ok) Fail(what + L" parameter " + params[i].name);
    }
    for (BSTR b : names) SysFreeString(b);
  }
  const TYPEDESC& r = fd->elemdescFunc.tdesc;
  if (result_interface != nullptr ? PointedInterface(info.get(), r) != result_interface : r.vt != result) {
    Fail(what + L" result type");
  }
  info->ReleaseFuncDesc(fd);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  CoInitialize(nullptr);
  // {FCA4A274-897C-5236-8829-FD5012D6331C}
  const GUID libid = {0xfca4a274, 0x897c, 0x5236, {0x88, 0x29, 0xfd, 0x50, 0x12, 0xd6, 0x33, 0x1c}};
  ITypeLib* lib = nullptr;
  if (FAILED(LoadRegTypeLib(libid, 1, 0, LOCALE_NEUTRAL, &lib))) {
    Fail(L"type library not registered");
    return failures;
  }
  BSTR name = nullptr;
  lib->GetDocumentation(-1, &name, nullptr, nullptr, nullptr);
  if (name == nullptr || std::wstring(name) != L"MandorDLL") Fail(L"library name");
  SysFreeString(name);

  // Members under their exact names with every accessor kind given and their
  // standard id, if any (DISPID_VALUE is 0, so "any" is MEMBERID_NIL).
  const int get = INVOKE_PROPERTYGET, let = INVOKE_PROPERTYPUT, set = INVOKE_PROPERTYPUTREF, func = INVOKE_FUNC;
  const MEMBERID any = MEMBERID_NIL;
  const struct { const wchar_t *iface, *member; int kinds; MEMBERID id; } members[] = {
      {L"_Mandor", L"Répertoire_Document", get | let, any}, {L"_Mandor", L"CalculerParamètresCalage", func, any},
      {L"_Mandor", L"ChampsCachés", get | set, any},        {L"_cMarquage", L"Item", get, DISPID_VALUE},
      {L"_cMarquage", L"NewEnum", get, DISPID_NEWENUM},     {L"_CChamp", L"DonnéesImportées", get | let, any},
      {L"_CChamp", L"oRegleH", get | set, any},             {L"_CRegle", L"Décimales", get | let, any},
      {L"_Devises", L"Item", func, DISPID_VALUE},           {L"_Doc", L"Séparateur", get | let, any},
      {L"_CPageCollection", L"_NewEnum", get, DISPID_NEWENUM}, {L"_CRegle", L"Etiquette", get | set, any},
  };
  for (const auto& m : members) {
    const Info info = FindType(lib, m.iface);
    if (!info) continue;
    const std::wstring what = std::wstring(m.iface) + L"." + m.member;
    for (const int kind : {func, get, let, set}) {
      if ((m.kinds & kind) == 0) continue;
      FUNCDESC* fd = FindFunc(info.get(), m.member, static_cast<INVOKEKIND>(kind));
      // The exact spelling, not only a match without regard to case.
      if (fd == nullptr || NameOf(info.get(), fd->memid) != m.member) {
        Fail(what + L" missing or lacks an accessor kind");
      } else if (m.id != any && fd->memid != m.id) {
        Fail(what + L" has the wrong id");
      }
      if (fd != nullptr) info->ReleaseFuncDesc(fd);
    }
  }
  CheckCollections(lib, L"64-bit");
  // Object slots are objects; by-reference and optional parameters have their
  // types and names; members a host cannot call are declared as they are.
  CheckSignature(lib, L"_CChamp", L"Controle", INVOKE_PROPERTYGET, {}, VT_DISPATCH);
  CheckSignature(lib, L"_CRegle", L"ToggleVersion", INVOKE_FUNC, {{L"bNew", VT_PTR, VT_BOOL}}, VT_VOID);
  CheckSignature(lib, L"_Mandor", L"SauvegarderMarquageEx", INVOKE_FUNC,
                 {{L"Confirmation", VT_BOOL, 0}, {L"WithQte", VT_PTR, VT_BOOL}}, VT_I2);
  CheckSignature(lib, L"_cMarquage", L"AddItemWithNode", INVOKE_FUNC,
                 {{L"oNode", VT_DISPATCH, 0}, {L"sPath", VT_BSTR, 0}}, VT_PTR, L"_Mandor");
  if (argc > 1) Check32BitLibrary(argv[1], lib);
  lib->Release();
  std::printf("typelib: %d failures\n", failures);
  CoUninitialize();
  return failures;
}
