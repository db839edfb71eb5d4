#include "requests/operations.h"

#include <algorithm>
#include <utility>

#include "requests/object_path_match.h"

namespace requests {
namespace {

using broker::AssociationFilter;
using broker::ObjectPathView;
using broker::PropertyList;
using broker::ResultSink;
using cim::Status;

bool AdmitsElement(const AssociationMatch& match, const ObjectPathView& path) {
  return match.AdmitsElement(path.class_name());
}

bool AdmitsAssociation(const AssociationMatch& match, const ObjectPathView& path) {
  return match.AdmitsAssociation(path.ToObjectPath());
}

// What the provider is told: its own class, as object managers do where the client may have named
// one above it.
AssociationFilter ElementsFilter(const AssociationRequest& request, const std::string& provider) {
  return {provider, request.result_class, request.role, request.result_role};
}
AssociationFilter ReferencesFilter(const AssociationRequest& request, const std::string& provider) {
  return {std::nullopt, provider, request.role, std::nullopt};
}

// Passes on what is part of the answer.
class Filter : public ResultSink {
 public:
  using Wanted = std::function<bool(const ObjectPathView&)>;

  Filter(ResultSink& next, Wanted wanted) : next_(next), wanted_(std::move(wanted)) {}

  void OnInstanceView(const broker::InstanceView& instance) override {
    if (wanted_(instance.path())) next_.OnInstanceView(instance);
  }
  void OnObjectPathView(const ObjectPathView& path) override {
    if (wanted_(path)) next_.OnObjectPathView(path);
  }

 private:
  ResultSink& next_;
  Wanted wanted_;
};

}  // namespace

std::optional<Failure> Operations::AskEach(const std::vector<std::string>& providers,
                                           ResultSink& sink, const Ask& ask) const {
  std::optional<Failure> failure;
  for (const std::string& provider : providers) {
    Status outcome = ask(provider, sink);
    if (!outcome.ok() && !failure) failure = {provider, std::move(outcome)};
    if (failure && after_failure_ == AfterFailure::kStop) break;
  }
  return failure;
}

std::optional<Failure> Operations::AskAssociations(const AssociationRequest& request,
                                                   const Admits& admits, ResultSink& sink,
                                                   const Ask& ask) const {
  std::vector<std::string> providers = manager_.AssociationProvidersFor(request.association_class);
  std::erase_if(providers, [&](const std::string& provider) {
    return !AssociationMatch(request, *cim::schema::FindClass(provider)).Possible();
  });
  return AskEach(providers, sink, [&](const std::string& provider, ResultSink& results) {
    const AssociationMatch match(request, *cim::schema::FindClass(provider));
    Filter filter(results, [&](const ObjectPathView& path) { return admits(match, path); });
    return ask(provider, filter);
  });
}

std::optional<Failure> Operations::EnumerateInstances(const cim::schema::Class& cls,
                                                      const PropertyList& properties,
                                                      ResultSink& sink) const {
  return AskEach(manager_.ProvidersFor(cls.name), sink,
                 [&](const std::string& provider, ResultSink& results) {
                   return manager_.EnumerateInstances(provider, manager_.ClassPath(provider),
                                                      properties, results);
                 });
}

std::optional<Failure> Operations::EnumerateInstanceNames(const cim::schema::Class& cls,
                                                          ResultSink& sink) const {
  return AskEach(
      manager_.ProvidersFor(cls.name), sink, [&](const std::string& provider, ResultSink& results) {
        return manager_.EnumerateInstanceNames(provider, manager_.ClassPath(provider), results);
      });
}

std::optional<Failure> Operations::GetInstance(const cim::ObjectPath& path,
                                               const PropertyList& properties,
                                               std::vector<cim::Instance>& found) const {
  // An instance is asked for by its own class alone.
  std::vector<std::string> providers = manager_.ProvidersFor(path.class_name);
  std::erase_if(providers,
                [&](const std::string& provider) { return provider != path.class_name; });
  broker::Recorder recorder;
  auto failure =
      AskEach(providers, recorder, [&](const std::string& provider, ResultSink& results) {
        return manager_.GetInstance(provider, path, properties, results);
      });
  found = std::move(recorder.instances);
  KeepBestMatches(path, found);
  return failure;
}

std::optional<Failure> Operations::Associators(const AssociationRequest& request,
                                               const PropertyList& properties,
                                               ResultSink& sink) const {
  return AskAssociations(
      request, AdmitsElement, sink, [&](const std::string& provider, ResultSink& results) {
        return manager_.Associators(provider, request.source, ElementsFilter(request, provider),
                                    properties, results);
      });
}

std::optional<Failure> Operations::AssociatorNames(const AssociationRequest& request,
                                                   ResultSink& sink) const {
  return AskAssociations(
      request, AdmitsElement, sink, [&](const std::string& provider, ResultSink& results) {
        return manager_.AssociatorNames(provider, request.source, ElementsFilter(request, provider),
                                        results);
      });
}

std::optional<Failure> Operations::References(const AssociationRequest& request,
                                              const PropertyList& properties,
                                              ResultSink& sink) const {
  return AskAssociations(
      request, AdmitsAssociation, sink, [&](const std::string& provider, ResultSink& results) {
        return manager_.References(provider, request.source, ReferencesFilter(request, provider),
                                   properties, results);
      });
}

std::optional<Failure> Operations::ReferenceNames(const AssociationRequest& request,
                                                  ResultSink& sink) const {
  return AskAssociations(
      request, AdmitsAssociation, sink, [&](const std::string& provider, ResultSink& results) {
        return manager_.ReferenceNames(provider, request.source,
                                       ReferencesFilter(request, provider), results);
      });
}

}  // namespace requests
