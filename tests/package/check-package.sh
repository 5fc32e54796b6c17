#!/usr/bin/env bash
# Builds the Debian package from the current build folder into a scratch
# folder, unpacks it and checks what a desktop needs from it: a valid menu
# entry whose program is in the package, the quillarc:// handler, the icon,
# the runtime dependencies and maintainer scripts that cannot break dpkg.
#
# usage: check-package.sh CPACK CPACK_CONFIG
set -uo pipefail

cpack=$1
config=$2
scratch=$(mktemp -d "${TMPDIR:-/tmp}/quillarc-package.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
failures=0

fail() {
  echo "FAIL: $*" >&2
  failures=$((failures + 1))
}

# The value of KEY in the [Desktop Entry] group (localized keys are other keys).
entry_value() {
  awk -v key="$2" -F= '
    /^\[/ { inside = ($0 == "[Desktop Entry]"); next }
    inside && $1 == key { sub(/^[^=]*=/, ""); print; exit }' "$1"
}

if ! "$cpack" -G DEB --config "$config" -B "$scratch/out" >"$scratch/cpack.log" 2>&1; then
  cat "$scratch/cpack.log" >&2
  echo "FAIL: cpack could not build the package" >&2
  exit 1
fi
debs=("$scratch"/out/quillarc_*.deb)
if [ ${#debs[@]} -ne 1 ] || [ ! -f "${debs[0]}" ]; then
  ls -l "$scratch/out" >&2
  echo "FAIL: expected exactly one quillarc_*.deb" >&2
  exit 1
fi
deb=${debs[0]}
echo "package: $(basename "$deb"), $(stat -c %s "$deb") bytes"

root=$scratch/root
dpkg-deb -x "$deb" "$root" || { echo "FAIL: dpkg-deb -x $deb" >&2; exit 1; }
dpkg-deb -e "$deb" "$scratch/control" || { echo "FAIL: dpkg-deb -e $deb" >&2; exit 1; }

# Control fields.
[ "$(dpkg-deb -f "$deb" Package)" = quillarc ] || fail "Package is not quillarc"
arch=$(dpkg --print-architecture)
[ "$(dpkg-deb -f "$deb" Architecture)" = "$arch" ] || fail "Architecture is not $arch"
depends=$(dpkg-deb -f "$deb" Depends)
echo "Depends: $depends"
for needed in libqt6core6 libqt6gui6 libqt6widgets6 libqt6svg6 qt6-qpa-plugins \
              libtesseract5 tesseract-ocr-eng tesseract-ocr-deu tesseract-ocr-osd \
              libpoppler-qt6-3 shared-mime-info xdg-utils; do
  # A name in the comma-separated list, with or without a version constraint.
  grep -Eq "(^|, *)$needed( *\(|,|$)" <<<"$depends" || fail "Depends does not name $needed"
done

# Everything lives under /usr: nothing of a build folder's own prefix leaks in.
outside=$(dpkg-deb -c "$deb" | awk '{ print $6 }' | grep -Ev '^\./(usr(/.*)?)?$')
[ -z "$outside" ] || fail "files outside /usr: $outside"

# The menu entry.
desktop=$root/usr/share/applications/quillarc.desktop
if [ ! -f "$desktop" ]; then
  fail "usr/share/applications/quillarc.desktop is missing"
else
  desktop-file-validate "$desktop" || fail "desktop-file-validate rejects the menu entry"
  for key in Exec TryExec; do
    program=$(entry_value "$desktop" "$key" | awk '{ print $1 }')
    case "$program" in
      "") [ "$key" = TryExec ] || fail "the menu entry has no Exec" ;;
      /*) [ -x "$root$program" ] || fail "$key names $program, which the package lacks" ;;
      *) [ -x "$root/usr/bin/$program" ] || fail "$key names $program, which is not in usr/bin" ;;
    esac
  done
  mime=";$(entry_value "$desktop" MimeType);"
  [[ $mime == *";x-scheme-handler/quillarc;"* ]] || fail "MimeType lacks x-scheme-handler/quillarc"
  icon=$(entry_value "$desktop" Icon)
  svg=$root/usr/share/icons/hicolor/scalable/apps/$icon.svg
  if [ -z "$icon" ] || [ ! -f "$svg" ]; then
    fail "the icon '$icon' is not in usr/share/icons/hicolor/scalable/apps"
  else
    grep -q '<svg' "$svg" || fail "$icon.svg is not an SVG image"
  fi
fi

# The programs: present, without debug information, and runnable from the unpacked tree.
for program in quillarc quillarc-cli; do
  binary=$root/usr/bin/$program
  if [ ! -x "$binary" ]; then
    fail "usr/bin/$program is missing"
  elif file -b "$binary" | grep -q 'not stripped'; then
    fail "usr/bin/$program carries debug information"
  fi
done
if [ -x "$root/usr/bin/quillarc-cli" ]; then
  help=$("$root/usr/bin/quillarc-cli" --help 2>&1) || fail "quillarc-cli --help exits with $?"
  grep -q "quillarc-cli" <<<"$help" || fail "quillarc-cli --help printed: $help"
fi

# Maintainer scripts: executable, well-formed shell.
for script in postinst postrm; do
  path=$scratch/control/$script
  if [ ! -x "$path" ]; then
    fail "the package has no executable $script"
  else
    sh -n "$path" || fail "$script is not valid shell"
  fi
done

[ "$failures" -eq 0 ] || { echo "$failures check(s) failed" >&2; exit 1; }
echo "package checks passed"
