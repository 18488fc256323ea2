#!/bin/bash
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

set -eu

# This reads one setting. Status 1 means that nobody holds it, 3 that a file cannot be read.
volume=$(stbconfig get Audio/volume --as int --default 30)
echo "volume $volume"

# This reads all settings. A record ends with NUL, and two fields with a tabulator; the rest is the value.
declare -A settings
while IFS= read -r -d '' record; do
    rest=${record#*$'\t'}
    settings[${record%%$'\t'*}]=${rest#*$'\t'}
done < <(stbconfig -0 list)
wait $! # set -e does not see that stbconfig fails

echo "title ${settings[Video/title]}"
