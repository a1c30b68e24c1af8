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
expect 0 '' init --domain example.test
expect 1 'already' init --domain example.test

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

expect 0 '' user remove alice@example.test
expect 1 'no account' user show alice@example.test

[ "$problems" -eq 0 ] || { echo "$problems problems" && exit 1; }
echo "all as expected"
