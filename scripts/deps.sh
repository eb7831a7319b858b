#!/usr/bin/env bash
# Installs the Debian packages Tallymo builds, runs and tests with (only those missing).
set -euo pipefail
packages=(build-essential cmake pkg-config qt6-base-dev qt6-positioning-dev libqt6positioning6-plugins
          libsqlite3-dev libicu-dev
          tzdata iproute2 python3 sqlite3 dbus-daemon python3-dbus python3-dbusmock xdg-utils nftables "$@")
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
