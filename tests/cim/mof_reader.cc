#include "cim/mof_reader.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <stdexcept>

namespace mof {
namespace {

bool IsWordCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  File ReadFile() {
    File file;
    for (SkipBlanks(); at_ < text_.size(); SkipBlanks()) {
      if (AcceptWord("instance")) {
        file.instances.push_back(ReadInstance());
      } else {
        file.classes.push_back(ReadClass());
      }
    }
    return file;
  }

 private:
  Class ReadClass() {
    Class read;
    read.qualifiers = ReadQualifiers();
    ExpectWord("class");
    read.name = Word();
    if (Accept(':')) read.superclass = Word();
    for (Expect('{'); !Accept('}');) read.properties.push_back(ReadProperty());
    Expect(';');
    return read;
  }

  Property ReadProperty() {
    Property read;
    read.qualifiers = ReadQualifiers();
    read.type = Word();
    if (AcceptWord("REF")) read.type += " REF";
    read.name = Word();
    read.array = Accept('[');
    if (read.array) Expect(']');
    Expect(';');
    return read;
  }

  Instance ReadInstance() {
    Instance read;
    ExpectWord("of");
    read.class_name = Word();
    for (Expect('{'); !Accept('}'); Expect(';')) {
      const std::string name = Word();
      Expect('=');
      Literals value = Accept('{') ? Elements('}') : Literals{Literal()};
      if (!read.properties.emplace(name, std::move(value)).second) Fail(name + " stands twice");
    }
    Expect(';');
    return read;
  }

  Qualifiers ReadQualifiers() {
    Qualifiers read;
    if (!Accept('[')) return read;
    do {
      const std::string name = Word();
      Literals value;
      if (Accept('(')) {
        value = Elements(')');
      } else if (Accept('{')) {
        value = Elements('}');
      }
      if (!read.emplace(name, std::move(value)).second) Fail(name + " stands twice");
    } while (Accept(','));
    Expect(']');
    return read;
  }

  Literals Elements(char close) {
    Literals read;
    if (Accept(close)) return read;
    do {
      read.push_back(Literal());
    } while (Accept(','));
    Expect(close);
    return read;
  }

  std::string Literal() {
    SkipBlanks();
    if (at_ >= text_.size() || text_[at_] != '"') {
      const std::string sign = Accept('-') ? "-" : "";
      return sign + Word();
    }
    std::string joined;
    while (Accept('"')) {
      for (; Current() != '"'; ++at_) {
        if (Current() == '\n') Fail("a text ends with its line");
        if (Current() == '\\') ++at_;
        joined += Current();
      }
      ++at_;
    }
    return joined;
  }

  std::string Word() {
    SkipBlanks();
    const std::size_t begin = at_;
    while (at_ < text_.size() && IsWordCharacter(text_[at_])) ++at_;
    if (at_ == begin) Fail("a word is missing");
    return std::string(text_.substr(begin, at_ - begin));
  }

  void ExpectWord(std::string_view word) {
    if (!AcceptWord(word)) Fail("\"" + std::string(word) + "\" is missing");
  }

  bool AcceptWord(std::string_view word) {
    SkipBlanks();
    const std::size_t end = at_ + word.size();
    if (text_.substr(at_, word.size()) != word) return false;
    if (end < text_.size() && IsWordCharacter(text_[end])) return false;
    at_ = end;
    return true;
  }

  void Expect(char c) {
    if (!Accept(c)) Fail(std::string("'") + c + "' is missing");
  }

  bool Accept(char c) {
    SkipBlanks();
    if (at_ >= text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }

  char Current() const {
    if (at_ >= text_.size()) Fail("the text ends early");
    return text_[at_];
  }

  void SkipBlanks() {
    while (at_ < text_.size()) {
      if (text_.substr(at_, 2) == "//") {
        at_ = std::min(text_.find('\n', at_), text_.size());
      } else if (std::isspace(static_cast<unsigned char>(text_[at_])) != 0) {
        ++at_;
      } else {
        return;
      }
    }
  }

  [[noreturn]] void Fail(const std::string& what) const {
    const auto line = 1 + std::count(text_.begin(), text_.begin() + static_cast<long>(at_), '\n');
    throw std::runtime_error("line " + std::to_string(line) + ": " + what);
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace

File Read(std::string_view text) { return Reader(text).ReadFile(); }

}  // namespace mof
