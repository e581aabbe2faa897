#!/usr/bin/env bash
# Installs the Debian packages Tarnwell needs to build, run and test.
# Does nothing when they are all present already. With --panels, also the real
# panels that scripts/smoke-status-item.sh shows the status item in.
set -euo pipefail

packages=(
    # toolchain
    build-essential cmake ninja-build pkg-config clang-format
    # libraries
    qt6-base-dev qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools qt6-svg-dev libqt6svg6
    # the welcome window's web view (its own executable, never linked into tarnwell)
    qt6-webengine-dev
    libgl-dev libegl-dev zlib1g-dev libxcb1-dev libxcb-ewmh-dev libxcb-res0-dev
    # update signatures (Ed25519)
    libssl-dev
    # tests and benchmarks
    libgtest-dev libgmock-dev googletest libbenchmark-dev hyperfine
    # readelf, the independent check of build-ids in the crash tests
    binutils
    # the application icon's PNGs, the Debian package and the checks of what is installed
    librsvg2-bin dpkg-dev file desktop-file-utils appstream lintian man-db groff-base
    bash-completion
    # a desktop for the tests: display, window manager, session bus, notifications
    xvfb xauth x11-utils x11-apps openbox dbus dbus-x11 dunst xdotool
    # text drawn into the status icon, in the tests as on a desktop
    fonts-dejavu-core
)
if [ "${1:-}" = "--panels" ]; then
    packages+=(xfce4-panel xfce4-indicator-plugin ayatana-indicator-application libglib2.0-bin
        imagemagick lxqt-panel lxqt-themes tint2)
fi

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
        missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
