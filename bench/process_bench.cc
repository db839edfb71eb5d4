// What whole processes take to read a host, against lspci on the same sysfs tree: a program that
// loads the host control library and asks for all that the providers ask for (read_host), one that
// makes the same system calls and nothing else (bare_read), and the command line tool enumerating
// ports and drawing the tree.
//
// Benchmark: Processes/<functions>. All run in turns, so that whatever else the machine does meets
// all of them alike; an iteration is some turns. Counters, medians over the turns:
//   lspci_ms, bare_ms, read_host_ms, enumerate_ms, tree_ms   CPU time of the process
//   bare_ratio, read_host_ratio, enumerate_ratio, tree_ratio to lspci within one turn
// lspci does without udev's copy of the names, as the library does; with it, as it is by default,
// lspci takes longer. That all tell of the whole host is checked before they are measured.
//
// Benchmark: Start. The tool says its version, and does nothing else:
//   start_ms   CPU time of the process, the median of some hundred
//
// Benchmark: SystemCalls/<functions>, counted: what reading one more function adds.
//   calls_per_function          system calls of read_host
//   config_bytes_per_function   of configuration space that it reads of a copy, all at once

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
#include <utility>
#include <vector>

#include "bench/child_process.h"
#include "bench/occurrences.h"
#include "bench/sysfs_host.h"
#include "bench/system_calls.h"

namespace {

using Words = std::vector<std::string>;
using Milliseconds = std::chrono::duration<double, std::milli>;

// Of small hosts more, because a process's CPU time is counted in coarse steps.
constexpr int kTurns = 5;
constexpr int kTurnsOfSmallHosts = 25;
constexpr std::size_t kSmallHost = 100;
constexpr int kStarts = 300;

struct CloseFile {
  void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

Words Lspci(const std::string& sysfs) {
  return {"lspci", "-O", "sysfs.path=" + sysfs, "-O", "hwdb.disable=1", "-vmm"};
}
Words BareRead(const std::string& sysfs) { return {OSTREL_BARE_READ, sysfs}; }
Words ReadHost() { return {OSTREL_READ_HOST}; }
Words EnumeratePorts() { return {OSTREL_PCI, "enumerate", "Ostrel_PCIPort", "-o", "json"}; }
Words SayVersion() { return {OSTREL_PCI, "--version"}; }
Words DrawTree() { return {OSTREL_PCI, "tree"}; }

double MillisecondsOf(const Words& words, int output) {
  return Milliseconds(bench::ChildProcess(words, output).Wait()).count();
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
  for (const Words& words : {ReadHost(), BareRead(sysfs)}) {
    if (!OutputOf(words).starts_with(fmt::format("{} functions", functions))) {
      throw std::runtime_error(words[0] + " does not find every function");
    }
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

// One kind of process: its times, and their ratios to lspci's in the same turn.
struct Series {
  std::string name;
  Words words;
  std::vector<double> milliseconds = {}, ratios = {};
};

std::vector<Series> AllSeries(const std::string& sysfs) {
  return {{"lspci", Lspci(sysfs)},
          {"bare", BareRead(sysfs)},
          {"read_host", ReadHost()},
          {"enumerate", EnumeratePorts()},
          {"tree", DrawTree()}};
}

void RunOnce(std::vector<Series>& all, int output) {
  for (Series& series : all) {
    series.milliseconds.push_back(MillisecondsOf(series.words, output));
    series.ratios.push_back(series.milliseconds.back() / all.front().milliseconds.back());
  }
}

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
  const int turns = setting.host.functions().size() < kSmallHost ? kTurnsOfSmallHosts : kTurns;
  const File null(std::fopen("/dev/null", "w"));
  std::vector<Series> all = AllSeries(setting.sysfs.path());
  for (auto _ : state) {
    for (int turn = 0; turn < turns; ++turn) RunOnce(all, fileno(null.get()));
  }
  for (const Series& series : all) {
    state.counters[series.name + "_ms"] = Median(series.milliseconds);
    if (series.name != "lspci") state.counters[series.name + "_ratio"] = Median(series.ratios);
  }
}

void Start(benchmark::State& state) {
  const File null(std::fopen("/dev/null", "w"));
  std::vector<double> milliseconds;
  for (auto _ : state) {
    for (int i = 0; i < kStarts; ++i) {
      milliseconds.push_back(MillisecondsOf(SayVersion(), fileno(null.get())));
    }
  }
  state.counters["start_ms"] = Median(std::move(milliseconds));
}

// The same program on a host of a few functions takes what any takes.
void Count(benchmark::State& state) {
  constexpr std::size_t kFew = 16;
  const auto functions = static_cast<std::size_t>(state.range(0));
  (void)SettingOf(kFew);
  const bench::SystemCalls few = bench::CountSystemCalls(ReadHost());
  (void)SettingOf(functions);
  const bench::SystemCalls many = bench::CountSystemCalls(ReadHost());
  const auto per_function = [&](std::size_t larger, std::size_t smaller) {
    return static_cast<double>(larger - smaller) / static_cast<double>(functions - kFew);
  };
  for (auto _ : state) {
  }
  state.counters["calls_per_function"] = per_function(many.all, few.all);
  state.counters["config_bytes_per_function"] =
      per_function(many.positioned_bytes, few.positioned_bytes);
}

template <void (*Run)(benchmark::State&)>
void OrError(benchmark::State& state) {
  try {
    Run(state);
  } catch (const std::exception& error) {
    state.SkipWithError(error.what());
  }
}

BENCHMARK(OrError<Measure>)
    ->Name("Processes")
    ->Arg(54)
    ->Arg(1'000)
    ->Arg(10'000)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(OrError<Start>)->Name("Start")->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(OrError<Count>)->Name("SystemCalls")->Arg(1'000)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
