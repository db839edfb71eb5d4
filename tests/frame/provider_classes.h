// The ten provider classes and their C factories, as they are linked into a test.
//
// Thread rule: constant data.

#ifndef FRAME_PROVIDER_CLASSES_H_
#define FRAME_PROVIDER_CLASSES_H_

#include "platform/cmpi/cmpi.h"

using CreateInstanceMI = CMPIInstanceMI* (*)(const CMPIBroker*, const CMPIContext*);
using CreateAssociationMI = CMPIAssociationMI* (*)(const CMPIBroker*, const CMPIContext*);

#define DECLARE_INSTANCE_FACTORY(Class)                                                   \
  extern "C" CMPIInstanceMI* Ostrel_##Class##_Create_InstanceMI(const CMPIBroker* broker, \
                                                                const CMPIContext* context);
#define DECLARE_ASSOCIATION_FACTORIES(Class)                                                    \
  DECLARE_INSTANCE_FACTORY(Class)                                                               \
  extern "C" CMPIAssociationMI* Ostrel_##Class##_Create_AssociationMI(const CMPIBroker* broker, \
                                                                      const CMPIContext* context);

DECLARE_INSTANCE_FACTORY(PCIDevice)
DECLARE_INSTANCE_FACTORY(PCIBridge)
DECLARE_INSTANCE_FACTORY(PCIeSwitch)
DECLARE_INSTANCE_FACTORY(PCIPort)
DECLARE_INSTANCE_FACTORY(PCIPortGroup)
DECLARE_ASSOCIATION_FACTORIES(PCISystemDevice)
DECLARE_ASSOCIATION_FACTORIES(PCIDeviceConnection)
DECLARE_ASSOCIATION_FACTORIES(PCIControlledBy)
DECLARE_ASSOCIATION_FACTORIES(PCIHostedCollection)
DECLARE_ASSOCIATION_FACTORIES(PCIMemberOfCollection)

#undef DECLARE_INSTANCE_FACTORY
#undef DECLARE_ASSOCIATION_FACTORIES

struct ProviderClass {
  const char* name;
  CreateInstanceMI create_instance;
  CreateAssociationMI create_association;  // null: serves instances alone
};

#define INSTANCE_CLASS(Class) \
  { "Ostrel_" #Class, Ostrel_##Class##_Create_InstanceMI, nullptr }
#define ASSOCIATION_CLASS(Class) \
  { "Ostrel_" #Class, Ostrel_##Class##_Create_InstanceMI, Ostrel_##Class##_Create_AssociationMI }

inline constexpr ProviderClass kProviderClasses[] = {
    INSTANCE_CLASS(PCIDevice),
    INSTANCE_CLASS(PCIBridge),
    INSTANCE_CLASS(PCIeSwitch),
    INSTANCE_CLASS(PCIPort),
    INSTANCE_CLASS(PCIPortGroup),
    ASSOCIATION_CLASS(PCISystemDevice),
    ASSOCIATION_CLASS(PCIDeviceConnection),
    ASSOCIATION_CLASS(PCIControlledBy),
    ASSOCIATION_CLASS(PCIHostedCollection),
    ASSOCIATION_CLASS(PCIMemberOfCollection),
};

#undef INSTANCE_CLASS
#undef ASSOCIATION_CLASS

#endif  // FRAME_PROVIDER_CLASSES_H_
