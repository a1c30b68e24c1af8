# Sourced by the client tests: a data directory and a server of their own, gone in the end.
# The first argument is the build directory, which holds bin and lib.

build=$(cd "${1:?usage: $(basename "$0") BUILD-DIRECTORY}" && pwd)
work=$(mktemp -d)
data=$work/data
user=alice@example.test
password=secret
server_id=

cleanup() {
    if [ -n "$server_id" ]; then
        kill "$server_id" 2>/dev/null && wait "$server_id" || true
    fi
    rm -rf "$work"
}
trap cleanup EXIT

fail() {
    echo "FAILED: $*"
    for file in "$work"/server.err "$work"/client.log; do
        [ ! -s "$file" ] || { echo "--- the end of $(basename "$file"):" && tail -n 30 "$file"; }
    done
    exit 1
}

# same WHAT EXPECTED ACTUAL
same() { [ "$2" = "$3" ] || fail "$1: expected $2, found $3"; }

admin() { "$build/bin/cvadmin" --data "$data" "$@"; }

dav() { curl -sS --fail-with-body -u "$user:$password" "$@"; }

# start_server OPTION...
start_server() {
    : >"$work/server.out"  # the loop below may read it before the server opens it
    "$build/bin/cvwebdavd" --data "$data" --listen 127.0.0.1:0 "$@" \
        >"$work/server.out" 2>"$work/server.err" &
    server_id=$!
    for _ in $(seq 100); do
        url=$(sed -nE 's|.*(http://127\.0\.0\.1:[0-9]+).*|\1|p' "$work/server.out" | head -n 1)
        [ -z "$url" ] || return 0
        kill -0 "$server_id" 2>/dev/null || fail "cvwebdavd ended at once"
        sleep 0.1
    done
    fail "cvwebdavd does not serve"
}

stop_server() {
    local status=0
    kill "$server_id"
    wait "$server_id" || status=$?
    server_id=
    same "exit status of cvwebdavd" 0 "$status"
}
