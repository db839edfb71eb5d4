// Which kind of object manager the provider tests run on. CTest runs them twice: as they are, and
// with OSTREL_TEST_CMPI_1_0 set, on an object manager that ends its tables where CMPI 1.0 did.
//
// Thread rule: reads the environment; nobody writes it.

#ifndef SUPPORT_OBJECT_MANAGER_KIND_H_
#define SUPPORT_OBJECT_MANAGER_KIND_H_

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "platform/cmpi/cmpi.h"

inline bool OnCmpi10() { return std::getenv("OSTREL_TEST_CMPI_1_0") != nullptr; }

// A copy of the object manager's table as far as it goes, for a test that replaces a function.
inline CMPIBrokerEncFT CopyOfTable(const CMPIBrokerEncFT* functions) {
  CMPIBrokerEncFT copy{};
  std::memcpy(&copy, functions,
              OnCmpi10() ? offsetof(CMPIBrokerEncFT, newCMPIError) : sizeof(copy));
  return copy;
}

#endif  // SUPPORT_OBJECT_MANAGER_KIND_H_
