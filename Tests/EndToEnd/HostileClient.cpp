// Hostile clients of the service's publishers, in a separate process and at the lowest priority.
// The arguments are the kind of attack and the publisher's socket file; "Topics" and "Silent" also
// take numbers. Reports its progress on standard output, each second or once. Only a signal ends
// it.

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "Zmtp.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kNiceness = 10;

[[noreturn]] void GiveUp(const std::string& what) {
  std::fprintf(stderr, "HostileClient: %s: %s.\n", what.c_str(), std::strerror(errno));
  std::exit(1);
}

std::string RandomBytes(std::size_t count) {
  static std::mt19937 random(static_cast<unsigned>(getpid()));
  std::string bytes(count, '\0');
  for (char& byte : bytes)
    byte = static_cast<char>(random());
  return bytes;
}

// A connection to the publisher.
class Connection {
 public:
  // Connects. Waits while the publisher has no room for the connection.
  explicit Connection(const std::string& path) : mSocket(socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (connect(mSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
      GiveUp(path);
  }

  void Say(const std::string& bytes) const {
    send(mSocket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }

  // Sends the handshake of a subscriber and reads the answer, after which it may subscribe.
  void ShakeHands() const {
    constexpr std::size_t kFrameHeader = 2;
    Say(zmtp::Greeting() + zmtp::Ready("SUB"));
    const std::string answer = Hear(zmtp::kGreetingSize + kFrameHeader);
    if (!answer.empty())
      Hear(static_cast<unsigned char>(answer.back()));
  }

  // Whether the other side has closed.
  bool IsOver() const {
    char byte = 0;
    return recv(mSocket, &byte, 1, MSG_DONTWAIT | MSG_PEEK) == 0;
  }

  void End() const { close(mSocket); }

 private:
  // Reads `size` bytes. Empty if the other side has closed.
  std::string Hear(std::size_t size) const {
    std::string bytes(size, '\0');
    const bool isThere =
        recv(mSocket, bytes.data(), size, MSG_WAITALL) == static_cast<ssize_t>(size);
    return isThere ? bytes : "";
  }

  int mSocket;
};

using Numbers = std::vector<unsigned long>;

// Repeats `connect`, which returns its number of connections, and writes the total each second.
[[noreturn]] void Repeat(const std::function<unsigned long()>& connect) {
  const Clock::time_point start = Clock::now();
  unsigned long count = 0;
  for (long seconds = 0;;) {
    count += connect();
    const Clock::duration passed = Clock::now() - start;
    if (passed / std::chrono::seconds(1) > seconds) {
      seconds = passed / std::chrono::seconds(1);
      std::printf("%lu connections in %ld s\n", count, seconds);
      std::fflush(stdout);
    }
  }
}

[[noreturn]] void StayFor(const char* what, std::size_t count) {
  std::printf("%zu %s\n", count, what);
  std::fflush(stdout);
  for (;;)
    pause();
}

// Connects, never subscribes and leaves.
void ConnectAndLeave(const std::string& path, const Numbers&) {
  Repeat([&] {
    const Connection connection(path);
    connection.ShakeHands();
    connection.End();
    return 1UL;
  });
}

// Connects, sends random bytes, many of which are subscriptions, and leaves.
void Garbage(const std::string& path, const Numbers&) {
  constexpr std::size_t kBytes = 4000;
  Repeat([&] {
    const Connection connection(path);
    connection.ShakeHands();
    connection.Say(RandomBytes(kBytes));
    connection.End();
    return 1UL;
  });
}

// Numbers: CLIENTS TOPICS LENGTH. Connects CLIENTS clients, each subscribed to TOPICS topics of
// LENGTH bytes. All leave at once, when the process ends.
void Topics(const std::string& path, const Numbers& numbers) {
  for (unsigned long client = 0; client < numbers.at(0); ++client) {
    const Connection connection(path);
    connection.ShakeHands();
    for (unsigned long topic = 0; topic < numbers.at(1); ++topic)
      connection.Say(zmtp::Subscription(RandomBytes(numbers.at(2))));
  }
  StayFor("clients have subscribed", numbers.at(0));
}

// Number: CLIENTS. Connects that many clients, which stay silent. Rejected ones connect again.
void Silent(const std::string& path, const Numbers& numbers) {
  std::vector<Connection> clients;
  for (unsigned long client = 0; client < numbers.at(0); ++client)
    clients.emplace_back(path);
  Repeat([&] {
    unsigned long count = 0;
    for (Connection& client : clients)
      if (client.IsOver()) {
        client.End();
        client = Connection(path);
        ++count;
      }
    return count;
  });
}

struct Kind {
  const char* name;
  void (*act)(const std::string& path, const Numbers& numbers);
};

constexpr Kind kKinds[] = {{"ConnectAndLeave", ConnectAndLeave},
                           {"Garbage", Garbage},
                           {"Topics", Topics},
                           {"Silent", Silent}};

void AllowAllFiles() {
  rlimit files = {};
  getrlimit(RLIMIT_NOFILE, &files);
  files.rlim_cur = files.rlim_max;
  setrlimit(RLIMIT_NOFILE, &files);
}

}  // namespace

int main(int argc, char** argv) {
  setpriority(PRIO_PROCESS, 0, kNiceness);
  AllowAllFiles();
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() < 2)
    GiveUp("what to do and a socket file are missing");
  Numbers numbers;
  for (std::size_t i = 2; i < arguments.size(); ++i)
    numbers.push_back(std::stoul(arguments[i]));
  for (const Kind& kind : kKinds)
    if (arguments[0] == kind.name)
      kind.act(arguments[1], numbers);
  GiveUp("nothing like " + arguments[0]);
}
