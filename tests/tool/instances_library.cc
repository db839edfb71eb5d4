// A provider library without associations: it has an instance factory of each class, which makes no
// provider, and no association factory.

extern "C" {

void* Ostrel_PCIDevice_Create_InstanceMI() { return nullptr; }
void* Ostrel_PCIBridge_Create_InstanceMI() { return nullptr; }
void* Ostrel_PCIeSwitch_Create_InstanceMI() { return nullptr; }
void* Ostrel_PCIPort_Create_InstanceMI() { return nullptr; }
void* Ostrel_PCIPortGroup_Create_InstanceMI() { return nullptr; }
void* Ostrel_PCISystemDevice_Create_InstanceMI() { return nullptr; }
void* Ostrel_PCIDeviceConnection_Create_InstanceMI() { return nullptr; }
void* Ostrel_PCIControlledBy_Create_InstanceMI() { return nullptr; }
void* Ostrel_PCIHostedCollection_Create_InstanceMI() { return nullptr; }
void* Ostrel_PCIMemberOfCollection_Create_InstanceMI() { return nullptr; }

}  // extern "C"
