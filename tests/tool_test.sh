#!/usr/bin/env bash
# What a person sees of the vlgim command: its exit codes, what goes to stdout and what to stderr.
# Usage: tool_test.sh PATH_OF_VLGIM TEST
set -Eeuo pipefail
vlgim=$1
# shellcheck source=tests/support/expect.sh
. "$(dirname "$0")/support/expect.sh"

expect 0 demo 'a model'
mv out demo_out
mv err demo_err
cd 'a model'

test_demo() {
    [ "$(grep -c 'same bytes' ../demo_out)" -eq 14 ] || fail "the copy differs"
    [ ! -s ../demo_err ] || fail "the demo complains"
    says ../demo_out '12 of 12 bones of walker.gim fit walker.gis'
}

test_info_of_models() {
    expect 0 info house.gim
    for text in 'house.mesh' 'roof: 1 tiles' 'Roughness  0.7' '0x50004, pack mode 0' '2 uv sets' '(-3.5, 0, -2.25) to (3.5, 5.5, 2.25)'; do
        says out "$text"
    done
    says out 'door                  6        60         1       1'
    expect 0 info house.mesh
    says out '3, as house.gim says'
    expect 0 info flag.gim
    for text in 'mode 1, frames 3' '3, at 0 10 20'; do
        says out "$text"
    done
    expect 0 info walker.gim
    for text in 'skeleton    walker.gis' 'skinned mesh' '4 a vertex, sums 1 to 1' '132 with 1, 180 with 2' \
        '12, in a mask of 12' '12, root hips, with bounds' 'forearm_l             arm_l                  yes    0.308' \
        'type 5                    84         468         312   yes'; do
        says out "$text"
    done
    mkdir res
    mv house.mesh res/
    expect 1 info house.gim
    says err 'house.mesh: No such file or directory'
    [ ! -s out ] || fail "a model that can't be read is printed"
    expect 0 info --base res/ house.gim
}

test_info_of_meshes() {
    mkdir alone
    cp walker.mesh house.mesh alone/
    expect 0 info alone/walker.mesh
    says out '3, the one count that fits the file'
    says out 'magic       34 80 C8 BB'
    expect 1 info --submeshes 9000 alone/walker.mesh
    says err 'alone/walker.mesh: submesh entries at byte '
    expect 1 info alone/house.mesh # how far its tracks reach depends on the count
    says err "they can't be worked out; use --submeshes N"
    printf '\143' | dd of=alone/walker.mesh bs=1 seek=16 conv=notrunc status=none # parent of the second bone
    printf '\33' | dd of=alone/walker.mesh bs=1 seek=38 conv=notrunc status=none  # name of the first
    expect 0 info alone/walker.mesh
    for text in '12, root \x1bips' 'spine                 99, which does not exist'; do
        says out "$text"
    done
    {
        printf '\64\200\310\273\4\0\5\0\1\0\0\0' # version 0x50004, skinned, no morph, no tracks
        printf '\377\377\0\105\0\0\0' # 65535 bones, which are none; share table at byte 69
        printf '\1\0\0\0\0\0\0\0\0\0' # one submesh
        printf '\0\0\1\0\0\0\0\0\0\0' # one vertex, without data
        printf '\0\0\7\0\377\377\377\377' # bones 0 and 7
        printf '\0\0\300\177\0\0\0\77\0\0\0\0\0\0\0\0' # weights NaN and 0.5
        printf '\11\0\0\0\201\0' # mask of nine bones: 0 and 7
        printf '\1\0\23\0\0\0\1\0\4\0\0\0\0\0\0\0' # share table: a vertex block at byte 19
    } >alone/boneless.mesh
    expect 0 info --submeshes 1 alone/boneless.mesh
    for text in 'no sums' '1 with 2' 'not a number: 1' '2, in a mask of 9' 'bones       none'; do
        says out "$text"
    done
    expect 0 info --json --submeshes 1 alone/boneless.mesh
    says out '"weight_sums":null,"nan_weight_sums":1,"vertices_by_influences":[0,0,1,0,0]'
    says out '"mask_bits":9,"used_bones":[0,7],"bones":[]'
    head -c 3000 flag.mesh >alone/cut.mesh
    expect 1 info alone/cut.mesh house.gim
    says err 'use --submeshes N'
    says out 'roof: 1 tiles'
    expect 1 info --json alone/cut.mesh house.gim
    [ "$(wc -l <out)" -eq 1 ] || fail "not one line for the one model that can be read"
    says out '"name":"roof","material":1'
    says err 'use --submeshes N'
}

test_info_of_animations_and_tracks() {
    expect 0 info walker.gis
    for text in '6.1' '3, in the file' 'hat                   (0, 0.2, 0)  never moves' '32 bits, scales halves         2,147'; do
        says out "$text"
    done
    head -c 9000 walker.gis >cut.gis
    expect 1 info cut.gis
    says err 'cut.gis: clip '
    {
        printf 'VTRK\1\0\1\0\0\1' # version 0x10001
        printf 'door'
        head -c 28 /dev/zero
        printf '\1\0\0\1\0\0\1\0\0\0\200\77\0\0' # one key at 1, no channel
    } >door.track
    expect 0 info door.track
    says out 'name        door'
    says out '1, length 1'

    # Any bytes of a name come out as text: shown BYTES TEXT, BYTES being escapes of printf.
    shown() {
        printf '%b\0' "$1" | dd of=door.track bs=1 seek=10 conv=notrunc status=none
        expect 0 info door.track
        grep -qxF "  name        $2" out || fail "the name $1 is not shown as $2"
    }
    shown 'T\0303\0274r \0342\0202\0254 \0360\0237\0232\0252' 'Tür € 🚪'
    shown 'a\0033[2Jb\0177c\0302\0205' 'a\x1b[2Jb\x7fc\xc2\x85' # control characters
    shown '\0271\0303 \0303' '\xb9\xc3 \xc3'                     # no lead, none behind the lead
    shown '\0300\0257\0340\0237\0277' '\xc0\xaf\xe0\x9f\xbf'     # forms that are too long
    shown '\0355\0240\0200\0364\0220\0200\0200' '\xed\xa0\x80\xf4\x90\x80\x80' # surrogate, beyond the last
}

test_diff() {
    cp -r ../'a model' ../other
    expect 0 diff walker.gim ../other/walker.gim
    [ ! -s out ] || fail "two models that are the same differ"
    sed -i 's/"0.8"/"0.85"/' ../other/walker.mtg
    printf '\33\300' | dd of=../other/walker.gis bs=1 seek=14 conv=notrunc status=none # name of the first bone
    expect 1 diff walker.gim ../other/walker.gim
    [ "$(cat out)" = "material 'denim' / Roughness: 0.8 and 0.85" ] || fail "not the one difference"
    expect 0 diff --tolerance 0.06 walker.gim ../other/walker.gim
    expect 1 diff walker.gis ../other/walker.gis --json
    says out '"field":"bone '"'hips' / name"'","where":"","largest":null,"count":1,"a":"hips","b":"\\x1b\\xc0ps"}'
    expect 2 diff walker.gis missing.gis
    expect 2 diff walker.gis flag.gim
    says err 'walker.gis and flag.gim are files of different kinds'
    code=0
    "$vlgim" diff walker.gis ../other/walker.gis >/dev/full 2>err || code=$?
    [ "$code" -eq 2 ] || fail "a difference that can't be told gives $code"
}

test_usage() {
    expect 1 info missing.mesh
    says err 'missing.mesh'
    for arguments in '' 'info' 'frobnicate' 'info --submeshes x house.mesh' 'demo a b' 'diff a.gis' \
        'diff --tolerance -1 a.gis b.gis' 'diff --tolerance nan a.gis b.gis'; do
        # shellcheck disable=SC2086  # words are arguments
        expect 2 $arguments
        [ -s err ] || fail "wrong usage is not told on stderr"
        [ ! -s out ] || fail "wrong usage writes to stdout"
    done
    expect 0 info --help
    says out 'Examples:'

    if "$vlgim" info house.gim >/dev/full 2>err; then fail "a full disk goes unseen"; fi
    says err "can't be written"
    cp flag.mesh UPPER.MESH
    expect 0 info UPPER.MESH
}

"test_$2"
