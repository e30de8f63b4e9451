"""The Python module: views and copies, and that no argument, from any thread, does worse than raise an exception."""
import copy
import os
import pathlib
import pickle
import random
import re
import resource
import subprocess
import sys
import threading
from array import array

import numpy as np
import pcm
import pytest

REFUSED = ValueError, TypeError, IndexError, MemoryError


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
    with packet.writable() as samples:
        samples[:] = 1
        with pytest.raises(ValueError, match="open for writing"):
            packet.append(packet)
        left = samples[1:]
    left[:] = 2  # goes to memory that is no longer the packet's
    assert np.array_equal(packet, np.ones((2, 2))) and not samples.flags.writeable


def test_copies_are_equal_until_one_changes():
    taps = pcm.FilterCoefficients("LOWPASS_4000_AT_16000")
    queue = pcm.PacketQueue(2, [ramp(3, 2), ramp(1, 2)])
    queue.gather(1)
    packet = pcm.Packet(ramp(3, 2))
    for make in copy.copy, copy.deepcopy, lambda value: pickle.loads(pickle.dumps(value)):
        again = make(packet)
        assert again == packet and repr(again) == "Packet(frames=3, channels=2)"
        again[:1] = again[1:2]
        assert again != packet and packet == pcm.Packet(ramp(3, 2))
        assert make(taps) == taps and make(pcm.Encoding("mulaw")) == pcm.Encoding("mulaw")
        assert pcm.Filter(make(taps)).coefficients == taps
        assert make(queue).gather(3) == copy.copy(queue).gather(3)


def test_bytes_go_in_and_out():
    codes = bytes(range(256))
    stereo = pcm.decode(codes, "alaw", 2)
    assert stereo.encode("alaw") == codes == pcm.convert(pcm.convert(codes, "alaw", "s24be"), "s24be", "alaw")
    scattered = np.frombuffer(stereo.encode("s16le"), np.int16).reshape(-1, 2)[:, 1]
    assert pcm.decode(scattered, "s16le") == stereo.with_channel_mask(2)
    out = np.zeros(5, np.float32)
    assert pcm.decode(codes, "alaw", out=out) == 5 and np.array_equal(out, np.asarray(stereo).ravel()[:5])
    assert pcm.Packet(out[::2]) == pcm.Packet(np.ascontiguousarray(out[::2]))
    memory = bytearray(8)
    for source, target in (memory, memory), (memory, memoryview(memory)[4:]):
        with pytest.raises(ValueError, match="overlap"):
            pcm.convert(source, "s16le", "s16be", target)


def test_the_stubs_are_those_of_the_module():
    root = pathlib.Path(__file__).parent.parent
    stubs = subprocess.run([sys.executable, root / "scripts/python-stubs"], capture_output=True, text=True, check=True)
    assert stubs.stdout == (root / "python/pcm.pyi").read_text()  # scripts/python-stubs >python/pcm.pyi
    compile(stubs.stdout, "pcm.pyi", "exec")


def test_what_comes_out_is_given_back():
    second, queue, low = pcm.Packet(ramp(48000, 2)), pcm.PacketQueue(2), pcm.Filter(pcm.FilterCoefficients(2), 2)

    def once():
        for packet in pcm.decode(second.encode("s16le"), "s16le", 2), second[1:], copy.deepcopy(second):
            queue.write(packet)
        low.write(second)
        low.read(), copy.deepcopy(queue), pickle.loads(pickle.dumps(queue)), pcm.noise_gather(48000)
        pcm.convert(bytes(48000), "alaw", "f32be")
        queue.clear()
        with second.writable() as samples:
            samples[:] = memoryview(pcm.Packet(ramp(1, 2)))
        with pytest.raises(IndexError):
            second.insert_inner(0, second, 48000, 1)

    once()
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    for _ in range(100):
        once()
    assert resource.getrusage(resource.RUSAGE_SELF).ru_maxrss < before + 16384 or "PCM_SANITIZED" in os.environ


CLASSES = [pcm.PacketQueue, pcm.Packet, pcm.FilterCoefficients, pcm.Filter, pcm.Tone]
RENAMED = {
    "pcmPacketCreate": lambda channels: pcm.Packet(channels=channels),
    "pcmPacketCreateFromSamplesCopy": lambda source, channels, frames: pcm.Packet(source, channels),
    "pcmPacketCreateFromWithChannels": pcm.Packet.with_channels,
    "pcmPacketCreateFromWithChannelMask": pcm.Packet.with_channel_mask,
    "pcmPacketTryDecode": pcm.decode,
    "pcmPacketQueueCreate": pcm.PacketQueue,
    "pcmFilterCreate": pcm.Filter,
    "pcmFilterCoefficientsCreate": pcm.FilterCoefficients,
    "pcmFilterCoefficientsCreateFromSamplesCopy": lambda taps, length: pcm.FilterCoefficients(taps and taps[:length]),
    "pcmEncodingSizeofFrame": lambda flags, channels: pcm.Encoding(flags).sizeof_frame(channels),
    "pcmLevelAdjustSamples": lambda dest, samples, decibel: pcm.level_adjust(dest, decibel),
    "pcmToneCreate": pcm.Tone,
}
# Packets are made of arrays, which know their lengths. A method has an object: `empty` is one that is not initialised.
OTHERWISE = {
    ("pcmPacketCreateFromSamplesCopy", "(nullptr, kMost, 1)"): None,
    ("pcmPacketCreateFromSamplesCopy", "(nullptr, TwoTo(61), 0)"): None,
    ("pcmPacketCreateFromSamplesCopy", "(array, kMost / 4, 2)"): "the samples are not a whole number of frames",
}


def find(name):
    """An operation of C in Python, and the class of its first argument."""
    owner = next((each for each in CLASSES if name.startswith("pcm" + each.__name__)), pcm.Packet)
    rest, short = name.removeprefix("pcm"), name.removeprefix("pcm").removeprefix(owner.__name__)
    rest, short = (re.sub("(?<!^)(?=[A-Z])", "_", word).lower() for word in (rest, short))
    return RENAMED.get(name) or getattr(owner, short, None) or getattr(pcm, rest, None), owner


def subjects(owner):
    """What the table calls things."""
    block, taps = np.zeros((12, 16), np.float32), pcm.FilterCoefficients(array("f", [0.5] * 16))
    filter24 = pcm.Filter(taps, 16)
    filter24.write(block)
    filter24.write(block)
    return {
        "empty": owner.__new__(owner), "nullptr": None, "array": array("f", bytes(1600)), "bytes": bytes(15),
        "mono3": pcm.Packet(ramp(3, 1)), "mono5": pcm.Packet(ramp(5, 1)), "stereo3": pcm.Packet(ramp(3, 2)),
        "stereo0": pcm.Packet(channels=2), "wide": pcm.Packet(channels=2**60), "widest": pcm.Packet(channels=2**62),
        "queue0": pcm.PacketQueue(2), "queue24": pcm.PacketQueue(16, [block, block]), "filter24": filter24,
        "taps": taps, "tone": pcm.Tone(40), "kMost": 2**63 - 1, "kLeast": -(2**63), "kNan": float("nan"),
        "kInfinity": float("inf"), "TwoTo": lambda power: 2**power,
    }  # fmt: skip


def test_refusals_are_those_of_c():
    environment = os.environ | {"LD_PRELOAD": ""}
    command = [os.environ["PCM_TESTS"], "--operations"]
    table = subprocess.run(command, capture_output=True, text=True, check=True, env=environment)
    refused = [line.split("\t") for line in table.stdout.splitlines() if "\t" in line]
    for name, arguments, _, text in refused:
        call, owner = find(name)
        if not call:  # a kernel, the runtime's, or what hands over references and blocks
            assert re.match(r"pb|pcm___|pcm\w+(Use|Retain|Release|ToString|From|Compare)$", name), name
        elif text := OTHERWISE.get((name, arguments), text):
            names = subjects(owner)
            values = eval(arguments.replace("/", "//").replace(")", ",)"), names)
            if values[0] is None and call is getattr(owner, call.__name__, None):
                values = names["empty"], *values[1:]
            if values[0] is names["empty"]:
                text = "the object is not initialised"
            with pytest.raises(REFUSED) as raised:
                call(*values)
            assert str(raised.value) == text, (name, arguments)


def everything():
    """All functions and methods of the module, each with lists of the types that it takes."""
    owners = [pcm] + [value for name, value in vars(pcm).items() if isinstance(value, type) and name[0] != "_"]
    for value in [value for owner in owners for value in vars(owner).values()]:
        function = value.fget if isinstance(value, property) else getattr(value, "__func__", value)
        for parameters in re.findall(r"^(?:\d\. )?\w+\((.*)\) ->", getattr(function, "__doc__", "") or "", re.M):
            if callable(function):
                yield function, re.findall(r"\w+: ([^=]+?)(?: = [^,]*)?(?:, (?=\w+:)|$)", parameters)


def call_carelessly(seed, shared, calls, broken):
    """Calls anything with arguments of all kinds, though mostly of one that suits."""
    numbers, functions = random.Random(seed), list(everything())
    kinds = {
        "int": [0, 1, 2, 3, 5, -1, 2**50, 2**61, 2**62, 2**63 - 1, -(2**63), 2**64],
        "float": [0.0, -6.0, 1e300, -1e300, float("nan"), float("inf")],
        "EncodingLike": ["mulaw", "s16le", "PCM_ENCODING_INT_24|PCM_ENCODING_PACK_64", 0, 2**63 - 1, -1],
        "str": ["", "PCM_FILTER_TYPE_LOWPASS_4000_AT_16000", "\0", "\udc80"],
        "slice": [slice(1, 3), slice(None, None, -1), slice(-(2**70), 2**70), slice(2**62, 0)],
        "Buffer": [b"", bytes(6), bytearray(7), memoryview(bytes(9))[::3], np.arange(6, dtype=">i2"), np.zeros(0)],
        "Samples": [ramp(9, 1), ramp(4, 2)[::2], ramp(4, 2).T, array("f"), ramp(0, 2), ramp(3, 0), np.float32(1)]
        + [np.frombuffer(bytes(13), np.uint8)[1:].view(np.float32)],
        "object": [None, object(), np.zeros(3), np.zeros(3, object), np.zeros((2, 2, 2), np.float32)],
    } | shared
    for _ in range(calls):
        function, types = numbers.choice(functions)
        values = []
        for each in types:
            suitable = [value for kind in kinds if kind in each for value in kinds[kind]]
            suits = suitable and numbers.random() < 0.9
            values.append(numbers.choice(suitable if suits else kinds[numbers.choice(list(kinds))]))
        try:
            function(*values)
            for packet in shared["Packet"]:
                if len(packet) * packet.channels > 100000:
                    del packet[10:]
            with numbers.choice(shared["Packet"]).writable() as samples:
                samples[:1] = numbers.random()
        except REFUSED:
            pass
        except BaseException as error:
            broken.append((seed, function, values, error))


@pytest.mark.parametrize("threads", [1, 4])
def test_no_argument_does_worse_than_raise(threads):
    seed, broken = int(os.environ.get("PCM_TEST_SEED", random.randrange(2**32))), []
    packet, taps = pcm.Packet(ramp(20000, 2)), pcm.FilterCoefficients("LOWPASS_4000_AT_16000")
    classes = pcm.Packet, pcm.PacketQueue, pcm.Filter, pcm.FilterCoefficients, pcm.Tone
    objects = [[packet, pcm.Packet()], [pcm.PacketQueue(2)], [pcm.Filter(taps, 2)], [taps], [pcm.Tone(9), pcm.Tone(7)]]
    shared = {each.__name__: [*some, each.__new__(each)] for each, some in zip(classes, objects)}
    running = [
        threading.Thread(target=call_carelessly, args=(seed + number, shared, 20000 // threads, broken))
        for number in range(threads)
    ]
    for thread in running:
        thread.start()
    for thread in running:
        thread.join()
    assert not broken, seed
