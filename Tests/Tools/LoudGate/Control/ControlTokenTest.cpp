// Which files hold a valid token, and which headers hold that token.

#include "ControlToken.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "TokenFile.h"

namespace {

using loudgate::ControlToken;
using loudgate::TokenError;

// The reason why a file is refused; empty if it is accepted. It must reveal nothing of the content.
std::string ReasonFor(const std::string& content, mode_t mode = 0600) {
  const TokenFile file(content, mode);
  try {
    const ControlToken token(file.Name());
    return "";
  } catch (const TokenError& error) {
    const std::string text = error.what();
    EXPECT_EQ(0u, text.find(file.Name() + ": "));
    EXPECT_TRUE(content.size() < 8 || text.find(content.substr(0, 8)) == std::string::npos) << text;
    return text.substr(file.Name().size() + 2);
  }
}

TEST(ControlTokenTest, IsTheWholeLine) {
  const TokenFile file;
  const ControlToken token(file.Name());
  const std::string right = std::string("Bearer ") + kToken;
  EXPECT_TRUE(token.IsIn(right));
  EXPECT_TRUE(token.IsIn(std::string("bearer ") + kToken));  // RFC 9110, 11.1
  for (const std::string& wrong :
       {std::string(), std::string("Bearer "), std::string("Bearer"), std::string(kToken),
        std::string("Basic ") + kToken, right + "x", right + " ", right.substr(0, right.size() - 1),
        "Bearer  " + std::string(kToken), "Bearer " + std::string(sizeof kToken - 1, '0')})
    EXPECT_FALSE(token.IsIn(wrong)) << wrong;
}

TEST(ControlTokenTest, TheEndOfTheLineMayBeMissing) {
  const TokenFile file(kToken);
  EXPECT_TRUE(ControlToken(file.Name()).IsIn(std::string("Bearer ") + kToken));
}

TEST(ControlTokenTest, HasALengthAndNoBlanks) {
  EXPECT_EQ("", ReasonFor(std::string(32, 'x')));
  EXPECT_EQ("", ReasonFor(std::string(256, 'x') + "\n"));
  const std::string reason =
      "not one line of 32 to 256 printable characters without blanks; openssl rand -hex 32 makes "
      "one";
  for (const std::string& content :
       {std::string(), std::string("\n"), std::string(31, 'x'), std::string(257, 'x'),
        std::string(100000, 'x'), std::string(20, 'x') + " " + std::string(20, 'x'),
        std::string(40, 'x') + "\n\n", std::string(40, 'x') + "\r\n", std::string(40, '\xE4'),
        std::string(40, '\0')})
    EXPECT_EQ(reason, ReasonFor(content)) << content.size();
}

TEST(ControlTokenTest, MayBeReadByItsOwnerAndGroupOnly) {
  const std::string reason =
      "must be a regular file that others cannot read; chmod 600 keeps them out";
  for (const mode_t mode : {0400u, 0600u, 0440u, 0640u})
    EXPECT_EQ("", ReasonFor(kToken, mode)) << mode;
  for (const mode_t mode : {0604u, 0602u, 0601u, 0660u, 0620u, 0644u, 0777u})
    EXPECT_EQ(reason, ReasonFor(kToken, mode)) << mode;
}

// Opening it for reading would wait for a writer.
TEST(ControlTokenTest, ANamedPipeIsRefusedAtOnce) {
  const std::string pipe = "/tmp/token-pipe-" + std::to_string(getpid());
  ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
  EXPECT_THROW(ControlToken{pipe}, TokenError);
  unlink(pipe.c_str());
}

TEST(ControlTokenTest, AFileThatIsNoneIsNamed) {
  EXPECT_THROW(ControlToken("/nowhere/token"), TokenError);
  EXPECT_THROW(ControlToken("/tmp"), TokenError);
  EXPECT_THROW(ControlToken("/dev/null"), TokenError);
}

}  // namespace
