// A running service whose lines and messages are all compared exactly.

#pragma once

#include <iosfwd>

#include "RunningService.h"

/// Output of the service in some period, line by line. Time stamps and source lines, which tests
/// cannot know, are replaced by '#'.
struct Speech {
  std::vector<std::string> output;  // standard output without the lines of the action machine
  std::vector<std::string> errors;  // standard error
};

bool operator==(const Speech& left, const Speech& right);
void PrintTo(const Speech& speech, std::ostream* stream);

/// A plain console line of a unit, as in `Speech`.
std::string Printed(const std::string& unit, const std::string& text);

/// Levelled console lines of a unit, as in `Speech`: colour, time stamp, name, level, unit, line.
std::string Warned(const std::string& unit, const std::string& text);
std::string Failed(const std::string& unit, const std::string& text);

/// The line with its time stamp and its source line replaced, and without the colour reset of the
/// previous line.
std::string Normalised(std::string line);

/// Equal loudness messages in a row.
struct MessageRun {
  std::vector<int> figures;       // in the order of louddesk::PublishedCodes
  LuCmd_e command = LU_CMD_NONE;  // last command carried out
  int validSource = 1;
  int cluster = 1;
  std::size_t count = 1;  // messages
};

/// Whether the messages of both runs are equal; their counts may differ.
bool IsSameKind(const MessageRun& left, const MessageRun& right);
bool operator==(const MessageRun& left, const MessageRun& right);
void PrintTo(const MessageRun& run, std::ostream* stream);

/// All figures of a service without a reading.
extern const std::vector<int> kNoFigures;

class WatchedService : public RunningService {
 protected:
  using RunningService::RunningService;

  /// Starts like RunningService and drops all output up to then.
  void StartWatched();

  /// Waits until the service has handled everything that the text peer `peer` sent, and returns its
  /// output since the last call. Every levelled line must have reached the log sink too. Only for
  /// the meter sets 0 and 1, whose services have a topic on which a refusal can be provoked.
  Speech Hear(louddesk::Peer peer = louddesk::Peer::kMainAppServer);

  /// Publishes a text message as the main board's application server and returns the output that it
  /// causes.
  Speech SayTo(const std::string& topic, const std::optional<std::string>& payload);

  /// Expects that the next lines of the action machine report exactly these changes, for example
  /// "0x103 --> 0x101".
  void ExpectTransitions(const std::vector<std::string>& changes);

  /// Expects that the action machine reported nothing since the last expected change.
  void ExpectNoTransition();

  /// Drops the lines of the action machine so far.
  void ForgetTransitions();

  /// Expects that the next answer has exactly this topic and text.
  void ExpectAnswer(const std::string& topic, const std::string& json);

  /// Expects an acknowledgement of `command` as the next answer.
  void ExpectAcknowledged(const std::string& command, unsigned timeStamp = 0, unsigned user = 0);

  /// Expect that no answer comes for several periods, or that none has come so far.
  void ExpectNoAnswer();
  void ExpectNoAnswerSoFar();

  /// Text of an acknowledgement by a service of a meter set.
  std::string Acknowledgement(const std::string& command, unsigned timeStamp = 0,
                              unsigned user = 0) const;

  /// Topics of the service's acknowledgements and configurations.
  std::string CommandTopic() const;
  std::string ConfigurationTopic() const;

  /// Text of a published configuration that was received as `json` from the user `user`.
  std::string Envelope(const std::string& json, unsigned user) const;

  /// Stable figures: those of two equal messages in a row.
  std::vector<int> SettledFigures();

  /// The loudness messages that have not been read yet and those that follow, until three like
  /// `last` have come in a row, or until none comes for several periods.
  std::vector<MessageRun> RunsUntil(const MessageRun& last);
  std::vector<MessageRun> RunsUntilSilence();

 private:
  std::string Mark();
  void SendMark(louddesk::Peer peer, const std::string& mark);
  void ExpectAtSink(const std::string& mark, const std::vector<std::string>& errors);
  std::size_t IndexOf(const std::string& text, std::size_t first) const;

  unsigned mMarks = 0;              // marker messages sent, to see when earlier ones were handled
  std::size_t mHeard = 0;           // lines that Hear has returned
  std::size_t mNextTransition = 0;  // line after the last change that was expected
};
