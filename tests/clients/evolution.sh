#!/usr/bin/env bash
# A desktop client at work: Evolution's data server, without its windows, on a calendar, a task list
# and an address book: items made, changed and deleted on either side.
# usage: evolution.sh BUILD-DIRECTORY (which holds bin and lib)
set -euo pipefail
# shellcheck source=tests/clients/server.bash
. "$(dirname "${BASH_SOURCE[0]}")/server.bash" "$@"

# A source of the client as its account editor writes it: NAME KIND BACKEND PATH
source_file() {
    cat >"$work/config/evolution/sources/$1.source" <<END
[Data Source]
DisplayName=$1
Enabled=true
Parent=
[$2]
BackendName=$3
[Authentication]
Host=127.0.0.1
Method=plain/password
Port=${url##*:}
RememberPassword=false
User=$user
[Security]
Method=none
[WebDAV Backend]
EmailAddress=$user
ResourcePath=$4
[Offline]
StaySynchronized=true
END
}

admin init --domain example.test >/dev/null
echo "$password" | admin user add "$user" --name "Alice Example" --password-stdin
start_daemon server

export HOME=$work XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/share XDG_CACHE_HOME=$work/cache
export XDG_RUNTIME_DIR=$work/run GSETTINGS_BACKEND=memory
mkdir -p "$XDG_CONFIG_HOME/evolution/sources" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
source_file calendar Calendar caldav /webdav/caldav/example.test/alice/b64=Q2FsZW5kYXI=/
source_file tasks "Task List" caldav /webdav/caldav/example.test/alice/b64=VGFza3M=/
source_file contacts "Address Book" carddav /webdav/carddav/example.test/alice/b64=Q29udGFjdHM=/

timeout 300 dbus-run-session -- /usr/bin/python3 "$(dirname "${BASH_SOURCE[0]}")/evolution.py" \
    "$url" "$user" "$password" 2>"$work/client.log" || fail "see above"
stop_daemon "$daemon"
echo "evolution: events, tasks and contacts kept in step, both ways"
