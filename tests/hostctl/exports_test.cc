// What the shared library shows to the outside.

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <sstream>
#include <string>

namespace hostctl_test {
namespace {

std::string OutputOf(const std::string& command) {
  std::FILE* pipe = popen(command.c_str(), "r");
  std::string output;
  char buffer[4096];
  while (const std::size_t length = std::fread(buffer, 1, sizeof buffer, pipe)) {
    output.append(buffer, length);
  }
  EXPECT_EQ(pclose(pipe), 0) << command;
  return output;
}

std::string SymbolsOf(const std::string& library) {
  return OutputOf("nm -DC --defined-only '" + library + "'");
}

// The shared libraries that it asks the loader for.
std::set<std::string> NeededBy(const std::string& library) {
  std::set<std::string> needed;
  std::istringstream lines(OutputOf("readelf -dW '" + library + "'"));
  for (std::string line; std::getline(lines, line);) {
    const std::size_t name = line.find("(NEEDED)") == line.npos ? line.npos : line.find('[');
    if (name != line.npos) needed.insert(line.substr(name + 1, line.find(']') - name - 1));
  }
  return needed;
}

// The C and C++ runtimes', under the names that they have on any processor.
bool IsRuntime(const std::string& name) {
  for (const char* runtime :
       {"libstdc++.so.", "libgcc_s.so.", "libc.so.", "libm.so.", "libpthread.so.", "libdl.so.",
        "ld-linux", "libasan.so.", "libubsan.so.", "libtsan.so.", "libgcov"}) {
    if (name.starts_with(runtime)) return true;
  }
  return false;
}

TEST(Exports, AreTheInterfaceAndTheSharedReading) {
  std::set<std::string> functions;
  std::set<std::string> types;
  std::istringstream lines(SymbolsOf(HOSTCTL_LIBRARY));
  for (std::string line; std::getline(lines, line);) {
    const std::string name = line.substr(19);  // after address and type
    if (name.starts_with("typeinfo ") || name.starts_with("vtable ")) {
      EXPECT_NE(name.find(" for HostCtl::"), name.npos) << name;
      types.insert(name);
    } else {
      functions.insert(name);
    }
  }
  EXPECT_EQ(functions,
            (std::set<std::string>{"HostCtl::Host::GetHardwareInfo()",
                                   "HostCtl::HostFactory::GetHost()", "OstrelSharedPciHost"}));
  // What a handler in another library knows the exception by.
  EXPECT_TRUE(types.contains("typeinfo for HostCtl::Lib::HostCtlException"));
  EXPECT_TRUE(types.contains("typeinfo name for HostCtl::Lib::HostCtlException"));
}

// Whatever a library brings along lives in other people's processes.
TEST(Libraries, NeedTheRuntimesAndEachOther) {
  for (const std::string& name : NeededBy(HOSTCTL_LIBRARY)) EXPECT_TRUE(IsRuntime(name)) << name;
  const std::set<std::string> provider = NeededBy(PROVIDER_LIBRARY);
  EXPECT_TRUE(provider.contains("libHostCtl.so.1"));
  for (const std::string& name : provider) {
    EXPECT_TRUE(name == "libHostCtl.so.1" || IsRuntime(name)) << name;
  }
}

}  // namespace
}  // namespace hostctl_test
