#!/usr/bin/env bash
# What the vlgim command prints with --json is what the schema says, and the schema would notice if it were not.
# Usage: schema_test.sh PATH_OF_VLGIM
set -euo pipefail
vlgim=$1
tests=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

is_valid() { "$tests/validate_json.py" "$tests/../docs/vlgim.schema.json" 2>err; }

says() { grep -qF -- "$1" lines || { echo "FAILED: no line says $1"; exit 1; }; }

# refused TYPE SCRIPT: the first line of this type has to be refused once sed has gone over it.
refused() {
    grep -m 1 "^{\"version\":1,\"type\":\"$1\"," lines | LC_ALL=C sed "$2" >changed
    if grep -qxFf changed lines; then echo "FAILED: '$2' changes nothing"; exit 1; fi
    if is_valid <changed; then echo "FAILED: '$2' is taken for a $1"; exit 1; fi
}

"$vlgim" demo . >/dev/null
{
    printf 'VTRK\1\0\1\0\0\1' # version 0x10001
    printf 'T\303\274r\33\371'
    head -c 26 /dev/zero
    printf '\1\0\0\1\0\0\1\0\0\0\300\177\0\0' # one key at NaN, no channel
} >door.track
"$vlgim" info --json house.gim flag.gim walker.gim ./*.mesh ./*.gis copy/*.gim door.track >lines
[ "$(wc -l <lines)" -eq 11 ] || { echo "FAILED: not one line for each file"; exit 1; }
cp walker.mesh other.mesh
printf '\300\177' | dd of=other.mesh bs=1 seek=2002 conv=notrunc status=none # NaN in a position
for pair in 'walker.mesh other.mesh' 'flag.gim house.gim'; do
    # shellcheck disable=SC2086  # words are arguments
    "$vlgim" diff --submeshes 3 --json $pair >>lines || [ $? -eq 1 ]
done
is_valid <lines || { echo "FAILED: the output is not what the schema says"; cat err; exit 1; }
says '"name":"Tür\\x1b\\xf9"' lines
says '"length":"NaN"' lines
says '"where":"vertex 35","largest":"Infinity"'
says '"position":[0.0,0.95,0.0]' lines

if is_valid </dev/null; then echo "FAILED: no line at all is valid"; exit 1; fi
refused model 's/"version":1/"version":2/'
refused model 's/"type":"model"/"type":"house"/'
refused model 's/"type":"model"/"type":"mesh"/'
refused model 's/,"music":[a-z]*//'
refused model 's/"music":/"music":true,"music":/'
refused model 's/"vertices":[0-9]*/"vertices":-1/'
refused model 's/"name":"[a-z]*"/"name":7/'
refused mesh 's/"magic":"34/"magic":"3/'
refused mesh 's/"low":\[[^,]*,/"low":[/'
refused model 's/"channels":/"more":1,"channels":/'
refused animation 's/"rotations":"[a-z0-9]*"/"rotations":"double"/'
refused animation 's/"length":[0-9.]*/"length":NaN/'
refused difference 's/"largest":[^,]*/"largest":"far"/'
refused difference 's/"a":"[^"]*"/"a":7/'
refused track 's/"length":"NaN"/"length":"nan"/'
refused track 's/}$/,"more":1}/'
refused track 's/T\xc3/T/'
refused track 's/}$//'
