// The real providers on a fake host, behind the in-process object manager, answering in the form of
// their model.
//
// Thread rule: construction on the test's own thread; Ask may run on several threads at once, and
// then the answers have no log lines.

#ifndef PROVIDERS_PROVIDER_RUN_H_
#define PROVIDERS_PROVIDER_RUN_H_

#include <memory>
#include <string>

#include "broker/object_manager.h"
#include "broker/provider_library.h"
#include "support/fake_host.h"
#include "support/log_capture.h"
#include "support/naive_providers.h"

// The ten classes, the five associations last.
inline constexpr const char* kProviderClasses[] = {
    "Ostrel_PCIDevice",           "Ostrel_PCIBridge",
    "Ostrel_PCIeSwitch",          "Ostrel_PCIPort",
    "Ostrel_PCIPortGroup",        "Ostrel_PCISystemDevice",
    "Ostrel_PCIDeviceConnection", "Ostrel_PCIControlledBy",
    "Ostrel_PCIHostedCollection", "Ostrel_PCIMemberOfCollection",
};
inline constexpr int kFirstAssociation = 5;
inline constexpr int kProviderClassCount = 10;

// The providers that are linked into this program.
std::shared_ptr<const broker::ProviderLibrary> LinkedProviders();

// The name of the hosting system's instance in the object manager: not the one that the providers
// read from the host, so that an answer shows whom it is from.
std::string ObjectManagerSystem(const fake::Host& host);

// What the model answers, as the object manager under test delivers it.
naive::Answer Expect(naive::Providers& model, const naive::Request& request);

class ProviderRun {
 public:
  // Installs the host. The cache is built by the first request. Lines of the log are those of this
  // run's requests; `quiet_factories`: the factories' trace lines go nowhere.
  ProviderRun(const fake::Host& host, const std::shared_ptr<const broker::ProviderLibrary>& library,
              SystemClassMode mode = SystemClassMode::kServed, bool quiet_factories = true);

  // Answers with the log lines that were written meanwhile.
  naive::Answer Ask(const naive::Request& request);
  // The same, with `log` left empty: for several threads.
  naive::Answer AskWithoutLog(const naive::Request& request);

  // What is wrong besides the answers: misuse of the object manager, clones or host objects left
  // over. Empty where nothing is. `devices`: how many the cache must own.
  std::string Faults(std::size_t devices) const;

  broker::ObjectManager& manager() { return manager_; }

 private:
  LogCapture log_;
  broker::ObjectManager manager_;
};

#endif  // PROVIDERS_PROVIDER_RUN_H_
