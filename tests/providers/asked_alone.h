// What the model of the providers says that one thread is answered, to hold many threads against.
//
// Thread rule: AskedAlone on the test's own thread; AskAgain and Finding from any thread.

#ifndef PROVIDERS_ASKED_ALONE_H_
#define PROVIDERS_ASKED_ALONE_H_

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "providers/provider_run.h"
#include "support/fake_host.h"
#include "support/naive_providers.h"

struct Asked {
  naive::Request request;
  naive::Answer answer;  // without log lines
};

// `count` drawn requests, each with the model's answer.
std::vector<Asked> AskedAlone(const fake::Host& host, std::uint32_t seed, int count);

// Asks the providers what the model was asked. Answers what differs; empty where nothing does.
std::string AskAgain(ProviderRun& run, const Asked& asked);

// The first difference that any thread finds.
class Finding {
 public:
  void Add(const std::string& difference) {
    const std::lock_guard lock(mutex_);
    if (text_.empty()) text_ = difference;
  }
  // After the threads have ended.
  const std::string& text() const { return text_; }

 private:
  std::mutex mutex_;
  std::string text_;
};

#endif  // PROVIDERS_ASKED_ALONE_H_
