// "Ostrel_PCIHostedCollection", as naive_providers.h has it.

#include <optional>

#include "support/naive/cim.h"
#include "support/naive_providers.h"

namespace naive {

using broker::PropertyList;
using cim::ObjectPath;

void Providers::ReturnHosted(int bus, const PropertyList& properties) {
  const ObjectPath path =
      AssociationPath(kHosted, "Antecedent", SystemPath(), "Dependent", GroupPath(bus));
  ReturnInstance(Filtered(InstanceFrom(path), properties));
}

void Providers::ReturnHostedRef(int bus) {
  ReturnPath(AssociationPath(kHosted, "Antecedent", SystemPath(), "Dependent", GroupPath(bus)));
}

void Providers::HostedEnumInstanceNames() {
  for (const int bus : topology().bus_numbers) ReturnHostedRef(bus);
  ReturnDone();
}

void Providers::HostedEnumInstances(const PropertyList& properties) {
  for (const int bus : topology().bus_numbers) ReturnHosted(bus, properties);
  ReturnDone();
}

void Providers::HostedGetInstance(const ObjectPath& path, const PropertyList& properties) {
  const std::optional<int> bus = ParseBusId(ReadReference(path, "Dependent"));
  if (!bus) {
    ReturnDone();
    NotFound();
  }
  if (PortGroupExists(*bus)) ReturnHosted(*bus, properties);
  ReturnDone();
}

void Providers::HostedAssociators(const Request& request) {
  if (IsA(request.path, kPortGroup)) {
    ReturnSystemOfObjectManager(request.properties);
  } else if (IsA(request.path, kSystemClass)) {
    GroupEnumInstances(request.properties);
  } else {
    Log(kDebug, "PCIHostedCollection ai ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::HostedAssociatorNames(const Request& request) {
  if (IsA(request.path, kPortGroup)) {
    ReturnSystemNameOfObjectManager();
  } else if (IsA(request.path, kSystemClass)) {
    GroupEnumInstanceNames();
  } else {
    Log(kDebug, "PCIHostedCollection ain ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::HostedReferences(const Request& request) {
  if (IsA(request.path, kPortGroup)) {
    const std::optional<int> bus = ParseBusId(request.path);
    if (bus && PortGroupExists(*bus)) ReturnHosted(*bus, request.properties);
    ReturnDone();
  } else if (IsA(request.path, kSystemClass)) {
    HostedEnumInstances(request.properties);
  } else {
    Log(kDebug, "PCIHostedCollection reference unsupported class " + Text(request.path));
  }
  ReturnDone();
}

void Providers::HostedReferenceNames(const Request& request) {
  if (IsA(request.path, kPortGroup)) {
    const std::optional<int> bus = ParseBusId(request.path);
    if (bus && PortGroupExists(*bus)) ReturnHostedRef(*bus);
    ReturnDone();
  } else if (IsA(request.path, kSystemClass)) {
    HostedEnumInstanceNames();
  } else {
    Log(kDebug, "PCIHostedCollection reference unsupported class " + Text(request.path));
  }
  ReturnDone();
}

}  // namespace naive
