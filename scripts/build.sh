#!/usr/bin/env bash
# build.sh <build-dir> [extra cmake arguments...]: configure (once) and build with two jobs.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=$1
shift
generator=()
if command -v ninja >/dev/null; then generator=(-G Ninja); fi
if [[ ! -f "$dir/CMakeCache.txt" ]]; then
    cmake -S "$root" -B "$dir" "${generator[@]}" "$@"
else
    cmake "$dir" "$@" >/dev/null
fi
cmake --build "$dir" -j"${QORMIN_JOBS:-2}"
