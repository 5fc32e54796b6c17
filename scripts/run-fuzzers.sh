#!/usr/bin/env bash
# Runs every fuzz target for a bounded time over a scratch copy of its seed
# corpus (fuzz/corpus/<parser>/), so new inputs never land in the repository.
set -euo pipefail
build=${1:-build-fuzz}
seconds=${2:-30}
status=0
for target in "$build"/fuzz/fuzz_*; do
  [ -f "$target" ] && [ -x "$target" ] || continue
  name=$(basename "$target")
  parser=${name#fuzz_}
  work=$(mktemp -d)
  [ -d "fuzz/corpus/$parser" ] && cp -r "fuzz/corpus/$parser/." "$work/"
  echo "== $name ($seconds s)"
  if ! "$target" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 "$work" 2>"$work.log"; then
    tail -40 "$work.log"; status=1
  else
    tail -1 "$work.log"
  fi
  rm -rf "$work" "$work.log"
done
exit $status
