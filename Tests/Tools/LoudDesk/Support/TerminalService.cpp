// Shared by the tests in a terminal.

#include "TerminalService.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <thread>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

// Runs a command and returns its output.
std::string OutputOf(const std::string& command) {
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  char buffer[4096];
  while (pipe != nullptr && std::fgets(buffer, sizeof buffer, pipe) != nullptr)
    output += buffer;
  if (pipe != nullptr)
    pclose(pipe);
  return output;
}

}  // namespace

void TerminalService::TearDown() {
  if (!mSocket.empty())
    Tmux("kill-server");
  RunningService::TearDown();
}

void TerminalService::OpenTerminal(unsigned columns, unsigned rows) {
  std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
  std::replace(name.begin(), name.end(), '/', '-');  // in the name of a test with a parameter
  mSocket = testing::TempDir() + "tmux-" + name + "-" + std::to_string(getpid());
  Tmux("new-session -d -x " + std::to_string(columns) + " -y " + std::to_string(rows) +
       " \"env PS1='ready> ' LC_ALL=C.UTF-8 sh\"");
  ASSERT_TRUE(WaitForText("ready>"));
}

std::string TerminalService::Tmux(const std::string& command) {
  return OutputOf("tmux -f /dev/null -S " + mSocket + " " + command + " 2>&1");
}

std::string TerminalService::ModesOfTheTerminal() {
  std::string device = Tmux("display-message -p '#{pane_tty}'");
  device.erase(device.find_last_not_of('\n') + 1);
  return OutputOf("stty -a -F " + device);
}

bool TerminalService::WaitFor(const std::string& command, const std::string& text) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  do {
    if (Tmux(command).find(text) != std::string::npos)
      return true;
    // A terminal does not report that it has changed.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  } while (std::chrono::steady_clock::now() < end);
  ADD_FAILURE() << "no \"" << text << "\" in\n" << Screen();
  return false;
}

void TerminalService::ExpectSaneTerminal(const std::string& status) {
  ASSERT_TRUE(WaitForShell());
  Type("echo ended with $?; stty -a");
  ASSERT_TRUE(WaitForText("ended with " + status));
  ASSERT_TRUE(WaitForText("-extproc"));
  const std::string screen = Screen();
  EXPECT_THAT(screen, AllOf(HasSubstr(" icanon"), HasSubstr(" echo "), HasSubstr("isig "),
                            HasSubstr(" onlcr"), HasSubstr("icrnl")));
  EXPECT_THAT(screen, Not(HasSubstr("-icanon")));
  EXPECT_THAT(screen, Not(HasSubstr("-echo ")));
  EXPECT_EQ("0 1\n", Tmux("display-message -p '#{alternate_on} #{cursor_flag}'"));
}
