#!/usr/bin/env bash
# Installs the program as a person would and packages it as a release would,
# then checks what lands where, as the desktop, the software centre and
# apt will read it.
#   install_test.sh BUILD_DIR VERSION APP_ID
#
# Everything is written under BUILD_DIR/tests/install/scratch.
set -uo pipefail
build_dir=$(cd "$1" && pwd)
version=$2
app_id=$3

scratch="$build_dir/tests/install/scratch"
stage="$scratch/stage"
rm -rf "$scratch"
mkdir -p "$scratch"

failures=0
checks=0
check() {  # check WHAT COMMAND...: runs COMMAND, counts it, reports it when it fails
  local what=$1
  shift
  checks=$((checks + 1))
  if "$@" >"$scratch/out" 2>&1; then
    echo "ok: $what"
  else
    echo "FAILED: $what" >&2
    sed 's/^/    /' "$scratch/out" >&2
    failures=$((failures + 1))
  fi
}

icon_sizes=(16 32 48 64 128 256)
# Every file the install puts in place, relative to the prefix.
installed=(
  bin/tabulon
  share/tabulon/tabulon.html
  "share/applications/$app_id.desktop"
  "share/metainfo/$app_id.metainfo.xml"
  share/icons/hicolor/scalable/apps/tabulon.svg
)
for size in "${icon_sizes[@]}"; do installed+=("share/icons/hicolor/${size}x${size}/apps/tabulon.png"); done

# The width and height a PNG file declares: its IHDR chunk, the first after
# the 8-byte signature, holds both as 4-byte big-endian numbers.
png_size() {
  local signature
  signature=$(od -An -tx1 -N8 "$1" | tr -d ' \n')
  [ "$signature" = 89504e470d0a1a0a ] || { echo "not a PNG: $1"; return 1; }
  [ "$(dd if="$1" bs=1 skip=12 count=4 status=none)" = IHDR ] || { echo "no IHDR first: $1"; return 1; }
  od -An -tu1 -j16 -N8 "$1" | awk '{ printf "%dx%d\n", $1*16777216 + $2*65536 + $3*256 + $4, $5*16777216 + $6*65536 + $7*256 + $8 }'
}
png_is() {  # png_is FILE SIZE
  local found
  found=$(png_size "$1") || { echo "$found"; return 1; }
  [ "$found" = "$2x$2" ] || { echo "$1 is $found, not $2x$2"; return 1; }
}

# The key's value in the [Desktop Entry] group.
desktop_key() {
  awk -F= -v key="$2" '/^\[/ { group = $0 } group == "[Desktop Entry]" && $1 == key { sub(/^[^=]*=/, ""); print; exit }' "$1"
}
equals() {  # equals WHAT FOUND EXPECTED
  [ "$2" = "$3" ] || { echo "$1 is '$2', not '$3'"; return 1; }
}
# The package names of a Depends field, one a line, without versions.
package_names() { tr ',|' '\n\n' <<<"$1" | sed -E 's/\(.*\)//; s/^ +//; s/ +$//' | grep -v '^$'; }
names() {  # names DEPENDS PACKAGE: the package itself, not merely one named like it
  package_names "$1" | grep -qx "$2" || { echo "'$1' does not name $2"; return 1; }
}
no_build_only_packages() { ! package_names "$1" | grep -E -e '-dev$' -e '^(cmake|ninja-build|build-essential)$'; }
# RUNPATH entries, one a line; an empty entry would mean the current folder.
runpath() { readelf -d "$1" | sed -n 's/.*(RUNPATH).*\[\(.*\)\]/\1/p' | tr ':' '\n'; }

# --- cmake --install into a staging prefix -------------------------------
check "cmake --install puts the program under a prefix" cmake --install "$build_dir" --prefix "$stage"
for file in "${installed[@]}"; do check "installed $file" test -s "$stage/$file"; done
check "bin/tabulon can be run" test -x "$stage/bin/tabulon"
for size in "${icon_sizes[@]}"; do
  check "the ${size}x${size} icon is drawn ${size} pixels square" png_is "$stage/share/icons/hicolor/${size}x${size}/apps/tabulon.png" "$size"
done

runpath_keeps_office_only() {
  local entries
  entries=$(runpath "$1")
  echo "RUNPATH: $entries"
  grep -qx /usr/lib/libreoffice/program <<<"$entries" || return 1
  ! grep -qv '^/usr/lib/libreoffice/program$' <<<"$entries"
}
check "the installed program's RUNPATH is the office's program folder alone" runpath_keeps_office_only "$stage/bin/tabulon"
no_missing_libraries() { ! ldd "$1" | grep 'not found'; }
check "every library of the installed program is found" no_missing_libraries "$stage/bin/tabulon"

desktop="$stage/share/applications/$app_id.desktop"
metainfo="$stage/share/metainfo/$app_id.metainfo.xml"
check "desktop-file-validate accepts the desktop entry" desktop-file-validate "$desktop"
check "appstreamcli validate accepts the metainfo" appstreamcli validate --no-net "$metainfo"
check "the entry starts the installed program with the chosen file" equals Exec "$(desktop_key "$desktop" Exec)" "tabulon %f"
check "the entry's icon is the installed icon's name" equals Icon "$(desktop_key "$desktop" Icon)" tabulon
check "the entry is offered for Access databases" equals MimeType "$(desktop_key "$desktop" MimeType)" \
  "application/x-msaccess;application/vnd.ms-access;"
check "the entry is filed under Office and Database" equals Categories "$(desktop_key "$desktop" Categories)" "Office;Database;"
check "the metainfo's id is the desktop entry's name" grep -q "<id>$app_id</id>" "$metainfo"
check "the metainfo launches the installed desktop entry" grep -q "<launchable type=\"desktop-id\">$app_id.desktop</launchable>" "$metainfo"
check "the metainfo provides the installed program" grep -q '<binary>tabulon</binary>' "$metainfo"
check "the metainfo describes this version, $version" grep -q "<release version=\"$version\"" "$metainfo"

# --- cpack -G DEB ----------------------------------------------------------
packages="$scratch/packages"
check "cpack makes the Debian package" cpack -G DEB -B "$packages" --config "$build_dir/CPackConfig.cmake"
deb=$(ls "$packages"/tabulon_"$version"_*.deb 2>/dev/null | head -1)
check "the package is tabulon_${version}_ARCH.deb" test -n "$deb"
if [ -n "$deb" ]; then
  field() { dpkg-deb -f "$deb" "$1"; }
  check "Package is tabulon" equals Package "$(field Package)" tabulon
  check "Version is $version" equals Version "$(field Version)" "$version"
  check "a Maintainer is named" test -n "$(field Maintainer)"
  check "a Section is given" test -n "$(field Section)"
  depends=$(field Depends)
  echo "Depends: $depends"
  # What the program starts and loads by name, given by hand ...
  for package in libreoffice-calc libreoffice-core libqt6svg6; do
    check "Depends names $package" names "$depends" "$package"
  done
  # ... and the libraries it links, read from the binary by dpkg-shlibdeps
  # (libqt6gui6 also brings the X11 platform plugin the window needs).
  for package in libqt6core6 libqt6gui6 libqt6widgets6 libqt6network6 libuno-cppu3 libuno-sal3 libfreexl1 libsqlite3-0 libc6; do
    check "Depends names $package" names "$depends" "$package"
  done
  check "Depends names nothing only the build needs" no_build_only_packages "$depends"
  dpkg-deb -c "$deb" | awk '{ print $NF }' | sed 's|^\./||' >"$scratch/contents"
  for file in "${installed[@]}"; do check "the package holds /usr/$file" grep -qx "usr/$file" "$scratch/contents"; done
  only_under_usr() { ! grep -v -e '^usr/' -e '^$' "$scratch/contents"; }
  check "the package puts nothing outside /usr" only_under_usr
  extract() { dpkg-deb -x "$deb" "$scratch/unpacked"; }
  check "the package unpacks" extract
  check "the packaged program's RUNPATH is the office's program folder alone" runpath_keeps_office_only "$scratch/unpacked/usr/bin/tabulon"
fi

echo "$checks checks, $failures failed"
[ "$failures" -eq 0 ] && rm -rf "$scratch"
exit $((failures > 0))
