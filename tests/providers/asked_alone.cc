#include "providers/asked_alone.h"

#include <utility>

#include "providers/comparison.h"
#include "providers/request_pool.h"

std::vector<Asked> AskedAlone(const fake::Host& host, std::uint32_t seed, int count) {
  naive::Providers model(host, {ObjectManagerSystem(host)});
  RequestPool pool(host, seed);
  std::vector<Asked> asked;
  for (int i = 0; i < count; ++i) {
    Asked next{pool.Draw(), {}};
    next.answer = Expect(model, next.request);
    next.answer.log.clear();
    asked.push_back(std::move(next));
  }
  return asked;
}

std::string AskAgain(ProviderRun& run, const Asked& asked) {
  const std::string difference = Difference(asked.answer, run.AskWithoutLog(asked.request));
  return difference.empty() ? "" : naive::Describe(asked.request) + '\n' + difference;
}
