#!/usr/bin/env bash
# Writes a sample audit-log report and a sample export summary from a small
# generated archive (real members, a deleted and two damaged documents, texts
# with tabs, right-to-left and CJK characters) and renders their pages to PNG
# files for a visual check.
#   scripts/render-output-samples.sh [BUILD_DIR] [OUT_DIR]
set -euo pipefail
build=${1:-build}
out=${2:-$build/output-samples}
resolution=${RESOLUTION:-60}
mkdir -p "$out"
cmake --build "$build" --target bench_output >/dev/null
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
"$build/bench/bench_output" --sample-log "$out/log-report.pdf"
"$build/bench/bench_output" --sample-summary "$out/export-summary.pdf"
rm -f "$out"/*.png
# The cover, the first entry pages and the last page show the whole layout.
pages=$(pdfinfo "$out/log-report.pdf" | awk '/^Pages:/ { print $2 }')
pdftoppm -r "$resolution" -png -f 1 -l 3 "$out/log-report.pdf" "$out/log-report"
pdftoppm -r "$resolution" -png -f "$pages" -l "$pages" "$out/log-report.pdf" "$out/log-report"
pdftoppm -r "$resolution" -png "$out/export-summary.pdf" "$out/export-summary"
pdffonts "$out/log-report.pdf"
pdffonts "$out/export-summary.pdf"
ls "$out"/*.png
