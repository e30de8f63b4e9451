#!/usr/bin/python3
"""voice_stream.py [MESSAGES]: answers a voice stream with itself and a beep. Reads what a voice gateway sends over a
WebSocket, a JSON message a line, from a file or standard input, and prints the messages to send back.

    {"event": "media", "media": {"payload": "...base64 of 20 ms of mu-law at 8000 Hz..."}}

Messages of other events, such as "start", are passed over, "stop" ends the stream. What is no audio is reported."""

import base64
import binascii
import json
import sys

import numpy
import pcm

FRAMES = 160  # in 20 ms


class Beeper:
    """A tone of 400 Hz in the first 200 ms of each second, at -20 dB."""

    def __init__(self):
        self._tone, self._ticks = pcm.Tone(20), 0

    def packet(self):
        beep = self._tone.gather(FRAMES)  # also in the pauses, so that the tone goes on where it was
        beep.level_adjust(-20.0 if self._ticks % 50 < 10 else -200.0)
        self._ticks += 1
        return beep


def answer(payload, blocks, beeper):
    """Payloads of 20 ms for what has come; a message may hold more or less."""
    blocks.write(pcm.decode(base64.b64decode(payload, validate=True), "mulaw"))
    while blocks.frames >= FRAMES:
        mixed = beeper.packet()
        with mixed.writable() as samples:
            blocks.gather_samples_add(samples)
        yield base64.b64encode(mixed.encode("mulaw")).decode()


def main():
    blocks, beeper = pcm.PacketQueue(channels=1), Beeper()
    for number, line in enumerate(open(sys.argv[1]) if len(sys.argv) > 1 else sys.stdin, 1):
        try:
            message = json.loads(line)
            if message["event"] == "stop":
                break
            if message["event"] == "media":
                for payload in answer(message["media"]["payload"], blocks, beeper):
                    print(json.dumps({"event": "media", "media": {"payload": payload}}))
        except (binascii.Error, KeyError, TypeError, ValueError) as error:
            print(f"message {number}: {error}", file=sys.stderr)


main()
