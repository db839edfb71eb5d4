// JSON text (RFC 8259) written while its values come: one member or element to a line, indented by
// two. Bytes of texts that are not UTF-8 are replaced.
//
// Thread rule: one thread at a time.

#ifndef TOOL_JSON_TEXT_H_
#define TOOL_JSON_TEXT_H_

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace tool {

// The calls must come in the order of the text: in an object a name before every value.
class JsonText {
 public:
  explicit JsonText(std::ostream& out) : out_(out) {}

  void BeginObject() { Begin('{'); }
  void EndObject() { End('}'); }
  void BeginArray() { Begin('['); }
  void EndArray() { End(']'); }
  // Of the next value.
  void Name(std::string_view name);
  void Text(std::string_view text);
  void Number(std::uint64_t number);
  void Null();

 private:
  void Begin(char bracket);
  void End(char bracket);
  void BeginValue();
  void NewLine();

  std::ostream& out_;
  std::string indent_;
  bool first_ = true;   // nothing stands yet in the innermost object or array
  bool named_ = false;  // the next value's name was written
};

}  // namespace tool

#endif  // TOOL_JSON_TEXT_H_
