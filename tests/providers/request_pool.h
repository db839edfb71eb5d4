// Requests about a host: for everything that is there, and for much that is not.
//
// Thread rule: values; no shared state.

#ifndef PROVIDERS_REQUEST_POOL_H_
#define PROVIDERS_REQUEST_POOL_H_

#include <cstdint>
#include <string>
#include <vector>

#include "cim/value.h"
#include "providers/varied_hosts.h"
#include "support/fake_host.h"
#include "support/naive_providers.h"

class RequestPool {
 public:
  RequestPool(const fake::Host& host, std::uint32_t seed);

  // Any operation of any class. Sources are known and unknown names, of all classes, with keys
  // empty, null, missing or of a wrong type, names of classes and keys in other letter case, in any
  // order, with and without namespaces; property lists null, empty and some; filters.
  naive::Request Draw();

  // Every operation of every class with the sources of each kind that the host has, complete and
  // well-formed: the requests of an ordinary client.
  static std::vector<naive::Request> OrdinaryRequests(const fake::Host& host);

 private:
  using Path = cim::ObjectPath;

  std::string DrawName();
  std::string DrawGroupId();
  Path DrawSource();
  Path DrawAssociation(const std::string& class_name);
  Path Mutated(Path path);
  void MutateKey(Path& path);
  std::string MixCase(std::string text);
  broker::PropertyList DrawProperties();

  Dice dice_;
  std::string system_name_;
  std::vector<std::string> names_;
  std::vector<int> buses_;
};

// A path with all keys of its class. `class_name` is one of the device and port classes.
cim::ObjectPath ElementPath(const std::string& class_name, const std::string& id,
                            const std::string& system_name);
cim::ObjectPath GroupPath(const std::string& id);
cim::ObjectPath SystemPath(const std::string& system_name);

#endif  // PROVIDERS_REQUEST_POOL_H_
