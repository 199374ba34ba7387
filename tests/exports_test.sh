#!/usr/bin/env bash
# The shared library exports what exports.txt lists (./dev exports writes it anew), and an installed header declares it.
# Usage: exports_test.sh LIBRARY --list | exports_test.sh LIBRARY HEADER...
set -euo pipefail
library=$1
shift
list=$(dirname "$0")/exports.txt

exported() { nm -D --defined-only "$library" | awk '{ print $3 }' | c++filt | LC_ALL=C sort -u; }

if [ "$1" = --list ]; then
    exported
    exit
fi
status=0
diff "$list" <(exported) || { echo "FAILED: the library exports another set of symbols"; status=1; }
while read -r symbol; do
    name=${symbol%%[(\[]*}
    name=${name##*[: ]}
    grep -qwF -e "${name#\~}" "$@" || { echo "FAILED: no header declares $symbol"; status=1; }
done <"$list"
exit $status
