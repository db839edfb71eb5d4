#include "pci/naive_names.h"

#include <algorithm>
#include <sstream>

namespace pci_test {
namespace {

constexpr char kBlanks[] = " \t";

// A hexadecimal id of so many digits, in lower case; empty where the text is none.
std::string IdIn(const std::string& text, std::size_t digits) {
  if (text.size() != digits) return "";
  std::string id;
  for (const char c : text) {
    if (!std::isxdigit(static_cast<unsigned char>(c))) return "";
    id += static_cast<char>(std::tolower(c));
  }
  return id;
}

// The name at the end of a line as it is printed; empty where there is none to print.
std::string NameIn(std::string text) {
  for (const char end : {'\r', '\0'}) text.resize(std::min(text.size(), text.find(end)));
  if (text.ends_with(' ') || text.ends_with('\t')) text.pop_back();
  return text.size() > 1000 ? "" : text;
}

std::string NameAt(const NamesByIds& names, const std::string& ids) {
  const auto found = names.find(ids);
  return found == names.end() ? "" : found->second;
}

// A reader knows where it is by the ids above a line; an empty one stands for a line that was
// passed over.
class Reader {
 public:
  void TakeLine(const std::string& line) {
    const std::size_t first = line.find_first_not_of(kBlanks);
    if (first == line.npos || std::string("#\r\0", 3).find(line[first]) != std::string::npos)
      return;
    const std::size_t tabs = line.find_first_not_of('\t');
    std::string text = line.substr(tabs);
    if (tabs == 0) {
      const bool is_class = text.starts_with("C ");
      section_ = is_class ? "C " : "";
      if (is_class) text.erase(0, 2);
      head_ = Take(section_, text, is_class ? 2 : 4);
      entry_.clear();
    } else if (tabs == 1) {
      entry_ = head_.empty() ? "" : Take(head_ + ' ', text, section_.empty() ? 4 : 2);
    } else if (tabs == 2 && !entry_.empty() && !section_.empty()) {
      Take(entry_ + ' ', text, 2);
    }
  }

  const NamesByIds& names() const { return names_; }

 private:
  // Gives where the line stands, or nothing.
  std::string Take(const std::string& above, const std::string& text, std::size_t digits) {
    const std::size_t id_end = text.find_first_of(kBlanks);
    const std::size_t name_start = text.find_first_not_of(kBlanks, id_end);
    const std::string id = IdIn(text.substr(0, id_end), digits);
    if (id.empty() || name_start == text.npos) return "";
    const std::string name = NameIn(text.substr(name_start));
    if (!name.empty()) names_.emplace(above + id, name);
    return above + id;
  }

  NamesByIds names_;
  std::string section_, head_, entry_;
};

}  // namespace

NamesByIds ReadNaively(const std::string& list) {
  Reader reader;
  std::istringstream lines(list);
  for (std::string line; std::getline(lines, line);) reader.TakeLine(line);
  return reader.names();
}

std::string VendorText(const NamesByIds& names, const std::string& vendor) {
  const std::string name = NameAt(names, vendor);
  return name.empty() ? "Vendor " + vendor : name;
}

std::string DeviceText(const NamesByIds& names, const std::string& vendor,
                       const std::string& device) {
  const std::string name = NameAt(names, vendor + ' ' + device);
  return name.empty() ? "Device " + device : name;
}

std::string ClassText(const NamesByIds& names, const std::string& class_code) {
  const std::string base = "C " + class_code.substr(0, 2);
  std::string name = NameAt(names, base + ' ' + class_code.substr(2));
  if (!name.empty()) return name;
  const std::string base_name = NameAt(names, base);
  return base_name.empty() ? "Class " + class_code : base_name + " [" + class_code + ']';
}

std::string InterfaceText(const NamesByIds& names, const std::string& class_code,
                          const std::string& interface) {
  const std::string line = "C " + class_code.substr(0, 2) + ' ' + class_code.substr(2);
  return NameAt(names, line + ' ' + interface);
}

}  // namespace pci_test
