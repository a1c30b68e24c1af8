#!/usr/bin/env bash
# A disk without room: writes are refused and leave nothing behind, reads go on, and as soon as
# there is room so do writes. A limit on the size of files stands for the disk.
# usage: full.sh BUILD-DIRECTORY
set -euo pipefail
# shellcheck source=tests/durability/daemons.sh
. "$(dirname "${BASH_SOURCE[0]}")/daemons.sh"

# A write beyond the limit is to fail and not to end the process.
deaf() { trap '' XFSZ && exec "$@"; }

make_data
under=(deaf)
start_daemon daemon
[ "$(put "$url" small before)" = 204 ] || fail "a PUT is refused while there is room"
size=$(stat -c %s "$data/corvane.db-wal")
prlimit --pid "$daemon" --fsize=$((size + 200000)):

refused=0
for i in $(seq 12); do
    status=$(put "$url" "large-$i" "large" 50000)
    case $status in
    204) echo "large-$i large" ;;
    500) refused=$((refused + 1)) ;;
    *) fail "a PUT without room is answered $status" ;;
    esac
done >"$work/acknowledged"
status=$(put "$url" small "$(head -c 60000 /dev/zero | tr '\0' y)")
[ "$status" = 500 ] || fail "a PUT over an item without room is answered $status"
dav --fail "$url$calendar/small.ics" | grep -q 'SUMMARY:before' || fail "the former text is gone"
[ "$(wc -l <"$work/acknowledged")" -lt 12 ] || fail "nothing was refused"

prlimit --pid "$daemon" --fsize=unlimited:
[ "$(put "$url" small after)" = 204 ] || fail "a PUT is refused though there is room again"
echo "small after" >>"$work/acknowledged"
diff <(sort "$work/acknowledged") <(stored | sort) >"$work/difference" ||
    fail "stored is not what was acknowledged: $(head -n 5 "$work/difference")"
stop_daemon "$daemon"
echo "full: refused without room, stored again with it"
