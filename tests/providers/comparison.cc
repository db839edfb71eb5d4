#include "providers/comparison.h"

#include <variant>

#include "providers/provider_run.h"
#include "providers/request_pool.h"
#include "support/sample_hosts.h"

namespace {

void Count(const naive::Answer& answer, Tally& tally) {
  ++tally.requests;
  for (const naive::Event& event : answer.events) {
    if (std::holds_alternative<cim::Instance>(event)) ++tally.instances;
    if (std::holds_alternative<cim::ObjectPath>(event)) ++tally.paths;
  }
  tally.log_lines += answer.log.size();
}

naive::SystemClass SystemOf(const Bench& bench, const fake::Host& host) {
  return {ObjectManagerSystem(host), bench.system_class};
}

// The difference in the answer to one request, as the first of a process.
std::string DifferenceAlone(const Bench& bench, const fake::Host& host,
                            const naive::Request& request) {
  ProviderRun real(host, bench.start(), bench.system_class);
  naive::Providers model(host, SystemOf(bench, host));
  return Difference(Expect(model, request), real.Ask(request));
}

std::string Report(const Bench& bench, const fake::Host& host, const naive::Request& request,
                   const std::string& difference) {
  const auto fails = [&](const fake::Host& smaller) {
    return !DifferenceAlone(bench, smaller, request).empty();
  };
  fake::Host smallest = host;
  std::string shown = difference;
  if (fails(host)) {
    smallest = fake::Shrink(host, fails);
    shown = DifferenceAlone(bench, smallest, request);
  }
  return naive::Describe(request) + "\non " + naive::Describe(smallest) + shown;
}

// Answers the first difference and the request that showed it.
std::string FirstDifference(const Bench& bench, const fake::Host& host, std::uint32_t seed,
                            int requests, Tally& tally, naive::Request& request) {
  ProviderRun real(host, bench.start(), bench.system_class);
  naive::Providers model(host, SystemOf(bench, host));
  RequestPool pool(host, seed);
  ++tally.hosts;
  for (int i = 0; i < requests; ++i) {
    request = pool.Draw();
    const naive::Answer expected = Expect(model, request);
    std::string difference = Difference(expected, real.Ask(request));
    if (!difference.empty()) return difference;
    Count(expected, tally);
  }
  return real.Faults(model.topology().devices.size());
}

}  // namespace

std::string Tally::Text() const {
  return std::to_string(hosts) + " hosts, " + std::to_string(requests) + " requests, " +
         std::to_string(instances) + " instances, " + std::to_string(paths) + " paths, " +
         std::to_string(log_lines) + " log lines";
}

std::string Difference(const naive::Answer& expected, const naive::Answer& actual) {
  if (naive::IsAsExpected(expected, actual)) return "";
  return naive::Difference(naive::Describe(expected), naive::Describe(actual));
}

std::string CompareOnHost(const Bench& bench, const fake::Host& host, std::uint32_t seed,
                          int requests, Tally& tally) {
  naive::Request request;
  // The runs end before the difference is looked at on other hosts.
  const std::string difference = FirstDifference(bench, host, seed, requests, tally, request);
  return difference.empty() ? "" : Report(bench, host, request, difference);
}
