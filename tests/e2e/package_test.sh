#!/usr/bin/env bash
# Makes the packages of a build, installs them with the package manager in a root of their own, uses there
# what they bring, and removes them without a trace. Nothing outside a scratch folder is written.
#   package_test.sh KIND BUILD_FOLDER COMPILER RECORDED_DUMP
# KIND is deb or rpm.
set -euo pipefail

# The package managers enter the root, which a user may do in a name space where he is root.
[ "$(id -u)" -eq 0 ] || exec unshare --user --map-root-user "$0" "$@"

kind=$1
build=$2
compiler=$3
dump=$4
sources=$(dirname "$0")/../..
scratch=$(mktemp -d)
server=
trap '[ -z "$server" ] || kill "$server"; rm -rf "$scratch"' EXIT
root=$scratch/root
export LC_ALL=C.UTF-8

fail() {
  echo "package_test: $*" >&2
  exit 1
}

# Copies programs of this machine into the root, with the libraries that they and the package's need.
add_programs() { # files
  {
    printf '%s\n' "$@"
    ldd "$@" "$build/src/tool/ostrel-pci" 2>/dev/null | sed -nE 's/^\t([^ ]+ => )?(\/[^ ]+) \(0x.*/\2/p'
  } | sort -u | while read -r file; do install -D "$file" "$root$file"; done
}

in_root=(chroot "$root" "$(command -v env)" -i PATH=/usr/bin:/bin LC_ALL=C.UTF-8)
on_record=("${in_root[@]}" HOSTCTL_PCI_DUMP=/host.lspci HOSTCTL_SYSTEM_NAME=recorded)
files_of_root() { (cd "$root" && find . ! -path './var/lib/dpkg*' ! -path './var/lib/rpm*' | sort); }

make_root() {
  mkdir -p "$root"/{dev,etc/systemd/system/multi-user.target.wants,tmp,var/lib,var/log,var/tmp}
  mkdir -p "$root"/usr/share/{bash-completion/completions,fish/vendor_completions.d,zsh/site-functions,licenses,man/man1,man/man7,doc} "$root/usr/lib/systemd/system"
  mkdir -p "$root/usr/include" "$root/usr/lib64/pkgconfig"
  touch "$root/dev/null"
  mkdir -p "$root/proc/self" # in the place of the kernel's: where the tool is, from which it finds its library
  ln -s /usr/bin/ostrel-pci "$root/proc/self/exe"
  add_programs /bin/sh /bin/kill "$(command -v rm)" "$(command -v env)" "$(command -v setpriv)" "$(command -v ldconfig)"
  install -D -m 644 /usr/share/misc/pci.ids "$root/usr/share/misc/pci.ids"
  install -m 644 "$dump" "$root/host.lspci"
  # The loader of distributions with RPMs looks there unasked; this machine's may not.
  printf '%s\n' 'include /etc/ld.so.conf.d/*.conf' /usr/lib64 >"$root/etc/ld.so.conf"
}

make_packages() {
  cpack -G "${kind^^}" --config "$build/CPackConfig.cmake" -B "$scratch" >"$scratch/cpack.log" 2>&1 || {
    cat "$scratch/cpack.log" >&2
    exit 1
  }
  ! grep -i warning "$scratch/cpack.log" || fail "cpack warns"
}

# --- Debian packages

deb_dpkg() { dpkg --root="$root" --log=/dev/null "$@" >>"$scratch/dpkg.log" 2>&1; }

deb_check() {
  local package
  for package in libostrelpci1 libhostctl1 libhostctl-dev ostrel-pci; do
    [ -e "$scratch/$package"_*.deb ] || fail "no package $package"
  done
  [ "$(find "$scratch" -maxdepth 1 -name '*.deb' | wc -l)" = 4 ] || fail "other packages than four"
  [ "$(dpkg-deb -I "$scratch"/libhostctl1_*.deb triggers)" = "activate-noawait ldconfig" ] || fail "no ldconfig trigger"
  dpkg-deb -I "$scratch"/libhostctl1_*.deb shlibs | grep -q '^libHostCtl 1 libhostctl1 ' || fail "no shlibs"
  # What nobody has declared, libraries are: their packages stand in the dependencies.
  for package in libc6 libstdc++6 libostrelpci1; do
    dpkg-deb -f "$scratch"/ostrel-pci_*.deb Depends | tr ',' '\n' | awk '{ print $1 }' | grep -qxF $package ||
      fail "ostrel-pci does not depend on $package"
  done
  # cpack itself adds the calls of ldconfig, which do no harm beside the trigger.
  if command -v lintian >/dev/null; then
    lintian --allow-root --fail-on error,warning --suppress-tags maintscript-calls-ldconfig "$scratch"/*.deb >&2 ||
      fail "lintian complains"
  fi
}

deb_install() {
  mkdir -p "$root"/var/lib/dpkg/{info,updates,triggers,alternatives}
  # Dependencies are held against what this machine has of them.
  awk -v RS= -v ORS='\n\n' '/^Package: (libc6|libgcc-s1|libstdc\+\+6|libfmt[0-9]+|libpugixml[^\n]*|pci.ids)\n/' \
    /var/lib/dpkg/status | grep -vE '^(Depends|Pre-Depends|Recommends|Breaks|Conflicts):' >"$root/var/lib/dpkg/status"
  : >"$root/var/lib/dpkg/available"
  deb_dpkg --install "$scratch"/*.deb
}

deb_remove() {
  deb_dpkg --remove ostrel-pci libostrelpci1 libhostctl-dev "$1" &&
    deb_dpkg --purge ostrel-pci libostrelpci1 libhostctl-dev "$1" # where nothing else is, nothing is left to purge
}

# A platform's package of its own library takes the place of libhostctl1, while all else stays.
deb_platform() {
  local folder=$scratch/platform
  mkdir -p "$folder/DEBIAN"
  install -D "$scratch/own/libHostCtl.so.1" "$folder/usr/lib/board/libHostCtl.so.1"
  mkdir -p "$folder/etc/ld.so.conf.d"
  echo /usr/lib/board >"$folder/etc/ld.so.conf.d/board.conf"
  cat >"$folder/DEBIAN/control" <<END
Package: board-hostctl
Version: 1
Architecture: $(dpkg --print-architecture)
Maintainer: board
Description: host control library of a board
Provides: libhostctl-abi-1 (= 1)
Conflicts: libhostctl-abi-1
Replaces: libhostctl-abi-1
END
  dpkg-deb --root-owner-group -b "$folder" "$scratch/board-hostctl.deb" >/dev/null
  deb_dpkg --force-depends --remove libhostctl1 && # apt does so, in one step with the next
    deb_dpkg --install "$scratch/board-hostctl.deb" || return
  ! deb_dpkg --remove board-hostctl || fail "nothing depends on the board's library"
}

# --- RPMs

rpm_rpm() { rpm --root "$root" --define '_dbpath /var/lib/rpm' "$@"; }

rpm_check() {
  local package needed provided
  for package in libostrelpci1 libhostctl1 libhostctl-devel ostrel-pci; do
    [ -e "$scratch/$package"-0*.rpm ] || [ -e "$scratch/$package"-[1-9]*.rpm ] || fail "no package $package"
  done
  # The root has no RPM of the system's: what is needed and not ours is to be what each of these has.
  needed=$(rpm -qp --requires "$scratch"/*.rpm | sort -u)
  provided=$(rpm -qp --provides "$scratch"/*.rpm | sed 's/ = .*//' | sort -u)
  needed=$(sed 's/ [<>]*= .*//' <<<"$needed" | grep -vxF "$provided" |
    grep -vE '^(lib(c|m|stdc\+\+|gcc_s|fmt|pugixml)\.so\.|ld-linux|rtld|rpmlib)|^(/bin/sh|hwdata|/usr/bin/pkg-config)$' || true)
  [ -z "$needed" ] || fail "what is needed is nowhere: $needed"
  ! rpm -qpl "$scratch"/*.rpm | grep -v '^/usr/' || fail "files outside /usr"
}

rpm_install() {
  rpm_rpm --initdb
  rpm_rpm --force-debian -i --nodeps "$scratch"/*.rpm 2>"$scratch/rpm.log" || { cat "$scratch/rpm.log"; fail "rpm installs nothing"; }
}

rpm_remove() {
  rpm_rpm --force-debian -e ostrel-pci libostrelpci1 libhostctl-devel "$1"
}

# --- Both

echo "== packages ($kind)"
make_packages
"${kind}_check"
make_root
before=$(files_of_root)

echo "== installation"
"${kind}_install" || { cat "$scratch"/*.log >&2; fail "not installed"; }
case $kind in deb) folder=/usr/lib ;; rpm) folder=/usr/lib64 ;; esac
provider=$folder/cmpi/libOstrelPCI.so
[ -e "$root$provider" ] || fail "no $provider"
! readelf -d "$root$provider" | grep -E 'R(UN)?PATH' || fail "the loader is led to folders that it knows"
[ -z "$(find "$root/usr" -newer "$root/host.lspci" -type f -perm /7022)" ] || fail "files that others may write"
ldconfig -r "$root" 2>/dev/null

echo "== tool"
# What the loader brings in costs every start: nothing but what the tool calls.
needed=$(readelf -dW "$root/usr/bin/ostrel-pci" | sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p' |
  grep -vE '^(lib(stdc\+\+|gcc_s|m|c|fmt|pugixml)|ld-linux.*)\.so' || true)
[ -z "$needed" ] || fail "the tool needs more than it calls: $needed"
switches=$("${on_record[@]}" ostrel-pci ein Ostrel_PCIeSwitch)
[ "$(grep -c 'DeviceID=' <<<"$switches")" = 2 ] || fail "the recorded host has two switches, not: $switches"
"${on_record[@]}" ostrel-pci tree | grep -q 'PCI Express switch' || fail "the tree shows no switch"
for manager in sfcb pegasus; do
  # Status 1: the root has no object manager. The steps are printed all the same.
  steps=$("${on_record[@]}" ostrel-pci register --for $manager --dry-run 2>/dev/null) || [ $? -eq 1 ]
  grep -q " /usr/share/ostrel-pci/Ostrel_PCI.mof" <<<"$steps" ||
    fail "register does not take the package's schema: $steps"
done

echo "== service"
unit=$root/usr/lib/systemd/system/ostrel-pci.service
if command -v systemd-analyze >/dev/null; then
  (cd "$scratch" && systemd-analyze verify --man=no --recursive-errors=no --root="$root" ostrel-pci.service) ||
    fail "the unit is not in order"
  systemd-analyze security --no-pager --offline=yes --threshold=20 "$unit" >"$scratch/security" ||
    fail "the service is exposed: $(tail -n 1 "$scratch/security")"
  state=$(systemctl --root="$root" is-enabled ostrel-pci) || true
  [ "$state" = disabled ] || fail "the service is $state"
  systemctl --root="$root" enable ostrel-pci 2>/dev/null
fi
read -ra command < <(sed -n 's/^ExecStart=//p' "$unit")
[ "${command[*]}" = "/usr/bin/ostrel-pci serve" ] || fail "the service starts ${command[*]}"
# As the user and with the capability that systemd gives it, where this is the machine's root.
as_service=()
if setpriv --reuid 65534 true 2>/dev/null && setpriv --bounding-set -all,+sys_admin true 2>/dev/null; then
  as_service=(setpriv --reuid 65534 --regid 65534 --clear-groups --no-new-privs --inh-caps -all,+sys_admin
              --ambient-caps -all,+sys_admin --bounding-set -all,+sys_admin)
fi
mkfifo "$scratch/said"
"${on_record[@]}" "${as_service[@]}" "${command[@]}" --port 0 >"$scratch/said" 2>"$scratch/server.err" &
server=$!
read -r _ _ url <"$scratch/said" || fail "the service says nothing: $(cat "$scratch/server.err")"
answer=$(wbemcli ein "$url/root/cimv2:Ostrel_PCIeSwitch")
[ "$(grep -c 'SystemName="recorded".*DeviceID=' <<<"$answer")" = 2 ] || fail "a client is answered: $answer"
kill "$server"
wait "$server" || fail "the service ends with $?"
server=

echo "== manual"
for page in man1/ostrel-pci.1 man7/libHostCtl.7; do
  gzip -dc "$root/usr/share/man/$page.gz" >"$scratch/page"
  warnings=$(MANROFFSEQ='' MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z "$scratch/page" 2>&1 >/dev/null)
  [ -z "$warnings" ] || fail "$page: $warnings"
  lexgrog "$scratch/page" >/dev/null || fail "$page: apropos cannot read its NAME"
done
bash -n "$root/usr/share/bash-completion/completions/ostrel-pci" || fail "the completion is no bash"
for file in zsh/site-functions/_ostrel-pci fish/vendor_completions.d/ostrel-pci.fish; do
  [ -s "$root/usr/share/$file" ] || fail "no completion $file"
done

echo "== platform makers"
PKG_CONFIG_PATH=$(dirname "$(find "$root" -name hostctl.pc)")
export PKG_CONFIG_PATH
[ "$(pkg-config --modversion hostctl)" = "$(sed -n 's/^set(CPACK_PACKAGE_VERSION "\(.*\)")/\1/p' "$build/CPackConfig.cmake")" ] ||
  fail "hostctl.pc has another version"
# The program that libHostCtl(7) shows.
sed -n '/^#include <cache/,/^}/p' "$scratch/page" | sed 's/\\-/-/g; s/\\e/\\/g' >"$scratch/list.cc"
read -ra flags < <(pkg-config --cflags --libs hostctl)
"$compiler" -std=c++17 -Wall -Wextra -Werror "$scratch/list.cc" "${flags[@]}" -o "$root/list"
functions=$("${on_record[@]}" /list | wc -l)
rm "$root/list"
[ "$functions" = "$(grep -cE '^[0-9a-f:]+\.[0-7] ' "$dump")" ] || fail "the example lists $functions functions"
# A library of one's own, with the line that libHostCtl(7) has for it.
line=$(sed -n 's/.*" \(c++ .*-shared.*\)"$/\1/p' <<<"$(sed 's/\\-/-/g' "$scratch/page")")
[ -n "$line" ] || fail "libHostCtl(7) has no line that builds a library"
mkdir "$scratch/own"
cp "$sources/docs/examples/board_hostctl.cc" "$scratch/own"
(cd "$scratch/own" && eval "${line/#c++/$compiler}") || fail "not built: $line"
host_package=libhostctl1
if [ "$kind" = deb ]; then
  deb_platform || { cat "$scratch/dpkg.log" >&2; fail "the board's library takes no place"; }
  host_package=board-hostctl
  [ ! -e "$(find "$root/usr" -path '*-linux-*/libHostCtl.so.1')" ] || fail "libhostctl1 is still there"
  ldconfig -r "$root"
  "${in_root[@]}" ostrel-pci tree | grep -qF 'disk (slot 7)' || fail "the board's library is not asked"
fi

echo "== removal"
"${kind}_remove" $host_package || { cat "$scratch"/*.log >&2; fail "not removed"; }
rm -f "$root/etc/ld.so.cache" "$root/var/cache/ldconfig/aux-cache"
left=$(comm -13 <(echo "$before") <(files_of_root))
[ -z "$left" ] || fail "left behind:"$'\n'"$left"
echo "package_test: passed"
