#!/usr/bin/env bash
# The Debian package, unpacked and served from where it lies, without the build beside it.
# usage: package.sh BUILD-DIRECTORY (of an optimised build)
set -euo pipefail

build=$(cd "${1:?usage: package.sh BUILD-DIRECTORY}" && pwd)
work=$(mktemp -d)
root=$work/root
data=$work/data
server_id=

stop() {
    if [ -n "$server_id" ]; then
        kill "$server_id" 2>/dev/null && wait "$server_id" || true
        server_id=
    fi
}

cleanup() {
    stop
    rm -rf "$work"
}
trap cleanup EXIT

fail() {
    echo "FAILED: $*"
    exit 1
}

admin() { "$root/usr/bin/cvadmin" --data "$data" "$@"; }

(cd "$work" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work" >"$work/log" 2>&1) ||
    { cat "$work/log" && fail "no package was made"; }
package=$(echo "$work"/cvwebdav_*.deb)
dpkg-deb -x "$package" "$root"
dpkg-deb -e "$package" "$work/control"

grep -q '^Depends: .*libsqlite3' "$work/control/control" ||
    fail "the package does not tell which libraries it needs"

for script in postinst prerm postrm; do
    sh -n "$work/control/$script" || fail "the script $script is no shell script"
done
[ "$(cat "$work/control/conffiles")" = /etc/default/cvwebdavd ] || fail "other conffiles"
for file in etc/default/cvwebdavd usr/lib/systemd/system/cvwebdavd.service \
    usr/share/man/man8/cvwebdavd.8.gz usr/share/man/man1/cvadmin.1.gz \
    usr/share/bash-completion/completions/cvadmin usr/share/doc/cvwebdav/administration.md; do
    [ -s "$root/$file" ] || fail "the package lacks $file"
done
[ -z "$(find "$root" -perm /7022 ! -type l)" ] || fail "files that others may write or that set ids"
if grep -rqF "$build" "$root/usr/bin" "$root/usr/sbin" "$root/usr/lib"; then
    fail "the build directory is named in the package"
fi
if command -v systemd-analyze >/dev/null; then
    unit=$root/usr/lib/systemd/system/cvwebdavd.service
    systemd-analyze security --offline=true --threshold=20 "$unit" >"$work/log" 2>&1 ||
        { grep -E '^✗|Overall' "$work/log" && fail "the service is exposed more than 2.0"; }
fi

admin init --domain example.test >/dev/null
echo secret | admin user add alice@example.test --password-stdin
if [ "$(id -u)" -eq 0 ]; then
    chmod 711 "$work" && chown -R nobody "$data"
    echo secret | admin user add bob@example.test --password-stdin
    [ -z "$(find "$data" ! -user nobody)" ] || fail "cvadmin as root makes files of root's own"
    chown -R root "$data"
fi
[ "$(realpath "$data/bin/CVUser.so")" = "$(realpath "$root"/usr/lib/*/cvwebdav/CVUser.so)" ] ||
    fail "the data directory links other libraries"

serve() {
    : >"$work/out"
    "$root/usr/sbin/cvwebdavd" --data "$data" --listen 127.0.0.1:0 >"$work/out" 2>"$work/err" &
    server_id=$!
    for _ in $(seq 100); do
        url=$(sed -nE 's|.*(http://127\.0\.0\.1:[0-9]+).*|\1|p' "$work/out" | head -n 1)
        [ -z "$url" ] || break
        kill -0 "$server_id" 2>/dev/null || { cat "$work/err" && fail "cvwebdavd ended at once"; }
        sleep 0.1
    done
}

expect_health() {
    curl -sS --unix-socket "$data/run/cvwebdavd.sock" http://localhost/healthz >"$work/health"
    grep -qF "$1" "$work/health" || { cat "$work/health" && fail "the health is not: $1"; }
}

serve
status=$(curl -sS -o /dev/null -w '%{http_code}' -u alice@example.test:secret -X PROPFIND \
    -H 'Depth: 0' -d '<propfind xmlns="DAV:"><allprop/></propfind>' "$url/webdav/principals/")
[ "$status" = 207 ] || fail "the principals are answered $status"
found=$(curl -sS -o /dev/null -w '%{redirect_url}' "$url/.well-known/carddav")
admin dns example.test | grep -F "\"path=${found#"$url"}\"" >/dev/null ||
    fail "the records of DNS lead elsewhere than $found"
curl -sS --fail "$url/setup" | grep -F "<code>$url/</code>" >/dev/null || fail "/setup names another server"
expect_health ok
stop
echo broken >"$data/corvane.db"
serve
expect_health "the store finds no domain"
echo "the package serves"
