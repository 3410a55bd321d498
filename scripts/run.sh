#!/usr/bin/env bash
# Installs what is missing, builds the tool and starts it. Arguments go to the tool,
# for example --demo to start the simulated server and connect both sides to it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/install-deps.sh"
bash "$root/scripts/build.sh" "$root/build/release" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQORMIN_TESTS=OFF -DQORMIN_BENCH=OFF
exec "$root/build/release/src/app/qormin-dbtools" "$@"
