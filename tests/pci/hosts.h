// Hosts that tests read: recorded ones and those written for the occasion; and what they are
// expected to be.
//
// Thread rule: on the test's own thread.

#ifndef PCI_HOSTS_H_
#define PCI_HOSTS_H_

#include <string>
#include <vector>

#include "pci/host.h"
#include "pci/written_sources.h"

namespace pci_test {

// A recorded host's dump, and the folder with its devices/ and slots/.
std::string RecordedDump(const std::string& host);
std::string RecordedSysfs(const std::string& host);

// Throw pci::Error.
pci::Host ReadSysfs(const std::string& path, bool with_details = false);
pci::Host ReadDump(const std::string& path);
pci::Host ReadDumpOf(const std::vector<Function>& functions);

// The function with this address; throws where there is none.
const pci::Function& At(const pci::Host& host, const std::string& address);

// The address of the function's parent, or "none".
std::string ParentOf(const pci::Host& host, const std::string& address);

// The chain's capability IDs.
std::vector<unsigned> CapabilitiesOf(const pci::Host& host, const pci::Function& function);

// All that the host tells of a function, in one line; and of all of them.
std::string Describe(const pci::Host& host, const pci::Function& function);
std::vector<std::string> DescribeAll(const pci::Host& host);

// "where: reason" of each trouble.
std::vector<std::string> TroublesOf(const pci::Host& host);

// What of the answer breaks a rule that holds whatever the source, one line each; empty where all
// hold: addresses ascend, every place is one, every parent is on a lower bus of the child's domain.
std::string Complaints(const pci::Host& host);

}  // namespace pci_test

#endif  // PCI_HOSTS_H_
