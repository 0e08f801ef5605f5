#!/usr/bin/env bash
# Builds the benchmark in an optimised build of its own (build-bench/), runs it on the generated
# markings (kept in build-bench/bench-data/) and writes its figures into BENCHMARKS.md, between
# the result markers. Extra arguments go to mandor_bench (e.g. --sizes 1000,20000 --runs 3).
# The run fails, and BENCHMARKS.md is left as it was, when the library no longer makes the
# recorded model or bytes of an input (bench/expected-digests.txt).
set -euo pipefail
cd "$(dirname "$0")/.."
# -O2 as the project's default build type uses: GCC 12 gives false -Wrestrict warnings at -O3.
cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG" \
  -DMANDOR_BUILD_BENCH=ON -DMANDOR_BUILD_TESTS=OFF -DMANDOR_BUILD_CLI=OFF -DMANDOR_WERROR=ON >/dev/null
cmake --build build-bench --target mandor_bench -j2
results=$(mktemp)
trap 'rm -f "$results"' EXIT
label="Current code ($(git rev-parse --short HEAD 2>/dev/null || echo 'no git'))"
build-bench/bench/mandor_bench --data build-bench/bench-data --digests bench/expected-digests.txt \
  --out "$results" --label "$label" "$@"
awk -v results="$results" '
  /<!-- bench:results:begin -->/ { print; while ((getline line < results) > 0) print line; skip = 1; next }
  /<!-- bench:results:end -->/ { skip = 0 }
  !skip { print }' BENCHMARKS.md > BENCHMARKS.md.new
mv BENCHMARKS.md.new BENCHMARKS.md
echo "bench: figures written to BENCHMARKS.md"
