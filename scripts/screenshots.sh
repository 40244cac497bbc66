#!/bin/sh
# Renders the main states of the window, light, dark and in German, into
# build/screenshots/:
# the connection screen with the demo radio, the main window with a direct and
# a channel chat, the empty states and the nodes list. Needs no display and no
# Bluetooth: the app drives itself against its simulated radio.
#
# Usage: scripts/screenshots.sh [build-dir]   (default: build)
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-"$root/build"}
out="$root/build/screenshots"

cmake --build "$build" --target talvenne -j2
mkdir -p "$out"
rm -f "$out"/*.png
export QT_QPA_PLATFORM=offscreen
"$build/bin/talvenne" --screenshot-dir "$out" --screenshot-suffix -light
"$build/bin/talvenne" --screenshot-dir "$out" --screenshot-suffix -dark --dark
# The German table, for texts that do not fit.
LANGUAGE=de LANG=de_DE.UTF-8 "$build/bin/talvenne" --screenshot-dir "$out" --screenshot-suffix -de
rm -f "$out/history.json" "$out/settings.ini"
ls "$out"
