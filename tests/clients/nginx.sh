#!/usr/bin/env bash
# A proxy in front: nginx with TLS and HTTP/2 passes requests on and tells who asks.
# usage: nginx.sh BUILD-DIRECTORY (which holds bin and lib)
set -euo pipefail
# shellcheck source=tests/clients/server.bash
. "$(dirname "${BASH_SOURCE[0]}")/server.bash" "$@"

login=$user:$password
proxy_id=
end_all() {
    [ -z "$proxy_id" ] || kill "$proxy_id" 2>/dev/null || true
    cleanup
}
trap end_all EXIT

admin init --domain example.test >/dev/null
echo "$password" | admin user add "$user" --password-stdin
start_daemon server --trusted-proxy 127.0.0.1 --access-log "$work/access.log"

openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 1 -subj /CN=localhost \
    -addext subjectAltName=DNS:localhost -keyout "$work/key.pem" -out "$work/cert.pem" 2>/dev/null
# Below those that the system gives to connections, and not another test's.
port=$((10000 + $$ % 20000))
while (: <"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do port=$((port + 1)); done
cat >"$work/nginx.conf" <<END
daemon off;
pid $work/nginx.pid;
error_log $work/nginx.err;
events {}
http {
    access_log off;
    client_body_temp_path $work/body;
    proxy_temp_path $work/proxy;
    fastcgi_temp_path $work/fastcgi;
    uwsgi_temp_path $work/uwsgi;
    scgi_temp_path $work/scgi;
    server {
        listen 127.0.0.1:$port ssl http2;
        ssl_certificate $work/cert.pem;
        ssl_certificate_key $work/key.pem;
        location / {
            proxy_pass ${url%/};
            proxy_set_header Host \$http_host;
            proxy_set_header X-Forwarded-For \$proxy_add_x_forwarded_for;
            proxy_set_header X-Forwarded-Proto \$scheme;
            proxy_request_buffering off;
            client_max_body_size 32m;
        }
    }
}
END
"$(command -v nginx || echo /usr/sbin/nginx)" -e "$work/nginx.err" -c "$work/nginx.conf" &
proxy_id=$!
url=https://localhost:$port

# The client comes from an address that is no proxy's, and claims another.
ask() {
    curl -sS --http2 --interface 127.0.0.2 --resolve "localhost:$port:127.0.0.1" \
        --cacert "$work/cert.pem" -H 'X-Forwarded-For: 192.0.2.1' "$@"
}
for _ in $(seq 100); do
    ! ask -o /dev/null "$url/setup" 2>/dev/null || break
    kill -0 "$proxy_id" 2>/dev/null || fail "nginx ended at once: $(cat "$work/nginx.err")"
    sleep 0.1
done

calendar=$url/webdav/caldav/example.test/alice/b64=Q2FsZW5kYXI=/one.ics
event=$'BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Test//EN\r\nBEGIN:VEVENT\r\nUID:one\r\n'
event+=$'DTSTAMP:20250101T000000Z\r\nDTSTART:20250301T100000Z\r\nSUMMARY:One\r\n'
event+=$'END:VEVENT\r\nEND:VCALENDAR\r\n'
same "PUT of a chunked body through nginx" "2 204" "$(printf '%s' "$event" |
    ask -u "$login" -T - -o /dev/null -w '%{http_version} %{http_code}' "$calendar")"
same "the event" "$(printf '%s' "$event")" "$(ask -u "$login" "$calendar")"
ask "$url/setup" | grep -F "$url/" >/dev/null || fail "the setup page does not name $url/"
grep -q '^127\.0\.0\.2 - alice@example\.test \[.*\] "PUT ' "$work/access.log" ||
    fail "the access log does not name the client"

# Guesses slow down the client who makes them, not the proxy and everyone behind it.
for _ in 1 2 3; do ask -u "$user:wrong" -o /dev/null "$calendar"; done
grep -q 'logins fail: client 127\.0\.0\.2, network 127\.0\.0\.2/32, failures 3' \
    "$work/server.err" || fail "the failed logins are not counted for the client"

admin status | grep -Eq '^Logins that failed +3$' || fail "cvadmin status does not count them"
same "health" ok "$(curl -sS --unix-socket "$data/run/cvwebdavd.sock" http://localhost/healthz)"
same "remembered passwords" 1 "$(curl -sS --unix-socket "$data/run/cvwebdavd.sock" \
    http://localhost/metrics | sed -n 's/^cvwebdavd_passwords_remembered //p')"
echo "nginx passes on what clients say and who they are"
