#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing Vistrel
# need, when they are missing. Safe to run again: it does nothing then.
# Packages named as arguments are installed too (`make fuzz` names clang's).
set -euo pipefail

packages=(
    build-essential cmake pkg-config
    qtbase5-dev libqwt-qt5-dev libqt5svg5-dev libqt5opengl5-dev
    libsocketcan-dev
    zlib1g-dev
    xvfb xauth imagemagick
    # The Debian package and the test of the installed tree.
    dpkg-dev desktop-file-utils appstream shared-mime-info libglib2.0-bin x11-utils
    "$@"
)

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

echo "Installing: ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
    sudo_cmd=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
