// The JSON routes, and the events of the streams. A stream's key is its cluster's name, or kAllKey.

#include "ClusterApi.h"

#include "ClusterDocuments.h"

namespace loudgate {
namespace {

constexpr char kAllKey[] = "all";
constexpr std::chrono::seconds kLongestSilence{1};

HttpAnswer NoSuchCluster() {
  return HttpAnswer::Plain(kNotFound, kNoSuchClusterText);
}

}  // namespace

ClusterApi::ClusterApi(const ClusterBoard& board, Routes& routes) : mBoard(board) {
  routes.Add(kGet, "/api/clusters", [this](const HttpRequest&) {
    const Moment now = Moment::Now();
    return HttpAnswer::Json(ClustersDocument(mBoard.Clusters(now), now));
  });
  routes.Add(kGet, "/api/clusters/*",
             [this](const HttpRequest& request) { return AnswerOne(request); });
  routes.Add(kGet, "/api/stream",
             [this](const HttpRequest& request) { return AnswerStream(request); });
}

HttpAnswer ClusterApi::AnswerOne(const HttpRequest& request) const {
  const Moment now = Moment::Now();
  const Cluster* cluster = mBoard.Find(request.rest, now);
  return cluster == nullptr ? NoSuchCluster()
                            : HttpAnswer::Json(ClusterDetailsDocument(*cluster, now));
}

HttpAnswer ClusterApi::AnswerStream(const HttpRequest& request) const {
  const auto name = request.query.find("cluster");
  if (name == request.query.end())
    return HttpAnswer::Stream(kAllKey);
  return mBoard.Find(name->second, Moment::Now()) == nullptr ? NoSuchCluster()
                                                             : HttpAnswer::Stream(name->second);
}

std::uint64_t ClusterApi::RevisionOf(const std::string& key, Moment now) const {
  std::uint64_t revision = 0;
  for (const Cluster* cluster : mBoard.Clusters(now))
    if (key == kAllKey || key == cluster->Name())
      revision += cluster->Revision();
  return revision;
}

std::string ClusterApi::DocumentOf(const std::string& key, Moment now) const {
  if (key == kAllKey)
    return ClustersDocument(mBoard.Clusters(now), now);
  const Cluster* cluster = mBoard.Find(key, now);
  return cluster == nullptr ? "" : ClusterDocument(*cluster, now);
}

void ClusterApi::Publish(HttpServer& server, Moment now) {
  std::map<std::string, Sent> sent;
  for (const std::string& key : server.StreamKeys()) {
    Sent last = mSent[key];
    const std::uint64_t revision = RevisionOf(key, now);
    if (revision != last.revision || now.steady - last.time >= kLongestSilence) {
      last = {revision, now.steady};
      const std::string document = DocumentOf(key, now);
      if (!document.empty())
        server.Publish(key, document);
    }
    sent[key] = last;
  }
  mSent.swap(sent);
}

}  // namespace loudgate
