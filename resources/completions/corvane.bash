# Completion of corvane for bash: commands, options, and the files that each takes.

# Offers folders, and files whose name ends in one of the given extensions.
_corvane_files() {
    local extension
    mapfile -t COMPREPLY < <(
        compgen -d -- "$word"
        for extension in "$@"; do compgen -f -X "!*.$extension" -- "$word"; done)
    compopt -o filenames 2>/dev/null
}

_corvane_words() {
    mapfile -t COMPREPLY < <(compgen -W "$*" -- "$word")
}

_corvane_export() {
    case "$previous" in
        -o | --output) _corvane_files stl obj ply vtk ;;
        --params) _corvane_files json ;;
        --backend) _corvane_words cpu gpu native ;;
        --cell-size) ;;
        export) if [[ $word == -* ]]; then _corvane_words --help; else _corvane_files corvane; fi ;;
        *) _corvane_words -o --output --params --backend --cell-size --error-on-empty --help ;;
    esac
}

_corvane_zirn() {
    case "$previous" in
        -o | --output) _corvane_files corvane ;;
        zirn) if [[ $word == -* ]]; then _corvane_words --help; else _corvane_files json; fi ;;
        *) if [[ $word == -* ]]; then _corvane_words -o --output --help; else _corvane_files corvane; fi ;;
    esac
}

_corvane() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        _corvane_words schema validate export zirn gui help --version --help
        return
    fi
    case "${COMP_WORDS[1]}" in
        export) _corvane_export ;;
        zirn) _corvane_zirn ;;
        schema | validate)
            if [[ $word == -* ]]; then _corvane_words --help; elif [ "$COMP_CWORD" -eq 2 ]; then _corvane_files corvane; fi ;;
    esac
}

complete -F _corvane corvane
