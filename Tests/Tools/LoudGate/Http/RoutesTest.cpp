// Which handler answers a request.

#include "Routes.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using loudgate::HttpAnswer;
using loudgate::HttpRequest;
using loudgate::Routes;

class RoutesTest : public testing::Test {
 protected:
  RoutesTest() {
    Add("GET", "/clusters", "all");
    Add("GET", "/clusters/*", "one");
    Add("GET", "/clusters/of/*", "deeper");
    Add("POST", "/clusters/*", "posted");
    mRoutes.Add("GET", "/failing",
                [](const HttpRequest&) -> HttpAnswer { throw std::runtime_error("disk"); });
  }

  void Add(const std::string& method, const std::string& path, const std::string& name) {
    mRoutes.Add(method, path, [name](const HttpRequest& request) {
      return HttpAnswer::Plain(loudgate::kOk, name + ":" + request.rest);
    });
  }

  HttpAnswer Answer(const std::string& method, const std::string& path) const {
    HttpRequest request;
    request.method = method;
    request.path = path;
    return mRoutes.Answer(request);
  }

  std::string Body(const std::string& method, const std::string& path) const {
    return Answer(method, path).body;
  }

  Routes mRoutes;
};

TEST_F(RoutesTest, APathIsAnsweredByItsHandler) {
  EXPECT_EQ("all:\n", Body("GET", "/clusters"));
  EXPECT_EQ("one:1-3\n", Body("GET", "/clusters/1-3"));
  EXPECT_EQ("deeper:x/y\n", Body("GET", "/clusters/of/x/y"));
  EXPECT_EQ("one:of/\n", Body("GET", "/clusters/of/"));
  EXPECT_EQ("posted:1-3\n", Body("POST", "/clusters/1-3"));
}

TEST_F(RoutesTest, HeadIsAnsweredAsGet) {
  EXPECT_EQ("all:\n", Body("HEAD", "/clusters"));
}

TEST_F(RoutesTest, APathWithoutHandlerIsNotFound) {
  for (const char* path : {"", "/", "/cluster", "/clustersx", "/clusters/", "/x"})
    EXPECT_EQ(404u, Answer("GET", path).status) << path;
}

TEST_F(RoutesTest, AnotherMethodIsRefusedWithThoseThatThereAre) {
  const HttpAnswer answer = Answer("DELETE", "/clusters/1-3");
  EXPECT_EQ(405u, answer.status);
  ASSERT_EQ(1u, answer.headers.size());
  EXPECT_EQ("Allow", answer.headers.front().first);
  EXPECT_EQ("GET, HEAD, POST", answer.headers.front().second);
  EXPECT_EQ(405u, Answer("HEAD2", "/clusters").status);
  EXPECT_EQ(405u, Answer("POST", "/clusters").status);
}

TEST_F(RoutesTest, AHandlerThatFailsSaysNothingOfWhy) {
  const HttpAnswer answer = Answer("GET", "/failing");
  EXPECT_EQ(500u, answer.status);
  EXPECT_EQ(std::string::npos, answer.body.find("disk"));
}

}  // namespace
