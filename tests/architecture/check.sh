#!/usr/bin/env bash
# Checks what the architecture promises: who includes whom, where the operating system is asked for,
# and that the module offers its three entry points and needs nothing but the standard library.
# usage: check.sh BUILD-DIRECTORY
set -euo pipefail
libraries=$(realpath "$1")/lib
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

failures=0
expect_none() {
    [ -z "$2" ] && return
    printf 'FAILED: %s\n%s\n' "$1" "$2"
    failures=$((failures + 1))
}

sources() { find "$@" -name '*.h' -o -name '*.cpp'; }

# Includes of FOLDER that match none of the allowed patterns.
foreign_includes() {
    local folder=$1 allowed=$2
    sources "$folder" | xargs grep -HnE '^#include "' | grep -vE "#include \"($allowed)/" || true
}

expect_none "platform includes others" "$(foreign_includes platform 'platform')"
expect_none "abi includes others" "$(foreign_includes abi 'abi')"
expect_none "webdav includes others" "$(foreign_includes webdav 'webdav|platform|abi')"
expect_none "groupware includes others" "$(foreign_includes groupware 'groupware|platform|abi')"
expect_none "host includes others" "$(foreign_includes host 'host|platform|abi')"
expect_none "admin includes others" "$(foreign_includes admin 'admin|groupware|platform')"

expect_none "the module includes more than the standard library" \
    "$(sources webdav abi | xargs grep -HnE '^#include <.*[/.]' | grep -vE '<(httpext|stdint)\.h>' || true)"

expect_none "an operating system is asked for outside platform" \
    "$(sources webdav groupware host admin abi | grep -v '^abi/Isapi.h' |
        xargs grep -HnE '#.*(_WIN32|__linux__|__unix__|_MSC_VER|__APPLE__)' || true)"

exported() { nm -D --defined-only "$libraries/$1.so" | awk '{print $3}' | sort | paste -sd ' '; }
expected="GetExtensionVersion HttpExtensionProc TerminateExtension"
[ "$(exported CVWebDAV)" = "$expected" ] ||
    expect_none "the module offers other names than its entry points" "$(exported CVWebDAV)"

# Sanitizers bring libraries of their own.
expect_none "the module needs more than the standard library" \
    "$(readelf -d "$libraries/CVWebDAV.so" | sed -nE 's/.*NEEDED.*\[(.*)\]/\1/p' |
        grep -vE '^(libc|libm|libstdc\+\+|libgcc_s|ld-linux.*|libasan|libubsan|libtsan)\.so' || true)"

# Every operation of the interface is offered by its library, and nothing else.
operations() { grep -ohE '\bCV_[A-Za-z]+\(' "abi/$1.h" | tr -d '(' | sort | paste -sd ' '; }
for library in CVUser CVCalendar; do
    [ "$(exported $library)" = "$(operations $library)" ] ||
        expect_none "$library offers other names than abi/$library.h" \
            "$(diff <(exported $library | tr ' ' '\n') <(operations $library | tr ' ' '\n') || true)"
done

[ "$failures" -eq 0 ] && echo "the architecture holds"
exit $((failures > 0))
