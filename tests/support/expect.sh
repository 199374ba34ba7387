# Sourced by the tests of the vlgim command, which is $vlgim; they run in a folder of their own.
# shellcheck shell=bash disable=SC2154  # vlgim is the test's
# A folder of its own, gone in the end.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'echo "FAILED: line $LINENO of $0"' ERR
cd "$work"

fail() {
    echo "FAILED: $*"
    cat out err
    exit 1
}

# expect CODE ARG...: runs vlgim with the arguments; its output is in the files out and err.
expect() {
    local wanted=$1 code=0
    shift
    "$vlgim" "$@" >out 2>err || code=$?
    [ "$code" -eq "$wanted" ] || fail "vlgim $* gave $code, not $wanted"
}

says() { grep -qF -- "$2" "$1" || fail "no '$2' on $1"; }
