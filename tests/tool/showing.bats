# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

# Holds a colour, a turned direction, an invisible character, two line ends, a tag and an unassigned character.
evil=$'a\e[31m\u202e\u2066\u200f\u200b\u2028\u2029\u0085\x7f\ue000\U000e0041\u0378z'
evil_shown='a\x1b[31m\u202e\u2066\u200f\u200b\u2028\u2029\x85\x7f\ue000\U000e0041\u0378z'

# Expects that standard input holds nothing that a terminal obeys, except the command's own colours.
harmless()
{
    python3 -c '
import re, sys, unicodedata
text = sys.stdin.buffer.read().decode()
bare = re.sub("\x1b\\[(1;32|0)m", "", text).replace("\r\n", "\n").replace("\n", "").replace("\0", "")
bad = [c for c in bare if unicodedata.category(c) in ("Cc", "Cf", "Cs", "Co", "Cn", "Zl", "Zp")]
assert text and not bad, (text, bad)'
}

requires_terminal()
{
    script -qec true /dev/null >/dev/null 2>&1 </dev/null || skip "no pseudo-terminals here"
}

# Runs the command's arguments on a terminal of that many columns, into "$box/screen".
on_terminal()
{
    local columns=$1
    shift
    SHELL=$BASH script -qec "stty cols $columns; $(printf '%q ' "$STBCONFIG" "$@")" "$box/script" \
        </dev/null >"$box/screen" || true
}

hold_evil()
{
    mkdir "$box/$evil"
    export STBCONFIG_PERSISTENT_PREFIX=$box/$evil/
    "$STBCONFIG" set "$evil/$evil" "$evil"
    "$STBCONFIG" set "$evil/$evil" "$evil" --storage "$evil" --create
    "$STBCONFIG" set Profile/locale "$evil"
    printf '[Logging]\nlevel=a\\x1b[31m\\x202e\n' >"$defaults"
}

@test "nothing that is shown moves a cursor, in any command" {
    requires_terminal
    hold_evil
    touch "$box/$evil/custom.conf.lock"
    for words in list explain diff get locations check unset set logging locale "list -0" \
        "list --json"; do
        case $words in
        explain | get) set -- "$words" "$evil/$evil" ;;
        unset) set -- unset --dry-run "$evil/$evil" ;;
        set) set -- set --dry-run "$evil/$evil" "x$evil" ;;
        *) set -- $words ;;
        esac
        [ "$words" != unset ] || rm "$box/$evil/custom.conf.lock"
        on_terminal 2000 "$@"
        harmless <"$box/screen" || { echo "$words"; return 1; }
    done
    on_terminal 2000 get "$evil/$evil"
    grep -qF "$evil_shown" "$box/screen"
    on_terminal 2000 list
    grep -qF "$evil_shown/$evil_shown" "$box/screen"
    on_terminal 2000 locations
    grep -qF "$box/$evil_shown/custom.conf" "$box/screen"
}

@test "no complaint moves a cursor, whatever was typed" {
    hold_evil
    "$STBCONFIG" set A/other 1
    while read -r words; do
        set --
        for word in $words; do
            set -- "$@" "${word//EVIL/$evil}"
        done
        run "$STBCONFIG" "$@"
        [ "$status" != 0 ] || { echo "$words: $output"; return 1; }
        harmless <<<"$output" || { echo "$words"; return 1; }
    done <<'WORDS'
EVIL
--EVIL
get EVIL
get EVIL/b
get A/b --from EVIL
get A/b --as EVIL
get EVIL/EVIL --as int
get A/b --storage xEVIL
get A/b EVIL EVIL
explain EVIL/EVILx
list EVILxx
set EVIL
set EVIL/b EVIL --type int
set EVIL/b/ 1
unset EVIL
unset EVIL/b
unset --group xEVIL
logging EVIL 1
logging level EVIL
check --ignore EVIL
check --fail-on EVIL
completion EVIL
--root EVIL list
--pid EVIL list
--env-file EVIL list
--persistent EVIL get A/b
WORDS
}

@test "a broken file with a hostile path is named harmlessly" {
    hold_evil
    echo broken >"$box/$evil/custom.conf"
    for words in list "get a b" "explain a b" diff logging locale check "set a/b 1" "unset a/b"; do
        run "$STBCONFIG" $words
        [ "$status" = 3 ]
        harmless <<<"$output" || { echo "$words"; return 1; }
    done
    printf 'no assignment\n' >"$box/$evil.env"
    run "$STBCONFIG" --env-file "$box/$evil.env" list
    harmless <<<"$output"
    [[ $output == *"$evil_shown.env: line 1 "* ]]
}

@test "get prints a value's bytes into a pipe, and escapes on a terminal" {
    "$STBCONFIG" set A b "$evil"
    [ "$("$STBCONFIG" get A b)" = "$evil" ]
    [ "$("$STBCONFIG" get A b -0 | tr '\0' '|')" = "$evil|" ]
    "$STBCONFIG" set A back 'a\nb\\'
    [ "$("$STBCONFIG" get A back)" = 'a\nb\\' ]
}

@test "half a character is shown as an escape, and is no question mark anywhere" {
    [ "$QT_MAJOR" = 5 ] || skip "Qt $QT_MAJOR reads no halves"
    printf '[A]\nb=\\xd800x\n' >"$custom"
    expect 0 list A
    [[ $output == *'\ud800x' ]]
    expect 0 get A b
    [ "$output" = $'\ufffdx' ]
    expect 0 get A b --json
    [ "$(echo "$output" | python3 -c 'import json, sys; print(ascii(json.load(sys.stdin)["value"]))')" = "'\\ud800x'" ]
}

# Prints what "list" shows of the value, which stands in the file as it is given.
shown()
{
    printf '[A]\nb=%s\n' "$1" >"$custom"
    "$STBCONFIG" list A/b | cut -c 28-
}

@test "a backslash in a name or value is no escape" {
    [ "$(shown '"a\nb"')" = 'a\nb' ]
    [ "$(shown '"a\\nb"')" = 'a\\nb' ]
    [ "$(shown '\x1b[31m')" = '\x1b[31m' ]
    [ "$(shown '"\\x1b[31m"')" = '\\x1b[31m' ]
}

@test "a list never looks like a text" {
    [ "$(shown 'a, b')" = '["a", "b"]' ]
    [ "$(shown '"a, b"')" = 'a, b' ]
    [ "$(shown '"[\"a\", \"b\"]"')" = '"[\"a\", \"b\"]"' ]
    [ "$(shown '"a\", \"b", c')" = '["a\", \"b", "c"]' ]
    [ "$(shown '"\"a\""')" = '"\"a\""' ]
}

@test "no value looks like nothing, and no text like a value of a type" {
    [ "$(shown '')" = '""' ]
    [ "$(shown '" "')" = '" "' ]
    [ "$(shown '" a"')" = '" a"' ]
    [ "$(shown '"a "')" = '"a "' ]
    [ "$(shown '[a')" = '"[a"' ]
    [ "$(shown '\"a')" = '"\"a"' ]
    [ "$(shown '@Size(1 2)')" = '@Size(1 2)' ]
    [ "$(shown '@@Size(1 2)')" = '"@Size(1 2)"' ]
    [ "$(shown '@Rect(1 2 3 4)')" = '@Rect(1 2 3 4)' ]
    [ "$(shown '@Point(1 2)')" = '@Point(1 2)' ]
    [ "$(shown '@Invalid()')" = '@Invalid()' ]
    [ "$(shown '@ByteArray()')" = '@ByteArray()' ]
    [ "$(shown '@ByteArray(abc)')" = abc ]
    [ "$(shown '@Variant(\0\0\0\b\0\0\0\0)')" = '@Variant(QVariantMap)' ]
    expect 0 get A b
    [ "$output" = '@Variant(QVariantMap)' ]
    expect 0 get A b --json
    [[ $output == *'"type": "QVariantMap"'* ]]
    printf '[A]\nb=@Size(1 2)\n' >"$custom"
    expect 0 get A b
    [ "$output" = '@Size(1 2)' ]
    printf '[A]\nb=@Variant(\\0\\0\\0\\x2\\0\\0\\0\\x5)\n' >"$custom"
    expect 0 get A b --json
    [[ $output == *'"value": 5'* ]]
}

@test "a number and a boolean are JSON's own if they are asked for" {
    printf '[A]\nnumber=12\nyes=true\n' >"$custom"
    expect 0 get A number --as int --json
    [[ $output == *'"value": 12'[!0-9]* ]]
    expect 0 get A yes --as bool --json
    [[ $output == *'"value": true'* ]]
    expect 0 get A nothing --default 7 --as int --json
    [[ $output == *'"origin": "--default"'*'"value": 7'[!0-9]* ]]
    expect 0 get A nothing --default 'a"b' --json
    [[ $output == *'"value": "a\"b"'* ]]
    expect 2 get A nothing --default x --as int
}

@test "columns count what a terminal needs, not characters" {
    printf '[A]\n%%U65E5%%U672C=1\nab=2\ne%%U0301=3\n' >"$custom"
    expect 0 list A
    [ "${lines[0]}" = "A/ab    CustomConfPersistent  2" ]
    [ "${lines[1]}" = $'A/e\u0301     CustomConfPersistent  3' ]
    [ "${lines[2]}" = "A/日本  CustomConfPersistent  1" ]
}

@test "a table is cut where the terminal ends, wide characters counted" {
    requires_terminal
    "$STBCONFIG" set A b "$(printf '日%.0s' {1..60})"
    "$STBCONFIG" set A c "$(printf '😀%.0s' {1..60})"
    "$STBCONFIG" set A d "$(printf 'e\u0301%.0s' {1..60})"
    for columns in 79 80; do
        on_terminal $columns list A
        python3 - "$box/screen" $columns <<'SCRIPT'
import sys, unicodedata
lines = open(sys.argv[1], encoding="utf-8", newline="").read().replace("\r\n", "\n").split("\n")[:-1]
def width(text):
    return sum(0 if unicodedata.combining(c) else 2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in text)
assert len(lines) == 3, lines
for line in lines:
    assert int(sys.argv[2]) - 2 < width(line) <= int(sys.argv[2]) and line[-1] == "…", (width(line), line)
SCRIPT
    done
}

@test "a long value is cut at once" {
    requires_terminal
    (printf '[A]\nb='; head -c 3000000 /dev/zero | tr '\0' x) >"$custom"
    timeout 20 script -qec "stty cols 80; '$STBCONFIG' list A" /dev/null </dev/null >"$box/screen"
    [ "$(wc -c <"$box/screen")" -lt 100 ]
}

# Expects lines of at most 80 columns from explain, but for those that are one of the given texts.
within_80_columns()
{
    local line allowed
    while IFS= read -r line; do
        for allowed in "$@"; do
            [ "${line#"${line%%[! ]*}"}" != "$allowed" ] || continue 2
        done
        [ "${#line}" -le 80 ] || { echo "${#line}: $line"; return 1; }
    done <<<"$output"
}

@test "explain's lines fit into 80 columns whatever the setting" {
    ln -s "$box/var" "$BATS_TEST_TMPDIR/v"
    for value in x $(printf 'x%.0s' {1..30}) $(printf 'x%.0s' {1..47}) $(printf 'x%.0s' {1..80}); do
        for name in Logging/level Logging/responseLengthLimit Logging/jsonFormattingEnabled \
            Logging/imageRequestsEnabled Profile/locale A/b Ab/$(printf 'y%.0s' {1..40}); do
            printf '[%s]\n%s=%s\n' "${name%/*}" "${name#*/}" "$value" | tee "$custom" >"$defaults"
            printf '%s=%s\n' "STBAPP_$(tr 'a-z/' 'A-Z_' <<<"$name")" "$value" >"$box/env"
            for choice in --no-env "--env-file $box/env" "--pid $$"; do
                run "$STBCONFIG" $choice explain "$name"
                [ "$status" = 0 ]
                within_80_columns "$custom" "$defaults" "of $box/env"
            done
        done
    done
}

@test "the picture of explain shows what explain prints" {
    mkdir "$box/bin"
    ln -s "$STBCONFIG" "$box/bin/stbconfig"
    cd "$box"
    python3 - "$BATS_TEST_DIRNAME/../../docs/explain.svg" >"$box/told" <<'END'
import sys, xml.etree.ElementTree
for text in xml.etree.ElementTree.parse(sys.argv[1]).iter("{http://www.w3.org/2000/svg}text"):
    print(text.text.replace("/var/lib/stbapp/", "var/").replace("/etc/stbapp/", "etc/"))
END
    export PATH=$box/bin:$PATH STBCONFIG_PERSISTENT_PREFIX=var/ STBCONFIG_DEFAULTS_PREFIX=etc/
    sed -n 's/^\$ //p' "$box/told" | bash >"$box/printed"
    diff <(grep -v '^\$ ' "$box/told") "$box/printed"
    [ -s "$box/printed" ]
}

@test "explain shows a value of 80 columns on a line of its own, and the reason beside the location" {
    value=$(printf 'x%.0s' {1..80})
    "$STBCONFIG" set A b "$value"
    expect 0 explain A b
    [ "${lines[0]}" = "A/b =" ]
    [ "${lines[1]}" = "$value" ]
    [ "${lines[2]}" = "-> CustomConfPersistent         answers" ]
    [ "${lines[3]}" = "$value" ]
    "$STBCONFIG" set A b short
    expect 0 explain A b
    [ "${lines[0]}" = "A/b = short" ]
    [ "${lines[1]}" = "-> CustomConfPersistent         short, answers" ]
}

@test "explain says that a command line can override the level, and only that" {
    expect 0 explain Logging level --json || expect 1 explain Logging level --json
    [[ $output == *"a level on the application's command line overrides it"* ]]
    run "$STBCONFIG" explain Logging responseLengthLimit
    [[ $output != *"command line"* ]]
}

@test "records have fields that a script can part" {
    printf '[A]\n"t\tab"=x\nback\\slash=1\nlist=a, b\nsame=1\n' >"$custom"
    printf '[A]\nsame=2\n"t\tab"=y\n' >"$defaults"
    [ "$("$STBCONFIG" diff A -0 | tr '\0' '|')" = \
        $'changed\tA/"t\\tab"\tCustomConfPersistent\ty\tx|added\tA/back/slash\tCustomConfPersistent\t\t1|added\tA/list\tCustomConfPersistent\t\t["a", "b"]|changed\tA/same\tCustomConfPersistent\t2\t1|' ]
    [ "$("$STBCONFIG" list A/same -0 | tr '\0' '|')" = $'A/same\tCustomConfPersistent\t1|' ]
    printf '[A]\nb="x\\ty"\n' >"$custom"
    printf '[A]\nb="1\\\\2\\t3"\n' >"$defaults"
    [ "$("$STBCONFIG" diff A -0 | tr '\0' '|')" = \
        $'changed\tA/b\tCustomConfPersistent\t1\\\\2\\t3\tx\ty|' ]
}

@test "no colour goes into a pipe" {
    printf '[Profile]\nlocale=nonsense\n' >"$custom"
    for words in list "explain Video output" diff check locations; do
        run "$STBCONFIG" $words
        [[ -n $output && $output != *$'\e'* ]]
    done
}

@test "list takes a group, a glob or a setting" {
    printf '[Video]\nmode=1\n[Videotext]\nx=1\n[A]\nVideo=1\n' >"$custom"
    expect 0 list Video --keys
    [ "$output" = $'Video/mode\nVideo/output' ]
    expect 0 list Video/ --keys
    [ "$output" = $'Video/mode\nVideo/output' ]
    expect 0 list 'Video/*' --keys
    [ "$output" = $'Video/mode\nVideo/output' ]
    expect 0 list Video/mode --keys
    [ "$output" = Video/mode ]
    expect 0 list 'Vid*' --keys
    [ "$output" = $'Video/mode\nVideo/output\nVideotext/x' ]
    expect 1 list Vido
    [ "$output" = "stbconfig: Vido: no such setting; did you mean Video?" ]
}

@test "every list says the origin" {
    export STBAPP_VIDEO_OUTPUT=vga
    "$STBCONFIG" set A b 1
    "$STBCONFIG" set A b 2 --storage epg --create
    expect 0 list
    [ "$output" = $'A/b           CustomConfPersistent  1\nVideo/output  EnvironmentVariables  vga' ]
    expect 0 list --storage epg
    [ "$output" = "A/b  $box/var/epg.db  2" ] || [[ $output == "A/b  $box/var/epg.db "*" 2" ]]
    expect 0 list --json --from stbapp
    [[ $output == *'"origin": "StbappConfDefault"'* ]]
    expect 2 list --origin
}

secrets=(password userPassword passwd passphrase wifi_passphrase secret clientSecret token accessTokens
    pin parentalPin PARENTAL_PIN userpin credential credentials psk wifiPsk WPA_PSK apikey api_key
    apiKey APIKey api-key "api key" APIKEY auth oauth basicAuth private_key privateKey "private key"
    privateKeys pin2 pass-word)
plain=(mapping author authors spinner opinion shipping spin keymap keyboard compass photoKenBurns
    pinned authorName privateMode)

@test "secrets are masked wherever they are listed, and words that only contain one are not" {
    {
        echo '[Box]'
        for key in "${secrets[@]}"; do
            echo "$key=hidden" | sed 's/ \([^=]*=\)/%20\1/'
        done
        for key in "${plain[@]}"; do
            echo "$key=open"
        done
        printf '[token]\nname=hidden\n[Pin]\nname=hidden\n[Mapping]\nname=open\n'
    } >"$custom"
    expect 0 list --json
    echo "$output" | python3 -c '
import json, sys
shown = json.load(sys.stdin)
bad = [s for s in shown if s["value"] not in ("********", "open", "hdmi")]
assert not bad, bad
wrong = [s["setting"] for s in shown if (s["value"] == "open") != (s["setting"].split("/")[1] in sys.argv[1:]
    or s["setting"] == "Mapping/name") and s["value"] != "hdmi"]
assert not wrong, wrong' "${plain[@]}"
    for words in list "list -0" diff "diff --json" check "check --json" "explain Box/pin" \
        "explain Box/pin --json" "unset --dry-run Box/pin" "set --dry-run Box/pin hidden2" \
        "set --json --dry-run Box/pin hidden2" "set Box/pin hidden2 --type int" "get Box/pin --as int" \
        "get Box/pin --as int --show-secrets" "set Box/pin" "set Box/pin hidden hidden hidden" \
        "unset --json --dry-run Box/pin" "get Box/pinn"; do
        run "$STBCONFIG" $words
        [[ $output != *hidden* ]] || { echo "$words: $output"; return 1; }
    done
    expect 0 get Box/pin
    [ "$output" = hidden ]
    expect 0 list --show-secrets
    [[ $output == *hidden* ]]
}

@test "a secret in a malformed line is not repeated" {
    printf '[User]\npin hidden\npassword="hidden\n' >"$custom"
    for words in list "get User/pin" check "set User/pin 1" "unset User/pin"; do
        run "$STBCONFIG" $words
        [ "$status" = 3 ]
        [[ $output != *hidden* ]]
    done
    printf 'STBAPP_USER_PIN hidden\n' >"$box/env"
    expect 3 --env-file "$box/env" list
    [[ $output != *hidden* ]]
}

@test "a text of asterisks does not look like a secret" {
    [ "$(shown '********')" = '"********"' ]
}

@test "locations says what each file is, and waits for none" {
    mkfifo "$box/var/fifo.db"
    mkdir "$box/var/directory.db"
    ln -s loop.db "$box/var/loop.db"
    ln -s nowhere "$box/var/dangling.db"
    ln -s nowhere "$box/var/fine.db.lock"
    echo >"$box/var/fine.db"
    run timeout 10 "$STBCONFIG" locations
    [ "$status" = 0 ]
    [[ $output == *"directory.db"*"not a file but a directory"* ]]
    [[ $output == *"fifo.db"*"not a file but a FIFO"* ]]
    [[ $output == *"loop.db"*"a symbolic link that leads back to itself"* ]]
    [[ $output == *"dangling.db"*"no such file"* ]]
    [[ $output == *"fine.db"*"1 bytes, readable, writable, left-over lock"* ]]
    expect 0 locations --json
    echo "$output" | python3 -c '
import json, sys
byName = {each["name"]: each for each in json.load(sys.stdin)}
assert byName["fifo"]["problem"] == "not a file but a FIFO" and not byName["fifo"]["readable"], byName
assert byName["fine"]["lock"] and not byName["dangling"]["exists"], byName'
    [ "$("$STBCONFIG" locations -0 | tr '\0' '\n' | grep -c .)" = 10 ]
}

@test "locations says what another user's file does not allow" {
    [ "$(id -u)" = 0 ] || skip "needs root"
    command -v setpriv >/dev/null || skip "no setpriv here"
    [ -z "$EMULATOR" ] || skip "the emulator knows no other users"
    chmod 755 "$BATS_RUN_TMPDIR" "$BATS_TEST_TMPDIR" "$box" 2>/dev/null
    chmod 600 "$defaults"
    run setpriv --reuid 65534 --regid 65534 --clear-groups "$STBCONFIG" locations
    [ "$status" = 0 ] || skip "another user cannot reach these directories"
    [[ $output == *"stbapp.conf"*"not readable, not writable, directory not writable"* ]]
}

@test "logging and locale show what was read as it is" {
    printf '[Logging]\nlevel="a\\\\b"\n[Profile]\nlocale="x\\ty"\n' >"$custom"
    expect 0 logging
    [[ ${lines[0]} == *'stored as "a\\b"'* ]]
    expect 1 locale
    [[ $output == *'from "x\ty"'* ]]
    expect 0 logging -0
    harmless <<<"${output//$'\t'/ }"
}

@test "explain's records are the locations, and locale's is the result with its origin" {
    printf '[Text]\nlist=a, b\n' >"$custom"
    [ "$("$STBCONFIG" explain Text list -0 | tr '\0\t' '\n|')" = "CustomConfPersistent|answers|$custom|[\"a\", \"b\"]
TemporaryApplicationStorage|lives in the application's memory, unseen here||
EnvironmentVariables|not set|STBAPP_TEXT_LIST|
StbappConfDefault|not set|$defaults|
DhcpOptionsConf|this location has no backend||" ]
    [ "$("$STBCONFIG" locale -0 | tr '\0\t' '\n|')" = 'ru_RU|built in|ru' ]
    printf '[Profile]\nlocale=en_GB\n' >"$custom"
    [ "$("$STBCONFIG" locale -0 | tr '\0\t' '\n|')" = 'en_GB|CustomConfPersistent|en_GB' ]
}

@test "a list within a list has its type" {
    printf '[A]\nb=@Variant(\\0\\0\\0\\t\\0\\0\\0\\x1\\0\\0\\0\\xb\\0\\0\\0\\x1\\0\\0\\0\\x2\\0y)\n' >"$custom"
    expect 0 get A b
    [ "$output" = '@Variant(QStringList)' ]
}

@test "what list finds nothing of is answered with what looks like it, if anything does" {
    expect 1 list Video/output --from custom
    [ -z "$output" ]
    expect 1 list Video/outpu --from custom
    [ "$output" = "stbconfig: Video/outpu: no such setting; did you mean Video/output?" ]
    rm "$defaults"
    expect 1 list
    [ -z "$output" ]
}

@test "the second half of a character alone is no part of what is before it" {
    printf '[A]\na="\\xdc00x"\nb="x\\xdc00"\n' >"$custom"
    expect 0 list 'A/*'
    [ "${lines[0]}" = 'A/a  CustomConfPersistent  \udc00x' ]
    [ "${lines[1]}" = 'A/b  CustomConfPersistent  x\udc00' ]
}
