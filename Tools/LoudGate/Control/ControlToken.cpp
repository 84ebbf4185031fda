// Reads the token and compares it.

#include "ControlToken.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "RequestGuard.h"

namespace loudgate {
namespace {

constexpr char kScheme[] = "Bearer ";

// The group may read the file, because service managers hand over secrets in files with a group.
// Nobody else may read it, and only the owner may write it.
constexpr mode_t kForbiddenMode = S_IWGRP | S_IRWXO;

class TokenFile {
 public:
  explicit TokenFile(const std::string& name)
      : mDescriptor(open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
    if (mDescriptor < 0)
      throw TokenError(name + ": " + std::strerror(errno));
  }
  ~TokenFile() { close(mDescriptor); }
  TokenFile(const TokenFile&) = delete;
  TokenFile& operator=(const TokenFile&) = delete;

  bool IsPrivate() const {
    struct stat status {};
    return fstat(mDescriptor, &status) == 0 && S_ISREG(status.st_mode) &&
           (status.st_mode & kForbiddenMode) == 0;
  }

  // The text without its line end. Reads just enough to detect a text that is too long.
  std::string Line() const {
    std::array<char, kLongestToken + 2> buffer{};
    const ssize_t size = read(mDescriptor, buffer.data(), buffer.size());
    std::string line(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    sodium_memzero(buffer.data(), buffer.size());
    if (!line.empty() && line.back() == '\n')
      line.pop_back();
    return line;
  }

 private:
  int mDescriptor;
};

bool IsVisible(char c) {
  return c > ' ' && c <= '~';
}

bool IsToken(const std::string& text) {
  return text.size() >= kShortestToken && text.size() <= kLongestToken &&
         std::all_of(text.begin(), text.end(), IsVisible);
}

}  // namespace

ControlToken::ControlToken(const std::string& file) {
  static_assert(kHashBytes == crypto_generichash_BYTES);
  const TokenFile source(file);
  if (!source.IsPrivate())
    throw TokenError(file +
                     ": must be a regular file that others cannot read; chmod 600 keeps them out");
  std::string token = source.Line();
  if (!IsToken(token))
    throw TokenError(file + ": not one line of " + std::to_string(kShortestToken) + " to " +
                     std::to_string(kLongestToken) + " printable characters without blanks; " +
                     "openssl rand -hex 32 makes one");
  mHash = HashOf(token);
  sodium_memzero(token.data(), token.size());
}

ControlToken::Hash ControlToken::HashOf(const std::string& token) {
  Hash hash{};
  crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(token.data()),
                     token.size(), nullptr, 0);
  return hash;
}

bool ControlToken::IsIn(const std::string& authorization) const {
  constexpr std::size_t schemeSize = sizeof kScheme - 1;
  if (LowerCase(authorization.substr(0, schemeSize)) != LowerCase(kScheme))
    return false;
  const Hash hash = HashOf(authorization.substr(schemeSize));
  return sodium_memcmp(hash.data(), mHash.data(), hash.size()) == 0;
}

}  // namespace loudgate
