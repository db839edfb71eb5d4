# Makes one table of what lspci says of the functions; a row has, with "-" for nothing:
#   1 address  2 kind  3 class  4 vendor  5 device  6 revision  7 subsystem vendor  8 subsystem  9 slot
#   10 parent  11 primary bus  12 secondary  13 subordinate  14 name of the slot, which may be more than
#   its number
# Reads the outputs of `lspci -Dvvn`, `-DPPn` and `-Dvmmn`, in that order, with the variable `part` set
# to text, paths and fields.

function fallback(value, other) { return value == "" ? other : value }

part == "text" && /^[0-9a-f]/ { address = $1 }
part == "text" && /^\tBus: primary=/ {
  split($0, bus, /[=,]/)
  primary[address] = bus[2]
  secondary[address] = bus[4]
  subordinate[address] = bus[6]
}
part == "text" && /Express .*Upstream Port/ { kind[address] = "switch" }
part == "text" && /Express .*Downstream Port/ { kind[address] = "downstream" }

# 0000:00:03.0/01:00.0/02:00.0 0604: ...; the domain stands once.
part == "paths" && /^[0-9a-f]/ {
  count = split($1, step, "/")
  domain = substr(step[1], 1, length(step[1]) - 7)
  address = count > 1 ? domain step[count] : step[1]
  above = count > 2 ? domain step[count - 1] : step[1]
  parent[address] = count > 1 ? above : "-"
}

part == "fields" && $1 == "Slot:" { order[++functions] = address = $2 }
part == "fields" && /^[A-Za-z]+:/ { field[address, $1] = $2 }

END {
  for (i = 1; i <= functions; ++i) {
    address = order[i]
    if (kind[address] == "") kind[address] = field[address, "Class:"] ~ /^06/ ? "bridge" : "device"
    slot = name = field[address, "PhySlot:"]
    sub(/[^0-9].*/, "", slot)
    print address, kind[address], field[address, "Class:"], field[address, "Vendor:"],
          field[address, "Device:"], fallback(field[address, "Rev:"], "00"),
          fallback(field[address, "SVendor:"], "0000"), fallback(field[address, "SDevice:"], "0000"),
          fallback(slot, "-"), parent[address], fallback(primary[address], "-"),
          fallback(secondary[address], "-"), fallback(subordinate[address], "-"),
          fallback(name, "-")
  }
}
