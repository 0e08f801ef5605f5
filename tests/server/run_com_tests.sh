#!/usr/bin/env bash
# Runs the VBScript tests of MandorDLL.dll as a Windows host would: a fresh Wine prefix, the
# 64-bit DLL registered with regsvr32, then each *_test.vbs through cscript with a copy of the
# samples. Exit status: 0 all passed, 1 a failure, 77 skipped (something missing, said why).
#
# usage: run_com_tests.sh PATH/TO/MandorDLL.dll WORK_DIR
set -u
dll="${1:?usage: run_com_tests.sh DLL WORK_DIR}"
work="${2:?usage: run_com_tests.sh DLL WORK_DIR}"
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
# The type library as an early-binding host sees it.
check="$(dirname "$dll")/typelib_check.exe"
if [ -f "$check" ] && wine "$check"; then
  echo "PASS typelib_check"
  passed=$((passed + 1))
else
  echo "FAIL typelib_check"
  failed=$((failed + 1))
fi

for test in "$here"/*_test.vbs; do
  name="$(basename "$test" .vbs)"
  rm -rf "$work/data"
  mkdir -p "$work/data"
  cp "$root/samples/menuiseries.xml" "$root/samples/dqe-menuiseries.det.xnf" "$root/samples/dqe-menuiseries.det.cnf" \
    "$work/data/"
  # cscript reads scripts in the ANSI code page.
  cat "$here/assert.vbs" "$test" | iconv -f UTF-8 -t CP1252 | sed 's/$/\r/' >"$work/$name.vbs"
  out="$(wine cscript //nologo "$(winepath -w "$work/$name.vbs")" "$(winepath -w "$work/data")\\" 2>&1)"
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
