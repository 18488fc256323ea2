# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# Tries what "schema" drafts of the files, and prints of a description of the settings.

load support

# Expects that a Python expression over d is true, where d is what the draft says of the settings.
drafts()
{
    "$STBCONFIG" schema new >"$box/draft" 2>"$box/notes"
    python3 - "$box/draft" "$1" <<'END'
import json, sys
d = json.load(open(sys.argv[1]))["settings"]
assert eval(sys.argv[2]), d
END
}

# Writes descriptions of random names, values and texts to "$box/<number>.json", and what an application
# reads with them to "$box/<number>.values".
random_descriptions()
{
    python3 - "$box" "$1" <<'END'
import json, random, sys
random.seed(4711)
odd = list(",;\"'%\\=[]@#&<>*_`|~$:/?() \t\n\r\x01\x1b\x7f\x85éßЖ€\u2028\u202e\uffff😀aZ09-+.!{}") + ["*/", "??/", "\\u", "\r\n", "@Variant(", "<b>", "---", "\n#define a", "'''"]
def text(most):
    return "".join(random.choice(odd) for _ in range(random.randrange(most)))
def name():
    while True:
        group, key = text(6), text(6)
        result = "/".join((group + "/" + key + random.choice("abcdefgh")).split("/"))
        parts = result.split("/")
        if "" not in parts and parts[0].lower() != "general" and len(parts) > 1 or len(parts) == 1:
            return result
for number in range(int(sys.argv[2])):
    settings, values = {}, {}
    while len(settings) < 40:
        # Names that differ only in case would share a variable.
        this = name()
        if this.casefold() in [other.casefold() for other in settings]:
            continue
        kind = random.choice(("text", "int", "bool", "list", None))
        entry = {"description": text(40), "since": text(10)}
        if kind:
            entry["type"] = kind
        default = {"int": random.choice((0, 1, -1, 2147483647, -2147483648, random.randrange(1000))),
                   "bool": random.random() < 0.5, "list": [text(8) for _ in range(random.randrange(4))]}.get(kind, text(20))
        if random.random() < 0.8:
            entry["default"] = default
            items = default if kind == "list" else [default]
            if kind != "bool" and items and random.random() < 0.3:
                entry["values"] = list(dict.fromkeys(items + ([7] if kind == "int" else [text(9)])))
            if default != []:
                values[this] = [str(item).lower() if kind == "bool" else str(item) for item in items]
        settings[this] = entry
    json.dump({"settings": settings}, open(f"{sys.argv[1]}/{number}.json", "w"))
    json.dump(values, open(f"{sys.argv[1]}/{number}.values", "w"))
END
}

@test "a draft has the names, the types and the image's values, in order" {
    printf '[Video]\noutput=scart\nrate=60\n[Audio]\nvolume=-5\nlanguages=deu, eng\n[Z]\nonly=custom\n' >"$custom"
    printf 'top=1\n[Video]\noutput=hdmi\nrate=50\nwide=true\n[Audio]\nvolume=40\nlanguages=deu\n' >"$defaults"
    drafts "d == {'Audio/languages': {'type': 'list', 'default': ['deu'], 'description': ''},
        'Audio/volume': {'type': 'int', 'default': 40, 'description': ''},
        'Video/output': {'type': 'text', 'default': 'hdmi', 'description': ''},
        'Video/rate': {'type': 'int', 'default': 50, 'description': ''},
        'Video/wide': {'type': 'bool', 'default': True, 'description': ''},
        'Z/only': {'type': 'text', 'default': 'custom', 'description': ''},
        'top': {'type': 'int', 'default': 1, 'description': ''}} and list(d) == sorted(d)"
    [ ! -s "$box/notes" ]
    [[ $(<"$box/draft") == *'"$schema": "file:///'*'/description.schema.json"'* ]]
}

@test "a draft takes a type from the values of both files" {
    printf '[A]\na=x\nb=1\nc=a, b\nd=2147483648\ne=007\nf=True\ng=false\nh=1\ni=+5\nj=-0\nk=" 5"\nl=\nm=-2147483648\n' >"$custom"
    printf '[A]\na=5\nb=true\nc=1\ng=true\n' >"$defaults"
    drafts "{name[2:]: (s['type'], s['default']) for name, s in d.items()} == {'a': ('text', '5'), 'b': ('text', 'true'),
        'c': ('list', ['1']), 'd': ('text', '2147483648'), 'e': ('text', '007'), 'f': ('text', 'True'), 'g': ('bool', True),
        'h': ('int', 1), 'i': ('text', '+5'), 'j': ('text', '-0'), 'k': ('text', ' 5'), 'l': ('text', ''),
        'm': ('int', -2147483648)}"
}

@test "a draft tells no secret, whether its name or a value says that it is one" {
    printf '[User]\npin=1234\npsks=1234, 5678\n[Net]\nurl=http://a:1234@b\nproxy=http://c\n' >"$custom"
    printf '[Net]\nproxy="password=1234"\n' >"$defaults"
    drafts "d == {name: {'type': 'list' if name == 'User/psks' else 'text', 'description': '', 'secret': True}
        for name in ('User/pin', 'User/psks', 'Net/url', 'Net/proxy')}"
    [[ $(<"$box/draft") != *1234* ]]
    "$STBCONFIG" schema new --show-secrets >"$box/draft"
    [[ $(<"$box/draft") != *1234* ]]
}

@test "a draft has the settings that the library reads, if a file holds them" {
    printf '[Logging]\nlevel=debug\n[Profile]\nlocale=de_AT\n' >"$custom"
    drafts "sorted(d) == ['Logging/level', 'Profile/locale', 'Video/output']"
}

@test "what no description can say is left out of a draft, and named" {
    printf '=1\n[A]\na=@Size(1 2)\nb=@Invalid()\nc=@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x2X\\0)\nd=@ByteArray(x)\ne=@Rect(1 2 3 4), x\ng//h=1\ni=a\\xd800\nj=a\\0z\nk=a\\xfeff\n' >"$custom"
    printf '[general]\nx=1\n[%%general]\ny=1\n[Plain]\nx=1\n%%UD800=1\n' >"$defaults"
    drafts "'Plain/x' in d and not [name for name in d if name not in ('Plain/x', 'A/d', 'A/k', 'x')]"
    [[ $(<"$box/notes") == *"stbconfig: A/a: left out: a description has no such type"* ]]
    [[ $(<"$box/notes") == *"stbconfig: general/y: left out: a file cannot express this name"* ]]
    for name in A/b A/c A/e h; do
        [[ $(<"$box/notes") == *"$name: left out: "* ]] || { cat "$box/notes"; return 1; }
    done
    [[ $(<"$box/notes") == *"A/i: left out: it has a character that not every file gives back"* ]]
    [[ $(<"$box/notes") == *"A/j: left out: "* ]]
    [[ $(<"$box/notes") == *"stbconfig: an entry: left out: it has no name"* ]]
}

@test "a draft needs no description, and none of its own place disturbs it" {
    "$STBCONFIG" schema new >"$box/first"
    for content in '' '{' '{"settings": {"Video/output": {"default": "x", "description": "y"}}}'; do
        printf '%s' "$content" >"$box/etc/stbapp.schema.json"
        "$STBCONFIG" schema new >"$box/second" 2>"$box/notes"
        cmp "$box/first" "$box/second"
        [ ! -s "$box/notes" ]
        "$STBCONFIG" schema new --no-schema --json | cmp - "$box/first"
    done
    # The shell empties the file before the command runs.
    "$STBCONFIG" schema new >"$box/etc/stbapp.schema.json"
    cmp "$box/first" "$box/etc/stbapp.schema.json"
    expect 0 check
    rm "$defaults" "$box/etc/stbapp.schema.json"
    drafts "d == {}"
}

@test "a draft fails on a file that cannot be read" {
    printf 'broken\n' >"$defaults"
    expect 3 schema new
    [[ ${#lines[@]} = 1 && $output == *"stbapp.conf: malformed"* ]]
}

@test "the draft for the example is clean, and so is the example's own description" {
    example=$BATS_TEST_DIRNAME/../../examples/settopbox
    cp "$example/stbapp.conf" "$box/etc"
    "$STBCONFIG" schema new >"$box/etc/stbapp.schema.json"
    expect 0 check --ignore missing
    [ -z "$output" ]
    cp "$example/stbapp.schema.json" "$box/etc"
    expect 0 check --ignore missing
    [ -z "$output" ]
    # Everything that the application asks for is described.
    for name in $(sed -n 's/^    {"\([A-Z][a-z]*\)", "\([A-Za-z]*\)", ".*"},$/\1\/\2/p' "$example/main.cpp"); do
        grep -q "\"$name\": {" "$example/stbapp.schema.json" || { echo "not described: $name"; return 1; }
    done
    [ "$("$STBCONFIG" schema conf | grep -c =)" = 18 ]
}

@test "the drafts of any files are clean" {
    python3 - "$STBCONFIG" "$box" <<'END'
import json, random, subprocess, sys
command, box = sys.argv[1:]
random.seed(815)
odd = list(",;\"%\\=[]@#&<>*:/?() 019-+.\n\x01\x1béЖ😀") + ["true", "false", "x", "12"]
def text():
    return "".join(random.choice(odd) for _ in range(random.randrange(8)))
for number in range(6):
    for directory, file in (("var", "custom.conf"), ("etc", "stbapp.conf")):
        with open(f"{box}/{directory}/{file}", "wb") as output:
            for group in random.sample("ABCDEF", 4):
                output.write(f"[{group}]\n".encode())
                for key in random.sample("abcdefghij", 6):
                    value = random.choice((text(), text(), "true", "false", str(random.randrange(-99, 99)), "a, b", "1, 2, 3"))
                    escaped = "".join(c if c.isalnum() and ord(c) < 128 or c in ", " else f"\\x{ord(c):x}" if ord(c) < 65536 else "" for c in value)
                    quote = '"' if "\\" in escaped else ""
                    output.write(f"k{key}={quote}{escaped}{quote}\n".encode())
    with open(f"{box}/etc/stbapp.schema.json", "wb") as output:
        subprocess.run([command, "schema", "new"], stdout=output, check=True)
    found = subprocess.run([command, "check", "--ignore", "redundant"], stdout=subprocess.PIPE).stdout
    assert found == b"", found
    described = json.load(open(f"{box}/etc/stbapp.schema.json"))["settings"]
    listed = subprocess.run([command, "list", "--keys"], stdout=subprocess.PIPE).stdout.decode().split()
    assert sorted(described) == sorted(listed), (described, listed)
    types = {setting["type"] for setting in described.values()}
    assert types == {"text", "int", "bool", "list"} or number > 0, types
END
}

@test "schema says what it prints, and what it needs" {
    for words in schema "schema xml" "schema conf x" "schema conf --storage a"; do
        expect 2 $words
        [ "${#lines[@]}" = 1 ]
    done
    expect 2 schema headr
    [ "$output" = 'stbconfig: headr: nothing that schema prints; did you mean header?' ]
    for what in conf markdown header; do
        expect 3 schema $what
        [[ ${#lines[@]} = 1 && $output == "stbconfig: $box/etc/stbapp.schema.json: there is no description"* ]]
        expect 2 schema $what --no-schema
        described '"A/b": {}'
        expect 2 --json schema $what
        [ "$output" = 'stbconfig: schema: prints no JSON but with new; leave --json out' ]
        printf '{\n  "settings": 5\n}\n' >"$box/etc/stbapp.schema.json"
        expect 3 schema $what
        [[ ${#lines[@]} = 1 && $output == "stbconfig: $box/etc/stbapp.schema.json:2:15: "* ]]
        rm "$box/etc/stbapp.schema.json"
    done
}

@test "conf is a commented file with the defaults" {
    described '"Audio/volume": {"type": "int", "minimum": 0, "maximum": 9, "default": 3, "description": "How loud.\n\n  And how deep.  ", "since": "1.2"}' \
        '"Audio/mute": {"type": "bool", "default": false}' '"Audio/modes": {"type": "list", "default": []}' \
        '"Audio/name": {"values": ["a", "b"]}' '"top": {"default": "a, b"}'
    expect 0 schema conf
    diff - <(echo "$output") <<'END'
[General]
; allowed: a text
top="a, b"

[Audio]
; allowed: a list
;modes=

; allowed: true or false
mute=false

; allowed: a, b
;name=

; How loud.
;
; And how deep.
; allowed: a whole number from 0 to 9
; since 1.2
volume=3
END
    described
    expect 0 schema conf
    [ -z "$output" ]
}

@test "conf gives each default back, and checks clean, whatever is described" {
    random_descriptions 8
    for number in {0..7}; do
        cp "$box/$number.json" "$box/etc/stbapp.schema.json"
        "$STBCONFIG" schema conf >"$defaults"
        run "$STBCONFIG" check --ignore missing --ignore boolean-word --ignore case-only --ignore shared-variable
        [ -z "$output" ] || { echo "$number: $output"; return 1; }
        "$STBCONFIG" --json list --no-schema --show-secrets >"$box/list"
        python3 - "$box/$number.values" "$box/list" <<'END'
import json, sys
wanted, found = (json.load(open(path)) for path in sys.argv[1:])
found = {entry["setting"]: entry["value"] for entry in found}
found = {name: value if isinstance(value, list) else [value] for name, value in found.items()}
assert wanted == found, [(name, wanted.get(name), found.get(name)) for name in {**wanted, **found} if wanted.get(name) != found.get(name)]
END
    done
}

@test "what is printed holds no secret unless that is wanted" {
    described '"User/pin": {"default": "canary"}' '"A/b": {"default": "canary", "secret": true, "was": [{"name": "A/c", "values": {"canary1": "canary2"}}]}' \
        '"A/d": {"secret": true}'
    for what in conf markdown header; do
        "$STBCONFIG" schema $what >"$box/out" 2>"$box/notes"
        ! grep canary "$box/out" "$box/notes"
        [ "$(<"$box/notes")" = 'stbconfig: schema: defaults of secrets left out: 2; add --show-secrets to print them' ]
        "$STBCONFIG" schema $what --show-secrets >"$box/out" 2>"$box/notes"
        [ "$(grep -c canary "$box/out")" -ge 2 ]
        [ ! -s "$box/notes" ]
    done
    "$STBCONFIG" schema conf >"$defaults"
    grep -q '^;pin=$' "$defaults"
    grep -q '^;b=$' "$defaults"
}

@test "markdown is a page with a section for each group" {
    described '"Audio/volume": {"type": "int", "minimum": 0, "default": 3, "description": "How loud.", "since": "1.2", "keep": true, "was": [{"name": "Sound/level", "values": {"loud": 9, "\"": 1, "e": 5, "d": 4, "b": 2, "c": 3}}, "Sound/volume"]}' \
        '"Audio/mute": {"type": "bool"}' '"Audio/pin": {}' '"top": {"values": ["a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l", "m"], "default": ""}'
    sed -i 's/"default": ""/"default": "m"/' "$box/etc/stbapp.schema.json"
    expect 0 schema markdown
    diff - <(echo "$output") <<'END'
# Settings

## Without a group

### top

- Type: text
- Allowed: a, b, c, d, e, f, g, h, i, j, k, l, m
- Default: m

## Audio

### Audio/mute

- Type: bool
- Allowed: true or false

### Audio/pin

- Type: text
- Allowed: a text
- Secret: yes, it is masked

### Audio/volume

How loud.

- Type: int
- Allowed: a whole number, at least 0
- Default: 3
- Since: 1.2
- Older names: Sound/level ("&#92;"" is now 1, b is now 2, c is now 3, d is now 4, e is now 5, loud is now 9); Sound/volume
- Reset: keeps it
END
}

@test "nothing of a description becomes markup on the page" {
    command -v cmark >/dev/null || skip "no cmark here"
    random_descriptions 4
    described '"<b>x</b>/*y*": {"description": "# a\n## b\n- c\n* d\n1. e\n2) f\n> g\n    code\n\tcode\n```\n~~~\n---\n===\n+ h\n<script>\n<script\n[x](javascript:1) ![y](z) <http://a> `c` **d** __e__ &amp; \\* a | b\n--|--\n: x"}'
    cp "$box/etc/stbapp.schema.json" "$box/4.json"
    for number in {0..4}; do
        "$STBCONFIG" schema markdown --schema "$box/$number.json" >"$box/page"
        cmark --unsafe --to xml "$box/page" >"$box/tree"
        python3 - "$box/$number.json" "$box/tree" <<'END'
import json, re, sys
import xml.etree.ElementTree as tree
settings = json.load(open(sys.argv[1]))["settings"]
page = tree.parse(sys.argv[2]).getroot()
kinds = {node.tag.split("}")[1] for node in page.iter()}
assert kinds <= {"document", "heading", "text", "paragraph", "list", "item", "softbreak"}, kinds
# The page shows any other character as an escape of a backslash, letters and digits.
words = lambda text: re.sub(r"[\s\x00-\x20\x7f-\x9f\u2028\u202e\uffff\\A-Za-z0-9]+", "", text)
headings = ["".join(node.itertext()) for node in page if node.get("level") == "3"]
assert len(headings) == len(settings), headings
shown = words("".join("".join(node.itertext()) for node in page))
for name, setting in settings.items():
    for text in [name, setting.get("description", "")]:
        assert words(text) in shown, (text, shown)
END
    done
}

@test "header refuses two settings that would have one name" {
    described '"A/b-c": {}' '"A/b.c": {}' '"A/b_d": {}'
    expect 2 schema header
    [ "$output" = "stbconfig: A/b.c: would be A_b_c in C++, as A/b-c is; rename one of them" ]
    described '"General/x": {}' '"x": {}'
    expect 2 schema header
    [[ $output == *" x: would be General_x in C++, as General/x is;"* ]]
}

@test "header documents each setting with what is described" {
    described '"Audio/volume": {"type": "int", "minimum": 0, "maximum": 9, "default": 3, "description": "How loud.\n\nHow \\deep */ @n <b>.", "since": "1.2"}'
    "$STBCONFIG" schema header >"$box/header"
    diff - <(sed -n '/^ \* Audio/,/^};/p' "$box/header") <<'END'
 * Audio/volume.
 *
 * How loud.
 *
 * How \\deep \* / \@n \<b\>.
 *
 * Allowed: a whole number from 0 to 9
 *
 * @since 1.2
 */
struct Audio_volume
{
    using Type = int;
    static QString group() { return QStringLiteral("Audio"); }
    static QString key() { return QStringLiteral("volume"); }
    static constexpr Type minimum = 0;
    static constexpr Type maximum = 9;
    static constexpr Type defaultValue() { return 3; }
    static constexpr bool isAllowed(const Type &value) { return value >= minimum && value <= maximum; }
};
END
}

@test "a terminal obeys nothing of a description, and a file gets the texts" {
    script -qec true /dev/null >/dev/null 2>&1 </dev/null || skip "no pseudo-terminals here"
    described '"A/\u001b[2Jx": {"description": "a\u001b[31mb\u202ec\u009b", "default": "é\u001b[2J\u202e"}'
    printf '[A]\n%%1B[31m=\\x1b[31m\\x202e\n' >"$defaults"
    for what in new conf markdown header; do
        script -qec "$(printf '%q ' "$STBCONFIG" schema $what)" /dev/null </dev/null >"$box/screen"
        ! LC_ALL=C grep $'[\033\233]\|\342\200\256' "$box/screen" || return 1
    done
    "$STBCONFIG" schema conf >"$defaults"
    "$STBCONFIG" get A $'\e[2Jx' --no-schema | cmp - <(printf 'é\033[2J\342\200\256\n')
}

@test "header writes any type, name and text so that a compiler takes it as it is" {
    described '"3D/a": {"type": "bool", "default": true}' '"INT/MAX": {"type": "int", "values": [1]}' \
        '"static/cast": {"type": "list", "values": ["é", "\u0001"], "default": ["\u0001", "é"]}' \
        '"Я/b": {"values": ["\"\\\\??/", "😀"], "default": "😀"}' '"slots": {"description": "??/\n*/\n"}'
    "$STBCONFIG" schema header >"$box/header"
    diff - <(sed -n '/^struct/,/^};/p; /^ \* [?*\\]/p' "$box/header") <<'END'
struct Setting3D_a
{
    using Type = bool;
    static QString group() { return QStringLiteral("3D"); }
    static QString key() { return QStringLiteral("a"); }
    static constexpr Type defaultValue() { return true; }
    static constexpr bool isAllowed(const Type &) { return true; }
};
struct INT_MAX_
{
    using Type = int;
    static QString group() { return QStringLiteral("INT"); }
    static QString key() { return QStringLiteral("MAX"); }
    static constexpr int values[] = {
        1,
    };
    static constexpr bool isAllowed(const Type &value) { return areAmong(value, values); }
};
 * ?? /
 * \* /
struct General_slots
{
    using Type = QString;
    static QString group() { return QStringLiteral(""); }
    static QString key() { return QStringLiteral("slots"); }
    static bool isAllowed(const Type &) { return true; }
};
struct Static_cast
{
    using Type = QStringList;
    static QString group() { return QStringLiteral("static"); }
    static QString key() { return QStringLiteral("cast"); }
    static constexpr QStringView values[] = {
        QStringView(u"\U000000e9", 1),
        QStringView(u"\001", 1),
    };
    static Type defaultValue()
    {
        static const Type value{QStringLiteral("\001"), QStringLiteral("\U000000e9")};
        return value;
    }
    static bool isAllowed(const Type &value) { return areAmong(value, values); }
};
struct Settingu042f_b
{
    using Type = QString;
    static QString group() { return QStringLiteral("\U0000042f"); }
    static QString key() { return QStringLiteral("b"); }
    static constexpr QStringView values[] = {
        QStringView(u"\"\\\\\?\?/", 6),
        QStringView(u"\U0001f600", 2),
    };
    static Type defaultValue() { return QStringLiteral("\U0001f600"); }
    static bool isAllowed(const Type &value) { return areAmong(value, values); }
};
END
}
