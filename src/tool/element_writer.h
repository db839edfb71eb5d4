// Instances and object paths as text, in the formats that the commands offer.
//
// Thread rule: one thread at a time. The stream must outlive its writer.

#ifndef TOOL_ELEMENT_WRITER_H_
#define TOOL_ELEMENT_WRITER_H_

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "broker/result_sink.h"
#include "cim/value.h"

namespace tool {

// Takes elements as they come; what the format allows to be written at once is written at once.
class ElementWriter : public broker::ResultSink {
 public:
  explicit ElementWriter(std::ostream& out) : out_(out) {}

  void OnInstance(cim::Instance&& instance) final {
    Start();
    ++count_;
    Write(std::move(instance));
  }
  void OnObjectPath(cim::ObjectPath&& path) final {
    Start();
    ++count_;
    Write(std::move(path));
  }

  // Ends the document, so that it is well-formed, and flushes. A request that failed before
  // anything was written leaves nothing behind.
  void Finish(bool failed);

  std::size_t count() const { return count_; }

 protected:
  virtual void Begin() {}
  virtual void Write(cim::Instance&& instance) = 0;
  virtual void Write(cim::ObjectPath&& path) = 0;
  virtual void End() {}

  std::ostream& out() { return out_; }

 private:
  void Start() {
    if (!started_) Begin();
    started_ = true;
  }

  std::ostream& out_;
  std::size_t count_ = 0;
  bool started_ = false;
};

// What the table needs to know of its reader.
struct TableStyle {
  std::size_t width = 0;  // 0: no need to fit
  bool utf8 = true;
  std::vector<std::string> properties;  // the columns that were asked for; empty: the usual ones
};

// An array of {"path": ..., "properties": ...}, or of paths. Streams.
std::unique_ptr<ElementWriter> MakeJsonWriter(std::ostream& out);
// "instance of" declarations (DSP0004, annex A); paths one to a line. Streams.
std::unique_ptr<ElementWriter> MakeMofWriter(std::ostream& out);
// One table for each class, written at the end; paths one to a line, at once.
std::unique_ptr<ElementWriter> MakeTableWriter(std::ostream& out, TableStyle style);
// Every property of every instance on a line of its own, codes with their meaning. Streams.
std::unique_ptr<ElementWriter> MakeSheetWriter(std::ostream& out);

}  // namespace tool

#endif  // TOOL_ELEMENT_WRITER_H_
