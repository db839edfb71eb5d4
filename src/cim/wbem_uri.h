// Object paths as text, in the form of WBEM URIs (DSP0207) that users know from wbemcli:
//
//   root/cimv2:Ostrel_PCIDevice.SystemName="host",DeviceID="0000:00:1f.2"
//   //host/root/cimv2:Ostrel_PCIControlledBy.Antecedent="root/cimv2:...",Dependent="..."
//
// Text values stand in double quotes, with \" and \\ for the two special characters; a reference is
// the quoted text of its path, so quotes double up with every level.
//
// Thread rule: pure functions.

#ifndef CIM_WBEM_URI_H_
#define CIM_WBEM_URI_H_

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

#include "cim/value.h"

namespace cim {

// A text that is no object path. `position` is the offset in bytes at which reading stopped, within
// the outermost text (for an error inside a reference: where that reference's text begins).
class WbemUriError : public std::invalid_argument {
 public:
  WbemUriError(std::size_t position, const std::string& what);
  std::size_t position() const { return position_; }

 private:
  std::size_t position_;
};

// References within references beyond this are refused: every level doubles the escapes, and a
// request may bring megabytes of them. The schema's associations refer to no associations: its own
// paths need one level.
inline constexpr int kMaxReferenceDepth = 2;

// The path's text. Keys keep their order. Throws std::invalid_argument for a key value that no
// object path may have (an array or an embedded instance), and for references nested too deeply.
std::string ToWbemUri(const ObjectPath& path);

// Reads a class path or an instance path; the host, the namespace and any of the keys may be
// missing. Where the class is one of the schema's, its key properties say how a quoted value (text,
// date or reference) and a number (which width) are read; otherwise quoted values are strings and
// numbers are uint64, sint64 when negative, or real64. Throws WbemUriError.
ObjectPath ParseWbemUri(std::string_view text);

}  // namespace cim

#endif  // CIM_WBEM_URI_H_
