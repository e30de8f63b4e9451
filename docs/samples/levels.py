#!/usr/bin/python3
"""levels.py PICTURE [FILE]: draws the level of each 20 ms of a sound and its spectrogram. FILE holds mu-law bytes at 8000
frames per second; without it, seven keys are dialled."""

import sys

import matplotlib
import numpy
import pcm

matplotlib.use("Agg")
from matplotlib import pyplot

RATE = 8000


def dialled(keys):
    """Dual tones of ITU-T Q.23, 80 ms each, made at 25 times the rate, where their periods are nearly whole."""
    call = pcm.Packet(channels=1)
    for key in keys:
        row, column = divmod("123A456B789C*0#D".index(key), 4)
        frequencies = (697, 770, 852, 941)[row], (1209, 1336, 1477, 1633)[column]
        tones = [pcm.Tone(round(25 * RATE / hertz)) for hertz in frequencies]
        tone = pcm.dual_tone_gather(*tones, 25 * 640)
        tone.frames_reduce(25)
        tone.level_adjust(-10.0)
        call.append(tone)
        call.append_zero(640)
    return call


call = pcm.decode(open(sys.argv[2], "rb").read(), "mulaw") if len(sys.argv) > 2 else dialled("5550123")
samples = numpy.asarray(call)[:, 0]
blocks = samples[: len(samples) // 160 * 160].reshape(-1, 160)
levels = [pcm.decibel_from_gain(max(gain, 1e-4)) for gain in numpy.sqrt((blocks**2).mean(axis=1))]

matplotlib.rcParams["svg.hashsalt"] = "levels"
figure, (above, below) = pyplot.subplots(2, 1, sharex=True, figsize=(8, 4.5), layout="constrained")
above.step(numpy.arange(len(levels)) / 50, levels, where="post")
above.set(ylabel="RMS, dB of full scale", ylim=(-80, 0))
below.specgram(
    samples + 1e-8 * numpy.random.default_rng(1).standard_normal(len(samples)),
    NFFT=256,
    Fs=RATE,
    noverlap=192,
    vmin=-120,
)  # with noise too soft to be seen, for silence has no logarithm
below.set(xlabel="seconds", ylabel="Hz")
figure.savefig(sys.argv[1], metadata={"Date": None} if sys.argv[1].endswith("svg") else None, dpi=80)
