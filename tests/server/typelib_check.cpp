// Checks the registered type library of MandorDLL the way an early-binding
// host or an object browser sees it: the library by its name, the dispatch
// interfaces and coclasses, and members under their exact names (accents
// included) with their kinds and standard ids. Run under Wine by
// run_com_tests.sh after registration; prints one line per failure and
// exits with the number of failures.
#include <windows.h>
#include <oleauto.h>

#include <cstdio>
#include <string>

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

}  // namespace

int main() {
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
      {L"_Collection", L"_NewEnum", get, DISPID_NEWENUM},
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
  lib->Release();
  std::printf("typelib: %d failures\n", failures);
  CoUninitialize();
  return failures;
}
