// The shipped gate with a real client: start, end and refusals.

#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "GateProcess.h"
#include "TlsFiles.h"

namespace {

TEST_F(GateTest, EverySignalOfAnEndEndsItInOrder) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    ASSERT_NO_FATAL_FAILURE(StartGate());
    EXPECT_EQ(200, Get("/api/clusters").status);
    ExpectGateEnds(signal);
  }
}

TEST_F(GateTest, EndsInOrderBesideAServiceWithReadersOfStreams) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ASSERT_NO_FATAL_FAILURE(StartGate());
  StartMeasuring();
  const auto reader = Follow("/api/stream");
  EXPECT_TRUE(reader->WaitForLine("RUNNING", kPatience));
  ExpectGateEnds(SIGTERM);
  EXPECT_TRUE(reader->WaitForExit(kPatience));
}

TEST_F(GateTest, ListensOnThisMachineAloneUnlessToldOtherwise) {
  ServiceProcess gate(LOUDGATE_BINARY, {"--no-record"});
  ASSERT_TRUE(gate.WaitForLine("Listening at http://127.0.0.1:8128/", kPatience))
      << gate.StandardError();
  // The kernel lists 127.0.0.1 and 8128 in hexadecimal; state 10 is "listening".
  std::ifstream sockets("/proc/net/tcp");
  const std::string list((std::istreambuf_iterator<char>(sockets)),
                         std::istreambuf_iterator<char>());
  EXPECT_NE(std::string::npos, list.find("0100007F:1FC0 00000000:0000 0A"));
  EXPECT_EQ(std::string::npos, list.find("00000000:1FC0"));
}

TEST_F(GateTest, RefusesOtherHostsOriginsAndMethods) {
  ASSERT_NO_FATAL_FAILURE(StartGate({"--name", "station.example"}));
  const std::string host = "127.0.0.1:" + std::to_string(Port());
  EXPECT_EQ(200, Get("/api/clusters", {"-H", "Host: localhost:1"}).status);
  EXPECT_EQ(200, Get("/api/clusters", {"-H", "Host: station.example"}).status);
  EXPECT_EQ(421, Get("/api/clusters", {"-H", "Host: rebound.example"}).status);
  EXPECT_EQ(400, Get("/api/clusters", {"-H", "Host:"}).status);
  EXPECT_EQ(200, Get("/api/clusters", {"-H", "Origin: http://" + host}).status);
  EXPECT_EQ(403, Get("/api/clusters", {"-H", "Origin: http://other.example"}).status);
  EXPECT_EQ(403, Get("/api/stream", {"-H", "Origin: null"}).status);
  EXPECT_EQ(403, Get("/api/clusters",
                     {"-H", "Origin: http://" + host, "-H", "Origin: http://other.example"})
                     .status);
  for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS", "TRACE", "PATCH"}) {
    const HttpReply reply = Get("/api/clusters", {"-X", method});
    EXPECT_EQ(405, reply.status) << method;
    EXPECT_EQ("GET, HEAD", reply.Header("Allow"));
  }
  EXPECT_EQ(404, Get("/api").status);
  EXPECT_EQ(400, Get("/api/stream?cluster=1-1&cluster=1-2").status);
}

TEST_F(GateTest, AnswersWithAStrictContentPolicy) {
  ASSERT_NO_FATAL_FAILURE(StartGate());
  for (const char* path : {"/api/clusters", "/nothing"}) {
    const HttpReply reply = Get(path);
    EXPECT_EQ(0u, reply.Header("Content-Security-Policy").find("default-src 'none'; ")) << path;
    EXPECT_EQ("nosniff", reply.Header("X-Content-Type-Options")) << path;
    EXPECT_EQ("no-referrer", reply.Header("Referrer-Policy")) << path;
    EXPECT_EQ("no-store", reply.Header("Cache-Control")) << path;
  }
}

TEST_F(GateTest, WithoutTheDirectoryItWaitsForIt) {
  const std::string directory = std::filesystem::temp_directory_path() / "loudgate-test-absent";
  std::filesystem::remove_all(directory);
  ASSERT_NO_FATAL_FAILURE(StartGate({"--directory", directory}));
  EXPECT_EQ(200, Get("/api/clusters").status);
}

TEST_F(GateTest, APlaceThatIsTakenIsAComplaint) {
  ASSERT_NO_FATAL_FAILURE(StartGate());
  const std::string place = "127.0.0.1:" + std::to_string(Port());
  ServiceProcess second(LOUDGATE_BINARY, {"--listen", place});
  const auto report = second.WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_EQ(1, report->status);
  EXPECT_EQ("LoudGate: " + place + ": Address already in use\n", second.StandardError());
}

TEST_F(GateTest, ServesOverTlsOnlyWithACertificate) {
  const TlsFiles files;
  ASSERT_NO_FATAL_FAILURE(StartGate({"--certificate", files.Certificate(), "--key", files.Key()}));
  EXPECT_EQ("https://", Url().substr(0, 8));
  EXPECT_EQ(200, Get("/api/clusters", {"--cacert", files.Certificate()}).status);
  EXPECT_EQ(0, Get("/api/clusters").status);  // the client does not trust the certificate
  const auto reader = Follow("/api/stream", {"--cacert", files.Certificate()});
  EXPECT_TRUE(reader->WaitForLine("data: {", kPatience));
}

TEST_F(GateTest, APrivateKeyThatOthersCanReadIsReported) {
  const TlsFiles files;
  std::filesystem::permissions(files.Key(), std::filesystem::perms::others_read,
                               std::filesystem::perm_options::add);
  ASSERT_NO_FATAL_FAILURE(StartGate({"--certificate", files.Certificate(), "--key", files.Key()}));
  mGate->Signal(SIGTERM);
  const auto report = mGate->WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_EQ(0, report->status);
  EXPECT_EQ(
      "LoudGate: " + files.Key() + ": others can read this private key; chmod 600 keeps them out\n",
      mGate->StandardError());
}

TEST_F(GateTest, ACertificateThatExpiresSoonIsTold) {
  const TlsFiles files(1);
  ASSERT_NO_FATAL_FAILURE(StartGate({"--certificate", files.Certificate(), "--key", files.Key()}));
  mGate->Signal(SIGTERM);
  const auto report = mGate->WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_EQ(0, report->status);
  EXPECT_THAT(mGate->StandardError(),
              testing::MatchesRegex("LoudGate: " + files.Certificate() +
                                    ": the certificate expires at [-0-9]+ [0-9]+:[0-9]+ UTC; "
                                    "clients refuse it from then on\n"));
}

TEST_F(GateTest, AKeyOfAnotherCertificateIsAComplaint) {
  const TlsFiles files;
  const TlsFiles others;
  ServiceProcess gate(LOUDGATE_BINARY, {"--listen", "127.0.0.1:0", "--no-record", "--certificate",
                                        files.Certificate(), "--key", others.Key()});
  const auto report = gate.WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_EQ(1, report->status);
  EXPECT_THAT(gate.StandardError(),
              testing::EndsWith("/: Failed to initialize TLS support. The certificate and the key "
                                "must be a pair in PEM format, the key without a password.\n"));
}

TEST_F(GateTest, ACertificateThatCannotBeReadIsAComplaint) {
  ServiceProcess gate(LOUDGATE_BINARY, {"--listen", "127.0.0.1:0", "--certificate", "/nowhere",
                                        "--key", "/nowhere"});
  const auto report = gate.WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_EQ(1, report->status);
  EXPECT_EQ("LoudGate: /nowhere: is empty or cannot be read\n", gate.StandardError());
}

}  // namespace
