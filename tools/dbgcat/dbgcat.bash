# Completion of dbgcat for bash.

_dbgcat() {
    local word=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]}
    local levels="TRACE INFO WARN ERROR CRITICAL FATAL MEMORY_ALLOC MEMORY_FREE TIME_TRACE LOAD
        CONF JITTER ACCOUNTING EVENT CONT_LOG DEVEL"
    local options="--level= --mask= --module= --thread= --function= --text= --since= --until=
        --last= --follow --verbose --with-filename --json --xml --csv --stats --metrics --timing
        --report= --color= --escape= --help --version"

    # bash makes words of their own of an option, its "=" and its value.
    if [ "$word" = "=" ]; then
        word=""
    elif [ "$option" = "=" ]; then
        option=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $option in
        --color | --escape)
            mapfile -t COMPREPLY < <(compgen -W "auto always never" -- "$word")
            return
            ;;
        -l | --level)
            local before=""
            [ "$word" = "${word%,*}" ] || before=${word%,*},
            mapfile -t COMPREPLY < <(compgen -P "$before" -W "$levels" -- "${word##*,}")
            return
            ;;
        --report)
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
            ;;
        -m | --mask | -M | --module | -T | --thread | -F | --function | -e | --text | --since | \
            --until | -n | --last)
            return
            ;;
    esac
    case $word in
        -*)
            mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
            [ "${COMPREPLY[0]}" = "${COMPREPLY[0]%=}" ] || compopt -o nospace
            ;;
        *)
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            ;;
    esac
}

complete -F _dbgcat dbgcat
