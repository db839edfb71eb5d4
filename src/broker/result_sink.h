// Where the elements that a provider returns go, one at a time, at the moment they are returned.
//
// A sink that overrides OnInstance / OnObjectPath gets copies that it may keep. A sink that
// overrides OnInstanceView / OnObjectPathView reads the object manager's objects in place: no copy,
// and valid only until the call returns.
//
// Thread rule: a sink is called on the thread of its operation, never twice at once.

#ifndef BROKER_RESULT_SINK_H_
#define BROKER_RESULT_SINK_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "cim/status.h"
#include "cim/value.h"
#include "platform/cmpi/cmpi.h"

namespace broker {

struct PathObject;
struct InstanceObject;

// One value of an element that is being returned.
class ValueView {
 public:
  explicit ValueView(const CMPIData& data) : data_(&data) {}

  CMPIType type() const { return data_->type; }
  bool is_null() const { return (data_->state & CMPI_nullValue) != 0; }
  // The numbers, booleans and characters stand in here, by type().
  const CMPIValue& raw() const { return data_->value; }
  // Of an unsigned integer type; nothing for any other, and for null.
  std::optional<std::uint64_t> as_unsigned() const;
  // Of a string or a date; null-terminated.
  std::string_view text() const;

 private:
  const CMPIData* data_;
};

class ObjectPathView {
 public:
  explicit ObjectPathView(const PathObject& path) : path_(&path) {}

  std::string_view class_name() const;

  cim::ObjectPath ToObjectPath() const;

  const PathObject& object() const { return *path_; }

 private:
  const PathObject* path_;
};

class InstanceView {
 public:
  explicit InstanceView(const InstanceObject& instance) : instance_(&instance) {}

  ObjectPathView path() const;
  std::string_view property_name(std::size_t index) const;
  ValueView property_value(std::size_t index) const;
  // The property's value, its name compared ignoring case; nothing where there is none.
  std::optional<ValueView> Find(std::string_view name) const;

  cim::Instance ToInstance() const;

  const InstanceObject& object() const { return *instance_; }

 private:
  const InstanceObject* instance_;
};

// An exception that a sink throws does not travel through the provider: the provider's return call
// answers CMPI_RC_ERR_FAILED, and the operation throws it again once the provider has returned.
class ResultSink {
 public:
  virtual ~ResultSink() = default;

  virtual void OnInstance(cim::Instance&& instance);
  virtual void OnObjectPath(cim::ObjectPath&& path);
  // Every returnDone of the provider, also a second one.
  virtual void OnDone() {}
  // The provider's returnError.
  virtual void OnError(cim::Status&& error);

  virtual void OnInstanceView(const InstanceView& instance) { OnInstance(instance.ToInstance()); }
  virtual void OnObjectPathView(const ObjectPathView& path) { OnObjectPath(path.ToObjectPath()); }
};

// Keeps everything that a provider did to its result, in order: what tests look at.
class Recorder : public ResultSink {
 public:
  enum class Event { kInstance, kObjectPath, kDone, kError };

  std::vector<Event> events;
  std::vector<cim::Instance> instances;
  std::vector<cim::ObjectPath> paths;
  std::vector<cim::Status> errors;
  int done_count = 0;

  void OnInstance(cim::Instance&& instance) override;
  void OnObjectPath(cim::ObjectPath&& path) override;
  void OnDone() override;
  void OnError(cim::Status&& error) override;
};

}  // namespace broker

#endif  // BROKER_RESULT_SINK_H_
