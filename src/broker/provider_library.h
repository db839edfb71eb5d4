// A provider library: where the factories of provider classes come from.
//
// Thread rule: immutable after construction; resolving is thread-safe.

#ifndef BROKER_PROVIDER_LIBRARY_H_
#define BROKER_PROVIDER_LIBRARY_H_

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/cmpi/cmpi.h"

namespace broker {

// The factories of our providers take no status: they have none to fill in.
using InstanceFactory = CMPIInstanceMI* (*)(const CMPIBroker*, const CMPIContext*);
using AssociationFactory = CMPIAssociationMI* (*)(const CMPIBroker*, const CMPIContext*);

class ProviderLibrary {
 public:
  using Resolver = std::function<void*(const char* symbol)>;

  // Opens the shared library, all its symbols bound at once (RTLD_NOW | RTLD_LOCAL). Throws
  // std::runtime_error with the loader's text.
  static std::shared_ptr<const ProviderLibrary> Open(const std::string& file);

  // A library that is already part of the process: `resolve` answers a symbol's address or nullptr.
  static std::shared_ptr<const ProviderLibrary> FromResolver(Resolver resolve);

  // Closes the shared library. The object managers that use it hold it, and have cleaned up all its
  // providers by then.
  ~ProviderLibrary();

  ProviderLibrary(const ProviderLibrary&) = delete;
  ProviderLibrary& operator=(const ProviderLibrary&) = delete;

  // "<class>_Create_InstanceMI" and "<class>_Create_AssociationMI"; nullptr where there is none.
  InstanceFactory FindInstanceFactory(std::string_view class_name) const;
  AssociationFactory FindAssociationFactory(std::string_view class_name) const;

  // The address of any symbol of the library or of one that it is linked with; nullptr where there
  // is none.
  void* FindSymbol(const char* name) const { return resolve_(name); }

 private:
  ProviderLibrary(void* handle, Resolver resolve);

  void* handle_;
  Resolver resolve_;
};

}  // namespace broker

#endif  // BROKER_PROVIDER_LIBRARY_H_
