// The PCI functions of a host as they were at one moment.
//
// Taking one reads everything that is ever asked of it and closes the source; afterwards there is
// no I/O. Its cost is linear in the number of functions. Thread rule: immutable; safe on any number
// of threads.

#ifndef PLATFORM_HOSTCTL_SNAPSHOT_H_
#define PLATFORM_HOSTCTL_SNAPSHOT_H_

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "platform/hostctl/function_record.h"
#include "platform/hostctl/source.h"

namespace HostCtl::Linux {

class Snapshot {
 public:
  // Reads the source now. Throws HostCtlException.
  static std::shared_ptr<const Snapshot> Take(const Source& source);

  // Ascending by address, every address once.
  const std::vector<FunctionRecord>& functions() const { return functions_; }

  // How many of them may have capabilities that the source does not show: it shows no more than the
  // start of their configuration space.
  std::size_t cut_off_functions() const { return cut_off_functions_; }

  // The text at one of a record's places for names.
  const std::string& name(std::uint32_t place) const { return names_[place]; }

 private:
  class Builder;

  std::vector<FunctionRecord> functions_;
  std::size_t cut_off_functions_ = 0;
  std::vector<std::string> names_;
};

}  // namespace HostCtl::Linux

#endif  // PLATFORM_HOSTCTL_SNAPSHOT_H_
