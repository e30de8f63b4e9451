"""The change of frame rate of a stream of packets: the library's filters where whole factors lead from one rate to the
other, soxr elsewhere. The same steps as in the example `transcode`, whose comments say why, and the same bits."""

import ctypes
import functools

import numpy
import pcm

# The built-in filters by the two rates between which they work.
_FILTERS = {
    (16000, 8000): "LOWPASS_4000_AT_16000",
    (24000, 8000): "LOWPASS_4000_AT_24000",
    (48000, 8000): "LOWPASS_4000_AT_48000",
    (24000, 12000): "LOWPASS_6000_AT_24000",
    (48000, 12000): "LOWPASS_6000_AT_48000",
    (48000, 16000): "LOWPASS_8000_AT_48000",
    (48000, 24000): "LOWPASS_12000_AT_48000",
}

# Room above full scale while a filter works, which clamps. A power of 2, so that nothing is rounded.
_HEADROOM = pcm.decibel_from_gain(2.0**24)


def steps_between(rate, to):
    """Pairs of rates with a filter between them; none where the filters do not suffice."""

    def has_filter(a, b):
        return (max(a, b), min(a, b)) in _FILTERS

    for via in (24000, 48000):
        between = min(rate, to) < via < max(rate, to)
        if has_filter(rate, via) and has_filter(via, to) and (between or not has_filter(rate, to)):
            return [(rate, via), (via, to)]
    return [(rate, to)] if has_filter(rate, to) else []


def at_rate(packets, channels, rate, to):
    """The packets at another rate: aligned in time, ceil(frames * to / rate) frames in all."""
    if rate == to:
        return packets
    steps = steps_between(rate, to)
    if not steps:
        return _resampled(packets, channels, rate, to)
    for late, step in enumerate(steps):
        packets = _filtered(packets, channels, *step, late)
    return packets


def _filtered(packets, channels, rate, to, late):
    """One step. A filter delays by half a frame more or less than whole frames: `late` says which is taken out."""
    taps = pcm.FilterCoefficients(_FILTERS[max(rate, to), min(rate, to)])
    filter = pcm.Filter(taps, channels)
    mult, div = max(to // rate, 1), max(rate // to, 1)
    gain = pcm.decibel_from_gain(2.0**24 * mult)
    delay = to_drop = len(taps) // 2 - late

    def taken():
        nonlocal to_drop
        if filter.frames < to_drop + div:
            return None
        if to_drop:
            filter.gather(to_drop)
            to_drop = 0
        packet = filter.gather(filter.frames // div * div)
        if div > 1:
            packet.frames_reduce(div)
        packet.level_adjust(gain)
        return packet

    fed = 0
    for packet in packets:
        packet.level_adjust(-_HEADROOM)
        if mult > 1:
            packet.frames_extend(mult)
        fed += len(packet)
        filter.write(packet)
        if (out := taken()) is not None:
            yield out
    rest = pcm.Packet(channels=channels)  # the delay, and what the last group lacks, so that no frame is lost
    rest.append_zero(delay + -fed % div)
    filter.write(rest)
    if (out := taken()) is not None:
        yield out


class _Quality(ctypes.Structure):
    _fields_ = [(name, ctypes.c_double) for name in ("precision", "phase", "passband_end", "stopband_begin")]
    _fields_ += [("e", ctypes.c_void_p), ("flags", ctypes.c_ulong)]


@functools.cache
def _soxr():
    library = ctypes.CDLL("libsoxr.so.0")
    library.soxr_quality_spec.restype = _Quality
    library.soxr_quality_spec.argtypes = [ctypes.c_ulong, ctypes.c_ulong]
    library.soxr_create.restype = ctypes.c_void_p
    library.soxr_create.argtypes = [ctypes.c_double, ctypes.c_double, ctypes.c_uint] + 4 * [ctypes.c_void_p]
    library.soxr_process.restype = ctypes.c_char_p
    size = ctypes.POINTER(ctypes.c_size_t)
    library.soxr_process.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_size_t, size] + [
        ctypes.c_void_p, ctypes.c_size_t, size
    ]  # fmt: skip
    library.soxr_delete.argtypes = [ctypes.c_void_p]
    return library


def _resampled(packets, channels, rate, to):
    """By soxr, in very high quality."""
    soxr, very_high = _soxr(), 6
    error = ctypes.c_char_p()
    quality = soxr.soxr_quality_spec(very_high, 0)
    resampler = soxr.soxr_create(rate, to, channels, ctypes.byref(error), None, ctypes.byref(quality), None)
    if error.value:
        raise RuntimeError(f"soxr cannot change the rate: {error.value.decode()}")
    given = 0

    def taken(samples):
        """What comes out for these samples; for None what is left at the end."""
        nonlocal given
        frames = 0 if samples is None else len(samples)
        out = numpy.empty((frames * to // rate + 4096, channels), numpy.float32)
        parts, used = [], 0
        while True:
            took, got = ctypes.c_size_t(), ctypes.c_size_t()
            at = None if samples is None else samples[used:].ctypes.data
            error = soxr.soxr_process(
                resampler, at, frames - used, ctypes.byref(took), out.ctypes.data, len(out), ctypes.byref(got)
            )
            if error:
                raise RuntimeError(f"soxr cannot change the rate: {error.decode()}")
            used += took.value
            parts.append(out[: got.value].copy())
            if used == frames and not got.value:
                break
        given += sum(map(len, parts))
        return numpy.concatenate(parts)

    try:
        fed = 0
        for packet in packets:
            samples = numpy.ascontiguousarray(packet)
            fed += len(samples)
            yield pcm.Packet(taken(samples))
        # Silence after the input, so that the frames which end in it come out, then what the resampler still holds.
        lacking = -(-fed * to // rate) - given
        tail = numpy.concatenate([taken(numpy.zeros((rate // to + 1, channels), numpy.float32)), taken(None)])
        rest = pcm.Packet(tail)
        rest.set_frames(lacking)
        yield rest
    finally:
        soxr.soxr_delete(resampler)
