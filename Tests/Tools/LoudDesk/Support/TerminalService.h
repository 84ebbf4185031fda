// A real terminal beside the running service. tmux provides the terminal, its keyboard and its
// window.

#pragma once

#include "RunningService.h"

class TerminalService : public RunningService {
 protected:
  using RunningService::RunningService;

  /// Closes the terminal and ends the programs that still run in it.
  void TearDown() override;

  /// Opens a terminal of this size, in which a shell waits for commands.
  void OpenTerminal(unsigned columns, unsigned rows);

  /// The answer of tmux to a command.
  std::string Tmux(const std::string& command);

  /// Types a line, or presses the key with this tmux name.
  void Type(const std::string& line) { Tmux("send-keys '" + line + "' Enter"); }
  void Press(const std::string& key) { Tmux("send-keys -- " + key); }

  /// The output of `stty -a` about the terminal, run outside of it.
  std::string ModesOfTheTerminal();

  /// The visible text.
  std::string Screen() { return Tmux("capture-pane -p"); }

  /// Waits until `text` is visible.
  bool WaitForText(const std::string& text) { return WaitFor("capture-pane -p", text); }

  /// Waits until the answer of tmux to `command` contains `text`.
  bool WaitFor(const std::string& command, const std::string& text);

  /// Waits until the program in the foreground has ended or stopped and the shell reads the keys
  /// again.
  bool WaitForShell() {
    return WaitFor("display-message -p 'runs #{pane_current_command}'", "runs sh");
  }

  /// Expects that the program in the foreground has ended with `status` and that the shell has the
  /// terminal back: its screen, cursor, echo, line editing and signals.
  void ExpectSaneTerminal(const std::string& status);

  /// Path of a file that only this test uses.
  std::string FileOfItsOwn(const std::string& ending) const { return mSocket + ending; }

 private:
  std::string mSocket;  // path of the tmux server's socket
};
