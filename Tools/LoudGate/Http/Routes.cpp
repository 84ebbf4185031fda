// Finds a handler by path and method.

#include "Routes.h"

#include <exception>

namespace loudgate {
namespace {

constexpr char kAnything = '*';

std::string Lookup(const std::string& method) {
  return method == kHead ? kGet : method;
}

}  // namespace

void Routes::Add(const std::string& method, const std::string& path, Handler handler) {
  if (!path.empty() && path.back() == kAnything)
    mPrefixes[path.substr(0, path.size() - 1)][method] = std::move(handler);
  else
    mExact[path][method] = std::move(handler);
}

const Routes::Methods* Routes::Find(HttpRequest& request) const {
  const auto exact = mExact.find(request.path);
  if (exact != mExact.end())
    return &exact->second;
  // Reverse order tries a longer prefix before the shorter ones that it contains.
  for (auto entry = mPrefixes.rbegin(); entry != mPrefixes.rend(); ++entry) {
    const std::string& prefix = entry->first;
    if (request.path.size() > prefix.size() &&
        request.path.compare(0, prefix.size(), prefix) == 0) {
      request.rest = request.path.substr(prefix.size());
      return &entry->second;
    }
  }
  return nullptr;
}

HttpAnswer Routes::Answer(HttpRequest request) const {
  const Methods* methods = Find(request);
  if (methods == nullptr)
    return HttpAnswer::Plain(kNotFound, "Nothing is served at this path.");
  const auto handler = methods->find(Lookup(request.method));
  if (handler == methods->end()) {
    HttpAnswer answer = HttpAnswer::Plain(kMethodNotAllowed, "This method is not allowed here.");
    std::string allowed;
    for (const auto& [method, unused] : *methods)
      allowed += (allowed.empty() ? "" : ", ") + method + (method == kGet ? ", HEAD" : "");
    answer.headers.emplace_back("Allow", allowed);
    return answer;
  }
  try {
    return handler->second(request);
  } catch (const std::exception&) {
    return HttpAnswer::Plain(kServerError, "The request has failed.");
  }
}

}  // namespace loudgate
