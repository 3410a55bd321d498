#!/usr/bin/env bash
# Compiles the Windows-only sources (named Win32*.cpp; plain C++ and windows.h, no Qt) and the
# plain C++ they share with the other platforms with the MinGW-w64 cross compiler, as a syntax
# and type check: this code cannot run here, but it must not rot.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
compiler=${QORMIN_MINGW_CXX:-x86_64-w64-mingw32-g++}
if ! command -v "$compiler" >/dev/null; then
    echo "check-windows: $compiler not found (Debian package g++-mingw-w64-x86-64)" >&2
    exit 1
fi

mapfile -t sources < <(cd "$root" && find src -name 'Win32*.cpp' | sort)
sources+=(src/net/SendKeysParser.cpp src/platform/ChunkedFileCopy.cpp)

status=0
for source in "${sources[@]}"; do
    echo "check-windows: $source"
    "$compiler" -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Wshadow -Wold-style-cast \
        -Wnon-virtual-dtor -Werror -DUNICODE -D_UNICODE -I"$root/src" "$root/$source" || status=1
done
exit $status
