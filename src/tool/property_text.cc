#include "tool/property_text.h"

#include <fmt/format.h>

#include "cim/schema.h"
#include "cim/wbem_uri.h"
#include "tool/pci_class.h"
#include "tool/utf8_text.h"

namespace tool {

using cim::Instance;
using cim::Value;

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
