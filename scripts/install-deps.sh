#!/usr/bin/env bash
# Installs every Debian package Quillarc needs to build, run, test, benchmark
# and fuzz. A quick no-op when everything is already present.
set -euo pipefail

PACKAGES=(
  # build
  build-essential cmake ninja-build pkg-config
  qt6-base-dev qt6-base-dev-tools libgl-dev qt6-svg-dev
  # engine libraries
  libpoppler-qt6-dev
  libtesseract-dev libleptonica-dev tesseract-ocr tesseract-ocr-eng tesseract-ocr-deu tesseract-ocr-osd
  libzip-dev libuchardet-dev libheif-dev libsane-dev libjpeg-dev zlib1g-dev
  qt6-image-formats-plugins
  # runtime data: MIME database, fonts for reports and rendering
  shared-mime-info fonts-dejavu-core fonts-wqy-microhei
  # the archive window's typeface
  fonts-inter
  # registering the quillarc:// handler for the user
  xdg-utils
  # tests, benchmarks and fuzzing
  poppler-utils clang libclang-rt-14-dev desktop-file-utils
  # the Debian package (make package and its test): dependencies and file types
  dpkg-dev file
  # scanning: SANE's test scanner (in libsane1) and scanimage for the benchmark
  libsane1 sane-utils
  # a private session bus for the theme's desktop-portal test
  dbus-daemon
)

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "install-deps: installing ${missing[*]}"
SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
