# shellcheck shell=bash
# Completion of quorvel, quorvel-view and quorvel-report in bash. Each program prints its own options.

# Sets COMPREPLY to the words of the list $1 that begin with $2.
_quorvel_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2")
}

# Sets COMPREPLY to the files and folders that begin with $1.
_quorvel_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

# Sets COMPREPLY to the options of the program $1 that begin with $2.
_quorvel_options() {
    _quorvel_words "$("$1" --help 2>/dev/null | grep -o -E -e '--[a-z-]+')" "$2"
}

# Arguments, as for every completion function: the program, the word, the word before it.
_quorvel() {
    case $2 in
        -*) _quorvel_options "$1" "$2" ;;
        *) _quorvel_words EXEPARAM=CLOSE "$2" ;;
    esac
}

_quorvel_with_files() {
    case $3 in
        -f | --format)
            _quorvel_words 'text json html csv trace' "$2"
            return
            ;;
        -t | --time-unit)
            _quorvel_words 'us ms s' "$2"
            return
            ;;
    esac
    case $2 in
        -*) _quorvel_options "$1" "$2" ;;
        *) _quorvel_files "$2" ;;
    esac
}

complete -F _quorvel quorvel
complete -F _quorvel_with_files quorvel-view quorvel-report
