#include "wbem/server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <ctime>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/sanitizers.h"
#include "wbem/answers.h"
#include "wbem/cim_xml_request.h"
#include "wbem/messages.h"
#include "wbem/raw_client.h"
#include "wbem/scripted_provider.h"

namespace {

using std::string_literals::operator""s;

using messages::Class;
using messages::Head;
using messages::Post;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::SizeIs;

const std::string kEnumerate = "EnumerateInstances";

std::string Enumeration() { return Post(kEnumerate, Class(scripted::kClass)); }

class ServerTest : public testing::Test {
 protected:
  ServerTest() { Start({}); }
  void TearDown() override {
    server_->Stop();
    scripted::Behave({});
    EXPECT_TRUE((*manager_->Borrow()).ProviderErrors().empty());
  }

  // A server that runs already makes way for the new one.
  void Start(wbem::ServerOptions options) {
    options.port = 0;
    server_ = std::make_unique<wbem::Server>(*manager_, options);
    port_ = server_->Start();
  }

  // The answer to what a client sends, all else being as usual.
  std::optional<RawResponse> Ask(const std::string& request) const {
    RawClient client(port_);
    EXPECT_TRUE(client.Send(request));
    return client.Receive();
  }

  // "400 header-mismatch"; the connection must end.
  std::string Refusal(const std::string& request) const {
    RawClient client(port_);
    client.Send(request);
    const auto response = client.Receive();
    if (!response) return "nothing";
    EXPECT_TRUE(client.IsEnded());
    const auto cim_error = response->headers.find("cimerror");
    return std::to_string(response->status) +
           (cim_error != response->headers.end() ? " " + cim_error->second : "");
  }

  void ExpectThree(const std::optional<RawResponse>& response) const {
    ASSERT_TRUE(response);
    EXPECT_EQ(response->status, 200);
    const CimAnswer answer(response->body, kEnumerate);
    EXPECT_THAT(answer.elements(), SizeIs(3));
  }

  std::unique_ptr<wbem::CurrentManager> manager_ = scripted::Current();
  std::unique_ptr<wbem::Server> server_;
  int port_ = 0;
};

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

// ---------------------------------------------------------------------------------------------
// Proper requests

TEST_F(ServerTest, AnswersARequest) {
  const auto response = Ask(Enumeration());
  ExpectThree(response);
  EXPECT_EQ(response->headers.at("content-type"), "application/xml; charset=\"utf-8\"");
  EXPECT_EQ(response->headers.at("cimoperation"), "MethodResponse");
}

TEST_F(ServerTest, OneConnectionCarriesManyRequests) {
  RawClient client(port_);
  for (int i = 0; i < 20; ++i) {
    ASSERT_TRUE(client.Send(Enumeration()));
    ExpectThree(client.Receive());
  }
}

TEST_F(ServerTest, RequestsMayBeSentAheadOfTheirAnswers) {
  RawClient client(port_);
  ASSERT_TRUE(client.Send(Enumeration() + Enumeration() + Enumeration()));
  for (int i = 0; i < 3; ++i) ExpectThree(client.Receive());
}

TEST_F(ServerTest, ARequestMayComeByteByByte) {
  RawClient client(port_);
  for (const char c : Enumeration()) ASSERT_TRUE(client.Send(std::string(1, c)));
  ExpectThree(client.Receive());
}

TEST_F(ServerTest, ARequestMayComeInChunks) {
  const std::string body = messages::Call(kEnumerate, Class(scripted::kClass));
  std::string request =
      Replaced(Head(kEnumerate, 0), "Content-Length: 0", "Transfer-Encoding: chunked") + "\r\n";
  for (std::size_t i = 0; i < body.size(); i += 10) {
    const std::string piece = body.substr(i, 10);
    request += (piece.size() == 10 ? "a" : std::to_string(piece.size())) + "\r\n" + piece + "\r\n";
  }
  ExpectThree(Ask(request + "0\r\n\r\n"));
}

TEST_F(ServerTest, AnOldClientGetsAPlainAnswer) {
  RawClient client(port_);
  ASSERT_TRUE(client.Send(Replaced(Enumeration(), "HTTP/1.1", "HTTP/1.0")));
  const auto response = client.Receive();
  ExpectThree(response);
  EXPECT_EQ(response->headers.count("transfer-encoding"), 0U);
}

TEST_F(ServerTest, AClientMayAskWhetherToGoOn) {
  RawClient client(port_);
  const std::string body = messages::Call(kEnumerate, Class(scripted::kClass));
  ASSERT_TRUE(client.Send(Head(kEnumerate, body.size(), "Expect: 100-continue\r\n") + "\r\n"));
  const auto interim = client.Receive();
  ASSERT_TRUE(interim);
  EXPECT_EQ(interim->status, 100);
  ASSERT_TRUE(client.Send(body));
  ExpectThree(client.Receive());
}

TEST_F(ServerTest, CimErrorsAreProperAnswers) {
  const auto response = Ask(Post(kEnumerate, Class("No_Such")));
  ASSERT_TRUE(response);
  EXPECT_EQ(response->status, 200);
  EXPECT_EQ(CimAnswer(response->body, kEnumerate).error(), 5);
}

TEST_F(ServerTest, PathsNameTheHostAsTheClientDoes) {
  const std::string body = messages::Call(
      "AssociatorNames",
      messages::Parameter("ObjectName",
                          messages::InstanceName(scripted::kClass, {{"InstanceID", "x"}})));
  EXPECT_TRUE(Ask(Head("AssociatorNames", body.size()) + "\r\n" + body));
}

TEST_F(ServerTest, ThisHostHasSomeNames) {
  std::array<char, 256> own{};
  ASSERT_EQ(gethostname(own.data(), own.size() - 1), 0);
  const std::string port = ":" + std::to_string(port_);
  for (const std::string& host :
       {"localhost"s, "LocalHost" + port, "127.0.0.1"s, "127.1.2.3" + port, "[::1]"s,
        "[::1]" + port, std::string(own.data()), own.data() + port}) {
    ExpectThree(Ask(Replaced(Enumeration(), "localhost", host)));
  }
  // Only what is older than the header may come without it.
  ExpectThree(
      Ask(Replaced(Replaced(Enumeration(), "Host: localhost\r\n", ""), "HTTP/1.1", "HTTP/1.0")));
}

TEST_F(ServerTest, OtherHostsAreRefused) {
  for (const char* host :
       {"evil.example", "localhost.evil.example", "127.0.0.1.evil.example", "128.0.0.1", "0.0.0.0",
        "[::2]", "[::]", "[::1", "::1", "localhost:", "localhost:x", "localhost:80:80", "<script>",
        "", "[::1]evil", "127.1", "2130706433"}) {
    EXPECT_EQ(Refusal(Replaced(Enumeration(), "localhost", host)), "403") << host;
  }
  EXPECT_EQ(Refusal(Replaced(Enumeration(), "Host: localhost\r\n", "")), "400");
  EXPECT_EQ(Refusal(Post(kEnumerate, "", "Host: localhost\r\n")), "400");
  EXPECT_EQ(Refusal("OPTIONS * HTTP/1.1\r\nHost: evil.example\r\n\r\n"), "403");
}

TEST_F(ServerTest, PagesOfBrowsersAreRefused) {
  for (const char* origin : {"http://evil.example", "null", "http://localhost", ""}) {
    EXPECT_EQ(Refusal(Post(kEnumerate, "", std::string("Origin: ") + origin + "\r\n")), "403")
        << origin;
  }
  for (const char* site : {"cross-site", "same-site", "same-origin"}) {
    EXPECT_EQ(Refusal(Post(kEnumerate, "", std::string("Sec-Fetch-Site: ") + site + "\r\n")), "403")
        << site;
  }
  EXPECT_EQ(Refusal("OPTIONS * HTTP/1.1\r\nHost: localhost\r\nOrigin: null\r\n\r\n"), "403");
  ExpectThree(Ask(Post(kEnumerate, Class(scripted::kClass), "Sec-Fetch-Site: none\r\n")));
}

TEST_F(ServerTest, AMandatoryRequestIsAcknowledged) {
  const std::string plain = Enumeration();
  std::string request = Replaced(plain, "POST", "M-POST");
  request =
      Replaced(request, "Host:", "Man: http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=73\r\nHost:");
  for (const char* header : {"CIMOperation", "CIMMethod", "CIMObject"}) {
    request = Replaced(request, header, std::string("73-") + header);
  }
  const auto response = Ask(request);
  ExpectThree(response);
  EXPECT_EQ(response->headers.at("73-cimoperation"), "MethodResponse");
  EXPECT_EQ(response->headers.count("ext"), 1U);
  EXPECT_EQ(Refusal(Replaced(plain, "POST", "M-POST")), "510");

  RawClient client(port_);
  client.Send(Replaced(request, "73-CIMMethod: Enum", "73-CIMMethod: Xnum"));
  const auto refusal = client.Receive();
  ASSERT_TRUE(refusal);
  EXPECT_EQ(refusal->headers.at("73-cimerror"), "header-mismatch");
}

TEST_F(ServerTest, AMandatoryRequestCannotSayWhichPrefixItHas) {
  std::string request = Replaced(Enumeration(), "POST", "M-POST");
  request = Replaced(request, "Host:",
                     "Man: http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=73\r\n"
                     "73-Ostrel-Extension-Prefix: abc-\r\nHost:");
  for (const char* header : {"CIMOperation", "CIMMethod", "CIMObject"}) {
    request = Replaced(request, header, std::string("73-") + header);
  }
  const auto response = Ask(request);
  ExpectThree(response);
  EXPECT_EQ(response->headers.count("73-cimoperation"), 1U);
  EXPECT_EQ(response->headers.count("abc-cimoperation"), 0U);
}

TEST_F(ServerTest, OptionsTellWhatIsServed) {
  const auto response = Ask("OPTIONS * HTTP/1.1\r\nHost: localhost\r\n\r\n");
  ASSERT_TRUE(response);
  EXPECT_EQ(response->status, 200);
  EXPECT_THAT(response->headers.at("opt"), HasSubstr("dmtf.org/cim"));
  EXPECT_THAT(response->headers.at("73-cimsupportedfunctionalgroups"), HasSubstr("basic-read"));
}

// ---------------------------------------------------------------------------------------------
// Improper ones

TEST_F(ServerTest, HeadersOfOtherKindsAreRefused) {
  const std::string request = Enumeration();
  EXPECT_EQ(Refusal(Replaced(request, "CIMOperation: MethodCall\r\n", "")), "400");
  EXPECT_EQ(Refusal(Replaced(request, "MethodCall", "MethodResponse")),
            "400 unsupported-operation");
  EXPECT_EQ(Refusal(Post(kEnumerate, "", "CIMProtocolVersion: 2.0\r\n")),
            "501 unsupported-protocol-version");
  EXPECT_EQ(Refusal(Post(kEnumerate, "", "Content-Encoding: gzip\r\n")), "415");
}

TEST_F(ServerTest, HeadersThatDoNotAgreeWithTheBodyAreRefused) {
  const std::string request = Enumeration();
  EXPECT_EQ(Refusal(Replaced(request, "CIMMethod: Enum", "CIMMethod: Xnum")),
            "400 header-mismatch");
  EXPECT_EQ(Refusal(Replaced(request, "CIMMethod: EnumerateInstances\r\n", "")),
            "400 header-mismatch");
  EXPECT_EQ(Refusal(Replaced(request, "root%2Fcimv2", "root%2Fother")), "400 header-mismatch");
  EXPECT_EQ(Refusal(Replaced(request, "root%2Fcimv2", "root%2")), "400 header-mismatch");
  ExpectThree(Ask(Replaced(request, "root%2Fcimv2", "ROOT/cimv2")));
}

TEST_F(ServerTest, OtherContentIsRefused) {
  const std::string request = Enumeration();
  const std::string type = "application/xml; charset=\"utf-8\"";
  for (const char* other :
       {"text/plain", "application/x-www-form-urlencoded", "multipart/form-data; boundary=x",
        "application/xml; charset=utf-16", "text/xml; charset=\"iso-8859-1\"", ";;=", ""}) {
    EXPECT_EQ(Refusal(Replaced(request, type, other)), "415") << other;
  }
  for (const char* same : {"text/xml", "Application/XML;Charset=UTF-8", "text/xml;charset='utf-8'",
                           "text/xml; a=b; charset=utf-8"}) {
    if (std::string(same).find('\'') != std::string::npos) continue;
    ExpectThree(Ask(Replaced(request, type, same)));
  }
}

TEST_F(ServerTest, OtherHttpMethodsAreRefused) {
  EXPECT_EQ(Refusal("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n"), "405");
  EXPECT_EQ(Refusal("GET /../../etc/passwd HTTP/1.1\r\nHost: localhost\r\n\r\n"), "405");
  EXPECT_EQ(Refusal("PUT / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1\r\n\r\nx"), "405");
  EXPECT_EQ(Refusal("DELETE / HTTP/1.1\r\nHost: localhost\r\n\r\n"), "405");
  EXPECT_EQ(Refusal("BREW / HTTP/1.1\r\nHost: localhost\r\n\r\n"), "405");
}

TEST_F(ServerTest, BodiesThatAreNoMessagesAreRefused) {
  const auto with_body = [&](const std::string& body) {
    return Refusal(Head(kEnumerate, body.size()) + "\r\n" + body);
  };
  EXPECT_EQ(with_body("garbage"), "400 request-not-well-formed");
  EXPECT_EQ(with_body(""), "400 request-not-well-formed");
  EXPECT_EQ(with_body("<html/>"), "400 request-not-valid");
  EXPECT_EQ(with_body("\xff\xfe<\0C\0"s), "400 request-not-well-formed");
  EXPECT_EQ(with_body(Replaced(messages::Call(kEnumerate, ""), "CIMVERSION=\"2", "CIMVERSION=\"9")),
            "501 unsupported-cim-version");
}

TEST_F(ServerTest, GarbageIsRefused) {
  EXPECT_EQ(Refusal("\x16\x03\x01\x02garbage\r\n\r\n"), "400");
  EXPECT_EQ(Refusal(std::string(5000, '\0') + "\n"), "400");
  EXPECT_EQ(Refusal("POST\r\n\r\n"), "400");
  EXPECT_EQ(Refusal("POST /cimom HTTP/9.9\r\n\r\n"), "400");
  ExpectThree(Ask(Enumeration()));
}

TEST_F(ServerTest, TooLargeABodyIsRefused) {
  const std::string head = Head(kEnumerate, wbem::kMaxRequestBytes + 1) + "\r\n";
  EXPECT_EQ(Refusal(head + std::string(wbem::kMaxRequestBytes + 1, ' ')), "413");
  EXPECT_EQ(Refusal(head), "413");  // before any of it comes
}

TEST_F(ServerTest, TooLargeABodyInChunksIsRefused) {
  std::string request =
      Replaced(Head(kEnumerate, 0), "Content-Length: 0", "Transfer-Encoding: chunked") + "\r\n";
  const std::string chunk = "100000\r\n" + std::string(0x100000, ' ') + "\r\n";
  for (int i = 0; i < 10; ++i) request += chunk;
  EXPECT_EQ(Refusal(request + "0\r\n\r\n"), "413");
}

TEST_F(ServerTest, WhatDoesNotSayWhereItEndsIsRefused) {
  const auto framed = [&](const std::string& lines) {
    const std::string request = Replaced(Enumeration(), "CIMOperation", lines + "\r\nCIMOperation");
    return Refusal(request + Enumeration());  // the connection ends after one answer
  };
  EXPECT_EQ(Refusal(Replaced(Enumeration(), "Content-Length: ", "Content-Length: -")), "400");
  EXPECT_EQ(Refusal(Replaced(Enumeration(), "Content-Length: ", "Content-Length: 0x")), "400");
  EXPECT_EQ(framed("Content-Length: 1"), "400");
  EXPECT_EQ(framed("Transfer-Encoding: chunked"), "400");
  EXPECT_EQ(framed("Transfer-Encoding: gzip"), "501");
  EXPECT_EQ(framed("Transfer-Encoding:"), "501");
  for (const char* coding : {"gzip", "gzip, chunked", "chunked, gzip", "identity"}) {
    EXPECT_EQ(Refusal(Replaced(Head(kEnumerate, 0), "Content-Length: 0",
                               std::string("Transfer-Encoding: ") + coding) +
                      "\r\n" + Enumeration()),
              "501")
        << coding;
  }
}

TEST_F(ServerTest, OtherExpectationsAreRefused) {
  EXPECT_EQ(Refusal(Post(kEnumerate, "", "Expect: the worst\r\n")), "417");
}

TEST_F(ServerTest, RefusalsHaveTheSameHeaders) {
  const std::string request = Enumeration();
  for (const std::string& refused :
       {std::string("no HTTP\r\n\r\n"), Replaced(request, "POST", "PUT"),
        Replaced(request, "MethodCall", "Other"), Replaced(request, "<CIM ", "<CIM<"),
        Replaced(request, "Content-Length: ", "Content-Length: 999999999"),
        Post(kEnumerate, "", "Origin: x\r\n")}) {
    const auto response = Ask(refused);
    ASSERT_TRUE(response);
    EXPECT_GE(response->status, 400);
    EXPECT_EQ(response->headers.at("content-type"), "text/plain; charset=utf-8");
    EXPECT_EQ(response->headers.at("content-length"), std::to_string(response->body.size()));
    EXPECT_EQ(response->headers.at("connection"), "close");
    EXPECT_EQ(response->headers.at("cache-control"), "no-cache");
    EXPECT_GT(response->body.size(), 10U);
    EXPECT_EQ(response->body.back(), '\n');
  }
}

TEST_F(ServerTest, LongRequestsShareTheRoomThatShortOnesDoNotNeed) {
  wbem::ServerOptions options;
  options.limits.all_body_bytes = 100;
  Start(options);
  EXPECT_EQ(Refusal(Head(kEnumerate, 70'000) + "\r\n" + std::string(70'000, ' ')), "503");
  ExpectThree(Ask(Enumeration()));
}

TEST_F(ServerTest, EndlessHeadersAreCutOff) {
  RawClient client(port_);
  const std::string line = "X-Filler: " + std::string(1000, 'x') + "\r\n";
  client.Send("POST /cimom HTTP/1.1\r\n");
  for (int i = 0; i < 200; ++i) {
    if (!client.Send(line)) break;
  }
  const auto response = client.Receive();
  ASSERT_TRUE(response);
  EXPECT_EQ(response->status, 431);
  ExpectThree(Ask(Enumeration()));
}

TEST_F(ServerTest, AnEndlessRequestLineIsCutOff) {
  RawClient client(port_);
  client.Send("POST /" + std::string(300'000, 'x'));
  const auto response = client.Receive();
  ASSERT_TRUE(response);
  EXPECT_EQ(response->status, 431);
  ExpectThree(Ask(Enumeration()));
}

// ---------------------------------------------------------------------------------------------
// Clients that do not do their part

TEST_F(ServerTest, HalfARequestIsNoRequest) {
  const std::string request = Enumeration();
  for (std::size_t size = 0; size < request.size(); size += 7) {
    RawClient client(port_);
    ASSERT_TRUE(client.Send(request.substr(0, size)));
    client.EndSending();
    const auto response = client.Receive();
    EXPECT_TRUE(!response || response->status == 400) << size;
  }
  ExpectThree(Ask(request));
}

TEST_F(ServerTest, ClientsThatVanishAreForgotten) {
  const std::string request = Enumeration();
  for (std::size_t size = 0; size <= request.size(); size += 50) {
    RawClient client(port_);
    client.Send(request.substr(0, size));
    client.Reset();
  }
  ExpectThree(Ask(request));
}

class ImpatientServerTest : public ServerTest {
 protected:
  ImpatientServerTest() {
    wbem::ServerOptions options;
    options.threads = 2;
    options.limits.idle = milliseconds(150);
    options.limits.head = milliseconds(100);
    options.limits.request = milliseconds(150);
    options.limits.piece = milliseconds(150);
    Start(options);
  }
};

TEST_F(ImpatientServerTest, AnIdleConnectionEnds) {
  RawClient client(port_);
  EXPECT_TRUE(client.IsEnded());
}

TEST_F(ImpatientServerTest, ARequestThatDoesNotGoOnEnds) {
  for (const std::string& part :
       {std::string("P"), Head(kEnumerate, 1000), Head(kEnumerate, 1000) + "\r\n<CIM"}) {
    RawClient client(port_);
    ASSERT_TRUE(client.Send(part));
    const auto response = client.Receive();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->status, 408);
    EXPECT_TRUE(client.IsEnded());
  }
}

TEST_F(ImpatientServerTest, ARequestThatTricklesEnds) {
  RawClient client(port_);
  const std::string head = "POST /cimom HTTP/1.1\r\n";
  std::string line = "X: y\r\n";
  client.Send(head);
  // Goes on until the server has had enough; the clock is the server's.
  int sent = 0;
  while (client.Send(line) && ++sent < 9'000) {
    std::this_thread::yield();
  }
  const auto response = client.Receive();
  ASSERT_TRUE(response);
  EXPECT_EQ(response->status, 408);
}

TEST_F(ImpatientServerTest, ABodyThatTricklesEnds) {
  RawClient client(port_);
  client.Send(Head(kEnumerate, wbem::kMaxRequestBytes) + "\r\n");
  int sent = 0;
  while (client.Send(" ") && ++sent < 1'000'000) {
  }
  const auto response = client.Receive();
  ASSERT_TRUE(response);
  EXPECT_EQ(response->status, 408);
}

TEST_F(ImpatientServerTest, AnAnswerThatNobodyReadsEnds) {
  scripted::Behaviour behaviour;
  behaviour.instances = 1'000'000;
  scripted::Behave(behaviour);
  RawClient client(port_);
  ASSERT_TRUE(client.Send(Enumeration()));
  // Not read: what the kernel holds for it is soon full. Both threads come free again.
  RawClient second(port_);
  ASSERT_TRUE(second.Send(Enumeration()));
  RawClient third(port_);
  ASSERT_TRUE(third.Send(Post(kEnumerate, Class("No_Such"))));
  const auto response = third.Receive();
  ASSERT_TRUE(response);
  EXPECT_EQ(response->status, 200);
}

TEST_F(ServerTest, SilentConnectionsTakeNoThread) {
  wbem::ServerOptions options;
  options.threads = 1;
  options.limits.idle = seconds(300);
  options.limits.head = seconds(300);
  options.limits.request = seconds(300);
  Start(options);
  std::vector<std::unique_ptr<RawClient>> clients;
  for (const std::string& part : {std::string(), std::string("P"), Head(kEnumerate, 1000),
                                  Head(kEnumerate, 1000) + "\r\n<CIM", Enumeration()}) {
    clients.push_back(std::make_unique<RawClient>(port_));
    ASSERT_TRUE(clients.back()->Send(part));
    ExpectThree(Ask(Enumeration()));
  }
}

TEST_F(ServerTest, OneConnectionTooManyWaits) {
  wbem::ServerOptions options;
  options.max_connections = 2;
  options.limits.idle = seconds(300);
  Start(options);
  RawClient first(port_);
  auto second = std::make_unique<RawClient>(port_);
  RawClient third(port_);
  ASSERT_TRUE(third.Send(Enumeration()));
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(first.Send(Enumeration()));
    ExpectThree(first.Receive());
    EXPECT_FALSE(third.HasInput());
  }
  second.reset();
  ExpectThree(third.Receive());
}

// Descriptors are all taken, while it lives.
class NoMoreDescriptors {
 public:
  NoMoreDescriptors() {
    getrlimit(RLIMIT_NOFILE, &before_);
    const int next = dup(STDIN_FILENO);
    close(next);
    const rlimit none{static_cast<rlim_t>(next), before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  }
  ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
  NoMoreDescriptors(const NoMoreDescriptors&) = delete;
  NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

 private:
  rlimit before_{};
};

TEST_F(ServerTest, AcceptingGoesOnOnceThereAreDescriptors) {
  if (kSanitized) GTEST_SKIP() << "the sanitizer looks at a new thread's memory through a pipe";
  const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<in_port_t>(port_));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const std::string request = Enumeration();
  pollfd answer{client, POLLIN, 0};
  std::clock_t busy = 0;
  {
    const NoMoreDescriptors none;
    ASSERT_EQ(connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(send(client, request.data(), request.size(), 0),
              static_cast<ssize_t>(request.size()));
    const std::clock_t before = std::clock();
    EXPECT_EQ(poll(&answer, 1, 100), 0);  // the kernel has it, the server does not
    busy = std::clock() - before;
  }
  EXPECT_LT(busy, CLOCKS_PER_SEC / 20) << "nothing to do, and much done";
  EXPECT_EQ(poll(&answer, 1, 10'000), 1);
  EXPECT_TRUE(server_->is_running());
  close(client);
}

// ---------------------------------------------------------------------------------------------
// Answers that cannot be completed

TEST_F(ServerTest, AFailureAfterAPartWasSentCutsTheAnswerOff) {
  scripted::Behaviour behaviour;
  behaviour.instances = 5000;
  behaviour.status = CMPI_RC_ERR_FAILED;
  scripted::Behave(behaviour);
  RawClient client(port_);
  ASSERT_TRUE(client.Send(Enumeration()));
  EXPECT_FALSE(client.Receive());
}

TEST_F(ServerTest, AFailureBeforeIsAnError) {
  scripted::Behaviour behaviour;
  behaviour.status = CMPI_RC_ERR_FAILED;
  scripted::Behave(behaviour);
  const auto response = Ask(Enumeration());
  ASSERT_TRUE(response);
  EXPECT_EQ(CimAnswer(response->body, kEnumerate).error(), 1);
}

// ---------------------------------------------------------------------------------------------
// The log

TEST_F(ServerTest, TheLogHasALineForEachRequest) {
  std::mutex mutex;
  std::vector<std::string> lines;
  server_->Stop();
  wbem::ServerOptions options;
  options.log = [&](const std::string& line) {
    const std::lock_guard lock(mutex);
    lines.push_back(line);
  };
  Start(options);
  const auto answer = Ask(Enumeration());
  Ask(Post(kEnumerate, Class("No_Such")));
  Ask(Replaced(Enumeration(), "CIMMethod: Enum", "CIMMethod: Xnum"));
  Ask(Replaced(Enumeration(), "localhost", "evil.example"));
  Ask("no HTTP\r\n\r\n");
  scripted::Behaviour behaviour;
  behaviour.instances = 5000;
  behaviour.status = CMPI_RC_ERR_FAILED;
  scripted::Behave(behaviour);
  Ask(Enumeration());
  server_->Stop();  // the lines may come after the answers
  ASSERT_TRUE(answer);
  const std::string client = "client=127\\.0\\.0\\.1:[0-9]+ ";
  const std::string call = client + "operation=EnumerateInstances class=";
  const std::string end = " bytes=[1-9][0-9]* ms=[0-9]+\\.[0-9]";
  EXPECT_THAT(
      lines,
      testing::UnorderedElementsAre(
          testing::MatchesRegex(call + "Ostrel_PCIPortGroup status=200 error=0 elements=3 bytes=" +
                                std::to_string(answer->body.size()) + " ms=[0-9]+\\.[0-9]"),
          testing::MatchesRegex(call + "No_Such status=200 error=5 elements=0" + end),
          testing::MatchesRegex(call + "Ostrel_PCIPortGroup status=400 error=0 elements=0" + end),
          testing::MatchesRegex(client + "operation=- class=- status=403 error=0 elements=0" + end),
          testing::MatchesRegex(client + "operation=- class=- status=400 error=0 elements=0" + end),
          testing::MatchesRegex(call + "Ostrel_PCIPortGroup status=0 error=0 elements=0" + end)));
}

// ---------------------------------------------------------------------------------------------
// Addresses, start and stop

TEST(ServerAddress, OnlyLoopbackIsServed) {
  const auto manager = scripted::Current();
  for (const char* address : {"0.0.0.0", "192.168.1.1", "::", "fe80::1", "example.com", "",
                              "128.0.0.1", "127.0.0", "*"}) {
    wbem::ServerOptions options;
    options.address = address;
    EXPECT_THROW(wbem::Server(*manager, options), std::invalid_argument) << address;
  }
  for (const char* address : {"127.0.0.1", "localhost", "127.0.0.2"}) {
    wbem::ServerOptions options;
    options.address = address;
    options.port = 0;
    wbem::Server server(*manager, options);
    EXPECT_GT(server.Start(), 0) << address;
    EXPECT_TRUE(server.is_running());
    server.Stop();
    EXPECT_FALSE(server.is_running());
  }
}

// Whether this machine has the address ::1; some containers have no IPv6.
bool HasIpv6Loopback() {
  const int probe = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (probe < 0) return false;
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_loopback;
  const bool bound = bind(probe, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  close(probe);
  return bound;
}

TEST(ServerAddress, TheLoopbackAddressOfIpv6IsServed) {
  if (!HasIpv6Loopback()) GTEST_SKIP() << "this machine has no ::1";
  const auto manager = scripted::Current();
  wbem::ServerOptions options;
  options.address = "::1";
  options.port = 0;
  wbem::Server server(*manager, options);
  const int port = server.Start();
  ASSERT_GT(port, 0);
  EXPECT_EQ(server.Url(), "http://[::1]:" + std::to_string(port));
  RawClient client(port, AF_INET6);
  ASSERT_TRUE(client.Send(Enumeration()));
  const auto response = client.Receive();
  ASSERT_TRUE(response);
  EXPECT_EQ(response->status, 200);
  const CimAnswer answer(response->body, kEnumerate);
  EXPECT_THAT(answer.elements(), SizeIs(3));
  server.Stop();
  EXPECT_FALSE(server.is_running());
}

TEST(ServerAddress, APortInUseIsAnError) {
  const auto manager = scripted::Current();
  wbem::ServerOptions options;
  options.port = 0;
  wbem::Server first(*manager, options);
  options.port = first.Start();
  wbem::Server second(*manager, options);
  EXPECT_THROW(second.Start(), std::runtime_error);
}

TEST(ServerAddress, UrlHasThePort) {
  const auto manager = scripted::Current();
  wbem::ServerOptions options;
  options.port = 0;
  wbem::Server server(*manager, options);
  const int port = server.Start();
  EXPECT_EQ(server.Url(), "http://127.0.0.1:" + std::to_string(port));
}

TEST_F(ServerTest, StopEndsIdleConnections) {
  RawClient client(port_);
  ASSERT_TRUE(client.Send(Enumeration()));
  ExpectThree(client.Receive());
  server_->Stop();
  EXPECT_TRUE(client.IsEnded());
  EXPECT_THROW(RawClient{port_}, std::exception);
}

TEST_F(ServerTest, StopLetsARunningRequestFinish) {
  std::thread stopper;
  scripted::Behaviour behaviour;
  behaviour.instances = 2000;
  behaviour.on_element = [&](int number) {
    if (number == 1000) stopper = std::thread([&] { server_->Stop(); });
  };
  scripted::Behave(behaviour);
  const auto response = Ask(Enumeration());
  stopper.join();
  ASSERT_TRUE(response);
  const CimAnswer answer(response->body, kEnumerate);
  EXPECT_THAT(answer.elements(), SizeIs(2000));
}

TEST_F(ServerTest, StopDoesNotWaitForEver) {
  server_->Stop();
  wbem::ServerOptions options;
  options.stop = milliseconds(50);
  Start(options);
  scripted::Behaviour behaviour;
  behaviour.instances = 100'000'000;
  scripted::Behave(behaviour);
  RawClient client(port_);
  ASSERT_TRUE(client.Send(Enumeration()));  // and not read
  server_->Stop();
  EXPECT_FALSE(server_->is_running());
}

}  // namespace
