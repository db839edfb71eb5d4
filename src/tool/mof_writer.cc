#include <fmt/format.h>

#include <string>
#include <string_view>

#include "cim/utf8.h"
#include "cim/wbem_uri.h"
#include "tool/element_writer.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

using cim::Instance;
using cim::ObjectPath;
using cim::Value;

// DSP0004, annex A: the escape sequences of a string literal.
std::string Quoted(std::string_view text, char quote = '"') {
  std::string out(1, quote);
  for (const char c : ValidUtf8(text)) {
    switch (c) {
      case '\b': out += "\\b"; break;
      case '\t': out += "\\t"; break;
      case '\n': out += "\\n"; break;
      case '\f': out += "\\f"; break;
      case '\r': out += "\\r"; break;
      case '"':
      case '\'':
      case '\\':
        if (c == quote || c == '\\') out += '\\';
        out += c;
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
          out += fmt::format("\\x{:04X}", static_cast<unsigned char>(c));
        } else {
          out += c;
        }
    }
  }
  return out + quote;
}

std::string MofText(const Instance& instance);

std::string MofValue(const Value& value) {
  if (value.is_null()) return "NULL";
  if (const ObjectPath* reference = value.reference()) return Quoted(ToWbemUri(*reference));
  if (const std::string* text = value.text()) return Quoted(*text);
  if (const auto* time = value.get<cim::DateTime>()) return Quoted(time->text);
  if (const char16_t* letter = value.get<char16_t>()) return Quoted(cim::ToUtf8(*letter), '\'');
  if (const Instance* embedded = value.embedded_instance()) return Quoted(MofText(*embedded));
  if (const Value::Array* elements = value.elements()) {
    std::string out = "{";
    for (const Value& element : *elements) {
      out += (out.size() > 1 ? ", " : "") + MofValue(element);
    }
    return out + "}";
  }
  return ToText(value);
}

std::string MofText(const Instance& instance) {
  std::string out = fmt::format("instance of {} {{\n", ValidUtf8(instance.path.class_name));
  for (const cim::Property& property : instance.properties) {
    out += fmt::format("  {} = {};\n", ValidUtf8(property.name), MofValue(property.value));
  }
  return out + "};\n";
}

class MofWriter : public ElementWriter {
 public:
  using ElementWriter::ElementWriter;

 protected:
  void Write(Instance&& instance) override {
    out() << (count() > 1 ? "\n" : "") << MofText(instance);
  }
  void Write(ObjectPath&& path) override { out() << PrintableUtf8(ToWbemUri(path)) << '\n'; }
};

}  // namespace

std::unique_ptr<ElementWriter> MakeMofWriter(std::ostream& out) {
  return std::make_unique<MofWriter>(out);
}

}  // namespace tool
