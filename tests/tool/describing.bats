# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# Tries what "check", "set", "import" and "logging" make of a description of the settings.

load support

# Writes the description beside the defaults: the words are what it says of each setting.
describe()
{
    schema=$box/etc/stbapp.schema.json
    local IFS=,
    printf '{"settings": {%s}}\n' "$*" >"$schema"
}

volume='"Audio/volume": {"type": "int", "minimum": 0, "maximum": 100, "default": 30, "was": ["Sound/level"]}'
output='"Video/output": {"values": ["hdmi", "scart"]}'
modes='"Video/modes": {"type": "list", "values": ["720p", "1080p"]}'
mute='"Audio/mute": {"type": "bool"}'
# The name of this setting does not say that it is a secret.
door='"User/door": {"secret": true, "values": ["1234", "5678"]}'

# Expects of "check" this status, and of the findings that a description leads to these lines.
finds_exactly()
{
    local wanted=$1
    shift
    expect "$wanted" check
    diff <(grep -E '^[a-z]+ (bad-value|unknown-setting|old-name|migrated-name|bad-description): ' <<<"$output") \
        <([ $# = 0 ] || printf '%s\n' "$@") || { echo "$output"; return 1; }
}

# The command can look at the custom file, the shell's variables or a file of variables, and the defaults.
# No other process sees the memory of the application.
@test "a bad value is found in each location that holds it, by location, file, line and rule" {
    describe "$volume" "$output"
    printf 'STBAPP_AUDIO_VOLUME=-3\n' >"$box/env"
    for subset in {0..15}; do
        local wanted=() command=("$STBCONFIG")
        printf '[Video]\noutput=hdmi\n' | tee "$custom" >"$defaults"
        if ((subset & 1)); then
            printf '[Audio]\nvolume=200\n' >"$custom"
            wanted+=("warning bad-value: $custom:2: Audio/volume: CustomConfPersistent holds 200, which is above the maximum, 100; use 100")
        fi
        ((subset & 2)) && command=(env STBAPP_AUDIO_VOLUME=101 "$STBCONFIG")
        if ((subset & 4)); then
            command+=(--env-file "$box/env")
            wanted+=("warning bad-value: STBAPP_AUDIO_VOLUME: EnvironmentVariables holds -3, which is below the minimum, 0; use 0")
        elif ((subset & 2)); then
            wanted+=("warning bad-value: STBAPP_AUDIO_VOLUME: EnvironmentVariables holds 101, which is above the maximum, 100; use 100")
        fi
        if ((subset & 8)); then
            printf '; loud\n\n[Audio]\nvolume=loud\n' >"$defaults"
            wanted+=("warning bad-value: $defaults:4: Audio/volume: StbappConfDefault holds loud, which is no whole number of 32 bits; correct it in the image: use 30")
        fi
        for format in "" --json; do
            run "${command[@]}" check --ignore shadowed-variable $format
            [ "$status" = $((${#wanted[@]} > 0)) ] || { echo "subset $subset: $status"; return 1; }
            [ -z "$format" ] || output=$(python3 -c 'import json, sys
for f in json.loads(sys.argv[1]):
    print("{severity} {id}: {place}: {message}; {remedy}".format(**f))' "$output")
            diff <(grep bad-value <<<"$output") <([ ${#wanted[@]} = 0 ] || printf '%s\n' "${wanted[@]}") ||
                { echo "subset $subset: $output"; return 1; }
        done
    done
}

@test "check finds what breaks each rule of a description" {
    # Each line has the description of A/b, the line of the file, and what is wrong with it, if anything is.
    while IFS='|' read -r described entry wanted; do
        describe "\"A/b\": {$described}"
        printf '[A]\n%s\n' "$entry" >"$custom"
        run "$STBCONFIG" check --ignore unquoted-comma --ignore typed-value --ignore unknown-setting
        [ "$status" = $((${#wanted} > 0)) ] &&
            [ "$output" = "${wanted:+warning bad-value: $custom:2: A/b: CustomConfPersistent holds $wanted}" ] ||
            { echo "$described, $entry: $status: $output"; return 1; }
    done <<'TABLE'
|b=anything|
|b=|
|b=off|
|b=a, b|["a", "b"], which is a list, and not one text; allowed is a text
|b=@Size(1 2)|@Size(1 2), which is no text; allowed is a text
"default": "x"|b=@Size(1 2)|@Size(1 2), which is no text; use x
"type": "text", "values": ["one", "two"]|b=two|
"type": "text", "values": ["one", "two"]|b=twoo|twoo, which is none of one, two; use two
"type": "text", "values": ["one", "two"]|b=Two|Two, which is none of one, two; use two
"type": "text", "values": ["one", "two"]|b=something|something, which is none of one, two; allowed is one, two
"type": "text", "values": ["one", "two"], "default": "one"|b=something|something, which is none of one, two; use one
"type": "text", "values": ["a, b", "c"]|b="a, b"|
"type": "text", "values": ["a, b", "c"]|b=a, b|["a", "b"], which is a list, and not one text; allowed is a, b, c
"type": "text", "values": ["", "x"]|b=|
"type": "int"|b=-2147483648|
"type": "int"|b=2147483648|2147483648, which is no whole number of 32 bits; allowed is a whole number
"type": "int"|b=1.5|1.5, which is no whole number of 32 bits; allowed is a whole number
"type": "int"|b=|"", which is no whole number of 32 bits; allowed is a whole number
"type": "int"|b=1, 2|["1", "2"], which is no whole number of 32 bits; allowed is a whole number
"type": "int", "minimum": 2|b=2|
"type": "int", "minimum": 2|b=1|1, which is below the minimum, 2; use 2
"type": "int", "maximum": -2|b=-2|
"type": "int", "maximum": -2|b=-1|-1, which is above the maximum, -2; use -2
"type": "int", "minimum": 2, "maximum": 9|b=x|x, which is no whole number of 32 bits; allowed is a whole number from 2 to 9
"type": "int", "values": [1, 5, 10]|b=10|
"type": "int", "values": [1, 5, 10]|b=7|7, which is none of 1, 5, 10; use 5
"type": "bool"|b=true|
"type": "bool"|b=FALSE|
"type": "bool"|b=1|
"type": "bool"|b=0|
"type": "bool"|b=no|no, which is neither true nor false; use false
"type": "bool"|b=Disabled|Disabled, which is neither true nor false; use false
"type": "bool"|b=yes|yes, which is neither true nor false; use true
"type": "bool"|b=2|2, which is neither true nor false; use true
"type": "bool"|b=|"", which is neither true nor false; use false
"type": "bool"|b=true, false|["true", "false"], which is neither true nor false; use false
"type": "list"|b=a, b, a|
"type": "list"|b=a|
"type": "list"|b=@Size(1 2)|@Size(1 2), which is no list; allowed is a list
"type": "list", "values": ["a", "b"]|b=@Invalid()|
"type": "list", "values": ["a", "b"]|b=a, b, a|
"type": "list", "values": ["a", "b"]|b=b|
"type": "list", "values": ["aaaa", "bbbb"]|b=aaaa, bbba|["aaaa", "bbba"], which has an item that is none of aaaa, bbbb; use bbbb
"type": "list", "values": ["aaaa", "bbbb"]|b=aaab|aaab, which has an item that is none of aaaa, bbbb; use aaaa
TABLE
}

@test "a name that the description does not know is found, with the nearest one" {
    describe "$volume" "$output"
    printf '[Adio]\nvolume=1\n[Completely]\ndifferent=1\n[General]\nloose=1\n[Logging]\nlevel=info\n[Profile]\nlocale=en\n' >"$custom"
    printf '[Video]\noutptu=hdmi\n' >"$defaults"
    STBAPP_ADIO_VOLUME=1 finds_exactly 1 \
        "warning unknown-setting: $custom:2: Adio/volume: CustomConfPersistent holds a setting not described in $schema; did you mean Audio/volume?" \
        "warning unknown-setting: $custom:4: Completely/different: CustomConfPersistent holds a setting not described in $schema; correct the name, or describe it" \
        "warning unknown-setting: $custom:6: loose: CustomConfPersistent holds a setting not described in $schema; correct the name, or describe it" \
        "warning unknown-setting: STBAPP_ADIO_VOLUME: EnvironmentVariables holds a setting not described in $schema; did you mean Audio/volume?" \
        "warning unknown-setting: $defaults:2: Video/outptu: StbappConfDefault holds a setting not described in $schema; did you mean Video/output?"
    STBAPP_AUDIO_VOLUMES=1 expect 1 check
    [[ $output == *"unknown-variable: STBAPP_AUDIO_VOLUMES: matches no known setting, nearest is STBAPP_AUDIO_VOLUME; "* ]]
}

@test "an older name is found in each location, alone and beside today's" {
    describe "$volume"
    printf '[Sound]\nlevel=3\n' | tee "$custom" >"$defaults"
    STBAPP_SOUND_LEVEL=3 finds_exactly 1 \
        "warning old-name: $custom:2: Sound/level: CustomConfPersistent holds an older name of Audio/volume; run stbconfig migrate" \
        "warning old-name: STBAPP_SOUND_LEVEL: EnvironmentVariables holds an older name of Audio/volume; set STBAPP_AUDIO_VOLUME in its place" \
        "warning old-name: $defaults:2: Sound/level: StbappConfDefault holds an older name of Audio/volume; write Audio/volume in the image"
    printf '[Audio]\nvolume=3\n' >>"$custom"
    cp "$custom" "$defaults"
    STBAPP_SOUND_LEVEL=3 STBAPP_AUDIO_VOLUME=3 finds_exactly 1 \
        "note migrated-name: $custom:2: Sound/level: CustomConfPersistent holds this older name of Audio/volume beside it; run stbconfig migrate --prune once the update is good" \
        "note migrated-name: STBAPP_SOUND_LEVEL: EnvironmentVariables holds this older name of Audio/volume beside it; unset it" \
        "note migrated-name: $defaults:2: Sound/level: StbappConfDefault holds this older name of Audio/volume beside it; remove it from the image"
    expect 0 check
    # Each location counts for itself: today's name in the defaults does not excuse the older one in the custom
    # file.
    printf '[Sound]\nlevel=3\n' >"$custom"
    printf '[Audio]\nvolume=3\n' >"$defaults"
    finds_exactly 1 "warning old-name: $custom:2: Sound/level: CustomConfPersistent holds an older name of Audio/volume; run stbconfig migrate"
    [[ $output != *unknown* ]]
}

@test "the variable of an older name is known, even if no file holds the name" {
    describe "$volume"
    rm "$defaults"
    STBAPP_SOUND_LEVEL=3 finds_exactly 1 \
        "warning old-name: STBAPP_SOUND_LEVEL: EnvironmentVariables holds an older name of Audio/volume; set STBAPP_AUDIO_VOLUME in its place"
    [[ $output != *unknown-variable* ]]
}

@test "a variable that stands for today's name too is not taken for an older one" {
    describe '"Audio/Volume": {"was": ["Audio/volume"]}'
    rm "$defaults"
    STBAPP_AUDIO_VOLUME=3 finds_exactly 0
    printf '[Audio]\nvolume=3\n' >"$custom"
    STBAPP_AUDIO_VOLUME=3 finds_exactly 1 \
        "warning old-name: $custom:2: Audio/volume: CustomConfPersistent holds an older name of Audio/Volume; run stbconfig migrate"
}

@test "the line that is named is the one that counts" {
    describe "$volume" '"General/b": {"type": "int"}' '"b": {"type": "int"}' '"A/my key": {"type": "int"}' \
        '"A/é": {"type": "int"}' '"A/c/d": {"type": "int"}' '"A/e": {"type": "int"}' '"A/f": {"type": "int"}'
    rm "$defaults"
    # Each file's text, with the line and the name in it.
    while IFS='|' read -r text line name shown; do
        printf "$text" >"$custom"
        expect 1 check --ignore duplicate --ignore cut-value --ignore comment --ignore open-quote
        [ "$(grep -c bad-value <<<"$output")" = 1 ] &&
            [[ $output == *"bad-value: $custom:$line: $name: CustomConfPersistent holds $shown, which"* ]] ||
            { echo "$text: $output"; return 1; }
    done <<'TABLE'
[Audio]\nvolume=101\nvolume=102\n|3|Audio/volume|102
[Audio]\nvolume=101\n[Video]\n[Audio]\nvolume=102\n|5|Audio/volume|102
[Audio]\nvolume=5\nvolume=102\n|3|Audio/volume|102
; x\n\n\n  [Audio]\r\n\r\n\tvolume = 101\r\n|6|Audio/volume|101
[X]\ny=a\\\n\\\nb\n[Audio]\nvolume=101\n|6|Audio/volume|101
[X]\ny="a\n\nb"\n[Audio]\nvolume=101\n|6|Audio/volume|101
[Audio]\nvolume=x\\\ny\n|2|Audio/volume|xy
[Audio]\nvolume=1x;2\n|2|Audio/volume|1x
[Audio]\nvolume=x ; y\n|2|Audio/volume|x
[%%General]\nb=x\n|2|General/b|x
[General]\nb=x\n|2|b|x
b=x\n|1|b|x
[A]\nmy%%20key=x\n|2|A/my key|x
[A]\nmy key=x\n|2|A/my key|x
[A]\n%%U00e9=x\n|2|A/é|x
[%%41]\ne=x\n|2|A/e|x
[A]\nc\\d=x\n|2|A/c/d|x
[A\\c]\nd=x\n|2|A/c/d|x
[A\\c]\nd=x\n[A]\nc\\d=y\n|2|A/c/d|x
[A]\nc\\d=y\n[A\\c]\nd=x\n|4|A/c/d|x
[A\\c]\nd=y\nd=x\n[A]\nc\\d=y\n|3|A/c/d|x
TABLE
    printf '[Audio]\nvolume=102\nvolume=5\n' >"$custom"
    finds_exactly 1
}

@test "an entry that no application can ask for is not taken for a described one" {
    describe '"b": {"type": "int"}'
    printf '[]\nb=x\n' >"$custom"
    rm "$defaults"
    finds_exactly 1 "warning unknown-setting: $custom:2: /b: CustomConfPersistent holds a setting not described in $schema; did you mean b?"
}

@test "a description gives no finding to what it allows, nor to what the library reads" {
    describe "$volume" "$output" "$modes" "$mute" '"A/word": {}'
    printf '[Audio]\nvolume=100\nmute=false\n[Video]\noutput=scart\nmodes=720p, 1080p\n[A]\nword=off\n[Logging]\nlevel=debug\nresponseLengthLimit=5\njsonFormattingEnabled=true\nimageRequestsEnabled=true\n[Profile]\nlocale=en\n' >"$custom"
    sed 's/100$/0/; s/debug/info/' "$custom" >"$defaults"
    export STBAPP_VIDEO_OUTPUT=hdmi STBAPP_AUDIO_MUTE=1
    expect 0 check --fail-on note --ignore shadowed-variable --ignore redundant
    [ -z "$output" ] || { echo "$output"; return 1; }
    # Without the description, the command cannot know that three of these are intended.
    expect 1 check --no-schema
    [[ $output == *"boolean-word: $custom: A/word: "* && $output == *"unquoted-comma: $custom:6: "* ]]
    rm "$defaults"
    expect 1 check --no-schema
    [[ $output == *"no-default: $custom: A/word: "* ]]
}

@test "a list under an older name is meant to be one, too" {
    describe '"Video/modes": {"type": "list", "was": ["Video/mode"]}'
    printf '[Video]\nmode=720p, 1080p\nother=1, 2\n' >"$custom"
    run "$STBCONFIG" check
    [[ $output != *"unquoted-comma: $custom:2"* && $output == *"unquoted-comma: $custom:3"* ]]
}

@test "named storages are not described" {
    describe "$volume" "$output"
    printf '[Audio]\nvolume=200\nmute=no\n[Sound]\nlevel=3\n' >"$box/var/epg.db"
    finds_exactly 0
}

@test "without a description, or with --no-schema, check has no finding of one" {
    printf '[Audio]\nvolume=200\n' >"$custom"
    expect 0 check
    cp <(echo "$output") "$box/without"
    describe "$volume"
    expect 0 check --no-schema
    diff <(echo "$output") "$box/without"
    mv "$schema" "$box/other.json"
    expect 1 check --schema "$box/other.json"
    [[ $output == *"warning bad-value: $custom:2: Audio/volume: "* ]]
    expect 0 check
}

@test "a bad default is found in an image, and the image's files alone are named" {
    mkdir -p "$box/image/etc/stbapp" "$box/image/var/lib/stbapp"
    describe "$volume"
    mv "$schema" "$box/image/etc/stbapp/"
    printf '[Audio]\nvolume=200\n' >"$box/image/etc/stbapp/stbapp.conf"
    printf '[Audio]\nvolum=20\n' >"$box/image/var/lib/stbapp/custom.conf"
    export STBCONFIG_PERSISTENT_PREFIX=/var/lib/stbapp/ STBCONFIG_DEFAULTS_PREFIX=/etc/stbapp/
    STBAPP_AUDIO_VOLUME=300 expect 1 check --root "$box/image" --as-root
    image=$(realpath "$box/image")
    diff <(grep -E 'bad-value|unknown-setting' <<<"$output") - <<LINES
warning unknown-setting: $image/var/lib/stbapp/custom.conf:2: Audio/volum: CustomConfPersistent holds a setting not described in $image/etc/stbapp/stbapp.schema.json; did you mean Audio/volume?
warning bad-value: $image/etc/stbapp/stbapp.conf:2: Audio/volume: StbappConfDefault holds 200, which is above the maximum, 100; correct it in the image: use 100
LINES
}

@test "a description that cannot be read is a finding, beside the others" {
    describe "$volume"
    printf '[Audio]\nvolume=no\n' >"$custom"
    printf '{"settings": \n' >"$schema"
    expect 3 check
    [[ ${lines[0]} == "error bad-description: $schema"*": "*"; "* ]]
    [[ $output == *"boolean-word: $custom: Audio/volume: "* ]]
    [ "$(grep -c bad-description <<<"$output")" = 1 ]
    expect 3 check --fail-on error --ignore boolean-word
    expect 1 check --ignore bad-description
    expect 1 check --no-schema
    expect 3 check --schema "$box/none"
    [[ ${lines[0]} == "error bad-description: $box/none: "*"; "* ]]
}

@test "findings of a description are left out, and fail, like the others" {
    describe "$volume"
    printf '[Audio]\nvolume=200\n[A]\nb=1\n[Sound]\nlevel=1\n' >"$custom"
    expect 0 check --fail-on error
    expect 0 check --ignore bad-value --ignore unknown-setting
    expect 1 check --fail-on note --ignore bad-value --ignore unknown-setting
    [[ $output == *"note migrated-name: "* ]]
    expect 0 check --fail-on note --ignore bad-value --ignore unknown-setting --ignore migrated-name
    [ -z "$output" ] || { echo "$output"; return 1; }
    sed -i /volume/d "$custom"
    expect 1 check --ignore unknown-setting
    expect 0 check --ignore unknown-setting --ignore old-name
}

@test "a report tells the findings of a description" {
    describe "$volume"
    printf '[Audio]\nvolume=200\n' >"$custom"
    expect 0 report
    [[ $(tr -s ' \n' ' ' <<<"$output") == *"warning bad-value: "*"holds 200, which is above the maximum, 100; use 100"* ]]
    expect 0 report --json
    [[ $output == *'"id": "bad-value"'* ]]
}

# Expects of the command that it shows neither this text nor, as the nearest one, a part of it.
hides()
{
    local text=$1
    shift
    run "$STBCONFIG" "$@"
    [[ $output != *"$text"* && $output != *"use 1234"* ]] || { echo "$*: $output"; return 1; }
}

@test "no finding and no error shows a secret, or what is nearest to one" {
    describe "$door" '"User/site": {"values": ["http://a/"], "was": ["User/address"]}'
    printf '[User]\ndoor=1235\nsite="http://me:1235@a/"\naddress=elsewhere\n' | tee "$custom" >"$defaults"
    printf '[User]\ndoor=1235\n' >"$box/given"
    export STBAPP_USER_DOOR=1235
    for words in check "check --json" report "report --json" "set User/door 1235" \
        "set User/door 1235 --type int" "set User/dor 1235" "import $box/given" "set User/site 1235 --type list"; do
        hides 1235 $words
    done
    hides 1235 set User/door --stdin <<<1235
    expect 1 check
    [[ $output == *"User/door: CustomConfPersistent holds ********, which is none of 1234, 5678; allowed is 1234, 5678"* ]]
    [[ $output == *"User/site: CustomConfPersistent holds ********, which is none of http://a/; allowed is http://a/"* ]]
    [ "$(grep -c 'User/door: .* holds \*' <<<"$output")" = 2 ]
    [ -z "$("$STBCONFIG" check -0 | tr '\0' '\n' | grep 1235)" ]
    [[ $output == *"STBAPP_USER_DOOR: EnvironmentVariables holds ********, which"* ]]
    expect 2 set User/door 1235
    [ "$output" = "stbconfig: User/door: the value is none of 1234, 5678; allowed is 1234, 5678 (--no-schema leaves the description out)" ]
    expect 1 check --show-secrets
    [[ $output == *"holds 1235, which is none of 1234, 5678; use 1234"* ]]
}

# Expects that each line of the text is safe for a terminal, and that there are so many.
are_safe_lines()
{
    python3 - "$1" "$2" <<'SCRIPT'
import sys, unicodedata
lines = open(sys.argv[1], encoding="utf-8", errors="surrogateescape").read().split("\n")
assert lines.pop() == "" and len(lines) == int(sys.argv[2]), lines
for line in lines:
    assert not any(unicodedata.category(c) in ("Cc", "Cf", "Cs", "Co", "Cn", "Zl", "Zp") for c in line), ascii(line)
SCRIPT
}

@test "hostile names and values make one safe line each" {
    python3 - "$box" <<'SCRIPT'
import json, sys
box = sys.argv[1]
evil = "\x1b[2J\u202e\n\r\t\x07\x7f\u2028\U000e0041x"
settings = {"A/" + evil: {"type": "int"}, "B/text": {"values": [evil, "a" + evil]},
            "B/new": {"was": ["B/" + evil]}, "B/other": {"type": "int", "was": ["C/" + evil]}}
with open(box + "/etc/stbapp.schema.json", "w") as file:
    json.dump({"settings": settings}, file)
name = "".join("%%U%04X" % c for c in memoryview(evil.encode("utf-16-le")).cast("H"))
value = '"' + "".join("\\x%x" % c for c in memoryview(evil.encode("utf-16-le")).cast("H")[:-1]) + '"'
with open(box + "/var/custom.conf", "w") as file:
    # A value that is too long, a value that is not allowed, an old name, an old name beside today's, an unknown
    # name, and an unknown name that resembles another one.
    file.write(f"[A]\n{name}={value}\n{name}y=1\n[B]\n{name}=1\ntext={value}\nother={'x' * 100000}\n"
               f"[C]\n{name}=1\n[{name}]\n{name}=1\n")
SCRIPT
    rm "$defaults"
    "$STBCONFIG" check --ignore missing >"$box/out" 2>&1 || [ $? = 1 ]
    grep -E 'bad-value|unknown|-name' "$box/out" >"$box/lines"
    are_safe_lines "$box/out" "$(wc -l <"$box/out")"
    [ "$(wc -l <"$box/lines")" = 7 ] || { cat "$box/lines"; return 1; }
    [ "$(awk '{ if (length > longest) longest = length } END { print longest }' "$box/lines")" -lt 1000 ]
    [[ $(<"$box/lines") == *"B/other: CustomConfPersistent holds xxx"*"…, which is no whole number"* ]]
    "$STBCONFIG" check --json >"$box/json" || true
    are_safe_lines "$box/json" "$(wc -l <"$box/json")"
    # A record has the place as it is; the message and the remedy are for people.
    "$STBCONFIG" check -0 --ignore missing | python3 -c 'import sys
for record in sys.stdin.buffer.read().decode().split("\0")[:-1]:
    print(*record.split("\t")[3:])' >"$box/records"
    are_safe_lines "$box/records" "$(wc -l <"$box/out")"
    for words in "set B/text x" "import $custom"; do
        "$STBCONFIG" $words 2>"$box/errors" && return 1
        are_safe_lines "$box/errors" "$(grep -c ^stbconfig: "$box/errors")"
    done
}

@test "long names that look alike hold up no command" {
    python3 - "$box" <<'SCRIPT'
import json, sys
box = sys.argv[1]
long = "x" * 10000
with open(box + "/etc/stbapp.schema.json", "w") as file:
    json.dump({"settings": {f"A/{i}{long}a": {} for i in range(100, 200)}}, file)
with open(box + "/var/custom.conf", "w") as file:
    file.write("[A]\n" + "".join(f"{i}{long}b=1\n" for i in range(200, 300)))
SCRIPT
    # Checking takes at most ten times as long as listing.
    (($(cost list) + 50 > $(cost check) / 10))
    grep -q 'did you mean' "$box/out"
}

# Describes so many settings, and fills the files with so many: with bad values, with unknown names
# that resemble others, and with old names.
crowded()
{
    python3 - "$box" "$1" <<'SCRIPT'
import json, sys
box, count = sys.argv[1], int(sys.argv[2])
settings = {f"G{i % 100}/described{i:08}": {"type": "int", "maximum": 5, "was": [f"Old/name{i:08}"]} for i in range(count)}
with open(box + "/etc/stbapp.schema.json", "w") as file:
    json.dump({"settings": settings}, file)
kinds = ["G{0}\\described{1:08}", "G{0}\\describde{1:08}", "Old\\name{1:08}"]
text = "[General]\n" + "".join(kinds[i % 3].format(i % 100, i) + "=6\n" for i in range(count))
for path in ("/var/custom.conf", "/etc/stbapp.conf", "/given"):
    with open(box + path, "w") as file:
        file.write(text)
with open(box + "/env", "w") as file:
    file.writelines(f"STBAPP_OLD_NAME{i:08}=6\nSTBAPP_G{i % 100}_DESCRIBDE{i:08}=6\n" for i in range(0, count, 2))
SCRIPT
}

# Prints the milliseconds of processor time that the command takes, and keeps what it says.
cost()
{
    python3 - "$box/out" "$STBCONFIG" "$@" <<'SCRIPT'
import os, subprocess, sys
with open(sys.argv[1], "w") as out:
    subprocess.run(sys.argv[2:], stdout=out, stderr=out, check=False)
print(int(os.times().children_user * 1000))
SCRIPT
}

@test "with eight thousand settings that are described and held, no command takes longer for each" {
    [ -z "$EMULATOR" ] || skip "the emulator is too slow to tell"
    local all=() i=0
    for count in 1 1000 8000; do
        crowded "$count"
        for words in "set G0/describde00000000 3" "import $box/given" "--env-file $box/env check"; do
            all[i++]=$(cost $words)
        done
    done
    for i in {0..2}; do
        # With eight times as many settings, a cost that grows with the square would be 64 times as high. What the
        # command costs without them is left out.
        ((all[i + 6] - all[i] < 24 * (all[i + 3] - all[i] + 20))) || { echo "${all[*]}"; return 1; }
    done
    [ "$(grep -c bad-value "$box/out")" = $((2 * 2667)) ]
    [ "$(grep -c unknown-setting "$box/out")" = $((2 * 2667 + 1333)) ]
}

# Expects that the command refuses with this message and writes nothing.
refuses()
{
    local wanted=$1
    shift
    cp -p "$custom" "$box/before" 2>/dev/null || true
    run "$STBCONFIG" "$@"
    [ "$status" = 2 ] && [ "$output" = "stbconfig: $wanted (--no-schema leaves the description out)" ] ||
        { echo "$*: $status: $output"; return 1; }
    if [ -e "$box/before" ]; then cmp "$custom" "$box/before"; else [ ! -e "$custom" ]; fi
}

# Stores a value under the description, and expects this line in the file.
stores()
{
    local wanted=$1
    shift
    rm -f "$custom"
    run "$STBCONFIG" set "$@"
    [ "$status" = 0 ] && [ -z "$output" ] && grep -qxF -e "$wanted" "$custom" ||
        { echo "$*: $status: $output"; cat "$custom"; return 1; }
}

@test "set takes the type from the description" {
    describe "$volume" "$output" "$modes" "$mute" '"A/text": {}' '"A/list": {"type": "list"}'
    stores volume=100 Audio/volume 100
    stores volume=0 Audio volume 0
    stores volume=7 Audio/volume +07
    stores volume=7 Audio/volume 7 --type int
    stores output=hdmi Video/output hdmi
    stores 'modes=720p, 1080p' Video/modes 720p,1080p
    stores 'modes=720p, 1080p' Video/modes 720p,1080p --type list
    stores 'modes=720p' Video/modes 720p
    stores mute=true Audio/mute true
    stores mute=true Audio/mute TRUE
    stores mute=true Audio/mute 1
    stores mute=false Audio/mute 0
    stores mute=false Audio/mute False --type bool
    stores 'text="a,b"' A/text a,b
    stores text=off A/text off
    stores 'list=a, b' A/list a,b
    expect 0 set Audio/volume 7 --json
    [[ $output == *'"value": 7'* ]]
    expect 0 set Audio/volume 8 --dry-run
    [ "$output" = "would set Audio/volume to 8" ]
    expect 0 check --ignore missing
}

@test "set refuses what the description forbids, and says what is allowed" {
    describe "$volume" "$output" "$modes" "$mute" '"A/text": {}' '"A/int": {"type": "int"}'
    refuses "Audio/volume: the value is above the maximum, 100; use 100" set Audio/volume 101
    refuses "Audio/volume: the value is below the minimum, 0; use 0" set Audio volume -- -1
    refuses "Audio/volume: the value is no whole number of 32 bits; use 30" set Audio/volume loud
    refuses "A/int: the value is no whole number of 32 bits; allowed is a whole number" set A/int 2147483648
    refuses "A/int: the value is no whole number of 32 bits; allowed is a whole number" set A/int ""
    refuses "Video/output: the value is none of hdmi, scart; use scart" set Video/output scrat
    refuses "Video/output: the value is none of hdmi, scart; allowed is hdmi, scart" set Video/output ""
    refuses "Video/modes: the value has an item that is none of 720p, 1080p; use 720p" set Video/modes 1080p,720i
    refuses "Audio/mute: the value is neither true nor false; use false" set Audio/mute off
    refuses "Audio/mute: the value is neither true nor false; use true" set Audio/mute yes
    printf '[Audio]\nvolume=5\n' >"$custom"
    refuses "Audio/volume: the value is above the maximum, 100; use 100" set Audio/volume 200 --force
    refuses "Audio/volume: the value is above the maximum, 100; use 100" set Audio/volume 200 --dry-run
    refuses "Audio/volume: the value is above the maximum, 100; use 100" set Audio/volume --stdin <<<200
    expect 2 set Audio/volume 200 --json
    [[ $output == "stbconfig: Audio/volume: "* ]]
}

@test "set refuses a type that contradicts the description" {
    describe "$volume" '"A/text": {}'
    refuses "Audio/volume: its type is not text but int; leave --type out" set Audio/volume 5 --type text
    refuses "A/text: its type is not list but text; leave --type out" set A/text a,b --type list
}

@test "set refuses a name that the description does not know, or knows as an older one" {
    describe "$volume"
    refuses "Audio/volum: not described in $schema; did you mean Audio/volume?" set Audio/volum 5
    refuses "Else/where: not described in $schema; correct the name, or describe it" set Else/where 5 --type int
    refuses "Sound/level: an older name of Audio/volume; use Audio/volume" set Sound/level 5
    refuses "Sound/level: an older name of Audio/volume; use Audio/volume" set Sound level --stdin <<<5
    describe
    refuses "Audio/volume: not described in $schema; correct the name, or describe it" set Audio/volume 5
}

@test "set leaves the description out on request, and for what it does not describe" {
    describe "$volume"
    stores volume=200 Audio/volume 200 --no-schema
    stores level=5 Sound/level 5 --no-schema
    stores a=b Else/a b --no-schema
    stores 'volume=1, 2' Audio/volume 1,2 --type list --no-schema
    stores level=debug Logging/level debug
    stores locale=en Profile/locale en
    mv "$schema" "$box/other.json"
    stores volume=200 Audio/volume 200
    refuses "Audio/volume: the value is above the maximum, 100; use 100" --schema "$box/other.json" set Audio/volume 200
    mv "$box/other.json" "$schema"
    expect 0 set Audio/volume 200 --storage epg --create
    expect 0 set Audio/volum 5 --storage epg --type text
    grep -qx volume=200 "$box/var/epg.db"
}

@test "a description that cannot be read keeps set, import and a new logging level from writing" {
    printf '[Audio]\nvolume=5\n' >"$custom"
    cp "$custom" "$box/given"
    cp "$custom" "$box/before"
    echo '{' >"$box/etc/stbapp.schema.json"
    for words in "set Audio/volume 5" "set Audio/volume 6 --force" "import $box/given" "logging level debug"; do
        expect 3 $words
        [ "${#lines[@]}" = 1 ] && [[ $output == "stbconfig: $box/etc/stbapp.schema.json"* ]] || { echo "$words: $output"; return 1; }
        cmp "$custom" "$box/before"
        expect 0 $words --no-schema --dry-run
    done
    # Commands that need no description say that it is bad, and work.
    expect 0 logging
    [ "$(grep -c "^stbconfig: $box/etc/stbapp.schema.json" <<<"$output")" = 1 ]
    [[ $output == *imageRequestsEnabled* ]]
    expect 0 set Audio/volume 200 --storage epg --create
    [ "${#lines[@]}" = 1 ]
    [[ $output == "stbconfig: $box/etc/stbapp.schema.json"* ]]
    expect 0 import "$box/given" --storage epg
    # But an export cannot know which of its settings are secrets.
    expect 3 export --storage epg
}

@test "logging refuses what the description forbids" {
    describe '"Logging/level": {"values": ["info", "debug"]}' '"Logging/responseLengthLimit": {"type": "int", "maximum": 100}'
    refuses "Logging/level: the value is none of info, debug; allowed is info, debug" logging level trace
    refuses "Logging/responseLengthLimit: the value is above the maximum, 100; use 100" logging responseLengthLimit 101 --force
    refuses "Logging/level: the value is none of info, debug; allowed is info, debug" set Logging/level trace
    expect 0 logging level trace --no-schema
    expect 0 logging level debug
    expect 0 logging jsonFormattingEnabled true
}

@test "import names all that the description forbids, and writes nothing" {
    describe "$volume" "$output" "$modes" "$mute" "$door"
    printf '[Audio]\nvolume=5\n' >"$custom"
    printf '[Audio]\nvolume=101\nmute=no\n[Video]\noutput=a, b\nmodes=720p, 480p\n[Adio]\nvolume=1\n[User]\ndoor=1235\n[Logging]\nlevel=verbose\n[A]\n' >"$box/given"
    before=$(stat -c '%i %Y %s' "$custom")
    for words in "" --dry-run --force --replace; do
        expect 2 import "$box/given" $words
        [ "$(stat -c '%i %Y %s' "$custom")" = "$before" ]
        diff <(echo "$output") - <<LINES || return 1
stbconfig: Adio/volume: not described in $schema; did you mean Audio/volume? (--no-schema leaves the description out)
stbconfig: Audio/mute: the value is neither true nor false; use false (--no-schema leaves the description out)
stbconfig: Audio/volume: the value is above the maximum, 100; use 100 (--no-schema leaves the description out)
stbconfig: Logging/level: reads as critical; use critical, error, warning, info, debug, trace or 0 to 5
stbconfig: User/door: the value is none of 1234, 5678; allowed is 1234, 5678 (--no-schema leaves the description out)
stbconfig: Video/modes: the value has an item that is none of 720p, 1080p; allowed is a list of 720p, 1080p (--no-schema leaves the description out)
stbconfig: Video/output: the value is a list, and not one text; allowed is hdmi, scart (--no-schema leaves the description out)
stbconfig: $box/given: nothing is imported, refused: 7; correct these, or choose others with --only
LINES
    done
    expect 0 import "$box/given" --storage epg --create
    sed -i /level=verbose/d "$box/given"
    expect 0 import "$box/given" --no-schema --dry-run
    expect 2 import - --only Audio <"$box/given"
    [[ $output == *"standard input: nothing is imported, refused: 2; "* ]]
    expect 2 import "$box/given" --only Audio/volume
    [[ $output == *"$box/given: nothing is imported, refused: 1; "* ]]
}

@test "import takes what the description allows, also under older names" {
    describe "$volume" "$output" "$modes" '"A/new": {"type": "int", "was": [{"name": "A/old", "values": {"loud": 1}}]}'
    printf '[Audio]\nvolume=5\n[Sound]\nlevel=500\n[A]\nold=loud\n[Video]\noutput=hdmi\nmodes=720p\n[Logging]\nlevel=debug\n[Profile]\nlocale=en\n' >"$box/given"
    expect 0 import "$box/given"
    run "$STBCONFIG" list --keys
    for name in A/old Audio/volume Logging/level Profile/locale Sound/level Video/modes Video/output; do
        grep -qxF "$name" <<<"$output" || { echo "$output"; return 1; }
    done
    # A box can import its own export.
    "$STBCONFIG" export >"$box/export"
    rm "$custom"
    expect 0 import "$box/export"
}

@test "a word of a value that was not quoted is not shown" {
    describe "$door"
    expect 2 set User/door 1234 5678
    [ "$output" = "stbconfig: User/door: a word too many; put a value of several words in quotes" ]
    [ ! -e "$custom" ]
}
