#include "broker/result_sink.h"

#include "broker/objects.h"

namespace broker {

std::string_view ValueView::text() const {
  if (data_->type == CMPI_dateTime) return Behind<DateTimeObject>(data_->value.dateTime)->text;
  return Behind<StringObject>(data_->value.string)->view();
}

std::optional<std::uint64_t> ValueView::as_unsigned() const {
  if (is_null()) return std::nullopt;
  switch (data_->type) {
    case CMPI_uint8: return data_->value.uint8;
    case CMPI_uint16: return data_->value.uint16;
    case CMPI_uint32: return data_->value.uint32;
    case CMPI_uint64: return data_->value.uint64;
    default: return std::nullopt;
  }
}

std::string_view ObjectPathView::class_name() const { return path_->class_name; }
cim::ObjectPath ObjectPathView::ToObjectPath() const { return ToValue(*path_); }

ObjectPathView InstanceView::path() const { return ObjectPathView(*instance_->path); }
std::string_view InstanceView::property_name(std::size_t index) const {
  return instance_->properties.items[index].name;
}
ValueView InstanceView::property_value(std::size_t index) const {
  return ValueView(instance_->properties.items[index].data);
}
std::optional<ValueView> InstanceView::Find(std::string_view name) const {
  const NamedData* property = instance_->properties.Find(name);
  if (property == nullptr) return std::nullopt;
  return ValueView(property->data);
}
cim::Instance InstanceView::ToInstance() const { return ToValue(*instance_); }

void ResultSink::OnInstance(cim::Instance&&) {}
void ResultSink::OnObjectPath(cim::ObjectPath&&) {}
void ResultSink::OnError(cim::Status&&) {}

void Recorder::OnInstance(cim::Instance&& instance) {
  events.push_back(Event::kInstance);
  instances.push_back(std::move(instance));
}
void Recorder::OnObjectPath(cim::ObjectPath&& path) {
  events.push_back(Event::kObjectPath);
  paths.push_back(std::move(path));
}
void Recorder::OnDone() {
  events.push_back(Event::kDone);
  ++done_count;
}
void Recorder::OnError(cim::Status&& error) {
  events.push_back(Event::kError);
  errors.push_back(std::move(error));
}

}  // namespace broker
