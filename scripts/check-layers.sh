#!/usr/bin/env bash
# Fails when a source file includes a header of a layer above its own. The
# layers point one way:
#   text <- model <- store, report <- intake, output <- cli, app
# store and report do not include each other, nor do intake and output. In
# the application, its foundations (util, i18n, style) sit below the painted
# controls, and both below the windows.
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
  [appbase]="text model appbase"
  [controls]="text model appbase controls"
  [app]="text model store report intake output appbase controls app"
)

# The layer of a path below src/ (a file or an included header).
layerOf() {
  case "$1" in
    app/util/* | app/i18n/* | app/style/*) echo appbase ;;
    *) echo "${1%%/*}" ;;
  esac
}

status=0
while IFS=: read -r file line include; do
  layer=$(layerOf "$file")
  header=$(sed -E 's/^#include "([^"]+)".*/\1/' <<<"$include")
  target=$(layerOf "$header")
  [ -n "${allowed[$layer]+x}" ] && [ -n "${allowed[$target]+x}" ] || continue # generated or local headers
  if [[ " ${allowed[$layer]} " != *" $target "* ]]; then
    echo "$file:$line: $layer must not include $target: $include"
    status=1
  fi
done < <(grep -rnE '^#include "[^/"]+/' . --include='*.h' --include='*.cpp' | sed 's|^\./||')
exit $status
