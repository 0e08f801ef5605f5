#!/usr/bin/env bash
# Builds the libFuzzer targets (Clang, AddressSanitizer, UndefinedBehaviorSanitizer)
# and runs one target, or all of them in turn, for a number of seconds each.
#
#   scripts/fuzz.sh <xnf|cnf|catalogue|strings|all> <seconds> [extra libFuzzer flags]
#
# Seed corpora are generated from tests/data and samples/ into build-fuzz/corpus/<target>
# (kept between runs, never committed); the regression corpus
# tests/data/fuzz-regressions/<target> is read as seeds too. A crashing input is written
# to build-fuzz/artifacts/<target>/: once the bug is fixed, copy it into the regression
# corpus, which the test suite replays.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
if [ $# -lt 2 ]; then
  sed -n '2,11p' "$0" | sed 's/^# \{0,1\}//'
  exit 2
fi
which=$1
seconds=$2
shift 2
targets=(xnf cnf catalogue strings)
if [ "$which" != all ]; then
  case " ${targets[*]} " in *" $which "*) targets=("$which") ;; *) echo "unknown target: $which" >&2; exit 2 ;; esac
fi

build=${MANDOR_FUZZ_BUILD_DIR:-$root/build-fuzz}
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DMANDOR_BUILD_FUZZ=ON -DMANDOR_SANITIZE=address,undefined -DMANDOR_BUILD_TESTS=OFF -DMANDOR_BUILD_CLI=OFF >/dev/null
cmake --build "$build" -j2 --target $(printf 'fuzz_%s ' "${targets[@]}")

# Seeds: whole files for the readers; for the string routines, each line of the text
# fixtures behind three leading bytes (two counts and a split point).
seed() {
  local target=$1 dir=$build/corpus/$1
  mkdir -p "$dir"
  case $target in
    xnf) cp -f "$root"/samples/*.xnf "$root"/tests/data/textfile/*xnf* "$dir"/ ;;
    cnf) cp -f "$root"/samples/*.cnf "$root"/tests/data/textfile/*cnf* "$dir"/ ;;
    catalogue) cp -f "$root"/samples/*.xml "$root"/tests/data/xml/*.xml "$dir"/ ;;
    strings)
      local n=0 line
      while IFS= read -r line; do
        n=$((n + 1))
        printf '\x0c\x14\x05%s' "$line" >"$dir/line-$n"
      done < <(cat "$root"/samples/*.xnf "$root"/tests/data/textfile/*.txt | tr -d '\r' | sort -u)
      ;;
  esac
}

for target in "${targets[@]}"; do
  seed "$target"
  regressions=$root/tests/data/fuzz-regressions/$target
  mkdir -p "$build/artifacts/$target"
  dict=()
  case $target in
    xnf | cnf) dict=(-dict="$root/fuzz/textfile.dict") ;;
    catalogue) dict=(-dict="$root/fuzz/catalogue.dict") ;;
  esac
  echo "== fuzz_$target for ${seconds}s"
  "$build/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=65536 \
    -print_final_stats=1 -artifact_prefix="$build/artifacts/$target/" "${dict[@]}" "$@" \
    "$build/corpus/$target" $( [ -d "$regressions" ] && echo "$regressions" )
done
