// The server and its limits, with real sockets.

#include "HttpServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>

namespace {

using loudgate::EventLoop;
using loudgate::HttpAnswer;
using loudgate::HttpCounts;
using loudgate::HttpRequest;
using loudgate::HttpServer;
using loudgate::HttpSettings;
using loudgate::Routes;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::StartsWith;

using Clock = std::chrono::steady_clock;

// Only failures take this long.
constexpr milliseconds kPatience{20000};

constexpr char kRequest[] = "GET /hello HTTP/1.1\r\nHost: localhost\r\n\r\n";
constexpr char kFileRequest[] = "GET /file HTTP/1.1\r\nHost: localhost\r\n\r\n";
constexpr std::size_t kFileSize = std::size_t{8} << 20;
constexpr char kStreamRequest[] = "GET /stream HTTP/1.1\r\nHost: localhost\r\n\r\n";

// A connection to the server.
class Client {
 public:
  explicit Client(const loudgate::ListenAddress& address, int receiveBuffer = 0)
      : mSocket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (receiveBuffer > 0)
      setsockopt(mSocket, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    EXPECT_EQ(0, connect(mSocket, reinterpret_cast<const sockaddr*>(&address.address),
                         sizeof(sockaddr_in)))
        << std::strerror(errno);
  }
  ~Client() { close(mSocket); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  void Send(const std::string& text) {
    EXPECT_EQ(static_cast<ssize_t>(text.size()),
              send(mSocket, text.data(), text.size(), MSG_NOSIGNAL));
  }

  // Returns what arrives until it contains `end`, the connection ends or the time is over.
  std::string ReadUntil(const std::string& end, milliseconds patience = kPatience) {
    const auto due = Clock::now() + patience;
    while (mText.find(end) == std::string::npos && Read(due)) {
    }
    return mText;
  }

  // Whether the server ends the connection. Keeps what arrives before.
  bool IsEnded(milliseconds patience = kPatience) {
    const auto due = Clock::now() + patience;
    while (Read(due)) {
    }
    return mIsEnded;
  }

 private:
  bool Read(Clock::time_point due) {
    const auto left = std::chrono::duration_cast<milliseconds>(due - Clock::now()).count();
    pollfd item = {mSocket, POLLIN, 0};
    if (left < 0 || poll(&item, 1, static_cast<int>(left)) != 1)
      return false;
    char buffer[4096];
    const ssize_t size = recv(mSocket, buffer, sizeof buffer, 0);
    mIsEnded = size <= 0;
    if (!mIsEnded)
      mText.append(buffer, static_cast<std::size_t>(size));
    return !mIsEnded;
  }

  int mSocket;
  std::string mText;
  bool mIsEnded = false;
};

class HttpServerTest : public testing::Test {
 protected:
  HttpServerTest() {
    std::signal(SIGPIPE, SIG_IGN);
    zsys_handler_set(nullptr);
    mSettings.address = *loudgate::ReadListenAddress("127.0.0.1:0");
    mSettings.limits.connections = 6;
    mSettings.limits.connectionsPerAddress = 4;
    mSettings.limits.streams = 2;
    mSettings.limits.headerBytes = 4096;
    mSettings.limits.bodyBytes = 100;
    mSettings.limits.patience = std::chrono::seconds(1);
    mSettings.limits.streamPatience = std::chrono::seconds(1);
    mRoutes.Add("GET", "/hello", [](const HttpRequest& request) {
      return HttpAnswer::Plain(loudgate::kOk, "hello " + request.Query("name"));
    });
    mRoutes.Add("POST", "/echo",
                [](const HttpRequest& request) { return HttpAnswer::Json(request.body); });
    mRoutes.Add("GET", "/file", [](const HttpRequest&) { return FileAnswer(); });
    mRoutes.Add("GET", "/stream", [](const HttpRequest&) { return HttpAnswer::Stream("key"); });
  }

  ~HttpServerTest() override {
    mIsEnding = true;
    if (mThread.joinable())
      mThread.join();
  }

  // A file far larger than what the kernel buffers for a client that does not read.
  static HttpAnswer FileAnswer() {
    const int descriptor = memfd_create("file", MFD_CLOEXEC);
    EXPECT_EQ(0, ftruncate(descriptor, kFileSize));
    HttpAnswer answer;
    answer.file = std::make_shared<const loudgate::AnswerFile>(descriptor, kFileSize);
    return answer;
  }

  // Serves on a separate thread, and publishes `event` fifty times a second.
  void Start(const std::string& event = "event") {
    std::atomic<bool> isListening{false};
    mThread = std::thread([this, event, &isListening] {
      EventLoop loop;
      HttpServer server(loop, mSettings, mRoutes);
      const std::string& url = server.Url();
      mAddress = *loudgate::ReadListenAddress(url.substr(7, url.size() - 8));
      isListening = true;
      loop.Every(milliseconds(20), [&] {
        server.Publish("key", event);
        server.Tend(Clock::now());
        mCounts = server.Counts();
        mConnections = mCounts.connections;
        if (mIsEnding)
          loop.End();
      });
      loop.Run();
    });
    while (!isListening)
      std::this_thread::yield();
  }

  // Waits until the server has `count` connections.
  bool HasConnections(std::size_t count) const {
    const auto end = Clock::now() + kPatience;
    while (mConnections != count && Clock::now() < end)
      std::this_thread::sleep_for(milliseconds(1));
    return mConnections == count;
  }

  std::string Ask(const std::string& request, const std::string& end) {
    Client client(mAddress);
    client.Send(request);
    return client.ReadUntil(end);
  }

  HttpCounts EndAndCount() {
    mIsEnding = true;
    mThread.join();
    return mCounts;
  }

  HttpSettings mSettings;
  Routes mRoutes;
  loudgate::ListenAddress mAddress{};

 private:
  std::thread mThread;
  std::atomic<bool> mIsEnding{false};
  std::atomic<std::size_t> mConnections{0};
  HttpCounts mCounts;  // written by the server's thread while it runs
};

TEST_F(HttpServerTest, AnswersOneRequestAfterAnother) {
  Start();
  Client client(mAddress);
  client.Send("GET /hello?name=J%C3%B6rg HTTP/1.1\r\nHost: localhost\r\n\r\n");
  EXPECT_THAT(client.ReadUntil("hello J\xC3\xB6rg\n"), StartsWith("HTTP/1.1 200 "));
  client.Send("GET /hello?name=again HTTP/1.1\r\nHost: localhost\r\n\r\n");
  EXPECT_THAT(client.ReadUntil("hello again\n"), HasSubstr("hello again\n"));
}

TEST_F(HttpServerTest, EveryAnswerForbidsWhatAPageDoesNotNeed) {
  Start();
  for (const char* request : {kRequest, "GET /nothing HTTP/1.1\r\nHost: localhost\r\n\r\n",
                              "PUT /hello HTTP/1.1\r\nHost: localhost\r\n\r\n", kStreamRequest,
                              "GET /hello HTTP/1.1\r\nHost: evil.example\r\n\r\n"}) {
    const std::string answer = Ask(request, "\r\n\r\n");
    EXPECT_THAT(answer, HasSubstr("Content-Security-Policy: default-src 'none';")) << request;
    EXPECT_THAT(answer, HasSubstr("frame-ancestors 'none'")) << request;
    EXPECT_THAT(answer, HasSubstr("X-Content-Type-Options: nosniff\r\n")) << request;
    EXPECT_THAT(answer, HasSubstr("Cross-Origin-Resource-Policy: same-origin\r\n")) << request;
  }
}

// The library writes these refusals itself, without the headers that keep a browser from running
// their content. So they must not repeat anything of the request.
TEST_F(HttpServerTest, WhatCannotBeReadIsRefusedByAFixedText) {
  Start();
  const std::string script = "<script>evil()</script>";
  const std::string host = " HTTP/1.1\r\nHost: localhost\r\n";
  for (const std::string& request :
       {"GET /" + script + " HTTP/1.1\r\n\r\n",
        "GET /" + script + host + "Content-Length: " + script + "\r\n\r\n",
        "GET /" + script + host + "X: " + script + std::string(8000, 'x') + "\r\n\r\n",
        "GET /" + script + " HTTP/3.1\r\nHost: localhost\r\n\r\n"}) {
    const std::string answer = Ask(request, "</html>");
    EXPECT_THAT(answer, testing::EndsWith("</html>")) << request;
    EXPECT_THAT(answer, testing::Not(HasSubstr("evil"))) << request;
    EXPECT_THAT(answer, testing::Not(HasSubstr("<script"))) << request;
  }
}

TEST_F(HttpServerTest, ABodyIsTakenUpToItsLimit) {
  Start();
  const std::string head = "POST /echo HTTP/1.1\r\nHost: localhost\r\nContent-Length: ";
  EXPECT_THAT(Ask(head + "100\r\n\r\n" + std::string(100, 'x'), "xx\r\n"),
              HasSubstr(std::string(100, 'x')));
  // Refused before the body arrives.
  EXPECT_THAT(Ask(head + "101\r\n\r\n", "too large.\n"), StartsWith("HTTP/1.1 413 "));
}

TEST_F(HttpServerTest, ABodyOfUnknownSizeIsTakenUpToItsLimit) {
  Start();
  const std::string head =
      "POST /echo HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n";
  EXPECT_THAT(Ask(head + "2\r\nab\r\n1\r\nc\r\n0\r\n\r\n", "abc"), HasSubstr("abc"));
  EXPECT_THAT(Ask(head + "65\r\n" + std::string(101, 'x') + "\r\n0\r\n\r\n", "too large.\n"),
              StartsWith("HTTP/1.1 413 "));
}

TEST_F(HttpServerTest, AHeadThatIsTooLongIsRefused) {
  Start();
  const std::string answer =
      Ask("GET /hello HTTP/1.1\r\nHost: localhost\r\nX: " + std::string(8000, 'x') + "\r\n\r\n",
          "\r\n\r\n");
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 431 "));
}

TEST_F(HttpServerTest, AStreamHasEveryEventThatItsReaderTakes) {
  Start("some event");
  Client client(mAddress);
  client.Send(kStreamRequest);
  const std::string answer = client.ReadUntil("data: some event\n\n");
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 "));
  EXPECT_THAT(answer, HasSubstr("Content-Type: text/event-stream\r\n"));
  EXPECT_THAT(answer, HasSubstr("retry: 1000\n\n"));
  // The stream continues beyond the time limit of an answer.
  EXPECT_FALSE(client.IsEnded(milliseconds(2500)));
}

TEST_F(HttpServerTest, FurtherStreamsAreRefused) {
  Start();
  Client first(mAddress);
  Client second(mAddress);
  Client third(mAddress);
  for (Client* client : {&first, &second}) {
    client->Send(kStreamRequest);
    EXPECT_THAT(client->ReadUntil("data: "), HasSubstr("data: "));
  }
  third.Send(kStreamRequest);
  EXPECT_THAT(third.ReadUntil("\r\n\r\n"), StartsWith("HTTP/1.1 503 "));
}

TEST_F(HttpServerTest, AStreamThatEndsMakesRoomForAnother) {
  Start();
  for (int i = 0; i < 5; ++i) {
    EXPECT_THAT(Ask(kStreamRequest, "data: "), HasSubstr("data: ")) << i;
    EXPECT_TRUE(HasConnections(0));
  }
}

// The events fill the kernel's buffer for the reader.
TEST_F(HttpServerTest, AReaderThatDoesNotReadIsDropped) {
  Start(std::string(20000, 'x'));
  Client stuck(mAddress, 4096);
  stuck.Send(kStreamRequest);
  Client good(mAddress);
  good.Send(kStreamRequest);
  EXPECT_TRUE(HasConnections(2));
  EXPECT_FALSE(good.IsEnded(milliseconds(2500)));  // keeps reading
  EXPECT_TRUE(HasConnections(1));
  EXPECT_EQ(1u, EndAndCount().dropped);
}

// The client does not read for longer than an ordinary answer may take.
TEST_F(HttpServerTest, AFileMayTakeLongerThanAnAnswer) {
  mSettings.limits.filePatience = std::chrono::seconds(60);
  Start();
  Client slow(mAddress, 4096);
  slow.Send(kFileRequest);
  Client good(mAddress);
  good.Send(kStreamRequest);
  EXPECT_FALSE(good.IsEnded(milliseconds(2500)));
  EXPECT_TRUE(slow.IsEnded());  // dropped after the file, because it requests nothing more
  EXPECT_LT(kFileSize, slow.ReadUntil("").size());
  EXPECT_EQ(1u, EndAndCount().dropped);
}

TEST_F(HttpServerTest, AFileThatIsNotTakenIsDropped) {
  mSettings.limits.filePatience = std::chrono::seconds(2);
  Start();
  Client stuck(mAddress, 4096);
  stuck.Send(kFileRequest);
  EXPECT_TRUE(HasConnections(1));
  EXPECT_TRUE(HasConnections(0));
  EXPECT_EQ(1u, EndAndCount().dropped);
  EXPECT_TRUE(stuck.IsEnded());
  EXPECT_GT(kFileSize, stuck.ReadUntil("").size());
}

TEST_F(HttpServerTest, AConnectionWithoutARequestIsDropped) {
  Start();
  Client silent(mAddress);
  EXPECT_TRUE(silent.IsEnded());
  EXPECT_EQ(1u, EndAndCount().dropped);
}

TEST_F(HttpServerTest, ARequestThatComesByteByByteIsDropped) {
  Start();
  Client slow(mAddress);
  const auto start = Clock::now();
  bool isEnded = false;
  for (const char byte : std::string(kRequest)) {
    slow.Send(std::string(1, byte));
    if ((isEnded = slow.IsEnded(milliseconds(200))))
      break;
  }
  EXPECT_TRUE(isEnded);
  EXPECT_LE(milliseconds(1000), Clock::now() - start);
}

TEST_F(HttpServerTest, AnIdleConnectionIsKeptForAWhileOnly) {
  Start();
  Client client(mAddress);
  client.Send(kRequest);
  EXPECT_THAT(client.ReadUntil("hello \n"), StartsWith("HTTP/1.1 200 "));
  EXPECT_TRUE(client.IsEnded());
}

TEST_F(HttpServerTest, ConnectionsOfOneAddressAreBounded) {
  mSettings.limits.patience = std::chrono::seconds(60);
  Start();
  std::vector<std::unique_ptr<Client>> clients;
  for (int i = 0; i < 4; ++i)
    clients.push_back(std::make_unique<Client>(mAddress));
  EXPECT_TRUE(HasConnections(4));
  Client fifth(mAddress);
  EXPECT_TRUE(fifth.IsEnded());
  clients.pop_back();
  EXPECT_TRUE(HasConnections(3));
  EXPECT_THAT(Ask(kRequest, "hello \n"), StartsWith("HTTP/1.1 200 "));
}

TEST_F(HttpServerTest, ConnectionsInAllAreBounded) {
  mSettings.limits.connectionsPerAddress = 100;
  Start();
  std::vector<std::unique_ptr<Client>> clients;
  for (int i = 0; i < 20; ++i)
    clients.push_back(std::make_unique<Client>(mAddress));
  EXPECT_TRUE(HasConnections(6));
  // Waiting connections are served once the others have been dropped.
  Client waiting(mAddress);
  waiting.Send(kRequest);
  EXPECT_THAT(waiting.ReadUntil("hello \n"), StartsWith("HTTP/1.1 200 "));
}

TEST_F(HttpServerTest, WhatIsNotHttpEndsTheConnectionOnly) {
  Start();
  for (const std::string& garbage :
       {std::string("\r\n\r\n\r\n"), std::string(3000, '\0'), std::string("GET\r\n\r\n"),
        std::string("GET /hello HTTP/9.9\r\n\r\n"), std::string("GET /%00%ff HTTP/1.1\r\n\r\n"),
        std::string("POST /echo HTTP/1.1\r\nHost: localhost\r\nContent-Length: -1\r\n\r\n")}) {
    Client client(mAddress);
    client.Send(garbage);
    EXPECT_TRUE(client.IsEnded());
  }
  EXPECT_THAT(Ask(kRequest, "hello \n"), StartsWith("HTTP/1.1 200 "));
}

TEST_F(HttpServerTest, APortThatIsTakenIsAnErrorThatSaysSo) {
  Start();
  HttpSettings settings = mSettings;
  settings.address = mAddress;
  EventLoop loop;
  try {
    const HttpServer second(loop, settings, mRoutes);
    FAIL() << second.Url();
  } catch (const loudgate::HttpError& error) {
    EXPECT_EQ(mAddress.Text() + ": Address already in use", error.what());
  }
}

TEST_F(HttpServerTest, ACertificateThatIsNoneIsAnError) {
  mSettings.certificate = "not a certificate";
  mSettings.key = "not a key";
  EventLoop loop;
  EXPECT_THROW(HttpServer(loop, mSettings, mRoutes), loudgate::HttpError);
}

TEST_F(HttpServerTest, EndsWithStreamsOpen) {
  Start();
  Client client(mAddress);
  client.Send(kStreamRequest);
  EXPECT_THAT(client.ReadUntil("data: "), HasSubstr("data: "));
  EXPECT_EQ(1u, EndAndCount().streams);
  EXPECT_TRUE(client.IsEnded());
}

}  // namespace
