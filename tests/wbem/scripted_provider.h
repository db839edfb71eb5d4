// A provider library within the test program: one class, Ostrel_PCIPortGroup, whose instances are
// named "group-0", "group-1" and so on, as many as a test says, and which fails as it says.

#ifndef WBEM_SCRIPTED_PROVIDER_H_
#define WBEM_SCRIPTED_PROVIDER_H_

#include <functional>
#include <memory>
#include <string>

#include "broker/object_manager.h"
#include "broker/provider_library.h"
#include "platform/cmpi/cmpi.h"
#include "wbem/current_manager.h"

namespace scripted {

inline constexpr const char* kClass = "Ostrel_PCIPortGroup";

struct Behaviour {
  int instances = 3;
  std::string element_name = "a group";
  CMPIrc status = CMPI_RC_OK;           // of every operation, once it has returned what it does
  std::function<void(int)> on_element;  // called before the element of that number is returned
  std::function<void(const char**)> on_list;  // called with the property list of an enumeration
};

// What the class does from the next request on.
void Behave(const Behaviour& wanted);

std::shared_ptr<const broker::ProviderLibrary> Library();

// An object manager that serves the class.
std::unique_ptr<broker::ObjectManager> Manager();
// The same, as what a server answers by.
std::unique_ptr<wbem::CurrentManager> Current();

}  // namespace scripted

#endif  // WBEM_SCRIPTED_PROVIDER_H_
