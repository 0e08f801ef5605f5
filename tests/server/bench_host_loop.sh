#!/usr/bin/env bash
# Runs the host-loop benchmark (bench_host_loop.vbs) under Wine against a 64-bit MandorDLL.dll,
# in a fresh prefix of its own. By hand, not in CI: it is a measurement, not a test.
#
# usage: bench_host_loop.sh PATH/TO/MandorDLL.dll WORK_DIR
set -eu
dll="${1:?usage: bench_host_loop.sh DLL WORK_DIR}"
work="${2:?usage: bench_host_loop.sh DLL WORK_DIR}"
here="$(cd "$(dirname "$0")" && pwd)"
rm -rf "$work"
mkdir -p "$work"
export WINEPREFIX="$work/prefix" WINEDEBUG=-all WINEARCH=win64 WINEDLLOVERRIDES="mscoree,mshtml=" MANDOR_UNATTENDED=no
wineserver -p 2>/dev/null || true
trap 'wineserver -k 2>/dev/null' EXIT
wine wineboot -i >"$work/wineboot.log" 2>&1
wine regsvr32 /s "$(winepath -w "$dll")"
sed 's/$/\r/' "$here/bench_host_loop.vbs" >"$work/bench.vbs"
wine cscript //nologo "$(winepath -w "$work/bench.vbs")"
# The server's own share: the same reads from compiled code, by name and by id.
wine "$(dirname "$dll")/host_check.exe" --bench
