#include "cim/wbem_uri.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <system_error>
#include <type_traits>

#include "cim/schema.h"
#include "cim/text.h"
#include "cim/utf8.h"

namespace cim {

WbemUriError::WbemUriError(std::size_t position, const std::string& what)
    : std::invalid_argument(fmt::format("object path, at offset {}: {}", position, what)),
      position_(position) {}

// ---------------------------------------------------------------------------------------------
// Printing

namespace {

void AppendQuoted(std::string& out, std::string_view text) {
  out += '"';
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  out += '"';
}

// A real number always shows that it is one.
std::string RealText(double number) {
  std::string text = fmt::format("{}", number);
  if (std::isfinite(number) && text.find_first_of(".e") == std::string::npos) text += ".0";
  return text;
}

std::string Print(const ObjectPath& path, int depth);

void AppendKeyValue(std::string& out, const Value& value, int depth) {
  if (value.is_array() || value.embedded_instance() != nullptr) {
    throw std::invalid_argument("a key of type " + TypeName(value.type()));
  }
  if (const ObjectPath* path = value.reference()) {
    AppendQuoted(out, Print(*path, depth + 1));
  } else if (const std::string* text = value.text()) {
    AppendQuoted(out, *text);
  } else if (const auto* time = value.get<DateTime>()) {
    AppendQuoted(out, time->text);
  } else if (const auto* letter = value.get<char16_t>()) {
    out += '\'';
    if (*letter == u'\'' || *letter == u'\\') out += '\\';
    out += ToUtf8(*letter) + '\'';
  } else if (const auto* single = value.get<float>()) {
    out += RealText(static_cast<double>(*single));
  } else if (const auto* real = value.get<double>()) {
    out += RealText(*real);
  } else {
    out += ToText(value);
  }
}

std::string Print(const ObjectPath& path, int depth) {
  if (depth > kMaxReferenceDepth) throw std::invalid_argument("references nested too deeply");
  std::string out;
  if (path.host) out += "//" + *path.host + "/";
  if (!path.name_space.empty() || path.host) out += path.name_space + ":";
  out += path.class_name;
  char separator = '.';
  for (const auto& [name, value] : path.keys) {
    out += separator;
    out += name;
    out += '=';
    AppendKeyValue(out, value, depth);
    separator = ',';
  }
  return out;
}

}  // namespace

std::string ToWbemUri(const ObjectPath& path) { return Print(path, 0); }

// ---------------------------------------------------------------------------------------------
// Parsing

namespace {

constexpr bool IsNameChar(char c) {
  const char lower = LowerAscii(c);
  return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

class Parser {
 public:
  // `base` is where the text stands in the outermost one. Inside of a reference (`depth` above 0)
  // escapes have moved the offsets, and errors name the reference's start.
  Parser(std::string_view text, std::size_t base, int depth)
      : text_(text), base_(base), depth_(depth) {}

  ObjectPath ReadPath() {
    ObjectPath path;
    ReadHostAndNameSpace(path);
    path.class_name = ReadName("class name");
    class_ = schema::FindClass(path.class_name);
    if (AtEnd()) return path;
    Expect('.', "'.' before the first key");
    do {
      ReadKey(path);
    } while (TryRead(','));
    if (!AtEnd()) Fail("',' or the end expected after a key");
    return path;
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const { FailAt(position_, what); }
  [[noreturn]] void FailAt(std::size_t position, const std::string& what) const {
    throw WbemUriError(depth_ == 0 ? position : base_, what);
  }

  bool AtEnd() const { return position_ == text_.size(); }
  char Peek() const { return AtEnd() ? '\0' : text_[position_]; }
  bool TryRead(char c) {
    if (AtEnd() || text_[position_] != c) return false;
    ++position_;
    return true;
  }
  void Expect(char c, const char* what) {
    if (!TryRead(c)) Fail(std::string(what) + " expected");
  }

  void ReadHostAndNameSpace(ObjectPath& path) {
    if (text_.starts_with("//")) {
      const std::size_t slash = text_.find('/', 2);
      if (slash == std::string_view::npos) Fail("'/' expected after the host");
      path.host = text_.substr(2, slash - 2);
      position_ = slash + 1;
    }
    // A namespace ends at the colon that stands before any key.
    const std::size_t stop = text_.find_first_of(":.=\"'", position_);
    if (stop != std::string_view::npos && text_[stop] == ':') {
      path.name_space = text_.substr(position_, stop - position_);
      position_ = stop + 1;
    } else if (path.host) {
      Fail("':' expected after the namespace");
    }
  }

  std::string ReadName(const char* what) {
    const std::size_t begin = position_;
    while (!AtEnd() && IsNameChar(text_[position_])) ++position_;
    const std::string_view name = text_.substr(begin, position_ - begin);
    if (name.empty() || (name[0] >= '0' && name[0] <= '9')) {
      FailAt(begin, std::string(what) + " expected");
    }
    return std::string(name);
  }

  void ReadKey(ObjectPath& path) {
    const std::size_t begin = position_;
    std::string name = ReadName("key name");
    if (path.Key(name) != nullptr) FailAt(begin, "key " + name + " given twice");
    Expect('=', "'=' after the key name");
    const schema::Property* declared =
        class_ != nullptr ? schema::FindProperty(*class_, name) : nullptr;
    Value value = ReadValue(declared != nullptr ? declared->type : CMPIType{CMPI_null});
    path.keys.emplace_back(std::move(name), std::move(value));
  }

  // `wanted` is the declared type, CMPI_null where none is known.
  Value ReadValue(CMPIType wanted) {
    if (Peek() == '"') return ReadQuoted(wanted);
    if (Peek() == '\'') return ReadChar16();
    const std::size_t begin = position_;
    while (!AtEnd() && text_[position_] != ',') ++position_;
    const std::string_view word = text_.substr(begin, position_ - begin);
    if (EqualIgnoringCase(word, "true")) return Value(true);
    if (EqualIgnoringCase(word, "false")) return Value(false);
    if (EqualIgnoringCase(word, "null")) return Value::Null(wanted);
    return NumberOf(word, wanted, begin);
  }

  Value ReadQuoted(CMPIType wanted) {
    const std::size_t begin = position_;
    std::string text = ReadEscaped('"');
    if (wanted == CMPI_dateTime) return Value(DateTime{std::move(text)});
    if (wanted != CMPI_ref) return Value(std::move(text));
    if (depth_ == kMaxReferenceDepth) FailAt(begin, "references nested too deeply");
    Parser inner(text, depth_ == 0 ? begin : base_, depth_ + 1);
    return Value(inner.ReadPath());
  }

  Value ReadChar16() {
    const std::size_t begin = position_;
    const std::string text = ReadEscaped('\'');
    const auto read = FirstCharacter(text);
    if (!read || read->bytes != text.size() || read->value > 0xffff) {
      FailAt(begin, "exactly one character expected");
    }
    return Value(static_cast<char16_t>(read->value));
  }

  std::string ReadEscaped(char quote) {
    const std::size_t begin = position_++;
    std::string text;
    while (!AtEnd()) {
      const char c = text_[position_++];
      if (c == quote) return text;
      if (c != '\\') {
        text += c;
        continue;
      }
      const char escaped = Peek();
      if (escaped != '\\' && escaped != '"' && escaped != '\'') {
        FailAt(position_ - 1, "a backslash stands before a quote or another backslash only");
      }
      text += escaped;
      ++position_;
    }
    FailAt(begin, "quote is not closed");
  }

  template <class T>
  std::optional<T> Whole(std::string_view word) const {
    T number{};
    const char* end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, number);
    if (error != std::errc() || stop != end) return std::nullopt;
    if constexpr (std::is_floating_point_v<T>) {
      if (!std::isfinite(number)) return std::nullopt;  // "inf" and "nan" are no numbers here
    }
    return number;
  }

  template <class T>
  Value NumberAs(std::string_view word, std::size_t begin) const {
    if (const auto number = Whole<T>(word)) return Value(*number);
    FailAt(begin, fmt::format("\"{}\" is no {}", word, TypeName(Value(T{}).type())));
  }

  Value NumberOf(std::string_view word, CMPIType wanted, std::size_t begin) const {
    switch (wanted) {
      case CMPI_uint8: return NumberAs<std::uint8_t>(word, begin);
      case CMPI_uint16: return NumberAs<std::uint16_t>(word, begin);
      case CMPI_uint32: return NumberAs<std::uint32_t>(word, begin);
      case CMPI_uint64: return NumberAs<std::uint64_t>(word, begin);
      case CMPI_sint8: return NumberAs<std::int8_t>(word, begin);
      case CMPI_sint16: return NumberAs<std::int16_t>(word, begin);
      case CMPI_sint32: return NumberAs<std::int32_t>(word, begin);
      case CMPI_sint64: return NumberAs<std::int64_t>(word, begin);
      case CMPI_real32: return NumberAs<float>(word, begin);
      case CMPI_real64: return NumberAs<double>(word, begin);
      default: break;
    }
    if (const auto number = Whole<std::uint64_t>(word)) return Value(*number);
    if (const auto number = Whole<std::int64_t>(word)) {
      return *number < 0 ? Value(*number) : Value(std::uint64_t{0});  // -0
    }
    if (const auto number = Whole<double>(word)) return Value(*number);
    FailAt(begin, "a quoted text, a number, TRUE or FALSE expected");
  }

  std::string_view text_;
  std::size_t base_;
  int depth_;
  std::size_t position_ = 0;
  const schema::Class* class_ = nullptr;
};

}  // namespace

ObjectPath ParseWbemUri(std::string_view text) { return Parser(text, 0, 0).ReadPath(); }

}  // namespace cim
