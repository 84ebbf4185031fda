#!/usr/bin/env python3
"""Validates the JSON of `LoudDesk measure` against Docs/measure.schema.json with an independent validator.

The output for several files and options must be valid. Each change to it that would break a reader must
be invalid, which shows that the schema is strict enough.

Usage: measure_schema.py LOUDDESK SCHEMA
"""

import copy
import json
import math
import pathlib
import struct
import subprocess
import sys
import tempfile
import wave

import jsonschema

RATE = 8000


def write_tone(path, levels, seconds=4.0):
    """A WAV of a sine of 1 kHz, or silence for None, with a level in dBFS for each channel."""
    amplitudes = [0.0 if level is None else 10.0 ** (level / 20.0) for level in levels]
    frames = bytearray()
    for n in range(int(seconds * RATE)):
        sine = math.sin(2.0 * math.pi * 1000.0 * n / RATE)
        for amplitude in amplitudes:
            frames += struct.pack("<h", round(32767 * amplitude * sine))
    with wave.open(str(path), "wb") as file:
        file.setnchannels(len(levels))
        file.setsampwidth(2)
        file.setframerate(RATE)
        file.writeframes(bytes(frames))


def lines_of(louddesk, *arguments, notes=0):
    result = subprocess.run([louddesk, "measure", "--format", "json", *arguments],
                            capture_output=True, text=True, check=False)
    assert result.returncode == 0 and len(result.stderr.splitlines()) == notes, result
    return [json.loads(line) for line in result.stdout.splitlines()]


def real_lines(louddesk, directory):
    """Output of every kind: with and without readings, verdicts, hash, album, programmes, damage."""
    stereo = directory / "stereo.wav"
    silence = directory / "silence \udcff.wav"  # a name that is not UTF-8
    three = directory / "three.wav"
    mono = directory / "mono.wav"
    write_tone(stereo, [-23.0, -23.0])
    write_tone(silence, [None, None])
    write_tone(three, [-20.0, -20.0, -30.0])
    write_tone(mono, [-1.0], 61.0)
    lines = lines_of(louddesk, stereo, silence, "--album")
    lines += lines_of(louddesk, stereo, "--hash", "--profile", "ebu-r128-s1", "--max-range", "5",
                      "--min-range", "1", "--max-momentary", "-10")
    lines += lines_of(louddesk, three, "--programme", "1,2=stereo", "--programme", "3=mono")
    lines += lines_of(louddesk, mono, "--dual-mono", "--profile", "spotify")
    lines += lines_of(louddesk, mono, "--profile", "none")
    cut = directory / "cut.wav"
    cut.write_bytes(mono.read_bytes()[:100000])
    lines += lines_of(louddesk, cut, mono, "--album", "--keep-going", notes=1)
    return lines


def changes(line):
    """Copies of an object with one thing wrong in each, and what that is."""
    for key in line:
        wrong = copy.deepcopy(line)
        del wrong[key]
        yield wrong, f"{key} is missing"
    for key, value in [("Schema", 2), ("Verdict", "maybe"), ("Integrated", "-23.00"),
                       ("LraIsStable", None), ("AtLeast", ["Lra"]), ("Album", 0), ("Seconds", -1),
                       ("Sha256", "0123"), ("MaxTruePeakAt", -0.1), ("Extra", 1)]:
        yield {**line, key: value}, f"{key} is {value}"
    for place, key, value in [("Programme", "Speakers", ["Middle"]), ("Programme", "Channels", [0])]:
        wrong = copy.deepcopy(line)
        wrong[place][key] = value
        yield wrong, f"{place}.{key} is {value}"
    for place in ("Limits", "ChannelPeaks"):
        for key in line[place][0]:
            wrong = copy.deepcopy(line)
            del wrong[place][0][key]
            yield wrong, f"{place}[0].{key} is missing"


def main():
    louddesk, schema_path = sys.argv[1], pathlib.Path(sys.argv[2])
    schema = json.loads(schema_path.read_text(encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    with tempfile.TemporaryDirectory() as directory:
        lines = real_lines(louddesk, pathlib.Path(directory))
    assert len(lines) == 11, len(lines)
    faults = [f"{line['File']}: {error.message}" for line in lines
              for error in validator.iter_errors(line)]
    seen = {key for line in lines for key in line}
    faults += [f"no line has {key}" for key in set(schema["properties"]) - seen]
    verdicts = {line["Verdict"] for line in lines}
    faults += [f"no line is {verdict}" for verdict in {"pass", "fail", "open", None} - verdicts]
    for is_album in (False, True):
        if not any(line["Damage"] for line in lines if bool(line["Album"]) == is_album):
            faults.append(f"nothing is damaged where an album is {is_album}")
    of_file = next(line for line in lines if line.get("Sha256"))
    faults += [f"passes although {what}" for wrong, what in changes(of_file)
               if validator.is_valid(wrong)]
    album = next(line for line in lines if line["Album"])
    if validator.is_valid({**album, "Format": "WAV"}):
        faults.append("passes although an album has a format")
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
