#!/usr/bin/env bash
# The whole test suite, as CI runs it: the normal build (library, command,
# benchmark digest check and, where MinGW-w64 and Wine are installed, the
# Windows automation server under Wine), then the library and command again
# in the Sanitize build (Clang with AddressSanitizer, LeakSanitizer and
# UndefinedBehaviorSanitizer).
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build -G Ninja -DMANDOR_WERROR=ON -DMANDOR_BUILD_BENCH=ON
cmake --build build
ctest --test-dir build --output-on-failure -j2
cmake -S . -B build-asan -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Sanitize -DMANDOR_WERROR=ON \
  -DMANDOR_BUILD_COM=OFF
cmake --build build-asan
ctest --test-dir build-asan --output-on-failure -j2
