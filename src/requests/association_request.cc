#include "requests/association_request.h"

#include <algorithm>

#include "cim/text.h"
#include "requests/object_path_match.h"

namespace requests {

using cim::schema::Property;

AssociationMatch::AssociationMatch(const AssociationRequest& request,
                                   const cim::schema::Class& association)
    : request_(request) {
  for (const Property* property : cim::schema::AllProperties(association)) {
    if (property->type != CMPI_ref) continue;
    ends_.push_back(property);
    const bool in_role = !request.role || cim::EqualIgnoringCase(property->name, *request.role);
    if (in_role && cim::schema::IsA(request.source.class_name, property->reference_class)) {
      source_ends_.push_back(property);
    }
  }
}

bool AssociationMatch::AdmitsElement(std::string_view class_name) const {
  if (request_.result_class && !cim::schema::IsA(class_name, *request_.result_class)) return false;
  return std::any_of(ends_.begin(), ends_.end(), [&](const Property* end) {
    const bool in_role =
        !request_.result_role || cim::EqualIgnoringCase(end->name, *request_.result_role);
    // The source stands at an end of its own.
    return in_role && cim::schema::IsA(class_name, end->reference_class) &&
           std::any_of(source_ends_.begin(), source_ends_.end(),
                       [&](const Property* source) { return source != end; });
  });
}

bool AssociationMatch::AdmitsAssociation(const cim::ObjectPath& association) const {
  return std::any_of(source_ends_.begin(), source_ends_.end(), [&](const Property* end) {
    const cim::Value* value = association.Key(end->name);
    const cim::ObjectPath* element = value != nullptr ? value->reference() : nullptr;
    return element != nullptr && NamesSame(request_.source, *element);
  });
}

}  // namespace requests
