// The floor of the service's cost: a CZMQ loop with the same sockets, timers and messages and
// nothing else. It has no engine, parsing or log, and no protection of links and files or against
// hostile clients. The benchmarks run it beside the service; the difference is the cost of our
// code.
//
// Usage: BareLoop [-m 1] -c CLUSTER, in place of the service of meter set 1. SIGTERM ends it.

#include <czmq.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "BoardAddresses.h"
#include "Endpoints.h"
#include "HeartBeater.h"
#include "Logger.h"
#include "LoudReport.h"
#include "PubHandler.h"

namespace {

constexpr unsigned kMeterSet = 1;
constexpr int kSecondsPerRepublication = 5;

constexpr char kBeat[] = R"({"HbKey":"QvOptLuCal1","Version":"Telvon8-v1.9.3","State":3})";
constexpr char kAcknowledgement[] =
    R"({"ClusterId":1,"OriginFromFp":false,"Command":"Start","MeterSet":1,"CmdTS":0,"UserID":0})";

struct Loop {
  zsock_t* text = zsock_new(ZMQ_SUB);
  zsock_t* binary = zsock_new(ZMQ_SUB);
  zsock_t* data = zsock_new(ZMQ_PUB);
  zsock_t* states = zsock_new(ZMQ_PUB);
  zsock_t* beats = zsock_new(ZMQ_PUSH);
  zsock_t* log = zsock_new(ZMQ_PUSH);
  int seconds = 0;
};

void ConnectTcp(zsock_t* socket, const char* address, unsigned port) {
  zsock_connect(socket, MQ_TCP_ENDPOINT_FORMAT, address, port);
}

void SubscribeNumbered(zsock_t* socket, const char* prefix) {
  zsock_set_subscribe(socket, (prefix + std::to_string(kMeterSet)).c_str());
}

void Subscribe(const Loop& loop) {
  ConnectTcp(loop.text, MainBoardAddress(), kHbMonPort);
  ConnectTcp(loop.text, MainBoardAddress(), kHwmPort);
  ConnectTcp(loop.text, MainBoardAddress(), kAppserverPort);
  ConnectTcp(loop.text, OpticalBoardAddress(), kAppserverPort);
  for (const char* topic : {kSystemStatusTopic, kApplicationCommandTopic, kHwmStatusTopic,
                            kAppLoudnessCommandTopic, kEnableReportingTopic})
    zsock_set_subscribe(loop.text, topic);
  for (const char* prefix : kMeterSetTopicPrefixes)
    SubscribeNumbered(loop.text, prefix);
  zsock_connect(loop.binary, "ipc://%s/%s%u.ipc", kIpcDirectory, kRawDataFilePrefix, kMeterSet);
  SubscribeNumbered(loop.binary, kRawDataTopicPrefix);
}

void Publish(const Loop& loop, const char* cluster) {
  constexpr char kFormat[] = "ipc://%s/%sm%uc%s.ipc";
  zsock_bind(loop.data, kFormat, kIpcDirectory, kDataPublisherFilePrefix, kMeterSet, cluster);
  zsock_bind(loop.states, kFormat, kIpcDirectory, kStatePublisherFilePrefix, kMeterSet, cluster);
  ConnectTcp(loop.beats, MainBoardAddress(), kMonitorInletPort);
  zsock_connect(loop.log, MQ_IPC_ENDPOINT_FORMAT, kIpcDirectory, kLogSinkIpcName);
}

int Receive(zloop_t*, zsock_t* socket, void*) {
  zmsg_t* message = zmsg_recv(socket);
  zmsg_destroy(&message);
  return 0;
}

int SendData(zloop_t*, int, void* argument) {
  const auto* loop = static_cast<const Loop*>(argument);
  zframe_t* topic = zframe_new(kLoudnessDataTopic, sizeof kLoudnessDataTopic - 1);
  zframe_send(&topic, loop->data, ZFRAME_MORE);
  for (std::size_t i = 1; i < kLuDataFrameCount; ++i) {
    const std::int16_t value = -230;
    zframe_t* frame = zframe_new(&value, sizeof value);
    zframe_send(&frame, loop->data, i + 1 < kLuDataFrameCount ? ZFRAME_MORE : 0);
  }
  return 0;
}

int SendBeat(zloop_t*, int, void* argument) {
  auto* loop = static_cast<Loop*>(argument);
  zstr_sendm(loop->beats, kHeartBeatTopic);
  zstr_send(loop->beats, kBeat);
  if (++loop->seconds % kSecondsPerRepublication == 0) {
    zstr_sendm(loop->states,
               (kAcknowledgementRepubTopicPrefix + std::to_string(kMeterSet)).c_str());
    zstr_send(loop->states, kAcknowledgement);
  }
  return 0;
}

void Destroy(Loop& loop) {
  for (zsock_t** socket :
       {&loop.text, &loop.binary, &loop.data, &loop.states, &loop.beats, &loop.log})
    zsock_destroy(socket);
}

const char* ClusterFrom(int argc, char** argv) {
  const char* cluster = "1";
  for (int option = 0; (option = getopt(argc, argv, "m:c:")) != -1;)
    if (option == 'c')
      cluster = optarg;
  return cluster;
}

}  // namespace

int main(int argc, char** argv) {
  std::string error;
  if (!LoadBoardAddresses(error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  Loop sockets;
  Publish(sockets, ClusterFrom(argc, argv));
  Subscribe(sockets);
  zloop_t* loop = zloop_new();
  zloop_reader(loop, sockets.text, Receive, nullptr);
  zloop_reader(loop, sockets.binary, Receive, nullptr);
  zloop_timer(loop, 1000, 0, SendBeat, &sockets);
  zloop_timer(loop, 100, 0, SendData, &sockets);
  zloop_start(loop);
  zloop_destroy(&loop);
  Destroy(sockets);
  return 0;
}
