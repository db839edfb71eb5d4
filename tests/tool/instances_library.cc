// A provider library without associations: it has an instance factory of each class, which makes no
// provider, and no association factory.

#define INSTANCE_FACTORY(CLASS)                                                         \
  extern "C" __attribute__((visibility("default"))) void* CLASS##_Create_InstanceMI() { \
    return nullptr;                                                                     \
  }

INSTANCE_FACTORY(Ostrel_PCIDevice)
INSTANCE_FACTORY(Ostrel_PCIBridge)
INSTANCE_FACTORY(Ostrel_PCIeSwitch)
INSTANCE_FACTORY(Ostrel_PCIPort)
INSTANCE_FACTORY(Ostrel_PCIPortGroup)
INSTANCE_FACTORY(Ostrel_PCISystemDevice)
INSTANCE_FACTORY(Ostrel_PCIDeviceConnection)
INSTANCE_FACTORY(Ostrel_PCIControlledBy)
INSTANCE_FACTORY(Ostrel_PCIHostedCollection)
INSTANCE_FACTORY(Ostrel_PCIMemberOfCollection)
