#!/usr/bin/env bash
# Installs the Debian 12 packages the tool and its tests need; does nothing when all are present.
set -euo pipefail

packages=(
    build-essential cmake ninja-build pkg-config ccache
    qt6-base-dev qt6-charts-dev libqt6opengl6-dev libgl-dev
    unixodbc unixodbc-dev tdsodbc
    qtkeychain-qt6-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    clang-format
)
if [[ "${QORMIN_WITH_TEST_TOOLS:-0}" == 1 ]]; then
    packages+=(samba smbclient g++-mingw-w64-x86-64 xvfb xauth dbus gvfs gvfs-backends gvfs-fuse
        clang libclang-rt-14-dev lintian desktop-file-utils procps gnome-keyring libsecret-tools
        openssl freetds-bin tcpdump)
    # What the T-SQL test engine (scripts/engines.sh) needs at run time, as its folder lists it.
    engine=${QORMIN_ENGINE_DIR:-$(dirname "$0")/../../shared/engines/babelfish}
    if [[ -f "$engine/runtime-packages.txt" ]]; then
        mapfile -t engine_packages < <(grep -v '^#' "$engine/runtime-packages.txt" | grep -v '^[[:space:]]*$')
        packages+=("${engine_packages[@]}")
    fi
fi

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]} == 0)); then
    exit 0
fi

echo "Installing: ${missing[*]}"
sudo_cmd=()
if [[ $(id -u) -ne 0 ]]; then sudo_cmd=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
