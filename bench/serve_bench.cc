// What `ostrel-pci serve` answers over loopback: requests per second and the time that a client
// waits for an answer, with 1, 8 and 64 clients at once. The server is the tool itself, in a
// process of its own, on a host with 1,000 PCI devices; the clients, in this process, share the
// machine with it.
//
// Benchmarks:
//   GetInstance/clients:<n>                  one instance, over connections that clients keep
//   GetInstanceOnNewConnection/clients:<n>   the same over a new connection for every request
//   EnumerateInstances/clients:<n>           1,000 instances, over connections that clients keep
// Each client sends its next request when it has the answer to the last one. An answer that is not
// the expected one is an error of the benchmark. Counters:
//   requests_per_second
//   p50_ms, p99_ms   median and 99th percentile of the time from a request, and from connecting
//                    where it needs a new connection, to the end of its answer
//   answer_bytes     of one answer, without HTTP's headers

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "bench/child_process.h"
#include "bench/occurrences.h"
#include "bench/sysfs_host.h"
#include "wbem/messages.h"
#include "wbem/raw_client.h"

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::size_t kDevices = 1'000;
constexpr const char* kClass = "Ostrel_PCIDevice";
constexpr const char* kSystemName = "bench.example";

// ---------------------------------------------------------------------------------------------
// The server

// A host with exactly kDevices instances of kClass.
bench::SysfsHost MakeHost() {
  std::size_t functions = kDevices;
  while (bench::SysfsHost(functions).devices() < kDevices) ++functions;
  return bench::SysfsHost(functions);
}

class Server {
 public:
  Server() : host_(MakeHost()), sysfs_(host_) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
      throw std::system_error(errno, std::generic_category(), "pipe2");
    }
    tool_.emplace(std::vector<std::string>{OSTREL_PCI, "--sysfs", sysfs_.path(), "--system-name",
                                           kSystemName, "serve", "--port", "0"},
                  ends[1]);
    close(ends[1]);
    std::string line;
    for (char c = 0; read(ends[0], &c, 1) == 1 && c != '\n';) line += c;
    close(ends[0]);
    if (!line.starts_with("listening on ")) throw std::runtime_error("the server does not start");
    port_ = std::stoi(line.substr(line.rfind(':') + 1));
  }

  ~Server() {
    tool_->Terminate();
    try {
      tool_->Wait();
    } catch (const std::exception& error) {
      (void)std::fprintf(stderr, "serve_bench: %s\n", error.what());
    }
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  int port() const { return port_; }
  // The DeviceID of one of the instances.
  std::string device() const { return bench::SysfsHost::Address(host_.functions().back()); }

 private:
  bench::SysfsHost host_;
  bench::TemporarySysfs sysfs_;
  std::optional<bench::ChildProcess> tool_;
  int port_ = 0;
};

// One for all benchmarks of the process.
const Server& TheServer() {
  static const Server server;
  return server;
}

// ---------------------------------------------------------------------------------------------
// Clients

enum class Connections { kKept, kNew };

class Client {
 public:
  Client(int port, Connections connections) : port_(port), connections_(connections) {}

  // Throws std::runtime_error for any answer but a whole one with the status 200.
  std::string Ask(const std::string& request) {
    std::optional<RawResponse> response;
    if (connection_) response = Exchange(request);
    if (!response) {  // the server may end a connection between two requests
      connection_.emplace(port_);
      response = Exchange(request);
    }
    if (!response) throw std::runtime_error("the server does not answer");
    if (response->status != 200) {
      throw std::runtime_error("HTTP status " + std::to_string(response->status));
    }
    const bool ended = response->headers["connection"] == "close";
    if (ended || connections_ == Connections::kNew) connection_.reset();
    return std::move(response->body);
  }

 private:
  std::optional<RawResponse> Exchange(const std::string& request) {
    if (!connection_->Send(request)) return std::nullopt;
    return connection_->Receive();
  }

  const int port_;
  const Connections connections_;
  std::optional<RawClient> connection_;
};

// A request, and what its answer must hold.
struct Question {
  std::string request;
  std::string element;  // the tag that an answer has for each instance
  std::size_t elements;
};

Question OneInstance() {
  const std::string name =
      messages::InstanceName(kClass, {{"SystemCreationClassName", "OMC_UnitaryComputerSystem"},
                                      {"SystemName", kSystemName},
                                      {"CreationClassName", kClass},
                                      {"DeviceID", TheServer().device()}});
  return {messages::Post("GetInstance", messages::Parameter("InstanceName", name)), "<INSTANCE ",
          1};
}

Question AllInstances() {
  return {messages::Post("EnumerateInstances", messages::Class(kClass)), "<VALUE.NAMEDINSTANCE>",
          kDevices};
}

// So many clients, which together send requests.
class Crowd {
 public:
  Crowd(std::size_t clients, Connections connections, Question question)
      : question_(std::move(question)) {
    while (clients_.size() < clients) clients_.emplace_back(TheServer().port(), connections);
  }

  // Sends `count` requests, each client its next one as soon as it has its answer. Throws
  // std::runtime_error.
  void Ask(std::size_t count) {
    left_ = static_cast<std::ptrdiff_t>(count);
    std::vector<std::thread> threads;
    for (Client& client : clients_) threads.emplace_back([&] { Work(client); });
    for (std::thread& thread : threads) thread.join();
    if (!failure_.empty()) throw std::runtime_error(failure_);
  }

  // How long each answer took; in no order.
  std::vector<Milliseconds>& times() { return times_; }
  // Of one answer, without HTTP's headers.
  std::size_t answer_bytes() const { return answer_bytes_; }

 private:
  void Work(Client& client) {
    std::vector<Milliseconds> times;
    std::string failure;
    try {
      while (left_-- > 0) times.push_back(AskOnce(client));
    } catch (const std::exception& error) {
      left_ = 0;
      failure = error.what();
    }
    const std::lock_guard lock(mutex_);
    times_.insert(times_.end(), times.begin(), times.end());
    if (!failure.empty()) failure_ = failure;
  }

  Milliseconds AskOnce(Client& client) {
    const auto start = std::chrono::steady_clock::now();
    const std::string answer = client.Ask(question_.request);
    const Milliseconds time = std::chrono::steady_clock::now() - start;
    if (!answer.ends_with("</CIM>\n") ||
        bench::Occurrences(answer, question_.element) != question_.elements) {
      throw std::runtime_error("the answer is not the expected one");
    }
    answer_bytes_ = answer.size();
    return time;
  }

  std::deque<Client> clients_;
  const Question question_;
  std::atomic<std::ptrdiff_t> left_ = 0;
  std::atomic<std::size_t> answer_bytes_ = 0;
  std::mutex mutex_;
  std::vector<Milliseconds> times_;
  std::string failure_;
};

// ---------------------------------------------------------------------------------------------
// Benchmarks

double Percentile(std::vector<Milliseconds>& times, double part) {
  const auto place = static_cast<std::ptrdiff_t>(part * static_cast<double>(times.size() - 1));
  std::nth_element(times.begin(), times.begin() + place, times.end());
  return times[static_cast<std::size_t>(place)].count();
}

// An iteration is a round of requests.
void Measure(benchmark::State& state, Crowd& crowd, std::size_t requests) {
  crowd.Ask(requests);  // connects, and warms up the server's threads
  crowd.times().clear();
  for (auto _ : state) crowd.Ask(requests);
  state.counters["requests_per_second"] =
      benchmark::Counter(static_cast<double>(crowd.times().size()), benchmark::Counter::kIsRate);
  state.counters["p50_ms"] = Percentile(crowd.times(), 0.5);
  state.counters["p99_ms"] = Percentile(crowd.times(), 0.99);
  state.counters["answer_bytes"] = static_cast<double>(crowd.answer_bytes());
}

// Each client asks `share` times in a round.
void Run(benchmark::State& state, Connections connections, Question (*question)(),
         std::size_t share) {
  try {
    const auto clients = static_cast<std::size_t>(state.range(0));
    Crowd crowd(clients, connections, question());
    Measure(state, crowd, std::max<std::size_t>(clients * share, 20));
  } catch (const std::exception& error) {
    state.SkipWithError(error.what());
  }
}

void GetInstance(benchmark::State& state) { Run(state, Connections::kKept, OneInstance, 100); }

void GetInstanceOnNewConnection(benchmark::State& state) {
  Run(state, Connections::kNew, OneInstance, 50);
}

void EnumerateInstances(benchmark::State& state) {
  Run(state, Connections::kKept, AllInstances, 2);
}

void ForAllCrowds(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgName("clients")->Arg(1)->Arg(8)->Arg(64);
  benchmark->UseRealTime()->Unit(benchmark::kMillisecond);
}
BENCHMARK(GetInstance)->Apply(ForAllCrowds);
BENCHMARK(GetInstanceOnNewConnection)->Apply(ForAllCrowds);
BENCHMARK(EnumerateInstances)->Apply(ForAllCrowds);

}  // namespace

BENCHMARK_MAIN();
