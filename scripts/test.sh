#!/usr/bin/env bash
# Installs what is missing, then builds and runs every test suite twice: a normal build
# with warnings as errors, and a build with AddressSanitizer and UndefinedBehaviorSanitizer;
# then every parser's fuzzer for a bounded time.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
export QORMIN_WITH_TEST_TOOLS=1
bash "$root/scripts/install-deps.sh"

export QT_QPA_PLATFORM=offscreen
status=0
run_suite() {
    local name=$1
    shift
    echo "=== $name build ==="
    bash "$root/scripts/build.sh" "$root/build/$name" "$@"
    echo "=== $name tests ==="
    ctest --test-dir "$root/build/$name" --output-on-failure -j2 || status=1
}

run_suite checked -DCMAKE_BUILD_TYPE=Debug -DQORMIN_WERROR=ON -DQORMIN_BENCH=ON
run_suite sanitized -DCMAKE_BUILD_TYPE=Debug -DQORMIN_WERROR=ON -DQORMIN_SANITIZE=ON -DQORMIN_BENCH=OFF
echo "=== fuzzers ==="
bash "$root/scripts/fuzz.sh" || status=1
if [[ -x "$root/scripts/check-windows.sh" ]]; then
    echo "=== Windows cross-compile check ==="
    bash "$root/scripts/check-windows.sh" || status=1
fi
exit $status
