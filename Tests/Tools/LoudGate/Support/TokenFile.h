// A file with the token of a gate.

#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

constexpr char kToken[] = "0123456789abcdef0123456789ABCDEF";

class TokenFile {
 public:
  explicit TokenFile(const std::string& content = std::string(kToken) + "\n", mode_t mode = 0600) {
    close(mkstemp(mName.data()));
    std::ofstream(mName, std::ios::binary) << content;
    chmod(mName.c_str(), mode);
  }
  ~TokenFile() { unlink(mName.c_str()); }
  TokenFile(const TokenFile&) = delete;
  TokenFile& operator=(const TokenFile&) = delete;

  const std::string& Name() const { return mName; }

 private:
  std::string mName = std::filesystem::temp_directory_path() / "loudgate-token-XXXXXX";
};
