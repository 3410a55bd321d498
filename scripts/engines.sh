#!/usr/bin/env bash
# engines.sh start|stop [DIR]: two T-SQL test engines (Babelfish on PostgreSQL, speaking TDS),
# "left" and "right", each on a free port with its data in a temporary folder.
#   start prints the variables the engine test suite reads (eval it) and writes them to
#         DIR/env as well; DIR defaults to a new folder under /tmp (the engine runs as a system
#         user of its own, which cannot reach /root).
#   stop  stops both engines of DIR and removes the folder.
# QORMIN_ENGINE_DIR names the engine's own folder (start-engine.sh, stop-engine.sh, tarball).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
engine=${QORMIN_ENGINE_DIR:-$root/../shared/engines/babelfish}
password=Qormin_Test_2026

# A port nobody listens on (the engine also takes this port + 10000 or the next free one).
free_port() {
    local port
    for _ in $(seq 50); do
        port=$((20000 + RANDOM % 25000))
        if ! (echo >"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then
            echo "$port"
            return
        fi
    done
    echo "no free port found" >&2
    return 1
}

start() {
    local dir=${1:-$(mktemp -d /tmp/qormin-engines.XXXXXX)}
    mkdir -p "$dir"
    chmod 755 "$dir"
    local env="$dir/env"
    : >"$env"
    for side in left right; do
        local port
        port=$(free_port)
        bash "$engine/start-engine.sh" "$dir/$side" "$port" "$password" >&2
        echo "export QORMIN_TEST_SERVER_${side^^}='127.0.0.1,$port'" >>"$env"
    done
    {
        echo "export QORMIN_TEST_USER=sa"
        echo "export QORMIN_TEST_PASSWORD='$password'"
        echo "export QORMIN_TEST_ENGINE=babelfish"
        echo "export QORMIN_ENGINE_RUN_DIR='$dir'"
    } >>"$env"
    cat "$env"
}

stop() {
    local dir=${1:?engines.sh stop DIR}
    for side in left right; do
        if [[ -d "$dir/$side" ]]; then
            bash "$engine/stop-engine.sh" "$dir/$side" >&2 || true
        fi
    done
    rm -rf "$dir"
}

case ${1:-} in
start) start "${2:-}" ;;
stop) stop "${2:-}" ;;
*)
    echo "usage: $0 start|stop [DIR]" >&2
    exit 2
    ;;
esac
