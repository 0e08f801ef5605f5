// The type library "MandorDLL", built from the member tables: one
// dispatch interface "_X" per class (and "_Collection" for the keyed
// collections) listing every member under its exact name, accents
// included, and one creatable coclass "X" per public class. Built with the
// type-library creation interfaces, since the IDL compiler takes no
// accented names.
#ifndef MANDOR_SERVER_TYPELIB_H_
#define MANDOR_SERVER_TYPELIB_H_

#include <windows.h>
#include <oleauto.h>

#include <string>

namespace mandor::server {

// {FCA4A274-897C-5236-8829-FD5012D6331C}
inline constexpr GUID kLibId = {0xfca4a274, 0x897c, 0x5236, {0x88, 0x29, 0xfd, 0x50, 0x12, 0xd6, 0x33, 0x1c}};
inline constexpr WORD kLibMajor = 1;
inline constexpr WORD kLibMinor = 0;

// Writes the type library to path (a ".tlb" file).
HRESULT WriteTypeLib(const std::wstring& path);

}  // namespace mandor::server

#endif  // MANDOR_SERVER_TYPELIB_H_
