# bash completion for ostrel-pci

_ostrel_pci() {
    local cur prev word command=
    # Object paths hold colons and equals signs, which part words unless told otherwise.
    if declare -F _get_comp_words_by_ref >/dev/null; then
        _get_comp_words_by_ref -n := cur prev
    else
        cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
    fi

    local commands="classes enumerate ei ein get gi associators ai ain references ri rin tree register
        unregister serve"
    local elements="Ostrel_PCIDevice Ostrel_PCIBridge Ostrel_PCIeSwitch Ostrel_PCIPort
        Ostrel_PCIPortGroup OMC_UnitaryComputerSystem"
    local associations="Ostrel_PCISystemDevice Ostrel_PCIDeviceConnection Ostrel_PCIControlledBy
        Ostrel_PCIHostedCollection Ostrel_PCIMemberOfCollection"
    local options="--names -p --property -o --output --sysfs --dump --system-name --library
        -v --verbose --version -h --help"

    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ " ${commands//$'\n'/ } " == *" $word "* ]]; then
            command=$word
            break
        fi
    done

    case $prev in
        --for)
            COMPREPLY=($(compgen -W "sfcb pegasus" -- "$cur"))
            return
            ;;
        --sysfs | --provider-dir)
            COMPREPLY=($(compgen -d -- "$cur"))
            compopt -o filenames 2>/dev/null
            return
            ;;
        --dump | --library)
            COMPREPLY=($(compgen -f -- "$cur"))
            compopt -o filenames 2>/dev/null
            return
            ;;
        -o | --output)
            case $command in
                tree) COMPREPLY=($(compgen -W "text json dot" -- "$cur")) ;;
                classes) COMPREPLY=($(compgen -W "table json" -- "$cur")) ;;
                *) COMPREPLY=($(compgen -W "table json mof" -- "$cur")) ;;
            esac
            return
            ;;
        --assoc-class)
            COMPREPLY=($(compgen -W "$associations" -- "$cur"))
            return
            ;;
        --result-class)
            case $command in
                references | ri | rin) COMPREPLY=($(compgen -W "$associations" -- "$cur")) ;;
                *) COMPREPLY=($(compgen -W "$elements" -- "$cur")) ;;
            esac
            return
            ;;
        --role | --result-role)
            COMPREPLY=($(compgen -W "Antecedent Dependent GroupComponent PartComponent Collection
                Member" -- "$cur"))
            return
            ;;
        -p | --property | --system-name)
            return
            ;;
    esac

    case $command in
        associators | ai | ain) options+=" --assoc-class --result-class --role --result-role" ;;
        references | ri | rin) options+=" --result-class --assoc-class --role" ;;
        tree) options+=" --ports --buses --ascii" ;;
        serve) options+=" --port --address" ;;
        register | unregister) options+=" --for --dry-run --with-system --provider-dir" ;;
    esac

    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "$options" -- "$cur"))
        return
    fi
    case $command in
        "") COMPREPLY=($(compgen -W "$commands" -- "$cur")) ;;
        enumerate | ei | ein) COMPREPLY=($(compgen -W "$elements $associations" -- "$cur")) ;;
        get | gi) COMPREPLY=($(compgen -W "$elements $associations" -- "$cur")) ;;
        associators | ai | ain | references | ri | rin)
            COMPREPLY=($(compgen -W "$elements" -- "$cur"))
            ;;
    esac
}

complete -F _ostrel_pci ostrel-pci
