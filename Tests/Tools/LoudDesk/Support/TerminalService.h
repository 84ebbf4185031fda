// A real terminal beside the running service: tmux plays it, its keyboard and its window.

#pragma once

#include "RunningService.h"

class TerminalService : public RunningService {
 protected:
  using RunningService::RunningService;

  /// Closes the terminal, with whatever still runs in it.
  void TearDown() override;

  /// A terminal of that size in which a shell waits for commands.
  void OpenTerminal(unsigned columns, unsigned rows);

  /// The answer of tmux to a command.
  std::string Tmux(const std::string& command);

  /// Types a line, or presses a key by its name for tmux.
  void Type(const std::string& line) { Tmux("send-keys '" + line + "' Enter"); }
  void Press(const std::string& key) { Tmux("send-keys -- " + key); }

  /// What `stty -a`, run outside of the terminal, says about it.
  std::string ModesOfTheTerminal();

  /// What can be seen.
  std::string Screen() { return Tmux("capture-pane -p"); }

  /// Waits until `text` can be seen.
  bool WaitForText(const std::string& text) { return WaitFor("capture-pane -p", text); }

  /// Waits until the answer of tmux to `command` contains `text`.
  bool WaitFor(const std::string& command, const std::string& text);

  /// Waits until the shell reads the keys again because the program that did has ended or stopped.
  bool WaitForShell() {
    return WaitFor("display-message -p 'runs #{pane_current_command}'", "runs sh");
  }

  /// Expects that the shell has the terminal again: its own screen, cursor, echo, line editing and
  /// signals. The program that had it has ended with `status`.
  void ExpectSaneTerminal(const std::string& status);

  /// Path of a file for this test alone.
  std::string FileOfItsOwn(const std::string& ending) const { return mSocket + ending; }

 private:
  std::string mSocket;  // of the tmux server
};
