// The service itself in a real terminal.

#include "Endpoints.h"
#include "TerminalService.h"

namespace {

using louddesk::Peer;

class ServiceTerminalTest : public TerminalService {};

// A terminal in the mode `tostop` stops processes that write to it from the background.
TEST_F(ServiceTerminalTest, OutputFromTheBackgroundStopsNothing) {
  mUnit.OpenAll();
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(160, 50));
  Type("stty tostop; " + std::string(LOUDCALC_BINARY) + " -m 1 -c 1 &");
  ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions() << Screen();
  mUnit.SendText(Peer::kOpticalAppServer, kEnableReportingTopic,
                 louddesk::EnableReportingJson(true));
  SendPreset(louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json());
  ExpectAcknowledgement("Start");
  ExpectMeasures(-20);
  Type("clear; kill %1; wait %1; echo ended with $?");
  EXPECT_TRUE(WaitForText("ended with 0"));
  EXPECT_THAT(Screen(), testing::HasSubstr("LoudCalc exiting..."));
}

}  // namespace
