import struct
import zmq

socket = zmq.Context().socket(zmq.SUB)
socket.connect("ipc:///run/shm/mq/ProbeLc1LoudnessDataPub-m1c1.ipc")
socket.subscribe(b"LoudnessData")

NAMES = ("MaxMomentary", "Momentary", "ShortTerm", "Integrated", "Lra", "Program", "MaxPeak", "Peak")
while True:
    topic, *frames = socket.recv_multipart()
    *figures, valid, command, cluster = (struct.unpack("<h", frame)[0] for frame in frames)
    for name, code in zip(NAMES, figures):
        scale, none, unit = (100, -9900, "dBTP") if "Peak" in name else (10, -990, "LKFS")
        print(name, "---" if code == none else f"{code / scale} {'LU' if name == 'Lra' else unit}")
    print("valid" if valid else "no source", "command", command, "cluster", cluster)
