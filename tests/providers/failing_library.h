// A provider library whose factories and operations run short of memory.
//
// What fails are the allocations between the call of the object manager and its return: those of
// the library, of the host interface, and of the object manager within the functions that the
// library calls of it. What it does before and after the call, and with the results that it is
// given, is not the library's and does not fail; neither does what log captures keep.
//
// Thread rule: one plan per process; made and read on the test's thread while no request runs.

#ifndef PROVIDERS_FAILING_LIBRARY_H_
#define PROVIDERS_FAILING_LIBRARY_H_

#include <cstddef>
#include <memory>

#include "broker/provider_library.h"
#include "support/failing_allocator.h"

enum class Within { kFactories, kOperations };

// From now on the n-th allocation of every factory call, or of every operation, fails; 0: none.
void PlanFailures(Within within, std::size_t n, Fail mode);

// What happened in the last call that the plan was for; nothing where there was none since.
AllocationReport LastReport();

// The library, with what is planned.
std::shared_ptr<const broker::ProviderLibrary> WithFailures(
    std::shared_ptr<const broker::ProviderLibrary> library);

#endif  // PROVIDERS_FAILING_LIBRARY_H_
