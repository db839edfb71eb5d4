#include "frame/header_constants_elsewhere.h"

#include "frame/header_constants.h"

std::vector<const std::string*> ConstantsElsewhere() {
  return {&kFlowDirections[0],
          &kFlowDirections[1],
          &kFlowDirections[2],
          &kFlowDirections[3],
          &kUnspecifiedAddress,
          &kCongestionControl,
          &kEnabled};
}
