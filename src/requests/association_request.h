// What an association request asks for, and which answers of a provider are part of it (DSP0200,
// 5.4.2.14 to 5.4.2.17): an association counts where the source is one of its ends, in the role
// asked for; an element counts where the association has it at another end, in the result role.
// Providers are free to answer more widely than they are asked, and ours do.
//
// Thread rule: plain values and pure functions.

#ifndef REQUESTS_ASSOCIATION_REQUEST_H_
#define REQUESTS_ASSOCIATION_REQUEST_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cim/schema.h"
#include "cim/value.h"

namespace requests {

struct AssociationRequest {
  cim::ObjectPath source;
  std::optional<std::string> association_class;  // of References: their ResultClass
  std::optional<std::string> result_class;       // of associated elements only
  std::optional<std::string> role;
  std::optional<std::string> result_role;  // of associated elements only
};

// The request, held against one association class. Class names of the request are the schema's.
class AssociationMatch {
 public:
  // `request` must outlive the object.
  AssociationMatch(const AssociationRequest& request, const cim::schema::Class& association);

  // Whether an association of the class can be part of an answer at all.
  bool Possible() const { return !source_ends_.empty(); }

  // An element comes without the association that leads to it, so it counts where the class has
  // another end for elements of its kind.
  bool AdmitsElement(std::string_view class_name) const;

  bool AdmitsAssociation(const cim::ObjectPath& association) const;

 private:
  const AssociationRequest& request_;
  // References of the class that may name the source, and all.
  std::vector<const cim::schema::Property*> source_ends_;
  std::vector<const cim::schema::Property*> ends_;
};

}  // namespace requests

#endif  // REQUESTS_ASSOCIATION_REQUEST_H_
