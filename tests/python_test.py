"""The Python module: arrays and bytes in and out, sharing, and what it refuses."""
import copy
import pickle

import numpy as np
import pcm
import pytest


def ramp(frames, channels):
    return np.arange(frames * channels, dtype=np.float32).reshape(frames, channels) / 1024


def test_views_hold_what_they_saw():
    packet = pcm.Packet(ramp(3, 2))
    view, memory = np.asarray(packet), memoryview(packet)
    assert view.shape == (3, 2) and memory.readonly and not view.flags.writeable
    assert np.asarray(packet).ctypes.data == view.ctypes.data  # no copy
    packet.level_adjust(6.0)
    del packet[:1]
    assert np.array_equal(view, ramp(3, 2)) and len(packet) == 2
    with packet.writable() as array:
        array[:] = 1
        with pytest.raises(ValueError, match="open for writing"):
            packet.append(packet)
        left = array[1:]
    left[:] = 2  # goes to memory that is no longer the packet's
    assert np.array_equal(packet, np.ones((2, 2)))


def test_copies_are_equal_until_one_changes():
    taps = pcm.FilterCoefficients("LOWPASS_4000_AT_16000")
    queue = pcm.PacketQueue(2, [ramp(3, 2), ramp(1, 2)])
    queue.gather(1)
    packet = pcm.Packet(ramp(3, 2))
    for make in copy.copy, copy.deepcopy, lambda value: pickle.loads(pickle.dumps(value)):
        again = make(packet)
        assert again == packet and repr(again) == "Packet(frames=3, channels=2)"
        again.write_zero(0, 1)
        assert again != packet and packet == pcm.Packet(ramp(3, 2))
        assert make(taps) == taps and make(pcm.Encoding("mulaw")) == pcm.Encoding("mulaw")
        assert make(queue).gather(3) == copy.copy(queue).gather(3)
