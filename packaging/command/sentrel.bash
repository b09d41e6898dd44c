# SPDX-License-Identifier: Apache-2.0
# Completion of sentrel for bash.

_sentrel_fields() {
    # What stands before the last comma stays.
    local before=${1%"${1##*,}"}
    mapfile -t COMPREPLY < <(compgen -P "$before" -W "$(sentrel show --list-fields 2>/dev/null | cut -d' ' -f1)" -- "${1##*,}")
    compopt -o nospace
}

_sentrel() {
    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command= words i
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
        -*) ;;
        *)
            command=${COMP_WORDS[i]}
            break
            ;;
        esac
    done
    COMPREPLY=()
    case $before in
    --fields)
        _sentrel_fields "$current"
        return
        ;;
    --config)
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        compopt -o filenames
        return
        ;;
    --watch | --listen) return ;;
    esac
    case $command in
    '') words='show serve --help --version' ;;
    show)
        words='--all --fields --json --watch --list-fields --schema --help'
        [[ $current == -* ]] || words='cpu mem disk net battery gpu apps sensors host'
        ;;
    serve) words='--listen --config --list --help' ;;
    *) return ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _sentrel sentrel
