// What an element costs from the provider to the output: provider, object manager, and the JSON of
// the tool or the CIM-XML of the server. Beside it what writing the same bytes costs alone, in the
// pieces in which they come: the least that any chain could take.
//
// Benchmarks: Chain/<Json|Xml>/<class>/<functions>, EnumerateInstances of all ten classes at 1,000
// and 8,000 functions of the synthetic host. The chain and the bytes alone are measured in turns,
// in CPU time of the thread; the benchmark's own time is the chain's median. Counters:
//   chain_ns_per_element      median
//   bytes_ns_per_element      median
//   allocs_per_element        allocations of the chain, host included
//   bytes_per_element         that come out
// JSON goes to /dev/null through the tool's own buffer, CIM-XML to a sink that forgets it.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include "bench/heap_count.h"
#include "bench/occurrences.h"
#include "bench/provider_stack.h"
#include "bench/turns.h"
#include "tool/element_writer.h"
#include "tool/output.h"
#include "wbem/operations.h"

namespace {

// The pieces in which an answer is written, one after the other.
using Pieces = std::vector<std::string>;

// Keeps what is written to it, piece by piece.
class PieceBuffer : public std::streambuf {
 public:
  explicit PieceBuffer(Pieces& pieces) : pieces_(pieces) {}

 protected:
  std::streamsize xsputn(const char* text, std::streamsize size) override {
    pieces_.emplace_back(text, static_cast<std::size_t>(size));
    return size;
  }
  int_type overflow(int_type c) override {
    pieces_.emplace_back(1, traits_type::to_char_type(c));
    return c;
  }

 private:
  Pieces& pieces_;
};

// One form of answer: how the chain makes it, and how its bytes are written without one.
class Output {
 public:
  virtual ~Output() = default;
  virtual void Enumerate(broker::ObjectManager& manager, const char* class_name) = 0;
  virtual void Write(const Pieces& pieces) = 0;
  // The pieces that Enumerate writes.
  virtual Pieces Capture(broker::ObjectManager& manager, const char* class_name) = 0;
  // What every element of an answer has once.
  virtual std::string_view mark() const = 0;
};

class JsonOutput : public Output {
 public:
  void Enumerate(broker::ObjectManager& manager, const char* class_name) override {
    EnumerateTo(out_, manager, class_name);
  }
  void Write(const Pieces& pieces) override {
    for (const std::string& piece : pieces) out_ << piece;
    out_.flush();
  }
  Pieces Capture(broker::ObjectManager& manager, const char* class_name) override {
    Pieces pieces;
    PieceBuffer buffer(pieces);
    std::ostream out(&buffer);
    EnumerateTo(out, manager, class_name);
    return pieces;
  }
  std::string_view mark() const override { return "\"properties\": "; }

 private:
  // An open file that forgets what is written to it.
  class Null {
   public:
    Null() : descriptor_(open("/dev/null", O_WRONLY | O_CLOEXEC)) {}
    ~Null() { close(descriptor_); }
    Null(const Null&) = delete;
    Null& operator=(const Null&) = delete;
    int descriptor() const { return descriptor_; }

   private:
    int descriptor_;
  };

  static void EnumerateTo(std::ostream& out, broker::ObjectManager& manager,
                          const char* class_name) {
    const auto writer = tool::MakeJsonWriter(out);
    bench::List(manager, bench::Listing::kInstances, class_name, *writer);
    writer->Finish(false);
  }

  Null null_;
  tool::FileOutput out_{null_.descriptor()};
};

class XmlOutput : public Output {
 public:
  void Enumerate(broker::ObjectManager& manager, const char* class_name) override {
    Forgetting sink;
    Answer(manager, class_name, sink);
  }
  // Into a buffer as the answer's, and out of it.
  void Write(const Pieces& pieces) override {
    Forgetting sink;
    std::string pending;
    for (const std::string& piece : pieces) {
      pending = piece;
      sink.Write(pending);
    }
  }
  Pieces Capture(broker::ObjectManager& manager, const char* class_name) override {
    Keeping sink;
    Answer(manager, class_name, sink);
    return sink.pieces;
  }
  std::string_view mark() const override { return "<VALUE.NAMEDINSTANCE>"; }

 private:
  struct Forgetting : wbem::ByteSink {
    void Write(std::string_view bytes) override { size += bytes.size(); }
    std::size_t size = 0;
  };
  struct Keeping : wbem::ByteSink {
    void Write(std::string_view bytes) override { pieces.emplace_back(bytes); }
    Pieces pieces;
  };

  static void Answer(broker::ObjectManager& manager, const char* class_name, wbem::ByteSink& sink) {
    wbem::Request request;
    request.message_id = "1";
    request.method = "EnumerateInstances";
    request.intrinsic = true;
    request.name_space = wbem::kNameSpace;
    request.parameters.push_back({"ClassName", wbem::ClassName{class_name}});
    wbem::Answer(manager, request, "bench.example", sink);
  }
};

void Measure(benchmark::State& state, const std::function<std::unique_ptr<Output>()>& make_output,
             const char* class_name) {
  const auto functions = static_cast<std::size_t>(state.range(0));
  broker::ObjectManager& manager =
      bench::StackOf(bench::kLibrary, functions, bench::ParentsFor(class_name)).manager;
  const std::unique_ptr<Output> output = make_output();
  const Pieces pieces = output->Capture(manager, class_name);
  double bytes = 0;
  std::size_t returned = 0;
  for (const std::string& piece : pieces) {
    bytes += static_cast<double>(piece.size());
    returned += bench::Occurrences(piece, output->mark());
  }
  if (returned == 0) {
    state.SkipWithError("nothing came out");
    return;
  }
  const std::uint64_t before = bench::AllocationCount();
  output->Enumerate(manager, class_name);
  const auto allocations = static_cast<double>(bench::AllocationCount() - before);

  bench::Turns turns{};
  for (auto _ : state) {
    turns = bench::MeasureInTurns(
        [&](std::size_t times) {
          return bench::SecondsOf([&] { output->Enumerate(manager, class_name); }, times);
        },
        [&](std::size_t times) { return bench::SecondsOf([&] { output->Write(pieces); }, times); });
    state.SetIterationTime(turns.first_seconds);
  }
  const auto elements = static_cast<double>(returned);
  state.counters["chain_ns_per_element"] = turns.first_seconds * 1e9 / elements;
  state.counters["bytes_ns_per_element"] = turns.second_seconds * 1e9 / elements;
  state.counters["allocs_per_element"] = allocations / elements;
  state.counters["bytes_per_element"] = bytes / elements;
}

template <typename Form>
void RegisterAll(const std::string& form) {
  for (const char* class_name : bench::kClasses) {
    const std::string name = "Chain/" + form + "/" + class_name;
    benchmark::RegisterBenchmark(name.c_str(),
                                 [class_name](benchmark::State& state) {
                                   Measure(
                                       state, [] { return std::make_unique<Form>(); }, class_name);
                                 })
        ->Arg(1000)
        ->Arg(8000)
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
  }
}

}  // namespace

int main(int argc, char** argv) {
  RegisterAll<JsonOutput>("Json");
  RegisterAll<XmlOutput>("Xml");
  return bench::RunBenchmarks(argc, argv);
}
