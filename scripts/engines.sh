#!/usr/bin/env bash
# engines.sh start|stop [DIR]: two T-SQL test engines (Babelfish on PostgreSQL, speaking TDS),
# "left" and "right", each on a free port with its data in a temporary folder.
#   start prints the variables the engine test suite reads (eval it) and writes them to
#         DIR/env as well; DIR defaults to a new folder under /tmp (the engine runs as a system
#         user of its own, which cannot reach /root).
#   stop  stops both engines of DIR and removes the folder.
# QORMIN_ENGINE_DIR names the engine's own folder (start-engine.sh, stop-engine.sh, tarball).
# QORMIN_ENGINE_TLS=1: start also starts a third engine, "tls", that encrypts its connections with a
#         server certificate for "localhost" signed by a test CA made here with openssl, and exports
#         QORMIN_TEST_TLS_SERVER, QORMIN_TEST_TLS_CA and QORMIN_TEST_TLS_OTHER_CA (a CA that signed
#         nothing). Its readiness check needs FreeTDS's tsql (freetds-bin).
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
    if [[ "${QORMIN_ENGINE_TLS:-0}" == 1 ]]; then
        start_tls "$dir"
    fi
    cat "$env"
}

# A CA, a server certificate for localhost signed by it, and a second CA that signed nothing.
make_certificates() {
    local certs=$1
    mkdir -p "$certs"
    local quiet=(-days 2 -nodes -newkey rsa:2048)
    openssl req -x509 "${quiet[@]}" -keyout "$certs/ca.key" -out "$certs/ca.pem" -subj "/CN=QORMIN test CA" 2>/dev/null
    openssl req -x509 "${quiet[@]}" -keyout "$certs/other-ca.key" -out "$certs/other-ca.pem" \
        -subj "/CN=QORMIN other CA" 2>/dev/null
    openssl req "${quiet[@]}" -keyout "$certs/server.key" -out "$certs/server.csr" -subj "/CN=localhost" 2>/dev/null
    printf 'subjectAltName=DNS:localhost\nbasicConstraints=CA:FALSE\nextendedKeyUsage=serverAuth\n' >"$certs/ext.cnf"
    openssl x509 -req -in "$certs/server.csr" -CA "$certs/ca.pem" -CAkey "$certs/ca.key" -CAcreateserial \
        -days 2 -extfile "$certs/ext.cnf" -out "$certs/server.crt" 2>/dev/null
    chmod 644 "$certs/ca.pem" "$certs/other-ca.pem"
}

# The engine is created without TLS (its own readiness check speaks none), then restarted with it.
start_tls() {
    local dir=$1 port data=$1/tls
    port=$(free_port)
    make_certificates "$dir/tls-certs"
    bash "$engine/start-engine.sh" "$data" "$port" "$password" >&2
    bash "$engine/stop-engine.sh" "$data" >&2
    local owner
    owner=$(stat -c %U "$data")
    install -m 644 -o "$owner" "$dir/tls-certs/server.crt" "$data/server.crt"
    install -m 600 -o "$owner" "$dir/tls-certs/server.key" "$data/server.key"
    printf '%s\n' "ssl = on" "ssl_cert_file = 'server.crt'" "ssl_key_file = 'server.key'" \
        "babelfishpg_tds.tds_ssl_encrypt = on" >>"$data/postgresql.conf"
    BABELFISH_CHECK=tsql bash "$engine/start-engine.sh" "$data" "$port" >&2
    {
        echo "export QORMIN_TEST_TLS_SERVER='localhost,$port'"
        echo "export QORMIN_TEST_TLS_CA='$dir/tls-certs/ca.pem'"
        echo "export QORMIN_TEST_TLS_OTHER_CA='$dir/tls-certs/other-ca.pem'"
    } >>"$dir/env"
}

stop() {
    local dir=${1:?engines.sh stop DIR}
    for side in left right tls; do
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
