// Commands from the page of a cluster, on a gate that takes commands.

#include "Browser.h"
#include "ControlledGate.h"

namespace {

using nlohmann::json;

class ControlPageTest : public ControlledGate {
 protected:
  void AwaitText(const std::string& selector, const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    json shown;
    do {
      shown = mBrowser.Run("return document.querySelector('" + selector + "')?.textContent");
      if (shown == text)
        return;
      Pass(std::chrono::milliseconds(20));
    } while (std::chrono::steady_clock::now() < end);
    ADD_FAILURE() << selector << ": " << shown;
  }

  // Opens the page anew and types the token into its field.
  void OpenWithToken(const std::string& token) {
    mBrowser.Open(Url() + "/cluster/1-1");
    AwaitText(".state", "RUNNING");
    AwaitText("#control .hint",
              "LoudGate takes the place of the main board's application server. Reporting "
              "is switched for all clusters of the board.");
    mBrowser.Run("document.querySelector('.token input').focus()");
    mBrowser.Press(token);
  }

  void Click(const std::string& order) {
    mBrowser.Run("document.querySelector('[data-order=" + order + "]').click()");
  }

  Browser mBrowser;
};

TEST_F(ControlPageTest, EachButtonGivesItsOrder) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  OpenWithToken(kToken);
  const std::vector<std::pair<std::string, std::string>> orders = {
      {"Pause", "PAUSED"},       {"Play", "RUNNING"},  {"Stop", "STOPPED"},
      {"Start", "RUNNING"},      {"Reset", "RUNNING"}, {"ReportingOff", "SILENT"},
      {"ReportingOn", "RUNNING"}};
  for (const auto& [order, state] : orders) {
    Click(order);
    AwaitText("#control .result", order + " acknowledged");
    AwaitText(".state", state);
  }
  EXPECT_EQ("", mBrowser.Complaints());
}

TEST_F(ControlPageTest, ByKeyboard) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  OpenWithToken(kToken);
  mBrowser.Press("\uE004");  // tab key: to Start
  mBrowser.Press("\uE004");  // to Pause
  EXPECT_EQ("Pause", mBrowser.Run("return document.activeElement.textContent"));
  mBrowser.Press(" ");
  AwaitText(".state", "PAUSED");
  EXPECT_EQ("Pause", mBrowser.Run("return document.activeElement.textContent"));
}

TEST_F(ControlPageTest, AWrongTokenIsReportedAndNothingIsSent) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  OpenWithToken("wrong");
  Click("Pause");
  AwaitText("#control .result", "This needs the token of the gate.");
  EXPECT_EQ("RUNNING", Get("/api/clusters/1-1").Json().at("State"));
}

TEST_F(ControlPageTest, WithoutATokenNothingIsPosted) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  OpenWithToken("");
  Click("Pause");
  EXPECT_EQ("", mBrowser.Run("return document.querySelector('#control .result').textContent"));
  EXPECT_EQ("", mBrowser.Complaints());
}

TEST_F(ControlPageTest, TheTokenIsGoneWithThePage) {
  ASSERT_NO_FATAL_FAILURE(StartControlled());
  OpenWithToken(kToken);
  Click("Pause");
  AwaitText("#control .result", "Pause acknowledged");
  EXPECT_EQ(json({0, 0, "", Url() + "/cluster/1-1"}),
            mBrowser.Run("return [localStorage.length, sessionStorage.length, document.cookie, "
                         "location.href]"));
  mBrowser.Open(Url() + "/cluster/1-1");
  AwaitText("#control h2", "Control");
  EXPECT_EQ("", mBrowser.Run("return document.querySelector('.token input')?.value ?? ''"));
}

TEST_F(ControlPageTest, WithoutControlThereIsNone) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ASSERT_NO_FATAL_FAILURE(StartGate());
  StartMeasuring();
  mBrowser.Open(Url() + "/cluster/1-1");
  AwaitText(".state", "RUNNING");
  EXPECT_EQ(true, mBrowser.Run("return document.getElementById('control').hidden"));
  EXPECT_EQ("", mBrowser.Complaints());
}

}  // namespace
