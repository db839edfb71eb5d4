#include "wbem/serve.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <memory>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "wbem/scripted_provider.h"

namespace {

constexpr int kFew = 256;  // descriptors

// Takes the line that tells of the server, and makes it fail to accept: the one listening socket of
// this process is shut down.
class BreaksTheListener : public std::stringbuf {
 protected:
  int sync() override {
    for (int socket = 0; socket < kFew; ++socket) {
      int listens = 0;
      socklen_t size = sizeof listens;
      const bool is_socket = getsockopt(socket, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) == 0;
      if (is_socket && listens != 0) shutdown(socket, SHUT_RDWR);
    }
    return 0;
  }
};

TEST(Serve, TakesAllDescriptorsItMayAndSaysThatTheServerHasCeased) {
  const auto manager = scripted::Current();
  rlimit files{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &files), 0);
  files.rlim_cur = kFew;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &files), 0);
  wbem::ServerOptions options;
  options.port = 0;
  BreaksTheListener buffer;
  std::ostream out(&buffer);
  EXPECT_THROW(wbem::Serve(*manager, options, {}, out), std::runtime_error);
  EXPECT_TRUE(buffer.str().starts_with("listening on http://127.0.0.1:")) << buffer.str();
  getrlimit(RLIMIT_NOFILE, &files);
  EXPECT_EQ(files.rlim_cur, files.rlim_max);
}

}  // namespace
