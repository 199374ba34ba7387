#!/usr/bin/env bash
# The shared library exports what exports.txt lists: ./dev exports writes it anew.
# Usage: exports_test.sh PATH_OF_LIBRARY [--list]
set -euo pipefail
list=$(dirname "$0")/exports.txt

# Beside our own symbols a compiler leaves weak copies of what it instantiates of other people's, as its mangled name
# tells: 4vela, 4vlio and 3kit are our namespaces.
exported() {
    nm -D --defined-only "$1" | awk '$2 !~ /[VWu]/ || $3 ~ /^_Z(TI|TS|TV|GV|Z)*N?[VK]*(4vela|4vlio|3kit)/ { print $3 }' |
        c++filt | LC_ALL=C sort -u
}

if [ "${2:-}" = --list ]; then
    exported "$1"
else
    diff "$list" <(exported "$1") || { echo "FAILED: the library exports another set of symbols"; exit 1; }
fi
