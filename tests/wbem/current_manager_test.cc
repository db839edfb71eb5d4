#include "wbem/current_manager.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/on_threads.h"

namespace wbem {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

RenewalTimes Quick() {
  RenewalTimes times;
  times.quiet = milliseconds(0);
  times.longest_burst = milliseconds(0);
  times.patience = hours(1);
  return times;
}

// Opens managers whose hosting system is named by the number of the opening.
class Opening {
 public:
  std::shared_ptr<broker::ObjectManager> operator()() {
    if (fails_) throw std::runtime_error("no host");
    EXPECT_EQ(alive_.exchange(1), 0) << "the library is there twice";
    broker::Options options;
    options.system_name = std::to_string(++count_);
    return {new broker::ObjectManager(options), [this](broker::ObjectManager* manager) {
              delete manager;
              alive_ = 0;
            }};
  }

  int count() const { return count_; }
  void Fail(bool fails) { fails_ = fails; }

 private:
  std::atomic<int> count_ = 0;
  std::atomic<int> alive_ = 0;
  std::atomic<bool> fails_ = false;
};

std::string NameOf(const CurrentManager::Loan& loan) {
  return *(*loan).SystemPath().Key("Name")->text();
}

class CurrentManagerTest : public testing::Test {
 protected:
  std::string Asked() { return NameOf(manager_->Borrow()); }
  void Use(const RenewalTimes& times) {
    manager_.reset();
    opening_.emplace();
    manager_.emplace([this] { return (*opening_)(); }, times);
  }

  std::optional<Opening> opening_;
  std::optional<CurrentManager> manager_;
};

TEST_F(CurrentManagerTest, StaysAsLongAsTheHostDoes) {
  Use(Quick());
  EXPECT_EQ(Asked(), "1");
  EXPECT_EQ(Asked(), "1");
}

TEST_F(CurrentManagerTest, IsOpenedAnewForTheNextRequestOnceForManyChanges) {
  Use(Quick());
  for (int i = 0; i < 10; ++i) manager_->MarkStale();
  EXPECT_EQ(opening_->count(), 1);
  EXPECT_EQ(Asked(), "2");
  EXPECT_EQ(Asked(), "2");
  manager_->MarkStale();
  EXPECT_EQ(Asked(), "3");
}

TEST_F(CurrentManagerTest, ARequestEndsOnTheOldOne) {
  Use(Quick());
  std::future<std::string> next;
  {
    const auto running = manager_->Borrow();
    manager_->MarkStale();
    next = std::async(std::launch::async, [this] { return Asked(); });
    EXPECT_EQ(NameOf(running), "1");
    EXPECT_EQ(next.wait_for(milliseconds(0)), std::future_status::timeout);
  }
  EXPECT_EQ(next.get(), "2");
}

TEST_F(CurrentManagerTest, ARequestThatDoesNotEndKeepsNobodyWaiting) {
  RenewalTimes times = Quick();
  times.patience = milliseconds(1);
  times.pause = hours(1);
  Use(times);
  {
    const auto slow = manager_->Borrow();
    manager_->MarkStale();
    EXPECT_EQ(Asked(), "1");
    EXPECT_EQ(Asked(), "1");
  }
  EXPECT_EQ(Asked(), "1");  // tried again after the pause
}

TEST_F(CurrentManagerTest, ThePauseIsNoLongerThanItIs) {
  RenewalTimes times = Quick();
  times.patience = milliseconds(1);
  times.pause = milliseconds(0);
  Use(times);
  {
    const auto slow = manager_->Borrow();
    manager_->MarkStale();
    EXPECT_EQ(Asked(), "1");
  }
  EXPECT_EQ(Asked(), "2");
}

TEST_F(CurrentManagerTest, WaitsForTheEndOfABurstButNotForEver) {
  RenewalTimes times = Quick();
  times.quiet = hours(1);
  times.longest_burst = milliseconds(20);
  Use(times);
  const auto start = std::chrono::steady_clock::now();
  manager_->MarkStale();
  EXPECT_EQ(Asked(), "2");
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(20));
}

TEST_F(CurrentManagerTest, AFailureIsOfOneRequest) {
  Use(Quick());
  opening_->Fail(true);
  manager_->MarkStale();
  EXPECT_THROW(Asked(), std::runtime_error);
  EXPECT_THROW(Asked(), std::runtime_error);
  opening_->Fail(false);
  EXPECT_EQ(Asked(), "2");
}

TEST_F(CurrentManagerTest, ManyRequestsAndManyChanges) {
  Use(Quick());
  OnThreads(8, [&](std::size_t thread) {
    for (int i = 0; i < 500; ++i) {
      if (thread == 0) manager_->MarkStale();
      const int answer = std::stoi(Asked());
      EXPECT_LE(answer, opening_->count());
    }
  });
  EXPECT_GT(opening_->count(), 1);
}

}  // namespace
}  // namespace wbem
