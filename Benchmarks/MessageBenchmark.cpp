// Cost of a single message.
//
// Measured: processor time of the calling thread, compared with that of the libraries alone, in
// turns.
//
//   publication    the twelve frames of the loudness data to one client, against the same frames
//                  sent with CZMQ alone
//   parsing        a preset, a configuration and a command, the examples of the protocol, against
//                  RapidJSON's plain parse of the same text
//
// Usage: MessageBenchmark [--quick]    quick: very short runs, to check that everything works

#include <czmq.h>
#include <rapidjson/document.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "CostRow.h"
#include "Isolation.h"
#include "JsonParseLuMessages.h"
#include "JsonParseMetersInfo.h"
#include "MqNames.h"
#include "PubHandler.h"
#include "RawLoudnessData.h"
#include "Utilities.h"

namespace {

struct Effort {
  int rounds;  // turns of each side
  int calls;   // calls in each turn; at most as many messages as a client's queue holds
};

constexpr Effort kFull{300, 200};
constexpr Effort kQuick{2, 2};

double ThreadSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

template <typename Work>
double SecondsOf(int calls, Work work) {
  const double start = ThreadSeconds();
  for (int i = 0; i < calls; ++i)
    work();
  return ThreadSeconds() - start;
}

// Lets two functions take turns and prints their row. Calls `between()` after each turn.
template <typename Ours, typename Floor, typename Between>
void Compare(const Effort& effort, const char* what, Ours ours, Floor floor, Between between) {
  double ourSeconds = 0.0;
  double floorSeconds = 0.0;
  for (int round = 0; round < effort.rounds; ++round) {
    ourSeconds += SecondsOf(effort.calls, ours);
    between();
    floorSeconds += SecondsOf(effort.calls, floor);
    between();
  }
  const double calls = 1.0 * effort.rounds * effort.calls;
  PrintRow(what, "us", 1e6 * ourSeconds / calls, 1e6 * floorSeconds / calls);
}

void SendTwelveFrames(zsock_t* socket) {
  zframe_t* topic = zframe_new(kLoudnessDataTopic, sizeof kLoudnessDataTopic - 1);
  zframe_send(&topic, socket, ZFRAME_MORE);
  for (std::size_t i = 1; i < kLuDataFrameCount; ++i) {
    const std::int16_t value = -230;
    zframe_t* frame = zframe_new(&value, sizeof value);
    zframe_send(&frame, socket, i + 1 < kLuDataFrameCount ? ZFRAME_MORE : 0);
  }
}

// Waits until the client has received `count` messages.
void TakeMessages(zsock_t* client, int count) {
  for (int i = 0; i < count; ++i) {
    zmsg_t* message = zmsg_recv(client);
    zmsg_destroy(&message);
  }
}

// A connected client of the publisher: it has received a message.
zsock_t* ConnectClient(zsock_t* publisher) {
  constexpr int kPauseMs = 5;
  zsock_t* client = zsock_new_sub(zsock_endpoint(publisher), "");
  zsock_set_rcvtimeo(client, kPauseMs);
  zmsg_t* first = nullptr;
  while (first == nullptr) {
    zstr_send(publisher, "");
    first = zmsg_recv(client);
  }
  while (first != nullptr) {
    zmsg_destroy(&first);
    first = zmsg_recv(client);
  }
  zsock_set_rcvtimeo(client, -1);
  return client;
}

void MeasurePublication(const Effort& effort) {
  do_mkdir(kIpcDirectory, 0777);
  cPubHandler* publisher = cPubHandler::GetInstance();
  cPubHandler::SetMeterSetNo(1);
  cPubHandler::SetClusterNo(1);
  if (!publisher->BindLuDataPubMq())
    throw std::runtime_error("the publisher cannot be bound");
  zsock_t* client = ConnectClient(publisher->mpLuDataPubSocket);
  const LoudnessData_t data;
  Compare(
      effort, "publication of the twelve frames",
      [&] { publisher->SendLoudnessData(data, 1, 1, 1); },
      [&] { SendTwelveFrames(publisher->mpLuDataPubSocket); },
      [&] { TakeMessages(client, effort.calls); });
  zsock_destroy(&client);
}

std::string Example(const char* name) {
  std::ifstream file(std::string(LOUDCALC_GOLDEN_DIR) + "/" + name);
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (text.empty())
    throw std::runtime_error(std::string(name) + " cannot be read");
  return text;
}

// `parse(text)` returns whether the text was accepted.
template <typename Parse>
void MeasureParsing(const Effort& effort, const char* what, const std::string& text, Parse parse) {
  if (!parse(text.c_str()))
    throw std::runtime_error(std::string(what) + ": not accepted");
  const auto parseBare = [&text] {
    rapidjson::Document document;
    document.Parse(text.c_str());
  };
  Compare(
      effort, what, [&] { parse(text.c_str()); }, parseBare, [] {});
}

void MeasureAll(const Effort& effort) {
  MeasurePublication(effort);
  cPresetParser preset(static_cast<int>(kRawMeters));
  cLuSettingsParser settings;
  MeasureParsing(effort, "parsing of a preset", Example("preset-5.1.json"), [&](const char* text) {
    return preset.ParsePreset(text, true, false, 0, nullptr) != 0;
  });
  MeasureParsing(effort, "parsing of a configuration", Example("configuration.json"),
                 [&](const char* text) { return settings.ParseLuConfJsonStr(text); });
  MeasureParsing(effort, "parsing of a command", Example("command.json"),
                 [&](const char* text) { return settings.ParseLuCmdJsonStr(text); });
}

}  // namespace

int main(int argc, char** argv) {
  IsolateTestProcess();
  try {
    MeasureAll(argc > 1 && std::strcmp(argv[1], "--quick") == 0 ? kQuick : kFull);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "MessageBenchmark: %s\n", error.what());
    return 1;
  }
}
