#!/usr/bin/env bash
# Pictures of every window, sheet, popover and alert, in German and English,
# light and dark, at 1x and 2x: build/screens/<screen>-<lang>-<theme>[@2x].png
#   scripts/render-screens.sh [BUILD_DIR] [--only NAME]
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${1:-build}
shift || true
OUT="$BUILD_DIR/screens"
cmake --build "$BUILD_DIR" --target render_screens
mkdir -p "$OUT"
export QT_QPA_PLATFORM=offscreen
"$BUILD_DIR/render_screens" --out "$OUT" "$@"
QT_SCALE_FACTOR=2 "$BUILD_DIR/render_screens" --out "$OUT" --suffix @2x "$@"
# The painted controls' gallery writes beside them.
cmake --build "$BUILD_DIR" --target controls_screens
echo "screens: $(ls "$OUT" | wc -l) pictures in $OUT"
