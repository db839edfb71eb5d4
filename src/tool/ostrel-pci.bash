# bash completion for ostrel-pci

# Offers one more of the words behind the commas of what is under the cursor.
_ostrel_pci_columns() {
    local before=
    [[ $cur != *,* ]] || before=${cur%,*},
    COMPREPLY=($(compgen -P "$before" -W "$1" -- "${cur##*,}"))
    compopt -o nospace 2>/dev/null
}

_ostrel_pci() {
    local cur prev word command=
    # Object paths hold colons and equals signs, which part words unless told otherwise.
    if declare -F _get_comp_words_by_ref >/dev/null; then
        _get_comp_words_by_ref -n := cur prev
    else
        cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
    fi

    local commands="list links path diff record tree enumerate get associators references classes serve register unregister
        help"
    local short_commands="ei ein gi ai ain ri rin"
    local elements="Ostrel_PCIDevice Ostrel_PCIBridge Ostrel_PCIeSwitch Ostrel_PCIPort
        Ostrel_PCIPortGroup OMC_UnitaryComputerSystem"
    local associations="Ostrel_PCISystemDevice Ostrel_PCIDeviceConnection Ostrel_PCIControlledBy
        Ostrel_PCIHostedCollection Ostrel_PCIMemberOfCollection"
    local columns="address ids subsystem code class rev kind vendor device name parent path buses
        physfn slot empty driver dev numa iommu link maxlink below"
    local selection="-s -d --class --slot --driver"
    local source="--sysfs --dump --system-name"
    local providers="$source --library -v --verbose"
    local elements_options="-o --output $providers"
    local options="-h --help"

    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ " ${commands//$'\n'/ } $short_commands " == *" $word "* ]]; then
            command=$word
            break
        fi
    done

    case $prev in
        --for)
            COMPREPLY=($(compgen -W "sfcb pegasus" -- "$cur"))
            return
            ;;
        --ignore)
            _ostrel_pci_columns "ids subsystem rev slot driver numa link"
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
                "" | list) _ostrel_pci_columns "json $columns" ;;
                links | path | diff) COMPREPLY=($(compgen -W "text json" -- "$cur")) ;;
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
        --class)
            COMPREPLY=($(compgen -W "audio bridge display ethernet gpu infiniband mass network nic nvme
                processing raid sata serial usb vga" -- "$cur"))
            return
            ;;
        --driver)
            COMPREPLY=($(compgen -W "none $(ls /sys/bus/pci/drivers 2>/dev/null)" -- "$cur"))
            return
            ;;
        --slot)
            COMPREPLY=($(compgen -W "$(ls /sys/bus/pci/slots 2>/dev/null)" -- "$cur"))
            return
            ;;
        -s)
            COMPREPLY=($(compgen -W "$(ls /sys/bus/pci/devices 2>/dev/null)" -- "$cur"))
            return
            ;;
        -d | -p | --property | --system-name)
            return
            ;;
    esac

    case $command in
        "" | list) options+=" -o --output --noheadings $selection $source" ;;
        record) options+=" --sysfs --dump" ;;
        diff) options+=" --ignore -o --output" ;;
        path) options+=" --matrix -o --output $selection $source" ;;
        links) options+=" --degraded -o --output $selection $source" ;;
        tree) options+=" --ports --buses --ascii -o --output $selection $providers" ;;
        enumerate | ei) options+=" $selection --names -p --property $elements_options" ;;
        ein) options+=" $selection $elements_options" ;;
        get | gi) options+=" --names -p --property $elements_options" ;;
        associators | ai)
            options+=" --assoc-class --result-class --role --result-role --names -p --property
                $elements_options"
            ;;
        ain) options+=" --assoc-class --result-class --role --result-role $elements_options" ;;
        references | ri)
            options+=" --result-class --assoc-class --role --names -p --property $elements_options"
            ;;
        rin) options+=" --result-class --assoc-class --role $elements_options" ;;
        classes) options+=" -o --output" ;;
        serve) options+=" --port --address $providers" ;;
        register | unregister)
            options+=" --for --dry-run --with-system --provider-dir --system-name --library"
            ;;
    esac
    [[ -n $command ]] || options+=" -V --version"

    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "$options" -- "$cur"))
        return
    fi
    case $command in
        "" | help) COMPREPLY=($(compgen -W "$commands" -- "$cur")) ;;
        diff)
            COMPREPLY=($(compgen -W "live" -- "$cur") $(compgen -f -- "$cur"))
            compopt -o filenames 2>/dev/null
            ;;
        path) COMPREPLY=($(compgen -W "$(ls /sys/bus/pci/devices 2>/dev/null)" -- "$cur")) ;;
        enumerate | ei | ein) COMPREPLY=($(compgen -W "$elements $associations" -- "$cur")) ;;
        get | gi) COMPREPLY=($(compgen -W "$elements $associations" -- "$cur")) ;;
        associators | ai | ain | references | ri | rin)
            COMPREPLY=($(compgen -W "$elements" -- "$cur"))
            ;;
    esac
}

complete -F _ostrel_pci ostrel-pci
