// Memory of CMPI objects: a region is where objects that die together are made. A provider call has
// one, mark opens another on top of it, and every clone is one by itself. Making an object moves a
// pointer; the end of a region gives its chunks back, whatever was made in it.
//
// While providers are checked, the objects of an ended region are marked dead and their memory is
// not used again for a while, so that a late use is met by a readable, dead object.
//
// Thread rule: a region is used by one thread at a time. Chunks are kept per thread: no lock.

#ifndef BROKER_MEMORY_H_
#define BROKER_MEMORY_H_

#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>
#include <type_traits>

namespace broker {

class Call;
class ObjectManager;
struct Chunk;
class Region;

enum class ObjectKind : std::uint8_t {
  kString,
  kArray,
  kPath,
  kInstance,
  kContext,
  kResult,
  kEnumeration,
  kDateTime,
};

// Stands right behind the record {hdl, ft} that a provider sees, in every object.
struct ObjectState {
  static constexpr std::uint32_t kAlive = 0x0B7EC7A1;
  static constexpr std::uint32_t kDead = 0xDEAD0B7E;

  std::uint32_t life;
  ObjectKind kind;
  bool clone_root;  // the object that was asked to be cloned: its release ends its region
  union {
    Region* region;          // of a living object
    ObjectManager* manager;  // of a dead one, whose region may be another's by now
  };
  ObjectState* next;  // the object made before it in the same region
};
inline constexpr std::size_t kStateOffset = 16;  // behind the two pointers of a record

class Region {
 public:
  // For the objects of a provider call, on top of `below` where that is not null.
  static Region* Open(ObjectManager& manager, Call* call, Region* below);
  // For one clone: independent of any call.
  static Region* OpenForClone(ObjectManager& manager);
  // Ends the region; all its objects are dead.
  static void Close(Region* region);

  Region(const Region&) = delete;
  Region& operator=(const Region&) = delete;

  // Aligned for any object; lives as long as the region.
  void* Allocate(std::size_t bytes) {
    bytes = (bytes + 7) & ~std::size_t{7};
    used_ += bytes;
    if (static_cast<std::size_t>(end_ - free_) < bytes) return AllocateInNewChunk(bytes);
    void* memory = free_;
    free_ += bytes;
    return memory;
  }
  template <class T>
  T* AllocateArray(std::size_t count) {
    static_assert(std::is_trivially_destructible_v<T>);
    return static_cast<T*>(Allocate(count * sizeof(T)));
  }
  // A null-terminated copy.
  const char* CopyText(std::string_view text);

  // A new object of type T (which has a `record`, a `state` and a kKind), `extra` bytes behind it.
  template <class T>
  T* New(std::size_t extra = 0) {
    static_assert(std::is_trivially_destructible_v<T> && std::is_standard_layout_v<T>);
    T* object = new (Allocate(sizeof(T) + extra)) T{};
    object->state = {ObjectState::kAlive, T::kKind, false, {this}, objects_};
    objects_ = &object->state;
    return object;
  }

  ObjectManager& manager() const { return manager_; }
  Call* call() const { return call_; }  // null for a clone
  Region* below() const { return below_; }
  std::size_t used() const { return used_; }

  // Neighbours in the manager's list of clones.
  Region* next_clone = nullptr;
  Region* previous_clone = nullptr;

 private:
  Region(ObjectManager& manager, Call* call, Region* below, Chunk* first);
  static Region* OpenIn(Chunk* first, ObjectManager& manager, Call* call, Region* below);
  void* AllocateInNewChunk(std::size_t bytes);
  void KillObjects();

  ObjectManager& manager_;
  Call* call_;
  Region* below_;
  Chunk* chunks_;
  ObjectState* objects_ = nullptr;
  char* free_;
  char* end_;
  std::size_t used_ = 0;
};

// Marks one object dead before its region ends.
void KillObject(ObjectState& state);

}  // namespace broker

#endif  // BROKER_MEMORY_H_
