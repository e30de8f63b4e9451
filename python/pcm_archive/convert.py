"""One file: read, measured, changed, and written under a temporary name until it is whole."""

import dataclasses
import math
import os

import numpy

from . import measure, rate, sound

BLOCK_SAMPLES = 131072  # of a block, about: 512 KiB of floats


@dataclasses.dataclass(frozen=True)
class Options:
    """What is made of each file; None: as it is there."""

    type: str = "wav"
    encoding: str | None = None
    rate: int | None = None
    channels: int | None = None
    level: float | None = None  # dB that are added
    peak: float | None = None  # dB of full scale that the loudest sample gets

    def text(self):
        """The options as the table tells them, by which a later run knows whether a goal is what it would make."""
        given = {key: value for key, value in dataclasses.asdict(self).items() if value is not None}
        return " ".join(f"{key}={value}" for key, value in given.items())


def _outermost(encoding):
    """From which magnitude on a sample is clipped: the outermost code of integers and G.711, full scale of floats."""
    bits = {1: 8, 2: 16, 3: 24, 4: 32}[sound.sample_bytes(encoding)]
    if encoding.startswith("f"):
        return 1.0
    if encoding.endswith("law"):
        return {"alaw": 32256, "mulaw": 32120}[encoding] / 32768
    return float(numpy.float32(1 - 2.0 ** (1 - bits)))


def _stages(packets, reader, options):
    """The packets as the goal has them, before the level; the rate is changed where there are the fewest channels."""
    channels = options.channels or reader.channels

    def adjusted(packets):
        for packet in packets:
            packet.channels_adjust_replace_with_downmix(channels)
            yield packet

    if channels < reader.channels:
        packets = adjusted(packets)
    packets = rate.at_rate(packets, min(channels, reader.channels), reader.rate, options.rate or reader.rate)
    return adjusted(packets) if channels > reader.channels else packets


def _blocks(reader):
    block = measure.block_frames(reader.rate)
    return reader.packets(max(BLOCK_SAMPLES // reader.channels // block, 1) * block)


def _magnitude(samples):
    """The largest, of numbers; 0 of none."""
    return float(numpy.fmax.reduce(numpy.abs(samples), axis=None, initial=0.0))


def _gain_to_peak(source, options):
    """What raises the loudest sample of the goal to the level asked for, in dB: a pass of its own over the file."""
    with sound.Reader(source) as reader:
        magnitude = max((_magnitude(p) for p in _stages(_blocks(reader), reader, options)), default=0.0)
    return options.peak - measure.decibel(magnitude) if 0.0 < magnitude < math.inf else 0.0


def convert(source, goal, options):
    """Makes the goal of the source. Returns the file's measures; raises Unreadable or OSError."""
    level = options.level or 0.0
    if options.peak is not None:
        level = _gain_to_peak(source, options)
    with sound.Reader(source) as reader:
        encoding = options.encoding or sound.usual_encoding(options.type, reader.encoding)
        meter = measure.Meter(reader.rate, _outermost(reader.encoding))
        goal_rate, goal_channels = options.rate or reader.rate, options.channels or reader.channels

        def metered(packets):
            for packet in packets:
                meter.add(numpy.asarray(packet))
                yield packet

        over = 0
        with sound.Writer(goal, options.type, encoding, goal_rate, goal_channels, reader.speakers) as writer:
            for packet in _stages(metered(_blocks(reader)), reader, options):
                if level:
                    packet.level_adjust(level)
                samples = numpy.asarray(packet)
                if _magnitude(samples) > 1.0:
                    over += int((numpy.abs(samples) > 1.0).sum())
                writer.write(packet.encode(encoding))
            writer.finish()
        return {
            "format": f"{reader.description}, {reader.rate} Hz, {reader.channels} ch",
            **meter.row(),
            "clipped_by_us": 0 if encoding.startswith("f") else over,
            "level": round(level, 2),
        }
