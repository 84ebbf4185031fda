// The WebDriver requests that the tests need, and the start of driver and browser.

#include "Browser.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "Emulation.h"

namespace {

using nlohmann::json;

constexpr std::chrono::milliseconds kBrowserPatience{60000 * kSlowness};
constexpr char kStarted[] = "was started successfully on port ";

std::string NewDirectory() {
  std::string name = std::filesystem::temp_directory_path() / "loudgate-browser-XXXXXX";
  if (mkdtemp(name.data()) == nullptr)
    throw std::runtime_error("no directory for the browser can be made");
  return name;
}

// The browser's sandbox does not work in a container or as root; only the gate under test is
// loaded. The pipe makes the browser end with the driver, even if the driver is killed.
json Capabilities() {
  const json arguments = {"--headless=new",
                          "--remote-debugging-pipe",
                          "--no-sandbox",
                          "--disable-gpu",
                          "--disable-dev-shm-usage",
                          "--no-first-run",
                          "--disable-background-networking",
                          "--disable-component-update",
                          "--window-size=1280,900"};
  const json chrome = {{"binary", CHROMIUM_BINARY}, {"args", arguments}};
  return {{"capabilities",
           {{"alwaysMatch",
             {{"browserName", "chrome"},
              {"goog:loggingPrefs", {{"browser", "ALL"}}},
              {"goog:chromeOptions", chrome}}}}}};
}

}  // namespace

Browser::Browser() : mDirectory(NewDirectory()) {
  mDriver = std::make_unique<ServiceProcess>(
      CHROMEDRIVER_BINARY, std::vector<std::string>{"--port=0"},
      std::map<std::string, std::string>{{"HOME", mDirectory}, {"TMPDIR", mDirectory}});
  if (!mDriver->WaitForLine(kStarted, kBrowserPatience))
    throw std::runtime_error("the driver does not start: " + mDriver->StandardError());
  const std::string output = mDriver->StandardOutput();
  const std::size_t begin = output.find(kStarted) + sizeof kStarted - 1;
  mDriverUrl = "http://127.0.0.1:" + output.substr(begin, output.find('.', begin) - begin);
  const json session = Ask("POST", "/session", Capabilities());
  mSession = "/session/" + session.at("sessionId").get<std::string>();
}

Browser::~Browser() {
  try {
    Ask("DELETE", "");
  } catch (const std::exception&) {
    // The browser has ended already.
  }
  mDriver->Signal(SIGTERM);
  mDriver->WaitForExit(kBrowserPatience);
  std::error_code ignored;
  std::filesystem::remove_all(mDirectory, ignored);
}

json Browser::Ask(const std::string& method, const std::string& path, const json& body) const {
  std::vector<std::string> arguments = {"--silent", "--max-time", "60", "-X", method};
  if (method == "POST")
    arguments.insert(arguments.end(),
                     {"-H", "Content-Type: application/json", "--data-binary", body.dump()});
  arguments.push_back(mDriverUrl + mSession + path);
  ServiceProcess client(CURL_BINARY, arguments);
  if (!client.WaitForExit(kBrowserPatience))
    throw std::runtime_error("the driver does not answer to " + path);
  const json reply = json::parse(client.StandardOutput()).at("value");
  if (reply.is_object() && reply.contains("error"))
    throw std::runtime_error(path + ": " + reply.dump());
  return reply;
}

void Browser::Open(const std::string& url) {
  Ask("POST", "/url", {{"url", url}});
}

void Browser::OpenTab() {
  OpenNew("tab");
}

void Browser::OpenWindow() {
  OpenNew("window");
}

void Browser::OpenNew(const char* type) {
  Use(Ask("POST", "/window/new", {{"type", type}}).at("handle"));
}

std::string Browser::Current() const {
  return Ask("GET", "/window");
}

void Browser::Use(const std::string& window) {
  Ask("POST", "/window", {{"handle", window}});
}

void Browser::CloseTab() {
  Use(Ask("DELETE", "/window").at(0));
}

json Browser::Run(const std::string& script) {
  return Ask("POST", "/execute/sync", {{"script", script}, {"args", json::array()}});
}

json Browser::Tool(const std::string& command, const json& parameters) {
  return Ask("POST", "/goog/cdp/execute", {{"cmd", command}, {"params", parameters}});
}

void Browser::Press(const std::string& keys) {
  const json active = Ask("GET", "/element/active");
  Ask("POST", "/element/" + active.begin().value().get<std::string>() + "/value", {{"text", keys}});
}

std::string Browser::Complaints() {
  std::string text;
  for (const json& entry : Ask("POST", "/se/log", {{"type", "browser"}}))
    text += entry.at("message").get<std::string>() + "\n";
  return text;
}
