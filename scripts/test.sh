#!/usr/bin/env bash
# Installs what is missing, then builds and runs every test suite twice: a normal build
# with warnings as errors, and a build with AddressSanitizer and UndefinedBehaviorSanitizer;
# the suites that drive threads (label "threads") once more under ThreadSanitizer; every
# parser's fuzzer for a bounded time; then the Windows compile check and the Debian package
# test (build, install, run, remove).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
export QORMIN_WITH_TEST_TOOLS=1
bash "$root/scripts/install-deps.sh"

# Two T-SQL engines (left and right) for the engine suite, started once for both builds and
# stopped however the run ends. Servers named by the user (QORMIN_TEST_SERVER_LEFT/RIGHT) win.
if [[ -z "${QORMIN_TEST_SERVER_LEFT:-}" ]]; then
    engine_run=$(mktemp -d /tmp/qormin-engines.XXXXXX)
    trap 'bash "$root/scripts/engines.sh" stop "$engine_run"' EXIT
    # A third engine encrypts, for the encrypted-connection tests (openssl, tsql and tcpdump: test tools).
    if engine_env=$(QORMIN_ENGINE_TLS=1 bash "$root/scripts/engines.sh" start "$engine_run"); then
        eval "$engine_env"
    else
        # The engine suite would only report itself skipped: in the test command that is a failure.
        echo "=== the T-SQL engines did not start: the engine suite cannot run ==="
        engine_failed=1
    fi
fi

export QT_QPA_PLATFORM=offscreen
status=${engine_failed:-0}
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

# Only the threaded suites, so the step stays short (see docs/notes/promises.md).
echo "=== tsan build ==="
tsan_dir="$root/build/tsan"
if [[ ! -f "$tsan_dir/CMakeCache.txt" ]]; then
    CC=clang CXX=clang++ cmake -S "$root" -B "$tsan_dir" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
        -DQORMIN_WERROR=ON -DQORMIN_TSAN=ON -DQORMIN_BENCH=OFF
fi
cmake --build "$tsan_dir" --target qormin_threads_tests -j"${QORMIN_JOBS:-2}"
echo "=== tsan tests ==="
# These tests start the program (and a keyring's bus) as processes; clang 14's ThreadSanitizer
# runtime aborts in its clone() interceptor when Qt does that (a CHECK in the runtime, not a
# report). They run in the other two builds.
ctest --test-dir "$tsan_dir" -L threads -E '^(ExecutableTest|CredentialStoreTest|Buses/CredentialStoreFallbackTest)\.' \
    --output-on-failure -j2 || status=1

echo "=== fuzzers ==="
bash "$root/scripts/fuzz.sh" || status=1
if [[ -x "$root/scripts/check-windows.sh" ]]; then
    echo "=== Windows cross-compile check ==="
    bash "$root/scripts/check-windows.sh" || status=1
fi
# The package test installs into this machine, so it needs root or sudo without a password.
if [[ $(id -u) -eq 0 ]] || sudo -n true 2>/dev/null; then
    echo "=== Debian package test ==="
    bash "$root/scripts/package-test.sh" || status=1
else
    echo "=== Debian package test SKIPPED: needs root or sudo without a password ==="
fi
exit $status
