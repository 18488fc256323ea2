# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

load support

# Makes an image, and beside it what its links must not reach.
image()
{
    unset persistent defaults # inside() takes these, if a test sets them
    image=$box/image
    host=$box/host
    mkdir -p "$image/data" "$image/etc/stbapp" "$host"
    printf '[Video]\noutput=image\n' >"$image/etc/stbapp/stbapp.conf"
    printf '[Video]\noutput=host\n' >"$host/custom.conf"
    cp "$host/custom.conf" "$host/stbapp.conf"
    cp "$host/custom.conf" "$host/epg.db"
    before=$(listing)
    unset STBCONFIG_PERSISTENT_PREFIX STBCONFIG_DEFAULTS_PREFIX
}

# Lists what is outside, with its contents.
listing() { (cd "$host" && find . -type f -exec md5sum {} + | sort); }

# Given a status and words, expects the status in the image, and nothing of the host's.
inside()
{
    local wanted=$1
    shift
    STBCONFIG_PERSISTENT_PREFIX=${persistent-/data/} STBCONFIG_DEFAULTS_PREFIX=${defaults-/etc/stbapp/} \
        expect "$wanted" --root "$image" "$@"
    [ "$(listing)" = "$before" ] || { echo "$*: changed $(listing)"; return 1; }
    [[ $output != *=host* && $output != host && $output != *' host'* ]] || { echo "$*: $output"; return 1; }
}

@test "an image is read and written in its own directory" {
    image
    inside 0 get Video output
    [ "$output" = image ]
    inside 0 set Video output scart
    grep -qx output=scart "$image/data/custom.conf"
    inside 0 set Video output scart --storage epg --create
    grep -qx output=scart "$image/data/epg.db"
    persistent=/data/new/deep/ inside 0 set Video output scart
    grep -qx output=scart "$image/data/new/deep/custom.conf"
}

@test "a link of a directory leads to the image's own, absolute or upwards" {
    image
    rm -r "$image/data"
    mkdir -p "$image$host"
    up=../../../../../../../../../..
    for target in "$host" "$up$host" "/..$host" "/$up/$host/" "./$up$host/."; do
        ln -sfn "$target" "$image/data"
        inside 1 unset Video output
        inside 0 set Video output scart
        grep -qx output=scart "$image$host/custom.conf"
        inside 0 get Video output
        [ "$output" = scart ]
        rm "$image$host/custom.conf"
    done
}

@test "a chain of links leads to the image's own directory" {
    image
    rm -r "$image/data"
    mkdir -p "$image$host" "$image/mnt"
    ln -s /mnt/second "$image/data"
    ln -s ../third "$image/mnt/second"
    ln -s "$host" "$image/third"
    inside 0 set Video output scart
    grep -qx output=scart "$image$host/custom.conf"
}

@test "a link of a directory to a missing one is made inside the image" {
    image
    rm -r "$image/data"
    ln -s "$host/new/" "$image/data"
    inside 0 set Video output scart
    [ -e "$image$host/new/custom.conf" ]
}

@test "a file's link that leads out of the image is refused" {
    image
    up=../../../../../../../../../..
    for file in data/custom.conf etc/stbapp/stbapp.conf; do
        [ -e "$image/$file" ] && mv "$image/$file" "$box/saved"
        for target in "$host/${file##*/}" "$up$host/${file##*/}" "$host/new" "$up$host/new" ../../../host/custom.conf \
            "missing/../$up$host/new"; do
            ln -sfn "$target" "$image/$file"
            for words in "get Video output --default 1" list "explain Video output" diff "set Video output 1" check; do
                inside 3 $words
                [[ $output == *"$image/$file: leads out of the image"* ]] || { echo "$output"; return 1; }
            done
        done
        rm "$image/$file"
        [ ! -e "$box/saved" ] || mv "$box/saved" "$image/$file"
    done
}

@test "a storage's link that leads out of the image is refused" {
    image
    for target in "$host/epg.db" ../../host/epg.db "$host/new"; do
        ln -sfn "$target" "$image/data/epg.db"
        for words in "get Video output --storage epg --default 1" "list --storage epg" \
            "set Video output 1 --storage epg --create" "unset Video output --storage epg" check; do
            inside 3 $words
            [[ $output == *"$image/data/epg.db: leads out of the image"* ]]
        done
        inside 0 locations
        ln -sfn "$target" "$image/data/ravel.db"
        inside 3 list
        rm "$image/data/ravel.db"
    done
}

@test "a file's link inside the image is followed" {
    image
    ln -s ../data/real.conf "$image/data/custom.conf"
    inside 0 set Video output scart
    [ -L "$image/data/custom.conf" ]
    grep -qx output=scart "$image/data/real.conf"
    inside 0 get Video output
    [ "$output" = scart ]
}

@test "a link through a name that is no UTF-8 leads out neither" {
    image
    ln -s / "$image/data/"$'\xff'
    for target in $'\xff'"$host/custom.conf" $'/data/\xff'"$host/custom.conf"; do
        ln -sfn "$target" "$image/data/custom.conf"
        for words in "get Video output --default 1" list "set Video output 1"; do
            inside 3 $words
        done
    done
    rm "$image/data/custom.conf"
    mkdir "$image/other"
    ln -s "$host" "$image/other/"$'\xff'
    rmdir "$image/data" 2>/dev/null || rm -r "$image/data"
    ln -s $'other/\xff' "$image/data"
    inside 0 get Video output --default 1
    run "$STBCONFIG" --root "$image" --persistent /data/ --defaults /etc/stbapp/ set Video output 1
    [ "$(listing)" = "$before" ]
}

@test "a storage's name leads out of the image neither" {
    image
    for name in ../../host/epg ../../host/new "/../../host/epg"; do
        inside 3 get Video output --storage "$name" --default 1
        inside 3 list --storage "$name"
        inside 3 set Video output 1 --storage "$name" --create
    done
}

@test "a lock's link opens nothing outside of the image" {
    image
    touch -d '1 minute ago' "$host/custom.conf"
    for suffix in lock lock.rmlock; do
        [ $suffix = lock ] || touch -d '1 minute ago' "$image/data/custom.conf.lock"
        ln -s ../../host/custom.conf "$image/data/custom.conf.$suffix"
        inside 4 set Video output 1
        [[ $output == *"custom.conf.$suffix: not saved: a symbolic link holds every write; remove it" ]]
        rm "$image/data/custom.conf.$suffix"
    done
}

@test "a root that is no directory is unreadable and is not made" {
    image
    cd "$host"
    ln -s loop "$box/loop"
    ln -s nowhere "$box/dangling"
    for root in "$box/none" "$box/none/deep" "$host/custom.conf" "$host/custom.conf/x" "$box/loop" "$box/dangling" '' \
        "$(printf %300s x | tr ' ' x)"; do
        for words in "get Video output --default 1" "set Video output 1" "set a b 1 --storage epg --create" check list; do
            expect 3 --root "$root" $words
            [[ $output == *"; give --root the directory of an unpacked image" ]]
        done
    done
    [ ! -e "$box/none" ]
    [ ! -e "$box/nowhere" ]
    [ "$(listing)" = "$before" ]
}

@test "the root may be relative, a link, or have dots and slashes" {
    image
    cd "$box"
    ln -s image link
    for root in image ./image image/ image/. image//etc/.. link link/ "$box/link/."; do
        expect 0 --root "$root" --persistent /data/ --defaults /etc/stbapp/ get Video output
        [ "$output" = image ]
    done
    ln -s "$image" "$host/link"
    expect 0 --root host/link --persistent /data/ --defaults /etc/stbapp/ set Video output 1
    [ -e "$image/data/custom.conf" ]
    cd "$image"
    expect 0 --root . --persistent /data/ --defaults /etc/stbapp/ get Video output
    [ "$output" = 1 ]
}

@test "the whole machine is an image too" {
    image
    expect 0 --root / --persistent "$host/" --defaults "$image/etc/stbapp/" get Video output
    [ "$output" = host ]
    expect 0 --root / --persistent "$image/data/" --defaults "$image/etc/stbapp/" set a b 1
    grep -qx b=1 "$image/data/custom.conf"
    expect 0 --root / --persistent / --defaults / locations
    [[ $output == *" /custom.conf"$'\n'* && $output == *" /stbapp.conf"$'\n'* ]]
}

@test "a prefix needs no slash at its beginning, and may begin the files' names" {
    image
    persistent=data/box_ inside 0 set Video output scart
    grep -qx output=scart "$image/data/box_custom.conf"
    persistent=/data/box_ inside 0 set Video output vga --storage epg --create
    [ -e "$image/data/box_epg.db" ]
    persistent=data/box_ inside 0 get Video output
    [ "$output" = scart ]
    persistent=none defaults=etc/stbapp/ inside 0 get Video output
    [ "$output" = image ]
    inside 0 set Video output 1 --persistent ''
    [ -e "$image/custom.conf" ]
}

@test "a prefix that leads upwards stays inside the image" {
    image
    for persistent in /../../host/ ../host/ /data/../../../host/ ../; do
        inside 0 set Video output 1
    done
    [ -e "$image/host/custom.conf" ]
    [ -e "$image/custom.conf" ]
}

@test "a prefix that loops or leads through a file is unreadable" {
    image
    ln -s loop "$image/loop"
    for persistent in /loop/ /etc/stbapp/stbapp.conf/; do
        for words in "get Video output --default 1" "set Video output 1" list; do
            inside 3 $words
        done
    done
}

@test "an image has no variables unless they are named" {
    image
    STBAPP_VIDEO_COLOR=red inside 1 get Video color
    STBAPP_VIDEO_COLOR=red inside 0 list
    [[ $output != *red* ]]
    printf 'STBAPP_VIDEO_COLOR=blue\n' >"$box/variables"
    inside 0 get Video color --env-file "$box/variables"
    [ "$output" = blue ]
}
