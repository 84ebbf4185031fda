// Hashes files with libsodium.

#include "FileHash.h"

#include <fmt/format.h>
#include <sodium.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <vector>

#include "AudioFile.h"

namespace louddesk {
namespace {

constexpr std::size_t kChunk = 1 << 20;

}  // namespace

std::string Sha256Of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  crypto_hash_sha256_state state;
  crypto_hash_sha256_init(&state);
  std::vector<char> chunk(kChunk);
  while (file.read(chunk.data(), static_cast<std::streamsize>(chunk.size())) || file.gcount() > 0)
    crypto_hash_sha256_update(&state, reinterpret_cast<const unsigned char*>(chunk.data()),
                              static_cast<unsigned long long>(file.gcount()));
  if (!file.eof())
    throw AudioFileError(path, std::string("cannot be read for its hash: ") + std::strerror(errno));
  std::array<unsigned char, crypto_hash_sha256_BYTES> digest;
  crypto_hash_sha256_final(&state, digest.data());
  return fmt::format("{:02x}", fmt::join(digest, ""));
}

}  // namespace louddesk
