# shellcheck shell=bash
# Sourced by the tests beside it: a data directory, daemons on it, and a client's requests.
# They are called with BUILD-DIRECTORY (which holds bin and lib) and, for the long form, --long.

# shellcheck source=tests/clients/server.bash
. "$(dirname "${BASH_SOURCE[0]}")/../clients/server.bash"

calendar=/webdav/caldav/example.test/alice/b64=Q2FsZW5kYXI=

make_data() {
    admin init --domain example.test >/dev/null
    echo "$password" | admin user add "$user" --password-stdin
}

# Refusals are looked at, not failed on.
dav() { curl -sS -u "$user:$password" "$@"; }

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
