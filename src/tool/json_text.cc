#include "tool/json_text.h"

#include <fmt/format.h>

#include <iterator>

#include "tool/utf8_text.h"

namespace tool {
namespace {

constexpr std::size_t kIndent = 2;

std::string JsonQuoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : ValidUtf8(text)) {
    if (c == '"' || c == '\\') quoted += '\\';
    if (static_cast<unsigned char>(c) < 0x20) {
      fmt::format_to(std::back_inserter(quoted), "\\u{:04x}", static_cast<unsigned>(c));
    } else {
      quoted += c;
    }
  }
  return quoted += '"';
}

}  // namespace

void JsonText::Name(std::string_view name) {
  BeginValue();
  out_ << JsonQuoted(name) << ": ";
  named_ = true;
}

void JsonText::Text(std::string_view text) {
  BeginValue();
  out_ << JsonQuoted(text);
}

void JsonText::Number(std::uint64_t number) {
  BeginValue();
  out_ << number;
}

void JsonText::Null() {
  BeginValue();
  out_ << "null";
}

void JsonText::Begin(char bracket) {
  BeginValue();
  out_ << bracket;
  indent_.append(kIndent, ' ');
  first_ = true;
}

void JsonText::End(char bracket) {
  indent_.resize(indent_.size() - kIndent);
  if (!first_) NewLine();
  first_ = false;
  out_ << bracket;
}

void JsonText::BeginValue() {
  if (named_) {
    named_ = false;
    return;
  }
  if (indent_.empty()) return;
  if (!first_) out_ << ',';
  first_ = false;
  NewLine();
}

void JsonText::NewLine() { out_ << '\n' << indent_; }

}  // namespace tool
