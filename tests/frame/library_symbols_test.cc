// What the provider library shows to the outside and needs from it, read from its dynamic symbol
// table (System V ABI, object files).

#include <elf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

class DynamicSymbols {
 public:
  explicit DynamicSymbols(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    image_.assign(std::istreambuf_iterator<char>(in), {});
    const auto header = Read<Elf64_Ehdr>(0);
    for (std::size_t index = 0; index < header.e_shnum; ++index) {
      sections_.push_back(Read<Elf64_Shdr>(header.e_shoff + index * header.e_shentsize));
    }
    for (const Elf64_Shdr& section : sections_) {
      if (section.sh_type == SHT_DYNSYM) ReadSymbols(section);
      if (section.sh_type == SHT_DYNAMIC) ReadNeeded(section);
    }
  }

  std::set<std::string> defined;
  std::set<std::string> undefined;
  std::set<std::string> unique;  // STB_GNU_UNIQUE
  std::set<std::string> needed;  // DT_NEEDED

 private:
  template <typename Record>
  Record Read(std::size_t offset) const {
    Record record;
    std::memcpy(&record, image_.data() + offset, sizeof record);
    return record;
  }
  std::string Name(const Elf64_Shdr& strings, std::size_t offset) const {
    return image_.data() + strings.sh_offset + offset;
  }

  void ReadSymbols(const Elf64_Shdr& section) {
    const Elf64_Shdr& strings = sections_.at(section.sh_link);
    // The first symbol stands for none.
    for (std::size_t at = sizeof(Elf64_Sym); at < section.sh_size; at += sizeof(Elf64_Sym)) {
      const auto symbol = Read<Elf64_Sym>(section.sh_offset + at);
      const std::string name = Name(strings, symbol.st_name);
      if (ELF64_ST_BIND(symbol.st_info) == STB_GNU_UNIQUE) unique.insert(name);
      (symbol.st_shndx == SHN_UNDEF ? undefined : defined).insert(name);
    }
  }

  void ReadNeeded(const Elf64_Shdr& section) {
    const Elf64_Shdr& strings = sections_.at(section.sh_link);
    for (std::size_t at = 0; at < section.sh_size; at += sizeof(Elf64_Dyn)) {
      const auto entry = Read<Elf64_Dyn>(section.sh_offset + at);
      if (entry.d_tag == DT_NEEDED) needed.insert(Name(strings, entry.d_un.d_val));
    }
  }

  std::string image_;
  std::vector<Elf64_Shdr> sections_;
};

const DynamicSymbols& Library() {
  static const DynamicSymbols library(OSTREL_PCI_LIBRARY);
  return library;
}

// With the factories goes the type of the host's exception (Itanium C++ ABI, 2.9.5): where the C++
// runtime compares types by their addresses, both libraries must mean the same.
TEST(LibrarySymbolsTest, TheFifteenFactoriesAndTheExceptionsTypeAreAllThatIsExported) {
  EXPECT_EQ(Library().defined, (std::set<std::string>{
                                   "Ostrel_PCIBridge_Create_InstanceMI",
                                   "Ostrel_PCIControlledBy_Create_AssociationMI",
                                   "Ostrel_PCIControlledBy_Create_InstanceMI",
                                   "Ostrel_PCIDeviceConnection_Create_AssociationMI",
                                   "Ostrel_PCIDeviceConnection_Create_InstanceMI",
                                   "Ostrel_PCIDevice_Create_InstanceMI",
                                   "Ostrel_PCIHostedCollection_Create_AssociationMI",
                                   "Ostrel_PCIHostedCollection_Create_InstanceMI",
                                   "Ostrel_PCIMemberOfCollection_Create_AssociationMI",
                                   "Ostrel_PCIMemberOfCollection_Create_InstanceMI",
                                   "Ostrel_PCIPortGroup_Create_InstanceMI",
                                   "Ostrel_PCIPort_Create_InstanceMI",
                                   "Ostrel_PCISystemDevice_Create_AssociationMI",
                                   "Ostrel_PCISystemDevice_Create_InstanceMI",
                                   "Ostrel_PCIeSwitch_Create_InstanceMI",
                                   "_ZTIN7HostCtl3Lib16HostCtlExceptionE",
                                   "_ZTSN7HostCtl3Lib16HostCtlExceptionE",
                               }));
}

TEST(LibrarySymbolsTest, TwoFunctionsAreAllThatIsNeededOfTheHostLibrary) {
  std::set<std::string> needed;
  for (const std::string& name : Library().undefined) {
    if (name.find("7HostCtl") != std::string::npos) needed.insert(name);
  }
  EXPECT_EQ(needed, (std::set<std::string>{"_ZN7HostCtl11HostFactory7GetHostEv",
                                           "_ZN7HostCtl4Host15GetHardwareInfoEv"}));
  EXPECT_THAT(Library().needed, testing::Contains("libHostCtl.so.1"));
}

// One such symbol, and the library never leaves memory.
TEST(LibrarySymbolsTest, NoSymbolIsUnique) {
  EXPECT_THAT(Library().unique, testing::IsEmpty());
  EXPECT_THAT(Library().undefined, testing::Not(testing::IsEmpty()));
}

}  // namespace
