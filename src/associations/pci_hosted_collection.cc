#include "associations/pci_hosted_collection.h"

#include <cstdint>
#include <vector>

#include "associations/hosting_system.h"
#include "associations/source_dispatch.h"
#include "cache/topology_cache.h"
#include "elements/pci_port_group.h"
#include "frame/object_paths.h"
#include "frame/registration.h"
#include "platform/ostint/cmpi_base_mi.h"
#include "platform/ostint/cmpi_data.h"

using ostInt::CmpiContext;
using ostInt::CmpiInstance;
using ostInt::CmpiObjectPath;
using ostInt::CmpiResult;
using ostInt::CmpiStatus;

namespace {

// What the workers do with an association: return its instance, or its path.
auto InstanceEmitter(CmpiResult& result, const char** properties) {
  return [&result, properties](const CmpiObjectPath& system, const CmpiObjectPath& group) {
    result.returnData(MakePCIHostedCollection(system, group, properties));
  };
}
auto PathEmitter(CmpiResult& result) {
  return [&result](const CmpiObjectPath& system, const CmpiObjectPath& group) {
    result.returnData(MakePCIHostedCollectionRef(system, group));
  };
}

// Calls emit(system, group) for each group, then ends the result.
template <typename Emit>
CmpiStatus ForEachAssociation(CmpiResult& result, Emit emit) {
  const CmpiObjectPath system = PciCreateSystemRef();
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): independent of the cache's storage
  const std::vector<std::uint8_t> buses = GetBusNumbers();
  for (const std::uint8_t bus : buses) {
    const ostInt::CmpiElementScope scope;
    emit(system, MakePortGroupRef(bus));
  }
  result.returnDone();
  return CMPI_RC_OK;
}

// Calls emit(system, group) for the one group that the path names, then ends the result.
template <typename Emit>
CmpiStatus ForAssociationOf(CmpiResult& result, const CmpiObjectPath& group, Emit emit) {
  std::uint8_t bus = 0;
  const bool parsed = ParseBusID(group, bus);
  if (parsed && PortGroupExists(bus)) emit(PciCreateSystemRef(), MakePortGroupRef(bus));
  result.returnDone();
  return parsed ? CMPI_RC_OK : CMPI_RC_ERR_NOT_FOUND;
}

}  // namespace

CmpiObjectPath MakePCIHostedCollectionRef(const CmpiObjectPath& antecedent,
                                          const CmpiObjectPath& dependent) {
  CmpiObjectPath path(kNameSpace, "Ostrel_PCIHostedCollection");
  path.setKey("Antecedent", antecedent);
  path.setKey("Dependent", dependent);
  return path;
}

CmpiInstance MakePCIHostedCollection(const CmpiObjectPath& antecedent,
                                     const CmpiObjectPath& dependent, const char** properties) {
  CmpiInstance instance(MakePCIHostedCollectionRef(antecedent, dependent));
  instance.setPropertyFilter(properties, nullptr);
  return instance;
}

CmpiStatus EnumInstances(CmpiResult& result, const CmpiObjectPath& /*path*/,
                         const char** properties) {
  return ForEachAssociation(result, InstanceEmitter(result, properties));
}

CmpiStatus EnumInstanceRefs(CmpiResult& result, const CmpiObjectPath& /*path*/) {
  return ForEachAssociation(result, PathEmitter(result));
}

CmpiStatus GetInstance(CmpiResult& result, const CmpiObjectPath& group, const char** properties) {
  return ForAssociationOf(result, group, InstanceEmitter(result, properties));
}

CmpiStatus GetInstanceRef(CmpiResult& result, const CmpiObjectPath& group) {
  return ForAssociationOf(result, group, PathEmitter(result));
}

class PCIHostedCollection : virtual public ostInt::CmpiInstanceMI,
                            virtual public ostInt::CmpiAssociationMI {
 public:
  PCIHostedCollection(const ostInt::CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context),
        CmpiInstanceMI(broker, context),
        CmpiAssociationMI(broker, context) {
    LoadCache();
  }

  CmpiStatus enumInstanceNames(const CmpiContext& /*context*/, CmpiResult& result,
                               const CmpiObjectPath& path) override {
    return EnumInstanceRefs(result, path);
  }

  CmpiStatus enumInstances(const CmpiContext& /*context*/, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override {
    return EnumInstances(result, path, properties);
  }

  CmpiStatus getInstance(const CmpiContext& /*context*/, CmpiResult& result,
                         const CmpiObjectPath& path, const char** properties) override {
    return GetInstance(result, KeyRef(path, "Dependent"), properties);
  }

  CmpiStatus associators(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char* /*assocClass*/, const char* /*resultClass*/,
                         const char* /*role*/, const char* /*resultRole*/,
                         const char** properties) override {
    DispatchOnSource(
        path, "PCIHostedCollection ai ignoring",
        SourceRule{kPortGroupClass,
                   [&] { ReturnHostingSystem(broker(), context, result, properties); }},
        SourceRule{kSystemClass, [&] { ListPortGroups(result, path, properties); }});
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus associatorNames(const CmpiContext& context, CmpiResult& result,
                             const CmpiObjectPath& path, const char* /*assocClass*/,
                             const char* /*resultClass*/, const char* /*role*/,
                             const char* /*resultRole*/) override {
    DispatchOnSource(
        path, "PCIHostedCollection ain ignoring",
        SourceRule{kPortGroupClass, [&] { ReturnHostingSystemRef(broker(), context, result); }},
        SourceRule{kSystemClass, [&] { ListPortGroupRefs(result, path); }});
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus references(const CmpiContext& /*context*/, CmpiResult& result,
                        const CmpiObjectPath& path, const char* /*resultClass*/,
                        const char* /*role*/, const char** properties) override {
    DispatchOnSource(path, "PCIHostedCollection reference unsupported class",
                     SourceRule{kPortGroupClass, [&] { GetInstance(result, path, properties); }},
                     SourceRule{kSystemClass, [&] { EnumInstances(result, path, properties); }});
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus referenceNames(const CmpiContext& /*context*/, CmpiResult& result,
                            const CmpiObjectPath& path, const char* /*resultClass*/,
                            const char* /*role*/) override {
    DispatchOnSource(path, "PCIHostedCollection reference unsupported class",
                     SourceRule{kPortGroupClass, [&] { GetInstanceRef(result, path); }},
                     SourceRule{kSystemClass, [&] { EnumInstanceRefs(result, path); }});
    result.returnDone();
    return CMPI_RC_OK;
  }
};

OSTREL_REGISTER_ASSOCIATION_PROVIDER(PCIHostedCollection);
