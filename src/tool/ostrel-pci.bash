# bash completion for ostrel-pci: asks the command itself.

_ostrel_pci() {
    local cur words cword line
    # Object paths and addresses hold colons and equals signs, which part words unless told otherwise.
    if declare -F _get_comp_words_by_ref >/dev/null; then
        _get_comp_words_by_ref -n := cur words cword
    else
        words=("${COMP_WORDS[@]}") cword=$COMP_CWORD cur=${COMP_WORDS[COMP_CWORD]}
    fi
    COMPREPLY=()
    while IFS= read -r line; do
        case $line in
            :files) mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "$cur") ;;
            :folders) mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -d -- "$cur") ;;
            *)
                COMPREPLY+=("${line%%$'\t'*}")
                continue
                ;;
        esac
        compopt -o filenames 2>/dev/null
    done < <("${words[0]}" --complete "${words[@]:1:cword}" 2>/dev/null)
    [[ $cur != *,* ]] || compopt -o nospace 2>/dev/null
    if declare -F __ltrim_colon_completions >/dev/null; then __ltrim_colon_completions "$cur"; fi
}

complete -F _ostrel_pci ostrel-pci
