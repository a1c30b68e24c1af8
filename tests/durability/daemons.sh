# shellcheck shell=bash
# Sourced by the tests beside it: a data directory, daemons on it, and a client's requests.
# They are called with BUILD-DIRECTORY (which holds bin and lib) and, for the long form, --long.

build=$(cd "${1:?usage: $0 BUILD-DIRECTORY [--long]}" && pwd)
work=$(mktemp -d)
data=$work/data
user=alice@example.test
calendar=/webdav/caldav/example.test/alice/b64=Q2FsZW5kYXI=
running=()

cleanup() {
    for id in "${running[@]}"; do kill -9 "$id" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

fail() {
    echo "FAILED: $*"
    for file in "$work"/*.err; do
        [ ! -s "$file" ] || { echo "--- the end of $(basename "$file"):" && tail -n 20 "$file"; }
    done
    exit 1
}

admin() { "$build/bin/cvadmin" --data "$data" "$@"; }

make_data() {
    admin init --domain example.test >/dev/null
    echo secret | admin user add "$user" --password-stdin
}

# start_daemon NAME [COMMAND...]: serves, under the command if one is given; its address is in $url,
# its process in $daemon.
start_daemon() {
    local name=$1
    shift
    : >"$work/$name.out"
    "$@" "$build/bin/cvwebdavd" --data "$data" --listen 127.0.0.1:0 \
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

stop_daemon() {
    kill "$1"
    wait "$1" || fail "a daemon ends with status $?"
}

dav() { curl -sS -u "$user:secret" "$@"; }

# event UID SUMMARY [BYTES]
event() {
    printf '%s\r\n' 'BEGIN:VCALENDAR' 'VERSION:2.0' 'PRODID:-//Test//Client//EN' 'BEGIN:VEVENT' \
        "UID:$1" 'DTSTAMP:20250101T000000Z' 'DTSTART:20250310T100000Z' "SUMMARY:$2"
    [ -z "${3-}" ] || printf 'DESCRIPTION:%s\r\n' "$(head -c "$3" /dev/zero | tr '\0' x)"
    printf '%s\r\n' 'END:VEVENT' 'END:VCALENDAR'
}

# put URL UID SUMMARY [BYTES]: the status of the answer.
put() {
    event "$2" "$3" "${4-}" | dav -o "$work/answer" -w '%{http_code}' -T - \
        -H 'Content-Type: text/calendar' "$1$calendar/$2.ics"
}

# The items that are stored: a line of UID and summary for each.
stored() {
    admin export "$user" Calendar | tr -d '\r' |
        sed -nE '/^UID:/{s/^UID://;h}; /^SUMMARY:/{s/^SUMMARY://;H;x;s/\n/ /p}'
}
