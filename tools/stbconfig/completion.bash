# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

_stbconfig()
{
    local current=${COMP_WORDS[COMP_CWORD]} command='' word
    local -a prefixes=()
    local i
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        case $word in
            --persistent | --defaults | --root | --env-file | --pid)
                prefixes+=("$word" "${COMP_WORDS[i + 1]}")
                ((i++))
                ;;
            --no-env) prefixes+=("$word") ;;
            -*) ;;
            *)
                command=$word
                break
                ;;
        esac
    done
    local words=
    case $command in
        '') words='get explain list diff set unset logging locale locations check completion' ;;
        unset)
            words=$("${COMP_WORDS[0]}" "${prefixes[@]}" list --keys --from Custom 2>/dev/null)
            ;;
        get | explain | set)
            words=$("${COMP_WORDS[0]}" "${prefixes[@]}" list --keys 2>/dev/null)
            ;;
        logging) words='level responseLengthLimit jsonFormattingEnabled imageRequestsEnabled' ;;
        completion) words=bash ;;
    esac
    local IFS=$'\n'
    # One name per line; the groups too, for GROUP KEY and --group.
    case $command in
        get | explain | set | unset)
            if ((COMP_CWORD == i + 1)); then
                mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
            else
                word=${COMP_WORDS[COMP_CWORD - 1]}
                words=$(sed -n "s|^$word/||p" <<<"$words")
                mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
            fi
            ;;
        *) mapfile -t COMPREPLY < <(compgen -W "${words// /$'\n'}" -- "$current") ;;
    esac
}
complete -F _stbconfig stbconfig
