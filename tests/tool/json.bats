# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

setup_file()
{
    ! /usr/bin/python3 -c 'import jsonschema' 2>/dev/null || export HAS_VALIDATOR=1
}

# Given a schema's name, a status and a command's words, runs the command and keeps its output. The end of
# the test checks all outputs with the schemas, because it takes a minute to start a validator for each.
holds()
{
    [ -n "$HAS_VALIDATOR" ] || skip "no python3-jsonschema here"
    local schema=$1 wanted=$2 found=0
    shift 2
    output=$("$STBCONFIG" --json "$@" 2>"$box/errors") || found=$?
    [ "$found" = "$wanted" ] || { echo "status $found: $(cat "$box/errors")"; return 1; }
    mkdir -p "$box/outputs"
    outputs=$((${outputs-0} + 1))
    printf '%s\n' "$output" >"$box/outputs/$outputs.$schema"
}

teardown()
{
    [ ! -e "$box/outputs" ] || "$BATS_TEST_DIRNAME/validate.py" "$box/outputs"/*
}

# Expects that a Python expression over d is true, where d is the last output.
says()
{
    /usr/bin/python3 -c "import json, sys; d = json.loads(sys.argv[1]); assert $1, d" "$output"
}

@test "get prints a text, a list or a default" {
    printf '[A]\ntext=x\nlist=a, b\none="[a]"\nempty=\n' >"$custom"
    holds get 0 get A text
    says "d == {'group': 'A', 'key': 'text', 'value': 'x', 'origin': 'CustomConfPersistent'}"
    holds get 0 get A list
    says "d['value'] == ['a', 'b']"
    holds get 0 get A one
    says "d['value'] == '[a]'"
    holds get 0 get A empty
    says "d['value'] == ''"
    holds get 0 get A no --default 5
    says "d['value'] == '5' and d['origin'] == '--default'"
    printf 'top=1\n' >"$custom"
    holds get 0 get /top
    says "d['group'] == '' and d['key'] == 'top'"
}

@test "get has the type that was asked for" {
    printf '[A]\nn=" 12 "\nb=no\nl=a, b\n' >"$custom"
    holds get 0 get A n --as int
    says "d['value'] == 12 and type(d['value']) is int"
    holds get 0 get A b --as bool
    says "d['value'] is True"
    holds get 0 get A n --as text
    says "d['value'] == ' 12 '"
    holds get 0 get A n --as list
    says "d['value'] == [' 12 ']"
    holds get 0 get A l --as list
    says "d['value'] == ['a', 'b']"
    holds get 0 get A no --default 7 --as int
    says "d['value'] == 7"
}

@test "a secret is open in get and masked elsewhere" {
    printf '[User]\npin=1234\n' >"$custom"
    holds get 0 get User pin
    says "d['value'] == '1234'"
    for words in "explain 0 explain User pin" "list 0 list" "diff 1 diff" \
        "set 0 set User pin 4711"; do
        holds $words
        [[ $output != *1234* && $output != *4711* && $output == *'"********"'* ]] ||
            { echo "$words: $output"; return 1; }
    done
    holds list 0 list --show-secrets
    [[ $output == *4711* ]]
}

@test "a value without a text has its type, in every command" {
    printf '[A]\na=@Size(1 2)\nb=@Invalid()\nc=@ByteArray()\nd=@Rect(1 2 3 4)\n' >"$custom"
    holds get 0 get A a
    says "d['value'] == {'type': 'QSize', 'text': '@Size(1 2)'}"
    holds get 0 get A b
    says "d['value'] == {'type': 'invalid', 'text': '@Invalid()'}"
    holds explain 0 explain A b
    says "d['value'] == d['answers'][0]['value'] == {'type': 'invalid', 'text': '@Invalid()'}"
    holds list 0 list A
    says "all(type(row['value']) is dict for row in d) and len(d) == 4"
    holds diff 1 diff A
    says "all(type(row['value']) is dict for row in d) and len(d) == 4"
    cp "$custom" "$defaults"
    holds unset 0 unset A b
    says "d[0]['value'] == {'type': 'invalid', 'text': '@Invalid()'}"
}

@test "half a character pair, control and format characters are escaped and come back" {
    printf '[A]\na="\\xd800x"\nb="\\x202e"\nc="\\x7f"\nd="\\x9b"\ne="\\x1b[31m"\nf="\\xfeff"\ng="\\0"\nh="\\x2028"\n' >"$custom"
    printf '%%U202Ek=1\n[%%U202EG%%U009B]\nk=1\n' >>"$custom"
    local -A values=([a]='\ud800x' [b]='\u202e' [c]='\x7f' [d]='\x9b' [e]='\x1b[31m'
        [f]='\ufeff' [g]='\0' [h]='\u2028')
    for key in "${!values[@]}"; do
        holds get 0 get A "$key"
        says "d['value'] == '${values[$key]}'"
        holds explain 0 explain A "$key"
        says "d['value'] == '${values[$key]}'"
    done
    holds list 0 list
    says "'A/\u202ek' in [row['setting'] for row in d]"
    says "'\u202eG\x9b/k' in [row['setting'] for row in d]"
    holds diff 1 diff
    holds check 0 check
    holds get 0 get $'\u202eG\u009b' k
    sed -i '/^[af]=/d' "$custom" # Qt 6 cannot write these again
    holds set 0 set $'\u202eG\u009b' k $'\u202e'
    holds unset 0 unset $'\u202eG\u009b' k
}

@test "explain states every location's answer" {
    printf '[Logging]\nlevel=debug\n' >"$custom"
    export STBAPP_VIDEO_OUTPUT=vga
    holds explain 0 explain Video output
    says "(d['winner'], d['value'], d['reader']) == ('EnvironmentVariables', 'vga', '')"
    says "[a['held'] for a in d['answers']] == [False, False, True, True, False]"
    says "d['answers'][2]['source'] == 'STBAPP_VIDEO_OUTPUT'"
    says "d['answers'][3]['reason'] == 'shadowed by EnvironmentVariables'"
    holds explain 1 explain a b
    says "d['winner'] is None and d['value'] is None"
    holds explain 0 explain Logging level
    says "d['reader'].startswith('logging reader: takes 4 debug')"
    printf '[Video]\noutput=scart\n' >"$custom"
    holds explain 0 explain Video output
    says "d['answers'][2]['reason'] == 'shadowed by CustomConfPersistent'"
    echo broken >>"$custom"
    holds explain 3 explain Video output
}

@test "explain and list --describe state what is described" {
    described '"A/b": {"type": "int", "values": [1, 2], "default": 1, "description": "x\ny", "since": "2"}' \
        '"A/l": {"type": "list", "values": ["p", "q"], "default": ["p", "q"]}' '"A/t": {"type": "bool", "default": true}' \
        '"A/s": {"secret": true, "default": "hidden"}' '"A/n": {"type": "int", "minimum": -5, "maximum": 5}'
    printf '[A]\nb=3\nl=p\nn=0\n' >"$custom"
    holds explain 0 explain A b
    says "d['described'] == {'setting': 'A/b', 'type': 'int', 'values': [1, 2], 'minimum': None, 'maximum': None, 'description': 'x\ny', 'default': 1, 'since': '2', 'breach': 'is none of 1, 2; use 2'}"
    holds explain 0 explain A l
    says "d['described']['values'] == ['p', 'q'] == d['described']['default'] and d['described']['breach'] is None"
    holds explain 1 explain A t
    says "d['described']['default'] is True and d['value'] is None and d['described']['since'] is None"
    holds explain 1 explain A s
    says "d['described']['default'] == '********'"
    holds explain 0 explain A n
    says "d['described']['minimum'] == -5 and d['described']['maximum'] == 5 and d['described']['default'] is None"
    holds explain 0 explain Video output
    says "'described' not in d"
    holds list-describe 0 list --describe
    says "[row['setting'] for row in d] == ['A/b', 'A/l', 'A/n', 'A/s', 'A/t', 'Video/output']"
    says "d[0]['origin'] == 'CustomConfPersistent' and d[3]['origin'] is None and d[5]['described'] is None"
    holds list 0 list
    says "len(d) == 4"
}

@test "list states each setting, its value and its origin" {
    printf '[A]\nb=1, 2\n' >"$custom"
    printf '[A]\nc=1\n' >"$box/var/epg.db"
    holds list 0 list
    says "d == [{'setting': 'A/b', 'value': ['1', '2'], 'origin': 'CustomConfPersistent'}, {'setting': 'Video/output', 'value': 'hdmi', 'origin': 'StbappConfDefault'}]"
    holds list 0 list --keys
    says "len(d) == 2"
    holds list 0 list --storage epg
    says "d == [{'setting': 'A/c', 'value': '1', 'origin': '$box/var/epg.db'}]"
    holds list 1 list nothing
    says "d == []"
}

@test "an entry without a name has the empty name, in every command" {
    printf '=x\n[A]\nb=1\n' | tee "$custom" "$defaults" >"$box/var/s.db"
    holds list 0 list --storage s
    says "[i['setting'] for i in d] == ['', 'A/b']"
    holds list 0 list
    says "[i['setting'] for i in d] == ['', 'A/b']"
    holds diff 1 diff
    says "[i['setting'] for i in d] == ['', 'A/b']"
    holds unset 0 unset --redundant
    says "[i['setting'] for i in d] == ['', 'A/b']"
}

@test "diff states each state" {
    printf '[Video]\noutput=hdmi\nmode=1\n[A]\nx=1\n' >"$custom"
    printf '[Video]\noutput=hdmi\nmode=2\n' >"$defaults"
    STBAPP_A_X=5 holds diff 1 diff
    says "[row['state'] for row in d] == ['added', 'shadowed', 'changed', 'redundant']"
    says "d[2] == {'setting': 'Video/mode', 'state': 'changed', 'location': 'CustomConfPersistent', 'value': '1', 'default': '2'}"
    holds diff 0 diff nothing
    says "d == []"
}

@test "set states what it stores, in a dry run too" {
    for change in "" --dry-run; do
        holds set 0 set A b x $change
        says "d == {'group': 'A', 'key': 'b', 'value': 'x', 'file': '$custom', 'changed': True, 'dryRun': '$change' != ''}"
        holds set 0 set A n 5 --type int $change
        says "type(d['value']) is int and d['value'] == 5"
        holds set 0 set A t true --type bool $change
        says "d['value'] is True"
        holds set 0 set A l a,b --type list $change
        says "d['value'] == ['a', 'b']"
        holds set 0 set A e '' $change
        says "d['value'] == ''"
        holds set 0 set A b x --storage epg --create $change
        says "d['file'] == '$box/var/epg.db'"
        holds set 0 logging level debug $change
        says "d['group'] == 'Logging' and d['value'] == 'debug'"
        rm -f "$custom" "$box/var/epg.db"
    done
    "$STBCONFIG" set A b x
    holds set 0 set A b x
    says "d['changed'] is False"
}

@test "unset states what answers then, in a dry run too" {
    for change in --dry-run ""; do
        printf '[A]\nb=1\nc=2\n[Video]\noutput=scart\n' >"$custom"
        holds unset 0 unset Video output $change
        says "d == [{'setting': 'Video/output', 'value': 'hdmi', 'origin': 'StbappConfDefault', 'dryRun': '$change' != ''}]"
        holds unset 0 unset --group A $change
        says "d == [{'setting': 'A/b', 'value': None, 'origin': None, 'dryRun': '$change' != ''}, {'setting': 'A/c', 'value': None, 'origin': None, 'dryRun': '$change' != ''}]"
        printf '[Video]\noutput=hdmi\n' >"$custom"
        holds unset 0 unset --redundant $change
        says "len(d) == 1"
        printf '[A]\nb=1\n' >"$box/var/epg.db"
        holds unset 0 unset A b --storage epg $change
        says "d[0]['origin'] is None"
    done
    holds unset 0 unset --redundant
    says "d == []"
}

@test "import states what changes, in a dry run too" {
    printf '[A]\nb=2\nl=1, 2\n[User]\npin=4711\n' >"$box/given"
    for change in --dry-run ""; do
        printf '[A]\nb=1\nc=2\n' >"$custom"
        holds import 0 import --replace "$box/given" $change
        says "d == [{'setting': 'A/b', 'state': 'changed', 'value': '2', 'old': '1'}, {'setting': 'A/l', 'state': 'added', 'value': ['1', '2'], 'old': None}, {'setting': 'User/pin', 'state': 'added', 'value': '********', 'old': None}, {'setting': 'A/c', 'state': 'removed', 'value': None, 'old': '2'}]"
    done
    holds import 0 import "$box/given"
    says "d == []"
}

@test "reset states what answers then, in a dry run too" {
    for change in --dry-run ""; do
        printf '[A]\nb=1\n[Video]\noutput=scart\n[User]\npin=4711\n' >"$custom"
        holds reset 0 reset --keep 'U*' $change
        says "d == [{'setting': 'A/b', 'state': 'reset', 'value': None, 'origin': None}, {'setting': 'Video/output', 'state': 'reset', 'value': 'hdmi', 'origin': 'StbappConfDefault'}, {'setting': 'User/pin', 'state': 'kept', 'value': '********', 'origin': 'CustomConfPersistent'}]"
        printf '[A]\nb=1\nc=1\n' >"$box/var/epg.db"
        holds reset 0 reset --storage epg --keep A/c $change
        says "d == [{'setting': 'A/b', 'state': 'reset', 'value': None, 'origin': None}, {'setting': 'A/c', 'state': 'kept', 'value': '1', 'origin': '$box/var/epg.db'}]"
    done
    rm "$custom"
    holds reset 0 reset
    says "d == []"
}

@test "migrate states what it takes over and what it removes, in a dry run too" {
    echo '{"settings": {"A/n": {"type": "int", "was": [{"name": "B/n", "values": {"x": 1}}]}, "A/l": {"type": "list", "was": ["B/l"]}, "A/pin": {"was": ["B/p"]}}}' \
        >"$box/etc/stbapp.schema.json"
    for change in --dry-run ""; do
        printf '[B]\nl=1, 2\nn=x\np=4711\n' >"$custom"
        holds migrate 0 migrate $change
        says "d == [{'setting': 'A/l', 'state': 'migrated', 'oldName': 'B/l', 'value': ['1', '2'], 'old': ['1', '2']}, {'setting': 'A/n', 'state': 'migrated', 'oldName': 'B/n', 'value': 1, 'old': 'x'}, {'setting': 'A/pin', 'state': 'migrated', 'oldName': 'B/p', 'value': '********', 'old': '********'}]"
        printf '[A]\nn=1\n[B]\nn=x\n' >"$custom"
        holds migrate 0 migrate --prune $change
        says "d == [{'setting': 'A/n', 'state': 'removed', 'oldName': 'B/n', 'value': None, 'old': 'x'}]"
    done
    holds migrate 0 migrate
    says "d == []"
}

@test "logging states what the reader takes and from where" {
    holds logging 0 logging
    says "d[1] == {'name': 'responseLengthLimit', 'effective': 0, 'meaning': None, 'stored': None, 'source': 'built in'}"
    printf '[Logging]\nlevel=verbose\nresponseLengthLimit=a, b\njsonFormattingEnabled=true\nimageRequestsEnabled=@Invalid()\n' >"$custom"
    holds logging 0 logging
    says "d[0] == {'name': 'level', 'effective': 0, 'meaning': 'critical', 'stored': 'verbose', 'source': 'CustomConfPersistent'}"
    says "d[2]['effective'] is True and d[3]['stored']['type'] == 'invalid'"
}

@test "locale states the result and its origin" {
    holds locale 0 locale
    says "d == {'locale': 'ru_RU', 'text': 'ru', 'origin': 'built in'}"
    printf '[Profile]\nlocale=nonsense\n' >"$custom"
    holds locale 1 locale
    says "d == {'locale': 'C', 'text': 'nonsense', 'origin': 'CustomConfPersistent'}"
}

@test "locations states the files' state, and why one is not opened" {
    touch "$custom.lock" "$box/var/.db"
    mkfifo "$box/var/epg.db"
    holds locations 0 locations
    says "[row['name'] for row in d] == ['CustomConfPersistent', 'StbappConfDefault', '', 'epg', 'TemporaryApplicationStorage', 'EnvironmentVariables', 'DhcpOptionsConf']"
    says "d[0]['lock'] and not d[0]['exists'] and d[0]['problem'] is None"
    says "d[1]['exists'] and d[1]['size'] > 0"
    says "d[3]['problem'] and not d[3]['readable']"
}

# Checks the findings, and keeps their names.
found()
{
    holds check "$@" check
    python3 -c "import json, sys; [print(f['id']) for f in json.loads(sys.argv[1])]" "$output" >>"$box/found"
}

@test "check states every kind of finding" {
    printf '; gone\n#x=1\n[A]\na=\303\251\nb=1,2\npassword=x\nc=x;y\nd="x\n' >"$custom"
    printf '[A]\nt=@Variant(\\0\\0\\0\\x9\\0\\0\\0\\0)\n' >"$box/var/epg.db"
    touch "$custom.lock"
    found 1
    printf '[A]\nb=no\nB=2\na_b=1\n[A_A]\nb=1\nb=2\n[Logging]\nlevel=verbose\n[Profile]\nlocale=xx!\n[Video]\noutput=hdmi\n' >"$custom"
    STBAPP_A_B=2 STBAPP_VIDEO_OUTPUT='' STBAPP_OTHER=1 STBAPP_LOGGING_LEVEL=1 found 1
    rm "$custom"
    STBCONFIG_PERSISTENT_PREFIX=$box/var found 1
    nested "$custom"
    found 3
    printf 'broken\n' >"$custom"
    found 3
    rm "$custom"
    mkdir "$custom"
    found 3
    rmdir "$custom"
    if [ "$(id -u)" = 0 ]; then
        touch "$custom"
        chown 65534 "$custom"
        found 1
    else
        echo foreign-owner >>"$box/found" # only root can make such a file
    fi
    [ "$QT_MAJOR" = 5 ] || echo non-ascii >>"$box/found" # Qt 6 has no such finding
    printf '{"settings": {"A/n": {"type": "int", "was": ["A/o"]}, "B/n": {"was": ["B/o"]}}}' >"$box/etc/stbapp.schema.json"
    printf '[A]\nn=x\no=1\nm=1\n[B]\no=1\n' >"$custom"
    found 1
    echo '{' >"$box/etc/stbapp.schema.json"
    found 3
    rm "$box/etc/stbapp.schema.json"
    # The sources of the command list the same findings.
    diff <(sed -n 's/^ *{"\(.*\)", Severity::.*/\1/p' "$BATS_TEST_DIRNAME/../../tools/stbconfig/check/finding.cpp" | sort) \
        <(sort -u "$box/found")
}

@test "diff --with states each state" {
    printf '[A]\nchanged=1\nhere=x, y\nsize=@Size(1 2)\n[User]\npin=1\n' >"$custom"
    printf '[A]\nchanged=2\nthere=1\nsize=@Size(1 3)\n[User]\npin=2\n' >"$box/other"
    holds diff-with 1 diff --with "$box/other"
    says "[row['state'] for row in d] == ['changed', 'only-here', 'changed', 'only-there', 'differs']"
    says "d[0] == {'setting': 'A/changed', 'state': 'changed', 'here': '1', 'there': '2'}"
    says "d[1]['here'] == ['x', 'y'] and d[1]['there'] is None"
    says "d[2]['there'] == {'type': 'QSize', 'text': '@Size(1 3)'}"
    says "d[4]['here'] == d[4]['there'] == '********'"
    holds diff-with 0 diff --with "$custom"
    says "d == []"
}

@test "report states each part, and null for what cannot be told" {
    printf '[A]\nb=1\n[User]\npin=1\n' >"$custom"
    printf '[A]\nb=1\n' >"$box/var/epg.db"
    STBAPP_A_B=2 holds report 0 report
    says "d['settings'][0] == {'setting': 'A/b', 'value': '1', 'origin': 'CustomConfPersistent'}"
    says "[row['state'] for row in d['diff']] == ['added', 'shadowed', 'added']"
    says "d['masked'] == 1 and d['hiddenNames'] == 0 and d['problems'] == []"
    says "[row['name'] for row in d['locations']][:3] == ['CustomConfPersistent', 'StbappConfDefault', 'storage 1']"
    says "d['locations'][2]['file'] is None and d['locations'][2]['mode'] is not None"
    says "d['locale'] == {'locale': 'ru_RU', 'text': 'ru', 'origin': 'built in'} and len(d['logging']) == 4"
    rm "$custom"
    mkfifo "$custom"
    holds report 0 report
    says "d['problems'][0]['place'] == '$custom' and d['fingerprint'] is None"
    says "d['locations'][0]['problem'] and len(d['settings']) == 1"
}

@test "an answer of nothing is JSON too" {
    rm "$defaults"
    for words in "list 1 list" "diff 0 diff" "unset 0 unset --redundant" "check 0 check --ignore missing"; do
        holds $words
        says "d == []"
    done
}

@test "the manual names every field, finding and severity of the schemas" {
    manual=$BATS_TEST_DIRNAME/../../tools/stbconfig/man/stbconfig.1.scd
    schemas=$BATS_TEST_DIRNAME/../../tools/stbconfig/schemas
    python3 - "$manual" "$schemas" <<'END'
import json, pathlib, re, sys

manual = pathlib.Path(sys.argv[1]).read_text(encoding="utf-8").replace("_", " ")

def words_of(part):
    if isinstance(part, dict):
        yield from part.get("properties", {})
        yield from (word for word in part.get("enum", []) if word)
        part = list(part.values())
    if isinstance(part, list):
        for each in part:
            yield from words_of(each)

for path in pathlib.Path(sys.argv[2]).glob("*.json"):
    for word in words_of(json.loads(path.read_text(encoding="utf-8"))):
        if " " not in word and not re.search(rf"(?<![\w-]){word}(?![\w-])", manual):
            sys.exit(f"{path.name}: {word}: not in the manual")
END
}

@test "the schemas, the manual and the page of what stays list the locations in the command's order" {
    run "$STBCONFIG" get A b --from nowhere
    local names=${output##*the beginning of }
    run "$STBCONFIG" explain A b
    local without
    without=$(sed -n 's/^ *\([A-Za-z]*\) *this location has no backend$/\1/p' <<<"$output")
    run "$STBCONFIG" report
    local marks
    marks=$(tr -s ' \n' ' ' <<<"$output" | sed -n 's/.* held by \(.*\); the first one answers.*/\1/p')
    python3 - "$BATS_TEST_DIRNAME/../.." "$names" "$without" "$marks" <<'END'
import json, pathlib, re, sys

root, names, without, marks = pathlib.Path(sys.argv[1]), *(words.replace("\n", ", ").split(", ") for words in sys.argv[2:])
found = {}

def text(path):
    found["file"] = path
    return re.sub(r"\s+", " ", (root / path).read_text(encoding="utf-8"))

def require(wanted, listed):
    if wanted != listed:
        sys.exit(f"{found['file']}: lists {listed}, not {wanted}")

definitions = json.loads(text("tools/stbconfig/schemas/definitions.json"))
require(names, definitions["$defs"]["location"]["enum"])
manual = text("tools/stbconfig/man/stbconfig.1.scd")
sentence = re.search(r"A _LOCATION_ is the beginning of (.*?), in any case", manual)[1]
require(names, re.split(r", | or ", sentence))
sentence = re.search(r"the one that answers first: (.*?)\. Then", manual)[1]
require(marks, sentence.replace("*", "").replace("the ", "").split(", "))
page = text("tools/stbconfig/man/stbapp.conf.5.scd")
require([name for name in names if name not in without], re.findall(r" \. (\w+):", page))
page = text("docs/compatibility.md")
require(names, re.findall(r"`(\w+)`", re.search(r"\| locations \|(.*?);", page)[1]))
END
}
