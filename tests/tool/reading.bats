# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

@test "get answers with the merged value" {
    printf '[Video]\noutput=scart\n' >"$custom"
    expect 0 get Video output
    [ "$output" = scart ]
    expect 0 get Video/output --from stbapp
    [ "$output" = hdmi ]
}

@test "get tells an absent setting from a given default" {
    expect 1 get Video nothing
    [ "$output" = "stbconfig: Video/nothing: not set; set it, or give --default" ]
    expect 0 get Video nothing --default vga
    [ "$output" = vga ]
}

@test "get converts as an application would" {
    printf '[A]\nword=no\nnumber=" 12 "\nlist=a, b\nlong=4294967808\n' >"$custom"
    expect 0 get A word --as bool
    [ "$output" = true ]
    expect 0 get A number --as int
    [ "$output" = 12 ]
    expect 0 get A list --as text
    [ "$output" = "" ]
    expect 0 get A list --as list
    [ "$output" = $'a\nb' ]
    expect 0 get A long --as int
    [ "$output" = 512 ]
}

@test "get refuses what is no number and unknown locations" {
    expect 2 get Video output --as int
    expect 2 get Video output --from nowhere
}

@test "each reading command fails on a malformed file" {
    printf '[Video]\nbroken\n' >"$custom"
    for command in "get a b" "explain a b" list diff logging locale check; do
        expect 3 $command
        expect 3 --json $command
    done
    expect 3 get a b
    [[ $output == *"custom.conf: malformed, line 2; "* ]]
}

@test "misuse of each command is status 2" {
    for command in get explain "list a b" "diff a b" set unset "logging level" "locale x" \
        "locations x" "check x" "completion csh" schema "schema xml" nonsense; do
        expect 2 $command
        [ "${#lines[@]}" = 1 ]
    done
}

@test "explain marks the winner and says why the others lost" {
    export STBAPP_VIDEO_OUTPUT=scart
    expect 0 explain Video output
    [ "${lines[0]}" = "Video/output = scart" ]
    [[ $output == *"-> EnvironmentVariables"*"scart, answers"* ]]
    [[ $output == *"StbappConfDefault"*"hdmi, shadowed by EnvironmentVariables"* ]]
    [[ $output == *"DhcpOptionsConf"*"this location has no backend"* ]]
    expect 1 explain Video nothing
}

@test "explain shows the other answers before it fails on a broken file" {
    printf 'broken\n' >"$custom"
    expect 3 explain Video output
    [ "${lines[0]}" = "Video/output = hdmi" ]
    [[ $output == *"malformed, line 1; "* ]]
}

@test "explain tells what the logging reader ignores" {
    printf '[Logging]\nlevel=debug\n' >"$defaults"
    export STBAPP_LOGGING_LEVEL=trace
    expect 0 explain Logging level
    [[ $output == *"logging reader: takes 4 debug from StbappConfDefault; ignores the environment"* ]]
}

@test "another process's environment is seen instead of our own" {
    STBAPP_VIDEO_OUTPUT=v=ga sleep 60 3>&- &
    local pid=$!
    for _ in 1 2 3 4 5 6 7 8 9 10; do
        grep -qz STBAPP_VIDEO_OUTPUT=v=ga "/proc/$pid/environ" && break
        sleep 0.1
    done
    run env STBAPP_VIDEO_OUTPUT=own "$STBCONFIG" --pid "$pid" get Video output
    [ "$output" = v=ga ]
    run env STBAPP_AUDIO_OUTPUT=own "$STBCONFIG" --pid "$pid" get Audio output
    kill "$pid"
    [ "$status" = 1 ]
    expect 3 --pid 4194305 get Video output
}

@test "variables come from a file, or not at all" {
    printf '# comment\nSTBAPP_VIDEO_OUTPUT=vga\n' >"$box/env"
    export STBAPP_VIDEO_OUTPUT=own
    expect 0 --env-file "$box/env" get Video output
    [ "$output" = vga ]
    expect 0 --no-env get Video output
    [ "$output" = hdmi ]
    echo nonsense >"$box/env"
    expect 3 --env-file "$box/env" get Video output
}

@test "a root goes before both prefixes and leaves the environment out" {
    mkdir -p "$box/image/etc"
    printf '[Video]\noutput=image\n' >"$box/image/etc/stbapp.conf"
    export STBAPP_VIDEO_OUTPUT=own
    expect 0 --root "$box/image" --persistent /var/ --defaults /etc/ get Video output
    [ "$output" = image ]
}

@test "list is sorted, matches and is empty without matches" {
    printf '[Zone]\nname=a\n[Audio]\nvolume=3\n' >"$custom"
    expect 0 list --keys
    [ "$output" = $'Audio/volume\nVideo/output\nZone/name' ]
    expect 0 list 'A*' --json
    [ "$(echo "$output" | python3 -c 'import json,sys; print(json.load(sys.stdin)[0]["value"])')" = 3 ]
    expect 1 list nothing --json
    [ "$(echo "$output" | python3 -c "import json,sys; print(json.load(sys.stdin))")" = "[]" ]
}

@test "records end with NUL on request, before or after the command's words" {
    printf '[Text]\nvalue="a\\nb"\n' >"$custom"
    [ "$("$STBCONFIG" list -0 'T*' | tr '\0\n' '|_')" = $'Text/value\tCustomConfPersistent\ta_b|' ]
    [ "$("$STBCONFIG" diff 'T*' -0 | tr '\0' '|')" = $'added\tText/value\tCustomConfPersistent\t\ta\nb|' ]
}

@test "a setting without a key is refused" {
    for command in get explain unset; do
        expect 2 $command Video/
        expect 2 $command ''
    done
    expect 2 set Video/ 1
}

@test "JSON stays valid for quotes, line breaks and non-ASCII" {
    value=$'a "b"\nč'
    "$STBCONFIG" set Text value "$value"
    run "$STBCONFIG" get Text value --json
    read_back=$(echo "$output" | python3 -c 'import json,sys; print(json.load(sys.stdin)["value"])')
    [ "$read_back" = "$value" ]
}

# Given the command's words and a Python expression over d, what the command printed.
json()
{
    run "$STBCONFIG" --json $1
    echo "$output" | python3 -c "import json, sys; d = json.load(sys.stdin); assert $2, d"
}

@test "JSON has the shape that the manual states" {
    printf '[Logging]\nlevel=debug\n[Text]\nlist=a, b\n' >"$custom"
    export STBAPP_VIDEO_OUTPUT=vga
    json "get Text list" "d == {'group': 'Text', 'key': 'list', 'value': ['a', 'b'], 'origin': 'CustomConfPersistent'}"
    json "explain Video output" "(d['group'], d['key'], d['winner'], d['value'], d['reader']) == ('Video', 'output', 'EnvironmentVariables', 'vga', '')"
    json "explain Video output" "[a['held'] for a in d['answers']] == [False, False, True, True, False]"
    json "explain Video output" "d['answers'][2] == {'location': 'EnvironmentVariables', 'held': True, 'value': 'vga', 'source': 'STBAPP_VIDEO_OUTPUT', 'reason': 'answers'}"
    json "explain a b" "d['winner'] is None and d['value'] is None"
    json "list Video/*" "d == [{'setting': 'Video/output', 'value': 'vga', 'origin': 'EnvironmentVariables'}]"
    json "diff Video/*" "d == [{'setting': 'Video/output', 'state': 'changed', 'location': 'EnvironmentVariables', 'value': 'vga', 'default': 'hdmi'}]"
    json "diff nothing" "d == []"
    json logging "d[0] == {'name': 'level', 'effective': 4, 'meaning': 'debug', 'stored': 'debug', 'source': 'CustomConfPersistent'} and len(d) == 4"
    json logging "d[1] == {'name': 'responseLengthLimit', 'effective': 0, 'meaning': None, 'stored': None, 'source': 'built in'}"
    json locale "d == {'locale': 'ru_RU', 'text': 'ru', 'origin': 'built in'}"
    json locations "[l['name'] for l in d] == ['CustomConfPersistent', 'StbappConfDefault', 'TemporaryApplicationStorage', 'EnvironmentVariables', 'DhcpOptionsConf']"
    json locations "d[0].keys() == {'name', 'file', 'exists', 'readable', 'writable', 'directoryWritable', 'size', 'lock', 'problem'} and d[2].keys() == {'name', 'note'}"
    json check "all(f.keys() == {'id', 'severity', 'place', 'message', 'remedy'} for f in d) and d"
    rm "$custom"
    chmod 600 "$defaults"
    unset STBAPP_VIDEO_OUTPUT
    json check "[f['id'] for f in d] == ['missing']"
}

@test "secrets are masked but in get" {
    printf '[User]\nparentalPin=1234\n' >"$custom"
    expect 0 list
    [[ $output != *1234* ]]
    expect 0 explain User parentalPin --json
    [[ $output != *1234* ]]
    expect 0 list --show-secrets
    [[ $output == *1234* ]]
    expect 0 get User parentalPin
    [ "$output" = 1234 ]
}

@test "diff names each state" {
    printf '[Video]\noutput=hdmi\nmode=1\n[Audio]\nx=1\n' >"$custom"
    printf '[Video]\noutput=hdmi\nmode=2\n' >"$defaults"
    export STBAPP_AUDIO_X=5
    expect 1 diff
    [[ $output == *"added      Audio/x"* && $output == *"shadowed   Audio/x"* ]]
    [[ $output == *"changed    Video/mode"*"2 -> 1"* && $output == *"redundant  Video/output"* ]]
    expect 0 diff nothing
}

@test "logging shows the level's meaning" {
    printf '[Logging]\nlevel=verbose\n' >"$custom"
    expect 0 logging
    [[ ${lines[0]} == *"0 critical"*'stored as "verbose"'*CustomConfPersistent ]]
}

@test "logging takes a number from the defaults if the custom one is none" {
    printf '[Logging]\nresponseLengthLimit=abc\n' >"$custom"
    printf '[Logging]\nresponseLengthLimit=512\n' >"$defaults"
    expect 0 logging
    [[ ${lines[1]} == *"512"*'stored as "512"'*StbappConfDefault ]]
}

@test "locale is built in until set, and warns about the C locale" {
    expect 0 locale
    [ "$output" = 'ru_RU, from "ru", built in' ]
    printf '[Profile]\nlocale=nonsense\n' >"$custom"
    expect 1 locale
    [[ $output == *"gives the C locale"* ]]
}

@test "locations shows files, storages and locks" {
    touch "$box/var/epg.db" "$custom.lock"
    expect 0 locations
    [[ $output == *"epg "*"$box/var/epg.db"* && $output == *"left-over lock"* ]]
}

@test "a directory without its final slash earns a note with both readings" {
    expect 1 --persistent "$box/var" get a b
    [[ $output == *"this reads $box/varcustom.conf; for $box/var/custom.conf, add"* ]]
}

@test "an answer that cannot be written is no success" {
    run sh -c '"$1" list >/dev/full' sh "$STBCONFIG"
    [ "$status" = 3 ]
    [[ $output == "stbconfig: standard output: cannot be written; "* ]]
}

# Runs the words on a terminal of 80 columns.
on_terminal()
{
    script -qec true /dev/null >/dev/null 2>&1 || skip "no pseudo-terminals here"
    run script -qec "stty cols 80; $*" /dev/null
}

@test "colour is for terminals, and not if NO_COLOR is set" {
    on_terminal "'$STBCONFIG' explain Video output"
    [[ $output == *$'\e['* ]]
    on_terminal "NO_COLOR=1 '$STBCONFIG' explain Video output"
    [[ $output == *hdmi* && $output != *$'\e['* ]]
    expect 0 explain Video output
    [[ $output != *$'\e['* ]]
}

@test "a long list stays within the terminal's columns" {
    printf '[Text]\nlong=%0200d\n' 1 >"$custom"
    on_terminal "'$STBCONFIG' list"
    [[ $output == *Text/long* ]]
    for line in "${lines[@]}"; do
        line=${line%$'\r'}
        [ "${#line}" -le 80 ] || { echo "$line"; return 1; }
    done
}

@test "every status of the reading commands is reached" {
    printf '[Profile]\nlocale=nonsense\n' >"$custom"
    expect 1 locale
    expect 1 check
    rm "$custom"
    chmod 600 "$defaults"
    for command in "get Video output" "explain Video output" list "diff" logging locale locations \
        check "completion bash" --help --version "list --help"; do
        expect 0 $command
    done
    for command in "get a b" "explain a b" "list a"; do
        expect 1 $command
    done
    printf '[A]\nb=1\n' >"$custom"
    expect 1 diff
    rm "$custom"
    mkdir "$custom"
    for command in "get a b" "explain a b" list diff logging locale check; do
        expect 3 $command
    done
    expect 0 locations
}

@test "a missing storage is an error unless it may be created" {
    expect 3 get a b --storage epg
    expect 1 get a b --storage epg --create
    expect 4 set a b 1 --storage epg
    expect 0 set a b 1 --storage epg --create
    expect 0 get a b --storage epg
    [ "$output" = 1 ]
}

@test "a large file is not taken for one that ends its reader" {
    (printf '[a]\nb='; head -c 120000000 /dev/zero | tr '\0' x) >"$custom"
    [ "$("$STBCONFIG" get a b | wc -c)" = 120000001 ]
}

@test "the installed command runs from any prefix, with its manual pages" {
    cmake --install "$BUILD_DIR" --prefix "$box/first" >/dev/null
    mv "$box/first" "$box/installed"
    run $EMULATOR "$box/installed/bin/${PROGRAM##*/}" get Video output
    [ "$output" = hdmi ]
    [ -s "$box/installed/share/man/man1/stbconfig.1" ]
    [ -s "$box/installed/share/man/man5/stbapp.conf.5" ]
    [ -s "$box/installed/share/man/man5/stbapp.schema.json.5" ]
    [ -s "$box/installed/share/man/man7/stbconfig-recipes.7" ]
}

@test "a setting of the library's own that is not set is not suggested in its own place" {
    expect 1 get Logging level
    [ "$output" = "stbconfig: Logging/level: not set; set it, or give --default" ]
    expect 2 get Video output --from ''
}

@test "the C locale is fine if it is meant" {
    printf '[Profile]\nlocale=C\nname=x\n' >"$custom"
    expect 0 locale
    [ "$output" = 'C, from "C", CustomConfPersistent' ]
    expect 0 explain Profile locale
    [ "${lines[-1]}" = "default locale: C" ]
    expect 0 explain Profile name
    [[ $output != *"default locale"* ]]
}

@test "storages are found where the prefix begins their names" {
    touch "$box/var/my-epg.db" "$box/var/other.db"
    cd "$box/var"
    expect 0 locations --persistent my-
    [[ $output == *"epg "*"my-epg.db"* && $output != *other.db* ]]
    expect 0 locations --persistent ''
    [[ $output == *"my-epg "*"my-epg.db"*"other "*"other.db"* ]]
}

@test "a directory that is missing is not writable" {
    expect 0 locations --persistent "$box/none/"
    [ "${lines[1]}" = "                            no such file, directory not writable" ]
}
