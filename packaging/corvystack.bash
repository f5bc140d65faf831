# Completion of corvystack for bash. The program tells its commands and options itself.
_corvystack() {
    local current=${COMP_WORDS[COMP_CWORD]} program=${COMP_WORDS[0]} words
    if [ "$COMP_CWORD" -eq 1 ]; then
        words=$("$program" --commands 2>/dev/null)
    elif [[ $current == -* || $COMP_CWORD -eq 2 ]]; then
        words=$("$program" "${COMP_WORDS[1]}" --completion-words 2>/dev/null)
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    [ "$COMP_CWORD" -eq 1 ] || [[ $current == -* ]] || mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY \
        < <(compgen -f -- "$current")
}
complete -o filenames -F _corvystack corvystack
