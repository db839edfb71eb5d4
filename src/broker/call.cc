#include "broker/call.h"

#include <algorithm>

#include "broker/object_manager.h"
#include "broker/provider_objects.h"

namespace broker {

Call::Call(ObjectManager& manager, const char* operation, std::string_view class_name,
           Expected expected, ResultSink* sink)
    : manager_(manager),
      operation_(operation),
      class_name_(class_name),
      expected_(expected),
      sink_(sink),
      outer_(current_),
      base_(Region::Open(manager, this, nullptr)),
      top_(base_) {
  current_ = this;
}

Call::~Call() {
  while (top_ != nullptr) CloseTop();
  manager_.NotePeak(peak_bytes_);
  current_ = outer_;
}

Region* Call::Mark() {
  used_below_top_ += top_->used();
  top_ = Region::Open(manager_, this, top_);
  return top_;
}

void Call::CloseTop() {
  peak_bytes_ = std::max(peak_bytes_, used_below_top_ + top_->used());
  Region* closed = top_;
  top_ = closed->below();
  if (top_ != nullptr) used_below_top_ -= top_->used();
  Region::Close(closed);
}

bool Call::Release(const Region* mark) {
  const Region* found = top_;
  while (found != base_ && found != mark) found = found->below();
  if (found == base_) return false;
  while (top_ != mark) CloseTop();
  CloseTop();
  return true;
}

// ---------------------------------------------------------------------------------------------
// Results

bool Call::MayReturn(Expected kind, const char* function) {
  if (done_) {
    ReportMisuse(function, "a result after returnDone");
    return false;
  }
  if (kind != expected_) {
    ReportMisuse(function, expected_ == Expected::kNothing     ? "the operation returns nothing"
                           : expected_ == Expected::kInstances ? "the operation returns instances"
                                                               : "the operation returns paths");
    return false;
  }
  return true;
}

template <class Deliver>
CMPIrc Call::Hand(Deliver deliver) {
  try {
    if (sink_ != nullptr && sink_failure_ == nullptr) deliver(*sink_);
  } catch (...) {
    sink_failure_ = std::current_exception();
  }
  return sink_failure_ == nullptr ? CMPI_RC_OK : CMPI_RC_ERR_FAILED;
}

CMPIrc Call::ReturnInstance(const InstanceObject& instance, const char* function) {
  if (!MayReturn(Expected::kInstances, function)) return CMPI_RC_ERR_FAILED;
  ++instances_;
  return Hand([&](ResultSink& sink) { sink.OnInstanceView(InstanceView(instance)); });
}

CMPIrc Call::ReturnPath(const PathObject& path, const char* function) {
  if (!MayReturn(Expected::kPaths, function)) return CMPI_RC_ERR_FAILED;
  return Hand([&](ResultSink& sink) { sink.OnObjectPathView(ObjectPathView(path)); });
}

CMPIrc Call::ReturnDone() {
  done_ = true;
  return Hand([](ResultSink& sink) { sink.OnDone(); });
}

cim::Status Call::Finish(const CMPIStatus& answer) {
  if (sink_failure_ != nullptr) std::rethrow_exception(sink_failure_);
  cim::Status status{answer.rc, {}};
  if (answer.msg != nullptr) {
    if (const auto* text = Use<StringObject>(answer.msg, "CMPIStatus.msg")) {
      status.message = text->view();
    }
  }
  return status;
}

}  // namespace broker
