#!/usr/bin/env bash
# Checks the installed package of a finished build, as a user of the library
# meets it: `cmake --install BUILD` into a temporary prefix, then the
# programs of examples/ built against that prefix with find_package and with
# pkg-config, and run on a copy of the samples. Also: mandor/version.h, the
# SONAME of a shared library, the manual page of the command.
#   bash scripts/test-package.sh BUILD_FOLDER
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:?usage: test-package.sh BUILD_FOLDER}
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
prefix=$root/prefix
fail() { echo "test-package: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null
grep -q '#define MANDOR_VERSION_MAJOR' "$prefix/include/mandor/version.h" || fail "no mandor/version.h"
# The public boundary: of the internal headers only the two a public class
# holds are installed, and every installed header compiles on its own with a
# pugixml.hpp that fails ahead on the include path (a host needs no pugixml).
internal=$(cd "$prefix/include" && find mandor -path '*/internal/*' -name '*.h' | sort | xargs)
[ "$internal" = "mandor/util/internal/key_index.h mandor/util/internal/packed_texts.h" ] ||
  fail "internal headers installed: $internal"
mkdir -p "$root/poison" && echo '#error "an installed header includes pugixml"' > "$root/poison/pugixml.hpp"
for header in $(cd "$prefix/include" && find mandor -name '*.h' | sort); do
  echo "#include \"$header\"" | "${CXX:-c++}" -std=c++20 -fsyntax-only -Wall -Wextra -Werror \
    -I"$root/poison" -I"$prefix/include" -x c++ - || fail "$header does not compile alone without pugixml"
done
lines=$(echo '#include "mandor/mandor.h"' | "${CXX:-c++}" -std=c++20 -E -I"$prefix/include" -x c++ - | wc -l)
echo "test-package: mandor/mandor.h preprocesses to $lines lines, without pugixml"
pc=$(find "$prefix" -name mandor.pc | head -n 1)
[ -n "$pc" ] || fail "no mandor.pc"
if shared=$(find "$prefix" -name 'libmandor.so.*.*' | head -n 1) && [ -n "$shared" ]; then
  readelf -d "$shared" | grep -q 'SONAME.*libmandor\.so\.[0-9]' || fail "$shared has no SONAME"
  kind=shared
else
  find "$prefix" -name libmandor.a | grep -q . || fail "no libmandor.a nor libmandor.so"
  kind=static
fi
if [ -x "$prefix/bin/mandor" ]; then
  [ -s "$prefix/share/man/man1/mandor.1" ] || fail "no manual page"
  grep -q 'check' "$prefix/share/man/man1/mandor.1" || fail "the manual page lacks the commands"
fi

# Runs the three examples of folder $1 on fresh copies of the samples.
run_examples() {
  local bin=$1 work=$root/work-$(basename "$1")
  mkdir -p "$work"
  cp samples/dqe-menuiseries.det.xnf samples/menuiseries.xml "$work/"
  "$bin/list_fields" "$work/menuiseries.xml" > "$work/fields.txt"
  grep -q '^mn1 "DQE Menuiseries"' "$work/fields.txt" || fail "$bin/list_fields: no mn1"
  grep -q 'L1_PT .*= ' "$work/fields.txt" || fail "$bin/list_fields: no formula"
  "$bin/change_font" "$work/" dqe-menuiseries.det | grep -q 'amounts now in Carlito bold' ||
    fail "$bin/change_font did not save"
  [ -s "$work/dqe-menuiseries.det.xak" ] || fail "$bin/change_font kept no backup"
  if [ -x "$prefix/bin/mandor" ]; then
    # The installed command sees the new font of the saved amounts (and
    # exits 1, since the files differ).
    local changes
    changes=$("$prefix/bin/mandor" diff samples/dqe-menuiseries.det.xnf "$work/dqe-menuiseries.det.xnf" || true)
    grep -q '^font "L1_Montant": .* -> Carlito 10 bold' <<<"$changes" ||
      fail "$bin/change_font: no new font in the saved file"
  fi
  "$bin/calibration" samples/ dqe-menuiseries.det > "$work/calibration.txt"
  grep -q 'paper resolution: 118.1' "$work/calibration.txt" || fail "$bin/calibration: $(cat "$work/calibration.txt")"
}

cmake -S examples -B "$root/with-cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" >/dev/null
cmake --build "$root/with-cmake" >/dev/null
run_examples "$root/with-cmake"

PKG_CONFIG_PATH=$(dirname "$pc") CXXFLAGS="-Wall -Wextra -Werror" bash examples/build-with-pkg-config.sh "$root/with-pkg-config"
run_examples "$root/with-pkg-config"
echo "test-package: the $kind package of $build builds and runs the examples with find_package and pkg-config"
