# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# The command itself says what may come next. bash gets it quoted, and runs none of it.

# Takes the line up to the cursor apart, as the shell does, but expands nothing except "~/". COMP_WORDS
# would not do, because they also end at each ":" and "=". Sets these for the caller: words, without their
# quotes; quote, the one that is open; kept, how much of the last word readline leaves in its place.
_stbconfig_split()
{
    local line=$1 character i outside=0 has_begun=''
    words=('') quote='' kept=0
    for ((i = 0; i < ${#line}; i++)); do
        character=${line:i:1}
        case $quote$character in
            [[:blank:]])
                [[ ! $has_begun ]] || words+=('')
                has_begun='' kept=0
                continue
                ;;
            \'\' | \"\")
                quote='' kept=$outside
                ;;
            \' | \")
                quote=$character outside=$kept kept=${#words[-1]}
                ;;
            \\ | \"\\)
                if [[ ! $quote || ${line:i+1:1} == [\\\"\$\`] ]]; then
                    ((++i))
                    character=${line:i:1}
                fi
                words[-1]+=$character
                ;;
            \$)
                [[ ${line:i+1:1} != [\'\"] ]] || return 1 # a kind of quote that readline does not know
                words[-1]+=$character
                ;;
            \~)
                [[ $has_begun || ${line:i+1:1} != / ]] || character=$HOME
                words[-1]+=$character
                ;;
            *)
                words[-1]+=$character
                [[ $quote || $COMP_WORDBREAKS != *"$character"* ]] || kept=${#words[-1]}
                ;;
        esac
        has_begun=yes
    done
    return 0
}

# Quotes the candidates for the place behind the open quote. Changes all of them at once, because there
# may be a hundred thousand.
_stbconfig_quote()
{
    local quote=$1 all="${COMPREPLY[*]}" special='' character i
    case $quote in
        \')
            COMPREPLY=("${COMPREPLY[@]//"'"/"'\\''"}")
            ;;
        \")
            special='\"`$'
            ;;
        *)
            special='\"`$ !#&'\''()*;<>?[]^{|}~'
            ;;
    esac
    for ((i = 0; i < ${#special}; i++)); do
        character=${special:i:1}
        [[ $all != *"$character"* ]] ||
            COMPREPLY=("${COMPREPLY[@]//"$character"/"\\$character"}")
    done
    # Between double quotes, the shell would still take "!" for a word of the history.
    [[ $quote != \" ]] || COMPREPLY=("${COMPREPLY[@]//'!'/'"\!"'}")
    # readline takes a quote at the beginning for the one that is open.
    [[ ! $quote ]] || COMPREPLY=("${COMPREPLY[@]/#"$quote"/"$quote$quote"}")
}

_stbconfig()
{
    local -a words
    local quote kept
    COMPREPLY=()
    _stbconfig_split "${COMP_LINE:0:COMP_POINT}" || return 0
    mapfile -t COMPREPLY < <(command -- "${words[0]}" complete -- "${words[@]:1}" 2>/dev/null)
    # Behind a group or a directory, the word goes on, so no blank follows.
    [[ ${#COMPREPLY[@]} != 1 || ${COMPREPLY[0]} != */ ]] || compopt -o nospace
    COMPREPLY=("${COMPREPLY[@]#"${words[-1]:0:kept}"}")
    _stbconfig_quote "$quote"
}
complete -F _stbconfig stbconfig stbconfig-qt6
