#!/usr/bin/env bash
# What a person sees of vlgim check, upgrade and codes, over folders of many files.
# Usage: check_test.sh PATH_OF_VLGIM TEST
set -Eeuo pipefail
vlgim=$1
tests=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=tests/support/expect.sh
. "$tests/support/expect.sh"

is() { diff "$1" - >differs || fail "$1 is not what it should be: $(cat differs)"; }

is_valid() { "$tests/validate_json.py" "$tests/../docs/vlgim.schema.json" <out || fail "not what the schema says"; }

# track FILE VERSION NAME: the lowest byte of its version, and its name as printf %b takes it; one key, no channel.
track() {
    local name
    {
        printf 'VTRK%b\0\1\0\0\1' "\\0$2"
        printf -v name '%b' "$3"
        printf '%s' "$name"
        head -c $((38 - $(LC_ALL=C; echo ${#name}))) /dev/zero
        printf '\1\0\0\0\200\77\0\0'
    } >"$1"
}

# patch FILE OFFSET BYTES, as printf %b takes them.
patch() { printf '%b' "$3" | dd of="$1" bs=1 seek="$2" conv=notrunc status=none; }

# A model of the current versions, and a track of an old one with bytes behind its end.
"$vlgim" demo good >out
track old.track 0 door
printf 'more' >>old.track

test_good_files() {
    expect 0 check good
    [ ! -s out ] || fail "good files have findings"
    says err '28 files, 0.1 MB in'
    track good/named.track 0 '\033[2J\377' # its name is in no finding; that of the file may hold anything
    mv good/named.track "good/$(printf '\033[2J\377')"
    expect 0 check "good/$(printf '\033[2J\377')"
    says out 'good/\x1b[2J\xff: note: '
    expect 0 check --json good
    is_valid
}

# Broken files between good ones: what is found, in which order, on how many threads.
test_folders() {
    mkdir -p many/clips_gis many/.hidden elsewhere
    cp -r good/copy many/b
    for copy in {1..100}; do cp good/house.mesh "many/b/$copy.mesh"; done # nearly all of the second round
    cp -r good/copy elsewhere/linked
    cp good/house.gim good/house.mesh many/ # without the material group
    cp good/walker.gis many/clips_gis/      # no side file, whatever its folder is called
    cp good/walker.gis many/walker.gis
    head -c 9000 good/walker.gis >many/cut.gis
    head -c 900 good/walker.gis >many/.hidden/cut.gis
    ln -s ../elsewhere/linked many/linked
    sed 's/MtlIdx="1"/MtlIdx="7"/' good/house.gim >many/b/house.gim
    for name in flag walker; do printf '<Vela>\n  <MaterialGroup/' >"many/b/$name.mtg"; done
    ln many/b/flag.mtg many/b/shared.mtg
    track many/track 0 door
    track "many/b/$(printf 'a\033\377')" 1 door
    printf 'no model\n' >many/readme.txt
    head -c 4000 good/house.mesh >many/b/cut.mesh
    head -c 4000 good/flag.mesh >many/z.mesh
    for name in one two; do # share a mesh, which is named once
        sed 's|<Vela>|<Vela Mesh="many/b/cut.mesh">|' good/house.gim >many/b/$name.gim
        cp good/house.mtg many/b/$name.mtg
    done
    expect 1 check --json --submeshes 3 many missing.gim
    is_valid
    cut -c 1-1000 out | jq -r '[.code // .type, .file, .line // .offset] | join(" ")' >found
    is found <<'TEXT'
bad-xml many/b/flag.mtg 2
material-index many/b/house.gim 4
damaged many/b/cut.mesh 4364
bad-xml many/b/walker.mtg 2
damaged many/cut.gis 8196
missing-file many/house.gim 1
save-version many/track 4
unreadable missing.gim 
damaged many/z.mesh 20155
summary  
TEXT
    cp out one_job
    for jobs in 1 2 7; do
        expect 1 check --json --submeshes 3 -j $jobs many missing.gim
        cmp -s out one_job || fail "the output of $jobs threads is another"
    done
    expect 1 check many missing.gim --submeshes 3
    says out 'many/b/house.gim:4:9: error: submesh roof refers to material 7, but there are 3 (Vela/SubMesh/Mesh1) [material-index]'
    says out 'many/track: note: a save writes version 0x10001 in place of 0x10000 (header, byte 4) [save-version]'
    says err '8 errors, 0 warnings, 1 note; 1 unreadable'

    # What is named is checked, wherever it lies; so is what a list names.
    printf '%s\n' many/readme.txt many/.hidden many/linked/flag.gim "many/b/$(printf 'a\033\377')" >list
    expect 1 check - <list
    says out 'many/readme.txt: note: neither'
    says out 'many/.hidden/cut.gis: error: '
    says err '7 files'
    mkdir many/b/locked
    if chmod 0 many/b/locked && [ ! -r many/b/locked ]; then # root may read it
        expect 1 check --only damaged many/b
        says out "many/b/locked: error: the folder can't be read: Permission denied [unreadable]"
    fi
    rmdir many/b/locked
}

test_choice_of_codes() {
    findings() {
        expect "$1" check old.track "${@:2}"
        grep -o '\[[a-z-]*\]' out | tr -d '\n'
    }
    while read -r code found arguments; do
        # shellcheck disable=SC2086  # words are arguments
        [ "$(findings "$code" $arguments)" = "$found" ] || fail "check $arguments: not $found"
    done <<'TEXT'
1 [save-version][save-drops-bytes]
0 [save-version] --ignore save-drops-bytes
1 [save-version] --ignore save-drops-bytes --strict
1 [save-drops-bytes] --only damaged,save-drops-bytes --strict
1 [save-drops-bytes] --only damaged --only save-drops-bytes
TEXT
    expect 0 check --only damaged --ignore damaged,unreadable old.track missing.gim
}

test_usage() {
    expect 2 check --only weigth-sum good
    says err "there is no code 'weigth-sum'; is it weight-sum?"
    expect 2 check --memory-limit 0 good
    expect 2 check -j 0 good
    mkdir -p none
    expect 1 check none
    says err 'no files of models found'
    expect 0 check --allow-empty none
    printf 'good/house.gim\r\nmissing.gim\r\n' >list
    expect 1 check - <list
    says err '1 unreadable'
    tr -d '\r' <list | tr '\n' '\0' >nul
    expect 1 check -0 - <nul
    says err '1 unreadable'
    head -c 2000000 /dev/zero >large.mesh
    expect 1 check --memory-limit 1 --only memory-limit large.mesh good
    says out '[memory-limit]'
}

# What the program is run in decides on colours and progress, and neither goes into a file.
test_terminal() {
    terminal() { TERM=xterm script -qec "$1" /dev/null >out || true; }
    terminal "'$vlgim' check old.track"
    says out "$(printf 'old.track: \033[1;36mnote:\033[0m a save')"
    terminal "NO_COLOR=1 '$vlgim' check old.track"
    says out 'old.track: note: a save'
    if "$vlgim" check old.track >/dev/full 2>err; then fail "a full disk goes unseen"; fi
    says err "the output can't be written"
    for copy in {1..100}; do cp old.track "good/$copy.track"; done # more than one round
    { until [ -e gone ]; do :; done; "$vlgim" check good 2>err; } | { exec <&-; touch gone; } || true
    [ ! -s err ] || fail "a reader that goes is complained of"
}

# Two meshes are old, of which one has bytes that a save drops, and a track.
test_upgrade() {
    "$vlgim" demo old >out
    patch old/house.mesh 4 '\0003'
    patch old/flag.mesh 4 '\0003'
    printf 'more' >>old/flag.mesh
    track old/door.track 0 door
    cp -r old before
    expect 1 upgrade --dry-run old
    is out <<'TEXT'
old/door.track: would be upgraded, 0x10000 to 0x10001
    a save writes version 0x10001 in place of 0x10000 (header, byte 4) [save-version]
old/flag.mesh: skipped; --drop CODE allows it
    4 bytes from here on belong to no block, up to the end of the file (byte 20171) [save-drops-bytes]
old/house.mesh: would be upgraded, 0x50003 to 0x50004
    a save writes version 0x50004 in place of 0x50003 (header, byte 4) [save-version]
TEXT
    diff -r old before || fail "a dry run writes"
    expect 1 upgrade old
    says err '2 upgraded, 1 skipped, 0 failed, 4 current'
    cmp old/house.mesh good/house.mesh || fail "another mesh"
    expect 2 upgrade --drop damaged old
    says err "a save drops nothing of what 'damaged' names"
    expect 0 upgrade --json --drop save-drops-bytes old
    is_valid
    jq -r 'select(.status == "upgraded") | .file, .reasons[].code' out | is <(printf '%s\n' old/flag.mesh save-version save-drops-bytes)
    cmp old/flag.mesh good/flag.mesh || fail "another flag"
    expect 0 check old
}

# Nothing outside is written, whichever way leads there; paths in a manifest are from where the program runs.
test_upgrade_stays_inside() {
    mkdir -p outside inside/sub
    cp good/house.mesh outside/
    patch outside/house.mesh 4 '\0003'
    cp outside/house.mesh outside/before
    ln -s ../outside/house.mesh inside/link.mesh
    ln -s ../outside inside/folder
    cd inside
    for mesh in ../outside/house.mesh "$PWD/../outside/house.mesh" sub/../../outside/house.mesh link.mesh folder/house.mesh; do
        sed "s|<Vela>|<Vela Mesh=\"$mesh\">|" ../good/house.gim >house.gim
        for argument in . house.gim; do
            expect 1 upgrade $argument
            says out "it is outside the given folders: $work/outside/house.mesh"
            says err '0 upgraded, 1 skipped, 0 failed'
        done
    done
    expect 1 upgrade link.mesh
    says err '0 upgraded, 1 skipped, 0 failed'
    cmp ../outside/house.mesh ../outside/before || fail "a file outside of the folder was written"
    expect 0 upgrade house.gim ../outside
    says err '1 upgraded, 0 skipped'
    cmp ../outside/house.mesh ../good/house.mesh || fail "another mesh"
}

# Two manifests of one mesh that do not agree, and one that the mesh does not fit.
test_upgrade_of_a_shared_mesh() {
    mkdir two
    patch good/flag.mesh 4 '\0003'
    cp good/flag.mesh good/flag.gim two/
    sed '/<Mesh1/d; s|<Vela>|<Vela Mesh="two/flag.mesh">|' good/flag.gim >two/other.gim
    expect 1 upgrade two
    says out 'its manifests disagree on its submesh count: two/flag.gim lists 2, two/other.gim lists 1'
    expect 1 upgrade two/other.gim
    says out 'it should have 1 submesh, but the file itself fits 2'
    cmp two/flag.mesh good/flag.mesh || fail "a mesh of a wrong count was written"
}

# Ctrl-C: what is begun is finished, and no file is half done.
test_interrupted_upgrade() {
    patch good/flag.mesh 4 '\0003'
    mkdir -p stop/0
    for copy in {1..30}; do ln good/flag.mesh "stop/0/$copy.mesh"; done
    for folder in {1..99}; do cp -r stop/0 "stop/$folder"; done
    rm out
    set -m # a shell without job control has its background commands ignore Ctrl-C
    "$vlgim" upgrade --json --submeshes 2 stop >out 2>err &
    set +m
    until [ -s out ]; do :; done
    kill -INT $!
    code=0
    wait $! || code=$?
    [ $code -eq 130 ] || fail "interrupted, upgrade gave $code"
    says err 'vlgim: interrupted'
    is_valid
    [ -z "$(find stop -name '.*' -type f)" ] || fail "a file is left half done"
    upgraded=$(grep -c '"status":"upgraded"' out)
    [ "$upgraded" -eq "$(head -qc 5 stop/*/*.mesh | tr -dc '\4' | wc -c)" ] || fail "not all is told that was upgraded"
    [ "$upgraded" -lt 3000 ] || fail "nothing was interrupted"
}

# A pipe's reader that went away is no interrupt. Its first result is flushed behind all work.
test_reader_gone() {
    mkfifo pipe
    exec 3<>pipe
    exec 4>pipe 3<&-
    for command in 'check --strict' 'upgrade -n'; do
        code=0
        # shellcheck disable=SC2086
        "$vlgim" $command old.track good >&4 2>err || code=$?
        [ $code -eq 141 ] || fail "$command without a reader gave $code"
        [ ! -s err ] || fail "$command had something to say: $(cat err)"
    done
}

"test_$2"
