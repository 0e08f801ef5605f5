#!/usr/bin/env bash
# Installs the Debian 12 packages that build and test mandor. Run as root (or through sudo).
set -euo pipefail
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends \
  build-essential g++ clang libclang-rt-14-dev cmake ninja-build pkg-config libgtest-dev libpugixml-dev libreoffice-calc-nogui libcli11-dev nlohmann-json3-dev libcairo2-dev \
  libpoppler-glib-dev poppler-utils libtiff-dev libpango1.0-dev libnumbertext-dev help2man \
  fonts-liberation2 fonts-crosextra-carlito fonts-crosextra-caladea

# The Windows automation server (MandorDLL.dll): MinGW-w64 cross compilers and Wine to register
# and test it. Debian ships no MinGW build of pugixml, so the DLL compiles Debian's own pugixml
# source package, unpacked once into /usr/local/src/pugixml-debian.
$SUDO apt-get install -y -q --no-install-recommends \
  g++-mingw-w64-x86-64 g++-mingw-w64-i686 wine wine64 dpkg-dev
PUGIXML_SRC=/usr/local/src/pugixml-debian
if [ ! -f "$PUGIXML_SRC/src/pugixml.cpp" ]; then
  if ! grep -rqs '^Types:.*deb-src' /etc/apt/sources.list.d/ && ! grep -qs '^deb-src' /etc/apt/sources.list; then
    printf 'Types: deb-src\nURIs: http://deb.debian.org/debian\nSuites: bookworm\nComponents: main\nSigned-By: /usr/share/keyrings/debian-archive-keyring.gpg\n' \
      | $SUDO tee /etc/apt/sources.list.d/mandor-src.sources >/dev/null
    $SUDO apt-get update -q
  fi
  work="$(mktemp -d)"
  # apt-get source checks the files against the signed Sources index before unpacking them.
  (cd "$work" && $SUDO apt-get source -q pugixml)
  $SUDO rm -rf "$PUGIXML_SRC"
  $SUDO mv "$work"/pugixml-*/ "$PUGIXML_SRC"
  $SUDO rm -rf "$work"
fi
