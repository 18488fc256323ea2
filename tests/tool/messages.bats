# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

# These tests compare every word of a message; the others look only at the part that concerns them.

# Reads lines of a status, a "|", a command's words, a "|" and what the command then says; "@" stands
# for the directory of the test.
says()
{
    local wanted words message
    while IFS='|' read -r wanted words message; do
        eval "expect $wanted ${words//@/$box}"
        [ "$output" = "stbconfig: ${message//@/$box}" ] || { echo "$words: $output"; return 1; }
    done
}

# Prints the names and the texts that the command itself declares, one word in a line. Their layout, and
# what stands between them, differs between the versions of CLI11.
words_of_help()
{
    "$STBCONFIG" "$@" --help | sed -E '/\[OPTIONS\]/d; /^[A-Za-z]+:$/d' | tr -s ' \n' ' ' | sed -E '
        s/(-h, ?--help )?(Print this help message|Display program version information) and exit//g
        s/ (TEXT[^ ]*|REQUIRED|\[[^ ]*\]|\(Env:[^ ]*\))//g
        s/ (Excludes|Needs):( --[a-z-]+| setting| name| value)+\b//g' | tr -s ' ' '\n'
}

@test "the help of each command stays as it is, word by word" {
    for command in '' get explain list diff set unset export import reset migrate schema logging locale locations check report \
        completion; do
        words_of_help $command
    done >"$box/help"
    tail -n +4 "$BATS_TEST_DIRNAME/help.txt" | tr -s ' \n' '\n' | diff -U 5 - "$box/help"
}

@test "the manual names every option of the help" {
    manual=$BATS_TEST_DIRNAME/../../tools/stbconfig/man/stbconfig.1.scd
    for option in $(sed -n 's/^  \(--\?[a-z0-9-]*\) .*/\1/p' "$BATS_TEST_DIRNAME/help.txt" | sort -u); do
        grep -qE -- "(^|[^a-z-])$option([^a-z-]|$)" "$manual" || { echo "$option: not in the manual"; return 1; }
    done
}

@test "misuse is said with what to do" {
    says <<'END'
2|get Video output --as nothing|nothing: no such type; use text, int, bool or list
2|get Video output --as tex|tex: no such type; did you mean text?
2|get Video output --as int|Video/output: no number: hdmi; read it --as text
2|get Video output --from nowhere|nowhere: no such location; use the beginning of CustomConfPersistent, TemporaryApplicationStorage, EnvironmentVariables, StbappConfDefault, DhcpOptionsConf
2|get Video output extra|arguments: a word too many, or an unknown option; see stbconfig get --help; before values that begin with "-", put --
2|get|arguments: setting is required; see stbconfig get --help
2|get --nothing|arguments: a word too many, or an unknown option; see stbconfig get --help; before values that begin with "-", put --
2|get Video/|setting: no key; give GROUP KEY or GROUP/KEY
2|get Video output --json=1|arguments: an option that takes no value has one; see stbconfig get --help
2|get $'\377'|arguments: a word is not UTF-8; write it in UTF-8
2|nonsense|nonsense: no such command; see stbconfig --help
2|diff --with ''|--with: an empty path; name the other side
2|gett a b|gett: no such command; did you mean get?
2|--nothing|--nothing: no such option; see stbconfig --help
2|--no-env --pid 1 list|arguments: --no-env excludes --pid; see stbconfig list --help
2|set Video|set: no value; give GROUP/KEY VALUE, /KEY VALUE or GROUP KEY VALUE
2|set Video/output|Video/output: no value; give GROUP/KEY VALUE, /KEY VALUE or GROUP KEY VALUE
2|set --stdin a b c </dev/null|set: a word too many; give GROUP/KEY VALUE, /KEY VALUE or GROUP KEY VALUE
2|set Video output x --type int|Video/output: the value is no number; give a whole number of 32 bits
2|set Video output 2147483648 --type int|Video/output: the value is no number; give a whole number of 32 bits
2|set Video output x --type bool|Video/output: the value is no boolean; give true or false
2|set general x 1|general/x: a file cannot express this group; use General/x
2|set a//b 1|a//b: a file cannot express this name; use a/b
2|set output 1|output: no group; name the setting as GROUP/KEY, /KEY or GROUP KEY
2|unset|unset: nothing named; name a setting as GROUP/KEY, /KEY or GROUP KEY, or give --group or --redundant
2|unset --group ''|unset: an empty group; name the group
2|unset --redundant --group x|arguments: --group excludes --redundant; see stbconfig unset --help
2|logging lvel debug|lvel: no logging setting; did you mean level?
2|logging x debug|x: no logging setting; use one of level, responseLengthLimit, jsonFormattingEnabled, imageRequestsEnabled
2|completion tcsh|tcsh: no script for this shell; use bash, fish, zsh
2|check --fail-on x|x: no such severity; use error, warning, note
2|check --ignore nothing|nothing: no such finding; see man stbconfig
2|check --ignore mising|mising: no such finding; did you mean missing?
2|--pid x list|x: no number of a process; give --pid a number
END
    run bash -c 'head -c 17000000 /dev/zero | "$1" set a b --stdin' - "$STBCONFIG"
    [ "$status" = 2 ]
    [ "$output" = "stbconfig: standard input: more than 16777216 bytes; give --stdin a shorter value" ]
}

@test "what is not there is said with the nearest that is" {
    says <<'END'
1|get Video outputt|Video/outputt: not set; did you mean Video/output?
1|get output|output: not set; set it, or give --default
1|list Vido|Vido: no such setting; did you mean Video?
1|unset --group Vid|Vid: not set in @/var/custom.conf; see where it is set with explain
1|unset Video output|Video/output: not set in @/var/custom.conf; see where it is set with explain
3|get a b --storage none|@/var/none.db: no such storage; check the name, or add --create
4|set a b 1 --storage none|@/var/none.db: no such storage; check the name, or add --create
3|--root /nonexistent list|/nonexistent: no such directory; give --root the directory of an unpacked image
3|--root '' list|--root: no such directory; give --root the directory of an unpacked image
3|--env-file @/none list|@/none: no such file; name a file of NAME=VALUE lines
END
    expect 0 set Video output scart
    touch "$box/var/epg.db"
    says <<'END'
1|unset Video outpu|Video/outpu: not set in @/var/custom.conf; did you mean Video/output?
1|unset --group Vide|Vide: not set in @/var/custom.conf; did you mean Video?
3|get a b --storage eg|@/var/eg.db: no such storage; did you mean epg?
END
}

@test "what is in the way of a file is said with what to do" {
    printf 'X=\377\n' >"$box/env"
    mkdir "$box/image"
    ln -s loop "$box/image/loop"
    says <<'END'
3|--env-file @/env list|@/env: line 1 is not UTF-8; write it in UTF-8
3|--root @/image --persistent /loop/ list|@/image//loop/: Too many levels of symbolic links; correct the image, or the prefix
3|set a b 1 --persistent /dev/null/|/dev/null/custom.conf: cannot be read: Not a directory; check the path and the disk
END
    mkfifo "$custom.lock"
    says <<<'4|set a b 1|@/var/custom.conf.lock: not saved: a thing that is no file holds every write; remove it'
    rm "$custom.lock"
    mkdir "$custom.lock"
    says <<<'4|set a b 1|@/var/custom.conf.lock: not saved: a directory holds every write; remove it'
    rmdir "$custom.lock"
    truncate -s 65537 "$custom.lock"
    says <<<'4|set a b 1|@/var/custom.conf.lock: not saved: a lock of 65537 bytes holds every write; remove it'
    truncate -s 0 "$custom.lock"
    touch -d @0 "$custom.lock"
    says <<<'4|set a b 1|@/var/custom.conf.lock: not saved: an empty or unreadable lock without a time stamp holds every write; remove it'
    touch -d 2037-01-01 "$custom.lock"
    says <<<'4|set a b 1|@/var/custom.conf.lock: not saved: an empty or unreadable lock with a time stamp in the future holds every write; remove it'
    rm "$custom.lock"
    truncate -s 134217729 "$custom"
    says <<'END'
3|get a b|@/var/custom.conf: too large: 134217729 bytes, at most 134217728 are read; look at what it holds, or move it away
3|set a b 1|@/var/custom.conf: too large: 134217729 bytes, at most 134217728 are read; look at what it holds, or move it away
END
    printf '[a]\nbroken\n' >"$custom"
    says <<<'3|get a b|@/var/custom.conf: malformed, line 2; correct or remove the line, then try again'
    printf '%%2F%s=1\n' a b c >"$custom"
    says <<<'4|set a b 1|@/var/custom.conf: not saved: a write would also change /a, /b, /c; let the application write it, or correct these entries in the file'
    printf '%%2F%s=1\n' a b c d e >"$custom"
    says <<<'4|set a b 1|@/var/custom.conf: not saved: a write would also change /a, /b, /c and 2 more; let the application write it, or correct these entries in the file'
    printf '[a]\nb=@Variant(\\0\\0\\0\\x43\\x1\\xff\\xff\\0\\0\\0\\0\\0\\0\\0\\0)\n' >"$custom"
    says <<<'4|set a b 1|@/var/custom.conf: not saved: it holds a value of a type that only the application can write; let the application make the change'
    if [ "$QT_MAJOR" = 5 ]; then
        printf '\xef\xbb\xbfx=1\n' >"$custom"
        says <<<'4|set a b 1|@/var/custom.conf: not saved: it begins with a byte order mark, which a write would lose; save the file without it'
    fi
    rm "$custom"
    ln -s gone/custom.conf "$custom"
    says <<<'4|set a b 1|@/var/custom.conf: not saved: a symbolic link into a directory that is missing; make the directory'
}

@test "what holds settings that move is said with what to do" {
    printf '[Video]\noutput=scart\n' >"$custom"
    printf '[A]\nx=1\n' >"$box/given"
    mkdir "$box/empty"
    says <<'END'
1|export Audio|Audio: no such setting; see what there is with list
2|export --json|export: prints an INI file, no JSON; for JSON use list
1|reset Vidio|Vidio: not set in @/var/custom.conf; did you mean Video?
1|reset Audio|Audio: not set in @/var/custom.conf; see what there is with list
2|reset ''|reset: an empty pattern; name a group, or use "*" for all
2|reset --keep ''|--keep: an empty pattern; name a group, or use "*" for all
2|import @/given --only ''|--only: an empty pattern; name a group, or use "*" for all
1|import @/given --only B|@/given: holds no setting B; nothing is imported
1|import - </dev/null|standard input: holds no setting; nothing is imported
0|import -v @/var/custom.conf|@/var/custom.conf: unchanged
3|import @/none|@/none: no such file; check the path
3|diff --with @/none|@/none: no such file; check the path
3|diff --with @/empty --persistent /p/ --defaults /d/|@/empty: holds neither custom.conf nor stbapp.conf, and is no image that has @/empty/p/custom.conf or @/empty/d/stbapp.conf; name a box's directory, an image's or an exported file
2|report --show-secrets|report: it is made to be sent, and shows no secrets; leave --show-secrets out
3|export --storage non|@/var/non.db: no such storage; check the name, or add --create
4|reset --storage non|@/var/non.db: no such storage; check the name, or add --create
END
    install -m 700 /dev/null "$box/file"
    TMPDIR=$box/file says <<<'3|export|@/file: no scratch directory: Not a directory; set TMPDIR to a directory that only this user can write'
    printf '\33\n' >"$box/given"
    says <<'END'
3|import @/given|@/given: malformed, line 1; correct the text, then try again
3|diff --with @/given|@/given: malformed, line 1; correct the text, then try again
END
    rm "$custom"
    says <<<'0|reset|@/var/custom.conf: nothing is to be reset'
}

# Does what "says" does for a text of several lines, which follow.
says_lines()
{
    local words=$2
    eval "expect $1 ${words//@/$box}"
    sed "s,@/,$box/,g" | diff - <(printf '%s\n' "$output")
}

@test "each of the settings that cannot move is said with what to do" {
    local colour='@Variant(\\0\\0\\0\\x43\\x1\\xff\\xff\\0\\0\\0\\0\\0\\0\\0\\0)'
    printf "[A]\nx=\xff\n//=1\ncolour=$colour\n[%%general]\ny=1\n[General]\n%%2F=1\n[Logging]\nlevel=verbose\n[\xff]\n" >"$box/given"
    says_lines 2 "import @/given" <<'END'
stbconfig: line 2: it is not UTF-8; write it in UTF-8
stbconfig: line 11: it is not UTF-8; write it in UTF-8
stbconfig: A/colour: its type is one that only the application knows; leave it out
stbconfig: /: a file cannot express this name; name a key
stbconfig: A///: a file cannot express this name; use A
stbconfig: general/y: a file cannot express this group; use General/y
stbconfig: Logging/level: reads as critical; use critical, error, warning, info, debug, trace or 0 to 5
stbconfig: @/given: nothing is imported, refused: 7; correct these, or choose others with --only
END
    printf "[A]\nnumber=@Variant(\\\\0\\\\0\\\\0\\\\x2\\\\0\\\\0\\\\0\\\\x5)\n" >"$box/given"
    says_lines 3 "diff --with @/given" <<'END'
stbconfig: A/number: a file does not give this value back; write it otherwise
stbconfig: @/given: holds settings that no box can hold; correct the file
END
    printf "[User]\npin=1\n[ui]\ncolour=$colour\n\\\\odd=2\n" >"$custom"
    says_lines 1 export <<'END'
stbconfig: ui/colour: left out: its type is one that only the application can write
stbconfig: ui//odd: left out: a file cannot express this name
stbconfig: export: secrets left out: 1; add --show-secrets to export them
END
    rm "$custom"
    printf "[ui]\ncolour=$colour\nplain=1\n[other]\nx=1\n" >"$defaults"
    says_lines 1 "export --effective ui" <<'END'
stbconfig: ui/colour: left out: its type is one that only the application can write
[ui]
; StbappConfDefault
plain=1
END
}

@test "what moves is said, and what that does not do" {
    printf '[Network]\nssid=home\n[User]\npin=1\n[Video]\noutput=scart\n' >"$custom"
    printf '[a]\nb=1\nc=2\n' >"$box/var/epg.db"
    printf '[Network]\nssid=away\nnew=1\n' >"$box/given"
    says_lines 0 "reset --storage epg --keep a/b" <<'END'
stbconfig: @/var/epg.db: settings reset: 1, left as they are: 1; restart a running application: until then it goes on with the old ones, and may write them again
stbconfig: @/var/epg.db: this is no secure erase: the disk may still hold the old values
reset  a/c  not set
kept   a/b  1 from @/var/epg.db
END
    says_lines 0 "reset Video --keep Video" <<'END'
stbconfig: @/var/custom.conf: nothing is to be reset
kept  Video/output  scart from CustomConfPersistent
END
    says_lines 0 "import -v --replace @/given" <<'END'
stbconfig: @/var/custom.conf: secrets that were not given and are removed: 1; export --show-secrets gives them
stbconfig: @/var/custom.conf: settings that change: 4; a running application sees that when it restarts or next writes that file
added    Network/new   1
changed  Network/ssid  away (was home)
removed  User/pin      was ********
removed  Video/output  was scart
END
}

# Compares what "check" finds. With Qt 6, leaves out what only Qt 5 finds.
finds()
{
    local wanted=$1
    expect "$wanted" check
    sed "s,@,$box,g" | if [ "$QT_MAJOR" = 5 ]; then cat; else grep -v non-ascii; fi |
        diff - <(printf '%s\n' "$output")
}

@test "each finding says where it is, what is wrong and what to do" {
    chmod 600 "$defaults"
    printf '%s\n' '; a comment' '[Video]' output=hdmi Output=x mode=no 'list=a, b' 'cut=a;b' 'cut=a ;b' '#hash=1' \
        'typed=@Variant(\0\0\0\x2\0\0\0\x5)' $'text=\303\244' '[Logging]' level=verbose responseLengthLimit=abc \
        '[Profile]' locale=nonsense '[User]' pin=1 $'tab=a\t;b' >"$custom"
    chmod 644 "$custom"
    printf '%s\n' '[Video]' output=hdmi mode=off $'text=\303\244' 'typed=@Variant(\0\0\0\x2\0\0\0\x5)' dup=1 dup=1 \
        '[Logging]' level=verbose '[Profile]' locale=nonsense >"$defaults"
    export STBAPP_VIDEO_OUTPUT='' STBAPP_LOGGING_LEVEL=1 STBAPP_VIDE_OUTPUT=1 STBAPP_VIDEO_MODE=off \
        STBAPP_PROFILE_LOCALE=xx STBAPP_FOREIGN_NAME_OF_ANOTHER_KIND=1 STBAPP_VIDEO_LIDE=1
    finds 1 <<'END'
warning comment: @/var/custom.conf:1: the next write drops this comment; keep it elsewhere
warning unquoted-comma: @/var/custom.conf:6: makes a list, whose text is empty; quote the value unless a list is meant
warning cut-value: @/var/custom.conf:7: the value ends at the ";"; quote the value
warning duplicate: @/var/custom.conf:8: the entry is there twice, and this one counts; remove the one that is not meant
warning comment: @/var/custom.conf:8: the next write drops this comment; keep it elsewhere
warning hash-line: @/var/custom.conf:9: a "#" line is an entry; begin comments with ";"
warning typed-value: @/var/custom.conf:10: can end the process that reads it; let nobody but the application write the file
warning non-ascii: @/var/custom.conf:11: read as Latin-1, not as UTF-8; use stbconfig set
warning comment: @/var/custom.conf:19: the next write drops this comment; keep it elsewhere
warning non-ascii: @/etc/stbapp.conf:4: read as Latin-1, not as UTF-8; write \x escapes in the image
warning typed-value: @/etc/stbapp.conf:5: can end the process that reads it; correct it in the image
warning duplicate: @/etc/stbapp.conf:7: the entry is there twice, and this one counts; remove the one that is not meant
warning readable-secret: @/var/custom.conf: User/pin can be read by everybody; take the file's permissions from others
warning case-only: Video/Output: differs from Video/output only in case; keep one spelling
warning shared-variable: STBAPP_VIDEO_OUTPUT: stands for Video/Output and Video/output; rename one of them
warning unknown-variable: STBAPP_FOREIGN_NAME_OF_ANOTHER_KIND: matches no known setting; correct the name
warning logging-variable: STBAPP_LOGGING_LEVEL: the logging reader ignores the environment; use stbconfig logging
warning shadowed-variable: STBAPP_LOGGING_LEVEL: shadowed by CustomConfPersistent; unset the custom setting or the variable
warning c-locale: STBAPP_PROFILE_LOCALE: gives the C locale; correct the variable: a locale's name, such as ru or en_GB
warning shadowed-variable: STBAPP_PROFILE_LOCALE: shadowed by CustomConfPersistent; unset the custom setting or the variable
warning unknown-variable: STBAPP_VIDEO_LIDE: matches no known setting, nearest is STBAPP_VIDEO_LIST; correct the name
warning boolean-word: STBAPP_VIDEO_MODE: reads as true; correct the variable: true or false
warning shadowed-variable: STBAPP_VIDEO_MODE: shadowed by CustomConfPersistent; unset the custom setting or the variable
warning shadowed-variable: STBAPP_VIDEO_OUTPUT: shadowed by CustomConfPersistent; unset the custom setting or the variable
warning empty-variable: STBAPP_VIDEO_OUTPUT: is empty, yet answers; unset it to let the next location answer
warning shadowed-variable: STBAPP_VIDEO_OUTPUT: shadowed by CustomConfPersistent; unset the custom setting or the variable
warning empty-variable: STBAPP_VIDEO_OUTPUT: is empty, yet answers; unset it to let the next location answer
warning unknown-variable: STBAPP_VIDE_OUTPUT: matches no known setting, nearest is STBAPP_VIDEO_OUTPUT; correct the name
warning logging-value: @/var/custom.conf: Logging/level: reads as critical; use stbconfig logging
note redundant: @/var/custom.conf: Logging/level: equals the default; remove it with unset --redundant
warning logging-value: @/var/custom.conf: Logging/responseLengthLimit: is no number and would be skipped; use stbconfig logging
note no-default: @/var/custom.conf: Logging/responseLengthLimit: the defaults lack it; check the spelling
warning c-locale: @/var/custom.conf: Profile/locale: gives the C locale; set a locale's name, such as ru or en_GB
note redundant: @/var/custom.conf: Profile/locale: equals the default; remove it with unset --redundant
note no-default: @/var/custom.conf: User/pin: the defaults lack it; check the spelling
note no-default: @/var/custom.conf: User/tab: the defaults lack it; check the spelling
note no-default: @/var/custom.conf: Video/#hash: the defaults lack it; check the spelling
note no-default: @/var/custom.conf: Video/Output: the defaults lack it; check the spelling
note no-default: @/var/custom.conf: Video/cut: the defaults lack it; check the spelling
note no-default: @/var/custom.conf: Video/list: the defaults lack it; check the spelling
warning boolean-word: @/var/custom.conf: Video/mode: reads as true; write true or false
note redundant: @/var/custom.conf: Video/output: equals the default; remove it with unset --redundant
note redundant: @/var/custom.conf: Video/text: equals the default; remove it with unset --redundant
note redundant: @/var/custom.conf: Video/typed: equals the default; remove it with unset --redundant
warning logging-value: @/etc/stbapp.conf: Logging/level: reads as critical; correct it in the image
warning c-locale: @/etc/stbapp.conf: Profile/locale: gives the C locale; correct it in the image: a locale's name, such as ru or en_GB
warning boolean-word: @/etc/stbapp.conf: Video/mode: reads as true; correct it in the image: true or false
END
}

@test "a broken line, a lock and what is missing are found with what to do" {
    printf '[a]\nbroken\nb="open\n\nc=1\n' >"$custom"
    : >"$custom.lock"
    rm "$defaults"
    finds 3 <<'END'
warning left-over-lock: @/var/custom.conf.lock: an empty or unreadable lock can hold a write for some 30 seconds; remove it if no process holds it
error malformed: @/var/custom.conf:2: no section and no entry; correct or remove the line
warning open-quote: @/var/custom.conf:3: an unclosed quote takes in the following lines; close it, or write \" for a quote that is meant
note missing: @/etc/stbapp.conf: no such file; put it into the image, unless there are no defaults
note no-default: @/var/custom.conf: a/b: the defaults lack it; check the spelling
END
    rm "$custom" "$custom.lock"
    finds 0 <<'END'
note missing: @/var/custom.conf: no such file; nothing, unless settings were stored here
note missing: @/etc/stbapp.conf: no such file; put it into the image, unless there are no defaults
END
}

@test "what has a meaning of its own is not found to be something else" {
    chmod 600 "$defaults"
    printf '%s\n' '[Logging]' jsonFormattingEnabled=off '[Profile]' locale=C name=x >"$custom"
    finds 1 <<'END'
warning logging-value: @/var/custom.conf: Logging/jsonFormattingEnabled: reads as true; use stbconfig logging
note no-default: @/var/custom.conf: Logging/jsonFormattingEnabled: the defaults lack it; check the spelling
note no-default: @/var/custom.conf: Profile/locale: the defaults lack it; check the spelling
note no-default: @/var/custom.conf: Profile/name: the defaults lack it; check the spelling
END
}
