// The object manager with the provider library in it, and the requests of the commands. This is all
// that the tool knows of providers.
//
// Thread rule: one thread at a time.

#ifndef TOOL_SESSION_H_
#define TOOL_SESSION_H_

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "broker/object_manager.h"
#include "broker/provider_library.h"
#include "broker/result_sink.h"
#include "cim/schema.h"
#include "pci/host.h"
#include "requests/operations.h"

namespace tool {

struct SessionOptions {
  std::optional<std::string> library;  // --library
  std::string system_name;             // of the hosting system, where the library cannot be asked
  bool verbose = false;                // log and trace lines of the library go to standard error
};

class Session {
 public:
  // Loads the library and registers its ten classes. Throws CommandError where that fails.
  explicit Session(const SessionOptions& options);
  // In a verbose session, tells on standard error what the providers did wrong.
  ~Session();

  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // The hosting system, by the name that the library has for it.
  const cim::ObjectPath& system() const { return system_; }

  // The functions that the providers answer from, where the host control library under them is
  // ours; nullptr where it is another platform's or could not read the host. Valid as long as the
  // session.
  const pci::Host* host() const { return host_; }

  // The object manager itself, for requests on many threads. Calls every factory first, because
  // what keeps the library's trace lines off the terminal serves one thread only. Throws
  // StatusError where a provider cannot be made.
  broker::ObjectManager& ManagerForThreads();

  // Whether functions of the host are missing, as far as the host control library tells; standard
  // error says why. The requests are answered with what there is.
  bool incomplete() const { return incomplete_; }

  // Requests (requests/operations.h). Each asks every provider that is concerned and goes on with
  // the next one when one fails; then throws StatusError with the first failure. Elements reach the
  // sink as they come. Throws CommandError for a class that no provider serves.
  void Enumerate(const cim::schema::Class& cls, const broker::PropertyList& properties,
                 broker::ResultSink& sink);
  void EnumerateNames(const cim::schema::Class& cls, broker::ResultSink& sink);
  // The instances that have most of the path's keys.
  std::vector<cim::Instance> Get(const cim::ObjectPath& path,
                                 const broker::PropertyList& properties);
  // Whether the answer was CMPI_RC_OK, which it may be without an instance. CMPI_RC_ERR_NOT_FOUND
  // is no failure here, any other status is.
  bool TryGet(const cim::ObjectPath& path, broker::ResultSink& sink);
  void Associators(const requests::AssociationRequest& request,
                   const broker::PropertyList& properties, broker::ResultSink& sink);
  void AssociatorNames(const requests::AssociationRequest& request, broker::ResultSink& sink);
  void References(const requests::AssociationRequest& request,
                  const broker::PropertyList& properties, broker::ResultSink& sink);
  void ReferenceNames(const requests::AssociationRequest& request, broker::ResultSink& sink);

 private:
  void CheckServed(const cim::schema::Class& cls) const;
  void CheckAssociation(const requests::AssociationRequest& request) const;

  // Looks at what the library has read of the host, and tells what is missing.
  void TakeReading();

  // Gives the hosting system the name that the providers have for it.
  void TakeSystemName();

  bool verbose_;
  bool incomplete_ = false;
  const pci::Host* host_ = nullptr;
  std::shared_ptr<const broker::ProviderLibrary> library_;
  broker::ObjectManager manager_;
  const requests::Operations operations_;
  cim::ObjectPath system_;
};

}  // namespace tool

#endif  // TOOL_SESSION_H_
