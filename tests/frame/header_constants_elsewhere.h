// The constants of frame/header_constants.h as another source file has them.

#ifndef FRAME_HEADER_CONSTANTS_ELSEWHERE_H_
#define FRAME_HEADER_CONSTANTS_ELSEWHERE_H_

#include <string>
#include <vector>

// The addresses of all seven, in the order of the header.
std::vector<const std::string*> ConstantsElsewhere();

#endif  // FRAME_HEADER_CONSTANTS_ELSEWHERE_H_
