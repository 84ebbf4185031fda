// Starts the pages and waits for their states.

#include "PageTest.h"

using nlohmann::json;

void PageTest::OpenPage(const std::string& path) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ASSERT_NO_FATAL_FAILURE(StartGate());
  StartMeasuring();
  mBrowser.Open(Url() + path);
  AwaitTrue("return document.querySelector('.state')?.textContent === 'RUNNING'");
}

json PageTest::AwaitPage(const std::string& script,
                         const std::function<bool(const json&)>& condition) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  json result;
  do {
    result = mBrowser.Run(script);
    if (condition(result))
      return result;
    Pass(std::chrono::milliseconds(20));
  } while (std::chrono::steady_clock::now() < end);
  ADD_FAILURE() << script << "\nreturned " << result << "\n"
                << mBrowser.Run("return document.body.innerText").get<std::string>() << "\n"
                << mBrowser.Complaints();
  return result;
}

void PageTest::AwaitTrue(const std::string& script) {
  AwaitPage(script, [](const json& result) { return result == true; });
}

void PageTest::AwaitConnection(const std::string& text) {
  AwaitTrue("return document.getElementById('connection').textContent.startsWith('" + text + "')");
}

void PageTest::AwaitStreams(unsigned count) {
  const std::string line = "\nloudgate_streams " + std::to_string(count) + "\n";
  const auto end = std::chrono::steady_clock::now() + kPatience;
  std::string metrics;
  do {
    metrics = Get("/metrics").body;
    if (metrics.find(line) != std::string::npos)
      return;
    Pass(std::chrono::milliseconds(20));
  } while (std::chrono::steady_clock::now() < end);
  ADD_FAILURE() << "not" << line << metrics;
}
