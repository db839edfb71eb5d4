#include "wbem/request_log.h"

#include <gtest/gtest.h>

#include <string>

namespace wbem {
namespace {

TEST(RequestLog, ALineHasAllOfIt) {
  EXPECT_EQ(LogLine({"127.0.0.1:40712", "GetInstance", "Ostrel_PCIPort", 200, 6, 1, 2184,
                     std::chrono::microseconds(3140)}),
            "client=127.0.0.1:40712 operation=GetInstance class=Ostrel_PCIPort status=200 error=6 "
            "elements=1 bytes=2184 ms=3.1");
}

TEST(RequestLog, ClientsCannotWriteLinesOfTheirOwn) {
  RequestRecord record;
  record.client = "c";
  record.operation = "x\nclient=y \x1b[2J\xc3\xa4";
  record.class_name = std::string(100, 'A');
  EXPECT_EQ(LogLine(record), "client=c operation=x?client?y???2J?? class=" + std::string(64, 'A') +
                                 " status=0 error=0 elements=0 bytes=0 ms=0.0");
}

TEST(RequestLog, WhatWasNotReadIsADash) {
  EXPECT_EQ(LogLine({}).find("client= operation=- class=- status=0"), 0U);
}

}  // namespace
}  // namespace wbem
