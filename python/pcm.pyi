"""PCM audio: packets of samples, conversion, levels, queues, filters, generators.

Samples are 32-bit floats, nominally -1.0 to 1.0; frames hold a sample for each channel; counts of
frames and samples are ints. What an operation refuses raises ValueError, TypeError, IndexError
or MemoryError with the text of the condition that does not hold, and has changed no sample."""
# Printed by scripts/python-stubs.
from contextlib import AbstractContextManager
from typing import Any, Optional, Union, overload

import numpy
from typing_extensions import Buffer

Samples = Buffer  # of 32-bit floats
EncodingLike = Union[str, int, "Encoding"]
__version__: str


class Encoding:
    """How a sample lies in bytes: a flag word with its text form and sizes.

    Wherever an encoding is wanted, its name does: s8, u8, s16le, s16be, u16le ... s24le ... s32le ..., f32le, f32be, alaw, mulaw, or flag names joined by `|` for other layouts, such as 'PCM_ENCODING_INT_24|PCM_ENCODING_PACK_32'.
    """
    def __eq__(self, other: object) -> bool:
        ...
    def __hash__(self) -> int:
        ...
    def __index__(self) -> int:
        ...
    def __init__(self, encoding: EncodingLike) -> None:
        """Of a name, a flag word, or another encoding. ValueError for a name that there is not."""
    def __int__(self) -> int:
        ...
    def __repr__(self) -> str:
        ...
    def __str__(self) -> str:
        ...
    @property
    def name(self) -> str:
        """The short name such as 's16le' where there is one."""
    def normalize(self) -> Encoding:
        """The encoding with at most one flag of each group."""
    def sizeof_frame(self, channels: int) -> int:
        """Bytes of a frame. ValueError for channels below 1, MemoryError where the size does not fit in 64 bits."""
    def sizeof_sample(self) -> int:
        """Bytes of a sample with its container: 1 to 8."""
    def to_string(self) -> str:
        """The names of the normalised flags, joined by `|`."""

class Filter:
    """A stream through an FIR filter: packets in, the same frames out, filtered and
    clamped to [-1, 1]; the same however the signal is cut into packets.
    """
    def __copy__(self) -> Filter:
        ...
    def __deepcopy__(self, arg0: Any) -> Filter:
        ...
    def __eq__(self, other: object) -> bool:
        """Whether both hold the same object."""
    def __init__(self, coefficients: FilterCoefficients, channels: int = 1) -> None:
        """A filter that has seen no frames."""
    def __repr__(self) -> str:
        ...
    @property
    def channels(self) -> int:
        """The channel count of every packet."""
    @property
    def coefficients(self) -> FilterCoefficients:
        """The taps."""
    @property
    def frames(self) -> int:
        """The frames that wait to be read."""
    def gather(self, frames: int) -> Packet:
        """Takes frames, at least 1, as one packet."""
    def gather_samples(self, dest: Samples, frames: Optional[int] = None) -> None:
        """Takes frames into a writable float32 array; as many as it has room for, where no number is given."""
    def gather_samples_add(self, dest: Samples, frames: Optional[int] = None) -> None:
        """Takes frames and adds them to what a writable float32 array holds. Nothing is clamped."""
    @property
    def packets(self) -> int:
        """The packets that wait; one that is partly read counts."""
    def read(self) -> Packet:
        """Takes the next packet, or the rest of it. IndexError when there is none."""
    def reset(self) -> None:
        """Forgets all frames, those remembered and those that wait."""
    def write(self, pkt: Packet | Samples) -> None:
        """Puts in a packet of this channel count, or float32 samples."""

class FilterCoefficients:
    """The taps of an FIR filter, the one for the newest frame first. A set never changes. numpy.asarray(set) is a
    read-only view of shape (taps,), without a copy.
    """
    def __copy__(self) -> Any:
        ...
    def __deepcopy__(self, arg0: Any) -> FilterCoefficients:
        ...
    def __eq__(self, other: object) -> bool:
        """Whether all bits of the taps are the same."""
    @overload
    def __init__(self, taps: Samples) -> None:
        """A copy of float32 taps, at least 1."""
    @overload
    def __init__(self, type: Union[int, str]) -> None:
        """A built-in low-pass by its name, such as 'LOWPASS_4000_AT_16000', or its number."""
    def __len__(self) -> int:
        """The number of taps."""
    def __repr__(self) -> str:
        ...

class Packet:
    """A run of frames of one channel count.

    numpy.asarray(packet) and memoryview(packet) are read-only views of shape (frames, channels), of 32-bit
    floats, without a copy. A view never changes: an edit after it goes to a copy of the samples.
    """
    def __copy__(self) -> Packet:
        ...
    def __deepcopy__(self, arg0: Any) -> Packet:
        ...
    def __delitem__(self, arg0: slice) -> None:
        """Removes the frames of a slice."""
    def __eq__(self, other: object) -> bool:
        """Whether channels, frames and all bits of the samples are the same."""
    def __getitem__(self, arg0: slice) -> Packet:
        """The frames of a slice with step 1, as a packet."""
    def __init__(self, samples: Samples | None = None, channels: Optional[int] = None) -> None:
        """A copy of float32 samples of shape (frames,) or (frames, channels); with `channels`, those of shape
        (frames * channels,) are interleaved. Without samples a packet without frames, of `channels` or 1.
        TypeError for another dtype: integers are decoded, as decode(array, 's16le').
        """
    def __len__(self) -> int:
        ...
    def __repr__(self) -> str:
        ...
    def __setitem__(self, arg0: slice, arg1: Packet | Samples) -> None:
        """Overwrites the frames of a slice with as many others."""
    def append(self, source: Packet | Samples) -> None:
        """Puts frames after the last."""
    def append_inner(self, source: Packet | Samples, offset: int, frames: int) -> None:
        """Puts frames after the last. Frames offset to offset + frames of the source."""
    def append_leading(self, source: Packet | Samples, frames: int) -> None:
        """Puts frames after the last. The first frames of the source."""
    def append_outer(self, source: Packet | Samples, offset: int, frames: int) -> None:
        """Puts frames after the last. All of the source but frames offset to offset + frames."""
    def append_trailing(self, source: Packet | Samples, frames: int) -> None:
        """Puts frames after the last. The last frames of the source."""
    def append_zero(self, frames: int) -> None:
        """Puts silence after the last frame."""
    @property
    def channels(self) -> int:
        """The number of channels, at least 1."""
    def channels_adjust_expand_with_downmix(self, channels: int) -> None:
        """Keeps the channels and adds others that hold their average; with fewer channels, as replace."""
    def channels_adjust_replace_with_downmix(self, channels: int) -> None:
        """Makes so many channels, each the average of those that there are."""
    def clear(self) -> None:
        """Removes all frames."""
    def del_inner(self, idx: int, frames: int) -> None:
        """Removes frames from idx on."""
    def del_leading(self, frames: int) -> None:
        """Removes frames at the beginning."""
    def del_outer(self, idx: int, frames: int) -> None:
        """Removes all but frames from idx on."""
    def del_trailing(self, frames: int) -> None:
        """Removes frames at the end."""
    @overload
    def encode(self, encoding: Any, out: None = None) -> bytes:
        """As encode(packet, encoding, out)."""
    @overload
    def encode(self, encoding: Any, *, out: Any) -> int:
        """As encode(packet, encoding, out)."""
    @property
    def frames(self) -> int:
        """The number of frames."""
    def frames_extend(self, mult: int) -> None:
        """Raises the frame rate: puts mult - 1 frames of silence after each. A low-pass takes the images away."""
    def frames_reduce(self, div: int) -> None:
        """Lowers the frame rate: keeps the first of every div frames, of which there is a multiple. Filter first."""
    def insert(self, idx: int, source: Packet | Samples) -> None:
        """Inserts frames before frame idx."""
    def insert_inner(self, idx: int, source: Packet | Samples, offset: int, frames: int) -> None:
        """Inserts before frame idx. Frames offset to offset + frames of the source."""
    def insert_leading(self, idx: int, source: Packet | Samples, frames: int) -> None:
        """Inserts before frame idx. The first frames of the source."""
    def insert_outer(self, idx: int, source: Packet | Samples, offset: int, frames: int) -> None:
        """Inserts before frame idx. All of the source but frames offset to offset + frames."""
    def insert_trailing(self, idx: int, source: Packet | Samples, frames: int) -> None:
        """Inserts before frame idx. The last frames of the source."""
    def insert_zero(self, idx: int, frames: int) -> None:
        """Inserts silence before idx."""
    def level_adjust(self, decibel: float) -> None:
        """Multiplies every sample by a gain in decibels. Nothing is clamped."""
    def prepend(self, source: Packet | Samples) -> None:
        """Inserts before the first frame."""
    def prepend_inner(self, source: Packet | Samples, offset: int, frames: int) -> None:
        """Inserts before the first frame. Frames offset to offset + frames of the source."""
    def prepend_leading(self, source: Packet | Samples, frames: int) -> None:
        """Inserts before the first frame. The first frames of the source."""
    def prepend_outer(self, source: Packet | Samples, offset: int, frames: int) -> None:
        """Inserts before the first frame. All of the source but frames offset to offset + frames."""
    def prepend_trailing(self, source: Packet | Samples, frames: int) -> None:
        """Inserts before the first frame. The last frames of the source."""
    def prepend_zero(self, frames: int) -> None:
        """Inserts silence before the first frame."""
    def set_channels(self, channels: int) -> None:
        """Sets the number of channels: keeps the first ones, fills new ones with silence."""
    def set_frames(self, frames: int) -> None:
        """Sets the number of frames: removes the last ones, or appends silence."""
    def with_channel_mask(self, channel_mask: int) -> Packet:
        """A packet of some channels: bit i of the mask selects channel i; bit 63 is the sign."""
    def with_channels(self, channels: int) -> Packet:
        """A packet in which every channel is the sum of all channels; the packet itself if it has as many."""
    def writable(self) -> AbstractContextManager[numpy.ndarray]:
        """`with packet.writable() as array:` lends the samples as a writable array of shape (frames, channels).

        Meanwhile the packet is refused to everybody else. Afterwards the array is read-only; views of it that
        are left keep the memory, and the packet goes on with a copy.
        """
    def write(self, idx: int, source: Packet | Samples) -> None:
        """Overwrites frames from idx on."""
    def write_channels(self, dest_channel_offset: int, dest_frame_offset: int, source: Packet | Samples, source_channel_offset: int, source_frame_offset: int, channels: int, frames: int) -> None:
        """Overwrites a rectangle of channels x frames with one of the source's."""
    def write_channels_samples(self, dest_channel_offset: int, dest_frame_offset: int, source: Samples, source_channel_offset: int, source_channel_count: int, source_frame_offset: int, channels: int, frames: int) -> None:
        """As write_channels, of a float32 array of interleaved samples, source_channel_count to a frame."""
    def write_inner(self, idx: int, source: Packet | Samples, offset: int, frames: int) -> None:
        """Overwrites frames from idx on. Frames offset to offset + frames of the source."""
    def write_leading(self, idx: int, source: Packet | Samples, frames: int) -> None:
        """Overwrites frames from idx on. The first frames of the source."""
    def write_outer(self, idx: int, source: Packet | Samples, offset: int, frames: int) -> None:
        """Overwrites frames from idx on. All of the source but frames offset to offset + frames."""
    def write_trailing(self, idx: int, source: Packet | Samples, frames: int) -> None:
        """Overwrites frames from idx on. The last frames of the source."""
    def write_zero(self, idx: int, frames: int) -> None:
        """Overwrites frames with silence."""

class PacketQueue:
    """Packets of one channel count, first in, first out; read by the packet or
    by any number of frames. Takes references: no sample is copied on writing.
    """
    def __copy__(self) -> PacketQueue:
        ...
    def __deepcopy__(self, arg0: Any) -> PacketQueue:
        ...
    def __eq__(self, other: object) -> bool:
        """Whether both hold the same object."""
    def __init__(self, channels: int = 1, packets: list[Packet | Samples] = ()) -> None:
        """A queue of a channel count, with packets if given."""
    def __repr__(self) -> str:
        ...
    @property
    def channels(self) -> int:
        """The channel count of every packet."""
    def clear(self) -> None:
        """Removes all packets."""
    @property
    def frames(self) -> int:
        """The frames that wait to be read."""
    def gather(self, frames: int) -> Packet:
        """Takes frames, at least 1, as one packet."""
    def gather_samples(self, dest: Samples, frames: Optional[int] = None) -> None:
        """Takes frames into a writable float32 array; as many as it has room for, where no number is given."""
    def gather_samples_add(self, dest: Samples, frames: Optional[int] = None) -> None:
        """Takes frames and adds them to what a writable float32 array holds. Nothing is clamped."""
    @property
    def packets(self) -> int:
        """The packets that wait; one that is partly read counts."""
    def read(self) -> Packet:
        """Takes the next packet, or the rest of it. IndexError when there is none."""
    def write(self, pkt: Packet | Samples) -> None:
        """Puts in a packet of this channel count, or float32 samples."""

class Tone:
    """A full-scale sine with a period of a whole number of frames, which goes on where it
    stopped. There is one phase for all its holders, so a copy is the tone itself.
    """
    def __copy__(self) -> Any:
        ...
    def __init__(self, period: int) -> None:
        """A new tone, at phase 0."""
    def __repr__(self) -> str:
        ...
    def gather(self, samples: int) -> Packet:
        """A packet of one channel of the next samples."""
    def gather_samples(self, dest: Samples, samples: Optional[int] = None) -> None:
        """Writes samples into a writable float32 array; as many as it has room for, where no number is given."""
    def gather_samples_add(self, dest: Samples, samples: Optional[int] = None) -> None:
        """Adds samples to those of a writable float32 array. Nothing is clamped."""
    @staticmethod
    def try_create_with_frequency(frame_rate: int, hertz: int) -> Tone:
        """The tone whose period comes nearest to that of a frequency; None when it is below 1 frame."""

@overload
def convert(source: Buffer, source_encoding: EncodingLike, dest_encoding: EncodingLike, out: None = None) -> bytes:
    """Samples in another encoding: the result of decoding and then encoding.

    source: bytes, or anything with the buffer protocol. Returns bytes. With `out`, a writable buffer that does
    not overlap the source, converts as many samples as both have room for and returns how many.
    ValueError where the bytes are not a whole number of samples.
    """
@overload
def convert(source: Buffer, source_encoding: EncodingLike, dest_encoding: EncodingLike, *, out: Buffer) -> int:
    """Samples in another encoding: the result of decoding and then encoding.

    source: bytes, or anything with the buffer protocol. Returns bytes. With `out`, a writable buffer that does
    not overlap the source, converts as many samples as both have room for and returns how many.
    ValueError where the bytes are not a whole number of samples.
    """

def decibel_from_gain(gain: float) -> float:
    """20 log10(gain), from -200.0 to 200.0. ValueError unless the gain is finite and at least 0."""

def decibel_to_gain(decibel: float) -> float:
    """10 ** (decibel / 20), from 1e-10 to 1e10. ValueError unless the decibels are finite."""

@overload
def decode(source: Buffer, encoding: EncodingLike, channels: int = 1, out: None = None) -> Packet:
    """A packet of the frames in bytes, or in anything with the buffer protocol.

    With `out`, a writable float32 array, decodes as many samples as it has room for and returns how many.
    ValueError where the bytes are not a whole number of frames, or channels is below 1.
    """
@overload
def decode(source: Buffer, encoding: EncodingLike, channels: int = 1, *, out: Samples) -> int:
    """A packet of the frames in bytes, or in anything with the buffer protocol.

    With `out`, a writable float32 array, decodes as many samples as it has room for and returns how many.
    ValueError where the bytes are not a whole number of frames, or channels is below 1.
    """

def dual_tone_gather(tone_a: Tone, tone_b: Tone, samples: int) -> Packet:
    """A packet of one channel: the average of two tones, which both go on."""

def dual_tone_gather_samples(tone_a: Tone, tone_b: Tone, dest: Samples, samples: Optional[int] = None) -> None:
    """Writes samples into a writable float32 array; as many as it has room for, where no number is given."""

def dual_tone_gather_samples_add(tone_a: Tone, tone_b: Tone, dest: Samples, samples: Optional[int] = None) -> None:
    """Adds samples to those of a writable float32 array. Nothing is clamped."""

@overload
def encode(source: Packet | Samples, encoding: EncodingLike, out: None = None) -> bytes:
    """The bytes of a packet, or of a float32 array of shape (frames,) or (frames, channels).

    Integers and G.711 saturate at full scale. With `out`, a writable buffer, encodes as many samples as it has
    room for and returns how many.
    """
@overload
def encode(source: Packet | Samples, encoding: EncodingLike, *, out: Buffer) -> int:
    """The bytes of a packet, or of a float32 array of shape (frames,) or (frames, channels).

    Integers and G.711 saturate at full scale. With `out`, a writable buffer, encodes as many samples as it has
    room for and returns how many.
    """

def filter_type_from_string(name: str) -> int:
    """The number of a built-in set of coefficients; -1 when the name names none."""

def filter_type_to_string(type: int) -> str:
    """The name of a built-in set."""

def level_adjust(samples: Samples, decibel: float) -> None:
    """Multiplies the samples of a writable float32 array by a gain in decibels, in place. Nothing is clamped."""

def modulated_tone_gather(tone_a: Tone, tone_b: Tone, samples: int) -> Packet:
    """A packet of one channel: the product of two tones, which both go on."""

def modulated_tone_gather_samples(tone_a: Tone, tone_b: Tone, dest: Samples, samples: Optional[int] = None) -> None:
    """Writes samples into a writable float32 array; as many as it has room for, where no number is given."""

def modulated_tone_gather_samples_add(tone_a: Tone, tone_b: Tone, dest: Samples, samples: Optional[int] = None) -> None:
    """Adds samples to those of a writable float32 array. Nothing is clamped."""

def noise_gather(samples: int) -> Packet:
    """A packet of one channel of white noise at full scale."""

def noise_gather_samples(dest: Samples, samples: Optional[int] = None) -> None:
    """Writes samples into a writable float32 array; as many as it has room for, where no number is given."""

def noise_gather_samples_add(dest: Samples, samples: Optional[int] = None) -> None:
    """Adds samples to those of a writable float32 array. Nothing is clamped."""

def silence_gather(frames: int) -> Packet:
    """A packet of one channel of silence."""

def silence_gather_samples(dest: Samples, samples: Optional[int] = None) -> None:
    """Sets the samples of a writable float32 array to 0."""
