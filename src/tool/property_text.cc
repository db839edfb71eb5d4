#include "tool/property_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <vector>

#include "cim/schema.h"
#include "cim/wbem_uri.h"
#include "tool/pci_class.h"
#include "tool/utf8_text.h"

namespace tool {

using cim::Instance;
using cim::Value;

namespace {

// Numbers that everybody else has in hexadecimal.
constexpr std::array<std::string_view, 7> kHexadecimal = {
    "PCIDeviceID", "VendorID",           "SubsystemID",         "SubsystemVendorID",
    "BusNumber",   "SecondaryBusNumber", "SubordinateBusNumber"};

std::string Meaning(const Instance& instance, std::string_view property, const Value& value) {
  const auto number = value.as_unsigned();
  const bool hexadecimal =
      std::find(kHexadecimal.begin(), kHexadecimal.end(), property) != kHexadecimal.end();
  const bool is_bus = property.ends_with("Number");
  if (hexadecimal && number) return fmt::format("0x{:0{}x}", *number, is_bus ? 2 : 4);
  if (property == "SubClassCode" && number) return ClassTitle(instance);
  return CodeMeaning(instance.path.class_name, property, value);
}

}  // namespace

std::string PropertyText(const Instance& instance, std::string_view name) {
  const Value* value = instance.Find(name);
  if (value == nullptr || value->is_null()) return "";
  if (const cim::ObjectPath* reference = value->reference()) {
    return PrintableUtf8(ShortName(*reference));
  }
  return PrintableUtf8(ToText(*value));
}

std::optional<std::uint64_t> PropertyNumber(const Instance& instance, std::string_view name) {
  const Value* value = instance.Find(name);
  return value == nullptr ? std::nullopt : value->as_unsigned();
}

std::string CodeMeaning(std::string_view class_name, std::string_view property,
                        const Value& value) {
  const cim::schema::Class* cls = cim::schema::FindClass(class_name);
  const cim::schema::Property* declared =
      cls == nullptr ? nullptr : cim::schema::FindProperty(*cls, property);
  if (declared == nullptr || declared->values.empty()) return "";
  const std::string code = ToText(value);
  for (const cim::schema::CodedValue& known : declared->values) {
    if (known.code == code) return std::string(known.meaning);
  }
  return "";
}

std::string ExplainedText(const Instance& instance, const cim::Property& property) {
  const auto explained = [&](const Value& value) {
    const std::string meaning = Meaning(instance, property.name, value);
    return PrintableUtf8(ToText(value)) + (meaning.empty() ? "" : fmt::format(" ({})", meaning));
  };
  const Value::Array* elements = property.value.elements();
  if (elements == nullptr) return explained(property.value);
  std::vector<std::string> texts;
  texts.reserve(elements->size());
  for (const Value& element : *elements) texts.push_back(explained(element));
  return fmt::format("{{{}}}", fmt::join(texts, ", "));
}

std::string WithoutDeviceNumber(std::string element_name, std::string_view number) {
  if (element_name.ends_with(fmt::format(" #{}", number))) {
    element_name.resize(element_name.rfind(" #"));
  }
  return element_name;
}

std::string ElementTitle(const Instance& instance) {
  return WithoutDeviceNumber(PropertyText(instance, "ElementName"),
                             PropertyText(instance, "DeviceNumber"));
}

std::string ClassTitle(const Instance& instance) {
  const auto base_class = PropertyNumber(instance, "ClassCode");
  const auto subclass = PropertyNumber(instance, "SubClassCode");
  if (!base_class || !subclass) return "";
  return PciClassName(static_cast<std::uint8_t>(*base_class), static_cast<std::uint8_t>(*subclass));
}

std::string PortTypeName(std::uint64_t type) {
  switch (type) {
    case 150: return "PCI";
    case 151: return "PCI-X";
    case 152: return "PCIe";
    default: return fmt::format("{}", type);
  }
}

std::string ShortName(const cim::ObjectPath& path) {
  for (const std::string_view key : {"DeviceID", "InstanceID", "Name"}) {
    const Value* value = path.Key(key);
    if (value != nullptr && value->text() != nullptr) return *value->text();
  }
  return ToWbemUri(path);
}

}  // namespace tool
