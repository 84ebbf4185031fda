// Maps requests to handlers.

#pragma once

#include <functional>
#include <map>
#include <string>

#include "HttpMessage.h"

namespace loudgate {

class Routes {
 public:
  /// Answers at once, or later with a LateAnswer. Everything runs on one thread, so a handler must
  /// not block.
  using Handler = std::function<HttpAnswer(const HttpRequest&)>;

  /// Makes `handler` answer requests of `method` (GET includes HEAD) for `path`. A path that ends
  /// in "*" matches every path with that prefix and at least one more character. Exact paths are
  /// tried first, then longer prefixes before shorter ones.
  void Add(const std::string& method, const std::string& path, Handler handler);

  /// Returns the handler's answer; 404 for an unknown path, 405 for a method without a handler, and
  /// 500 if the handler throws.
  HttpAnswer Answer(HttpRequest request) const;

 private:
  using Methods = std::map<std::string, Handler>;

  const Methods* Find(HttpRequest& request) const;

  std::map<std::string, Methods> mExact;
  std::map<std::string, Methods> mPrefixes;  // without the "*"
};

}  // namespace loudgate
