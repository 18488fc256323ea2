# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

_stbconfig()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command='' word words settings options i
    local -a where=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        case $word in
            --persistent | --defaults | --root | --env-file | --pid)
                where+=("$word" "${COMP_WORDS[i + 1]}")
                ((i++))
                ;;
            --no-env) where+=("$word") ;;
            -*) ;;
            *)
                command=$word
                break
                ;;
        esac
    done

    local common='--persistent --defaults --root --no-env --env-file --pid --json --show-secrets'
    case $command in
        '') options="$common --help --version" ;;
        get) options="$common --default --from --as --storage --create" ;;
        list) options="$common --from --origin --keys --storage --create" ;;
        set) options="$common --type --dry-run --storage --create" ;;
        unset) options="$common --group --redundant --dry-run --storage --create" ;;
        *) options=$common ;;
    esac

    local -a list=("${COMP_WORDS[0]}" "${where[@]}" list --keys)
    [ "$command" != unset ] || list+=(--from Custom)
    case $command in
        get | explain | set | unset) settings=$("${list[@]}" 2>/dev/null) ;;
    esac

    local IFS=$'\n'
    case $previous in
        --from) words=$'CustomConfPersistent\nTemporaryApplicationStorage\nEnvironmentVariables\nStbappConfDefault' ;;
        --as | --type) words=$'text\nint\nbool\nlist' ;;
        --group) words=$(sed -n 's|/.*||p' <<<"$settings" | sort -u) ;;
        *)
            case $command in
                '') words=$'get\nexplain\nlist\ndiff\nset\nunset\nlogging\nlocale\nlocations\ncheck\ncompletion' ;;
                logging) words=$'level\nresponseLengthLimit\njsonFormattingEnabled\nimageRequestsEnabled' ;;
                completion) words=bash ;;
                get | explain | set | unset)
                    # GROUP/KEY or a group first, then the group's keys.
                    if ((COMP_CWORD == i + 1)); then
                        words=$settings$'\n'$(sed -n 's|/.*||p' <<<"$settings" | sort -u)
                    else
                        words=$(sed -n "s|^$previous/||p" <<<"$settings")
                    fi
                    ;;
            esac
            ;;
    esac
    [[ $current != -* ]] || words=${options// /$'\n'}
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -F _stbconfig stbconfig
