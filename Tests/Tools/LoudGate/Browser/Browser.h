// Debian's chromium, headless, driven over WebDriver (W3C) with the HTTP client of the gate's other
// tests.

#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "ServiceProcess.h"

class Browser {
 public:
  /// Starts the browser with one empty tab. Throws std::runtime_error when it or the driver does
  /// not start.
  Browser();

  /// Ends the browser.
  ~Browser();

  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;

  /// Loads a page into the current tab and waits until it has been loaded.
  void Open(const std::string& url);

  /// Opens an empty tab in front of the others and makes it current.
  void OpenTab();

  /// Closes the current tab. The first tab comes to the front and becomes current.
  void CloseTab();

  /// Opens an empty window beside the others, which stay visible, and makes it current.
  void OpenWindow();

  /// The current window or tab; Use makes it current again.
  std::string Current() const;
  void Use(const std::string& window);

  /// Runs the body of a script in the current tab and returns its result.
  nlohmann::json Run(const std::string& script);

  /// Sends a command of the browser's DevTools protocol and returns its result.
  nlohmann::json Tool(const std::string& command,
                      const nlohmann::json& parameters = nlohmann::json::object());

  /// Presses the keys of a text. U+E004 is the tab key, U+E007 the enter key.
  void Press(const std::string& keys);

  /// The console's messages since the last call: script errors, violations of the content policy,
  /// failed requests.
  std::string Complaints();

 private:
  void OpenNew(const char* type);
  nlohmann::json Ask(const std::string& method, const std::string& path,
                     const nlohmann::json& body = nlohmann::json::object()) const;

  std::string mDirectory;  // holds all files of driver and browser
  std::unique_ptr<ServiceProcess> mDriver;
  std::string mDriverUrl;
  std::string mSession;  // path of the session
};
