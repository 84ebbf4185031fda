// Peers for messaging tests. Used on the thread of the test.

#include "MqTestKit.h"

#include <chrono>
#include <filesystem>

#include "MqNames.h"

namespace mqtest {
namespace {

constexpr std::size_t kLongestIpcPath = 107;
constexpr char kGreeting[] = "mqtest-greeting";
constexpr int kGreetingIntervalMs = 10;

bool WaitFor(zsock_t* socket, int milliseconds) {
  zmq_pollitem_t item{zsock_resolve(socket), 0, ZMQ_POLLIN, 0};
  return zmq_poll(&item, 1, milliseconds) > 0;
}

}  // namespace

void MakeIpcDirectory() {
  std::filesystem::create_directories(kIpcDirectory);
}

std::string IpcEndpoint(const std::string& fileName) {
  return std::string("ipc://") + kIpcDirectory + "/" + fileName;
}

std::string TooLongIpcName() {
  const std::size_t directoryAndSlash = sizeof kIpcDirectory;
  return std::string(kLongestIpcPath + 1 - directoryAndSlash, 'x');
}

Frames Receive(zsock_t* socket) {
  Frames frames;
  if (!WaitFor(socket, kDeadlineMs))
    return frames;
  do {
    zframe_t* frame = zframe_recv(socket);
    frames.emplace_back(reinterpret_cast<const char*>(zframe_data(frame)), zframe_size(frame));
    zframe_destroy(&frame);
  } while (zsock_rcvmore(socket) != 0);
  return frames;
}

bool HasMessage(zsock_t* socket) {
  return WaitFor(socket, 0);
}

bool AwaitMessage(zsock_t* socket) {
  return WaitFor(socket, kDeadlineMs);
}

void Send(zsock_t* socket, const Frames& frames) {
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const int flags = i + 1 < frames.size() ? ZMQ_SNDMORE : 0;
    zmq_send(zsock_resolve(socket), frames[i].data(), frames[i].size(), flags);
  }
}

Publisher::Publisher(const char* ipcName) : socket_(zsock_new(ZMQ_XPUB)) {
  const std::string endpoint = ipcName != nullptr ? IpcEndpoint(ipcName) : "tcp://127.0.0.1:*";
  const int port = zsock_bind(socket_, "%s", endpoint.c_str());
  EXPECT_NE(-1, port) << endpoint;
  port_ = static_cast<unsigned>(port);
}

Publisher::~Publisher() {
  zsock_destroy(&socket_);
}

std::string Publisher::NextChange() {
  const Frames frames = Receive(socket_);
  if (frames.empty() || frames[0].empty())
    return "nothing";
  return (frames[0][0] == '\1' ? "+" : "-") + frames[0].substr(1);
}

Subscriber::Subscriber(zsock_t* publisher, const std::string& endpoint)
    : socket_(zsock_new(ZMQ_SUB)) {
  zsock_set_subscribe(socket_, "");
  zsock_connect(socket_, "%s", endpoint.c_str());
  for (int waited = 0; waited < kDeadlineMs && !isConnected_; waited += kGreetingIntervalMs) {
    Send(publisher, {kGreeting});
    isConnected_ = WaitFor(socket_, kGreetingIntervalMs);
  }
}

Subscriber::~Subscriber() {
  zsock_destroy(&socket_);
}

Frames Subscriber::Next() {
  Frames frames;
  do {
    frames = Receive(socket_);
  } while (frames == Frames{kGreeting});
  return frames;
}

Console::Console() {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
}

// Prints the captured output of a failed test, because it includes the failure messages.
Console::~Console() {
  Output();
  Errors();
  if (testing::Test::HasFailure())
    std::fprintf(stderr, "%s%s", output_.c_str(), errors_.c_str());
}

const std::string& Console::Output() {
  if (!hasOutput_)
    output_ = testing::internal::GetCapturedStdout();
  hasOutput_ = true;
  return output_;
}

const std::string& Console::Errors() {
  if (!hasErrors_)
    errors_ = testing::internal::GetCapturedStderr();
  hasErrors_ = true;
  return errors_;
}

Logger* VerboseLogger() {
  Logger* logger = Logger::GetInstance();
  logger->mLogLevel = MsgLevel_Debug;
  logger->mConsoleAttached = true;
  return logger;
}

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    if (std::string("\\^$.|?*+()[]{}").find(character) != std::string::npos)
      escaped += '\\';
    escaped += character;
  }
  return escaped;
}

testing::Matcher<const std::string&> Logged(const char* level, const char* unit,
                                            const std::string& message) {
  return testing::ContainsRegex(std::string("\\|") + level + "\\|" + unit + "\\|[0-9]+\\|" +
                                Escaped(message) + "\n");
}

testing::Matcher<const std::string&> Printed(const char* unit, const std::string& message) {
  return testing::ContainsRegex(std::string(unit) + "\\|[0-9]+\\| " + Escaped(message) + "\n");
}

std::size_t Occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}

}  // namespace mqtest
