// Which handler answers which request.

#pragma once

#include <functional>
#include <map>
#include <string>

#include "HttpMessage.h"

namespace loudgate {

class Routes {
 public:
  /// Answers at once, or later by a LateAnswer: everything happens on one thread.
  using Handler = std::function<HttpAnswer(const HttpRequest&)>;

  /// Answers requests of `method` (GET answers HEAD too) for `path`. A path that ends in "*" stands
  /// for all that begin like it and have at least one character more; they are tried after those
  /// without, longer ones first.
  void Add(const std::string& method, const std::string& path, Handler handler);

  /// The handler's answer; that there is no such path, or no such method for it, where there is
  /// none; that something has failed where the handler throws.
  HttpAnswer Answer(HttpRequest request) const;

 private:
  using Methods = std::map<std::string, Handler>;

  const Methods* Find(HttpRequest& request) const;

  std::map<std::string, Methods> mExact;
  std::map<std::string, Methods> mPrefixes;  // without the "*"
};

}  // namespace loudgate
