#include "wbem/exchange.h"

#include <gtest/gtest.h>

#include <semaphore>
#include <string>
#include <thread>

namespace wbem {
namespace {

struct Notified {
  int count = 0;
  Exchange exchange{{}, [this] { ++count; }};
};

TEST(Exchange, AShortResponseIsOnePiece) {
  Notified notified;
  Exchange& exchange = notified.exchange;
  exchange.Begin({200, {}, {}});
  exchange.Write("all of it");
  EXPECT_EQ(notified.count, 0);
  exchange.Finish();
  EXPECT_EQ(notified.count, 1);
  EXPECT_EQ(exchange.piece().bytes, "all of it");
  EXPECT_EQ(exchange.piece().end, Exchange::End::kComplete);
}

TEST(Exchange, TheNextPieceWaitsForTheLastOne) {
  std::counting_semaphore<> handed_over(0);
  Exchange exchange({}, [&] { handed_over.release(); });
  std::thread worker([&] {
    exchange.Begin({200, {}, "first"});
    exchange.Write("second");
    exchange.Write("third");
    exchange.Finish();
  });
  for (const char* expected : {"first", "second", "third"}) {
    handed_over.acquire();
    EXPECT_EQ(exchange.piece().bytes, expected);
    EXPECT_FALSE(handed_over.try_acquire());
    exchange.Written();
  }
  worker.join();
}

TEST(Exchange, NothingIsWrittenOnceTheClientIsGone) {
  Exchange exchange({}, [] {});
  exchange.Begin({200, {}, "first"});
  exchange.Break();
  EXPECT_THROW(exchange.Write("second"), StreamBroken);
  exchange.Fail("the client is gone");
}

TEST(Exchange, AFailureBecomesAResponseWhereNothingWasHandedOver) {
  Exchange exchange({}, [] {});
  exchange.Begin({200, {}, {}});
  exchange.Write("held back");
  exchange.Fail("no memory");
  EXPECT_EQ(exchange.response().status, 500);
  EXPECT_EQ(exchange.piece().bytes, "no memory\n");
}

TEST(Exchange, AFailureCutsOffWhatWasHandedOver) {
  Exchange exchange({}, [] {});
  exchange.Begin({200, {}, "first"});
  exchange.Write("second");
  exchange.Written();
  exchange.Fail("no memory");
  EXPECT_EQ(exchange.response().status, 200);
  EXPECT_EQ(exchange.piece().end, Exchange::End::kCutOff);
}

}  // namespace
}  // namespace wbem
