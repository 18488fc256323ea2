#compdef stbconfig stbconfig-qt6
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# The command itself says what may come next. zsh quotes it, and runs none of it.
_stbconfig()
{
    # Quotes are removed, and nothing is expanded but "~/". The last quote may still be open.
    local -a before=("${(@Q)${(@)words[1,CURRENT-1]/#\~\//${(q)HOME}/}}")
    local word=$PREFIX
    [[ $QIPREFIX ]] || word=${word/#\~\//${(q)HOME}/}
    local -a all=("${(@f)$(command -- "${before[1]}" complete -- "${(@)before[2,-1]}" \
        "${(Q)${:-$QIPREFIX$word${compstate[quote]}}}" 2>/dev/null)}")
    # Behind a group or a directory, the word goes on, so no blank follows.
    local -a open=("${(@M)all:#*/}") whole=("${(@)all:#(|*/)}")
    compadd -U -S '' -a -- open
    compadd -U -a -- whole
}

# zsh runs this script as the function when it loads it by itself; a sourced script only defines it.
if [[ ${funcstack[1]} == _stbconfig* ]]; then
    _stbconfig "$@"
else
    compdef _stbconfig stbconfig stbconfig-qt6
fi
