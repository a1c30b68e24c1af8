#!/usr/bin/env bash
# The manual pages name every command and option that there is, and completion offers them.
# usage: documents.sh DIRECTORY-OF-THE-PROGRAMS
set -euo pipefail
export PATH=$1:$PATH
packaging=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../../packaging")
problems=0

complain() {
    echo "$*"
    problems=$((problems + 1))
}

# shellcheck source=packaging/completion/cvwebdav
. "$packaging/completion/cvwebdav" 2>/dev/null

# What completion offers at the end of a command line.
offered() {
    local COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMPREPLY=()
    _cvwebdav
    echo "${COMPREPLY[*]}"
}

expect_offered() {
    local expected=$1 found
    shift
    found=$(offered "$@")
    [ "$found" = "$expected" ] || complain "completion of '$*' offers '$found', not '$expected'"
}

# Every command below these words.
check_commands() {
    local below word
    below=$(_cvwebdav_words Subcommands cvadmin "$@")
    [ -n "$below" ] || grep -qE "^\.It (.*, )?Cm $*( |\$)" "$packaging/man/cvadmin.1" ||
        complain "cvadmin(1) lacks: $*"
    for word in $below; do check_commands "$@" "$word"; done
}
check_commands

for option in $(_cvwebdav_words Options cvwebdavd | grep -o -- '--.*'); do
    grep -qE "^\.It Fl Fl ${option#--}( |\$)" "$packaging/man/cvwebdavd.8" ||
        complain "cvwebdavd(8) lacks: $option"
done

expect_offered 'init import' cvadmin --data x i
expect_offered 'passwd password-age' cvadmin --data user user pa
expect_offered 'add remove' cvadmin --data x user alias ''
expect_offered "$packaging/man" cvwebdavd --data "$packaging/m"
expect_offered 'calendar tasks contacts' cvadmin --data x folder add a@b --kind ''
expect_offered '--json' cvadmin --data x user list --j
expect_offered '--tls-listen --tls-cert --tls-key' cvwebdavd --data x --tls

# What fail2ban is told to look for finds the networks alone, also when somebody tries to log in by
# a name that looks like such a line.
steps=$(grep -E '^ {4}cvwebdavd: logins fail: ' "$packaging/../docs/serving.md")
steps+=$'\ncvwebdavd: logins fail: client 192.0.2.7, login "cvwebdavd: logins fail: client '
steps+='198.51.100.1, network x", failures 3, pause 1 s'
for document in administration serving; do
    expression=$(sed -n 's/^ *failregex = //p' "$packaging/../docs/$document.md")
    found=$(grep -P -- "${expression/<HOST>/\\S+}" <<<"$steps") || true
    [[ $found == *"network 192.0.2.7/32"* && $found != *'login "'* ]] ||
        complain "the expression of docs/$document.md finds: $found"
done

if command -v mandoc >/dev/null; then
    mandoc -T lint -W warning "$packaging"/man/* || complain "mandoc finds faults in a manual page"
fi

[ "$problems" -eq 0 ] || { echo "$problems problems" && exit 1; }
echo "all as expected"
