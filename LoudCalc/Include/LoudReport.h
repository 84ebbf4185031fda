// Reporting: turns the engine's coded results and the pending actions (ReportingState.h) into
// messages, one step a tick. Reactor thread only.

#pragma once

#include "LuEnumerations.h"

// Prefixes of the topics on the state socket. The number of the meter set follows.
constexpr char kAcknowledgementTopicPrefix[] = "IOQVHwmLoudnessCmd_";
constexpr char kAcknowledgementRepubTopicPrefix[] = "IOQVHwmLoudnessCmd_Repub_";
constexpr char kCurrentConfTopicPrefix[] = "IOQVHwmSetLoudnessConfiguration_";
constexpr char kCurrentConfRepubTopicPrefix[] = "IOQVHwmSetLoudnessConfiguration_Repub_";

/// The 100 ms tick: one step of the action machine or one data message. Does nothing while
/// reporting is off. The publisher sockets must be bound.
void SendLoudnessData();

/// Republishes the last command carried out and, with a valid source, the configuration in force.
/// Does so even while reporting is off.
void UpdateLoudnessStateAndConf();

/// Publishes the acknowledgement of `cmd`, under the republication topic when `repub` is set.
void SendCommand(LuCmd_e cmd, bool repub);

/// Publishes `gsLuConf`, which must not be empty, under the normal or the republication topic.
void SendCurrentConf(bool repub);
