#!/bin/sh
# Renders the main states of the window, light, dark and in German, into
# build/screenshots/:
# the connection screen with the demo radio, the main window with a direct and
# a channel chat, the empty states and the nodes list. Needs no display and no
# Bluetooth: the app drives itself against its simulated radio. What the
# connection screen says when Bluetooth cannot be used, and what it shows of
# radios the system knows, a radio that asks for its PIN (the PIN sheet), a
# cancelled pairing and the confirmation before a radio is forgotten, is
# played on the stand-in BlueZ of the end-to-end tests, on a private D-Bus bus.
#
# Usage: scripts/screenshots.sh [build-dir]   (default: build)
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-"$root/build"}
out="$root/build/screenshots"

cmake --build "$build" --target talvenne talvenne-fake-bluez -j2
mkdir -p "$out"
rm -f "$out"/*.png "$out"/history.json* "$out/settings.ini" "$out"/nodes-*.json*
export QT_QPA_PLATFORM=offscreen

bus_dir=$(mktemp -d)
daemon_pid=""
bluez_pid=""
cleanup() {
  [ -n "$bluez_pid" ] && kill "$bluez_pid" 2>/dev/null || true
  [ -n "$daemon_pid" ] && kill "$daemon_pid" 2>/dev/null || true
  rm -rf "$bus_dir"
}
trap cleanup EXIT
cat > "$bus_dir/bus.conf" <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:dir=$bus_dir</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
  </policy>
</busconfig>
CONF
dbus-daemon --config-file="$bus_dir/bus.conf" --nofork --nopidfile --print-address=1 \
  > "$bus_dir/address" &
daemon_pid=$!
while [ ! -s "$bus_dir/address" ]; do sleep 0.1; done
DBUS_SYSTEM_BUS_ADDRESS=$(head -n 1 "$bus_dir/address")
export DBUS_SYSTEM_BUS_ADDRESS
"$build/bin/talvenne-fake-bluez" > "$bus_dir/bluez.out" &
bluez_pid=$!
while ! grep -q ready "$bus_dir/bluez.out"; do sleep 0.1; done

for look in light dark; do
  flag=""
  [ "$look" = dark ] && flag=--dark
  "$build/bin/talvenne" --screenshot-dir "$out" --screenshot-suffix "-$look" $flag
done
# The German table, for texts that do not fit.
LANGUAGE=de LANG=de_DE.UTF-8 "$build/bin/talvenne" --screenshot-dir "$out" --screenshot-suffix -de
rm -f "$out"/history.json* "$out/settings.ini" "$out"/nodes-*.json* "$out"/node-books.lock
ls "$out"
