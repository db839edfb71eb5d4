// What the models of all provider classes say of CIM: the names of the classes, and values, paths
// and instances as object managers have them.
//
// Thread rule: plain functions.

#ifndef SUPPORT_NAIVE_CIM_H_
#define SUPPORT_NAIVE_CIM_H_

#include <string>

#include "cim/value.h"
#include "platform/cmpi/cmpi.h"
#include "support/naive_providers.h"

namespace naive {

// Priorities of log lines.
inline constexpr int kError = 3;
inline constexpr int kDebug = 7;

inline constexpr const char* kSystemClass = "OMC_UnitaryComputerSystem";
inline constexpr const char* kDevice = "Ostrel_PCIDevice";
inline constexpr const char* kBridge = "Ostrel_PCIBridge";
inline constexpr const char* kSwitch = "Ostrel_PCIeSwitch";
inline constexpr const char* kPort = "Ostrel_PCIPort";
inline constexpr const char* kPortGroup = "Ostrel_PCIPortGroup";
inline constexpr const char* kSystemDevice = "Ostrel_PCISystemDevice";
inline constexpr const char* kConnection = "Ostrel_PCIDeviceConnection";
inline constexpr const char* kControlledBy = "Ostrel_PCIControlledBy";
inline constexpr const char* kHosted = "Ostrel_PCIHostedCollection";
inline constexpr const char* kMember = "Ostrel_PCIMemberOfCollection";

inline constexpr const char* kReadFailed =
    "enumInstance request to retrieve PCI information failed,error ";
inline constexpr const char* kReferencesFailed =
    "enumInstance request to retrieve PCI references failed,error ";

// A status that an operation answers without going on: its own, or the wrapper's for a key.
struct Status {
  CMPIrc code;
  bool of_wrapper;
};

[[noreturn]] void NotFound();

std::string Lower(const std::string& text);
bool SameName(const std::string& left, const std::string& right);
bool HasDash(const std::string& name);

// Values and properties.
cim::Value Uint8(int value);
cim::Value Uint16(int value);
bool SameValue(const cim::Value& left, const cim::Value& right);
void Set(cim::Instance& instance, const char* name, cim::Value value);

// An instance starts with the keys of its path.
cim::Instance InstanceFrom(const cim::ObjectPath& path);

// The listed properties alone. Object managers keep the keys, listed or not.
cim::Instance Filtered(const cim::Instance& instance, const broker::PropertyList& properties);

// Keys. Throw the wrapper's Status where a key is missing or of another type.
std::string ReadText(const cim::ObjectPath& path, const char* name);
cim::ObjectPath ReadReference(const cim::ObjectPath& path, const char* name);

bool IsA(const cim::ObjectPath& path, const std::string& class_name);
bool SameElement(const cim::ObjectPath& left, const cim::ObjectPath& right);

// A log line ends at a zero byte, which a path with a zero character holds.
std::string Text(const cim::ObjectPath& path);

}  // namespace naive

#endif  // SUPPORT_NAIVE_CIM_H_
