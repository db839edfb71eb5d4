#include "broker/result_sink.h"

#include <utility>

#include "broker/objects.h"

namespace broker {

namespace {

// Null where there is no such property, and where it is null.
const CMPIData* ValueOf(const InstanceObject& instance, std::string_view property) {
  const NamedData* found = instance.properties.Find(property);
  return found != nullptr && (found->data.state & CMPI_nullValue) == 0 ? &found->data : nullptr;
}

}  // namespace

std::string_view ObjectPathView::class_name() const { return path_->class_name; }
cim::ObjectPath ObjectPathView::ToObjectPath() const { return ToValue(*path_); }

ObjectPathView InstanceView::path() const { return ObjectPathView(*instance_->path); }

std::optional<std::string_view> InstanceView::Text(std::string_view property) const {
  const CMPIData* data = ValueOf(*instance_, property);
  if (data == nullptr || data->type != CMPI_string) return std::nullopt;
  return Behind<StringObject>(data->value.string)->view();
}

std::optional<std::uint64_t> InstanceView::Unsigned(std::string_view property) const {
  const CMPIData* data = ValueOf(*instance_, property);
  if (data == nullptr) return std::nullopt;
  switch (data->type) {
    case CMPI_uint8: return data->value.uint8;
    case CMPI_uint16: return data->value.uint16;
    case CMPI_uint32: return data->value.uint32;
    case CMPI_uint64: return data->value.uint64;
    default: return std::nullopt;
  }
}

cim::Instance InstanceView::ToInstance() const { return ToValue(*instance_); }

void ResultSink::OnInstance(cim::Instance&&) {}
void ResultSink::OnObjectPath(cim::ObjectPath&&) {}

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

}  // namespace broker
