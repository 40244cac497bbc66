#!/usr/bin/env bash
# Installs the Debian 12 packages Talvenne needs to build, test and run.
# Packages already present are skipped, so a second run costs a dpkg query.
set -euo pipefail

# Optional groups on top of what building and testing need:
#   install-deps.sh fuzz    clang and libFuzzer, for make fuzz
#   install-deps.sh bench   python3, whose json module make bench compares with
packages=(
  build-essential cmake make g++ pkg-config git clang-format
  qt6-base-dev qt6-base-dev-tools qt6-declarative-dev qt6-declarative-dev-tools
  qt6-connectivity-dev qt6-svg-dev qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools
  qt6-qpa-plugins qt6-wayland libqt6svg6 qcoro-qt6-dev libgl-dev
  qml6-module-qtqml qml6-module-qtqml-workerscript qml6-module-qtqml-models
  qml6-module-qtquick qml6-module-qtquick-window qml6-module-qtquick-layouts
  qml6-module-qtquick-controls qml6-module-qtquick-templates
  qml6-module-qtquick-dialogs qml6-module-qtqml-models qml6-module-qtquick-shapes
  qml6-module-qt-labs-platform qml6-module-qt-labs-folderlistmodel qml6-module-qttest
  qml6-module-qt5compat-graphicaleffects
  dbus dbus-daemon dbus-x11 xvfb xauth fonts-noto-color-emoji fonts-dejavu-core
  dpkg-dev file fakeroot desktop-file-utils appstream
)
for group in "$@"; do
  case "$group" in
    fuzz) packages+=(clang libclang-rt-14-dev) ;;
    bench) packages+=(python3) ;;
    *) echo "install-deps.sh: unknown group: $group" >&2; exit 2 ;;
  esac
done

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$p")
done

if ((${#missing[@]} == 0)); then
  exit 0
fi

echo "Installing: ${missing[*]}"
sudo=""
if [[ $(id -u) -ne 0 ]]; then
  sudo="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
