// Requests to the ten provider classes, on the object manager that checks them. What they are
// answered is held against the model of the providers, call of the host by call; what they leave
// behind is looked for by a request whose answer must never change.
//
// The input is a line for each step:
//
//   host 1                                       the host of this number, from here on
//   path root/cimv2:Ostrel_PCIPort.DeviceID="x"  a path in the form of WBEM URIs
//   key DeviceID uint8 7                         sets a key of the path, of any type
//   into Antecedent                              the path before this one is a key of this one
//   properties BusNumber,ElementName             the list of the next request; without: all
//   assoc_class, result_class, role, result_role NAME    the filters of the next request
//   fail 3                                       the third call of the host in the next request
//   fails ask Associators Ostrel_PCIControlledBy       the request, with the path
//
// Other lines do nothing.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "broker/object_manager.h"
#include "broker/result_sink.h"
#include "cim/text.h"
#include "cim/value.h"
#include "cim/wbem_uri.h"
#include "fuzz_target.h"
#include "providers/linked_pair.h"
#include "providers/provider_run.h"
#include "providers/varied_hosts.h"
#include "support/sample_hosts.h"

namespace {

using cim::ObjectPath;
using cim::Value;

constexpr std::size_t kMostLines = 60;

// A host, and the providers and their model on it. Kept from input to input, as an object manager
// keeps them from request to request.
class Session {
 public:
  static constexpr std::size_t kHosts = 6;

  // A request that reads all of the cache: what came before has left nothing behind.
  static void AskCanary(std::size_t host) {
    naive::Request request;
    request.class_name = "Ostrel_PCIMemberOfCollection";
    request.path.class_name = request.class_name;
    fuzz::RequireNone(With(host).Ask(request));
  }

  // The session with this host.
  static LinkedPair& With(std::size_t host) {
    static Session session;
    if (session.host_ != host) session.Start(host);
    return *session.pair_;
  }

 private:
  void Start(std::size_t host) {
    pair_.reset();
    pair_ = std::make_unique<LinkedPair>(HostNumber(host));
    host_ = host;
    AskCanary(host);  // builds the cache
  }

  static fake::Host HostNumber(std::size_t number) {
    switch (number) {
      case 0: return RichHost();
      case 1: return TreeHost(3);
      case 2: return TreeHost(12);
      case 3: return fake::RandomHost(5, 12, true);
      case 4: return fake::RandomHost(11, 12, false);
      default: return {};
    }
  }

  std::size_t host_ = kHosts;
  std::unique_ptr<LinkedPair> pair_;
};

template <typename Number>
Value NumberAs(std::string_view text) {
  return static_cast<Number>(std::strtoll(std::string(text).c_str(), nullptr, 10));
}

Value ValueOf(std::string_view type, std::string_view text) {
  if (type == "boolean") return text == "true";
  if (type == "uint8") return NumberAs<std::uint8_t>(text);
  if (type == "uint16") return NumberAs<std::uint16_t>(text);
  if (type == "uint32") return NumberAs<std::uint32_t>(text);
  if (type == "uint64") return NumberAs<std::uint64_t>(text);
  if (type == "sint8") return NumberAs<std::int8_t>(text);
  if (type == "sint16") return NumberAs<std::int16_t>(text);
  if (type == "sint32") return NumberAs<std::int32_t>(text);
  if (type == "sint64") return NumberAs<std::int64_t>(text);
  if (type == "real32") return NumberAs<float>(text);
  if (type == "real64") return NumberAs<double>(text);
  if (type == "char16") return NumberAs<char16_t>(text);
  if (type == "dateTime") return cim::DateTime{"20261121104500.000000+060"};
  if (type == "null") return Value::Null(text == "reference" ? CMPI_ref : CMPI_string);
  return text;
}

int Depth(const ObjectPath& path) {
  int depth = 0;
  for (const auto& [name, value] : path.keys) {
    if (value.reference() != nullptr) depth = std::max(depth, 1 + Depth(*value.reference()));
  }
  return depth;
}

// As the interface has it: a key that is set again changes its value.
void SetKey(ObjectPath& path, std::string_view name, Value value) {
  if (name.empty()) return;
  for (auto& [old_name, old_value] : path.keys) {
    if (!cim::EqualIgnoringCase(old_name, name)) continue;
    old_value = std::move(value);
    return;
  }
  path.keys.emplace_back(name, std::move(value));
}

struct NamedOperation {
  std::string_view name;
  naive::Operation operation;
};
constexpr std::array<NamedOperation, 7> kOperations = {{
    {"EnumerateInstanceNames", naive::Operation::kEnumInstanceNames},
    {"EnumerateInstances", naive::Operation::kEnumInstances},
    {"GetInstance", naive::Operation::kGetInstance},
    {"Associators", naive::Operation::kAssociators},
    {"AssociatorNames", naive::Operation::kAssociatorNames},
    {"References", naive::Operation::kReferences},
    {"ReferenceNames", naive::Operation::kReferenceNames},
}};

bool IsOfAssociations(naive::Operation operation) {
  return operation >= naive::Operation::kAssociators;
}

class Script {
 public:
  void TakeLine(std::string_view line) {
    const std::string_view word = fuzz::TakeWord(line);
    if (word == "host") host_ = fuzz::NumberIn(line, Session::kHosts - 1);
    if (word == "path") ReadPath(line);
    if (word == "key") ReadKey(line);
    if (word == "into") ReadInto(line);
    if (word == "properties") ReadProperties(line);
    if (word == "assoc_class") request_.filter.assoc_class = line;
    if (word == "result_class") request_.filter.result_class = line;
    if (word == "role") request_.filter.role = line;
    if (word == "result_role") request_.filter.result_role = line;
    if (word == "fail") ReadFailure(line);
    if (word == "ask") Ask(line);
  }

  std::size_t host() const { return host_; }

 private:
  void ReadPath(std::string_view text) {
    try {
      ObjectPath path = cim::ParseWbemUri(text);
      earlier_ = std::exchange(request_.path, std::move(path));
    } catch (const cim::WbemUriError&) {
      return;
    }
  }

  void ReadKey(std::string_view line) {
    const std::string_view name = fuzz::TakeWord(line);
    const std::string_view type = fuzz::TakeWord(line);
    SetKey(request_.path, name, ValueOf(type, line));
  }

  void ReadInto(std::string_view name) {
    if (Depth(earlier_) < cim::kMaxReferenceDepth) SetKey(request_.path, name, earlier_);
  }

  void ReadProperties(std::string_view list) {
    request_.properties.emplace();
    while (!list.empty()) request_.properties->emplace_back(fuzz::TakeUntil(',', list));
  }

  void ReadFailure(std::string_view line) {
    failing_call_ = fuzz::NumberIn(fuzz::TakeWord(line), 10'000);
    thrown_ = line == "int" ? fake::Thrown::kNoException : fake::Thrown::kHostCtlException;
  }

  void Ask(std::string_view line) {
    const std::string_view operation = fuzz::TakeWord(line);
    const auto* const provider =
        std::find(std::begin(kProviderClasses), std::end(kProviderClasses), line);
    if (provider == std::end(kProviderClasses)) return;
    request_.class_name = line;
    const auto* const known =
        std::find_if(kOperations.begin(), kOperations.end(),
                     [&](const NamedOperation& named) { return named.name == operation; });
    const bool association = provider >= std::begin(kProviderClasses) + kFirstAssociation;
    LinkedPair& pair = Session::With(host_);
    if (known == kOperations.end() || (IsOfAssociations(known->operation) && !association)) {
      AskUnsupported(operation, pair.manager());
    } else {
      request_.operation = known->operation;
      if (failing_call_ != 0) pair.FailAt({failing_call_}, thrown_);
      fuzz::RequireNone(pair.Ask(request_));
      pair.FailNever();
    }
    request_.properties.reset();
    request_.filter = {};
    failing_call_ = 0;
  }

  // Nothing is created, changed, deleted or queried, and devices have no associations.
  void AskUnsupported(std::string_view operation, broker::ObjectManager& manager) const {
    const std::string& provider = request_.class_name;
    const ObjectPath& path = request_.path;
    cim::Instance instance{path, {}};
    for (const auto& [name, value] : path.keys) instance.properties.push_back({name, value});
    broker::Recorder found;
    cim::Status status{CMPI_RC_ERR_NOT_SUPPORTED, ""};
    if (operation == "CreateInstance") {
      status = manager.CreateInstance(provider, path, instance, found);
    } else if (operation == "ModifyInstance") {
      status = manager.ModifyInstance(provider, path, instance, request_.properties, found);
    } else if (operation == "DeleteInstance") {
      status = manager.DeleteInstance(provider, path, found);
    } else if (operation == "ExecQuery") {
      const std::string query = "SELECT * FROM " + path.class_name;
      status = manager.ExecQuery(provider, path, query, "WQL", found);
    } else if (operation == "Associators") {
      status = manager.Associators(provider, path, request_.filter, request_.properties, found);
    }
    if (status.code != CMPI_RC_ERR_NOT_SUPPORTED || !found.events.empty()) {
      fuzz::RequireNone(std::string(operation) + " of " + provider + " does something");
    }
  }

  std::size_t host_ = 0;
  naive::Request request_;
  ObjectPath earlier_;
  std::size_t failing_call_ = 0;  // 0: none
  fake::Thrown thrown_ = fake::Thrown::kHostCtlException;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text = fuzz::TextOf(data, size);
  std::string_view rest =
      fuzz::TakeUntil('\0', text);  // no text of the interface holds a zero byte
  Script script;
  for (std::size_t lines = 0; lines < kMostLines && !rest.empty(); ++lines) {
    script.TakeLine(fuzz::TakeUntil('\n', rest));
  }
  Session::AskCanary(script.host());
  return 0;
}
