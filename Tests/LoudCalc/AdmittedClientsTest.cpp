// The clients that the environment variables allow to connect to the publishers.

#include "AdmittedClients.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

#include "CzmqFaults.h"
#include "MqListener.h"
#include "MqTestKit.h"

namespace {

using testing::HasSubstr;

constexpr char kEndpointFile[] = "admittedClientsTest.ipc";

// A handshake that times out on a busy machine looks like a refusal, so the client tries again.
constexpr int kRefusals = 3;

class AdmittedClientsTest : public testing::Test {
 protected:
  AdmittedClientsTest() {
    mqtest::MakeIpcDirectory();
    unsetenv(kClientUsersVariable);
    unsetenv(kClientGroupsVariable);
  }

  // Whether a client in this process can connect to a new publisher.
  static bool IsAdmitted() {
    zsock_t* publisher = zsock_new(ZMQ_PUB);
    EXPECT_TRUE(MqPrepareListener(publisher));
    const std::string endpoint = mqtest::IpcEndpoint(kEndpointFile);
    EXPECT_NE(-1, zsock_bind(publisher, "%s", endpoint.c_str()));
    zsock_t* client = zsock_new(ZMQ_SUB);
    zactor_t* monitor = zactor_new(zmonitor, client);
    zstr_sendx(monitor, "LISTEN", "HANDSHAKE_SUCCEEDED", "DISCONNECTED",
               "HANDSHAKE_FAILED_NO_DETAIL", nullptr);
    zstr_send(monitor, "START");
    zsock_wait(monitor);
    zsock_connect(client, "%s", endpoint.c_str());
    bool isAdmitted = false;
    for (int refusals = 0; !isAdmitted && refusals < kRefusals; ++refusals) {
      const mqtest::Frames event = mqtest::Receive(zactor_sock(monitor));
      EXPECT_FALSE(event.empty()) << "neither admitted nor turned away";
      isAdmitted = !event.empty() && event.front() == "HANDSHAKE_SUCCEEDED";
    }
    zactor_destroy(&monitor);
    zsock_destroy(&client);
    zsock_destroy(&publisher);
    return isAdmitted;
  }

  static std::string OwnUser() { return std::to_string(geteuid()); }
  static std::string OwnGroup() { return std::to_string(getegid()); }

  bool Load(const char* variable, const std::string& value) {
    setenv(variable, value.c_str(), 1);
    return LoadAdmittedClients(error_);
  }

  std::string error_;
};

// A number that no user has on the machines where tests run.
constexpr char kStranger[] = "4294900000";

TEST_F(AdmittedClientsTest, EverybodyIsAdmittedWhereNobodyIsNamed) {
  ASSERT_TRUE(LoadAdmittedClients(error_));
  EXPECT_TRUE(IsAdmitted());
}

TEST_F(AdmittedClientsTest, OnlyNamedUsersAre) {
  ASSERT_TRUE(Load(kClientUsersVariable, kStranger));
  EXPECT_FALSE(IsAdmitted());
  ASSERT_TRUE(Load(kClientUsersVariable, std::string(kStranger) + "," + OwnUser()));
  EXPECT_TRUE(IsAdmitted());
}

TEST_F(AdmittedClientsTest, OnlyNamedGroupsAre) {
  ASSERT_TRUE(Load(kClientGroupsVariable, kStranger));
  EXPECT_FALSE(IsAdmitted());
  ASSERT_TRUE(Load(kClientGroupsVariable, OwnGroup() + "," + kStranger));
  EXPECT_TRUE(IsAdmitted());
}

TEST_F(AdmittedClientsTest, UserOrGroupIsEnough) {
  ASSERT_TRUE(Load(kClientUsersVariable, kStranger));
  ASSERT_TRUE(Load(kClientGroupsVariable, OwnGroup()));
  EXPECT_TRUE(IsAdmitted());
  ASSERT_TRUE(Load(kClientUsersVariable, OwnUser()));
  ASSERT_TRUE(Load(kClientGroupsVariable, kStranger));
  EXPECT_TRUE(IsAdmitted());
}

// Every system has the user and the group root, whose number is 0.
TEST_F(AdmittedClientsTest, NamesStandForTheirNumbers) {
  const bool isRoot = geteuid() == 0;
  ASSERT_TRUE(Load(kClientUsersVariable, "root"));
  EXPECT_EQ(isRoot, IsAdmitted());
  unsetenv(kClientUsersVariable);
  const bool isInItsGroup = getegid() == 0;
  ASSERT_TRUE(Load(kClientGroupsVariable, "root"));
  EXPECT_EQ(isInItsGroup, IsAdmitted());
}

TEST_F(AdmittedClientsTest, UnknownNameIsReportedAndChangesNothing) {
  struct {
    const char* value;
    const char* part;
  } const cases[] = {{"", ""},
                     {"nobody here", "nobody here"},
                     {"0,", ""},
                     {",0", ""},
                     {"0,missing,0", "missing"},
                     {" 0", " 0"},
                     {"-1", "-1"},
                     {"4294967295", "4294967295"},
                     {"18446744073709551616", "18446744073709551616"}};
  for (const char* variable : {kClientUsersVariable, kClientGroupsVariable})
    for (const auto& [value, part] : cases) {
      unsetenv(kClientUsersVariable);
      unsetenv(kClientGroupsVariable);
      ASSERT_TRUE(Load(kClientUsersVariable, OwnUser()));
      EXPECT_FALSE(Load(variable, value)) << value;
      EXPECT_EQ(std::string(variable) + " is \"" + value + "\", but there is no \"" + part + "\"",
                error_);
      EXPECT_TRUE(IsAdmitted());
    }
}

}  // namespace
