#!/usr/bin/env bash
# Makes the Debian package of a build, unpacks it into a scratch root and uses what is there, as if
# it were installed. Nothing outside the scratch folder is written.
#   package_test.sh BUILD_FOLDER COMPILER RECORDED_DUMP
set -euo pipefail

build=$1
compiler=$2
dump=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
root=$scratch/root

fail() {
  echo "package_test: $*" >&2
  exit 1
}

# Prints the only file of that name below the root.
packaged() {
  local found
  found=$(find "$root" -name "$1")
  [ "$(wc -l <<<"$found")" = 1 ] && [ -n "$found" ] || fail "the package has not one $1: $found"
  echo "$found"
}

echo "== package"
cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch" >"$scratch/cpack.log" 2>&1 || {
  cat "$scratch/cpack.log" >&2
  exit 1
}
! grep -i warning "$scratch/cpack.log" || fail "cpack warns"
deb=$(echo "$scratch"/ostrel-pci_*.deb)
[ "$(dpkg-deb -f "$deb" Package)" = ostrel-pci ] || fail "the package has another name"
[ "$(dpkg-deb -f "$deb" Section)" = admin ] || fail "the package is in another section"
depends=$(dpkg-deb -f "$deb" Depends)
for package in pci.ids libc6 libstdc++6; do
  tr ',' '\n' <<<"$depends" | awk '{ print $1 }' | grep -qxF "$package" ||
    fail "no dependency on $package: $depends"
done
[ "$(dpkg-deb -I "$deb" triggers)" = "activate-noawait ldconfig" ] || fail "no ldconfig trigger"
dpkg-deb -x "$deb" "$root"

echo "== provider library"
provider=$(packaged libOstrelPCI.so)
tool=$root/usr/bin/ostrel-pci
case $provider in */cmpi/libOstrelPCI.so) ;; *) fail "object managers do not look at $provider" ;; esac
host_library=$(packaged libHostCtl.so.1)
found=$(ldd "$provider" | awk '$1 == "libHostCtl.so.1" { print $3 }')
[ "$(realpath "$found")" = "$host_library" ] || fail "$provider finds ${found:-no libHostCtl.so.1}"
cat >"$scratch/load.cc" <<'EOF'
#include <dlfcn.h>
#include <cstdio>

int main(int, char** argv) {
  void* library = dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL);
  if (library != nullptr && dlsym(library, "Ostrel_PCIDevice_Create_InstanceMI") != nullptr) return 0;
  std::puts(dlerror());
  return 1;
}
EOF
"$compiler" -o "$scratch/load" "$scratch/load.cc" -ldl
"$scratch/load" "$provider" || fail "$provider does not load as object managers load it"

echo "== tool"
run() { env -i PATH=/usr/bin:/bin LC_ALL=C.UTF-8 HOSTCTL_PCI_DUMP="$dump" "$tool" "$@"; }
# What the loader brings in costs every start: nothing but what the tool calls.
needed=$(readelf -dW "$tool" | sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p' |
  grep -vE '^(lib(stdc\+\+|gcc_s|m|c|fmt|pugixml)|ld-linux.*)\.so' || true)
[ -z "$needed" ] || fail "$tool needs more than it calls: $needed"
switches=$(run ein Ostrel_PCIeSwitch)
[ "$(grep -c 'DeviceID=' <<<"$switches")" = 2 ] || fail "the recorded host has two switches, not: $switches"
run tree | grep -q 'PCI Express switch' || fail "the tree shows no switch"

echo "== schema"
for file in Ostrel_PCI.mof OMC_UnitaryComputerSystem.mof ostrel-pci.sfcb.reg ostrel-pci.pegasus.mof; do
  packaged "$file" >/dev/null
done
for server in sfcb pegasus; do
  # Status 1: this machine may have no object manager. The steps are printed all the same.
  steps=$(run register --for "$server" --dry-run 2>/dev/null) || [ $? -eq 1 ]
  grep -q " $root/usr/share/ostrel-pci/Ostrel_PCI.mof" <<<"$steps" ||
    fail "register does not take the package's schema: $steps"
done

echo "== manual"
for page in ostrel-pci.1 libHostCtl.7; do
  file=$(packaged "$page")
  warnings=$(LC_ALL=C.UTF-8 MANROFFSEQ='' MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z "$file" 2>&1 >/dev/null)
  [ -z "$warnings" ] || fail "$page: $warnings"
  lexgrog "$file" >/dev/null || fail "$page: apropos cannot read its NAME"
done
bash -n "$root/usr/share/bash-completion/completions/ostrel-pci" || fail "the completion is no bash"

echo "== platform makers"
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(packaged hostctl.pc)")
# The program that libHostCtl(7) shows.
sed -n '/^#include <cache/,/^}/p' "$(packaged libHostCtl.7)" | sed 's/\\-/-/g; s/\\e/\\/g' >"$scratch/list.cc"
# shellcheck disable=SC2046
"$compiler" -std=c++17 -Wall -Wextra -Werror "$scratch/list.cc" $(pkg-config --cflags --libs hostctl) -o "$scratch/list"
functions=$(HOSTCTL_PCI_DUMP=$dump LD_LIBRARY_PATH=$(dirname "$host_library") "$scratch/list" | wc -l)
[ "$functions" = "$(grep -cE '^[0-9a-f:]+\.[0-7] ' "$dump")" ] || fail "the example lists $functions functions"
[ "$(pkg-config --modversion hostctl)" = "$(dpkg-deb -f "$deb" Version)" ] || fail "hostctl.pc has another version"
echo "package_test: passed"
