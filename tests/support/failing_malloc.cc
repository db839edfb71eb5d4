// Makes malloc, calloc and realloc fail like operator new does (failing_allocator.h), for programs
// that name this source beside that library: what the C library allocates for us is then counted
// and fails as well (the list of a folder, a line of the log), and so does the memory of
// exceptions, for which the C++ library keeps some of its own.
//
// For glibc alone, and not under sanitizers: they have a malloc of their own.

#include <cerrno>
#include <cstddef>

#include "support/failing_allocator.h"

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the C library's
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
// NOLINTEND(bugprone-reserved-identifier)

void* malloc(std::size_t size) {
  if (!CAllocationFails()) return __libc_malloc(size);
  errno = ENOMEM;
  return nullptr;
}

void* calloc(std::size_t count, std::size_t size) {
  if (!CAllocationFails()) return __libc_calloc(count, size);
  errno = ENOMEM;
  return nullptr;
}

void* realloc(void* memory, std::size_t size) {
  if (!CAllocationFails()) return __libc_realloc(memory, size);
  errno = ENOMEM;
  return nullptr;
}

}  // extern "C"
