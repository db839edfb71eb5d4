#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cim/schema.h"
#include "cim/wbem_uri.h"
#include "tool/element_writer.h"
#include "tool/property_text.h"
#include "tool/table.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

using cim::Instance;
using cim::ObjectPath;

struct Column {
  std::string title;
  std::function<std::string(const Instance&)> cell;
};
using Columns = std::vector<Column>;

Column PropertyColumn(std::string title, std::string property) {
  return {std::move(title), [property = std::move(property)](const Instance& instance) {
            return PropertyText(instance, property);
          }};
}

// Bus numbers stand in hexadecimal, as in addresses.
Column BusColumn(std::string title, std::string property) {
  return {std::move(title), [property = std::move(property)](const Instance& instance) {
            const auto bus = PropertyNumber(instance, property);
            return bus ? fmt::format("{:02x}", *bus) : "";
          }};
}

Column ClassColumn() { return {"CLASS", ClassTitle}; }

Column BridgeTypeColumn() {
  return {"TYPE", [](const Instance& instance) {
            const cim::Value* type = instance.Find("BridgeType");
            if (type == nullptr) return std::string();
            const std::string meaning = CodeMeaning(instance.path.class_name, "BridgeType", *type);
            return meaning.empty() ? ToText(*type) : meaning;
          }};
}

Column PortTypeColumn() {
  return {"TYPE", [](const Instance& instance) {
            const auto type = PropertyNumber(instance, "PortType");
            return type ? PortTypeName(*type) : "";
          }};
}

Columns FunctionColumns(Columns own) {
  Columns columns = {PropertyColumn("ADDRESS", "DeviceID")};
  std::move(own.begin(), own.end(), std::back_inserter(columns));
  columns.push_back({"NAME", ElementTitle});
  columns.push_back(PropertyColumn("PARENT", "ParentDeviceID"));
  columns.push_back(PropertyColumn("SLOT", "PhysicalSlot"));
  return columns;
}

Columns PortColumns() {
  return {PropertyColumn("PORT", "DeviceID"),
          PortTypeColumn(),
          BusColumn("BUS", "BusNumber"),
          PropertyColumn("CONTROLLER", "ControllerDeviceID"),
          {"NAME", ElementTitle}};
}

Columns AllProperties(const cim::schema::Class* cls, const Instance& sample) {
  Columns columns;
  for (const cim::Property& property : sample.properties) {
    const bool reference = property.value.type() == CMPI_ref;
    if (cls == nullptr || !cls->association || reference) {
      columns.push_back(PropertyColumn(property.name, property.name));
    }
  }
  return columns;
}

// The few columns that a person wants to see of a class.
Columns UsualColumns(const Instance& sample) {
  const std::string& class_name = sample.path.class_name;
  const auto is = [&](std::string_view ancestor) { return cim::schema::IsA(class_name, ancestor); };
  if (is("CIM_PCIBridge")) {
    return FunctionColumns(
        {ClassColumn(), BridgeTypeColumn(), BusColumn("BUS", "SecondaryBusNumber")});
  }
  if (is("CIM_PCIeSwitch")) return FunctionColumns({PropertyColumn("PORTS", "NumberOfPorts")});
  if (is("CIM_PCIDevice")) return FunctionColumns({ClassColumn()});
  if (is("CIM_PCIPort")) return PortColumns();
  if (is("CIM_PCIPortGroup")) {
    return {PropertyColumn("GROUP", "InstanceID"), BusColumn("BUS", "BusNumber"),
            PropertyColumn("NAME", "ElementName")};
  }
  return AllProperties(cim::schema::FindClass(class_name), sample);
}

class TableWriter : public ElementWriter {
 public:
  TableWriter(std::ostream& out, TableStyle style) : ElementWriter(out), style_(std::move(style)) {}

 protected:
  void Write(Instance&& instance) override {
    Section& section = SectionOf(instance);
    std::vector<Cell> row;
    for (const Column& column : section.columns) row.push_back(column.cell(instance));
    section.table.rows.push_back(std::move(row));
  }

  void Write(ObjectPath&& path) override { out() << PrintableUtf8(ToWbemUri(path)) << '\n'; }

  void End() override {
    for (Section& section : sections_) {
      if (&section != &sections_.front()) out() << '\n';
      if (style_.properties.empty()) DropEmptyColumns(section.table);
      PrintTable(section.table, style_.width, style_.utf8 ? "\u2026" : "...", out());
    }
  }

 private:
  struct Section {
    std::string class_name;
    Columns columns;
    Table table;
  };

  Section& SectionOf(const Instance& instance) {
    const auto found = std::find_if(
        sections_.begin(), sections_.end(),
        [&](const Section& section) { return section.class_name == instance.path.class_name; });
    if (found != sections_.end()) return *found;
    Section section{instance.path.class_name, ColumnsFor(instance), {}};
    for (const Column& column : section.columns) {
      section.table.titles.push_back(column.title);
      section.table.cuttable.push_back(column.title == "NAME" || column.title == "CLASS");
    }
    sections_.push_back(std::move(section));
    return sections_.back();
  }

  Columns ColumnsFor(const Instance& sample) const {
    if (style_.properties.empty()) return UsualColumns(sample);
    Columns columns;
    for (const std::string& property : style_.properties) {
      const std::string_view spelled = cim::schema::PropertyName(property);
      columns.push_back(PropertyColumn(
          spelled.empty() ? PrintableUtf8(property) : std::string(spelled), property));
    }
    return columns;
  }

  TableStyle style_;
  std::vector<Section> sections_;  // by class, in order of first appearance
};

class SheetWriter : public ElementWriter {
 public:
  using ElementWriter::ElementWriter;

 protected:
  void Write(Instance&& instance) override {
    std::string text = count() > 1 ? "\n" : "";
    std::size_t widest = 0;
    for (const auto& property : instance.properties) {
      widest = std::max(widest, Width(PrintableUtf8(property.name)));
    }
    text += PrintableUtf8(instance.path.class_name) + '\n';
    for (const auto& property : instance.properties) {
      const std::string name = PrintableUtf8(property.name);
      text += fmt::format("  {}{}  {}\n", name, std::string(widest - Width(name), ' '),
                          ExplainedText(instance, property));
    }
    out() << text;
  }

  void Write(ObjectPath&& path) override { out() << PrintableUtf8(ToWbemUri(path)) << '\n'; }
};

}  // namespace

std::unique_ptr<ElementWriter> MakeTableWriter(std::ostream& out, TableStyle style) {
  return std::make_unique<TableWriter>(out, std::move(style));
}

std::unique_ptr<ElementWriter> MakeSheetWriter(std::ostream& out) {
  return std::make_unique<SheetWriter>(out);
}

}  // namespace tool
