// Requests and answers as the handlers see them.

#pragma once

#include <unistd.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace loudgate {

/// The statuses that the gate uses, RFC 9110.
enum HttpStatus : unsigned {
  kOk = 200,
  kNoContent = 204,
  kBadRequest = 400,
  kUnauthorized = 401,
  kForbidden = 403,
  kNotFound = 404,
  kMethodNotAllowed = 405,
  kConflict = 409,
  kContentTooLarge = 413,
  kUnsupportedMediaType = 415,
  kMisdirected = 421,
  kServerError = 500,
  kUnavailable = 503,
  kGatewayTimeout = 504,
};

constexpr char kGet[] = "GET";
constexpr char kHead[] = "HEAD";
constexpr char kPost[] = "POST";

constexpr char kJsonType[] = "application/json";
constexpr char kTextType[] = "text/plain; charset=utf-8";
constexpr char kHtmlType[] = "text/html; charset=utf-8";

struct HttpRequest {
  std::string method;
  std::string path;                            // decoded, without the query
  std::string rest;                            // the part that matches a route's "*"
  std::map<std::string, std::string> query;    // decoded
  std::map<std::string, std::string> headers;  // names in lower case
  std::string body;
  bool isAmbiguous = false;  // a query parameter is given twice

  /// The value of a parameter or a header; empty if it is missing.
  std::string Query(const std::string& name) const { return Of(query, name); }
  std::string Header(const std::string& lowerCaseName) const { return Of(headers, lowerCaseName); }

 private:
  static std::string Of(const std::map<std::string, std::string>& map, const std::string& name) {
    const auto found = map.find(name);
    return found == map.end() ? "" : found->second;
  }
};

struct LateAnswer;

/// A file that is the body of an answer. It is closed when its last owner is destroyed.
class AnswerFile {
 public:
  /// Takes ownership of an open file of `size` bytes.
  AnswerFile(int descriptor, std::uint64_t size) : mDescriptor(descriptor), mSize(size) {}
  ~AnswerFile() { close(mDescriptor); }
  AnswerFile(const AnswerFile&) = delete;
  AnswerFile& operator=(const AnswerFile&) = delete;

  int Descriptor() const { return mDescriptor; }
  std::uint64_t Size() const { return mSize; }

 private:
  int mDescriptor;
  std::uint64_t mSize;
};

struct HttpAnswer {
  unsigned status = kOk;
  std::string type = kTextType;
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers;  // in addition to those of every answer
  std::string stream;  // if not empty, streams the events that are published under this key
  std::shared_ptr<const LateAnswer> late = {};  // if not null, the answer to wait for
  std::shared_ptr<const AnswerFile> file = {};  // if not null, the body instead of `body`
  bool isStyled = false;  // the body is a page with an embedded style sheet and no scripts

  static HttpAnswer Json(std::string body) { return {kOk, kJsonType, std::move(body), {}, {}}; }
  static HttpAnswer Html(std::string body) { return {kOk, kHtmlType, std::move(body), {}, {}}; }

  /// A one-line answer, such as the reason for a refusal.
  static HttpAnswer Plain(unsigned status, const std::string& line) {
    return {status, kTextType, line + "\n", {}, {}};
  }

  /// A stream of server-sent events: what HttpServer::Publish sends under `key` from now on.
  static HttpAnswer Stream(std::string key) {
    HttpAnswer answer;
    answer.stream = std::move(key);
    return answer;
  }

  /// The answer that `late` will hold. Its owner must fill it in before the server's patience ends.
  /// The client may be gone by then.
  static HttpAnswer Later(std::shared_ptr<const LateAnswer> late) {
    HttpAnswer answer;
    answer.late = std::move(late);
    return answer;
  }
};

/// An answer that is not known yet when its request arrives.
struct LateAnswer {
  std::optional<HttpAnswer> answer;
};

}  // namespace loudgate
