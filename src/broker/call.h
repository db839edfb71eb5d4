// One call into a provider: what it runs for, what memory its objects lie in, where its results go.
// The functions of the broker find the call they are made from through the thread.
//
// Thread rule: a call belongs to its thread.

#ifndef BROKER_CALL_H_
#define BROKER_CALL_H_

#include <cstddef>
#include <exception>
#include <string_view>

#include "broker/memory.h"
#include "broker/objects.h"
#include "broker/result_sink.h"
#include "cim/status.h"
#include "platform/cmpi/cmpi.h"

namespace broker {

// What a provider may return in a call.
enum class Expected { kNothing, kInstances, kPaths };

class Call {
 public:
  // `class_name` must outlive the call; `sink` is null where nothing is returned.
  Call(ObjectManager& manager, const char* operation, std::string_view class_name,
       Expected expected, ResultSink* sink);
  // Frees everything that was made in the call.
  ~Call();

  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  // The innermost call of this thread; nullptr outside of any.
  static Call* Current() { return current_; }

  ObjectManager& manager() const { return manager_; }
  const char* operation() const { return operation_; }
  std::string_view class_name() const { return class_name_; }
  // Where objects are made now.
  Region& region() { return *top_; }
  // Where objects live as long as the call, whatever is marked.
  Region& base() { return *base_; }

  // Opens a region on top; what is made from now on may be freed with it.
  Region* Mark();
  // Ends `mark` and all regions above it; false where it is no open mark of this call.
  bool Release(const Region* mark);

  // Results, in the order of the provider's calls. The code is the answer to the provider.
  CMPIrc ReturnInstance(const InstanceObject& instance, const char* function);
  CMPIrc ReturnPath(const PathObject& path, const char* function);
  CMPIrc ReturnDone();

  // How many instances were returned so far.
  std::size_t instances() const { return instances_; }

  // What the provider answered, as a value. Throws again what the sink threw.
  cim::Status Finish(const CMPIStatus& answer);

 private:
  bool MayReturn(Expected kind, const char* function);
  template <class Deliver>
  CMPIrc Hand(Deliver deliver);
  void CloseTop();

  static inline thread_local Call* current_ = nullptr;

  ObjectManager& manager_;
  const char* operation_;
  std::string_view class_name_;
  Expected expected_;
  ResultSink* sink_;
  Call* outer_;
  Region* base_;
  Region* top_;
  std::size_t used_below_top_ = 0;
  std::size_t peak_bytes_ = 0;
  bool done_ = false;
  std::size_t instances_ = 0;
  std::exception_ptr sink_failure_;
};

}  // namespace broker

#endif  // BROKER_CALL_H_
