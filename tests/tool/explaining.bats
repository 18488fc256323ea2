#!/usr/bin/env bats
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
#
# Tries what the commands tell of a description of the settings, what they hide because of it, and that they
# say the same as ever without one.

load support

volume='"Audio/volume": {"type": "int", "minimum": 0, "maximum": 100, "default": 30, "since": "1.2",
    "description": "How loud it is.", "was": ["Sound/level"]}'

# Prints what "explain" prints below the locations.
told()
{
    run "$STBCONFIG" explain "$@"
    output=$(sed '1,/DhcpOptionsConf/d' <<<"$output" | sed 1d)
}

@test "explain tells below the locations what is described of the setting" {
    described "$volume"
    printf '[Audio]\nvolume=20\n' >"$custom"
    expect 0 explain Audio/volume
    [ "${lines[0]}" = "Audio/volume = 20" ]
    told Audio/volume
    [ "$output" = "  How loud it is.
  allowed: a whole number from 0 to 100
  default: 30
  since: 1.2" ]
}

@test "explain of what is not described is as without a description" {
    printf '[A]\nb=1\n' >"$custom"
    for words in "explain A/b" "explain A/b --json" "explain A/b -0" "explain A/c"; do
        rm -f "$box/etc/stbapp.schema.json"
        "$STBCONFIG" $words >"$box/before" 2>&1 || true
        described "$volume"
        "$STBCONFIG" $words 2>&1 | cmp - "$box/before"
    done
}

@test "a setting that is described and not held is status 1, and the application's default is told" {
    described "$volume"
    printf '[Audio]\nvolumes=1\n' >"$custom"
    expect 1 explain Audio volume
    [ "${lines[0]}" = "Audio/volume is not set" ]
    [[ $output == *"default: 30, which the application takes"* && $output != *"did you mean"* ]]
    expect 1 explain Audio/volum
    [[ $output == *"stbconfig: Audio/volum: not set; did you mean Audio/volume?"* ]]
}

@test "explain of an older name tells today's name, and the value there obeys no rule of today" {
    described "$volume"
    printf '[Sound]\nlevel=loud\n' >"$custom"
    told Sound level
    [ "$status" = 0 ]
    [ "$output" = "  today's name: Audio/volume
  How loud it is.
  allowed: a whole number from 0 to 100
  default: 30
  since: 1.2" ]
    rm "$custom"
    told Sound/level
    [[ $status = 1 && $output != *"which the application takes"* ]]
}

@test "explain says in one line that the value that answers is not allowed, whoever holds it" {
    described "$volume" '"Video/output": {"values": ["hdmi", "scart"]}'
    printf '[Audio]\nvolume=-1\n' >"$custom"
    told Audio volume
    [ "${output##*$'\n'}" = "  the value is below the minimum, 0; use 0" ]
    STBAPP_VIDEO_OUTPUT=scar told Video output
    [ "${output##*$'\n'}" = "  the value is none of hdmi, scart; use scart" ]
    printf '[Video]\noutput=a, b\n' >"$defaults"
    told Video output
    [ "${output##*$'\n'}" = "  the value is a list, and not one text" ]
}

@test "what is told of a secret shows neither its default nor what is nearest to its value" {
    described '"Net/door": {"secret": true, "values": ["red", "blue"], "default": "blue"}' \
        '"Net/number": {"type": "int", "secret": true, "default": 4711}'
    printf '[Net]\ndoor=re\nnumber=x\n' >"$custom"
    told Net door
    [ "$output" = "  allowed: red, blue
  default: ********
  the value is none of red, blue" ]
    for words in "explain Net/number" "explain Net/number --json" "list --describe" \
        "list --describe --json" "list --describe -0"; do
        "$STBCONFIG" $words >"$box/printed"
        ! grep -q 4711 "$box/printed"
    done
    told Net/number --show-secrets
    [[ $output == *"default: 4711"*"use 4711" ]]
}

@test "explain's records are the same with a description" {
    "$STBCONFIG" explain Video output -0 >"$box/before"
    described '"Video/output": {"description": "x", "default": "vga"}'
    "$STBCONFIG" explain Video output -0 | cmp - "$box/before"
}

@test "a setting that is asked for in another spelling is described too" {
    described "$volume"
    printf '[Audio]\nvolume=20\n' >"$custom"
    told Audio//volume
    [[ $output == "  How loud it is."* ]]
    told /Audio/volume
    [[ $output == "  How loud it is."* ]]
}

# Compares the last output with what "a description of many words" expects.
reads_well()
{
    [ "$(grep -c '^  word' <<<"$output")" = 4 ]
    ! grep -E '^.{80}' <<<"$output"
    local some=$'end\n\n  - one\n  - two\n  allowed: 0*\n    0*others\n  default: "long*\n    long*'
    [[ $output == *$some ]] || { echo "$output"; return 1; }
}

@test "a description of many words and lines stays within 80 columns, line by line" {
    described '"Video/output": {"description": "'"$(printf 'word %.0s' {1..60})"'end\n\n- one\n- two\n",
        "default": "'"$(printf 'long %.0s' {1..30})"'", "values": ["'"$(printf '%020d", "' {1..20})"'x", "'"$(printf 'long %.0s' {1..30})"'"]}'
    told Video output
    reads_well
    expect 0 list --describe
    reads_well
}

@test "no description makes a terminal do something" {
    described '"Video/output": {"description": "a\u001b[2Jb\u202e\rc", "since": "\u001b]0;x\u0007",
        "values": ["\u001b[31m", "\u009b2J"], "default": "\u001b[31m", "was": ["A/\u001bx"]}' \
        '"\u001b[31m/x": {"description": "\u001bc"}'
    for words in "explain Video output" "list --describe" "list --describe --json" \
        "explain Video output --json" "explain A/"$'\e'x; do
        run "$STBCONFIG" $words
        ! grep -qP '[^\n -~]' <<<"$output" || { echo "$words: $output"; return 1; }
    done
    [[ $output == *'a\x1b[2Jb\u202e\x0dc'* ]]
}

@test "list --describe has what is held and what is only described, side by side" {
    described "$volume" '"Video/output": {"description": "Where the picture goes.", "values": ["hdmi", "scart"]}'
    printf '[Odd]\nx=1\n[Sound]\nlevel=7\n' >"$custom"
    expect 0 list --describe
    [ "$output" = "Audio/volume  not set
  How loud it is.
  allowed: a whole number from 0 to 100
  default: 30, which the application takes
  since: 1.2
Odd/x         CustomConfPersistent  1
  not described
Sound/level   CustomConfPersistent  7
  today's name: Audio/volume
  How loud it is.
  allowed: a whole number from 0 to 100
  default: 30
  since: 1.2
Video/output  StbappConfDefault     hdmi
  Where the picture goes.
  allowed: hdmi, scart" ]
    [ "$("$STBCONFIG" list --describe -0 | tr '\0' '|')" = \
        $'Audio/volume\t\t\t30\ta whole number from 0 to 100\tHow loud it is.|Odd/x\tCustomConfPersistent\t1\t\t\t|Sound/level\tCustomConfPersistent\t7\t30\ta whole number from 0 to 100\tHow loud it is.|Video/output\tStbappConfDefault\thdmi\t\thdmi, scart\tWhere the picture goes.|' ]
}

@test "list --describe of one location, or of a pattern, leaves out the others" {
    described "$volume" '"Video/output": {"values": ["hdmi"]}'
    printf '[Video]\nmode=1\n' >"$custom"
    expect 0 list --describe --from custom
    [ "${lines[0]}" = "Video/mode  CustomConfPersistent  1" ]
    [ "${#lines[@]}" = 2 ]
    expect 0 list --describe Audio
    [ "${lines[0]}" = "Audio/volume  not set" ]
    expect 1 list --describe Audi
    [ "$output" = "stbconfig: Audi: no such setting; did you mean Audio?" ]
}

@test "list --describe refuses what has no meaning with it" {
    described "$volume"
    printf '[A]\nb=1\n' >"$box/var/s.db"
    for words in "--keys" "--storage s" "--no-schema"; do
        expect 2 list --describe $words
        [ "${#lines[@]}" = 1 ]
    done
    [ "$output" = "stbconfig: --no-schema: this needs the description of the settings; leave --no-schema out" ]
}

@test "list --describe needs a description that can be read, and list alone only says that it cannot" {
    expect 3 list --describe
    [ "$output" = "stbconfig: $box/etc/stbapp.schema.json: there is no description of the settings; write that file, for which stbconfig schema new makes a draft, or name another one with --schema" ]
    echo '{"settings": ' >"$box/etc/stbapp.schema.json"
    expect 3 list --describe
    [[ $output == "stbconfig: $box/etc/stbapp.schema.json:"* && ${#lines[@]} = 1 ]]
    expect 0 list
    [[ $output == "stbconfig: $box/etc/stbapp.schema.json:"*"Video/output  StbappConfDefault  hdmi" ]]
    expect 0 explain Video output
    [[ $output == *"stbconfig: $box/etc/stbapp.schema.json:"* ]]
    expect 0 list --no-schema
    [ "$output" = "Video/output  StbappConfDefault  hdmi" ]
}

@test "--schema names the description to tell of" {
    described "$volume"
    mv "$box/etc/stbapp.schema.json" "$box/other.json"
    described '"Audio/volume": {"description": "Another one."}'
    told Audio volume --schema "$box/other.json"
    [[ $output == "  How loud it is."* ]]
    expect 0 list --describe "--schema=$box/other.json"
    [[ $output == *"How loud it is."* ]]
}

# Describes three secrets whose names say nothing of it, one of which had another name, and puts
# values of them everywhere, each with its own number.
canaries()
{
    described '"A/plain": {"secret": true, "default": "CANARY1", "was": ["B/older"]}' \
        '"A/number": {"type": "int", "secret": true, "minimum": 0, "was": [{"name": "B/count", "values": {"x": 1}}]}' \
        '"A/list": {"type": "list", "secret": true, "values": ["a"]}' '"Profile/locale": {"secret": true}'
    printf '[A]\nplain=CANARY2\nnumber=CANARY3\nlist=a, CANARY4\n[B]\nolder=CANARY5\ncount=CANARY6\n[Profile]\nlocale=CANARY7\n' >"$custom"
    sed 's/CANARY/CANARY1/' "$custom" >"$defaults"
    chmod 644 "$custom" "$defaults"
    mkdir -p "$box/other"
    sed 's/CANARY/CANARY2/' "$custom" >"$box/other/custom.conf"
    sed 's/CANARY/CANARY3/' "$custom" >"$box/given"
    sed 's/CANARY/CANARY5/' "$custom" >"$box/var/s.db"
    cp "$custom" "$box/before"
    export STBAPP_A_PLAIN=CANARY41 STBAPP_A_NUMBER=CANARY42 STBAPP_A_LIST=CANARY43 \
        STBAPP_B_OLDER=CANARY44 STBAPP_B_COUNT=CANARY45 STBAPP_PROFILE_LOCALE=CANARY46
}

# Expects for each line of words, in every format, that the command says something, but no canary.
keeps_secrets()
{
    local words format failed=
    set -f
    while read -r words; do
        for format in '' --json -0; do
            [[ $format != -0 || $words != set\ * ]] || continue # a word like any other there
            cp "$box/before" "$custom"
            "$STBCONFIG" ${words//@/$box} $format >"$box/printed" 2>&1 </dev/null || true
            if grep -aq CANARY "$box/printed" || [ ! -s "$box/printed" ]; then
                echo "$words $format: $(tr '\0' '|' <"$box/printed")"
                failed=yes
            fi
        done
    done
    [ ! "$failed" ]
}

@test "no output of any command shows what only the description calls secret, under any name of it" {
    canaries
    keeps_secrets <<'WORDS'
explain A/plain
explain A//plain
explain /A/number
explain a/PLAIN
explain A list
explain B/older
explain B/count
explain Profile/locale
list
list --describe
list --from custom
list --from env
list --storage s
diff
diff --with @/other
diff --with @/given
diff --with @/other --no-env A
export
export --effective
import --dry-run @/given
import @/given
reset --dry-run
reset
reset --keep B/*
unset A/plain
unset B/older --dry-run
unset --group A
set A/plain CANARY8 --dry-run
set A/number CANARY8
set A/list a,CANARY8
set B/older CANARY8
set A/plain
set A/plan CANARY8
get A/number --as int
get A/plan
check
check --fail-on note
report
migrate --prune
locale
schema conf
schema markdown
schema header
WORDS
    # Now the custom file holds only the older names.
    sed -i '/^\[A\]/,/^\[B\]/{/B/!d}' "$box/before"
    keeps_secrets <<'WORDS'
migrate --dry-run
migrate
migrate --prune
unset --group B
schema new
WORDS
}

@test "an export has no secret of the description, whether it can be read or not, but with --show-secrets" {
    canaries
    expect 0 export
    [ "$output" = "stbconfig: export: secrets left out: 6; add --show-secrets to export them" ]
    expect 0 export --show-secrets
    [ "$(grep -c CANARY <<<"$output")" = 6 ]
    echo '{' >"$box/etc/stbapp.schema.json"
    expect 3 export
    [[ $output != *CANARY* && ${#lines[@]} = 1 ]]
}

@test "a setting that was a secret by an older name is one by its name of today" {
    described '"Net/door": {"was": ["User/password"]}'
    printf '[Net]\ndoor=hidden\n' >"$custom"
    expect 0 list Net
    [ "$output" = "Net/door  CustomConfPersistent  ********" ]
}

@test "without the description a name that says nothing is no secret" {
    canaries
    expect 0 list A/plain --no-schema
    [ "$output" = "A/plain  CustomConfPersistent  CANARY2" ]
}

@test "a report masks every value if the description cannot be read, says so, and has no fingerprint" {
    canaries
    printf '[A]\nplain=CANARY1\n[Logging]\nresponseLengthLimit=5\n' >"$custom"
    for bad in '{' '[]' '{"settings": {"A/plain": {"secret": 1}}}'; do
        printf '%s' "$bad" >"$box/etc/stbapp.schema.json"
        expect 0 report
        [[ $output != *CANARY* && $(tr -s ' \n' ' ' <<<"$output") == *"Broken: $box/etc/stbapp.schema.json"*"; all values are masked, since any may be a secret Locations"* ]] || { echo "$bad: $output"; return 1; }
        [[ $output == *"no fingerprint, since not all could be read"* ]]
        expect 0 report --json
        [[ $output != *CANARY* && $output == *"all values are masked"* ]]
    done
    mkfifo "$box/fifo"
    expect 0 report --schema "$box/fifo"
    [[ $output != *CANARY* && $(tr -s ' \n' ' ' <<<"$output") == *"all values are masked"* ]]
}

# The words of each command, in each of its formats; "@" stands for the box.
every_command='get Video/output
get Video/nothing
get User/pin --json
get A/text --as int
explain Video/output
explain Video/output --json
explain Video/output -0
explain User/pin
explain A/nothing
list
list --json
list -0
list --keys V*
list --from custom
list --storage s --json
diff
diff --json
diff -0
diff --with @/given
diff --with @/given --json
set Video/output scart --json
set Video/other x --dry-run
set A/text 9999 --type int -v
unset Video/output
unset --redundant --json
unset --group A --dry-run -0
export
export --effective
import @/given
import @/given --replace --json
reset
reset --keep User --json
logging
logging --json
logging level info --json
locale --json
locations
locations --json
check --fail-on note
check --json
check -0
report --json
complete -- get V
complete -- get A/
complete -- set Video/output x
complete -- set Logging/level w
complete -- check --ignore mi
completion bash'

# Runs all of them with these further options, and prints what they say, their status and the custom file.
run_all()
{
    local words
    set -f
    while IFS= read -r words; do
        cp "$box/before" "$custom"
        echo "== $words"
        "$STBCONFIG" $1 ${words//@/$box} 2>&1 || echo "status $?"
        cat "$custom"
    done <<<"$every_command"
}

@test "a description that is left out changes nothing, and without one all is as it was" {
    local description='{"settings": {"Video/output": {"values": ["vga"], "default": "vga", "secret": true,
        "description": "x", "was": ["A/text"]}, "A/nothing": {"type": "bool"},
        "Logging/level": {"values": ["info"]}}}'
    printf '[A]\nb=1\n' >"$box/var/s.db"
    printf '[Video]\noutput=vga\n[A]\ntext=z\n[User]\npin=1\n' >"$box/given"
    for content in '' '[Video]\noutput=scart\n[A]\ntext=no\n[User]\npin=1\n' 'broken\n'; do
        printf "$content" >"$box/before"
        run_all "" >"$box/without"
        printf '%s' "$description" >"$box/etc/stbapp.schema.json"
        run_all --no-schema >"$box/left-out"
        run_all "" >"$box/with"
        rm "$box/etc/stbapp.schema.json"
        cmp "$box/without" "$box/left-out" || { diff "$box/without" "$box/left-out"; return 1; }
        ! cmp -s "$box/without" "$box/with" # otherwise the description changes nothing
    done
}
