#!/usr/bin/env bash
# Fails when a source file includes a header of a layer above its own. The
# engine's layers point one way:
#   text <- model <- store, report <- intake, output <- cli, app
# store and report do not include each other, nor do intake and output;
# the painted controls use nothing of the application around them.
set -euo pipefail
cd "$(dirname "$0")/../src"

declare -A allowed=(
  [text]="text"
  [model]="text model"
  [store]="text model store"
  [report]="text model report"
  [intake]="text model store report intake"
  [output]="text model store report output"
  [cli]="text model store report intake output cli"
  [controls]="text controls"
  [app]="text model store report intake output controls app"
)

status=0
for layer in "${!allowed[@]}"; do
  [ -d "$layer" ] || continue
  while IFS=: read -r file line include; do
    target=$(sed -E 's/^#include "([^/"]+)\/.*/\1/' <<<"$include")
    [ -n "${allowed[$target]+x}" ] || continue # not a layer folder (a generated or local header)
    if [[ " ${allowed[$layer]} " != *" $target "* ]]; then
      echo "$file:$line: $layer must not include $target: $include"
      status=1
    fi
  done < <(grep -rnE '^#include "[^/"]+/' "$layer" --include='*.h' --include='*.cpp' || true)
done
exit $status
