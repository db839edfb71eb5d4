# fish completion for ostrel-pci: asks the command itself.

function __ostrel_pci_offers
    set -l words (commandline -opc) (commandline -ct)
    for line in ($words[1] --complete $words[2..-1] 2>/dev/null)
        switch $line
            case :files
                __fish_complete_path (commandline -ct)
            case :folders
                __fish_complete_directories (commandline -ct)
            case '*'
                echo $line
        end
    end
end

complete -c ostrel-pci -f -a '(__ostrel_pci_offers)'
