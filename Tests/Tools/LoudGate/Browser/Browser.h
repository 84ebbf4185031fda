// A real browser, driven over WebDriver (W3C) by the client that the other tests of the gate use:
// Debian's chromium, without a screen.

#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "ServiceProcess.h"

class Browser {
 public:
  /// Starts it with one empty tab. Throws std::runtime_error when it or the driver does not start.
  Browser();

  /// Ends it.
  ~Browser();

  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;

  /// Loads a page into the current tab and waits until it has been loaded.
  void Open(const std::string& url);

  /// Opens an empty tab in front of the others; it is the current one now.
  void OpenTab();

  /// Closes the current tab; the first one comes to the front and is the current one.
  void CloseTab();

  /// Opens an empty window beside the others, which all stay visible; it is the current one now.
  void OpenWindow();

  /// The current window or tab, and to make it the current one again.
  std::string Current() const;
  void Use(const std::string& window);

  /// What the body of a script returns in the current tab.
  nlohmann::json Run(const std::string& script);

  /// What a command of the browser's own protocol for tools returns.
  nlohmann::json Tool(const std::string& command,
                      const nlohmann::json& parameters = nlohmann::json::object());

  /// Presses the keys of a text: U+E004 is the tabulator, U+E007 enter.
  void Press(const std::string& keys);

  /// What the console has said since the last call: errors of scripts, what the content policy
  /// refused, requests that failed.
  std::string Complaints();

 private:
  void OpenNew(const char* type);
  nlohmann::json Ask(const std::string& method, const std::string& path,
                     const nlohmann::json& body = nlohmann::json::object()) const;

  std::string mDirectory;  // all that it writes
  std::unique_ptr<ServiceProcess> mDriver;
  std::string mDriverUrl;
  std::string mSession;  // path of it
};
