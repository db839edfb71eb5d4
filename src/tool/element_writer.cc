#include "tool/element_writer.h"

namespace tool {

void ElementWriter::Finish(bool failed) {
  if (!started_ && failed) return;
  Start();
  End();
  out_.flush();
}

}  // namespace tool
