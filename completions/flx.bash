# bash completion for flx(1)
_flx() {
    local cur prev words cword
    _init_completion -n = || return

    local command=${words[1]-}
    if [ "$cword" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W 'run dump check ops --help' -- "$cur")
        return
    fi

    case $prev in
        --frames | --frame | --net | --set) return ;;
        --cook-order)
            mapfile -t COMPREPLY < <(compgen -W 'chunk operator' -- "$cur")
            return
            ;;
        --out | --profile-json)
            _filedir
            return
            ;;
    esac

    local options='--help'
    case $command in
        run) options+=' --frames --out --net --set --cook-order --json --quiet --profile --profile-json' ;;
        dump) options+=' --frame --net --set --cook-order --guides' ;;
        ops) options+=' --functions --json' ;;
    esac

    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
    elif [ "$command" = ops ]; then
        mapfile -t COMPREPLY < <(compgen -W "$("${words[0]}" ops --json 2>/dev/null | tr -d ' \n' |
            grep -oE '"name":"[A-Za-z0-9_]+","label"' | cut -d '"' -f 4)" -- "$cur")
    else
        _filedir json
    fi
} && complete -F _flx flx
