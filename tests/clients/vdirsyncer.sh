#!/usr/bin/env bash
# A real client keeps a calendar in step with a running server: vdirsyncer, 200 events, both ways.
# usage: vdirsyncer.sh BUILD-DIRECTORY (which holds bin and lib)
set -euo pipefail
# shellcheck source=tests/clients/server.bash
. "$(dirname "${BASH_SOURCE[0]}")/server.bash" "$@"

collection=b64=Q2FsZW5kYXI=
local=$work/local/$collection

# One event, each fifth with a recurrence and others with what else calendars hold.
event() {
    local number=$1 summary=$2 day hour
    day=$(printf '%02d' $((number % 28 + 1)))
    hour=$(printf '%02d' $((number % 20)))
    printf '%s\r\n' 'BEGIN:VCALENDAR' 'VERSION:2.0' 'PRODID:-//Test//Client//EN' 'BEGIN:VEVENT' \
        "UID:client-test-$number" 'DTSTAMP:20250101T000000Z' \
        "DTSTART:202503${day}T${hour}0000Z" "DTEND:202503${day}T${hour}3000Z"
    if ((number % 5 == 0)); then
        printf '%s\r\n' 'RRULE:FREQ=WEEKLY;COUNT=10' "EXDATE:202503${day}T${hour}0000Z"
    fi
    if ((number % 7 == 0)); then
        printf '%s\r\n' 'ORGANIZER;CN=Carol:mailto:carol@elsewhere.test' \
            'ATTENDEE;CN="Dan, D.";PARTSTAT=ACCEPTED;RSVP=TRUE:mailto:dan@elsewhere.test'
    fi
    if ((number % 4 == 0)); then
        printf '%s\r\n' 'LOCATION:Zürich – Café Größenwahn ☕' 'X-APPLE-STRUCTURED;X-T="a:b":kept'
    fi
    if ((number % 3 == 0)); then
        printf '%s\r\n' 'DESCRIPTION:A long line that its author has folded in the mid' \
            ' dle of a word\, and once more\nwith a line end that is' '  only text'
    fi
    printf '%s\r\n' "SUMMARY:$summary"
    if ((number % 6 == 0)); then
        printf '%s\r\n' 'BEGIN:VALARM' 'ACTION:DISPLAY' 'DESCRIPTION:Soon' 'TRIGGER:-PT15M' \
            'END:VALARM'
    fi
    printf '%s\r\n' 'END:VEVENT' 'END:VCALENDAR'
}

configure_client() {
    cat >"$work/config" <<END
[general]
status_path = "$work/status/"
[pair calendars]
a = "local"
b = "server"
collections = ["from b"]
conflict_resolution = null
[storage local]
type = "filesystem"
path = "$work/local/"
fileext = ".ics"
[storage server]
type = "caldav"
url = "$url/"
username = "$user"
password = "$password"
END
}

client() { vdirsyncer -c "$work/config" "$@" >>"$work/client.log" 2>&1; }

sync() { client sync || fail "$1: vdirsyncer reports an error"; }

count_local() { find "$local" -name '*.ics' | wc -l; }

on_server() { dav "$home/$collection/client-test-$1.ics"; }

# Every local file has its equal on the server, and there are as many on both sides.
check_both_sides() {
    local when=$1 count=$2 file uid
    same "$when: events of the client" "$count" "$(count_local)"
    same "$when: events of the server" "$count" \
        "$(admin export "$user" Calendar | tr -d '\r' | grep -c '^UID:')"
    for file in "$local"/*.ics; do
        uid=$(tr -d '\r' <"$file" | sed -n 's/^UID:client-test-//p')
        cmp -s <(tr -d '\r' <"$file") <(on_server "$uid" | tr -d '\r') ||
            fail "$when: the event $uid differs between client and server"
    done
}

change_stamp() {
    dav -X PROPFIND -H 'Depth: 0' "$home/$collection/" --data \
        '<propfind xmlns="DAV:"><prop><getctag xmlns="http://calendarserver.org/ns/"/></prop></propfind>' |
        grep -o '[0-9T:.-]*Z'
}

admin init --domain example.test >/dev/null
echo "$password" | admin user add "$user" --password-stdin
for number in $(seq 101 200); do event "$number" "Event $number"; done |
    admin import "$user" Calendar - >/dev/null
start_daemon server
home=$url/webdav/caldav/example.test/alice
configure_client

same "the principal, found by .well-known" '/webdav/principals/alice@example.test/' \
    "$(dav -L -X PROPFIND -H 'Depth: 0' "$url/.well-known/caldav" --data \
        '<propfind xmlns="DAV:"><prop><principal-URL/></prop></propfind>' |
        sed -nE 's|.*<D:principal-URL><D:href>([^<]*)<.*|\1|p')"

printf 'y\n%.0s' $(seq 20) | client discover || fail "vdirsyncer discovers nothing"
[ -d "$local" ] || fail "vdirsyncer has not found the default calendar"
for number in $(seq 100); do event "$number" "Event $number" >"$local/client-test-$number.ics"; done

sync "first synchronisation"
check_both_sides "first synchronisation" 200

for number in $(seq 10); do
    event "$number" "Changed by the client" >"$local/client-test-$number.ics"
done
for number in $(seq 11 20); do rm "$local/client-test-$number.ics"; done
for number in 201 202; do event "$number" "New" >"$local/client-test-$number.ics"; done
for number in $(seq 101 110); do
    event "$number" "Changed on the server" | dav -T - "$home/$collection/client-test-$number.ics" \
        -H 'Content-Type: text/calendar'
done
for number in $(seq 111 120); do
    dav -X DELETE "$home/$collection/client-test-$number.ics"
done
event 203 "New" | dav -T - "$home/$collection/client-test-203.ics" -H 'Content-Type: text/calendar'

sync "second synchronisation"
check_both_sides "second synchronisation" 183
same "changes of the client on the server" 10 \
    "$(for n in $(seq 10); do on_server "$n"; done | grep -c 'SUMMARY:Changed by the client')"
same "changes of the server at the client" 10 "$(grep -rl 'SUMMARY:Changed on the server' "$local" | wc -l)"

# The answer to a PUT has no tag, so one more round lets the client learn the tags of what it sent.
sync "third synchronisation"
stamp=$(change_stamp)
touch "$work/before-last"
dav -A marker-of-the-test "$url/webdav/" -o "$work/page"
sync "last synchronisation"
same "the change stamp after a synchronisation without changes" "$stamp" "$(change_stamp)"
same "local files that a synchronisation without changes wrote" 0 \
    "$(find "$local" -name '*.ics' -newer "$work/before-last" | wc -l)"
check_both_sides "last synchronisation" 183

stop_daemon "$daemon"
same "writes in the log of a synchronisation without changes" 0 \
    "$(cat "$data"/Logs/*.log | sed '1,/User-Agent:marker-of-the-test/d' |
        grep -Ec 'Method:(PUT|DELETE)' || true)"
same "PUT requests in the log" 123 "$(cat "$data"/Logs/*.log | grep -c 'Method:PUT')"
echo "vdirsyncer: 200 events kept in step, both ways"
