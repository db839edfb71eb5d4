// Constants that four of the provider sources carry. Every including file gets copies of its own,
// constructed by its static initialiser and destroyed when the library is unloaded; no operation
// reads them (intended).
//
// Thread rule: constants.

#ifndef FRAME_HEADER_CONSTANTS_H_
#define FRAME_HEADER_CONSTANTS_H_

#include <string>

// NOLINTBEGIN(cert-dcl59-cpp)
namespace {

[[maybe_unused]] const std::string kFlowDirections[4] = {"down", "listen", "advertise", "both"};
[[maybe_unused]] const std::string kUnspecifiedAddress = "::";
[[maybe_unused]] const std::string kCongestionControl = "newreno";
[[maybe_unused]] const std::string kEnabled = "enabled";

}  // namespace
// NOLINTEND(cert-dcl59-cpp)

#endif  // FRAME_HEADER_CONSTANTS_H_
