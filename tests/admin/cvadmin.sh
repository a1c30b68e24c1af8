#!/usr/bin/env bash
# What an administrator types, right and wrong: exit statuses, error lines, listings.
# usage: cvadmin.sh PROGRAM
set -euo pipefail

cvadmin=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
data=$work/data
problems=0

# expect STATUS PATTERN ARGUMENT... : runs cvadmin on the data directory. The pattern, an extended
# regular expression, must match a line of its output (of its errors, when it fails).
expect() {
    local status=$1 pattern=$2 got=0
    shift 2
    "$cvadmin" --data "$data" "$@" >"$work/out" 2>"$work/err" || got=$?
    local said=$work/out
    [ "$status" -eq 0 ] || said=$work/err
    if [ "$got" -ne "$status" ]; then
        complain "exit status $got instead of $status" "$@"
    elif [ -n "$pattern" ] && ! grep -Eq -- "$pattern" "$said"; then
        complain "no line like $pattern" "$@"
    elif [ "$status" -ne 0 ] && [ "$(wc -l <"$work/err")" -ne 1 ]; then
        complain "not one line of error" "$@"
    fi
}

complain() {
    echo "$1: cvadmin ${*:2}"
    sed 's/^/    /' "$work/out" "$work/err"
    problems=$((problems + 1))
}

password() { printf '%s\n' "${1-secret}"; }

expect 0 'Usage' --help
expect 0 'ADDRESS' user add --help
expect 2 '--domain' init
expect 2 'subcommand' user
expect 2 'bogus' bogus
expect 1 'init --domain' user list
expect 1 'no domain name' init --domain 'a b'

# Of several at once, one makes the directory; the others find it made.
for i in 1 2 3 4; do
    "$cvadmin" --data "$data" init --domain example.test >"$work/init$i" 2>&1 &
done
wait
[ "$(cat "$work"/init? | grep -c '^Made')" -eq 1 ] || complain "not one init of four"
[ "$(cat "$work"/init? | grep -c 'already')" -eq 3 ] || complain "other errors of init"

# Every command with nothing of what it needs, or with too much.
for command in 'domain add' 'user add' 'user show' 'user remove' 'user enable' 'user disable' \
    'user freeze' 'user unfreeze' 'user passwd' 'user must-change' 'user password-age' \
    'user freebusy' 'user alias add' 'user alias remove' 'folder add' 'folder list' \
    'folder rename' 'folder remove' share unshare 'public add' 'public grant' 'public revoke' \
    'public remove' token import export backup restore; do
    read -ra words <<<"$command"
    expect 2 'required' "${words[@]}"
    expect 0 'Usage' "${words[@]}" --help
done
for command in 'user list' check 'public list' 'domain list'; do
    read -ra words <<<"$command"
    expect 2 'surplus' "${words[@]}" surplus
done

password | expect 2 'password-stdin' user add alice@example.test
password | expect 0 '' user add alice@example.test --name 'Älice Example' --password-stdin
password | expect 1 'exists already' user add ALICE@example.test --password-stdin
password | expect 1 'not hosted' user add alice@elsewhere.test --password-stdin
password '' | expect 1 'password' user add bob@example.test --password-stdin
expect 0 '' domain add elsewhere.test
expect 0 '^elsewhere.test$' domain list
password | expect 0 '' user add bob@elsewhere.test --password-stdin
dns='dns elsewhere.test --host Dav.example.test.'
expect 0 '^_caldavs\._tcp\.elsewhere\.test\. +IN +SRV +0 1 443 dav\.example\.test\.$' $dns
expect 0 '^_carddavs\._tcp\.elsewhere\.test\. +IN +TXT +"path=/webdav/principals/"$' $dns
expect 0 '^_carddav\._tcp\.elsewhere\.test\. +IN +SRV +0 0 0 \.$' $dns
expect 0 'SRV +0 1 8443 elsewhere\.test\.$' dns ELSEWHERE.test --port 8443
expect 0 '"data": "0 1 443 dav.example.test."' $dns --json
expect 2 'port' dns elsewhere.test --port 65536
expect 1 'no host name' dns elsewhere.test --host 'a b'
expect 1 'not hosted' dns nowhere.test
expect 1 'no cvwebdavd answers on unix:.*/run/cvwebdavd.sock: No such file' status
expect 1 'no cvwebdavd answers on \[::1\]:1: Connection refused' status --admin '[::1]:1'

expect 0 '^alice@example.test +enabled +Älice Example$' user list
expect 0 '"address": "bob@elsewhere.test"' user list --json
expect 0 '' user disable bob@elsewhere.test
expect 0 '' user freeze bob@elsewhere.test
expect 0 '' user must-change bob@elsewhere.test on
expect 0 'disabled, frozen, must change password' user show bob@elsewhere.test
expect 0 '' user enable bob@elsewhere.test
expect 0 '' user unfreeze bob@elsewhere.test
expect 0 '' user must-change bob@elsewhere.test off
expect 0 '^State +enabled$' user show bob@elsewhere.test
expect 2 'on' user must-change bob@elsewhere.test maybe
password new | expect 0 '' user passwd bob@elsewhere.test --password-stdin
expect 0 '' user alias add alice@example.test al@example.test
expect 1 'exists' user alias add bob@elsewhere.test al@example.test
expect 0 'alice@example.test' user show al@example.test
expect 0 '' user alias remove alice@example.test al@example.test
expect 1 'al@example.test' user show al@example.test

expect 0 '' folder add alice@example.test --kind calendar Work/Project
expect 1 'Work/Project' folder add alice@example.test --kind calendar work/project
expect 1 '' folder add alice@example.test --kind calendar ../up
expect 2 '--kind' folder add alice@example.test --kind mail Post
expect 0 '^Calendar +calendar +0 items +default$' folder list alice@example.test
expect 0 '"name": "Work/Project"' folder list alice@example.test --json

cat >"$work/two.ics" <<'END'
BEGIN:VCALENDAR
VERSION:2.0
PRODID:-//Test//EN
BEGIN:VEVENT
UID:one
DTSTAMP:20250101T000000Z
DTSTART:20250110T090000Z
SUMMARY:One
END:VEVENT
BEGIN:VEVENT
UID:two
DTSTAMP:20250101T000000Z
DTSTART:20250111T090000Z
SUMMARY:Two
END:VEVENT
END:VCALENDAR
END
expect 0 '^2 items' import alice@example.test Calendar "$work/two.ics"
expect 0 '^2 items' import alice@example.test work/project - <"$work/two.ics"
expect 0 'Calendar +calendar +2 items' folder list alice@example.test
expect 0 '^UID:two' export alice@example.test Calendar
cp "$work/out" "$work/exported.ics"
expect 0 '^2 items .* 2 of them unchanged' import alice@example.test Calendar "$work/exported.ics"
expect 0 'Calendar +calendar +2 items' folder list alice@example.test
expect 1 'no file' import alice@example.test Calendar "$work/none.ics"
printf 'no calendar\n' >"$work/garbage.ics"
expect 1 'iCalendar' import alice@example.test Calendar "$work/garbage.ics"
expect 1 'no folder' export alice@example.test Nowhere
expect 1 'no account' folder list nobody@example.test

expect 0 'write and delete' share --help
expect 0 '' share alice@example.test Calendar --with bob@elsewhere.test --rights read,insert
expect 0 '^Calendar .* bob@elsewhere.test: read,insert$' folder list alice@example.test
expect 0 '' share alice@example.test calendar --with BOB@elsewhere.test --rights all
expect 0 '^Calendar .* bob@elsewhere.test: all$' folder list alice@example.test
expect 0 '"to": "bob@elsewhere.test"' folder list alice@example.test --json
expect 2 'read,' share alice@example.test Calendar --with bob@elsewhere.test --rights reading
expect 2 'read,' share alice@example.test Calendar --with bob@elsewhere.test --rights read,
expect 2 '--rights' share alice@example.test Calendar --with bob@elsewhere.test
expect 1 'no account' share alice@example.test Calendar --with nobody@example.test --rights read
expect 1 'no account' share alice@example.test Calendar --with anyone --rights read
expect 1 'owns' share alice@example.test Calendar --with alice@example.test --rights read
expect 1 'no folder' share alice@example.test Nowhere --with bob@elsewhere.test --rights read
expect 0 '' unshare alice@example.test Calendar --with bob@elsewhere.test
expect 1 'not shared' unshare alice@example.test Calendar --with bob@elsewhere.test

public_folders() { grep -E '^EnablePublicFolders=' "$data/Corvane.ini"; }
[ "$(public_folders)" = EnablePublicFolders=0 ] || complain "public folders are on at first"
expect 1 'no public folder' public grant Team --to anyone --rights read
expect 0 'on now' public add --kind calendar Team/Events
[ "$(public_folders)" = EnablePublicFolders=1 ] || complain "public folders are still off"
[ -f "$data/Public/Team.IMAP/Events.IMAP/Calendar.mrk" ] || complain "no public directory"
expect 1 'exists already' public add --kind tasks team
expect 0 '' public grant Team/Events --to anyone --rights read
expect 0 '' public grant team/events --to alice@example.test --rights write,delete
expect 0 '^Team/Events +calendar +0 items +anyone: read; alice@example.test: write,delete$' \
    public list
expect 0 '"to": "anyone"' public list --json
expect 0 '' public revoke Team/Events --to anyone
expect 1 'not shared with anyone' public revoke Team/Events --to anyone

expect 0 '^Token +[0-9a-f]{32}$' token alice@example.test Work/Project
cp "$work/out" "$work/first"
expect 0 '^Folder +/webdav/caldav/example.test/alice/b64=V29yay9Qcm9qZWN0/\?token=[0-9a-f]{32}$' \
    token alice@example.test work/project
cmp -s "$work/out" "$work/first" || complain "another token at the second time"
marker=$data/Mail/example.test/alice/Work.IMAP/Project.IMAP/hiwater.mrk
[ "$(stat -c %a "$marker")" = 600 ] || complain "others may read the token"
expect 0 '^Work/Project .* read-only token$' folder list alice@example.test
expect 0 '^Folder +/webdav/carddav/.*' token alice@example.test Contacts
expect 0 '"url": "/webdav/' token alice@example.test Contacts --json
expect 0 '' token alice@example.test Work/Project --revoke
expect 1 'no access token' token alice@example.test Work/Project --revoke
! grep -q ReadonlyAccessToken "$marker" || complain "the token is still there"

# Whatever asks for an address takes an alias.
expect 0 '' user alias add alice@example.test al@example.test
expect 0 '' user disable AL@example.test
expect 0 '' user enable al@example.test
password | expect 0 '' user passwd al@example.test --password-stdin
expect 0 'password set 0 days ago, good until' user password-age al@example.test 90
expect 2 'never' user password-age al@example.test 0
expect 0 '^Password +set 0 days ago, good until 20' user show al@example.test
expect 0 '' user password-age al@example.test never
expect 0 '' user freebusy al@example.test off
expect 0 'keeps its busy time private' user show al@example.test
expect 0 '^Alias +al@example.test$' user show alice@example.test
expect 0 '"al@example.test"' user show alice@example.test --json
expect 0 '' folder add al@example.test --kind contacts 'White List'
expect 0 '^White List +contacts +0 items +white list$' folder list al@example.test
expect 0 '' folder add al@example.test --kind calendar 'Работа/台北'
expect 0 '^2 items' import al@example.test 'Работа/台北' "$work/two.ics"
expect 0 '' export al@example.test Calendar "$work/written.ics"
cmp "$work/written.ics" "$work/exported.ics" || complain "exports differ"

# What follows a folder when it moves, and what goes with it.
expect 0 '' token al@example.test 'Работа/台北'
cp "$work/out" "$work/before"
expect 0 '' share al@example.test 'Работа/台北' --with bob@elsewhere.test --rights read
expect 1 'exists already' folder rename al@example.test 'Работа' calendar
expect 1 'below itself' folder rename al@example.test 'Работа' 'Работа/x'
expect 1 'no folder can have' folder rename al@example.test 'Работа' 'a.ics'
expect 1 'no folder' folder rename al@example.test Nowhere Somewhere
expect 0 '' folder rename al@example.test 'Работа' 'Old/Work & Co'
expect 0 '^Old/Work & Co/台北 +calendar +2 items +bob@elsewhere.test: read; read-only token$' \
    folder list al@example.test
expect 0 "$(sed -n 's/^Token *//p' "$work/before")" token al@example.test 'old/work & co/台北'
expect 1 'default folder' folder remove al@example.test Calendar
expect 0 '^Removed Old with 2 folders below it and 2 items.$' folder remove al@example.test old
expect 1 'no folder' folder remove al@example.test old
[ ! -e "$data/Mail/example.test/alice/Old.IMAP" ] || complain "the directory is still there"
expect 0 '^Removed Team with 1 folder below it and 0 items.$' public remove Team --yes

# Faults are told and mended; what only a person can mend is told again.
expect 0 'all well' check
rm "$data/Mail/example.test/alice/Calendar.IMAP/Calendar.mrk" "$data/bin/CVUser.so"
expect 1 '2 of 2 faults are not mended; --repair mends 2$' check
grep -q 'marker .*(--repair mends this)' "$work/out" || complain "the fault is not told"
expect 0 '"mended": true' check --repair --json
expect 0 'all well' check

# A whole directory goes into a file and comes back elsewhere.
expect 0 'Backed' backup "$work/backup"
expect 1 'exists already' backup "$work/backup"
expect 1 'cannot write' backup "$work/nowhere/backup"
expect 1 'there already' restore "$work/backup"
data=$work/restored
expect 1 'no file' restore "$work/none"
head -c 2000 "$work/backup" >"$work/cut"
expect 1 'cannot be restored' restore "$work/cut"
ln -s /etc/passwd "$work/Corvane.ini"
tar -C "$work" --zstd -cf "$work/evil" Corvane.ini
expect 1 'no plain file' restore "$work/evil"
[ -z "$(find "$work" -name 'restored*')" ] || complain "a failed restore left something"
expect 0 'Made' restore "$work/backup"
expect 0 'all well' check
expect 0 'Calendar +calendar +2 items' folder list alice@example.test
data=$work/data

# A disk that is full ends a backup without leaving anything behind.
mkdir "$work/small"
if mount -t tmpfs -o size=16k none "$work/small" 2>/dev/null; then
    expect 1 'full' backup "$work/small/backup"
    [ -z "$(ls -A "$work/small")" ] || complain "a failed backup left something"
    umount "$work/small"
else
    echo "skipped: a full disk (no right to mount one)"
fi

# Others' changes are waited for, and whoever waits says so.
exec 9>"$data/corvane.lock"
flock 9
"$cvadmin" --data "$data" folder add alice@example.test --kind tasks Later 2>"$work/err" 9>&- &
waiting=$!
while kill -0 "$waiting" 2>/dev/null && ! grep -q 'waiting for another' "$work/err"; do
    sleep 0.1
done
exec 9>&-
wait "$waiting" || complain "does not wait for another process, or does so silently"
for i in 1 2 3 4; do
    "$cvadmin" --data "$data" folder add alice@example.test --kind tasks "At once/$i" || true &
done
wait
[ "$("$cvadmin" --data "$data" folder list alice@example.test | grep -c '^At once/')" -eq 4 ] ||
    complain "changes at once are lost"

# Directories that hold something else.
for text in 'no database' ''; do
    data=$work/foreign
    mkdir -p "$data"
    printf '%s' "$text" >"$data/corvane.db"
    expect 1 'database' user list
    expect 1 'neither empty' init --domain example.test
done
data=$work/restored
rm "$data"/corvane.db*
expect 1 'whose database is missing' init --domain example.test
data=$work/data

expect 0 '^Removed alice@example.test with ' user remove al@example.test
expect 1 'no account' user show alice@example.test

[ "$problems" -eq 0 ] || { echo "$problems problems" && exit 1; }
echo "all as expected"
