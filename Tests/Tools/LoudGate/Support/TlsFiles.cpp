// Calls openssl.

#include "TlsFiles.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "ServiceProcess.h"

namespace {

constexpr std::chrono::milliseconds kPatience{20000};

std::string NewPlace() {
  static int number = 0;
  return std::filesystem::temp_directory_path() /
         ("loudgate-tls-" + std::to_string(getpid()) + "-" + std::to_string(++number));
}

}  // namespace

TlsFiles::TlsFiles(unsigned days) : mPlace(NewPlace()) {
  ServiceProcess maker(
      OPENSSL_BINARY,
      {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj",
       "/CN=station.example", "-addext", "subjectAltName=IP:127.0.0.1", "-days",
       std::to_string(days), "-out", Certificate(), "-keyout", Key()});
  const auto report = maker.WaitForExit(kPatience);
  EXPECT_TRUE(report && report->status == 0) << maker.StandardError();
}

TlsFiles::~TlsFiles() {
  std::filesystem::remove(Certificate());
  std::filesystem::remove(Key());
}
