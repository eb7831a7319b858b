#!/usr/bin/env bash
# Installs the Debian packages Tallymo builds, runs and tests with (only those missing): the libraries
# below and the package of every outside program in scripts/programs.txt. Extra arguments are more
# packages. Needs root or sudo for apt-get.
set -euo pipefail
here=$(dirname "$0")
packages=(qt6-base-dev qt6-positioning-dev libqt6positioning6-plugins libsqlite3-dev libicu-dev tzdata
          # sd-bus, for asking NetworkManager at every sample
          libsystemd-dev pkg-config
          # Ninja: under Make, Qt's QML type registration runs again at every build, and with it
          # every view's compiled cache (over a minute for a build with nothing to do)
          ninja-build
          # the app: Qt Quick and the QML modules it imports, SVG images, the theme fonts
          qt6-declarative-dev qml6-module-qtquick qml6-module-qtquick-window qml6-module-qtqml-workerscript
          qml6-module-qtquick-controls qml6-module-qtquick-templates qml6-module-qtquick-layouts
          qml6-module-qtquick-shapes qml6-module-qtquick-particles qml6-module-qtquick-dialogs
          qml6-module-qt-labs-folderlistmodel qt6-translations-l10n libqt6svg6 libgl1-mesa-dri qt6-sensors-dev
          # lrelease's CMake functions; the QtQml types qmllint checks the views against
          qt6-tools-dev qml6-module-qtqml
          fonts-dejavu-core fonts-urw-base35 fonts-lato fonts-roboto-unhinted fonts-linuxlibertine
          fonts-cantarell fonts-courier-prime fonts-b612 fonts-oldstandard fonts-comfortaa
          $(awk '!/^#/ && NF >= 2 {print $2}' "$here/programs.txt" | sort -u) "$@")
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if ((${#missing[@]})); then
    sudo=
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { echo "deps.sh: installing ${missing[*]} needs root or sudo" >&2; exit 1; }
        sudo=sudo
    fi
    echo "Installing: ${missing[*]}"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
