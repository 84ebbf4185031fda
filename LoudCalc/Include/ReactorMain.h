// The wiring of the service: makes its parts, connects them to the unit, runs the loop and shuts
// everything down. Reactor thread only.

#pragma once

#include <czmq.h>

#include <cstdint>

#include "Logger.h"

/// Makes the singletons, the engine, the publishers, the heartbeat, the subscriptions and the
/// timers. `iSlot_in` is 0 (main board) or 1 (optical board), `cpIp_in` this board's IPv4 address
/// text, `cluster_no` 1 to 8. Returns true. If a singleton, connection or timer cannot be made, the
/// process stops. If a publisher cannot be bound, that is only logged.
bool initReactorLoop(std::int32_t iSlot_in, const char* cpIp_in, std::uint32_t meter_set,
                     std::uint32_t cluster_no);

/// Runs the event loop until a handler or an interrupt ends it. Returns true.
bool startReactorLoop();

/// Ends the timers, destroys the publishers and the subscriber sockets and frees the engine.
void cleanReactorLoop();

/// Timer, every 1000 ms: sends one heartbeat. Every fifth call republishes the last command and the
/// configuration.
int DoEverySecond(zloop_t* loop, int timer, void* argument);

/// Timer, every 100 ms: one step of the reporting. Every third call also notifies the service
/// manager, and restores connections that peers broke and publishers' files that were removed. A
/// separate timer for this would wake the process more often.
int LuDataUpdateCallback(zloop_t* loop, int timer, void* argument);

/// Readers of the reactor; they hand each message to the dispatcher.
int mqReader(const char* topic, const char* data);
int mqReaderForBinaryData(const char* topic, zmsg_t* message);

extern Logger* gpLogger;             // the logger, set by `initReactorLoop`
extern std::int32_t oneSecondTimer;  // timer id, -1: none
extern std::int32_t oneLuDataTimer;  // timer id, -1: none
