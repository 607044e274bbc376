#!/usr/bin/env bash
# Installs the build folder $1 under /usr in a scratch root (with the cmake $2, by default the
# one on the PATH), then checks that both programs, the icon, the launcher entry and the
# metainfo are there, that the desktop's own validators accept the last two, and that the
# three name one another as the desktop will look them up.
set -euo pipefail
build=$1
cmake=${2:-cmake}
id=app.quillvane.Quillvane

for tool in desktop-file-validate appstreamcli; do
  if ! command -v "$tool" >/dev/null; then
    echo "skipped: $tool is not installed (scripts/setup installs it)"
    exit 77
  fi
done

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
DESTDIR="$root" "$cmake" --install "$build" --prefix /usr >/dev/null
usr=$root/usr
desktop=$usr/share/applications/$id.desktop
metainfo=$usr/share/metainfo/$id.metainfo.xml

status=0
fail() { echo "FAIL: $*"; status=1; }

for program in quillvane quillvane-cli; do
  [ -x "$usr/bin/$program" ] || fail "bin/$program is not installed"
done
[ -s "$usr/share/icons/hicolor/scalable/apps/$id.svg" ] || fail "the scalable icon $id.svg is not installed"
for file in "$desktop" "$metainfo"; do
  [ -s "$file" ] || { fail "${file#"$root"} is not installed"; exit 1; }
done

desktop-file-validate "$desktop" || fail "desktop-file-validate rejects ${desktop#"$root"}"
# The whole tree, so that the metainfo's launchable must name the installed launcher.
appstreamcli validate-tree --no-net "$root" || fail "appstreamcli rejects ${metainfo#"$root"}"

# The launcher starts an installed program and shows the installed icon.
exec_program=$(sed -n 's/^Exec=\([^ ]*\).*/\1/p' "$desktop")
[ -x "$usr/bin/$exec_program" ] || fail "Exec=$exec_program is not an installed program"
grep -qx "Icon=$id" "$desktop" || fail "Icon= does not name the installed icon $id"
grep -q "^MimeType=.*audio/" "$desktop" || fail "the launcher lists no audio type to open"

exit "$status"
