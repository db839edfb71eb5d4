// CIM values as JSON text: numbers as numbers, references as path objects, nulls as null. An
// element is written member by member, without a document in memory: on a large host that is most
// of what the tool does.
//
//   path       {"namespace": ..., "className": ..., "keys": {...}}, "host" in front where there is
//   one instance   {"path": ..., "properties": {...}}

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "cim/utf8.h"
#include "tool/element_writer.h"
#include "tool/json_value.h"
#include "tool/utf8_text.h"

namespace tool {

using cim::Instance;
using cim::ObjectPath;
using cim::Value;

namespace {

// ASCII that is written as it is. Most text is nothing else.
bool IsPlain(char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; }

void AppendText(std::string& out, std::string_view text) {
  if (!std::all_of(text.begin(), text.end(), IsPlain)) {
    out += Json(ValidUtf8(text)).dump();
    return;
  }
  out += '"';
  out += text;
  out += '"';
}

// The members of an object or the elements of an array, one to a line, indented by two more than
// `indent`; nothing stands between the brackets where there are none.
class Members {
 public:
  Members(std::string& out, std::size_t indent, std::string_view brackets)
      : out_(out), indent_(indent), brackets_(brackets) {
    out_ += brackets_[0];
  }
  ~Members() {
    if (any_) NewLine(indent_);
    out_ += brackets_[1];
  }
  Members(const Members&) = delete;
  Members& operator=(const Members&) = delete;

  void Next() {
    if (any_) out_ += ',';
    any_ = true;
    NewLine(inner());
  }
  void Next(std::string_view name) {
    Next();
    AppendText(out_, name);
    out_ += ": ";
  }

  std::size_t inner() const { return indent_ + 2; }

 private:
  void NewLine(std::size_t indent) {
    out_ += '\n';
    out_.append(indent, ' ');
  }

  std::string& out_;
  std::size_t indent_;
  std::string_view brackets_;
  bool any_ = false;
};

void AppendScalar(std::string& out, const Value& value) {
  if (const std::string* text = value.text()) {
    AppendText(out, *text);
  } else if (const bool* truth = value.get<bool>()) {
    out += *truth ? "true" : "false";
  } else if (const char16_t* letter = value.get<char16_t>()) {
    AppendText(out, cim::ToUtf8(*letter));
  } else if (const float* single = value.get<float>()) {
    out += Json(*single).dump();
  } else if (const double* real = value.get<double>()) {
    out += Json(*real).dump();
  } else if (const auto number = value.as_unsigned()) {
    out += std::to_string(*number);
  } else if (const auto negative = value.as_signed()) {
    out += std::to_string(*negative);
  } else if (const auto* time = value.get<cim::DateTime>()) {
    AppendText(out, time->text);
  } else {
    out += "null";
  }
}

void Append(std::string& out, const Value& value, std::size_t indent);

void Append(std::string& out, const ObjectPath& path, std::size_t indent) {
  Members members(out, indent, "{}");
  const auto add_text = [&](std::string_view name, std::string_view text) {
    members.Next(name);
    AppendText(out, text);
  };
  if (path.host) add_text("host", *path.host);
  add_text("namespace", path.name_space);
  add_text("className", path.class_name);
  members.Next("keys");
  Members keys(out, members.inner(), "{}");
  for (const auto& [name, value] : path.keys) {
    keys.Next(name);
    Append(out, value, keys.inner());
  }
}

void Append(std::string& out, const Instance& instance, std::size_t indent) {
  Members members(out, indent, "{}");
  members.Next("path");
  Append(out, instance.path, members.inner());
  members.Next("properties");
  Members properties(out, members.inner(), "{}");
  for (const cim::Property& property : instance.properties) {
    properties.Next(property.name);
    Append(out, property.value, properties.inner());
  }
}

void Append(std::string& out, const Value& value, std::size_t indent) {
  if (const ObjectPath* reference = value.reference()) return Append(out, *reference, indent);
  if (const Instance* embedded = value.embedded_instance()) return Append(out, *embedded, indent);
  const Value::Array* elements = value.elements();
  if (elements == nullptr) return AppendScalar(out, value);
  Members members(out, indent, "[]");
  for (const Value& element : *elements) {
    members.Next();
    Append(out, element, members.inner());
  }
}

class JsonWriter : public ElementWriter {
 public:
  using ElementWriter::ElementWriter;

 protected:
  void Begin() override { out() << '['; }
  void Write(Instance&& instance) override { Element(instance); }
  void Write(ObjectPath&& path) override { Element(path); }
  void End() override { out() << (count() > 0 ? "\n]\n" : "]\n"); }

 private:
  template <class T>
  void Element(const T& element) {
    text_ = count() > 1 ? ",\n  " : "\n  ";
    Append(text_, element, 2);
    out() << text_;
  }

  std::string text_;  // kept from one element to the next, for its memory
};

}  // namespace

std::unique_ptr<ElementWriter> MakeJsonWriter(std::ostream& out) {
  return std::make_unique<JsonWriter>(out);
}

}  // namespace tool
