// The table behind schema.h: the classes, superclasses before subclasses, as the CIM schema (2.22
// and later) and the project's own schema files declare them. Of the CIM classes only those
// properties are listed that are keys or that our instances set.
//
// Only schema.cc includes this.

#ifndef CIM_SCHEMA_TABLE_H_
#define CIM_SCHEMA_TABLE_H_

#include <array>

#include "cim/schema.h"

namespace cim::schema {
namespace {  // NOLINT(cert-dcl59-cpp): one file includes this

constexpr std::string_view kCimVersion = "2.41.0";
constexpr CMPIType kUint16Array = CMPI_uint16 | CMPI_ARRAY;

constexpr Property Key(std::string_view name, std::string_view description) {
  return {name, CMPI_string, true, {}, description, {}};
}
constexpr Property KeyReference(std::string_view name, std::string_view to,
                                std::string_view description) {
  return {name, CMPI_ref, true, to, description, {}};
}
constexpr Property Plain(std::string_view name, CMPIType type, std::string_view description) {
  return {name, type, false, {}, description, {}};
}
constexpr Property Coded(std::string_view name, CMPIType type, std::string_view description,
                         std::span<const CodedValue> values) {
  return {name, type, false, {}, description, values};
}

// ---------------------------------------------------------------------------------------------
// Codes

constexpr CodedValue kHealthStates[] = {
    {"0", "Unknown"},
    {"5", "OK"},
    {"10", "Degraded/Warning"},
    {"15", "Minor failure"},
    {"20", "Major failure"},
    {"25", "Critical failure"},
    {"30", "Non-recoverable error"},
};
constexpr CodedValue kPrimaryStatuses[] = {
    {"0", "Unknown"},
    {"1", "OK"},
    {"2", "Degraded"},
    {"3", "Error"},
};
constexpr CodedValue kEnabledStates[] = {
    {"0", "Unknown"},
    {"1", "Other"},
    {"2", "Enabled"},
    {"3", "Disabled"},
    {"4", "Shutting Down"},
    {"5", "Not Applicable"},
    {"6", "Enabled but Offline"},
    {"7", "In Test"},
    {"8", "Deferred"},
    {"9", "Quiesce"},
    {"10", "Starting"},
};
constexpr CodedValue kRequestedStates[] = {
    {"0", "Unknown"},   {"2", "Enabled"}, {"3", "Disabled"}, {"4", "Shut Down"},
    {"5", "No Change"}, {"6", "Offline"}, {"7", "Test"},     {"8", "Deferred"},
    {"9", "Quiesce"},   {"10", "Reboot"}, {"11", "Reset"},   {"12", "Not Applicable"},
};
constexpr CodedValue kCapabilities[] = {
    {"0", "Unknown"},
    {"1", "Other"},
    {"2", "Supports 66MHz"},
    {"3", "Supports User Definable Features"},
    {"4", "Supports Fast Back-to-Back Transactions"},
    {"5", "PCI-X Capable"},
    {"6", "PCI Power Management Supported"},
    {"7", "Message Signaled Interrupts Supported"},
    {"8", "Parity Error Recovery Capable"},
    {"9", "AGP Supported"},
    {"10", "Vital Product Data Supported"},
    {"11", "Provides Slot Identification"},
    {"12", "Hot Swap Supported"},
    {"13", "Supports PCIe"},
    {"14", "Supports PCIe Gen 2"},
    {"15", "Supports PCIe Gen 3"},
};
constexpr CodedValue kClassCodes[] = {
    {"0", "Pre 2.0"},
    {"1", "Mass Storage"},
    {"2", "Network"},
    {"3", "Display"},
    {"4", "Multimedia"},
    {"5", "Memory"},
    {"6", "Bridge"},
    {"7", "Simple Communications"},
    {"8", "Base Peripheral"},
    {"9", "Input"},
    {"10", "Docking Station"},
    {"11", "Processor"},
    {"12", "Serial Bus"},
    {"13", "Wireless"},
    {"14", "Intelligent I/O"},
    {"15", "Satellite Communication"},
    {"16", "Encryption/Decryption"},
    {"17", "Data Acquisition and Signal Processing"},
    {"18", "Processing Accelerator"},  // this and the next two are younger than the CIM schema
    {"19", "Non-Essential Instrumentation"},
    {"64", "Co-Processor"},
    {"255", "Other"},
};
constexpr CodedValue kBridgeTypes[] = {
    {"0", "Host"},    {"1", "ISA"},    {"2", "EISA"},    {"3", "Micro Channel"},
    {"4", "PCI"},     {"5", "PCMCIA"}, {"6", "NuBus"},   {"7", "CardBus"},
    {"8", "RACEway"}, {"9", "AGP"},    {"128", "Other"},
};
constexpr CodedValue kPortTypes[] = {
    {"150", "PCI"},
    {"151", "PCI-X"},
    {"152", "PCI-E"},
};

// ---------------------------------------------------------------------------------------------
// CIM: elements

constexpr Property kManagedElement[] = {
    Plain("ElementName", CMPI_string, "A name of the element for people; it need not be unique."),
};
constexpr Property kManagedSystemElement[] = {
    Coded("HealthState", CMPI_uint16, "The health of the element itself, without its parts.",
          kHealthStates),
    Coded("PrimaryStatus", CMPI_uint16, "One summary of the element's health.", kPrimaryStatuses),
};
constexpr Property kEnabledLogicalElement[] = {
    Coded("EnabledState", CMPI_uint16, "Whether the element is enabled.", kEnabledStates),
    Coded("RequestedState", CMPI_uint16, "The state that was last asked for.", kRequestedStates),
};
constexpr Property kSystem[] = {
    Key("CreationClassName", "The class that the instance was made of."),
    Key("Name", "The name of the system, unique among systems of its class."),
};
constexpr Property kLogicalDevice[] = {
    Key("SystemCreationClassName", "The class of the system that the device is part of."),
    Key("SystemName", "The name of the system that the device is part of."),
    Key("CreationClassName", "The class that the instance was made of."),
    Key("DeviceID", "The address or other identification of the device within its system."),
};
constexpr Property kPciController[] = {
    Coded("ClassCode", CMPI_uint8,
          "The base class of the function: the upper byte of its class code.", kClassCodes),
    Coded("Capabilities", kUint16Array, "What the function says it is capable of.", kCapabilities),
};
constexpr Property kCimPciDevice[] = {
    Plain("BusNumber", CMPI_uint8, "The number of the bus on which the function sits."),
    Plain("DeviceNumber", CMPI_uint8, "The device number on the bus, 0 to 31."),
    Plain("FunctionNumber", CMPI_uint8, "The function number within the device, 0 to 7."),
    Plain("SubsystemID", CMPI_uint16, "The subsystem's identifier, given by the subsystem vendor."),
    Plain("SubsystemVendorID", CMPI_uint16,
          "The subsystem vendor's identifier, given by the PCI-SIG."),
    Plain("PCIDeviceID", CMPI_uint16, "The device's identifier, given by the vendor."),
    Plain("VendorID", CMPI_uint16, "The vendor's identifier, given by the PCI-SIG."),
    Plain("RevisionID", CMPI_uint8, "The revision of the device, given by the vendor."),
};
constexpr Property kCimPciBridge[] = {
    Coded("BridgeType", CMPI_uint16, "What lies behind the bridge: its PCI subclass.",
          kBridgeTypes),
    // The CIM schema spells the name so.
    Plain("SecondayBusNumber", CMPI_uint8, "The number of the bus behind the bridge."),
};
constexpr Property kCimPcieSwitch[] = {
    Plain("NumberOfPorts", CMPI_uint16, "How many ports the switch has."),
};
constexpr Property kCimPciPort[] = {
    Coded("PortType", CMPI_uint16, "The kind of bus or link that the port belongs to.", kPortTypes),
};
constexpr Property kCimPciPortGroup[] = {
    Plain("BusNumber", CMPI_uint8, "The number of the bus whose ports are grouped."),
};
constexpr Property kSystemSpecificCollection[] = {
    Key("InstanceID", "Identifies the collection within its namespace."),
};

// ---------------------------------------------------------------------------------------------
// CIM: associations

constexpr Property kComponent[] = {
    KeyReference("GroupComponent", "CIM_ManagedElement", "The whole."),
    KeyReference("PartComponent", "CIM_ManagedElement", "The part."),
};
constexpr Property kSystemComponent[] = {
    KeyReference("GroupComponent", "CIM_System", "The system."),
    KeyReference("PartComponent", "CIM_ManagedSystemElement", "The part of the system."),
};
constexpr Property kCimSystemDevice[] = {
    KeyReference("GroupComponent", "CIM_System", "The system."),
    KeyReference("PartComponent", "CIM_LogicalDevice", "The device that is part of the system."),
};
constexpr Property kDependency[] = {
    KeyReference("Antecedent", "CIM_ManagedElement", "What the other end depends on."),
    KeyReference("Dependent", "CIM_ManagedElement", "What depends on the other end."),
};
constexpr Property kCimDeviceConnection[] = {
    KeyReference("Antecedent", "CIM_LogicalDevice", "A device."),
    KeyReference("Dependent", "CIM_LogicalDevice", "The device connected to it."),
};
constexpr Property kCimControlledBy[] = {
    KeyReference("Antecedent", "CIM_Controller", "The controller."),
    KeyReference("Dependent", "CIM_LogicalDevice", "The controlled device."),
};
constexpr Property kCimHostedCollection[] = {
    KeyReference("Antecedent", "CIM_System", "The system."),
    KeyReference("Dependent", "CIM_SystemSpecificCollection",
                 "The collection that has a meaning only within the system."),
};
constexpr Property kCimMemberOfCollection[] = {
    KeyReference("Collection", "CIM_Collection", "The collection."),
    KeyReference("Member", "CIM_ManagedElement", "A member of it."),
};

// ---------------------------------------------------------------------------------------------
// Own classes: what no superclass declares, and the references whose ends are narrower than the
// inherited ones

// Of devices, bridges and switches alike.
constexpr Property kSubClassCode = Plain(
    "SubClassCode", CMPI_uint8,
    "The subclass of the function: the lower byte of its class code. What it means depends on "
    "ClassCode; the PCI Code and ID Assignment Specification lists both.");
constexpr Property kSegmentNumber =
    Plain("SegmentNumber", CMPI_uint16,
          "The number of the PCI segment (the kernel's PCI domain) in which the function's bus "
          "number counts: the lower 16 bits. 0 on a host that has one segment.");
constexpr Property kParentDeviceId =
    Plain("ParentDeviceID", CMPI_string,
          "The identifier of the function directly above, through which this one is reached: a "
          "bridge, a root port or a port of a switch. An empty text where there is none.");
constexpr Property kPhysicalSlot =
    Plain("PhysicalSlot", CMPI_uint8,
          "The number of the physical slot in which the function sits: its lower 8 bits. NULL "
          "where it sits in none, or where the platform does not say.");

constexpr Property kOwnPciDevice[] = {
    kSubClassCode,
    kSegmentNumber,
    kParentDeviceId,
    kPhysicalSlot,
};
constexpr Property kOwnPciBridge[] = {
    kSubClassCode,
    kSegmentNumber,
    kParentDeviceId,
    kPhysicalSlot,
    Plain("SecondaryBusNumber", CMPI_uint8,
          "The number of the bus directly behind the bridge; 0 for a bridge that has none, such as "
          "a host bridge."),
};
constexpr Property kOwnPciPort[] = {
    Plain("ControllerDeviceID", CMPI_string,
          "The DeviceID of the device, bridge or switch that controls the port. For a downstream "
          "port of a switch it is that of the switch."),
    Plain("BusNumber", CMPI_uint8,
          "The number of the bus that the port is on. For the secondary port of a bridge it is the "
          "bus behind the bridge."),
    Plain("DeviceNumber", CMPI_uint8,
          "The device number on its bus of the function that has the port, 0 to 31."),
    Plain("FunctionNumber", CMPI_uint8,
          "The number of the function that has the port within its device, 0 to 7."),
    Plain("PCIDeviceID", CMPI_uint16,
          "The device identifier of the function that has the port, given by its vendor."),
    Plain("VendorID", CMPI_uint16,
          "The vendor identifier of the function that has the port, given by the PCI-SIG."),
    Plain("RevisionID", CMPI_uint8,
          "The revision of the function that has the port, given by its vendor."),
    Coded("ClassCode", CMPI_uint8,
          "The base class of the function that has the port: the upper byte of its class code.",
          kClassCodes),
    Plain("SubClassCode", CMPI_uint8,
          "The subclass of the function that has the port: the lower byte of its class code. What "
          "it means depends on ClassCode."),
};
constexpr Property kOwnPciSystemDevice[] = {
    KeyReference("GroupComponent", "CIM_ComputerSystem", "The hosting system."),
    KeyReference("PartComponent", "CIM_LogicalDevice",
                 "A device of the class Ostrel_PCIDevice or a port of the class Ostrel_PCIPort."),
};
constexpr Property kOwnPciDeviceConnection[] = {
    KeyReference("Antecedent", "Ostrel_PCIPort", "The port nearer to the host."),
    KeyReference("Dependent", "Ostrel_PCIPort", "The port below it."),
};
constexpr Property kOwnPciControlledBy[] = {
    KeyReference("Antecedent", "CIM_PCIDevice",
                 "The device, bridge or switch that controls the port."),
    KeyReference("Dependent", "Ostrel_PCIPort", "The controlled port."),
};
constexpr Property kOwnPciHostedCollection[] = {
    KeyReference("Antecedent", "CIM_ComputerSystem", "The hosting system."),
    KeyReference("Dependent", "Ostrel_PCIPortGroup", "The port group of one of its buses."),
};
constexpr Property kOwnPciMemberOfCollection[] = {
    KeyReference("Collection", "Ostrel_PCIPortGroup", "The port group of a bus."),
    KeyReference("Member", "Ostrel_PCIPort", "A port on that bus."),
};

// Our own classes say their Version. A class that changes gets a higher one.
constexpr Class Element(std::string_view name, std::string_view superclass,
                        std::string_view description, std::span<const Property> properties = {},
                        std::string_view version = kCimVersion) {
  return {name, superclass, false, version, description, properties};
}
constexpr Class Association(std::string_view name, std::string_view superclass,
                            std::string_view description, std::span<const Property> properties = {},
                            std::string_view version = kCimVersion) {
  Class cls = Element(name, superclass, description, properties, version);
  cls.association = true;
  return cls;
}

constexpr auto kClasses = std::to_array<Class>({
    Element("CIM_ManagedElement", "", "Anything that is managed.", kManagedElement),
    Element("CIM_ManagedSystemElement", "CIM_ManagedElement", "A part of a system.",
            kManagedSystemElement),
    Element("CIM_LogicalElement", "CIM_ManagedSystemElement",
            "A part of a system as software sees it."),
    Element("CIM_EnabledLogicalElement", "CIM_LogicalElement",
            "A logical element that can be enabled and disabled.", kEnabledLogicalElement),
    Element("CIM_System", "CIM_EnabledLogicalElement", "A whole made of managed parts.", kSystem),
    Element("CIM_ComputerSystem", "CIM_System", "A computer."),
    Element("CIM_UnitaryComputerSystem", "CIM_ComputerSystem", "A computer that is one node."),
    Element("CIM_LogicalDevice", "CIM_EnabledLogicalElement", "A device as software sees it.",
            kLogicalDevice),
    Element("CIM_Controller", "CIM_LogicalDevice", "A device that controls other devices."),
    Element("CIM_PCIController", "CIM_Controller", "A controller on a PCI bus.", kPciController),
    Element("CIM_PCIDevice", "CIM_PCIController", "A PCI function.", kCimPciDevice),
    Element("CIM_PCIBridge", "CIM_PCIDevice", "A PCI function that bridges to another bus.",
            kCimPciBridge),
    Element("CIM_PCIeSwitch", "CIM_PCIDevice", "A PCI Express switch.", kCimPcieSwitch),
    Element("CIM_LogicalPort", "CIM_LogicalDevice", "A point where a device is connected."),
    Element("CIM_PCIPort", "CIM_LogicalPort", "A port of a PCI device, bridge or switch.",
            kCimPciPort),
    Element("CIM_Collection", "CIM_ManagedElement", "A set of managed elements."),
    Element("CIM_SystemSpecificCollection", "CIM_Collection",
            "A set that has a meaning only within one system.", kSystemSpecificCollection),
    Element("CIM_LogicalPortGroup", "CIM_SystemSpecificCollection", "A set of ports."),
    Element("CIM_PCIPortGroup", "CIM_LogicalPortGroup", "The ports of one PCI bus.",
            kCimPciPortGroup),

    Association("CIM_Component", "", "A whole and its part.", kComponent),
    Association("CIM_SystemComponent", "CIM_Component", "A system and its part.", kSystemComponent),
    Association("CIM_SystemDevice", "CIM_SystemComponent", "A system and its device.",
                kCimSystemDevice),
    Association("CIM_Dependency", "", "One element depends on another.", kDependency),
    Association("CIM_DeviceConnection", "CIM_Dependency", "Two devices that are connected.",
                kCimDeviceConnection),
    Association("CIM_ControlledBy", "CIM_DeviceConnection", "A controller and what it controls.",
                kCimControlledBy),
    Association("CIM_HostedDependency", "CIM_Dependency", "An element that lives on another."),
    Association("CIM_HostedCollection", "CIM_HostedDependency",
                "A system and a collection of its parts.", kCimHostedCollection),
    Association("CIM_MemberOfCollection", "", "A collection and its member.",
                kCimMemberOfCollection),

    Element(kSystemClass, "CIM_UnitaryComputerSystem",
            "The computer whose PCI topology is reported. Name is the host's name in lower case.",
            {}, "1.0.0"),
    Element("Ostrel_PCIDevice", "CIM_PCIDevice",
            "A PCI function of the host that is neither a bridge nor a port of a PCI Express "
            "switch. DeviceID is the function's address as the platform writes it, on Linux "
            "domain:bus:device.function in hexadecimal digits. The state of the function is not "
            "watched: HealthState, PrimaryStatus, EnabledState and RequestedState are always 0 "
            "(Unknown).",
            kOwnPciDevice, "1.0.0"),
    Element("Ostrel_PCIBridge", "CIM_PCIBridge",
            "A PCI bridge of the host that is not a port of a PCI Express switch. All that is said "
            "of Ostrel_PCIDevice holds for it. BridgeType is the PCI subclass of the bridge.",
            kOwnPciBridge, "1.0.0"),
    Element("Ostrel_PCIeSwitch", "CIM_PCIeSwitch",
            "A PCI Express switch of the host, represented by its upstream port, whose address and "
            "properties it carries. All that is said of Ostrel_PCIDevice holds for it. "
            "NumberOfPorts counts its downstream ports.",
            kOwnPciDevice, "1.0.0"),
    Element("Ostrel_PCIPort", "CIM_PCIPort",
            "A port of a PCI device, bridge or switch of the host. DeviceID is the address of the "
            "function that has the port, followed by the kind of port: -ep for a device and for a "
            "downstream port of a switch, -up for the upstream port of a switch, -pri and -sec for "
            "the two sides of a bridge.",
            kOwnPciPort, "1.0.0"),
    Element("Ostrel_PCIPortGroup", "CIM_PCIPortGroup",
            "The ports of one PCI bus of the host. InstanceID ends in the number of the bus. Buses "
            "of the same number in several segments are one group.",
            {}, "1.0.0"),
    Association("Ostrel_PCISystemDevice", "CIM_SystemDevice",
                "The hosting system and one of its PCI devices or ports.", kOwnPciSystemDevice,
                "1.0.0"),
    Association("Ostrel_PCIDeviceConnection", "CIM_DeviceConnection",
                "Two PCI ports that are connected.", kOwnPciDeviceConnection, "1.0.0"),
    Association("Ostrel_PCIControlledBy", "CIM_ControlledBy",
                "A PCI port and the device, bridge or switch that controls it.",
                kOwnPciControlledBy, "1.0.0"),
    Association("Ostrel_PCIHostedCollection", "CIM_HostedCollection",
                "The hosting system and the port group of one of its buses.",
                kOwnPciHostedCollection, "1.0.0"),
    Association("Ostrel_PCIMemberOfCollection", "CIM_MemberOfCollection",
                "The port group of a bus and one of the ports on that bus.",
                kOwnPciMemberOfCollection, "1.0.0"),
});

}  // namespace
}  // namespace cim::schema

#endif  // CIM_SCHEMA_TABLE_H_
