#!/usr/bin/env bash
# Builds two sample reports with the report engine (a multi-page log report and
# an export-summary page) and renders their pages to PNG files for a visual check.
#   scripts/render-report-samples.sh [BUILD_DIR] [OUT_DIR]
set -euo pipefail
build=${1:-build}
out=${2:-$build/report-samples}
resolution=${RESOLUTION:-60}
mkdir -p "$out"
cmake --build "$build" --target bench_report >/dev/null
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
"$build/bench/bench_report" --sample "$out/log-report.pdf"
"$build/bench/bench_report" --summary-sample "$out/export-summary.pdf"
# The cover, the first entry pages and the last page are enough to judge the layout.
pages=$(pdfinfo "$out/log-report.pdf" | awk '/^Pages:/ { print $2 }')
pdftoppm -r "$resolution" -png -f 1 -l 3 "$out/log-report.pdf" "$out/log-report"
pdftoppm -r "$resolution" -png -f "$pages" -l "$pages" "$out/log-report.pdf" "$out/log-report"
pdftoppm -r "$resolution" -png "$out/export-summary.pdf" "$out/export-summary"
pdffonts "$out/log-report.pdf"
ls "$out"/*.png
