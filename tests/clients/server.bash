# shellcheck shell=bash
# Sourced by tests with real clients or failing disks: a data directory and servers of their own, gone
# in the end. The first argument is the build directory, which holds bin and lib.

build=$(cd "${1:?usage: $(basename "$0") BUILD-DIRECTORY}" && pwd)
work=$(mktemp -d)
data=$work/data
user=alice@example.test
password=secret
running=()
under=()  # the command that the next daemon runs under, if any

cleanup() {
    for id in "${running[@]}"; do kill -9 "$id" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

fail() {
    echo "FAILED: $*"
    for file in "$work"/*.err "$work"/client.log; do
        [ ! -s "$file" ] || { echo "--- the end of $(basename "$file"):" && tail -n 30 "$file"; }
    done
    exit 1
}

# same WHAT EXPECTED ACTUAL
same() { [ "$2" = "$3" ] || fail "$1: expected $2, found $3"; }

admin() { "$build/bin/cvadmin" --data "$data" "$@"; }

dav() { curl -sS --fail-with-body -u "$user:$password" "$@"; }

# start_daemon NAME [OPTION...]: its address is in $url, its process in $daemon.
start_daemon() {
    local name=$1
    shift
    : >"$work/$name.out"  # the loop below may read it before the daemon opens it
    "${under[@]}" "$build/bin/cvwebdavd" --data "$data" --listen 127.0.0.1:0 "$@" \
        >"$work/$name.out" 2>"$work/$name.err" &
    daemon=$!
    running+=("$daemon")
    for _ in $(seq 200); do
        url=$(sed -nE 's|.*(http://127\.0\.0\.1:[0-9]+).*|\1|p' "$work/$name.out" | head -n 1)
        [ -z "$url" ] || return 0
        kill -0 "$daemon" 2>/dev/null || fail "$name ended at once"
        sleep 0.1
    done
    fail "$name does not serve"
}

# stop_daemon ID
stop_daemon() {
    local status=0
    kill "$1"
    wait "$1" || status=$?
    same "exit status of cvwebdavd" 0 "$status"
}
