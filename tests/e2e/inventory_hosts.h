// The recorded hosts and those of facts, as sources that the tool and lspci read.

#ifndef E2E_INVENTORY_HOSTS_H_
#define E2E_INVENTORY_HOSTS_H_

#include <string>
#include <vector>

#include "e2e/run_tool.h"
#include "support/temp_folder.h"

namespace e2e {

class InventoryHost {
 public:
  // `name` is a file's in tests/data/hosts, without its ending: .host where there is one, else
  // .lspci and .sysfs.tar.gz.
  explicit InventoryHost(const std::string& name);

  const std::string& dump() const { return dump_; }
  const std::string& bus() const { return bus_; }  // the folder with devices/ and slots/

  // What the tool prints of the host; a test failure where it is not silent on standard error or
  // ends with another status.
  std::string OfDump(Words words, int status = 0) const;
  std::string OfSysfs(Words words, int status = 0) const;

 private:
  TempFolder folder_;
  std::string dump_;
  std::string bus_;
};

// All there are.
const std::vector<std::string>& InventoryHostNames();

// Holds the text against tests/data/hosts/FILE. With OSTREL_WRITE_GOLDEN in the environment the
// file is written anew instead, to be read before it is committed.
void ExpectGolden(const std::string& file, const std::string& text);

Words Joined(Words first, const Words& second);

}  // namespace e2e

#endif  // E2E_INVENTORY_HOSTS_H_
