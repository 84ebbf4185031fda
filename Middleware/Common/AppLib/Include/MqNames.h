// Names of the unit's messaging network that more than one component uses.

#pragma once

/// Directory of every IPC endpoint of the unit.
constexpr char kIpcDirectory[] = "/run/shm/mq";

/// Endpoint of an IPC socket: directory, file name.
#define MQ_IPC_ENDPOINT_FORMAT "ipc://%s/%s"

/// Endpoint of a TCP socket: IPv4 address text, port.
#define MQ_TCP_ENDPOINT_FORMAT "tcp://%s:%u"
