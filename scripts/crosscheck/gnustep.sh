#!/usr/bin/env bash
# Cross-checks the keyed-archive codec against GNUstep's NSKeyedUnarchiver and
# NSKeyedArchiver (Debian's libgnustep-base-dev and gobjc; not needed for the
# build or the tests). Usage: scripts/crosscheck/gnustep.sh ARCHIVE.quillarc [build]
# GNUstep decodes and prints the archive, writes the same tree back in its own
# layout, and our dump of both must match (apart from the root's class).
set -euo pipefail
archive=$1
build=${2:-build}
work=$(mktemp -d)
here=$(dirname "$0")
set +u; . /usr/share/GNUstep/Makefiles/GNUstep.sh; set -u
gcc "$here/gnustep-check.m" -o "$work/check" $(gnustep-config --objc-flags) $(gnustep-config --base-libs) 2>/dev/null
"$work/check" "$archive/Quillarc.qldb" "$work/written.qldb"
mkdir -p "$work/gnustep.quillarc"
cp "$work/written.qldb" "$work/gnustep.quillarc/Quillarc.qldb"
"$build/quillarc-cli" dump "$archive" --semantic > "$work/ours.json"
"$build/quillarc-cli" dump "$work/gnustep.quillarc" --semantic > "$work/theirs.json"
diff "$work/ours.json" "$work/theirs.json" && echo "same tree" || echo "(differences above)"
rm -rf "$work"
