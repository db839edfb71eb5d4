#include "broker/provider_library.h"

#include <dlfcn.h>

#include <stdexcept>
#include <utility>

namespace broker {

ProviderLibrary::ProviderLibrary(void* handle, Resolver resolve)
    : handle_(handle), resolve_(std::move(resolve)) {}

ProviderLibrary::~ProviderLibrary() {
  if (handle_ != nullptr) dlclose(handle_);
}

std::shared_ptr<const ProviderLibrary> ProviderLibrary::Open(const std::string& file) {
  void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) throw std::runtime_error(dlerror());
  return std::shared_ptr<const ProviderLibrary>(
      new ProviderLibrary(handle, [handle](const char* symbol) { return dlsym(handle, symbol); }));
}

std::shared_ptr<const ProviderLibrary> ProviderLibrary::FromResolver(Resolver resolve) {
  return std::shared_ptr<const ProviderLibrary>(new ProviderLibrary(nullptr, std::move(resolve)));
}

InstanceFactory ProviderLibrary::FindInstanceFactory(std::string_view class_name) const {
  const std::string symbol = std::string(class_name) + "_Create_InstanceMI";
  return reinterpret_cast<InstanceFactory>(resolve_(symbol.c_str()));
}

AssociationFactory ProviderLibrary::FindAssociationFactory(std::string_view class_name) const {
  const std::string symbol = std::string(class_name) + "_Create_AssociationMI";
  return reinterpret_cast<AssociationFactory>(resolve_(symbol.c_str()));
}

}  // namespace broker
