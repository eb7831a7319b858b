#!/usr/bin/env bash
# Installs the Debian packages Tallymo builds, runs and tests with (only those missing).
set -euo pipefail
packages=(build-essential cmake pkg-config qt6-base-dev qt6-positioning-dev libqt6positioning6-plugins
          libsqlite3-dev libicu-dev
          tzdata iproute2 python3 sqlite3 dbus-daemon python3-dbus python3-dbusmock xdg-utils nftables
          # the app: Qt Quick and the QML modules it imports, SVG images, the theme fonts
          qt6-declarative-dev qml6-module-qtquick qml6-module-qtquick-window qml6-module-qtqml-workerscript
          qml6-module-qtquick-controls qml6-module-qtquick-templates qml6-module-qtquick-layouts
          qml6-module-qtquick-shapes qml6-module-qtquick-particles libqt6svg6 libgl1-mesa-dri qt6-sensors-dev
          # the translations: lrelease and its CMake functions
          qt6-l10n-tools qt6-tools-dev
          fonts-dejavu-core fonts-urw-base35 fonts-lato fonts-roboto-unhinted fonts-linuxlibertine
          fonts-cantarell fonts-courier-prime fonts-b612 fonts-oldstandard fonts-comfortaa
          # app tests: a display for the particle theme, the desktop entry check
          xvfb xauth desktop-file-utils "$@")
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if ((${#missing[@]})); then
    sudo=
    [ "$(id -u)" -eq 0 ] || sudo=sudo
    echo "Installing: ${missing[*]}"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
