// The files of the pages. Their behaviour in a browser is tested in ../Browser.

#include "PageRoutes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace {

using loudgate::HttpAnswer;
using testing::HasSubstr;
using testing::Not;

class PageRoutesTest : public testing::Test {
 protected:
  PageRoutesTest() { loudgate::AddPages(mRoutes); }

  HttpAnswer Get(const std::string& path) const {
    loudgate::HttpRequest request;
    request.method = loudgate::kGet;
    request.path = path;
    return mRoutes.Answer(request);
  }

  // The files that a file refers to, by attributes of a page or imports of a script.
  std::set<std::string> ReferencesOf(const std::string& text) const {
    static const std::regex kReference("(?:href|src)=\"([^\"]+)\"|from \"\\.([^\"]+)\"");
    std::set<std::string> paths;
    for (std::sregex_iterator found(text.begin(), text.end(), kReference), end; found != end;
         ++found)
      paths.insert((*found)[1].matched ? (*found)[1].str() : "/page" + (*found)[2].str());
    return paths;
  }

  // A page and all files that it refers to, directly or not, by path.
  std::map<std::string, HttpAnswer> FilesFrom(const std::string& page) const {
    std::map<std::string, HttpAnswer> files;
    std::set<std::string> open = {page};
    while (!open.empty()) {
      const std::string path = *open.begin();
      open.erase(open.begin());
      files[path] = Get(path);
      for (const std::string& next : ReferencesOf(files[path].body))
        if (next.rfind("/page/", 0) == 0 && files.count(next) == 0)
          open.insert(next);
    }
    return files;
  }

  loudgate::Routes mRoutes;
};

TEST_F(PageRoutesTest, EveryFileThatAPageAsksForIsThereWithItsType) {
  const std::map<std::string, std::string> types = {{".js", "text/javascript; charset=utf-8"},
                                                    {".css", "text/css; charset=utf-8"},
                                                    {".svg", "image/svg+xml"}};
  for (const auto& [page, fileCount] :
       std::map<std::string, std::size_t>{{"/", 6}, {"/cluster/1-3", 10}}) {
    const auto files = FilesFrom(page);
    EXPECT_EQ(fileCount, files.size()) << page;
    for (const auto& [path, answer] : files) {
      EXPECT_EQ(loudgate::kOk, answer.status) << path;
      const auto type = types.find(path.substr(path.find_last_of("./")));
      EXPECT_EQ(type == types.end() ? loudgate::kHtmlType : type->second, answer.type) << path;
    }
  }
}

// The content policy would block these.
TEST_F(PageRoutesTest, HaveNoScriptAndNoStyleOfTheirOwnAndNothingFromElsewhere) {
  for (const char* page : {"/", "/cluster/1-3"}) {
    for (const char* text : {"<script>", "<style", "style=", "http:", "https:", "//"})
      EXPECT_THAT(Get(page).body, Not(HasSubstr(text))) << page << ": " << text;
    EXPECT_FALSE(std::regex_search(Get(page).body, std::regex("\\son[a-z]+=")));
  }
}

}  // namespace
