#!/usr/bin/env bash
# Runs the host tests of MandorDLL.dll as Windows hosts would: a fresh Wine prefix, the 64-bit
# DLL registered with regsvr32, then the compiled checks (typelib_check.exe, host_check.exe) and
# each *_test.vbs and *_test.js through cscript with a copy of the samples. The 32-bit DLL, which
# this machine cannot run, is checked statically: PE machine, exports, imports, type library.
# Exit status: 0 all passed, 1 a failure, 77 skipped (something missing, said why).
#
# usage: run_com_tests.sh PATH/TO/MandorDLL.dll WORK_DIR [PATH/TO/32-bit/MandorDLL.dll]
# HOST_CYCLES (default 100000) sets the object create/release cycles of host_check's memory check.
set -u
dll="${1:?usage: run_com_tests.sh DLL WORK_DIR [DLL32]}"
work="${2:?usage: run_com_tests.sh DLL WORK_DIR [DLL32]}"
dll32="${3:-}"
here="$(cd "$(dirname "$0")" && pwd)"
root="$(cd "$here/../.." && pwd)"

skip() {
  echo "SKIPPED: $*"
  exit 77
}

[ -f "$dll" ] || skip "MandorDLL.dll was not built ($dll): MinGW-w64 or the pugixml sources are missing"
for tool in wine wineserver winepath iconv; do
  command -v "$tool" >/dev/null 2>&1 || skip "$tool is not installed (Debian packages wine, wine64)"
done

rm -rf "$work"
mkdir -p "$work/data"
export WINEPREFIX="$work/prefix" WINEDEBUG=-all WINEARCH=win64
# No Mono or Gecko installer prompts in an unattended prefix.
export WINEDLLOVERRIDES="mscoree,mshtml="
# Message boxes go to standard error; overwrite questions are answered Yes.
export MANDOR_UNATTENDED=yes

wineserver -p 2>/dev/null
trap 'wineserver -k 2>/dev/null' EXIT

if ! wine wineboot -i >"$work/wineboot.log" 2>&1; then
  cat "$work/wineboot.log"
  skip "wine could not create a 64-bit prefix (is wine64 installed?)"
fi
[ -f "$WINEPREFIX/drive_c/windows/system32/cscript.exe" ] || skip "Wine has no cscript.exe"
if ! wine regsvr32 /s "$(winepath -w "$dll")"; then
  echo "FAILED: regsvr32 could not register $dll"
  exit 1
fi
# The type library is registered from the DLL itself when the build embedded it, else from the
# MandorDLL.tlb that registration wrote beside it.
registered="$(wine reg query 'HKCR\TypeLib\{FCA4A274-897C-5236-8829-FD5012D6331C}\1.0\0\win64' /ve 2>/dev/null |
  tr -d '\r' | sed -n 's/.*REG_SZ[[:space:]]*//p')"
echo "type library registered from: $registered"
if [ -f "${dll%.dll}-embedded.tlb" ]; then expected="MandorDLL.dll"; else expected="MandorDLL.tlb"; fi
case "$registered" in
  *"$expected") ;;
  *) echo "FAILED: the type library should be registered from $expected"; exit 1 ;;
esac

passed=0
failed=0
result() {  # result NAME STATUS
  if [ "$2" -eq 0 ]; then
    echo "PASS $1"
    passed=$((passed + 1))
  else
    echo "FAIL $1"
    failed=$((failed + 1))
  fi
}

# The 32-bit DLL, statically: an i386 PE image exporting the four entry points and importing
# system DLLs only (no MinGW runtime).
if [ -n "$dll32" ]; then
  objdump32="$(command -v i686-w64-mingw32-objdump || command -v objdump)"
  status=0
  if [ ! -f "$dll32" ]; then
    echo "the 32-bit DLL was not built: $dll32"
    status=1
  else
    headers="$("$objdump32" -p "$dll32")"
    echo "$headers" | grep -q "file format pei-i386" || { echo "not an i386 PE image"; status=1; }
    echo "$headers" | grep -q "^Magic.*10b" || { echo "not a PE32 (32-bit) optional header"; status=1; }
    for entry in DllGetClassObject DllCanUnloadNow DllRegisterServer DllUnregisterServer; do
      echo "$headers" | grep -Eq "\] $entry\$" || { echo "export $entry missing"; status=1; }
    done
    imports="$(echo "$headers" | sed -n 's/^[[:space:]]*DLL Name: //p' | tr 'A-Z' 'a-z' | sort -u)"
    echo "32-bit imports: $(echo $imports)"
    for name in $imports; do
      case "$name" in
        kernel32.dll | user32.dll | advapi32.dll | ole32.dll | oleaut32.dll | msvcrt.dll | gdi32.dll | shell32.dll) ;;
        *) echo "imports a non-system DLL: $name"; status=1 ;;
      esac
    done
  fi
  result dll32_static $status
fi

# The type library as an early-binding host sees it (and the 32-bit DLL's, read back).
check="$(dirname "$dll")/typelib_check.exe"
status=1
if [ -f "$check" ]; then
  if [ -n "$dll32" ] && [ -f "$dll32" ]; then wine "$check" "$(winepath -w "$dll32")"; else wine "$check"; fi
  status=$?
fi
result typelib_check $status

# A compiled host: named arguments, typed by-reference variables, owners kept, memory, unloading.
rm -rf "$work/data"
mkdir -p "$work/data"
cp "$root/samples/menuiseries.xml" "$root/samples/dqe-menuiseries.det.xnf" "$work/data/"
host="$(dirname "$dll")/host_check.exe"
status=1
if [ -f "$host" ]; then
  wine "$host" "$(winepath -w "$work/data")\\" "${HOST_CYCLES:-100000}" 2000
  status=$?
fi
result host_check $status

for test in "$here"/*_test.vbs "$here"/*_test.js; do
  ext="${test##*.}"
  name="$(basename "$test" ".$ext")"
  rm -rf "$work/data"
  mkdir -p "$work/data"
  cp "$root/samples/menuiseries.xml" "$root/samples/dqe-menuiseries.det.xnf" "$root/samples/dqe-menuiseries.det.cnf" \
    "$work/data/"
  # cscript reads scripts in the ANSI code page (the JScript tests write other characters as \u escapes).
  cat "$here/assert.$ext" "$test" | iconv -f UTF-8 -t CP1252 | sed 's/$/\r/' >"$work/$name.$ext"
  out="$(wine cscript //nologo "$(winepath -w "$work/$name.$ext")" "$(winepath -w "$work/data")\\" 2>&1)"
  rc=$?
  echo "$out" | sed "s/^/[$name] /"
  if [ $rc -eq 0 ] && echo "$out" | grep -q "script completed"; then
    echo "PASS $name"
    passed=$((passed + 1))
  else
    echo "FAIL $name (exit $rc$(echo "$out" | grep -q "script completed" || echo ", stopped before the end"))"
    failed=$((failed + 1))
  fi
done
echo "com: $passed passed, $failed failed"
[ $failed -eq 0 ]
