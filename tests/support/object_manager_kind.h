// Which kind of object manager the provider tests run on. CTest runs them several times: as they
// are, and with OSTREL_TEST_OBJECT_MANAGER set to one of the others that are imitated
// (support/imitations.h).
//
// Thread rule: reads the environment; nobody writes it.

#ifndef SUPPORT_OBJECT_MANAGER_KIND_H_
#define SUPPORT_OBJECT_MANAGER_KIND_H_

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "cim/value.h"
#include "platform/cmpi/cmpi.h"
#include "support/imitations.h"

inline std::string_view ObjectManagerKind() {
  const char* kind = std::getenv("OSTREL_TEST_OBJECT_MANAGER");
  return kind == nullptr ? "itself" : kind;
}

inline bool OnCmpi10() { return ObjectManagerKind() == "cmpi_1_0"; }
inline bool OnSfcb() { return ObjectManagerKind() == "sfcb"; }
inline bool OnOpenPegasus() { return ObjectManagerKind() == "openpegasus"; }

// Where GetInstance delivers the one instance that was asked for, or NOT_FOUND, whatever more or
// less the provider returns; and where new instances have the defaults of their class.
inline bool OnServer() { return OnSfcb() || OnOpenPegasus(); }

inline const broker::Imitation& TestedObjectManager() {
  const std::string_view kind = ObjectManagerKind();
  if (kind == "itself") return broker::Itself();
  if (OnCmpi10()) return broker::Cmpi10();
  if (OnSfcb()) return broker::Sfcb();
  if (OnOpenPegasus()) return broker::OpenPegasus();
  throw std::invalid_argument("no object manager " + std::string(kind));
}

// Takes out what a server puts into every instance of a class and no provider sets: what is
// compared is what the provider says. (A property that it sets to the default's value would be
// taken out as well; no provider does.)
inline void RemoveClassDefaults(cim::Instance& instance) {
  if (!OnServer()) return;
  std::erase_if(instance.properties, [](const cim::Property& property) {
    const auto is = [&](std::string_view name, std::uint16_t value) {
      return property.name == name && property.value == cim::Value(value);
    };
    return is("EnabledState", 5) || is("RequestedState", 12) || is("EnabledDefault", 2) ||
           is("TransitioningToState", 12);
  });
}

// A copy of the object manager's table as far as it goes, for a test that replaces a function.
inline CMPIBrokerEncFT CopyOfTable(const CMPIBrokerEncFT* functions) {
  CMPIBrokerEncFT copy{};
  std::memcpy(&copy, functions,
              OnCmpi10() ? offsetof(CMPIBrokerEncFT, newCMPIError) : sizeof(copy));
  return copy;
}

#endif  // SUPPORT_OBJECT_MANAGER_KIND_H_
