// One message to a running service, from the place of the main board's application server, and the
// wait for what the service does about it.

#pragma once

#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>

#include "Acknowledgement.h"
#include "UnitDocuments.h"
#include "UnitStandIn.h"

namespace louddesk {

/// What keeps a message from being sent or acknowledged. The text is one line for the user.
class SendError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class ServiceSender {
 public:
  /// Takes the place of the application server. Throws SendError when another has it. What the
  /// service answers goes to `out`, a line each. `patience` is for the service to subscribe and
  /// again for its acknowledgement.
  ServiceSender(unsigned meterSet, unsigned cluster, Patience patience, std::ostream& out);

  /// Waits until the service has subscribed. Throws SendError when it does not in time.
  void Connect();

  /// Each sends one message and waits until it has its effect; throws SendError when that does not
  /// come in time. REQUIRES: Connect has returned.

  /// Switches reporting on. The protocol has no acknowledgement but the data itself: waits for
  /// loudness data, or for the acknowledgement of an action that has waited for the reporting.
  void Enable();

  /// Switches reporting off and waits until no loudness data comes any more. When none came before
  /// either, that is said: nothing then shows that the service has taken the message.
  void Disable();

  /// Publishes a preset and waits for the start that acknowledges it. Throws SendError too when the
  /// service says that the source is invalid.
  void SendPreset(const std::string& json);

  /// Publishes a configuration and waits until the service publishes it as the one in force, and
  /// for the start.
  void SendConfiguration(const LoudnessConfiguration& configuration);

  /// Publishes a command and waits for the acknowledgement that settles it. One with the stamp of
  /// another client's command is taken, and that is said, when none with its own follows.
  void SendCommand(LoudnessCommand command);

 private:
  // How much an answer is the awaited one.
  enum class Fit { kNone, kLikely, kFinal };
  using FitOf = std::function<Fit(const ServiceAnswer&)>;
  using Clock = std::chrono::steady_clock;

  void Publish(const std::string& topic, const std::string& json);
  Fit Await(const FitOf& fitOf, const std::string& hint);
  Fit ShowAnswers(const FitOf& fitOf, Patience patience);
  bool SawInvalidSource();
  std::string InTime() const;

  UnitStandIn mUnit;
  Patience mPatience;
  std::ostream& mOut;
};

}  // namespace louddesk
