#!/usr/bin/python3
"""python_bench.py: the time of a call of the module pcm, and as a part of what else does the job takes: audioop, numpy,
scipy where they are there. Calls of both take turns in one run; each figure is a median."""

import statistics
import sys
import threading
import time
import warnings

import numpy
import pcm

warnings.simplefilter("ignore")
try:
    import audioop
except ImportError:
    audioop = None
try:
    from scipy import signal
except ImportError:
    signal = None

ROUNDS = 31


def timed(calls):
    """The median time of each call in seconds; they take turns."""
    loops = {}
    for name, call in calls.items():
        start = time.perf_counter()
        call()
        loops[name] = max(int(1e-3 / max(time.perf_counter() - start, 1e-7)), 1)
    times = {name: [] for name in calls}
    for _ in range(ROUNDS):
        for name, call in calls.items():
            start = time.perf_counter()
            for _ in range(loops[name]):
                call()
            times[name].append((time.perf_counter() - start) / loops[name])
    return {name: statistics.median(each) for name, each in times.items()}


def row(title, calls):
    """calls: that of pcm first. Calls of others may be None."""
    times = timed({name: call for name, call in calls.items() if call})
    own = times.pop("pcm")
    ratios = "".join(f"   {own / other:6.3f} of {name}" for name, other in times.items())
    print(f"{title:42} {own * 1e6:9.2f} us{ratios}", flush=True)


def to_mulaw(samples):
    """mu-law by numpy alone, ITU-T G.711."""
    magnitude = numpy.minimum(numpy.abs(samples.astype(numpy.int32)), 32635) + 132
    segment = numpy.floor(numpy.log2(magnitude)).astype(numpy.int32) - 7
    return (~(((samples < 0) << 7) | (segment << 4) | (magnitude >> (segment + 3) & 15)) & 255).astype(numpy.uint8)


def second_of_work():
    """What one of two threads does with a second of audio at 48000 Hz."""
    packet = pcm.decode(SECOND, "s16le")
    packet.level_adjust(-6.0)
    filter = pcm.Filter(TAPS, 1)
    filter.write(packet)
    filter.gather(48000).encode("mulaw")


random = numpy.random.default_rng(1)
TAPS = pcm.FilterCoefficients("LOWPASS_4000_AT_48000")
SECOND = random.integers(-20000, 20000, 48000, numpy.int16).tobytes()

empty = pcm.Packet(channels=1)
row(
    "a call with nothing to do (del_leading 0)",
    {"pcm": lambda: empty.del_leading(0), "pybind11's empty call": empty.__len__},
)
for length in 160, 960, 48000:
    words = SECOND[: 2 * length]
    array = numpy.frombuffer(words, numpy.int16)
    floats = (array / 32768).astype(numpy.float32)
    codes = pcm.convert(words, "s16le", "mulaw")
    row(f"s16 to mu-law, {length}", {
        "pcm": lambda: pcm.convert(words, "s16le", "mulaw"),
        "audioop": audioop and (lambda: audioop.lin2ulaw(words, 2)),
        "numpy": lambda: to_mulaw(array),
    })  # fmt: skip
    row(f"mu-law to s16, {length}", {
        "pcm": lambda: pcm.convert(codes, "mulaw", "s16le"),
        "audioop": audioop and (lambda: audioop.ulaw2lin(codes, 2)),
    })  # fmt: skip
    row(f"s16 to floats, {length}", {
        "pcm": lambda: pcm.decode(words, "s16le"),
        "numpy": lambda: array.astype(numpy.float32) * numpy.float32(2**-15),
    })  # fmt: skip
    packet = pcm.decode(words, "s16le")
    row(f"level, {length}", {
        "pcm": lambda: packet.level_adjust(0.001),
        "audioop": audioop and (lambda: audioop.mul(words, 2, 0.999)),
        "numpy": lambda: numpy.multiply(floats, numpy.float32(0.999)),
    })  # fmt: skip
    taps, filter = numpy.asarray(TAPS), pcm.Filter(TAPS, 1)
    row(f"48 taps, {length}", {
        "pcm": lambda: (filter.write(packet), filter.gather(length)),
        "numpy": lambda: numpy.convolve(floats, taps, "valid"),
        "scipy": signal and (lambda: signal.oaconvolve(floats, taps, "valid")),
    })  # fmt: skip


def both():
    threads = [threading.Thread(target=lambda: [second_of_work() for _ in range(50)]) for _ in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()


times = timed({"one": lambda: [second_of_work() for _ in range(100)], "two": both})
print(f"two threads, a second of audio a call        {times['one'] / times['two']:.2f} times one")
