// What whole processes take to read a host, against lspci on the same sysfs tree: a program that
// loads the host control library and asks for all that the providers ask for (read_host), and the
// command line tool enumerating ports.
//
// Benchmark: Processes/<functions>, 1,000 and 10,000. The three run in turns, so that whatever else
// the machine does meets all of them alike; an iteration is five turns. Counters, medians over the
// turns:
//   lspci_ms, read_host_ms, enumerate_ms   wall-clock time from start to end of the process
//   read_host_ratio, enumerate_ratio       to lspci within one turn
// lspci does without udev's copy of the names, as the library does; with it, as it is by default,
// lspci takes longer. That all three tell of the whole host is checked before they are measured.

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/child_process.h"
#include "bench/occurrences.h"
#include "bench/sysfs_host.h"

namespace {

using Words = std::vector<std::string>;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int kTurns = 5;

struct CloseFile {
  void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

Words Lspci(const std::string& sysfs) {
  return {"lspci", "-O", "sysfs.path=" + sysfs, "-O", "hwdb.disable=1", "-vmm"};
}
Words ReadHost() { return {OSTREL_READ_HOST}; }
Words EnumeratePorts() { return {OSTREL_PCI, "enumerate", "Ostrel_PCIPort", "-o", "json"}; }

double MillisecondsOf(const Words& words, int output) {
  const auto start = std::chrono::steady_clock::now();
  bench::ChildProcess(words, output).Wait();
  return Milliseconds(std::chrono::steady_clock::now() - start).count();
}

std::string OutputOf(const Words& words) {
  const File file(std::tmpfile());
  if (!file) throw std::runtime_error("no temporary file");
  bench::ChildProcess(words, fileno(file.get())).Wait();
  std::rewind(file.get());
  std::string text;
  std::vector<char> block(1 << 16);
  while (const std::size_t size = std::fread(block.data(), 1, block.size(), file.get())) {
    text.append(block.data(), size);
  }
  return text;
}

// A host and the processes' way to it.
struct Setting {
  explicit Setting(std::size_t functions) : host(functions), sysfs(host) {}

  bench::SysfsHost host;
  bench::TemporarySysfs sysfs;
};

// That all three tell of the whole host; it also reads all files once before they are read on time.
void RequireAnswers(const bench::SysfsHost& host, const std::string& sysfs) {
  const std::size_t functions = host.functions().size();
  if (bench::Occurrences(OutputOf(Lspci(sysfs)), "\nProgIf:\t") != functions) {
    throw std::runtime_error("lspci does not show every function");
  }
  if (!OutputOf(ReadHost()).starts_with(fmt::format("{} functions", functions))) {
    throw std::runtime_error("read_host does not find every function");
  }
  // Every function but the host bridges, of which there is one to a domain, has a port or two.
  const std::size_t domains = host.functions().back().domain + 1;
  if (bench::Occurrences(OutputOf(EnumeratePorts()), "\"PortType\":") < functions - domains) {
    throw std::runtime_error("ostrel-pci does not print every port");
  }
}

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

struct Times {
  std::vector<double> lspci, read_host, enumerate, read_host_ratio, enumerate_ratio;

  void RunOnce(const std::string& sysfs, int output) {
    lspci.push_back(MillisecondsOf(Lspci(sysfs), output));
    read_host.push_back(MillisecondsOf(ReadHost(), output));
    enumerate.push_back(MillisecondsOf(EnumeratePorts(), output));
    read_host_ratio.push_back(read_host.back() / lspci.back());
    enumerate_ratio.push_back(enumerate.back() / lspci.back());
  }
};

// The host of that size, kept from one run of the benchmark to the next.
const Setting& SettingOf(std::size_t functions) {
  static std::unique_ptr<const Setting> setting;
  if (setting && setting->host.functions().size() == functions) return *setting;
  setting.reset();
  setting = std::make_unique<const Setting>(functions);
  setenv("HOSTCTL_PCI_SYSFS", setting->sysfs.path().c_str(), 1);
  RequireAnswers(setting->host, setting->sysfs.path());
  return *setting;
}

void Measure(benchmark::State& state) {
  const Setting& setting = SettingOf(static_cast<std::size_t>(state.range(0)));
  const File null(std::fopen("/dev/null", "w"));
  Times times;
  for (auto _ : state) {
    for (int turn = 0; turn < kTurns; ++turn) {
      times.RunOnce(setting.sysfs.path(), fileno(null.get()));
    }
  }
  state.counters["lspci_ms"] = Median(times.lspci);
  state.counters["read_host_ms"] = Median(times.read_host);
  state.counters["read_host_ratio"] = Median(times.read_host_ratio);
  state.counters["enumerate_ms"] = Median(times.enumerate);
  state.counters["enumerate_ratio"] = Median(times.enumerate_ratio);
}

void Processes(benchmark::State& state) {
  try {
    Measure(state);
  } catch (const std::exception& error) {
    state.SkipWithError(error.what());
  }
}
BENCHMARK(Processes)->Arg(1'000)->Arg(10'000)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
