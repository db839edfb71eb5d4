// Where the elements that a provider returns go, one at a time, at the moment they are returned.
//
// A sink that overrides OnInstance / OnObjectPath gets copies that it may keep. A sink that
// overrides OnInstanceView / OnObjectPathView reads the object manager's objects in place: no copy,
// and valid only until the call returns.
//
// Thread rule: a sink is called on the thread of its operation, never twice at once.

#ifndef BROKER_RESULT_SINK_H_
#define BROKER_RESULT_SINK_H_

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "cim/value.h"

namespace broker {

struct PathObject;
struct InstanceObject;

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
  // The value of a property of a string type, null-terminated, and of one of an unsigned integer
  // type; nothing for any other type, for null and where there is no such property. Names are
  // compared ignoring case.
  std::optional<std::string_view> Text(std::string_view property) const;
  std::optional<std::uint64_t> Unsigned(std::string_view property) const;

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

  virtual void OnInstanceView(const InstanceView& instance) { OnInstance(instance.ToInstance()); }
  virtual void OnObjectPathView(const ObjectPathView& path) { OnObjectPath(path.ToObjectPath()); }
};

// Keeps everything that a provider did to its result, in order: what tests look at.
class Recorder : public ResultSink {
 public:
  enum class Event { kInstance, kObjectPath, kDone };

  std::vector<Event> events;
  std::vector<cim::Instance> instances;
  std::vector<cim::ObjectPath> paths;
  int done_count = 0;

  void OnInstance(cim::Instance&& instance) override;
  void OnObjectPath(cim::ObjectPath&& path) override;
  void OnDone() override;
};

}  // namespace broker

#endif  // BROKER_RESULT_SINK_H_
