// Turns requests into orders, and their outcomes into answers.

#include "ControlApi.h"

#include <memory>

#include "DocumentWriter.h"
#include "RequestGuard.h"

namespace loudgate {
namespace {

constexpr char kControlPath[] = "/api/control";
constexpr char kClusterPath[] = "/api/clusters/*";

HttpAnswer Unauthorized() {
  HttpAnswer answer = HttpAnswer::Plain(kUnauthorized, "This needs the token of the gate.");
  answer.headers.emplace_back("WWW-Authenticate", "Bearer");
  return answer;
}

// Ignores parameters of the media type, such as a character set: they do not matter to JSON.
bool IsJson(const std::string& type) {
  return LowerCase(type.substr(0, type.find_first_of("; "))) == kJsonType;
}

HttpAnswer AnswerOf(const std::string& cluster, const ControlOrder& order,
                    const ControlResult& result) {
  HttpAnswer answer = HttpAnswer::Json(louddesk::DocumentWriter()
                                           .Text("Cluster", cluster)
                                           .Text("Command", order.name)
                                           .Flag("Acknowledged", result.isAcknowledged)
                                           .Text("Text", result.text)
                                           .Finish());
  answer.status = result.isAcknowledged ? kOk : kGatewayTimeout;
  return answer;
}

HttpAnswer AnswerOf(NotSent reason) {
  return reason == NotSent::kBusy
             ? HttpAnswer::Plain(kConflict,
                                 "The last command to this cluster is not acknowledged "
                                 "yet.")
             : HttpAnswer::Plain(kUnavailable, "No service of this meter set has subscribed.");
}

HttpAnswer Send(ClusterControl& control, const Cluster& cluster, const ControlOrder& order,
                Moment now) {
  const auto late = std::make_shared<LateAnswer>();
  const auto done = [late, name = cluster.Name(), &order](const ControlResult& result) {
    late->answer = AnswerOf(name, order, result);
  };
  const auto notSent = control.Send(cluster, order, now, done);
  return notSent ? AnswerOf(*notSent) : HttpAnswer::Later(late);
}

// Checks the token first, so that clients without it learn nothing.
HttpAnswer AnswerPost(const ClusterBoard& board, ClusterControl& control, const ControlToken& token,
                      const HttpRequest& request) {
  if (!token.IsIn(request.Header("authorization")))
    return Unauthorized();
  if (!IsJson(request.Header("content-type")))
    return HttpAnswer::Plain(kUnsupportedMediaType, "The body must be application/json.");
  const Moment now = Moment::Now();
  const Cluster* const cluster = board.Find(request.rest, now);
  if (cluster == nullptr)
    return HttpAnswer::Plain(kNotFound, kNoSuchClusterText);
  const ControlOrder* const order = ReadControlOrder(request.body);
  if (order == nullptr)
    return HttpAnswer::Plain(kBadRequest,
                             "\"Command\" must be one of " + ControlOrderNames() + ".");
  return Send(control, *cluster, *order, now);
}

}  // namespace

void AddNoControl(Routes& routes) {
  routes.Add(kGet, kControlPath, [](const HttpRequest&) {
    return HttpAnswer::Json(louddesk::DocumentWriter().Flag("Enabled", false).Finish());
  });
}

void AddControl(Routes& routes, const ClusterBoard& board, ClusterControl& control,
                const ControlToken& token) {
  routes.Add(kGet, kControlPath, [&control](const HttpRequest&) {
    return HttpAnswer::Json(louddesk::DocumentWriter()
                                .Flag("Enabled", true)
                                .Text("ApplicationServer", control.Place())
                                .Finish());
  });
  routes.Add(kPost, kClusterPath, [&](const HttpRequest& request) {
    return AnswerPost(board, control, token, request);
  });
}

}  // namespace loudgate
