// The type library "MandorDLL", built from the member tables: one
// dispatch interface "_X" per class (and "_CPageCollection",
// "_CChampCollection", "_CRegleCollection", "_DocCollection" for the keyed
// collections, each typed by its items) listing every member under its
// exact name, accents included, with its parameters' names and types, and
// one creatable coclass "X" per public class. The file stores the sizes of
// the system asked for (SYS_WIN32: 4-byte pointers), whichever process
// writes it; Wine's loader reports its own process's sizes whatever the
// file stores. Built with the
// type-library creation interfaces, since the IDL compiler takes no
// accented names. The build embeds it in the DLL as resource TYPELIB 1
// (typelib_gen.cpp, run under Wine); a DLL built without Wine writes it
// beside itself when it is registered.
//
// Threading: the type library is built once, on the caller's thread.
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

// Writes the type library to path (a ".tlb" file) for the given system
// (SYS_WIN32 for 32-bit hosts, SYS_WIN64 for 64-bit ones).
HRESULT WriteTypeLib(const std::wstring& path, SYSKIND syskind);

// The system of this build.
inline constexpr SYSKIND kOwnSysKind = sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32;

}  // namespace mandor::server

#endif  // MANDOR_SERVER_TYPELIB_H_
