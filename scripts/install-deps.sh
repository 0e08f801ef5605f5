#!/usr/bin/env bash
# Installs the Debian 12 packages that build and test mandor. Run as root (or through sudo).
set -euo pipefail
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends \
  build-essential g++ clang libclang-rt-14-dev cmake ninja-build pkg-config libgtest-dev libpugixml-dev libreoffice-calc-nogui libcli11-dev nlohmann-json3-dev libcairo2-dev
