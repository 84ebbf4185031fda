// A page of the gate in a browser, beside a running service.

#pragma once

#include <functional>

#include "Browser.h"
#include "EightClusters.h"

class PageTest : public EightClusters {
 protected:
  /// Starts service, measurement and gate, and waits until a page shows RUNNING.
  void OpenPage(const std::string& path = "/");

  /// Repeats a script until `condition` holds for its result. Otherwise fails with the last result.
  nlohmann::json AwaitPage(const std::string& script,
                           const std::function<bool(const nlohmann::json&)>& condition);

  /// Repeats a script until it returns true.
  void AwaitTrue(const std::string& script);

  /// Waits until the page shows this text for its connection.
  void AwaitConnection(const std::string& text);

  /// Waits until the gate has `count` stream readers.
  void AwaitStreams(unsigned count);

  Browser mBrowser;
};
