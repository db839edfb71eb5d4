// The lines of a text that people have passed on: by mail, from another system, in an editor.
//
// Lines may end with LF, CR LF or CR, begin with the ">" of a mail that quotes them, and end with
// blanks; neither is part of a line, nor is a byte order mark.
// Thread rule: one thread at a time.

#ifndef PCI_TEXT_LINES_H_
#define PCI_TEXT_LINES_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pci/file.h"

namespace pci {

class TextLines {
 public:
  // Opens the file, which may be any size. Throws Error where it cannot be opened or is no regular
  // file, and where it is no text of bytes but compressed or UTF-16: that is said, and what helps.
  explicit TextLines(const std::string& path);

  // The next line, good until the next call; nothing at the end. Throws Error where the file cannot
  // be read, or a line is longer than any that a person reads.
  std::optional<std::string_view> Next();

  // Where the last line stands in the file, as "FILE, line 7".
  std::string Where() const { return path_ + ", line " + std::to_string(number_); }

 private:
  void Fill();
  void RefuseOtherFormats() const;

  std::string path_;
  File file_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;  // what is left of the buffer
  std::size_t end_ = 0;
  bool at_end_ = false;  // of the file
  std::size_t number_ = 0;
};

}  // namespace pci

#endif  // PCI_TEXT_LINES_H_
