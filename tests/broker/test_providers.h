// An object manager with the provider libraries of this folder loaded.

#ifndef TESTS_BROKER_TEST_PROVIDERS_H_
#define TESTS_BROKER_TEST_PROVIDERS_H_

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "broker/object_manager.h"
#include "support/imitations.h"

namespace broker {

inline std::shared_ptr<const ProviderLibrary> TestLibrary() {
  return ProviderLibrary::Open(TEST_PROVIDER);
}

// Registers `classes` of the test provider library.
inline std::unique_ptr<ObjectManager> ManagerWith(const std::vector<std::string>& classes,
                                                  Options options = {}) {
  auto manager = std::make_unique<ObjectManager>(std::move(options));
  const auto library = TestLibrary();
  for (const std::string& name : classes) manager->Register(name, library);
  return manager;
}

inline cim::ObjectPath PathWith(const std::string& class_name, const std::string& key,
                                cim::Value value) {
  return {std::nullopt, "root/cimv2", class_name, {{key, std::move(value)}}};
}

// Enumerates the instances of the class by itself and answers what happened.
struct Outcome {
  cim::Status status;
  Recorder found;
  std::vector<ProviderError> errors;
};
inline Outcome Enumerate(ObjectManager& manager, const std::string& class_name) {
  Outcome outcome;
  outcome.status = manager.EnumerateInstances(class_name, manager.ClassPath(class_name),
                                              std::nullopt, outcome.found);
  outcome.errors = manager.ProviderErrors();
  return outcome;
}

// Enumerates a class of the interface provider, by a path with the key "When"; its checks must all
// hold; `errors` are then those
// that the checks are about.
inline Outcome RunChecks(ObjectManager& manager, const std::string& class_name,
                         const cim::Value& when = cim::Value("never")) {
  manager.Register(class_name, ProviderLibrary::Open(INTERFACE_PROVIDER));
  Outcome outcome;
  outcome.status = manager.EnumerateInstances(class_name, PathWith(class_name, "When", when),
                                              std::nullopt, outcome.found);
  outcome.errors = manager.ProviderErrors();
  if (outcome.found.instances.size() != 1) {
    ADD_FAILURE() << "no report: " << ToString(outcome.status);
    return outcome;
  }
  const cim::Instance& report = outcome.found.instances[0];
  EXPECT_EQ(*report.Find("Failures")->text(), "");
  EXPECT_GT(*report.Find("Checks")->as_unsigned(), 0U);
  return outcome;
}

}  // namespace broker

#endif  // TESTS_BROKER_TEST_PROVIDERS_H_
