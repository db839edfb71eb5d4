// Which functions of the object manager a provider calls, and how often: what it costs at the
// least.
//
// Thread rule: one at a time, while one thread alone makes requests.

#ifndef BENCH_CMPI_CALLS_H_
#define BENCH_CMPI_CALLS_H_

#include <cstddef>
#include <map>
#include <string>

namespace bench {

// Counts by name, from its construction to its end.
class CmpiCalls {
 public:
  CmpiCalls();
  ~CmpiCalls();
  CmpiCalls(const CmpiCalls&) = delete;
  CmpiCalls& operator=(const CmpiCalls&) = delete;

  const std::map<std::string, std::size_t>& counts() const { return counts_; }
  void Count(const char* function) { ++counts_[function]; }

 private:
  std::map<std::string, std::size_t> counts_;
};

}  // namespace bench

#endif  // BENCH_CMPI_CALLS_H_
