#!/usr/bin/env bash
# Gives script/check-includes sources with and without a wrong include, and holds what it says and how
# it ends against what it must.
#   check_includes_test.sh SCRIPT
set -euo pipefail

script=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

failures=0
fail() {
  echo "check_includes_test: $*" >&2
  failures=$((failures + 1))
}

expect() { # exit status, a text that the output holds, the command line
  local status=0 output
  output=$("$script" "${@:3}" 2>&1) || status=$?
  [ "$status" -eq "$1" ] || fail "'${*:3}' ends with $status, not $1: $output"
  [[ $output == *"$2"* ]] || fail "'${*:3}' does not say '$2' but: $output"
}

# A tree of sources of one file, which has one line.
tree() { # file, line
  rm -rf src
  mkdir -p "src/$(dirname "$1")"
  echo "$2" >"src/$1"
}

allowed() { # file, line
  tree "$@"
  expect 0 "in 1 files" src
}

refused() { # file, line, message
  tree "$1" "$2"
  expect 1 "$1:1: $3" src
}

allowed cache/a.cc '#include "cache/topology_cache.h"'
allowed cache/a.cc '#include <vector>'
allowed cache/a.cc '// #include "elements/pci_port.h"'
allowed elements/a.cc '#include "cache/topology_cache.h"'
allowed associations/a.h '#include "platform/cmpi/cmpi.h"'
allowed platform/hostctl/a.cc '#include "cache/hostctl.h"'
allowed platform/hostctl/a.cc '#include "pci/function.h"'
allowed tool/output/a.cc '#include "cim/value.h"'
allowed tool/a.cc '#include "tool/output/table.h"'

refused cache/a.cc '#include "platform/ostint/cmpi_data.h"' \
  "cache may not include platform/ostint (platform/ostint/cmpi_data.h)"
refused cache/hostctl.h '#include "cache/port_entry.h"' \
  "cache/hostctl.h may not include cache (cache/port_entry.h)"
refused platform/hostctl/a.cc '#include "cache/port_entry.h"' \
  "platform/hostctl may not include cache (cache/port_entry.h)"
refused elements/deep/a.h '#include "associations/pci_controlled_by.h"' \
  "elements may not include associations (associations/pci_controlled_by.h)"
refused broker/a.cc '#include "requests/enumerate.h"' "broker may not include requests"
refused tool/a.cc '#include "cache/hostctl.h"' "tool may not include cache/hostctl.h"
refused pci/a.cc '#include "platform/hostctl/snapshot.h"' "pci may not include platform/hostctl"
refused wbem/a.cc '  #  include"tool/table.h"  // why' "wbem may not include tool"
refused wbem/a.cc '#include <tool/table.h>' "wbem may not include tool"
refused cache/a.cc '#include "port_entry.h"' '"port_entry.h" is in no room'
refused attic/a.cc '#include <vector>' "in no room of the table"

# The right ones beside a wrong one do not hide it, nor the first file the second.
tree cache/a.cc '#include "cache/hostctl.h"'
printf '%s\n' '#include "cache/hostctl.h"' '#include "frame/registration.h"' >src/cache/b.cc
expect 1 "cache/b.cc:2: cache may not include frame" src

mkdir none
expect 1 "no sources" none
expect 1 "no folder" missing
expect 0 "Usage: " --help
expect 2 "see --help" --strict
expect 2 "see --help" src src

# The sources of the project.
expect 0 "check-includes: "

[ $failures -eq 0 ] || exit 1
