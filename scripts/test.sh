#!/usr/bin/env bash
# The whole test suite, as CI runs it: the normal build with the library
# shared (library, command, benchmark digest check and, where MinGW-w64 and
# Wine are installed, the Windows automation server under Wine) and its
# installed package (scripts/test-package.sh: the examples built with
# find_package and pkg-config); the library alone, static and in the Release
# build type (-O3, whose deeper inlining brings warnings of its own, so it
# is held to -Werror too), and its package;
# then the library and command again in the Sanitize build (Clang with
# AddressSanitizer, LeakSanitizer and UndefinedBehaviorSanitizer).
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build -G Ninja -DMANDOR_WERROR=ON -DMANDOR_BUILD_BENCH=ON -DBUILD_SHARED_LIBS=ON
cmake --build build
ctest --test-dir build --output-on-failure -j2
bash scripts/test-package.sh build
cmake -S . -B build-static -G Ninja -DCMAKE_BUILD_TYPE=Release -DMANDOR_WERROR=ON -DMANDOR_BUILD_TESTS=OFF \
  -DMANDOR_BUILD_CLI=OFF -DMANDOR_BUILD_COM=OFF
cmake --build build-static
bash scripts/test-package.sh build-static
cmake -S . -B build-asan -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Sanitize -DMANDOR_WERROR=ON \
  -DMANDOR_BUILD_COM=OFF
cmake --build build-asan
ctest --test-dir build-asan --output-on-failure -j2
