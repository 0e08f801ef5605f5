// Writes the type library of MandorDLL to a file, for the build to embed in
// the DLL as resource TYPELIB 1: typelib_gen OUT.tlb win32|win64. Runs under
// Wine on the build machine.
#include <windows.h>
#include <oleauto.h>

#include <cstdio>
#include <cstring>

#include "mandor/server/dispatch.h"
#include "mandor/server/typelib.h"

int main(int argc, char** argv) {
  if (argc != 3 || (std::strcmp(argv[2], "win32") != 0 && std::strcmp(argv[2], "win64") != 0)) {
    std::fprintf(stderr, "usage: typelib_gen OUT.tlb win32|win64\n");
    return 2;
  }
  CoInitialize(nullptr);
  const SYSKIND syskind = std::strcmp(argv[2], "win64") == 0 ? SYS_WIN64 : SYS_WIN32;
  const HRESULT hr = mandor::server::WriteTypeLib(mandor::Utf8ToWide(argv[1]), syskind);
  CoUninitialize();
  if (FAILED(hr)) {
    std::fprintf(stderr, "typelib_gen: cannot write %s (0x%08lx)\n", argv[1], static_cast<unsigned long>(hr));
    return 1;
  }
  return 0;
}
