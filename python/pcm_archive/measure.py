"""What is said of a recording. Levels are in dB of full scale, which is an amplitude of 1: a sine as loud as can be has
a peak of 0 dB and an RMS of -3 dB."""

import math

import numpy

ACTIVE = -50.0  # dB: a block of 20 ms with a lower RMS is silence

_ACTIVE_SQUARE = 10 ** (ACTIVE / 10)


def decibel(gain):
    return 20 * math.log10(gain) if gain > 0 else -math.inf


def block_frames(rate):
    """20 ms, in whole frames."""
    return max(rate // 50, 1)


class Meter:
    """Measures samples that it is shown, block by block; all but the last are whole multiples of 20 ms long."""

    def __init__(self, rate, outermost):
        """outermost: the largest magnitude that the encoding surely holds; from there on a sample is clipped."""
        self._rate, self._block, self._outermost = rate, block_frames(rate), outermost
        self._frames = self._samples = self._clipped = self._nan = 0
        self._blocks = self._active_blocks = self._active_samples = 0
        self._sum = self._squares = self._active_squares = self._peak = 0.0

    def add(self, samples):
        """samples: shape (frames, channels)"""
        frames, channels = samples.shape
        self._frames += frames
        self._samples += samples.size
        total = float(samples.sum(dtype=numpy.float32)) if samples.size else 0.0
        if total != total or math.isinf(total):
            nan = numpy.isnan(samples)
            self._nan += int(nan.sum())
            samples = numpy.where(nan, numpy.float32(0), samples)
            with numpy.errstate(invalid="ignore"):
                total = float(samples.sum(dtype=numpy.float64))
        self._sum += total
        if samples.size:
            peak = max(float(samples.max()), -float(samples.min()))
            self._peak = max(self._peak, peak)
            if peak >= self._outermost:
                self._clipped += int((numpy.abs(samples) >= self._outermost).sum())
        whole = frames // self._block * self._block
        self._add_blocks(samples[:whole].reshape(-1, self._block * channels))
        if whole < frames:
            self._add_blocks(samples[whole:].reshape(1, -1))

    def _add_blocks(self, blocks):
        squares = numpy.einsum("ij,ij->i", blocks, blocks).astype(numpy.float64)
        self._squares += float(squares.sum())
        active = squares > _ACTIVE_SQUARE * blocks.shape[1]
        self._blocks += len(squares)
        self._active_blocks += int(active.sum())
        self._active_samples += int(active.sum()) * blocks.shape[1]
        self._active_squares += float(squares[active].sum())

    def row(self):
        """The measures by their names in the table; levels of silence are empty."""

        def level(gain):
            return round(decibel(gain), 2) if gain > 0 else None

        def share(part, whole):
            return round(part / whole, 4) if whole else None

        samples, active = max(self._samples, 1), max(self._active_samples, 1)
        return {
            "seconds": round(self._frames / self._rate, 3),
            "peak_db": level(self._peak),
            "rms_db": level(math.sqrt(self._squares / samples)),
            "active_db": level(math.sqrt(self._active_squares / active)),
            "clipped": self._clipped,
            "offset": round(self._sum / samples, 6),
            "silent_share": share(self._blocks - self._active_blocks, self._blocks),
            "nan_share": share(self._nan, self._samples),
        }
