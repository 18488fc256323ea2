#!/usr/bin/env bats
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
#
# Tries what Tab offers: by the command that prints candidates, and in real shells on a pseudo-terminal.

load support

# Prints in one line the candidates for the words, the last of which is being typed.
offered()
{
    run "$STBCONFIG" complete -- "$@"
    [ "$status" = 0 ] || return 1
    echo $output
}

# Given a shell's name and on standard input the lines to type, types them into the shell in the
# directory here. There "stbconfig" is the tested command, and its script is loaded.
types()
{
    local shell=$1
    ! grep -q __asan_init "$PROGRAM" || skip "too slow with the sanitizer"
    command -v "$shell" >/dev/null || skip "no $shell here"
    mkdir -p "$box/bin" "$box/here" "$box/home"
    ln -sf "$STBCONFIG" "$box/bin/stbconfig"
    export HOME=$box/home ZDOTDIR=$box/home TERM=xterm PATH=$box/bin:$PATH
    case $shell in
        bash)
            echo 'PS1="ready>"; set -o history -o histexpand; source <(stbconfig completion bash)' \
                >"$HOME/.bashrc"
            set -- bash --rcfile "$HOME/.bashrc" -i
            ;;
        zsh)
            echo 'PS1="ready>"; autoload -U compinit; compinit -u -D
                source <(stbconfig completion zsh)' >"$HOME/.zshrc"
            set -- zsh -d -i
            ;;
        fish)
            set -- fish --no-config --private -i \
                -C 'function fish_prompt; echo "ready>"; end; stbconfig completion fish | source'
            ;;
    esac
    (cd "$box/here" && python3 "$BATS_TEST_DIRNAME/typist.py" "$@") 3>&-
}

# Given a shell, completes hostile names in it after each kind of opening quote, runs the line, and
# expects the value that the name has. Each is alone in its storage, so that two Tabs complete it.
survives_names()
{
    local shell=$1 quote name i=0
    local -a names=('Vid$(touch PWNED)eo/a`touch PWNED`' 'a;touch PWNED/b&touch PWNED' "it's/'it's'"
        'x y/z  z' '"q"/"' '$HOME/$HOME' '*/?' '#x/#' '!x/!b' '>PWNED/<|' '(x)/[a]' '{a,b}/~'
        '\/\a\' "a\\'\"/'\\''" 'ä/€😀' 'a:b/c:d=e' "!'\"/\"'!" 'A/b/c' 'plain/one')
    for name in "${names[@]}"; do
        "$STBCONFIG" set --create --storage "s$i" "$name" "value $i"
        for quote in '' "'" '"'; do
            echo "stbconfig get --storage s$i $quote"$'\t\t'" >>$i 2>&1"
        done
        ((++i))
    done >"$box/lines"
    types "$shell" <"$box/lines"
    [ ! -e "$box/here/PWNED" ]
    [ "$i" = 19 ]
    while ((i-- > 0)); do
        [ "$(uniq -c "$box/here/$i" | sed 's/^ *//')" = "3 value $i" ] || {
            echo "${names[i]}: $(cat "$box/here/$i")"
            return 1
        }
    done
}

# Given a shell, completes options, locations, directories and settings, some of them begun.
completes_lines()
{
    local shell=$1 close=
    # Only bash closes the quotes around a group or directory.
    [ "$shell" = bash ] || close="'"
    mkdir -p "$box/home/my dir"
    STBCONFIG_PERSISTENT_PREFIX="$box/home/my dir/" "$STBCONFIG" set Far/away far
    "$STBCONFIG" set "it's a/b" 1
    "$STBCONFIG" set "it's x/b" 2
    "$STBCONFIG" set "it's x/c d" 3
    "$STBCONFIG" set a:b/c 4
    "$STBCONFIG" set a:b/d=x 5
    {
        echo $'stbconfig ge\t Vi\tou\t >1 2>&1'
        echo $'stbconfig get it\ta\t\t >2 2>&1'
        echo $'stbconfig get \'it\tx\tb'"$close >3 2>&1"
        echo $'stbconfig get "it\tx/c\t >4 2>&1'
        echo $'stbconfig get --from=Cu\t a:b\td\t >5 2>&1'
        echo $'true | stbconfig unset it\ta\tb\t --dry\t >6 2>&1'
        echo 'cd ~'
        echo $'stbconfig --pers\t my\t get --no-e\t Fa\t\t >../here/7 2>&1'
        echo $'stbconfig get --persistent=my\t Far aw\t >../here/8 2>&1'
        echo 'cd /'
        echo $'stbconfig --persistent ~/m\t get Fa\t\t >~/../here/9 2>&1'
        echo $'~/../bin/stbconfig get --pers\t ~/my\\ dir/ Fa\t\t >~/../here/10 2>&1'
    } >"$box/lines"
    types "$shell" <"$box/lines"
    cd "$box/here"
    [[ "$(cat 1 2 3 4 5 7 8 9 10)" == $'hdmi\n1\n2\n3\n5\nfar\nfar\nfar\nfar' &&
        $(cat 6) == "would unset it's a/b"* ]] || {
        tail -n 3 ./*
        return 1
    }
}

@test "bash runs nothing of a hostile name, and completes it so that it means itself" {
    survives_names bash
}

@test "zsh runs nothing of a hostile name, and completes it so that it means itself" {
    survives_names zsh
}

@test "fish runs nothing of a hostile name, and completes it so that it means itself" {
    survives_names fish
}

@test "bash completes each word of a line" {
    completes_lines bash
}

@test "zsh completes each word of a line" {
    completes_lines zsh
}

@test "fish completes each word of a line" {
    completes_lines fish
}

@test "the commands that --help names are offered, and no hidden one" {
    local named
    named=$("$STBCONFIG" --help | sed -n '/^Subcommands:/,$s/^  \([a-z]*\) .*/\1/p' | sort)
    [ -n "$named" ]
    [ "$(offered '')" = "$(echo $named)" ]
    [ "$(offered --json expl)" = explain ]
    [ -z "$(offered nosuch '')" ]
    [ -z "$(offered complete '')" ]
}

@test "a command's own options are offered, and those of all commands" {
    [ "$(offered list --k)" = --keys ]
    [ "$(offered get --per)" = --persistent ]
    [ "$(offered --js)" = --json ]
    [ -z "$(offered --k)" ]
    [ -z "$(offered get -- --k)" ]
}

@test "an option's values are offered, behind a blank and behind \"=\"" {
    [ "$(offered get --from E)" = EnvironmentVariables ]
    [ "$(offered get --from=E)" = --from=EnvironmentVariables ]
    [ "$(offered get --as '')" = "bool int list text" ]
    [ "$(offered set a/b --type b)" = bool ]
    [ "$(offered check --fail-on '')" = "error note warning" ]
    [ "$(offered completion '')" = "bash fish zsh" ]
    [ "$(offered schema '')" = "conf header markdown new" ]
    [[ " $(offered get --pid '') " == *" $$ "* ]]
}

@test "every finding can be completed" {
    local known
    known=$(sed -n 's/^    {"\([a-z-]*\)", Severity::.*/\1/p' \
        "$BATS_TEST_DIRNAME/../../tools/stbconfig/check/finding.cpp" | sort)
    [ -n "$known" ]
    [ "$(offered check --ignore '')" = "$(echo $known)" ]
}

@test "a group is offered first, then its settings, in each spelling" {
    printf '[General]\nloose=1\n[Audio]\nvolume=3\nmute=1\n' >"$custom"
    [ "$(offered get '')" = "Audio/ Logging/ Profile/ Video/ loose" ]
    [ "$(offered explain Vi)" = Video/ ]
    [ "$(offered get Audio/)" = "Audio/mute Audio/volume" ]
    [ "$(offered set Audio v)" = volume ]
    [ "$(offered get /)" = /loose ]
    [ "$(offered set /l)" = /loose ]
    [ "$(offered unset '')" = "/loose Audio/" ]
    [ "$(offered list A)" = Audio/ ]
    [ "$(offered diff Video/)" = Video/output ]
    [ "$(offered diff --with "$box/e")" = "$box/etc/" ]
    [ "$(offered diff --with "$box/etc/")" = "$defaults" ]
    [ -z "$(offered get Audio/volume '')" ]
}

@test "what unset and --storage complete comes from the written file alone" {
    printf '[Audio]\nvolume=3\n' >"$custom"
    printf '[Kept]\nhere=1\n' >"$box/var/store.db"
    [ "$(offered unset '')" = Audio/ ]
    [ "$(offered unset --group '')" = Audio ]
    [ "$(offered get --storage '')" = store ]
    [ "$(offered get --storage store '')" = Kept/ ]
    [ "$(offered unset --storage=store Kept '')" = here ]
}

@test "a pattern and a file to import are completed" {
    printf '[General]\nloose=1\n[Audio]\nvolume=3\n' >"$custom"
    [ "$(offered reset '')" = "Audio/ loose" ]
    [ "$(offered reset /l)" = /loose ]
    [ "$(offered reset --keep Audio/)" = Audio/volume ]
    [ "$(offered export V)" = Video/ ]
    [ "$(offered import "$box/v")" = "$box/var/" ]
    [ "$(offered import "$custom" --only '')" = "Audio/ Logging/ Profile/ Video/ loose" ]
}

@test "the logging settings are completed with their values" {
    [ "$(offered logging l)" = level ]
    [ "$(offered logging level w)" = warning ]
    [ "$(offered logging jsonFormattingEnabled '')" = "false true" ]
    [ "$(offered set Logging/level cr)" = critical ]
    [ "$(offered set Logging level cr)" = critical ]
    [ -z "$(offered set Video/output '')" ]
}

@test "the names that are described are offered, and set's values are those that are allowed" {
    described '"Audio/mute": {"type": "bool", "default": false}' \
        '"Audio/volume": {"type": "int", "maximum": 9, "default": 3, "was": ["Old/volume"]}' \
        '"Audio/modes": {"type": "list", "values": ["a", "b", "c,d"], "default": ["b", "a"]}' \
        '"Audio/odd": {"type": "list", "default": ["c,d"]}' '"Audio/out": {"values": ["hdmi", "scart"]}' \
        '"Audio/door": {"default": "7", "secret": true}' '"Logging/level": {"values": ["info", "debug"]}'
    [ "$(offered get '')" = "Audio/ Logging/ Profile/ Video/" ]
    [ "$(offered set Audio/m)" = "Audio/modes Audio/mute" ]
    [ "$(offered explain Audio vo)" = volume ]
    [ "$(offered set Audio/mute '')" = "false true" ]
    [ "$(offered set Audio volume '')" = 3 ]
    [ "$(offered set Audio/modes '')" = "a b b,a c,d" ]
    [ -z "$(offered set Audio/odd '')" ]
    [ "$(offered set Audio/out s)" = scart ]
    [ -z "$(offered set Audio/door '')" ]
    [ "$(offered set Logging/level '')" = "debug info" ]
    [ "$(offered logging level '')" = "debug info" ]
    [ "$(offered logging jsonFormattingEnabled '')" = "false true" ]
    # These are settings that only one file holds, and one that no rule applies to.
    [ -z "$(offered unset '')" ]
    [ -z "$(offered set --storage s Audio/out '')" ]
    [ "$(offered list --descr)" = --describe ]
    [ "$(offered schema '')" = "conf header markdown new" ]
}

@test "--schema and --no-schema say what is offered, and a bad description offers nothing more" {
    described '"A/b": {"values": ["x"]}'
    printf '{"settings": {"A/c": {"values": ["y"]}}}' >"$box/other.json"
    [ "$(offered --no-s)" = --no-schema ]
    [ "$(offered get --schema "$box/ot")" = "$box/other.json" ]
    [ "$(offered set A/b '')" = x ]
    [ -z "$(offered --no-schema set A/b '')" ]
    [ "$(offered set --schema "$box/other.json" A/)" = A/c ]
    [ "$(offered "--schema=$box/other.json" set A/c '')" = y ]
    for bad in '{' '' '{"settings": {"A/b": {"values": 1}}}'; do
        printf '%s' "$bad" >"$box/etc/stbapp.schema.json"
        [ -z "$("$STBCONFIG" complete -- set A/b '' 2>&1)" ]
        [ "$(offered get V)" = Video/ ]
    done
    rm "$box/etc/stbapp.schema.json"
    mkfifo "$box/etc/stbapp.schema.json"
    [ "$(offered get V)" = Video/ ]
}

@test "a described name or value that a terminal would obey is not offered" {
    described '"A/\u001b[2J": {}' '"A/b": {"values": ["\u202ex", "a\nb", "ok"], "default": "ok"}'
    [ "$(offered get A/)" = A/b ]
    [ "$(offered set A/b '')" = ok ]
}

# Given a shell, completes each described value after each kind of opening quote, and runs the line.
survives_values()
{
    local shell=$1 quote i=0
    local -a values=('$(touch PWNED)' ';touch PWNED' "it's" '"x" \y' '!x *')
    for value in "${values[@]}"; do
        described "\"A/\$(touch PWNED)\": {\"values\": [$(python3 -c 'import json, sys; print(json.dumps(sys.argv[1]))' "$value")]}"
        mv "$box/etc/stbapp.schema.json" "$box/$i.json"
        for quote in '' "'" '"'; do
            echo "stbconfig set --schema ../$i.json A/"$'\t'" $quote"$'\t'" --dry-run >>$i 2>&1"
        done
        ((++i))
    done >"$box/lines"
    types "$shell" <"$box/lines"
    [ ! -e "$box/here/PWNED" ]
    while ((i-- > 0)); do
        [[ $(uniq -c "$box/here/$i") == *" 3 would set A/\$(touch PWNED) to "* ]] || { cat "$box/here/$i"; return 1; }
    done
}

@test "bash runs nothing of a described value, and completes it so that it means itself" {
    survives_values bash
}

@test "zsh runs nothing of a described value, and completes it so that it means itself" {
    survives_values zsh
}

@test "fish runs nothing of a described value, and completes it so that it means itself" {
    survives_values fish
}

@test "files and directories are offered where a path is meant" {
    mkdir "$box/image" "$box/image/.hidden"
    touch "$box/image.env" "$box/im"$'\e'"age" "$box/im"$'\xff'"age"
    [ "$(offered --env-file "$box/im")" = "$box/image.env $box/image/" ]
    [ "$(offered --root "$box/im")" = "$box/image/" ]
    [ "$(offered "--persistent=$box/im")" = "--persistent=$box/image/" ]
    [ -z "$(offered --root "$box/image/")" ]
    [ "$(offered --root "$box/image/.h")" = "$box/image/.hidden/" ]
}

@test "options that are typed already say where the settings are" {
    mkdir -p "$box/image/var/lib" "$box/other"
    printf '[Other]\na=1\n' >"$box/other/custom.conf"
    printf '[Image]\na=1\n' >"$box/image/var/lib/custom.conf"
    [ "$(offered unset --persistent "$box/other/" '')" = Other/ ]
    [ "$(offered "--persistent=$box/other/" unset '')" = Other/ ]
    [ "$(offered --root "$box/image" --persistent /var/lib/ unset '')" = Image/ ]
    [ -z "$(offered --root "$box/nowhere" get '')" ]
}

@test "a name that looks like an option is offered only behind --" {
    "$STBCONFIG" set -- -G/x 1
    [ -z "$(offered unset '')" ]
    [ "$(offered unset -- '')" = -G/ ]
    [ "$(offered unset --group '')" = -G ]
    [ "$("$STBCONFIG" get -- -G/x)" = 1 ]
}

@test "names that a terminal would obey are left out" {
    printf '[Video]\nesc%%1b[2J=2\nline%%0Aend=3\nbidi%%U202e=4\nplain\\x5c=5\n' >"$custom"
    run "$STBCONFIG" complete -- unset Video/
    [ "$output" = "Video/plain\\" ] || [ "$output" = 'Video/plain/x5c' ]
}

@test "a file that cannot be read gives no candidates, no words and no wait" {
    local make
    for make in 'mkfifo "$custom"' 'mkdir "$custom"' 'ln -s custom.conf "$custom"' \
        'nested "$custom"' 'ln -s /dev/zero "$custom"' 'truncate -s 2500M "$custom"'; do
        eval "$make"
        SECONDS=0
        [ -z "$("$STBCONFIG" complete -- get '' 2>&1)" ]
        "$STBCONFIG" complete -- get ''
        [ "$SECONDS" -lt 8 ]
        rm -rf "$custom"
    done
    [ -z "$("$STBCONFIG" complete -- --env-file "$box/none" --pid 0 check '' 2>&1)" ]
}

@test "a script is printed for each shell, and the nearest shell is named for another" {
    local shell
    for shell in bash fish zsh; do
        "$STBCONFIG" completion $shell |
            cmp - "$BATS_TEST_DIRNAME/../../tools/stbconfig/completion/stbconfig.$shell"
    done
    expect 2 completion bsh
    [[ $output == *"did you mean bash?"* ]]
    expect 2 completion
}

@test "the scripts are installed where the shells look for them" {
    local name=${PROGRAM##*/}
    cmake --install "$BUILD_DIR" --prefix "$box/installed" >/dev/null
    cd "$box/installed/share"
    [ -s "bash-completion/completions/$name" ]
    [ -s "zsh/site-functions/_$name" ]
    [ -s "fish/vendor_completions.d/$name.fish" ]
}

@test "zsh finds the installed script by itself" {
    command -v zsh >/dev/null || skip "no zsh here"
    local name=${PROGRAM##*/}
    mkdir "$box/functions"
    cp "$BATS_TEST_DIRNAME/../../tools/stbconfig/completion/stbconfig.zsh" "$box/functions/_$name"
    run zsh -dfc "fpath+=('$box/functions'); autoload -U compinit; compinit -u -D
        echo \$_comps[stbconfig]" </dev/null
    [ "$output" = "_$name" ]
}

@test "words that the command does not know are completed by nothing, and hide nothing" {
    "$STBCONFIG" set My.Group/key 1
    [ -z "$(offered get --nothing My)" ]
    [ "$(offered get -- -- My)" = '' ]
    [ "$(offered get -- My)" = My.Group/ ]
    [ "$(offered get -- --persistent=/ My)" = '' ]
    [ -z "$(offered get --nothing=x)" ]
    [ -z "$(offered get --json=x)" ]
    [ "$(offered set Logging/responseLengthLimit '')" = '' ]
    [ "$("$STBCONFIG" complete | tr '\n' ' ')" = "$("$STBCONFIG" complete -- '' | tr '\n' ' ')" ]
    printf '[A]\n\\xfffd=1\nb\\=2\nc=3\n' >"$custom"
    [[ "$(offered get A/)" != *$'\ufffd'* ]]
}
