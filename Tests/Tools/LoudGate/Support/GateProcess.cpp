// Runs the gate and the client as processes.

#include "GateProcess.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>

#include "WatchRows.h"

namespace {

constexpr char kListening[] = "Listening at ";

}  // namespace

std::string HttpReply::Header(const std::string& name) const {
  const std::string start = "\n" + name + ": ";
  const std::size_t place = head.find(start);
  if (place == std::string::npos)
    return "";
  const std::size_t begin = place + start.size();
  return head.substr(begin, head.find('\r', begin) - begin);
}

void GateTest::TearDown() {
  if (mGate && mGate->IsRunning())
    ExpectGateEnds(SIGTERM);
  RunningService::TearDown();
}

void GateTest::StartGate(const std::vector<std::string>& options) {
  std::vector<std::string> arguments = {"--listen", "127.0.0.1:0"};
  if (std::find(options.begin(), options.end(), "--record") == options.end())
    arguments.push_back("--no-record");
  arguments.insert(arguments.end(), options.begin(), options.end());
  mGate = std::make_unique<ServiceProcess>(LOUDGATE_BINARY, arguments);
  ASSERT_TRUE(mGate->WaitForLine(kListening, kPatience)) << mGate->StandardError();
  const std::string output = mGate->StandardOutput();
  const std::size_t begin = output.find(kListening) + sizeof kListening - 1;
  mUrl = output.substr(begin, output.find("/\n", begin) - begin);
  if (!mUrl.empty() && mUrl.back() == '/')
    mUrl.pop_back();
}

void GateTest::StartGateAgain() {
  const std::string place = "127.0.0.1:" + std::to_string(Port());
  mGate = std::make_unique<ServiceProcess>(
      LOUDGATE_BINARY, std::vector<std::string>{"--listen", place, "--no-record"});
  ASSERT_TRUE(mGate->WaitForLine(kListening, kPatience)) << mGate->StandardError();
}

unsigned GateTest::Port() const {
  return static_cast<unsigned>(std::strtoul(mUrl.c_str() + mUrl.rfind(':') + 1, nullptr, 10));
}

void GateTest::ExpectGateEnds(int signal) {
  mGate->Signal(signal);
  const auto report = mGate->WaitForExit(kPatience);
  ASSERT_TRUE(report) << "the gate still runs";
  EXPECT_EQ(0, report->signal);
  EXPECT_EQ(0, report->status);
  EXPECT_EQ("", mGate->StandardError());
  EXPECT_EQ(mExpectedLines, mGate->LineCount()) << mGate->StandardOutput();
}

std::unique_ptr<ServiceProcess> GateTest::Follow(const std::string& path,
                                                 const std::vector<std::string>& options) const {
  std::vector<std::string> arguments = {"--silent", "--no-buffer"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.push_back(mUrl + path);
  return std::make_unique<ServiceProcess>(CURL_BINARY, arguments);
}

HttpReply GateTest::Get(const std::string& path, const std::vector<std::string>& options) const {
  std::vector<std::string> all = {"--include", "--max-time", "20"};
  all.insert(all.end(), options.begin(), options.end());
  const auto client = Follow(path, all);
  HttpReply reply;
  if (!client->WaitForExit(2 * kPatience))
    return reply;
  const std::string text = client->StandardOutput();
  const std::size_t space = text.find(' ');
  const std::size_t end = text.find("\r\n\r\n");
  if (text.rfind("HTTP/", 0) != 0 || space == std::string::npos)
    return reply;
  reply.status = std::atoi(text.c_str() + space);
  reply.head = text.substr(0, end);
  reply.body = end == std::string::npos ? "" : text.substr(end + 4);
  return reply;
}

nlohmann::json GateTest::Await(const std::string& path,
                               const std::function<bool(const nlohmann::json&)>& condition) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  HttpReply reply;
  do {
    reply = Get(path);
    const auto document = nlohmann::json::parse(reply.body, nullptr, false);
    if (reply.status == 200 && !document.is_discarded() && condition(document))
      return document;
    Pass(std::chrono::milliseconds(20));
  } while (std::chrono::steady_clock::now() < end);
  ADD_FAILURE() << path << ": " << reply.head << "\n" << reply.body;
  return {};
}

void GateTest::ExpectRecorded(std::int64_t from, std::int64_t to) {
  constexpr unsigned kMostTicksLeftOut = 5;
  const auto text = [](std::int64_t time) {
    return louddesk::UtcText(louddesk::WallTime(std::chrono::seconds(time)));
  };
  const nlohmann::json evidence =
      Await("/api/log?cluster=1-1&from=" + text(from) + "&to=" + text(to),
            [](const nlohmann::json& document) { return document.at("Gaps").at("Count") == 0; });
  EXPECT_GE(kMostTicksLeftOut, evidence.at("Missed"));
  EXPECT_EQ(0, evidence.at("WithoutData"));
}
