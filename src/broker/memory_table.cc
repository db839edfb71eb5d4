// CMPIBrokerMemFT: mark and release, blocks of memory, early freeing of objects.

#include <cstring>
#include <limits>

#include "broker/entry.h"
#include "broker/guest.h"
#include "broker/tables.h"

namespace broker {

namespace {

CMPIGcStat* Mark(const CMPIBroker* mb, CMPIStatus* rc) {
  Call* call = CallFor(mb, "CMPIBroker.mark", rc);
  if (call == nullptr) return nullptr;
  return Answer(rc, CMPI_RC_OK, reinterpret_cast<CMPIGcStat*>(call->Mark()));
}

CMPIStatus Release(const CMPIBroker* mb, const CMPIGcStat* gc) {
  CMPIStatus rc{CMPI_RC_OK, nullptr};
  Call* call = CallFor(mb, "CMPIBroker.release", &rc);
  if (call == nullptr) return rc;
  if (call->Release(reinterpret_cast<const Region*>(gc))) return rc;
  ReportMisuse("CMPIBroker.release", "no open mark of this call");
  return Answer(CMPI_RC_ERR_INVALID_HANDLE);
}

// Blocks belong to the call: what is not freed is freed with it.
void* Malloc(const CMPIBroker* mb, std::size_t size) {
  Call* call = CallFor(mb, "CMPIBroker.cmpiMalloc", nullptr);
  return call != nullptr ? call->AllocateBlock(size) : nullptr;
}

void* Calloc(const CMPIBroker* mb, std::size_t count, std::size_t size) {
  if (size != 0 && count > std::numeric_limits<std::size_t>::max() / size) return nullptr;
  void* block = Malloc(mb, count * size);
  if (block != nullptr) std::memset(block, 0, count * size);
  return block;
}

// The call, if the block is one of its own.
Call* CallOwning(const CMPIBroker* mb, void* block, const char* function) {
  Call* call = CallFor(mb, function, nullptr);
  if (call == nullptr || call->OwnsBlock(block)) return call;
  ReportMisuse(function, "no block of this call");
  return nullptr;
}

void* Realloc(const CMPIBroker* mb, void* block, std::size_t size) {
  if (block == nullptr) return Malloc(mb, size);
  Call* call = CallOwning(mb, block, "CMPIBroker.cmpiRealloc");
  return call != nullptr ? call->ResizeBlock(block, size) : nullptr;
}

char* StrDup(const CMPIBroker* mb, const char* text) {
  if (text == nullptr) return nullptr;
  const std::size_t bytes = std::strlen(text) + 1;
  void* copy = Malloc(mb, bytes);
  return copy != nullptr ? static_cast<char*>(std::memcpy(copy, text, bytes)) : nullptr;
}

void Free(const CMPIBroker* mb, void* block) {
  if (block == nullptr) return;
  Call* call = CallOwning(mb, block, "CMPIBroker.cmpiFree");
  if (call != nullptr) call->FreeBlock(block);
}

template <class T>
void FreeObject(const CMPIBroker*, typename T::Record* record) {
  ReleaseObject<T>(record, "CMPIBroker.free");
}

void FreeSelectExp(const CMPIBroker*, CMPISelectExp*) {}  // there are none

}  // namespace

CMPIBrokerMemFT broker_memory = {
    CMPIVersion200,
    Entry<Mark>,
    Entry<Release>,
    Entry<Malloc>,
    Entry<Calloc>,
    Entry<Realloc>,
    Entry<StrDup>,
    Entry<Free>,
    Entry<FreeObject<InstanceObject>>,
    Entry<FreeObject<PathObject>>,
    Entry<FreeObject<ArgsObject>>,
    Entry<FreeObject<StringObject>>,
    Entry<FreeObject<ArrayObject>>,
    Entry<FreeObject<DateTimeObject>>,
    Entry<FreeSelectExp>,
};

}  // namespace broker
