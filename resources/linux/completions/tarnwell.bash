# bash completion for tarnwell

_tarnwell() {
    local cur prev words cword
    _init_completion || return

    local commands="stats clean settings crash-reports help"
    local command="" i
    for ((i = 1; i < cword; i++)); do
        case ${words[i]} in
            -*) ;;
            *) command=${words[i]}; break ;;
        esac
    done

    case $command in
        "")
            if [[ $cur == -* ]]; then
                COMPREPLY=($(compgen -W "--console --help --version" -- "$cur"))
            else
                COMPREPLY=($(compgen -W "$commands" -- "$cur"))
            fi
            ;;
        stats)
            [[ $prev == --watch && $cur != -* ]] && return
            COMPREPLY=($(compgen -W "--json --pretty --watch --help" -- "$cur"))
            ;;
        clean | crash-reports)
            COMPREPLY=($(compgen -W "--json --help" -- "$cur"))
            ;;
        settings)
            # Only the key is completed; values are the user's to type.
            if ((cword == i + 1)); then
                if [[ $cur == -* ]]; then
                    COMPREPLY=($(compgen -W "--reset --help" -- "$cur"))
                else
                    COMPREPLY=($(compgen -W "$("${words[0]}" settings --keys 2>/dev/null)" -- "$cur"))
                fi
            fi
            ;;
        help)
            ((cword == i + 1)) && COMPREPLY=($(compgen -W "${commands% help}" -- "$cur"))
            ;;
    esac
}
complete -F _tarnwell tarnwell
