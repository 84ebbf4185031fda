// Names of the unit's messaging network that do not belong to a single component.

#pragma once

/// Directory of every IPC endpoint of the unit.
constexpr char kIpcDirectory[] = "/run/shm/mq";

/// Name of a file in that directory, zero-terminated.
using MqFileName_t = char[2048];

/// Endpoint of an IPC socket: directory, file name.
#define MQ_IPC_ENDPOINT_FORMAT "ipc://%s/%s"

/// Endpoint of a TCP socket: IPv4 address text, port.
#define MQ_TCP_ENDPOINT_FORMAT "tcp://%s:%u"

/// Address of this board.
constexpr char kLocalHostAddress[] = "127.0.0.1";
