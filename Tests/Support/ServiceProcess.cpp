// Child processes of the tests. One observer thread a process; everything else on the test's
// thread.

#include "ServiceProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

constexpr int kCannotExecute = 127;
constexpr std::size_t kReadSize = 65536;

struct Pipe {
  int readEnd = -1;
  int writeEnd = -1;
};

[[noreturn]] void GiveUp(const char* what) {
  std::fprintf(stderr, "ServiceProcess: %s: %s.\n", what, std::strerror(errno));
  std::exit(1);
}

Pipe MakePipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0)
    GiveUp("pipe");
  return {ends[0], ends[1]};
}

// The environment of this process with `changes` on top.
std::vector<std::string> Environment(const std::map<std::string, std::string>& changes) {
  std::vector<std::string> entries;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text = *entry;
    if (changes.count(text.substr(0, text.find('='))) == 0)
      entries.push_back(text);
  }
  for (const auto& [name, value] : changes)
    entries.push_back(name + "=" + value);
  return entries;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts)
    pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// In the child of a process with threads: only calls that are safe there.
[[noreturn]] void Execute(pid_t parent, int input, int output, int errors, char* const* arguments,
                          char* const* environment) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent)
    _exit(kCannotExecute);
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(errors, STDERR_FILENO);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  execve(arguments[0], arguments, environment);
  _exit(kCannotExecute);
}

// One stream, cut into lines.
class LineReader {
 public:
  explicit LineReader(int file) : mFile(file) {}
  ~LineReader() { close(mFile); }

  pollfd PollItem() const { return {mIsOpen ? mFile : -1, POLLIN, 0}; }
  bool IsOpen() const { return mIsOpen; }

  // The lines that became complete; at the end of the stream also what is left of it.
  std::vector<std::string> Read() {
    std::array<char, kReadSize> buffer;
    const ssize_t size = read(mFile, buffer.data(), buffer.size());
    if (size < 0 && errno == EINTR)
      return {};
    mIsOpen = size > 0;
    if (mIsOpen)
      mRest.append(buffer.data(), static_cast<std::size_t>(size));
    return CutLines();
  }

 private:
  std::vector<std::string> CutLines() {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t end; (end = mRest.find('\n', start)) != std::string::npos; start = end + 1)
      lines.push_back(mRest.substr(start, end - start));
    mRest.erase(0, start);
    if (!mIsOpen && !mRest.empty())
      lines.push_back(std::exchange(mRest, ""));
    return lines;
  }

  int mFile;
  bool mIsOpen = true;
  std::string mRest;  // the beginning of a line
};

}  // namespace

ServiceProcess::ServiceProcess(const std::string& program,
                               const std::vector<std::string>& arguments,
                               const std::map<std::string, std::string>& environment) {
  std::vector<std::string> command = {program};
  command.insert(command.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables = Environment(environment);
  const std::vector<char*> commandPointers = Pointers(command);
  const std::vector<char*> variablePointers = Pointers(variables);
  const int input = open("/dev/null", O_RDONLY | O_CLOEXEC);
  const Pipe output = MakePipe();
  const Pipe errors = MakePipe();

  const pid_t parent = getpid();
  mPid = fork();
  if (mPid < 0)
    GiveUp("fork");
  if (mPid == 0)
    Execute(parent, input, output.writeEnd, errors.writeEnd, commandPointers.data(),
            variablePointers.data());
  close(input);
  close(output.writeEnd);
  close(errors.writeEnd);
  mObserver = std::thread(&ServiceProcess::Observe, this, output.readEnd, errors.readEnd);
}

ServiceProcess::~ServiceProcess() {
  Signal(SIGKILL);
  mObserver.join();
}

bool ServiceProcess::WaitForLine(const std::string& text, Patience patience, std::size_t skip) {
  const auto end = std::chrono::steady_clock::now() + patience;
  std::size_t next = skip;
  const auto hasCome = [&] {
    for (; next < mLines.size(); ++next)
      if (mLines[next].text.find(text) != std::string::npos)
        return true;
    return false;
  };
  std::unique_lock<std::mutex> lock(mMutex);
  bool found = false;
  mChanged.wait_until(lock, end, [&] { return (found = hasCome()) || mExit; });
  return found;
}

std::vector<OutputLine> ServiceProcess::Lines() const {
  const std::lock_guard<std::mutex> lock(mMutex);
  return mLines;
}

void ServiceProcess::Signal(int signal) {
  const std::lock_guard<std::mutex> lock(mMutex);
  if (!mExit)
    kill(mPid, signal);
}

bool ServiceProcess::IsRunning() const {
  const std::lock_guard<std::mutex> lock(mMutex);
  return !mExit;
}

std::optional<ExitReport> ServiceProcess::WaitForExit(Patience patience) {
  std::unique_lock<std::mutex> lock(mMutex);
  mChanged.wait_for(lock, patience, [this] { return mExit.has_value(); });
  return mExit;
}

void ServiceProcess::Observe(int output, int errors) {
  LineReader readers[] = {LineReader(output), LineReader(errors)};
  while (readers[0].IsOpen() || readers[1].IsOpen()) {
    pollfd items[] = {readers[0].PollItem(), readers[1].PollItem()};
    if (poll(items, 2, -1) < 0)
      continue;
    for (std::size_t i = 0; i < 2; ++i)
      if (items[i].revents != 0)
        for (std::string& line : readers[i].Read())
          Append(i == 1, std::move(line));
  }
  Reap();
}

void ServiceProcess::Append(bool isError, std::string text) {
  const std::lock_guard<std::mutex> lock(mMutex);
  mLines.push_back({isError, std::move(text)});
  mChanged.notify_all();
}

void ServiceProcess::Reap() {
  siginfo_t info{};
  while (waitid(P_PID, static_cast<id_t>(mPid), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
  }
  // From here on the process number may be given to somebody else: no signal may be sent to it.
  const std::lock_guard<std::mutex> lock(mMutex);
  int status = 0;
  waitpid(mPid, &status, 0);
  mExit = ExitReport{};
  if (WIFEXITED(status))
    mExit->status = WEXITSTATUS(status);
  else
    mExit->signal = WTERMSIG(status);
  mChanged.notify_all();
}

std::string ServiceProcess::Joined(bool isError) const {
  const std::lock_guard<std::mutex> lock(mMutex);
  std::string text;
  for (const OutputLine& line : mLines)
    if (line.isError == isError)
      text += line.text + "\n";
  return text;
}
