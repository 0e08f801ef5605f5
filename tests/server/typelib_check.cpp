// Checks the registered type library of MandorDLL the way an early-binding
// host or an object browser sees it: the library by its name, the dispatch
// interfaces and coclasses, members under their exact names (accents
// included) with their kinds and standard ids, the item type of each
// collection, and the parameters of the members a host cannot call. Given
// the 32-bit DLL (typelib_check [MandorDLL32.dll]) it checks that its
// embedded library is a 32-bit one with the same interfaces. Run under Wine
// by run_com_tests.sh after registration; prints one line per failure and
// exits with the number of failures.
#include <windows.h>
#include <oleauto.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

int failures = 0;

void Fail(const std::wstring& what) {
  ++failures;
  std::fwprintf(stdout, L"FAIL %ls\n", what.c_str());
}

// The member `name` of `info`, found by the type library's own name lookup.
bool FindMember(ITypeInfo* info, const wchar_t* name, MEMBERID* id) {
  LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
  return SUCCEEDED(info->GetIDsOfNames(names, 1, id));
}

// Checks that `name` is a member of the interface with the given kinds and, when id is not 0, that DISPID.
void CheckMember(ITypeInfo* info, const wchar_t* iface, const wchar_t* name, INVOKEKIND kinds, MEMBERID expected) {
  MEMBERID id = 0;
  if (!FindMember(info, name, &id)) {
    Fail(std::wstring(iface) + L"." + name + L" missing");
    return;
  }
  if (expected != 0 && id != expected) Fail(std::wstring(iface) + L"." + name + L" has the wrong id");
  TYPEATTR* attr = nullptr;
  info->GetTypeAttr(&attr);
  int found = 0;
  for (UINT i = 0; i < attr->cFuncs; ++i) {
    FUNCDESC* fd = nullptr;
    info->GetFuncDesc(i, &fd);
    BSTR fname = nullptr;
    UINT n = 0;
    info->GetNames(fd->memid, &fname, 1, &n);
    // The exact spelling, not only a match without regard to case.
    if (fd->memid == id && fname != nullptr && std::wstring(fname) == name) found |= fd->invkind;
    SysFreeString(fname);
    info->ReleaseFuncDesc(fd);
  }
  info->ReleaseTypeAttr(attr);
  if ((found & kinds) != kinds) Fail(std::wstring(iface) + L"." + name + L" lacks an accessor kind");
}

// The type named exactly `name`; null (and a failure) when there is none.
ITypeInfo* FindType(ITypeLib* lib, const std::wstring& name) {
  for (UINT i = 0; i < lib->GetTypeInfoCount(); ++i) {
    BSTR type_name = nullptr;
    lib->GetDocumentation(static_cast<INT>(i), &type_name, nullptr, nullptr, nullptr);
    const bool match = type_name != nullptr && name == type_name;
    SysFreeString(type_name);
    ITypeInfo* info = nullptr;
    if (match && SUCCEEDED(lib->GetTypeInfo(i, &info))) return info;
  }
  Fail(name + L" missing");
  return nullptr;
}

// The interface a pointer type names ("_CPage" for _CPage*), or "".
std::wstring PointedInterface(ITypeInfo* info, const TYPEDESC& t) {
  if (t.vt != VT_PTR || t.lptdesc == nullptr || t.lptdesc->vt != VT_USERDEFINED) return L"";
  ITypeInfo* target = nullptr;
  if (FAILED(info->GetRefTypeInfo(t.lptdesc->hreftype, &target))) return L"";
  BSTR name = nullptr;
  target->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr);
  std::wstring out = name != nullptr ? name : L"";
  SysFreeString(name);
  target->Release();
  return out;
}

// The description of member `name` with the given kind, or null (release with ReleaseFuncDesc).
FUNCDESC* FindFunc(ITypeInfo* info, const wchar_t* name, INVOKEKIND kind) {
  MEMBERID id = 0;
  if (!FindMember(info, name, &id)) return nullptr;
  TYPEATTR* attr = nullptr;
  info->GetTypeAttr(&attr);
  FUNCDESC* found = nullptr;
  for (UINT i = 0; i < attr->cFuncs && found == nullptr; ++i) {
    FUNCDESC* fd = nullptr;
    info->GetFuncDesc(i, &fd);
    if (fd->memid == id && fd->invkind == kind) {
      found = fd;
    } else {
      info->ReleaseFuncDesc(fd);
    }
  }
  info->ReleaseTypeAttr(attr);
  return found;
}

// Each collection hands out and takes its own item type.
void CheckCollections(ITypeLib* lib, const wchar_t* label) {
  const struct {
    const wchar_t* collection;
    const wchar_t* item;
  } collections[] = {{L"_CPageCollection", L"_CPage"},
                     {L"_CChampCollection", L"_CChamp"},
                     {L"_CRegleCollection", L"_CRegle"},
                     {L"_DocCollection", L"_Doc"}};
  for (const auto& c : collections) {
    ITypeInfo* info = FindType(lib, c.collection);
    if (info == nullptr) continue;
    const std::wstring what = std::wstring(label) + L" " + c.collection;
    FUNCDESC* item = FindFunc(info, L"Item", INVOKE_PROPERTYGET);
    if (item == nullptr || item->memid != DISPID_VALUE || PointedInterface(info, item->elemdescFunc.tdesc) != c.item) {
      Fail(what + L".Item does not return " + c.item);
    }
    if (item != nullptr) info->ReleaseFuncDesc(item);
    FUNCDESC* add = FindFunc(info, L"Add", INVOKE_FUNC);
    if (add == nullptr || add->cParams != 4 || PointedInterface(info, add->lprgelemdescParam[0].tdesc) != c.item) {
      Fail(what + L".Add does not take " + c.item);
    }
    if (add != nullptr) info->ReleaseFuncDesc(add);
    info->Release();
  }
  for (UINT i = 0; i < lib->GetTypeInfoCount(); ++i) {
    BSTR name = nullptr;
    lib->GetDocumentation(static_cast<INT>(i), &name, nullptr, nullptr, nullptr);
    if (name != nullptr && std::wstring(name) == L"_Collection") Fail(std::wstring(label) + L" still has _Collection");
    SysFreeString(name);
  }
}

// Parameters of a method: names, types (VT_PTR for by reference, with its target) and the result.
struct ParamExpect {
  const wchar_t* name;
  VARTYPE vt;
  VARTYPE target;  // for VT_PTR
};

void CheckSignature(ITypeLib* lib, const wchar_t* iface, const wchar_t* member, INVOKEKIND kind,
                    std::vector<ParamExpect> params, VARTYPE result, const wchar_t* result_interface = nullptr) {
  ITypeInfo* info = FindType(lib, iface);
  if (info == nullptr) return;
  const std::wstring what = std::wstring(iface) + L"." + member;
  FUNCDESC* fd = FindFunc(info, member, kind);
  if (fd == nullptr) {
    Fail(what + L" missing");
    info->Release();
    return;
  }
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
  if (result_interface != nullptr) {
    if (PointedInterface(info, r) != result_interface) Fail(what + L" result type");
  } else if (r.vt != result) {
    Fail(what + L" result type");
  }
  info->ReleaseFuncDesc(fd);
  info->Release();
}

// The sizes the type records of a type library file store: 32-bit ones for a
// 32-bit library (Wine's loader reports its own process's sizes instead).
void CheckStoredSizes(const unsigned char* file, size_t size, int pointer, const wchar_t* label) {
  auto word = [&](size_t at) {
    int32_t v = 0;
    if (at + 4 <= size) std::memcpy(&v, file + at, 4);
    return v;
  };
  if (size < 0x60 || word(0) != 0x5446534d) {
    Fail(std::wstring(label) + L": not a type library");
    return;
  }
  const int32_t count = word(0x20);
  const size_t offsets = 0x54 + ((word(0x14) & 0x100) != 0 ? 4 : 0);
  const size_t types = static_cast<size_t>(word(offsets + 4 * static_cast<size_t>(count)));
  if (count <= 0) Fail(std::wstring(label) + L": no types");
  for (int32_t i = 0; i < count; ++i) {
    const size_t at = types + static_cast<size_t>(word(offsets + 4 * static_cast<size_t>(i)));
    const int32_t kind = word(at);
    int16_t vft = 0;
    if (at + 80 <= size) std::memcpy(&vft, file + at + 78, 2);
    const int32_t funcs = word(at + 24) & 0xffff;
    // A dispatch interface's table: IDispatch's seven entries, then its own members.
    const bool ok = word(at + 80) == pointer && ((kind >> 11) & 0x1f) == pointer &&
                    ((kind & 0xf) != TKIND_DISPATCH || vft == (funcs + 7) * pointer);
    if (!ok) Fail(std::wstring(label) + L": type " + std::to_wstring(i) + L" stores sizes for another system");
  }
}

// The 32-bit DLL, which this 64-bit process can only read.
void Check32BitLibrary(const wchar_t* path, ITypeLib* reference) {
  ITypeLib* lib = nullptr;
  if (FAILED(LoadTypeLibEx(path, REGKIND_NONE, &lib))) {
    Fail(L"the 32-bit DLL's type library does not load");
    return;
  }
  TLIBATTR* attr = nullptr;
  lib->GetLibAttr(&attr);
  if (attr->syskind != SYS_WIN32) Fail(L"the 32-bit type library is not SYS_WIN32");
  lib->ReleaseTLibAttr(attr);
  if (lib->GetTypeInfoCount() != reference->GetTypeInfoCount()) Fail(L"the 32-bit library has other types");
  // The same members, interface by interface.
  for (UINT i = 0; i < reference->GetTypeInfoCount(); ++i) {
    ITypeInfo* a = nullptr;
    ITypeInfo* b = nullptr;
    reference->GetTypeInfo(i, &a);
    if (SUCCEEDED(lib->GetTypeInfo(i, &b))) {
      TYPEATTR* ta = nullptr;
      TYPEATTR* tb = nullptr;
      a->GetTypeAttr(&ta);
      b->GetTypeAttr(&tb);
      if (ta->cFuncs != tb->cFuncs || !IsEqualGUID(ta->guid, tb->guid)) {
        Fail(L"the 32-bit library differs at type " + std::to_wstring(i));
      }
      a->ReleaseTypeAttr(ta);
      b->ReleaseTypeAttr(tb);
      b->Release();
    }
    a->Release();
  }
  CheckCollections(lib, L"32-bit");
  lib->Release();
  HMODULE dll = LoadLibraryExW(path, nullptr, LOAD_LIBRARY_AS_DATAFILE);
  HRSRC res = dll ? FindResourceW(dll, MAKEINTRESOURCEW(1), L"TYPELIB") : nullptr;
  HGLOBAL data = res ? LoadResource(dll, res) : nullptr;
  if (data == nullptr) {
    Fail(L"the 32-bit DLL has no TYPELIB resource");
  } else {
    CheckStoredSizes(static_cast<const unsigned char*>(LockResource(data)), SizeofResource(dll, res), 4, L"32-bit");
  }
  if (dll != nullptr) FreeLibrary(dll);
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

  const INVOKEKIND get = INVOKE_PROPERTYGET, let = INVOKE_PROPERTYPUT, set = INVOKE_PROPERTYPUTREF;
  const INVOKEKIND get_let = static_cast<INVOKEKIND>(get | let), get_set = static_cast<INVOKEKIND>(get | set);
  struct Expected {
    const wchar_t* iface;
    const wchar_t* member;
    INVOKEKIND kinds;
    MEMBERID id;
  };
  const Expected expected[] = {
      {L"_Mandor", L"Répertoire_Document", get_let, 0},
      {L"_Mandor", L"CalculerParamètresCalage", INVOKE_FUNC, 0},
      {L"_Mandor", L"Police_pixels_écran", get_let, 0},
      {L"_Mandor", L"ChampsCachés", get_set, 0},
      {L"_Mandor", L"Font", get_set, 0},
      {L"_Mandor", L"InsérerChamp", INVOKE_FUNC, 0},
      {L"_Mandor", L"SauvegarderMarquageEx", INVOKE_FUNC, 0},
      {L"_cMarquage", L"Item", get, DISPID_VALUE},
      {L"_cMarquage", L"NewEnum", get, DISPID_NEWENUM},
      {L"_cMarquage", L"FullPath", get_let, 0},
      {L"_cMarquage", L"XML_AddNewAE", INVOKE_FUNC, 0},
      {L"_CChamp", L"valeur", get_let, 0},
      {L"_CChamp", L"DonnéesImportées", get_let, 0},
      {L"_CChamp", L"oRegleH", get_set, 0},
      {L"_CRegle", L"Décimales", get_let, 0},
      {L"_CPage", L"SetSize", INVOKE_FUNC, 0},
      {L"_CFont", L"HasStrikeThrough", get, 0},
      {L"_Devise", L"Symbole", get_let, 0},
      {L"_Devises", L"Item", INVOKE_FUNC, DISPID_VALUE},
      {L"_Doc", L"Séparateur", get_let, 0},
      {L"_CPageCollection", L"_NewEnum", get, DISPID_NEWENUM},
      {L"_CChamp", L"Controle", get_set, 0},
      {L"_CRegle", L"Etiquette", get_set, 0},
  };
  for (const Expected& e : expected) {
    ITypeInfo* info = FindType(lib, e.iface);
    if (info == nullptr) continue;
    CheckMember(info, e.iface, e.member, e.kinds, e.id);
    info->Release();
  }
  // Each creatable class is a coclass of its interface.
  for (const wchar_t* coclass : {L"Mandor", L"cMarquage", L"CChamp", L"CPage", L"CRegle", L"CFont", L"Devise",
                                 L"Devises", L"Doc"}) {
    ITypeInfo* info = FindType(lib, coclass);
    if (info == nullptr) continue;
    TYPEATTR* attr = nullptr;
    info->GetTypeAttr(&attr);
    if (attr->typekind != TKIND_COCLASS || (attr->wTypeFlags & TYPEFLAG_FCANCREATE) == 0) {
      Fail(std::wstring(coclass) + L" not creatable");
    }
    info->ReleaseTypeAttr(attr);
    info->Release();
  }
  CheckCollections(lib, L"64-bit");
  // Object slots are objects; by-reference and optional parameters have their types and names.
  CheckSignature(lib, L"_CChamp", L"Controle", INVOKE_PROPERTYGET, {}, VT_DISPATCH);
  CheckSignature(lib, L"_CRegle", L"ToggleVersion", INVOKE_FUNC, {{L"bNew", VT_PTR, VT_BOOL}}, VT_VOID);
  CheckSignature(lib, L"_Mandor", L"SauvegarderMarquageEx", INVOKE_FUNC,
                 {{L"Confirmation", VT_BOOL, 0}, {L"WithQte", VT_PTR, VT_BOOL}}, VT_I2);
  // Members a host cannot call, declared as they are.
  CheckSignature(lib, L"_Mandor", L"WritePage", INVOKE_FUNC, {{L"fich", VT_PTR, VT_I2}, {L"WithQte", VT_BOOL, 0}},
                 VT_BOOL);
  CheckSignature(lib, L"_Mandor", L"OpenFileWrite", INVOKE_FUNC, {{L"cFileName", VT_PTR, VT_BSTR}}, VT_I2);
  CheckSignature(lib, L"_Mandor", L"ReadSection", INVOKE_FUNC, {{L"fich", VT_I2, 0}, {L"cSection", VT_BSTR, 0}},
                 VT_VARIANT);
  CheckSignature(lib, L"_cMarquage", L"AddItemWithNode", INVOKE_FUNC, {{L"oNode", VT_DISPATCH, 0},
                 {L"sPath", VT_BSTR, 0}}, VT_PTR, L"_Mandor");
  CheckSignature(lib, L"_CFont", L"GetFontFromXmlNode", INVOKE_FUNC, {{L"XmlFont", VT_DISPATCH, 0},
                 {L"oParentFont1", VT_PTR, VT_USERDEFINED}, {L"oParentFont2", VT_PTR, VT_USERDEFINED}}, VT_PTR,
                 L"_CFont");
  CheckSignature(lib, L"_CChamp", L"MajXmlNodeDataContratFromChampProperties", INVOKE_FUNC,
                 {{L"oNoeud", VT_PTR, VT_DISPATCH}, {L"oMandor", VT_PTR, VT_USERDEFINED}}, VT_DISPATCH);
  if (argc > 1) Check32BitLibrary(argv[1], lib);
  lib->Release();
  std::printf("typelib: %d failures\n", failures);
  CoUninitialize();
  return failures;
}
