#include "wbem/connection.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>

namespace wbem {
namespace {

using std::chrono::seconds;

// A connection whose client came some time ago, while others wait for the thread.
class WaitingConnection : public testing::Test {
 protected:
  WaitingConnection() {
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_.data()), 0);
    limits_.idle = seconds(300);
    limits_.first_grace = seconds(200);
    pressure_.Set();
  }
  ~WaitingConnection() override { close(ends_[1]); }

  bool HasRequest(seconds age) {
    Connection connection(ends_[0], Connection::Clock::now() - age, limits_);
    return connection.NextRequest(stop_, pressure_);
  }
  void Send() const { EXPECT_EQ(write(ends_[1], "POST", 4), 4); }

  std::array<int, 2> ends_{};
  ConnectionLimits limits_;
  Event stop_;
  Event pressure_;
};

TEST_F(WaitingConnection, ASilentClientThatHasWaitedLongGivesWayAtOnce) {
  EXPECT_FALSE(HasRequest(seconds(201)));
}

TEST_F(WaitingConnection, AClientThatHasSentIsServedHoweverLongItHasWaited) {
  Send();
  EXPECT_TRUE(HasRequest(seconds(1000)));
}

}  // namespace
}  // namespace wbem
