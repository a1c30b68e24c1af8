#!/usr/bin/env bash
# What a client is told to be stored is on disk before it is told: seen in the system calls.
# usage: sync.sh BUILD-DIRECTORY
set -euo pipefail
# shellcheck source=tests/durability/daemons.sh
. "$(dirname "${BASH_SOURCE[0]}")/daemons.sh"

if ! strace -o "$work/probe" true 2>/dev/null; then
    echo "sync: processes cannot be traced here, so nothing is tested"
    exit 0
fi

puts=12
make_data
under=(strace -D -f -y -s 64 -o "$work/calls" -e "trace=pwrite64,fdatasync,fsync,sendmsg")
start_daemon daemon
for i in $(seq "$puts"); do
    status=$(put "$url" "item-$((i % 4))" "text $i")
    [ "$status" = 204 ] || fail "a PUT is answered $status"
done
stop_daemon "$daemon"
for _ in $(seq 100); do
    ! grep -q "^$daemon .*exited with" "$work/calls" || break
    sleep 0.1
done

# One sync for each answer, and before it. A call that another thread's interrupts is told twice, the
# second time with its result.
awk '
    /pwrite64\(.*corvane\.db-wal>/ { unsynced = 1 }
    /(fdatasync|fsync)(\(.*corvane\.db-wal>| resumed).*= 0$/ { unsynced = 0; syncs++ }
    /sendmsg\(.*HTTP\/1\.1 204/ {
        if (unsynced || syncs < 1) early++
        if (++answers > 1 && syncs > 1) more++
        syncs = 0
    }
    END {
        printf "%d answers, %d before their sync, %d after several\n", answers, early, more
        exit !(answers == '"$puts"' && early == 0 && more == 0)
    }' "$work/calls" >"$work/result" || fail "$(cat "$work/result")"
echo "sync: $(cat "$work/result")"
