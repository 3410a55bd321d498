#!/usr/bin/env bash
# fuzz.sh [name...]: builds the libFuzzer targets with clang in build/fuzz and runs each for a
# bounded time (QORMIN_FUZZ_SECONDS, default 30) from its seed corpus in fuzz/corpus/<name>.
# Fails on any finding; the input that caused it is kept in build/fuzz/findings/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${QORMIN_FUZZ_DIR:-$root/build/fuzz}
seconds=${QORMIN_FUZZ_SECONDS:-30}

# The largest input each parser is fed: a line for the line parsers, a page or so for files.
declare -A max_len=(
    [batch_line]=512 [migrate_line]=512 [take_token]=512 [connection_string]=1024
    [script_split]=8192 [scenario]=8192 [settings]=4096 [text_file]=4096
)
# Qt keeps every settings file it opened in a cache, so each input looks like a leak and the
# per-input leak check (a scan of the whole heap) made the settings fuzzer 25 times slower; the
# leak check at the end of the run stays.
declare -A extra=([settings]=-detect_leaks=0)
names=("$@")
if ((${#names[@]} == 0)); then
    names=(batch_line connection_string migrate_line scenario script_split settings take_token text_file)
fi

generator=()
if command -v ninja >/dev/null; then generator=(-G Ninja); fi
if [[ ! -f "$dir/CMakeCache.txt" ]]; then
    CC=clang CXX=clang++ cmake -S "$root" -B "$dir" "${generator[@]}" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DQORMIN_FUZZ=ON -DQORMIN_TESTS=OFF -DQORMIN_BENCH=OFF -DQORMIN_WERROR=ON >/dev/null
fi
targets=()
for name in "${names[@]}"; do targets+=("fuzz_$name"); done
cmake --build "$dir" -j"${QORMIN_JOBS:-2}" --target "${targets[@]}"

mkdir -p "$dir/findings"
export ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export QT_QPA_PLATFORM=offscreen
# The settings and text-file fuzzers write a file per input and the store syncs it to disk;
# on a RAM file system that costs nothing, so they run many more inputs in their time.
if [[ -d /dev/shm && -w /dev/shm ]]; then export TMPDIR=/dev/shm; fi
status=0
for name in "${names[@]}"; do
    work="$dir/corpus/$name" # what a run learns; the seeds in the repository stay as they are
    mkdir -p "$work"
    options=(-max_total_time="$seconds" -max_len="${max_len[$name]:-4096}" -timeout=10 -rss_limit_mb=2048
             -artifact_prefix="$dir/findings/$name-" -print_final_stats=1)
    if [[ -f "$root/fuzz/dict/$name.dict" ]]; then options+=(-dict="$root/fuzz/dict/$name.dict"); fi
    if [[ -n "${extra[$name]:-}" ]]; then options+=(${extra[$name]}); fi
    echo "=== fuzz $name (${seconds} s) ==="
    if ! "$dir/fuzz/fuzz_$name" "${options[@]}" "$work" "$root/fuzz/corpus/$name" >"$dir/$name.log" 2>&1; then
        status=1
        tail -n 60 "$dir/$name.log"
        echo "*** fuzz $name found a fault; the input is in $dir/findings/"
    else
        grep -E "stat::number_of_executed_units|stat::new_units_added" "$dir/$name.log" | tr '\n' ' '
        echo
    fi
done
exit $status
