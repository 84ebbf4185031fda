// Child processes of the tests. Each has one observer thread; everything else happens on the thread
// of the test.

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
#include <filesystem>
#include <fstream>
#include <utility>

namespace {

constexpr int kCannotExecute = 127;
constexpr std::size_t kReadSize = 65536;

// Holds a second of busy output, so that programs do not wait for a slow test.
constexpr int kPipeSize = 1024 * 1024;

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
  fcntl(ends[1], F_SETPIPE_SZ, kPipeSize);
  return {ends[0], ends[1]};
}

// Waits until no process can write to a pipe any more, and closes it.
void AwaitEnd(int readEnd) {
  char byte;
  while (read(readEnd, &byte, 1) < 0 && errno == EINTR) {
  }
  close(readEnd);
}

// The environment of this process with `changes`.
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

sigset_t SetOf(const std::set<int>& signals) {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : signals)
    sigaddset(&set, signal);
  return set;
}

// State that the child process needs after the fork.
struct Inheritance {
  pid_t parent;
  sigset_t mask;
  int streams[3];  // standard input, output and error; ProcessOptions::kClosed: none
};

// Runs in the forked child of a process with several threads, where only async-signal-safe calls
// are allowed.
[[noreturn]] void Execute(const Inheritance& inheritance, char* const* arguments,
                          char* const* environment) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != inheritance.parent)
    _exit(kCannotExecute);
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
    if (inheritance.streams[stream] == ProcessOptions::kClosed)
      close(stream);
    else
      dup2(inheritance.streams[stream], stream);
  sigprocmask(SIG_SETMASK, &inheritance.mask, nullptr);
  execve(arguments[0], arguments, environment);
  _exit(kCannotExecute);
}

// Reads a stream and splits it into lines.
class LineReader {
 public:
  // A negative `file` is a stream without lines.
  explicit LineReader(int file) : mFile(file), mIsOpen(file >= 0) {}
  ~LineReader() {
    if (mFile >= 0)
      close(mFile);
  }

  pollfd PollItem() const { return {mIsOpen ? mFile : -1, POLLIN, 0}; }
  bool IsOpen() const { return mIsOpen; }

  // Reads once and returns the complete lines; at the end of the stream, the rest.
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
  bool mIsOpen;
  std::string mRest;  // the beginning of a line
};

}  // namespace

ServiceProcess::ServiceProcess(const std::string& program,
                               const std::vector<std::string>& arguments,
                               const std::map<std::string, std::string>& environment,
                               const ProcessOptions& options) {
  std::vector<std::string> command = {program};
  command.insert(command.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables = Environment(environment);
  const std::vector<char*> commandPointers = Pointers(command);
  const std::vector<char*> variablePointers = Pointers(variables);
  const int input = open("/dev/null", O_RDONLY | O_CLOEXEC);
  const Pipe output = options.output ? Pipe{} : MakePipe();
  const Pipe errors = options.errors ? Pipe{} : MakePipe();
  const Pipe execution = MakePipe();
  const Inheritance inheritance = {
      getpid(),
      SetOf(options.blockedSignals),
      {options.input.value_or(input), options.output.value_or(output.writeEnd),
       options.errors.value_or(errors.writeEnd)}};

  // The child must not get a signal before its mask is set.
  sigset_t before;
  pthread_sigmask(SIG_BLOCK, &inheritance.mask, &before);
  mPid = fork();
  if (mPid == 0)
    Execute(inheritance, commandPointers.data(), variablePointers.data());
  const int error = errno;
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  errno = error;
  if (mPid < 0)
    GiveUp("fork");
  for (const int file : {input, output.writeEnd, errors.writeEnd, execution.writeEnd})
    if (file >= 0)
      close(file);
  // Until it executes its program, the child has a copy of every open socket of the test. An
  // address that the test gives up meanwhile would stay in use.
  AwaitEnd(execution.readEnd);
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

std::string ServiceProcess::StatusOf(const std::string& field) const {
  std::ifstream status("/proc/" + std::to_string(mPid) + "/status");
  for (std::string line; std::getline(status, line);)
    if (line.compare(0, field.size() + 1, field + ":") == 0)
      return line.substr(line.find_first_not_of(" \t", field.size() + 1));
  return "";
}

long ServiceProcess::ResidentKib() const {
  return std::strtol(StatusOf("VmRSS").c_str(), nullptr, 10);
}

long ServiceProcess::OpenFiles() const {
  const std::filesystem::directory_iterator files("/proc/" + std::to_string(mPid) + "/fd");
  return std::distance(begin(files), end(files));
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
  // Locked, because after waitpid the process number may belong to another process, which must not
  // get a signal.
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
