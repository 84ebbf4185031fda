// Names of the unit's messaging network that more than one component uses.

#pragma once

/// Directory of every IPC endpoint of the unit.
constexpr char kIpcDirectory[] = "/run/shm/mq";

/// Endpoint of an IPC socket: directory, file name.
#define MQ_IPC_ENDPOINT_FORMAT "ipc://%s/%s"

/// Endpoint of a TCP socket: IPv4 address text, port.
#define MQ_TCP_ENDPOINT_FORMAT "tcp://%s:%u"

/// Address of this very board.
constexpr char kLocalHostAddress[] = "127.0.0.1";

/// Inlet of the process monitor, which takes heartbeats and requests: TCP port, IPC file name.
constexpr unsigned kMonitorInletPort = 10000;
constexpr char kMonitorInletIpcName[] = "hbMonPullMq.ipc";

/// Topics at that inlet.
constexpr char kHeartBeatTopic[] = "HbProc";
constexpr char kRepublicationTopic[] = "HbReqRepubSysStatus";
constexpr char kForwardedCommandTopic[] = "HbFwdAppCmd";
