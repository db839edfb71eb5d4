// Any text as the body of a CIM operation request: it is refused, or it is answered with text that
// a client can read.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "broker/object_manager.h"
#include "wbem/answer_stream.h"
#include "wbem/cim_error.h"
#include "wbem/cim_xml_request.h"
#include "wbem/operations.h"
#include "wbem/xml_text.h"

namespace {

class TextSink : public wbem::ByteSink {
 public:
  void Write(std::string_view bytes) override { text += bytes; }
  std::string text;
};

// Without providers: requests are read and their classes, keys and filters looked up.
broker::ObjectManager& Manager() {
  static broker::ObjectManager manager({.system_name = "fuzzed-host"});
  return manager;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  TextSink answer;
  try {
    const auto request = wbem::ParseRequest({reinterpret_cast<const char*>(data), size});
    wbem::Answer(Manager(), request, "a-host", answer);
  } catch (const wbem::RequestError&) {
    return 0;
  }
  if (!answer.text.ends_with("</CIM>\n") || !wbem::IsXmlText(answer.text)) std::abort();
  return 0;
}
