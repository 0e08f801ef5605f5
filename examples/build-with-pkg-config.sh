#!/usr/bin/env bash
# Builds the examples with pkg-config (the other way is CMakeLists.txt):
#   PKG_CONFIG_PATH=<prefix>/lib/pkgconfig bash examples/build-with-pkg-config.sh OUTPUT_FOLDER
# A shared libmandor is found at run time through the prefix's lib folder
# (an rpath to it is set here); a static one needs nothing more.
set -euo pipefail
out=${1:?usage: build-with-pkg-config.sh OUTPUT_FOLDER}
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$out"
libdir=$(pkg-config --variable=libdir mandor)
for example in list_fields change_font calibration; do
  # shellcheck disable=SC2046 # the flags are words
  ${CXX:-c++} ${CXXFLAGS:-} "$here/$example.cpp" -o "$out/$example" $(pkg-config --cflags mandor) \
    $(pkg-config --libs mandor) -Wl,-rpath,"$libdir"
done
