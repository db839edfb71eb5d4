#compdef ostrel-pci
# zsh completion for ostrel-pci: asks the command itself.

local line
local -a offers
for line in ${(f)"$($words[1] --complete "${(@)words[2,CURRENT]}" 2>/dev/null)"}; do
    case $line in
        :files) _files ;;
        :folders) _files -/ ;;
        *$'\t'*) offers+=("${${line%%$'\t'*}//:/\\:}:${line#*$'\t'}") ;;
        *) offers+=("${line//:/\\:}") ;;
    esac
done
_describe -V ostrel-pci offers
