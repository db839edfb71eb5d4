#include "broker/memory.h"

#include <cstring>

#include "broker/object_manager.h"
#include "broker/objects.h"

namespace broker {

struct Chunk {
  Chunk* next;
  std::size_t bytes;  // behind this header
};

namespace {

constexpr std::size_t kChunkBytes = std::size_t{16} * 1024 - sizeof(Chunk);
constexpr std::size_t kCloneChunkBytes = 512;
constexpr std::size_t kFreeChunksKept = 16;
// Long enough for a misuse to be met in practice, short enough to keep memory flat.
constexpr std::size_t kQuarantineBytes = std::size_t{1024} * 1024;

char* Begin(Chunk* chunk) { return reinterpret_cast<char*>(chunk + 1); }

Chunk* NewChunk(std::size_t bytes) {
  auto* chunk = static_cast<Chunk*>(::operator new(sizeof(Chunk) + bytes));
  *chunk = {nullptr, bytes};
  return chunk;
}

void FreeChunk(Chunk* chunk) { ::operator delete(chunk); }

// Chunks of a thread that wait to be used again.
class ChunkCache {
 public:
  constexpr ChunkCache() = default;
  ~ChunkCache() {
    while (oldest_ != nullptr) Recycle(TakeOldest());
    while (free_ != nullptr) FreeChunk(TakeFree());
    closed_ = true;
  }

  Chunk* Take() {
    if (free_ == nullptr) return NewChunk(kChunkBytes);
    Chunk* chunk = TakeFree();
    chunk->next = nullptr;
    return chunk;
  }

  void Recycle(Chunk* chunk) {
    if (chunk->bytes != kChunkBytes || free_count_ == kFreeChunksKept || closed_) {
      FreeChunk(chunk);
      return;
    }
    chunk->next = free_;
    free_ = chunk;
    ++free_count_;
  }

  void Quarantine(Chunk* chunk) {
    if (closed_) return FreeChunk(chunk);
    chunk->next = nullptr;
    (newest_ != nullptr ? newest_->next : oldest_) = chunk;
    newest_ = chunk;
    quarantined_ += chunk->bytes;
    while (quarantined_ > kQuarantineBytes) Recycle(TakeOldest());
  }

 private:
  Chunk* TakeFree() {
    Chunk* chunk = free_;
    free_ = chunk->next;
    --free_count_;
    return chunk;
  }
  Chunk* TakeOldest() {
    Chunk* chunk = oldest_;
    oldest_ = chunk->next;
    if (oldest_ == nullptr) newest_ = nullptr;
    quarantined_ -= chunk->bytes;
    return chunk;
  }

  Chunk* free_ = nullptr;
  Chunk* oldest_ = nullptr;
  Chunk* newest_ = nullptr;
  std::size_t free_count_ = 0;
  std::size_t quarantined_ = 0;
  // The main thread's cache ends before object managers of static duration do.
  bool closed_ = false;
};

thread_local ChunkCache cache;

}  // namespace

Region::Region(ObjectManager& manager, Call* call, Region* below, Chunk* first)
    : manager_(manager),
      call_(call),
      below_(below),
      chunks_(first),
      free_(Begin(first) + sizeof(Region)),
      end_(Begin(first) + first->bytes) {}

Region* Region::OpenIn(Chunk* first, ObjectManager& manager, Call* call, Region* below) {
  return new (Begin(first)) Region(manager, call, below, first);
}

Region* Region::Open(ObjectManager& manager, Call* call, Region* below) {
  return OpenIn(cache.Take(), manager, call, below);
}

Region* Region::OpenForClone(ObjectManager& manager) {
  return OpenIn(NewChunk(kCloneChunkBytes), manager, nullptr, nullptr);
}

void Region::Close(Region* region) {
  const bool checking = region->manager_.checking();
  if (checking) region->KillObjects();
  // The region itself lies in the last chunk of the list.
  for (Chunk* chunk = region->chunks_; chunk != nullptr;) {
    Chunk* next = chunk->next;
    checking ? cache.Quarantine(chunk) : cache.Recycle(chunk);
    chunk = next;
  }
}

void* Region::AllocateInNewChunk(std::size_t bytes) {
  const bool standard = bytes <= kChunkBytes && call_ != nullptr;
  Chunk* chunk = standard ? cache.Take() : NewChunk(bytes + kCloneChunkBytes);
  chunk->next = chunks_;
  chunks_ = chunk;
  free_ = Begin(chunk) + bytes;
  end_ = Begin(chunk) + chunk->bytes;
  return Begin(chunk);
}

const char* Region::CopyText(std::string_view text) {
  char* copy = AllocateArray<char>(text.size() + 1);
  if (!text.empty()) std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

void Region::KillObjects() {
  for (ObjectState* state = objects_; state != nullptr; state = state->next) {
    if (state->life == ObjectState::kAlive) KillObject(*state);
  }
}

void KillObject(ObjectState& state) {
  state.life = ObjectState::kDead;
  state.manager = &state.region->manager();
  if (state.kind != ObjectKind::kString) return;
  // Whoever kept the text of a dead string reads that it is dead.
  auto* text = reinterpret_cast<StringObject*>(reinterpret_cast<char*>(&state) - kStateOffset);
  std::memset(text->text(), '#', text->size);
}

}  // namespace broker
