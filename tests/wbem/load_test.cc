// The server under load: many clients, many requests, large answers; memory stays where it is.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/on_threads.h"
#include "support/sanitizers.h"
#include "wbem/answers.h"
#include "wbem/messages.h"
#include "wbem/raw_client.h"
#include "wbem/scripted_provider.h"
#include "wbem/server.h"

namespace {

const std::string kEnumerate = "EnumerateInstances";

std::string Enumeration() { return messages::Post(kEnumerate, messages::Class(scripted::kClass)); }

// Resident memory of the process in bytes.
std::size_t Resident() {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages >> pages;
  return pages * 4096;
}

class LoadTest : public testing::Test {
 protected:
  LoadTest() { Start({}); }
  void Start(wbem::ServerOptions options) {
    options.port = 0;
    server_ = std::make_unique<wbem::Server>(*manager_, options);
    port_ = server_->Start();
  }
  void TearDown() override {
    server_->Stop();
    scripted::Behave({});
    EXPECT_TRUE((*manager_->Borrow()).ProviderErrors().empty());
  }

  std::unique_ptr<wbem::CurrentManager> manager_ = scripted::Current();
  std::unique_ptr<wbem::Server> server_;
  int port_ = 0;
};

TEST_F(LoadTest, TwoHundredClientsAtOnceAreServed) {
  constexpr int kClients = 200;
  constexpr int kRequests = 3;
  // All are connected, and have sent, before the first one reads.
  std::vector<std::unique_ptr<RawClient>> clients;
  for (int i = 0; i < kClients; ++i) {
    clients.push_back(std::make_unique<RawClient>(port_));
    ASSERT_TRUE(clients.back()->Send(Enumeration()));
  }
  for (auto& client : clients) {
    const auto response = client->Receive();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->status, 200);
    const CimAnswer answer(response->body, kEnumerate);
    EXPECT_EQ(answer.elements().size(), 3U);
  }
  clients.clear();

  std::atomic<int> answered = 0;
  OnThreads(kClients, [&](std::size_t) {
    for (int n = 0; n < kRequests; ++n) {
      RawClient client(port_);
      client.Send(Enumeration());
      const auto response = client.Receive();
      if (response && response->body.ends_with("</CIM>\n")) ++answered;
    }
  });
  EXPECT_EQ(answered, kClients * kRequests);
}

// As many connections as the test wants, or as the system allows, to a server in this process.
std::size_t RoomForConnections(std::size_t wanted) {
  constexpr std::size_t kOthers = 100;
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  files.rlim_cur = std::min<rlim_t>(files.rlim_max, 2 * wanted + kOthers);
  EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &files), 0);
  return std::min(wanted, (files.rlim_cur - kOthers) / 2);
}

TEST_F(LoadTest, HonestClientsAreAnsweredAtOnceAmongThousandsOfOthers) {
  const std::size_t others = RoomForConnections(2'201) - 201;
  wbem::ServerOptions options;
  options.threads = 2;
  options.limits.idle = options.limits.head = options.limits.request = std::chrono::seconds(300);
  Start(options);
  const std::size_t before = Resident();

  const std::string request = Enumeration();
  const std::string part = request.substr(0, request.size() / 2);
  const std::string part_of_head = request.substr(0, request.find("CIMMethod"));
  std::vector<std::unique_ptr<RawClient>> silent;
  std::vector<std::unique_ptr<RawClient>> trickling;
  for (std::size_t i = 0; i < others; ++i) {
    auto client = std::make_unique<RawClient>(port_);
    const bool trickles = i % 20 == 1;
    ASSERT_TRUE(client->Send(trickles ? part : i % 2 == 0 ? part_of_head : ""));
    (trickles ? trickling : silent).push_back(std::move(client));
  }

  std::chrono::duration<double> slowest{};
  for (std::size_t i = 0; i < 200; ++i) {
    ASSERT_TRUE(trickling[i % trickling.size()]->Send(" "));
    const auto start = std::chrono::steady_clock::now();
    RawClient client(port_);
    ASSERT_TRUE(client.Send(request));
    const auto response = client.Receive();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->status, 200);
    slowest =
        std::max<std::chrono::duration<double>>(slowest, std::chrono::steady_clock::now() - start);
  }
  EXPECT_LT(slowest.count(), 1.0);
  EXPECT_TRUE(kSanitized || Resident() < before + (64U << 20U));

  // Nobody was turned away: the requests that are completed now are answered.
  for (auto& client : trickling) {
    ASSERT_TRUE(client->Send(std::string(request.size(), ' ')));
    EXPECT_TRUE(client->Receive());
  }
}

// Sends so many requests over one connection, and over a new one whenever the server ends it.
void Request(int port, int count) {
  auto client = std::make_unique<RawClient>(port);
  const std::string request = Enumeration();
  for (int i = 0; i < count; ++i) {
    if (i % 100 == 99) client = std::make_unique<RawClient>(port);
    ASSERT_TRUE(client->Send(request));
    const auto response = client->Receive();
    ASSERT_TRUE(response && response->status == 200) << i;
  }
}

TEST_F(LoadTest, TenThousandRequestsTakeNoMemory) {
  // Every thread has memory of its own to warm up.
  server_->Stop();
  wbem::ServerOptions options;
  options.threads = 2;
  Start(options);
  Request(port_, 2'000);
  const std::size_t before = Resident();
  Request(port_, 10'000);
  // A sanitizer keeps what is freed.
  EXPECT_TRUE(kSanitized || Resident() < before + (1U << 20U));
}

TEST_F(LoadTest, SixtyFourThousandInstancesAreNeverHeldAtOnce) {
  constexpr int kInstances = 64'000;
  scripted::Behaviour behaviour;
  behaviour.instances = kInstances;
  scripted::Behave(behaviour);

  const std::size_t before = Resident();
  RawClient client(port_);
  ASSERT_TRUE(client.Send(Enumeration()));
  std::size_t elements = 0;
  std::size_t bytes = 0;
  const auto complete = client.ReceivePieces([&](const std::string& piece) {
    bytes += piece.size();
    for (std::size_t at = 0; (at = piece.find("<VALUE.NAMEDINSTANCE>", at)) != std::string::npos;
         ++at) {
      ++elements;
    }
  });
  EXPECT_TRUE(complete);
  EXPECT_EQ(elements, static_cast<std::size_t>(kInstances));
  EXPECT_GT(bytes, 20U << 20U);
  EXPECT_TRUE(kSanitized || Resident() < before + (8U << 20U));
}

}  // namespace
