// A page of the gate in a browser, beside a running service.

#pragma once

#include <functional>

#include "Browser.h"
#include "EightClusters.h"

class PageTest : public EightClusters {
 protected:
  /// Starts service, measurement and gate, and waits until a page shows that it runs.
  void OpenPage(const std::string& path = "/");

  /// Runs a script again and again until `condition` holds for what it returns; fails with the last
  /// otherwise.
  nlohmann::json AwaitPage(const std::string& script,
                           const std::function<bool(const nlohmann::json&)>& condition);

  /// The same until it returns true.
  void AwaitTrue(const std::string& script);

  /// Waits until the page says how the connection is.
  void AwaitConnection(const std::string& text);

  /// Waits until the gate has so many readers of streams.
  void AwaitStreams(unsigned count);

  Browser mBrowser;
};
