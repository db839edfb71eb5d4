// The read operations of CIM on instances (DSP0200, 5.4.2), over all providers that an object
// manager has: what the standard leaves to the server, or asks for beyond what one provider does.
//
// - An enumeration asks the providers of all classes below the named one, one after the other.
// - GetInstance may bring several instances, such as both ports of a bridge: those count that have
//   most of the keys asked for.
// - Associations are followed through every association provider below the association class; what
//   they answer is held against the request (association_request.h).
//
// Elements reach the sink as the providers return them.
//
// Thread rule: thread-safe, as the object manager is.

#ifndef REQUESTS_OPERATIONS_H_
#define REQUESTS_OPERATIONS_H_

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "broker/object_manager.h"
#include "cim/schema.h"
#include "requests/association_request.h"

namespace requests {

// A provider that did not answer with success, and what it said.
struct Failure {
  std::string provider;
  cim::Status status;
};

// What becomes of the providers after one that failed.
enum class AfterFailure { kStop, kAskTheOthers };

class Operations {
 public:
  // The manager must outlive the object.
  Operations(broker::ObjectManager& manager, AfterFailure after_failure)
      : manager_(manager), after_failure_(after_failure) {}

  // Each answers the first failure, or nothing where all providers succeeded. A class without a
  // provider has no instances. Class names are the schema's.
  [[nodiscard]] std::optional<Failure> EnumerateInstances(const cim::schema::Class& cls,
                                                          const broker::PropertyList& properties,
                                                          broker::ResultSink& sink) const;
  [[nodiscard]] std::optional<Failure> EnumerateInstanceNames(const cim::schema::Class& cls,
                                                              broker::ResultSink& sink) const;
  // `found` is replaced.
  [[nodiscard]] std::optional<Failure> GetInstance(const cim::ObjectPath& path,
                                                   const broker::PropertyList& properties,
                                                   std::vector<cim::Instance>& found) const;
  [[nodiscard]] std::optional<Failure> Associators(const AssociationRequest& request,
                                                   const broker::PropertyList& properties,
                                                   broker::ResultSink& sink) const;
  [[nodiscard]] std::optional<Failure> AssociatorNames(const AssociationRequest& request,
                                                       broker::ResultSink& sink) const;
  [[nodiscard]] std::optional<Failure> References(const AssociationRequest& request,
                                                  const broker::PropertyList& properties,
                                                  broker::ResultSink& sink) const;
  [[nodiscard]] std::optional<Failure> ReferenceNames(const AssociationRequest& request,
                                                      broker::ResultSink& sink) const;

 private:
  using Ask = std::function<cim::Status(const std::string& provider, broker::ResultSink& sink)>;
  // Whether a path that a provider returned, of an instance or by itself, is part of the answer.
  using Admits = std::function<bool(const AssociationMatch&, const broker::ObjectPathView&)>;

  std::optional<Failure> AskEach(const std::vector<std::string>& providers,
                                 broker::ResultSink& sink, const Ask& ask) const;
  std::optional<Failure> AskAssociations(const AssociationRequest& request, const Admits& admits,
                                         broker::ResultSink& sink, const Ask& ask) const;

  broker::ObjectManager& manager_;
  AfterFailure after_failure_;
};

}  // namespace requests

#endif  // REQUESTS_OPERATIONS_H_
