#!/usr/bin/env bash
# Builds the .deb from the configured build tree, unpacks it into a scratch
# root with dpkg -x, checks its file list and dependencies, validates the
# installed desktop files and starts the installed binary.
#   test_package.sh <build-dir> <scratch-dir> <version> <source-dir>
set -euo pipefail
build=$1 out=$2 version=$3 source=$4
id=io.github.talvenne.Talvenne
fail() { echo "FAIL: $*" >&2; exit 1; }

rm -rf "$out"
mkdir -p "$out"
cpack --config "$build/CPackConfig.cmake" -B "$out" -G DEB >"$out/cpack.log" 2>&1 ||
  { cat "$out/cpack.log"; fail "cpack"; }
debs=("$out"/talvenne_"$version"_*.deb)
[[ ${#debs[@]} -eq 1 && -f ${debs[0]} ]] || fail "expected one talvenne_${version}_<arch>.deb in $out"
deb=${debs[0]}

root=$out/root
dpkg -x "$deb" "$root"

expected=(
  usr/bin/talvenne
  usr/share/applications/$id.desktop
  usr/share/metainfo/$id.metainfo.xml
  usr/share/icons/hicolor/scalable/apps/$id.svg
)
for size in 16 22 24 32 48 64 128 256 512; do
  expected+=("usr/share/icons/hicolor/${size}x${size}/apps/$id.png")
done
for ts in "$source"/resources/translations/talvenne_*.ts; do
  expected+=("usr/share/talvenne/translations/$(basename "${ts%.ts}").qm")
done
actual=$(cd "$root" && find . -type f -printf '%P\n' | sort)
wanted=$(printf '%s\n' "${expected[@]}" | sort)
diff <(echo "$wanted") <(echo "$actual") || fail "file list differs (< expected, > packaged)"

# Every PNG is a PNG of its size.
for size in 16 22 24 32 48 64 128 256 512; do
  png=$root/usr/share/icons/hicolor/${size}x${size}/apps/$id.png
  file "$png" | grep -q "PNG image data, $size x $size" || fail "$(file "$png")"
done

# Dependencies: found by dpkg-shlibdeps (libc, Qt libraries) plus the QML modules.
depends=$(dpkg-deb -f "$deb" Depends)
for needed in libc6 libstdc++6 libqt6core6 libqt6gui6 libqt6dbus6 libqt6bluetooth6 libqt6quick6 \
              qml6-module-qtquick-controls; do
  grep -qF ", $needed " <<<", $depends " || grep -qF ", $needed," <<<", $depends," || fail "Depends lacks $needed: $depends"
done
[[ $(dpkg-deb -f "$deb" Package) == talvenne ]] || fail "package name"
[[ $(dpkg-deb -f "$deb" Version) == "$version" ]] || fail "package version"

desktop-file-validate "$root/usr/share/applications/$id.desktop"
appstreamcli validate --no-net "$root/usr/share/metainfo/$id.metainfo.xml" >/dev/null

# The installed binary starts, from its installed place.
printed=$(QT_QPA_PLATFORM=offscreen "$root/usr/bin/talvenne" --version)
[[ $printed == "Talvenne $version" ]] || fail "--version printed: $printed"
echo "ok: $deb"
