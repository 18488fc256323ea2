# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
# shellcheck shell=sh
#
# What the scripts share. A script first goes to the top folder, then reads this.

program=${0##*/}

# fail MESSAGE...
fail() {
    echo "$program: $*" >&2
    exit 1
}

# skip MESSAGE...: for what says nothing about this project, such as a network that fails.
skip() {
    echo "SKIPPED: $program: $*; nothing was tested" >&2
    exit 75
}

# logged LOG COMMAND...: keeps in LOG what the command says, and shows it if the command fails.
# Uses no variable, because the command may be a function that has one of the same name.
logged() {
    mkdir -p "${1%/*}"
    (shift && "$@") >"$1" 2>&1 || {
        set -- "$1" $?
        cat "$1" >&2
        return "$2"
    }
}

# configured_and_built FOLDER PRESET [OPTION...]: the preset names the options that the script does not.
configured_and_built() (
    folder=$1
    preset=$2
    shift 2
    cmake --preset "$preset" -B "$folder" "$@" && cmake --build "$folder"
)

# copy_tree FOLDER: what git would commit, and nothing that was built.
copy_tree() {
    mkdir -p "$1"
    git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -P -t "$1"
}
