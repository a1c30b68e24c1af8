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
expect 0 '^2 items' import alice@example.test Calendar "$work/exported.ics"
expect 0 'Calendar +calendar +2 items' folder list alice@example.test
expect 1 'no file' import alice@example.test Calendar "$work/none.ics"
expect 1 'iCalendar' import alice@example.test Calendar "$0"
expect 1 'no folder' export alice@example.test Nowhere
expect 1 'no account' folder list nobody@example.test

expect 0 '' user remove alice@example.test
expect 1 'no account' user show alice@example.test

[ "$problems" -eq 0 ] || { echo "$problems problems" && exit 1; }
echo "all as expected"
