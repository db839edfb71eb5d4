#include "broker/call.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

#include "broker/guest.h"
#include "broker/manager.h"

namespace broker {

struct alignas(std::max_align_t) Call::Block {
  Block* next;
  Block* previous;

  // The memory of a block with room for `bytes`; 0 where that is more than a size can say.
  static std::size_t SizeFor(std::size_t bytes) {
    return bytes <= std::numeric_limits<std::size_t>::max() - sizeof(Block) ? sizeof(Block) + bytes
                                                                            : 0;
  }
};

Call::Call(Manager& manager, const char* operation, std::string_view class_name, Expected expected,
           ResultSink* sink)
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
  while (blocks_ != nullptr) FreeBlock(blocks_ + 1);
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
  if (state_ == ResultState::kDone) {
    ReportMisuse(function, "a result after returnDone");
    return false;
  }
  if (state_ == ResultState::kFailed) {
    ReportMisuse(function, "a result after returnError");
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
  state_ = std::max(state_, ResultState::kDone);
  return Hand([](ResultSink& sink) { sink.OnDone(); });
}

CMPIrc Call::ReturnError(cim::Status error) {
  state_ = ResultState::kFailed;
  return Hand([&](ResultSink& sink) { sink.OnError(std::move(error)); });
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

// ---------------------------------------------------------------------------------------------
// Blocks

void* Call::AllocateBlock(std::size_t bytes) {
  const std::size_t size = Block::SizeFor(bytes);
  if (size == 0) return nullptr;
  auto* block = static_cast<Block*>(std::malloc(size));
  if (block == nullptr) return nullptr;
  *block = {blocks_, nullptr};
  if (blocks_ != nullptr) blocks_->previous = block;
  blocks_ = block;
  return block + 1;
}

bool Call::OwnsBlock(const void* block) const {
  const Block* found = blocks_;
  while (found != nullptr && found + 1 != block) found = found->next;
  return found != nullptr;
}

void* Call::ResizeBlock(void* memory, std::size_t bytes) {
  const std::size_t size = Block::SizeFor(bytes);
  if (size == 0) return nullptr;
  Block* block = static_cast<Block*>(memory) - 1;
  auto* resized = static_cast<Block*>(std::realloc(block, size));
  if (resized == nullptr) return nullptr;
  (resized->previous != nullptr ? resized->previous->next : blocks_) = resized;
  if (resized->next != nullptr) resized->next->previous = resized;
  return resized + 1;
}

void Call::FreeBlock(void* memory) {
  Block* block = static_cast<Block*>(memory) - 1;
  (block->previous != nullptr ? block->previous->next : blocks_) = block->next;
  if (block->next != nullptr) block->next->previous = block->previous;
  std::free(block);
}

}  // namespace broker
