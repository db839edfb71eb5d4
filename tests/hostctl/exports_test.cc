// What the shared library shows to the outside.

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <sstream>
#include <string>

namespace hostctl_test {
namespace {

std::string SymbolsOf(const std::string& library) {
  std::FILE* pipe = popen(("nm -DC --defined-only '" + library + "'").c_str(), "r");
  std::string output;
  char buffer[4096];
  while (const std::size_t length = std::fread(buffer, 1, sizeof buffer, pipe)) {
    output.append(buffer, length);
  }
  EXPECT_EQ(pclose(pipe), 0);
  return output;
}

TEST(Exports, AreTheInterfaceAlone) {
  std::set<std::string> functions;
  std::istringstream lines(SymbolsOf(HOSTCTL_LIBRARY));
  for (std::string line; std::getline(lines, line);) {
    const std::string name = line.substr(19);  // after address and type
    if (name.starts_with("typeinfo ") || name.starts_with("vtable ")) {
      EXPECT_NE(name.find(" for HostCtl::"), name.npos) << name;
    } else {
      functions.insert(name);
    }
  }
  EXPECT_EQ(functions, (std::set<std::string>{"HostCtl::Host::GetHardwareInfo()",
                                              "HostCtl::HostFactory::GetHost()"}));
}

}  // namespace
}  // namespace hostctl_test
