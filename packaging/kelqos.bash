# shellcheck shell=bash
# Completion of kelqos's command line for bash. Goes to /usr/share/bash-completion/completions/kelqos

# The interfaces in the agent's own words: the lines "NAME:" of its tables.
_kelqos_interfaces() {
    local -a at=()
    [[ $1 ]] && at=(--socket "$1")
    kelqos show tm "${at[@]}" 2>/dev/null |
        sed -n '/^Unbound PPGs/d; s/^\([^ ]*\):$/\1/p'
}

# The words of `kelqos show` that can follow those that are there.
_kelqos_show() {
    local socket=$1
    shift
    case "$*" in
        "") printf '%s\n' tm buf document ;;
        tm) printf '%s\n' intf queue blocklevel nonzero ;;
        "tm queue") printf '%s\n' status ;;
        "tm intf") _kelqos_interfaces "$socket" ;;
        "tm blocklevel") printf '%s\n' nonzero ;;
        "tm intf "*) [[ $# == 3 ]] && printf '%s\n' nonzero ;;
    esac
}

_kelqos() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local subcommand='' socket='' candidates='' i
    local -a words=()
    COMPREPLY=()

    case $previous in
        --config | --socket | --svg)
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            return
            ;;
        --trace) return ;;
    esac

    # The words in front of the cursor that are no options.
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
            --socket) socket=${COMP_WORDS[++i]} ;;
            --config | --trace | --svg) ((++i)) ;;
            -*) ;;
            *)
                if [[ $subcommand ]]; then
                    words+=("${COMP_WORDS[i]}")
                else
                    subcommand=${COMP_WORDS[i]}
                fi
                ;;
        esac
    done

    case $subcommand in
        "") candidates="agent check clear diff feed play reload ring show --help --version" ;;
        agent) candidates="--config --socket --trace --foreground --supervise --help" ;;
        play) candidates="--trace --help" ;;
        check) candidates="--json --svg --help" ;;
        diff) candidates="--json --calls --exit-code --help" ;;
        reload) candidates="--dry-run --json --calls --exit-code --socket --help" ;;
        show) candidates="$(_kelqos_show "$socket" "${words[@]}") --socket --help" ;;
        clear) candidates="$( ((${#words[@]})) || echo counters ) --socket --help" ;;
        *) candidates="--socket --help" ;;
    esac
    if [[ $subcommand == @(play|feed|check|diff) && $current != -* ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
    fi
    mapfile -t COMPREPLY < <(compgen -W "$candidates" -- "$current")
}

complete -o filenames -F _kelqos kelqos
