#!/usr/bin/env python3
"""A command sender: sends one command to one cluster and waits until it has been carried out.

Usage: command_sender.py start|stop|pause|play|reset [CLUSTER]        cluster 1 if not given

It takes the place of the main board's application server: nobody else may listen there. Only services of
meter set 1 take commands. The status is 0 when the command was acknowledged, 1 when it was not, with a line
that says how far it came. Needs Debian's python3-zmq.
"""

import json
import os
import signal
import sys
import time

import zmq

COMMAND_TOPIC = b"AppIOQVLoudnessCmd-1"
ACKNOWLEDGEMENT_TOPIC = b"IOQVHwmLoudnessCmd_1"
REPUBLISHED_TOPIC = b"IOQVHwmLoudnessCmd_Repub_1"

# The service republishes its last command every fifth second.
READY_S = 10

# An acknowledgement comes within a few ticks of 100 ms.
ANSWER_S = 1
ATTEMPTS = 3

# The acknowledgements that end the wait for a command: a pause while stopped is acknowledged as a stop, a
# play after a stop as a start.
ENDINGS = {"start": ["Start"], "stop": ["Stop"], "pause": ["Pause", "Stop"], "play": ["Play", "Start"],
           "reset": ["Reset"]}


class Failure(Exception):
    pass


def read(text):
    """The members of an acknowledgement; none when the text is not one."""
    try:
        members = json.loads(text)
    except (ValueError, RecursionError):
        return {}
    return members if isinstance(members, dict) else {}


class CommandSender:
    def __init__(self, context, cluster):
        self.cluster = cluster
        self.is_subscribed = False
        self.is_heard = False
        self.commands = context.socket(zmq.XPUB)
        self.states = context.socket(zmq.SUB)
        # The topics of acknowledgements and of republications both begin with this prefix.
        self.states.subscribe(b"IOQVHwmLoudnessCmd_")
        self.states.connect(f"ipc:///run/shm/mq/ProbeLc1LoudnessStatePub-m1c{cluster}.ipc")
        self.poller = zmq.Poller()
        self.poller.register(self.commands, zmq.POLLIN)
        self.poller.register(self.states, zmq.POLLIN)

    def connect(self):
        """Waits until both ways are open: the subscription shows the one to the service, a republication the
        one back. A command that is sent earlier is lost, or its acknowledgement is."""
        address = os.environ.get("LOUDCALC_MAIN_BOARD_ADDRESS") or "169.254.1.10"
        try:
            self.commands.bind(f"tcp://{address}:7000")
        except zmq.ZMQError:
            raise Failure(f"port 7000 of {address} is in use or not of this machine")
        end = time.monotonic() + READY_S
        while not (self.is_subscribed and self.is_heard) and time.monotonic() < end:
            self.take(end)
        if not self.is_subscribed:
            raise Failure("no service of meter set 1 has subscribed")
        if not self.is_heard:
            raise Failure(f"nothing comes from the service of cluster {self.cluster}")

    def send(self, word):
        """It is sent again when it is not acknowledged: a further service may have subscribed later, and what
        waits to be carried out waits once."""
        stamp = int(time.time())
        message = {"Command": word.capitalize(), "ClusterId": self.cluster, "CmdTS": stamp}
        for _ in range(ATTEMPTS):
            self.commands.send_multipart([COMMAND_TOPIC, json.dumps(message).encode()])
            if self.is_acknowledged(ENDINGS[word], stamp):
                return
        raise Failure("not acknowledged: reporting is off or there is no programme, and it is carried out when "
                      "that has changed; or it was a stop, in the mode Continuous")

    def is_acknowledged(self, endings, stamp):
        end = time.monotonic() + ANSWER_S
        while time.monotonic() < end:
            for answer in self.take(end):
                if answer.get("CmdTS") != stamp:  # another client's
                    continue
                print(f"{answer.get('Command')} acknowledged", flush=True)
                if answer.get("Command") in endings:
                    return True
        return False

    def take(self, end):
        """Takes the next messages, if there are any by then; gives those that are acknowledgements."""
        answers = []
        for socket, _ in self.poller.poll(max(end - time.monotonic(), 0) * 1000):
            first, *others = socket.recv_multipart()
            if socket is self.commands:
                self.is_subscribed |= first == b"\x01" + COMMAND_TOPIC
            elif first == REPUBLISHED_TOPIC:
                self.is_heard = True
            elif first == ACKNOWLEDGEMENT_TOPIC and others:
                answers.append(read(others[0]))
        return answers


def stop(*_):
    raise KeyboardInterrupt


def main():
    word = sys.argv[1] if len(sys.argv) > 1 else ""
    cluster = sys.argv[2] if len(sys.argv) > 2 else "1"
    if len(sys.argv) > 3 or word not in ENDINGS or cluster not in list("12345678"):
        print("usage: command_sender.py start|stop|pause|play|reset [CLUSTER]; clusters are 1 to 8",
              file=sys.stderr)
        return 2
    signal.signal(signal.SIGTERM, stop)
    context = zmq.Context()
    try:
        sender = CommandSender(context, int(cluster))
        sender.connect()
        sender.send(word)
    except Failure as failure:
        print(failure, file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        print("interrupted", file=sys.stderr)
        return 1
    finally:
        context.destroy(linger=0)
    return 0


sys.exit(main())
