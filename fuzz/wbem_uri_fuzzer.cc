// Any text as an object path: it is refused, or it is a path whose text reads as the same path.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "cim/wbem_uri.h"
#include "fuzz_target.h"

namespace {

std::optional<cim::ObjectPath> Read(std::string_view text) {
  try {
    return cim::ParseWbemUri(text);
  } catch (const cim::WbemUriError& error) {
    if (error.position() > text.size()) fuzz::RequireNone("refused outside of the text");
    return std::nullopt;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto path = Read(fuzz::TextOf(data, size));
  if (!path) return 0;
  const std::string text = cim::ToWbemUri(*path);
  const auto again = Read(text);
  if (!again) fuzz::RequireNone("cannot be read back: " + text);
  if (*again != *path) fuzz::RequireNone("reads back as another path: " + text);
  return 0;
}
