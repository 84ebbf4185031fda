// A private key and a certificate for this machine.

#pragma once

#include <string>

/// Files in the folder for temporary files, removed with the object.
class TlsFiles {
 public:
  /// Makes a certificate for 127.0.0.1 that is valid for `days` from now.
  explicit TlsFiles(unsigned days = 60);

  ~TlsFiles();
  TlsFiles(const TlsFiles&) = delete;
  TlsFiles& operator=(const TlsFiles&) = delete;

  std::string Certificate() const { return mPlace + ".pem"; }
  std::string Key() const { return mPlace + "-key.pem"; }

 private:
  const std::string mPlace;
};
