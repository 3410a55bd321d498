#!/usr/bin/env bash
# mutation-check.sh [NAME...]: plant each fault of scripts/mutations.txt in turn into a scratch
# copy of the committed tree, rebuild only the suites the fault names, run them, and say whether
# a test failed (killed) or not (SURVIVED). With NAMEs, only those faults.
#
# The scratch copy is a detached git worktree beside this one (QORMIN_MUTATION_TREE), so its
# build directory sits at the same depth below /work as build/checked and ccache serves its
# first build; between faults only the planted file and what links it are rebuilt.
# Exit status: 0 whatever survived; 1 when the script could not do its work (a fault that does
# not apply to exactly one line, a fault that does not compile, a suite failing unplanted).
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
list=${QORMIN_MUTATIONS:-$root/scripts/mutations.txt}
tree=${QORMIN_MUTATION_TREE:-$(dirname "$root")/$(basename "$root")-mutation}
build=$tree/build/checked
jobs=${QORMIN_JOBS:-2}
export QT_QPA_PLATFORM=offscreen

broken=0
fail() {
    echo "mutation-check: $*" >&2
    broken=1
}

prepare_tree() {
    local revision
    revision=$(git -C "$root" rev-parse HEAD) || return 1
    if [[ ! -d $tree ]]; then
        git -C "$root" worktree add --detach "$tree" "$revision" >/dev/null || return 1
    fi
    # checkout touches only the files that differ, so the build stays incremental
    git -C "$tree" checkout -q --detach -f "$revision" && git -C "$tree" reset -q --hard
    if [[ ! -f $build/CMakeCache.txt ]]; then
        cmake -S "$tree" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DQORMIN_WERROR=ON \
            -DQORMIN_BENCH=ON >/dev/null || return 1
    fi
}

build_suites() {
    cmake --build "$build" -j"$jobs" --target "$@" >"$build/mutation-build.log" 2>&1
}

# Runs the suites in order; prints "suite: test" for the first test that fails, and fails, when
# a test fails twice: a failure that does not come back when the test runs alone is a test that
# depends on the machine's load, reported on standard error, not a fault found.
run_suites() {
    local suite binary output status failed test
    for suite in "$@"; do
        binary=$(find "$build/tests" -type f -name "$suite" -perm -u+x | head -n 1)
        if [[ -z $binary ]]; then
            echo "$suite: not built"
            return 2
        fi
        output=$(timeout 900 "$binary" --gtest_brief=1 2>&1)
        status=$?
        [[ $status -eq 124 ]] && echo "$suite: timed out" && return 1
        failed=$(grep -o '^\[  FAILED  \] [^ ,]*' <<<"$output" | cut -c14- | sort -u)
        # a suite that ends without naming a failed test crashed (an assertion, a sanitizer);
        # like a failed test, it counts when it happens again
        if [[ $status -ne 0 && -z $failed ]]; then
            if timeout 900 "$binary" --gtest_brief=1 >/dev/null 2>&1; then
                echo "mutation-check: $suite crashed once (exit status $status) and passed again" >&2
                continue
            fi
            echo "$suite: crashed (exit status $status)"
            return 1
        fi
        for test in $failed; do
            if timeout 300 "$binary" --gtest_brief=1 --gtest_filter="$test" >/dev/null 2>&1; then
                echo "mutation-check: $suite: $test failed once and passed alone" >&2
            else
                echo "$suite: $test"
                return 1
            fi
        done
    done
    return 0
}

# A fault must change exactly one line of its file.
changed_one_line() {
    local stat
    stat=$(git -C "$tree" diff --numstat -- "$1" | cut -f1,2)
    [[ $stat == $'1\t1' || $stat == $'0\t1' ]]
}

declare -a names files scripts suites
while IFS= read -r line; do
    [[ -z ${line// /} || $line == \#* ]] && continue
    IFS='|' read -r name file script suite _ <<<"$line"
    names+=("$(xargs <<<"$name")")
    files+=("$(xargs <<<"$file")")
    scripts+=("$(sed 's/^ *//; s/ *$//' <<<"$script")")
    suites+=("$(tr -d ' ' <<<"$suite")")
done <"$list"

wanted() {
    [[ $# -eq 1 ]] && return 0
    local name=$1 only
    shift
    for only in "$@"; do [[ $only == "$name" ]] && return 0; done
    return 1
}

prepare_tree || {
    fail "cannot prepare $tree"
    exit 1
}
planted=""
trap '[[ -n $planted ]] && git -C "$tree" checkout -q -- "$planted"' EXIT

# Every suite the chosen faults name must pass before anything is planted.
chosen=()
for index in "${!names[@]}"; do
    wanted "${names[index]}" "$@" && chosen+=("${suites[index]}")
done
all_suites=$(tr ',' '\n' <<<"${chosen[*]// /,}" | sort -u)
# shellcheck disable=SC2086 # one target per word
if ! build_suites $all_suites; then
    fail "the unplanted tree does not build (see $build/mutation-build.log)"
    exit 1
fi
# shellcheck disable=SC2086
if ! result=$(run_suites $all_suites); then
    fail "a suite fails before any fault is planted: $result"
    exit 1
fi

killed=0
survived=0
for index in "${!names[@]}"; do
    name=${names[index]}
    wanted "$name" "$@" || continue
    file=${files[index]}
    planted=$file
    sed -i -e "${scripts[index]}" "$tree/$file"
    if ! changed_one_line "$file"; then
        fail "$name: '${scripts[index]}' does not change exactly one line of $file"
    else
        # one suite at a time: the first that kills the fault spares the others' links
        outcome=survived
        for suite in ${suites[index]//,/ }; do
            if ! build_suites "$suite"; then
                fail "$name: does not compile (see $build/mutation-build-$name.log)"
                cp "$build/mutation-build.log" "$build/mutation-build-$name.log"
                outcome=broken
                break
            fi
            if ! result=$(run_suites "$suite"); then
                outcome=killed
                break
            fi
        done
        case $outcome in
            survived)
                printf 'SURVIVED %-28s %s\n' "$name" "$file"
                survived=$((survived + 1))
                ;;
            killed)
                printf 'killed   %-28s %s\n' "$name" "$result"
                killed=$((killed + 1))
                ;;
        esac
    fi
    git -C "$tree" checkout -q -- "$file"
    planted=""
done
echo "mutation-check: $killed killed, $survived survived of $((killed + survived)) faults"
exit "$broken"
