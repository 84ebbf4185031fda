// The access rules of the packaged files for the sockets, tested with processes of other users.
// Needs the right to change users, which a container may lack.

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "FaultyUnit.h"
#include "Isolation.h"

namespace {

namespace fs = std::filesystem;

using louddesk::Peer;

constexpr char kDirectory[] = "/run/shm/mq";

// User and group numbers that are not in use. The first is the group of the packaged files.
constexpr char kGroup[] = "4711";
constexpr char kServiceUser[] = "4712";
constexpr char kMember[] = "4713";
constexpr char kStranger[] = "4714";

/// The words after `beginning` in the first line of a packaged file that begins with it.
std::vector<std::string> WordsAfter(const std::string& beginning, const std::string& file) {
  std::ifstream stream(std::string(PACKAGED_FILES) + "/" + file);
  for (std::string line; std::getline(stream, line);)
    if (line.rfind(beginning, 0) == 0) {
      std::istringstream rest(line.substr(beginning.size()));
      return {std::istream_iterator<std::string>(rest), {}};
    }
  ADD_FAILURE() << "no " << beginning << " in " << file;
  return std::vector<std::string>(3);
}

mode_t ModeOf(const std::string& octal) {
  return static_cast<mode_t>(std::strtoul(octal.c_str(), nullptr, 8));
}

mode_t RightsOf(const fs::path& path) {
  struct stat status = {};
  EXPECT_EQ(0, stat(path.c_str(), &status)) << path;
  EXPECT_EQ(kGroup, std::to_string(status.st_gid)) << path;
  return status.st_mode & 07777;
}

TEST(PackagedFilesTest, OneGroupIsNamedThroughout) {
  const std::string group = WordsAfter("g", "loudcalc.sysusers")[0];
  EXPECT_NE("", group);
  EXPECT_EQ(group, WordsAfter("d /run/shm/mq", "loudcalc.tmpfiles")[2]);
  EXPECT_EQ(group, WordsAfter("SupplementaryGroups=", "loudcalc@.service.in")[0]);
}

/// Sockets of this network to which any process may connect or send, by their inode numbers.
std::set<std::string> OpenPorts() {
  constexpr char kListening[] = "0A";
  std::set<std::string> sockets;
  for (const std::string protocol : {"tcp", "tcp6", "udp", "udp6"}) {
    std::ifstream list("/proc/self/net/" + protocol);
    std::string line;
    std::getline(list, line);  // the heading
    while (std::getline(list, line)) {
      std::istringstream columns(line);
      const std::vector<std::string> fields{std::istream_iterator<std::string>(columns), {}};
      if (protocol.front() == 'u' || fields.at(3) == kListening)
        sockets.insert("socket:[" + fields.at(9) + "]");
    }
  }
  return sockets;
}

/// Number of `sockets` that the process has open.
long CountIn(const std::string& process, const std::set<std::string>& sockets) {
  const fs::directory_iterator files("/proc/" + process + "/fd");
  return std::count_if(begin(files), end(files), [&](const fs::directory_entry& file) {
    std::error_code isGone;
    return sockets.count(fs::read_symlink(file, isGone)) != 0;
  });
}

using OpenPortsTest = FaultyUnit;

TEST_F(OpenPortsTest, ServiceHasNone) {
  ASSERT_NO_FATAL_FAILURE(StartInOrder({}));
  const std::set<std::string> ports = OpenPorts();
  EXPECT_LT(0, CountIn("self", ports)) << "nor are those of the stand-in found";
  EXPECT_EQ(0, CountIn(mService->StatusOf("Pid"), ports));
}

class TrustBoundaryTest : public FaultyUnit {
 protected:
  void SetUp() override {
    if (!HasOwnNamespaces() ||
        std::system(("/usr/bin/setpriv --clear-groups --reuid=" + std::string(kStranger) +
                     " --regid=" + kStranger + " /bin/true 2>/dev/null")
                        .c_str()) != 0)
      GTEST_SKIP() << "other users cannot be played on this machine";
    CopyPrograms();
    MakeDirectory();
  }

  /// Makes the directory of the sockets with the permissions in the packaged files.
  static void MakeDirectory() {
    fs::remove_all(kDirectory);
    fs::create_directory(kDirectory);
    ASSERT_EQ(0, chown(kDirectory, 0, static_cast<gid_t>(std::stoul(kGroup))));
    ASSERT_EQ(0, chmod(kDirectory, ModeOf(WordsAfter("d /run/shm/mq", "loudcalc.tmpfiles")[0])));
    umask(ModeOf(Umask()));  // the peers' umask too, including the stand-in's
  }

  static std::string Umask() { return WordsAfter("UMask=", "loudcalc@.service.in")[0]; }

  /// Copies the programs to a place from which every user can run them.
  static void CopyPrograms() {
    fs::create_directory(kPrograms);
    for (const char* program : {LOUDCALC_BINARY, PEER_PROCESS_BINARY, HOSTILE_CLIENT_BINARY}) {
      const fs::path copy = kPrograms / fs::path(program).filename();
      fs::copy_file(program, copy, fs::copy_options::overwrite_existing);
      fs::permissions(copy, fs::perms(0755));
    }
    fs::permissions(kPrograms, fs::perms(0755));
  }

  static std::vector<std::string> AsUser(const std::string& user, bool isMember,
                                         const std::string& program) {
    return {"/usr/bin/setpriv",
            "--reuid=" + user,
            "--regid=" + user,
            isMember ? std::string("--groups=") + kGroup : "--clear-groups",
            "/bin/sh",
            "-c",
            "umask " + Umask() + "; exec " + (kPrograms / program).string() + " \"$@\"",
            program};
  }

  static std::unique_ptr<ServiceProcess> Run(std::vector<std::string> command,
                                             const std::vector<std::string>& arguments) {
    command.insert(command.end(), arguments.begin(), arguments.end());
    const std::string program = command.front();
    command.erase(command.begin());
    return std::make_unique<ServiceProcess>(program, command);
  }

  /// Starts the service as its systemd unit does, with the stand-in as its peers.
  void StartInItsUnit() {
    mUnit.OpenAll();
    mService = Run(AsUser(kServiceUser, true, "LoudCalc"), {"-m", "1", "-c", "1"});
    ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
    StartMeasuring();
  }

  static const fs::path kPrograms;
  const std::string mDataFile = std::string(kDirectory) + "/" + louddesk::DataPublisherFile(1, 1);
  const std::string mStateFile = std::string(kDirectory) + "/" + louddesk::StatePublisherFile(1, 1);
};

const fs::path TrustBoundaryTest::kPrograms = "/run/shm/programs";

TEST_F(TrustBoundaryTest, SocketsAreTheGroupsOnly) {
  ASSERT_NO_FATAL_FAILURE(StartInItsUnit());
  EXPECT_EQ(02770u, RightsOf(kDirectory));
  EXPECT_EQ(0660u, RightsOf(mDataFile));
  EXPECT_EQ(0660u, RightsOf(mStateFile));
  ExpectMeasures(-20);
}

TEST_F(TrustBoundaryTest, MembersAreServed) {
  ASSERT_NO_FATAL_FAILURE(StartInItsUnit());
  const auto member = Run(AsUser(kMember, true, "PeerProcess"), {"DataClient=ipc://" + mDataFile});
  EXPECT_TRUE(member->WaitForLine("DataClient LoudnessData", kPatience));
}

TEST_F(TrustBoundaryTest, StrangersNeitherConnectNorRemoveTheFile) {
  ASSERT_NO_FATAL_FAILURE(StartInItsUnit());
  const auto stranger =
      Run(AsUser(kStranger, false, "HostileClient"), {"ConnectAndLeave", mDataFile});
  EXPECT_TRUE(stranger->WaitForLine("Permission denied", kPatience));
  auto remover = AsUser(kStranger, false, "");
  remover.resize(4);
  const auto removal = Run(remover, {"/bin/rm", "-f", mDataFile});
  EXPECT_TRUE(removal->WaitForLine("Permission denied", kPatience));
  EXPECT_TRUE(fs::exists(mDataFile));
  ExpectCadence();
}

}  // namespace
