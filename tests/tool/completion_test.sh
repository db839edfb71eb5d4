#!/usr/bin/env bash
# Completes command lines with the bash completion as bash does (the words, what is under the cursor,
# the function), and holds what it offers against the tool's own help.
# The manual is to have the same options.
#   completion_test.sh TOOL FOLDER RECORDED_DUMP MANUAL
# FOLDER has the completions of all shells.
set -euo pipefail

tool=$1
completions=$2
record=$3
manual=$4
PATH=$(dirname "$tool"):$PATH # the completions ask the command
# shellcheck source=/dev/null
source "$completions/ostrel-pci.bash"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/hosts"
touch "$scratch/host.lspci" "$scratch/two words"
cd "$scratch"

failures=0
fail() {
  echo "completion_test: $*" >&2
  failures=$((failures + 1))
}

[ "$(complete -p ostrel-pci)" = "complete -F _ostrel_pci ostrel-pci" ] || fail "nothing is registered for ostrel-pci"

# Leaves in COMPREPLY what is offered for the last of the words, the cursor behind it.
offer() { # words after the command's name
  COMP_WORDS=(ostrel-pci "$@")
  COMP_CWORD=$#
  COMP_LINE="${COMP_WORDS[*]}"
  COMP_POINT=${#COMP_LINE}
  COMPREPLY=()
  _ostrel_pci ostrel-pci "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}" || true
}

expect() { # what is offered, one to a line; words
  local expected=$1
  shift
  offer "$@"
  local offered
  offered=$(printf '%s\n' "${COMPREPLY[@]}")
  [ "$offered" = "$expected" ] || fail "for '$*' it offers '${offered//$'\n'/ }', not '${expected//$'\n'/ }'"
}

expect_sorted() { # what is offered, sorted; words
  local expected=$1
  shift
  offer "$@"
  local difference
  difference=$(diff <(echo "$expected") <(printf '%s\n' "${COMPREPLY[@]}" | sort)) ||
    fail "for '$*' it offers other than the help has: ${difference//$'\n'/ }"
}

expect_among() { # what must be among the offers; words
  local expected=$1
  shift
  offer "$@"
  printf '%s\n' "${COMPREPLY[@]}" | grep -qxF -e "$expected" || fail "for '$*' it offers no $expected"
}

# Commands and options
expect enumerate e
expect list help lis
expect $'list\nlinks' li
expect ethernet list --class eth
expect none links --driver non
expect $'text\njson' links -o ""
expect tree tr
expect tree --dump file tr
expect "" nothing
expect $'--sysfs\n--system-name' --sy
expect $'--sysfs\n--system-name' tree --sy
expect $'--ports' tree --po
expect "" classes --po
expect $'--noheadings' --no
expect $'--noheadings' list --no
expect $'--port' serve --po

# Values of options
expect $'text\njson\ndot' tree -o ""
expect $'driver' list -o dr
expect 'address,json,driver' list -o address,json,dr
expect 'numa' --output nu
expect $'table\njson' classes --output ""
expect json enumerate device -o j
expect $'sfcb\npegasus' register --for ""
expect pegasus unregister --for p
expect Antecedent associators PATH --role An
expect Ostrel_PCIControlledBy associators PATH --assoc-class Ostrel_PCIC
expect Ostrel_PCIControlledBy references PATH --result-class Ostrel_PCIC
expect OMC_UnitaryComputerSystem associators PATH --result-class OM
expect "" --system-name ""

expect DeviceID,PhysicalSlot get PATH -p DeviceID,Phys
expect $'SubsystemID\nSubsystemVendorID' get PATH --property Subsys

# What the host has
expect $'0000:00:1f.0\n0000:00:1f.2\n0000:00:1f.3' list --dump "$record" -s 0000:00:1f
expect 0000:07:00.0 path --dump "$record" 0000:07
expect 0000:07:00.0 get --dump "$record" 0000:07
expect $'1\n11\n12\n13' tree --dump "$record" --slot 1
expect "" list --dump nothing -s ""

# Classes
expect $'Ostrel_PCIPort\nOstrel_PCIPortGroup' enumerate Ostrel_PCIPo
expect $'Ostrel_PCIDevice\nOstrel_PCIDeviceConnection' get Ostrel_PCID
expect Ostrel_PCIDevice associators Ostrel_PCID

# Files and folders
expect $'host.lspci\nhosts' --dump ho
expect hosts --sysfs ho
expect hosts register --for sfcb --provider-dir ho

# All that the tool has
"$tool" --help >help
commands=$(sed -n '/^Commands.*:/,/^$/s/^  \([a-z]*\)  .*/\1/p' help)
[ "$(wc -w <<<"$commands")" -ge 10 ] || fail "the help lists only these commands: $commands"
options() { sed -n 's/^  \(-[^ ]*\).*/\1/p' "$1" | tr ',' '\n'; } # of a help
for command in $commands; do expect_among "$command" "$command"; done
for command in $commands ei ein gi ai ain ri rin; do
  "$tool" "$command" --help >command_help
  expect_sorted "$(options command_help | sort)" "$command" -
  for option in $(options command_help); do
    grep -qF -e "${option//-/\\-}" "$manual" || fail "the manual has no $option"
  done
done
# Without a command it is those of "list".
"$tool" list --help >command_help
expect_sorted "$({ options help; options command_help; } | sort -u)" -
expect_sorted "$({ echo json; sed -n '/^Columns/,/^Examples/s/^  \([A-Z]*\) .*/\L\1/p' command_help; } | sort)" list -o ""
for class in $("$tool" classes | awk 'NR > 1 { print $1 }'); do
  expect_among "$class" enumerate "$class"
  expect_among "$class" get "$class"
done

# The other shells ask the same question.
if command -v fish >/dev/null; then
  in_fish() { HOME=$scratch fish --no-config -c "source $completions/ostrel-pci.fish; complete -C '$1'" | sort; }
  [ "$(in_fish 'ostrel-pci tree -o ' | cut -f 1)" = $'dot\njson\ntext' ] || fail "fish: $(in_fish 'ostrel-pci tree -o ')"
  [ "$(in_fish 'ostrel-pci tr')" = $'tree\tDraw the topology as a tree' ] || fail "fish: $(in_fish 'ostrel-pci tr')"
  [ "$(in_fish 'ostrel-pci --dump ho')" = $'host.lspci\nhosts/' ] || fail "fish: $(in_fish 'ostrel-pci --dump ho')"
fi
if command -v zsh >/dev/null; then
  zsh -n "$completions/ostrel-pci.zsh" || fail "the completion is no zsh"
fi

[ "$failures" -eq 0 ] || exit 1
echo "completion_test: passed"
