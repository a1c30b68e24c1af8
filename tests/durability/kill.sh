#!/usr/bin/env bash
# Two daemons and an import write into one data directory and are killed; all that was acknowledged
# is there afterwards.
# usage: kill.sh BUILD-DIRECTORY [--long]
set -euo pipefail
# shellcheck source=tests/durability/daemons.sh
. "$(dirname "${BASH_SOURCE[0]}")/daemons.sh"

rounds=2
[ "${2-}" != --long ] || rounds=25
writes=400  # of a client in a round; more than it gets done
items=30    # that a client writes over and over

# client NAME URL ROUND: puts one version after another, and notes what is acknowledged.
client() {
    local name=$1 url=$2 round=$3 folder=$work/$1 i uid
    mkdir -p "$folder"
    for i in $(seq "$writes"); do
        uid=$name-$((i % items))
        event "$uid" "$((round * writes + i))" >"$folder/$i"
        printf 'url = "%s"\nupload-file = "%s"\noutput = "/dev/null"\nuser = "%s:secret"\n' \
            "$url$calendar/$uid.ics" "$folder/$i" "$user"
        printf 'header = "Content-Type: text/calendar"\nmax-time = 20\nsilent\n'
        printf 'write-out = "%%{http_code} %s %s\\n"\nnext\n' "$uid" "$((round * writes + i))"
    done >"$folder/requests"
    stdbuf -oL curl -K "$folder/requests" 2>/dev/null | sed -un 's/^204 //p' \
        >>"$work/acknowledged" || true
}

# Imports a few new items again and again; those of a run that ended well are acknowledged.
importer() {
    local round=$1 i n
    for i in $(seq "$writes"); do
        for n in $(seq 20); do event "import-$round-$i-$n" "$i"; done >"$work/import"
        "$build/bin/cvadmin" --data "$data" import "$user" Calendar "$work/import" \
            >/dev/null 2>&1 &
        echo $! >"$work/import.id"
        wait $! || return 0
        for n in $(seq 20); do echo "import-$round-$i-$n $i"; done >>"$work/acknowledged"
    done
}

# Every acknowledged item is stored, in the version acknowledged last or in a later one.
check() {
    stored | awk '
        NR == FNR { if (!($1 in told) || $2 + 0 > told[$1]) told[$1] = $2 + 0; next }
        { version[$1] = $2 + 0 }
        END {
            for (uid in told) if (!(uid in version) || version[uid] < told[uid]) {
                print "lost: " uid " " told[uid] ", stored: " version[uid]
                lost++
            }
            exit lost > 0
        }' "$work/acknowledged" - >"$work/lost" || fail "round $1: $(head -n 5 "$work/lost")"
}

make_data
: >"$work/acknowledged"
for round in $(seq "$rounds"); do
    start_daemon first
    first=$daemon first_url=$url
    start_daemon second
    second=$daemon
    clients=()
    for name in a b c d; do
        case $name in [ab]) at=$first_url ;; *) at=$url ;; esac
        client "$name" "$at" "$round" &
        clients+=($!)
    done
    importer "$round" &
    clients+=($!)
    running+=("${clients[@]}")
    before=$(wc -l <"$work/acknowledged")
    for _ in $(seq 300); do  # until writing has got going
        [ "$(wc -l <"$work/acknowledged")" -lt $((before + 60)) ] || break
        sleep 0.1
    done
    sleep "0.$((RANDOM % 10))"
    kill -9 "$first" "$second"
    kill "${clients[4]}" 2>/dev/null || true
    kill -9 "$(cat "$work/import.id")" 2>/dev/null || true
    wait "${clients[@]}" "$first" "$second" 2>/dev/null || true
    check "$round"
done

# The directories follow: the next daemon shows what the database holds.
start_daemon last
while read -r uid _; do
    dav --fail -o /dev/null "$url$calendar/$uid.ics" || fail "$uid cannot be read"
done < <(sort -u -k1,1 "$work/acknowledged" | head -n 50)
stop_daemon "$daemon"
admin check >"$work/check.out" 2>&1 || fail "cvadmin check finds faults: $(head -n 5 "$work/check.out")"
acknowledged=$(wc -l <"$work/acknowledged")
[ "$acknowledged" -gt $((rounds * 20)) ] || fail "only $acknowledged writes were acknowledged"
echo "kill: $acknowledged acknowledged writes in $rounds rounds, none lost"
