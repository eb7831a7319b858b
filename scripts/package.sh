#!/usr/bin/env bash
# Builds the Debian packages the Debian way (debian/, dh with CMake) into dist/:
#   dist/tallymo_<version>_<arch>.deb      the command line, the service, the widget
#   dist/tallymo-app_<version>_<arch>.deb  the app and the watch face
# Installs the build dependencies debian/control names first (needs root or sudo), then checks the
# result with lintian. Install with: sudo apt install ./dist/tallymo_*.deb ./dist/tallymo-app_*.deb
set -euo pipefail
cd "$(dirname "$0")/.."
sudo=
[ "$(id -u)" -eq 0 ] || sudo=sudo
if ! dpkg-checkbuilddeps >/dev/null 2>&1 || ! command -v lintian >/dev/null; then
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends \
        build-essential debhelper devscripts equivs lintian >/dev/null
    # Every Build-Depends of debian/control, through a throw-away package that depends on them.
    DEBIAN_FRONTEND=noninteractive $sudo mk-build-deps --install --remove \
        --tool 'apt-get -y -qq --no-install-recommends' debian/control >/dev/null
    rm -f tallymo-build-deps_*
fi
version=$(dpkg-parsechangelog -S Version)
arch=$(dpkg-architecture -qDEB_HOST_ARCH)
dpkg-buildpackage -b -us -uc -j"$(nproc)"
mkdir -p dist
for f in tallymo tallymo-app tallymo-dbgsym tallymo-app-dbgsym; do
    for ext in deb ddeb; do
        [ -f "../${f}_${version}_${arch}.$ext" ] && mv "../${f}_${version}_${arch}.$ext" dist/
    done
done
mv "../tallymo_${version}_${arch}.changes" "../tallymo_${version}_${arch}.buildinfo" dist/
dh_clean
echo "== lintian"
lintian --fail-on error --info dist/tallymo_"${version}_${arch}".changes
ls -l dist/*.deb
