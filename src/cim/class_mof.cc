#include "cim/class_mof.h"

#include <cstddef>
#include <string_view>
#include <vector>

#include "cim/value.h"

namespace cim::schema {
namespace {

constexpr std::size_t kColumns = 80;

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted += '"';
}

// The text as adjacent string literals of lines no wider than `columns`, quotes included. Blanks
// stay at the ends of lines, so that the literals joined are the text.
std::vector<std::string> Literals(std::string_view text, std::size_t columns) {
  std::vector<std::string> lines;
  while (Quoted(text).size() > columns) {
    std::size_t length = text.find(' ') + 1;
    for (std::size_t end = length; end != 0 && Quoted(text.substr(0, end)).size() <= columns;
         end = text.find(' ', end) + 1) {
      length = end;
    }
    if (length == 0) break;  // one long word
    lines.push_back(Quoted(text.substr(0, length)));
    text.remove_prefix(length);
  }
  lines.push_back(Quoted(text));
  return lines;
}

// Qualifiers between brackets, the opening one at column `indent`; an argument that does not fit
// goes on below.
class QualifierList {
 public:
  explicit QualifierList(std::size_t indent) : indent_(indent) {}

  void Add(std::string_view name) {
    Separate(name.size());
    line_ += name;
  }

  void Add(std::string_view name, std::string_view value) {
    const std::string quoted = Quoted(value);
    Separate(name.size() + quoted.size() + 5);
    line_ += std::string(name) + " ( " + quoted + " )";
  }

  void AddText(std::string_view name, std::string_view text) {
    Separate(name.size() + 2);
    line_ += std::string(name) + " (";
    for (const std::string& literal : Literals(text, kColumns - indent_ - 6)) {
      Break(indent_ + 3);
      line_ += literal;
    }
    line_ += " )";
  }

  // `entries` are the quoted elements of an array.
  void AddArray(std::string_view name, const std::vector<std::string>& entries) {
    line_ += ',';
    Break(indent_ + 1);
    line_ += std::string(name) + " { ";
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (i != 0) {
        line_ += ',';
        if (line_.size() + entries[i].size() + 4 > kColumns) {
          Break(indent_ + 4);
        } else {
          line_ += ' ';
        }
      }
      line_ += entries[i];
    }
    line_ += " }";
  }

  std::string Close() { return done_ + line_ + "]\n"; }

 private:
  void Separate(std::size_t width) {
    if (line_.empty()) {
      line_ = std::string(indent_, ' ') + '[';
    } else {
      line_ += ',';
      if (line_.size() + width + 2 > kColumns) {
        Break(indent_ + 1);
      } else {
        line_ += ' ';
      }
    }
  }

  void Break(std::size_t indent) {
    done_ += line_ + '\n';
    line_.assign(indent, ' ');
  }

  std::size_t indent_;
  std::string done_;
  std::string line_;
};

void AddCodes(QualifierList& qualifiers, std::span<const CodedValue> values) {
  if (values.empty()) return;
  std::vector<std::string> codes;
  std::vector<std::string> meanings;
  for (const CodedValue& value : values) {
    codes.push_back(Quoted(value.code));
    meanings.push_back(Quoted(value.meaning));
  }
  qualifiers.AddArray("ValueMap", codes);
  qualifiers.AddArray("Values", meanings);
}

std::string PropertyMof(const Property& property, const Class* superclass) {
  QualifierList qualifiers(6);
  if (property.key) qualifiers.Add("Key");
  if (superclass != nullptr && FindProperty(*superclass, property.name) != nullptr) {
    qualifiers.Add("Override", property.name);
  }
  qualifiers.AddText("Description", property.description);
  AddCodes(qualifiers, property.values);

  const bool array = (property.type & CMPI_ARRAY) != 0;
  const CMPIType element = static_cast<CMPIType>(property.type & ~CMPI_ARRAY);
  const std::string type = property.type == CMPI_ref
                               ? std::string(property.reference_class) + " REF"
                               : TypeName(element);
  return qualifiers.Close() + "   " + type + ' ' + std::string(property.name) +
         (array ? "[];\n" : ";\n");
}

}  // namespace

std::string ClassMof(const Class& cls) {
  QualifierList qualifiers(3);
  if (cls.association) qualifiers.Add("Association");
  qualifiers.Add("Version", cls.version);
  qualifiers.AddText("Description", cls.description);

  std::string text = qualifiers.Close() + "class " + std::string(cls.name);
  if (!cls.superclass.empty()) text += " : " + std::string(cls.superclass);
  text += "\n{\n";
  const Class* superclass = FindClass(cls.superclass);
  for (std::size_t i = 0; i < cls.properties.size(); ++i) {
    if (i != 0) text += '\n';
    text += PropertyMof(cls.properties[i], superclass);
  }
  return text + "};\n";
}

}  // namespace cim::schema
