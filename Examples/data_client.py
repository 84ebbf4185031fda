#!/usr/bin/env python3
"""A data client: prints the loudness that one cluster publishes, a line a message, until Ctrl-C.

Usage: data_client.py [METER-SET [CLUSTER]]        1 and 1 if not given

    M  -23.0  S  -23.1  I  -23.0 LKFS  TP  -6.02 dBTP

Figures go to standard output. What is to be known beside them follows in the same line; that no messages
come, and that they come again, goes to standard error. Needs Debian's python3-zmq.
"""

import signal
import struct
import sys

import zmq

TOPIC = b"LoudnessData"

# The codes of a message, in the order of its frames after the topic.
(MAX_MOMENTARY, MOMENTARY, SHORT_TERM, INTEGRATED, RANGE, PROGRAM, MAX_PEAK, PEAK,
 VALID_SOURCE, COMMAND, CLUSTER) = range(11)
FIGURES = 11

NO_LOUDNESS = -990
NO_PEAK = -9900
SILENT_PEAK = -9031

PAUSE = 2

# A message comes every 100 ms while the measurement runs and reporting is on.
GAP_MS = 1000
FROZEN_MESSAGES = 30  # 3 s


def endpoint_of(meter_set, cluster):
    return f"ipc:///run/shm/mq/ProbeLc1LoudnessDataPub-m{meter_set}c{cluster}.ipc"


def read(frames):
    """The codes, or None when the message is not one of loudness data. A subscription matches beginnings of
    topics, and a client should outlive whatever it is sent."""
    topic, *codes = frames
    if topic != TOPIC or len(codes) != FIGURES or any(len(code) != 2 for code in codes):
        return None
    return struct.unpack("<11h", b"".join(codes))


def loudness(code):
    return "  ---" if code == NO_LOUDNESS else f"{code / 10:5.1f}"


def peak(code):
    return "   ---" if code == NO_PEAK else f"{code / 100:6.2f}"


class Freshness:
    """Tells a measurement from figures that are only published again and again."""

    def __init__(self):
        self.last = None
        self.unchanged = 0  # messages with the same eight figures

    def note_on(self, figures):
        """What a reader of the figures has to know; empty when they are live."""
        measured = figures[:VALID_SOURCE]
        self.unchanged = self.unchanged + 1 if measured == self.last else 1
        self.last = measured
        if figures[VALID_SOURCE] == 0:
            return "  no programme"
        if figures[COMMAND] == PAUSE:
            return "  paused"
        if figures[PEAK] == NO_PEAK:
            return "  no block yet"
        # In silence the figures do not change, even while blocks arrive.
        is_silent = figures[MOMENTARY] == NO_LOUDNESS and figures[PEAK] == SILENT_PEAK
        if self.unchanged < FROZEN_MESSAGES or is_silent:
            return ""
        return f"  no change for {self.unchanged // 10} s"


def show(figures, note):
    # Flushed: a pipe would otherwise delay the line.
    print(f"M {loudness(figures[MOMENTARY])}  S {loudness(figures[SHORT_TERM])}  "
          f"I {loudness(figures[INTEGRATED])} LKFS  TP {peak(figures[PEAK])} dBTP{note}", flush=True)


def print_all(socket):
    freshness = Freshness()
    is_gap = False
    while True:
        # The library reconnects by itself.
        if not socket.poll(GAP_MS):
            if not is_gap:
                print("no data for 1 s: the measurement is stopped, reporting is off, the service does not "
                      "run, or its socket is not for this user", file=sys.stderr, flush=True)
            is_gap = True
            continue
        figures = read(socket.recv_multipart())
        if figures is None:
            print("a message that is not loudness data is left out", file=sys.stderr, flush=True)
            continue
        if is_gap:
            print("data again", file=sys.stderr, flush=True)
        is_gap = False
        show(figures, freshness.note_on(figures))


def number(text, most):
    """The number, or 0 when the text is not a whole number from 1 to `most`."""
    return int(text) if text.isascii() and text.isdigit() and int(text) <= most else 0


def stop(*_):
    raise KeyboardInterrupt


def main():
    meter_set = number(sys.argv[1], 999) if len(sys.argv) > 1 else 1
    cluster = number(sys.argv[2], 8) if len(sys.argv) > 2 else 1
    if len(sys.argv) > 3 or not meter_set or not cluster:
        print("usage: data_client.py [METER-SET [CLUSTER]]; clusters are 1 to 8", file=sys.stderr)
        return 2
    signal.signal(signal.SIGTERM, stop)
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)  # ends the client when the reader of its pipe ends
    with zmq.Context() as context, context.socket(zmq.SUB) as socket:
        socket.subscribe(TOPIC)
        socket.connect(endpoint_of(meter_set, cluster))
        try:
            print_all(socket)
        except KeyboardInterrupt:
            return 0


sys.exit(main())
