#include "support/log_capture.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <vector>

#include "support/fake_host.h"

// NOLINTNEXTLINE(bugprone-reserved-identifier): the C library's name
extern "C" void __syslog_chk(int priority, int flag, const char* format, ...);

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Close {
  void operator()(void* library) const { dlclose(library); }
};

class Probe {
 public:
  Probe() : library_(dlopen(DLOPEN_PROBE, RTLD_NOW | RTLD_LOCAL)) {
    EXPECT_NE(library_, nullptr) << dlerror();
  }
  template <typename Function>
  Function* Find(const char* name) const {
    void* const symbol = dlsym(library_.get(), name);
    EXPECT_NE(symbol, nullptr) << name;
    return reinterpret_cast<Function*>(symbol);
  }

 private:
  std::unique_ptr<void, Close> library_;
};

TEST(LogCaptureTest, KeepsPriorityAndFormattedTextInOrder) {
  const LogCapture log;
  syslog(LOG_ERR, "%s number %d", "line", 1);
  syslog(LOG_DEBUG, "second");
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{LOG_ERR, "line number 1"}, LogLine{LOG_DEBUG, "second"}));
  EXPECT_THAT(log.Texts(LOG_DEBUG), ElementsAre("second"));
}

TEST(LogCaptureTest, SeesTheCheckedVariantOfHardenedBuilds) {
  const LogCapture log;
  __syslog_chk(LOG_CRIT, 1, "checked %u", 7U);
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{LOG_CRIT, "checked 7"}));
}

TEST(LogCaptureTest, KeepsLongLinesWhole) {
  const LogCapture log;
  const std::string text(5000, 'x');
  syslog(LOG_ERR, "%s", text.c_str());
  EXPECT_THAT(log.Texts(LOG_ERR), ElementsAre(text));
}

TEST(LogCaptureTest, SeesOnlyLinesOfItsOwnLife) {
  syslog(LOG_ERR, "before");
  const LogCapture outer;
  {
    const LogCapture inner;
    syslog(LOG_ERR, "both");
    EXPECT_THAT(inner.Texts(LOG_ERR), ElementsAre("both"));
  }
  syslog(LOG_ERR, "outer");
  EXPECT_THAT(outer.Texts(LOG_ERR), ElementsAre("both", "outer"));
}

TEST(LogCaptureTest, ClearForgets) {
  LogCapture log;
  syslog(LOG_ERR, "old");
  log.Clear();
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(LogCaptureTest, SeesLinesOfALibraryOpenedLater) {
  const Probe probe;
  const LogCapture log;
  probe.Find<void(const char*)>("ProbeLog")("hello");
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{LOG_ERR, "probe says hello"}));
}

TEST(DumpFileTest, IsReadableWhenTheTestSaysSo) {
  EXPECT_EQ(access("/tmp/dump_pci", F_OK), 0);
  EXPECT_EQ(access("/tmp/dump_pci", R_OK), -1);
  EXPECT_EQ(errno, EACCES);
  fake::DumpFileReadable(true);
  EXPECT_EQ(access("/tmp/dump_pci", R_OK), 0);
  fake::DumpFileReadable(false);
}

TEST(DumpFileTest, CountsQuestionsFromALibraryOpenedLater) {
  const Probe probe;
  auto* const ask = probe.Find<int(const char*)>("ProbeAccess");
  const std::size_t before = fake::DumpFileChecks();
  EXPECT_EQ(ask("/tmp/dump_pci"), -1);
  EXPECT_EQ(fake::DumpFileChecks(), before + 1);
}

TEST(DumpFileTest, LeavesOtherPathsToTheSystem) {
  EXPECT_EQ(access("/", R_OK), 0);
  EXPECT_EQ(access("/no/such/file", R_OK), -1);
}

TEST(ProbeTest, AnOpenedLibraryMeetsTheFakeHost) {
  fake::Use(fake::Host().Add(fake::Endpoint("A")).Add(fake::Endpoint("B")));
  const Probe probe;
  auto* const count = probe.Find<int()>("ProbeCountDevices");
  EXPECT_EQ(count(), 2);
  fake::FailAt(2);
  EXPECT_EQ(count(), -1) << "the exception was not recognised across the library boundary";
}

}  // namespace
