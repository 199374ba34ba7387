#!/usr/bin/env bash
# What a person sees of the vlgim command: its exit codes, what goes to stdout and what to stderr.
# Usage: tool_test.sh PATH_OF_VLGIM
set -euo pipefail
vlgim=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
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

expect 0 demo 'a model'
[ "$(grep -c 'same bytes' out)" -eq 6 ] || fail "the copy differs"
[ ! -s err ] || fail "the demo complains"

cd 'a model'
expect 0 info house.gim
for text in 'house.mesh' 'roof: 1 tiles' 'Roughness  0.7' '0x50004, pack mode 0' '2 uv sets' '(-3.5, 0, -2.25) to (3.5, 5.5, 2.25)'; do
    says out "$text"
done
expect 0 info house.mesh
says out '3, as house.gim says'

mkdir alone res
cp house.mesh alone/
expect 0 info alone/house.mesh
says out '3, the one count that fits the file'
says out 'magic       34 80 C8 BB'
expect 1 info --submeshes 9000 alone/house.mesh
says err 'gim file is damaged: '
head -c 3000 house.mesh >alone/cut.mesh
expect 1 info alone/cut.mesh house.gim
says err 'use --submeshes N'
says out 'roof: 1 tiles'

mv house.mesh res/
expect 1 info house.gim
says err 'Failed to read file : house.mesh'
[ ! -s out ] || fail "a model that can't be read is printed"
expect 0 info --base res/ house.gim

expect 0 info walker.gis
for text in '6.1' '3, in the file' 'hat                   (0, 0.2, 0)  never moves' '32 bits, scales halves         2,147'; do
    says out "$text"
done
head -c 9000 walker.gis >cut.gis
expect 1 info cut.gis
says err 'gis file is damaged: '
{
    printf 'VTRK\1\0\1\0\0\1' # version 0x10001
    printf 'door'
    head -c 28 /dev/zero
    printf '\1\0\0\1\0\0\1\0\0\0\200\77\0\0' # one key at 1, no channel
} >door.track
expect 0 info door.track
says out 'name        door'
says out '1, length 1'

expect 1 info missing.mesh
says err 'missing.mesh'
for arguments in '' 'info' 'frobnicate' 'info --submeshes x house.mesh' 'demo a b'; do
    # shellcheck disable=SC2086  # words are arguments
    expect 2 $arguments
    [ -s err ] || fail "wrong usage is not told on stderr"
    [ ! -s out ] || fail "wrong usage writes to stdout"
done
expect 0 info --help

if "$vlgim" info --base res/ house.gim >/dev/full 2>err; then fail "a full disk goes unseen"; fi
says err "can't be written"
cp res/house.mesh UPPER.MESH
expect 0 info UPPER.MESH
