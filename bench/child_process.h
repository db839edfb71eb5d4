// A program that a benchmark runs.
//
// Thread rule: one thread; none other may be running when a child is started.

#ifndef BENCH_CHILD_PROCESS_H_
#define BENCH_CHILD_PROCESS_H_

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace bench {

class ChildProcess {
 public:
  // Starts the program that the first word names, by its path or from PATH, with the descriptor
  // `output` as its standard output. It gets SIGTERM should this process end before. Throws
  // std::system_error; that there is no such program is for Wait to tell.
  ChildProcess(std::vector<std::string> words, int output);
  // Kills it where it still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Asks it to end.
  void Terminate() const;
  // Waits for its end and gives the CPU time that it took, its own and the kernel's. Throws
  // std::runtime_error unless it ends well.
  std::chrono::microseconds Wait();

 private:
  std::string name_;
  pid_t process_;  // -1 once it has ended
};

}  // namespace bench

#endif  // BENCH_CHILD_PROCESS_H_
