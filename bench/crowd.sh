#!/usr/bin/env bash
# What thousands of slow sockets and far too many requests do to a server, and how soon it is over.
# usage: crowd.sh BUILD-DIRECTORY (which holds bin and lib)
set -euo pipefail
# shellcheck source=tests/clients/server.bash
. "$(dirname "${BASH_SOURCE[0]}")/../tests/clients/server.bash" "$@"

events=500
admin init --domain example.test >/dev/null
echo "$password" | admin user add "$user" --password-stdin
{
    printf '%s\r\n' BEGIN:VCALENDAR VERSION:2.0 PRODID:-//Bench//EN
    for ((i = 0; i < events; i++)); do
        printf '%s\r\n' BEGIN:VEVENT "UID:event-$i" DTSTAMP:20250101T000000Z \
            DTSTART:20250301T100000Z "SUMMARY:Event $i" END:VEVENT
    done
    printf 'END:VCALENDAR\r\n'
} | admin import "$user" Calendar - >/dev/null
start_daemon server
"$(dirname "${BASH_SOURCE[0]}")/crowd.py" \
    "$url/webdav/caldav/example.test/alice/b64=Q2FsZW5kYXI=/" "$user:$password" \
    "$daemon" "$data/run/cvwebdavd.sock"
stop_daemon "$daemon"
