"""Audio files, in blocks. soundfile opens them; the bytes of the samples are read and written as the file holds them,
so that every sample is decoded and encoded by pcm, and a recording of any length takes the memory of a block."""

import ctypes
import errno
import os
import re
import stat
import sys
import uuid

import pcm
import soundfile

# What soundfile does not offer of the library that it has loaded.
_sndfile = ctypes.CDLL("libsndfile.so.1", use_errno=True)
_sndfile.sf_read_raw.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int64]
_sndfile.sf_write_raw.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int64]
_sndfile.sf_read_raw.restype = _sndfile.sf_write_raw.restype = ctypes.c_int64
_sndfile.sf_close.argtypes = [ctypes.c_void_p]
_sndfile.sf_command.argtypes = [ctypes.c_void_p, ctypes.c_int, ctypes.c_void_p, ctypes.c_int]
_SET_ADD_PEAK_CHUNK, _GET_CHANNEL_MAP, _SET_CHANNEL_MAP, _NEEDS_SWAP = 0x1050, 0x1100, 0x1101, 0x1110

UNKNOWN_FRAMES = 2**63 - 1  # what libsndfile says where it cannot know

# Containers in which the samples stand one after another, and nothing else between them.
_PLAIN = {"WAV", "WAVEX", "RF64", "W64", "AIFF", "AU", "CAF"}
_SUBTYPES = {
    "PCM_S8": "s8", "PCM_U8": "u8", "PCM_16": "s16", "PCM_24": "s24", "PCM_32": "s32", "FLOAT": "f32",
    "ALAW": "alaw", "ULAW": "mulaw",
}  # fmt: skip
BYTES = {"alaw": 1, "mulaw": 1, "s8": 1, "u8": 1, "s16": 2, "s24": 3, "s32": 4, "f32": 4}
TYPES = ("wav", "au", "raw")

# Encodings that a container cannot hold, and what comes closest.
_INSTEAD = {"wav": {"s8": "u8"}, "au": {"u8": "s8"}, "raw": {}}

# What else libsndfile decodes, by the type that loses least.
_CLOSEST = {"DOUBLE": "f32", "VORBIS": "s16", "ALAC_20": "s24", "ALAC_24": "s24", "ALAC_32": "s32"}


class Unreadable(Exception):
    """Why a file is not converted, for the table."""


def sample_bytes(encoding):
    return BYTES[encoding.removesuffix("le").removesuffix("be")]


def _handle(file):
    return ctypes.c_void_p(int(soundfile._ffi.cast("intptr_t", file._file)))


def _close(file):
    """Closes a file that was written, and says whether that succeeded. soundfile's own close waits until the disk has
    the file, which takes longer than all else."""
    handle, file._file = _handle(file), None
    return _sndfile.sf_close(handle) == 0


def _is_cut_off(file):
    """An Ogg stream has a last page, without which its length is not known. Elsewhere the header states more than there
    is, and libsndfile says so in its log: "data : 137090 (should be 49956)". A length near 2^31, 2^32 or 2^64 means
    "unknown": programs that write to a pipe state one."""
    if file.format == "OGG" and file.seekable() and file.frames == UNKNOWN_FRAMES:
        return True
    for match in re.finditer(r"(?:data|SSND|Data Size|riff|Riff size) : (\d+) \(should be (\d+)\)", file.extra_info):
        stated, there = int(match[1]), int(match[2])
        unknown = stated >> 62 or any(0 <= limit - stated <= 4096 for limit in (2**31, 2**32))
        if stated > there and not unknown:
            return True
    return False


class Reader:
    """Reads a file that libsndfile knows, from its first frame to its last."""

    def __init__(self, path):
        status = os.stat(path)
        if not stat.S_ISREG(status.st_mode):
            raise Unreadable("not a regular file")
        if status.st_size == 0:
            raise Unreadable("the file is empty")
        try:
            self._file = soundfile.SoundFile(os.fsencode(path))
        except soundfile.LibsndfileError as error:
            open(path, "rb").close()  # says better why, where the system refuses
            raise Unreadable(error.error_string.rstrip(".\n")) from None
        except TypeError:
            raise Unreadable("a file without a header does not say what it holds") from None
        self.rate, self.channels, self.frames = self._file.samplerate, self._file.channels, self._file.frames
        if _is_cut_off(self._file):
            self.close()
            raise Unreadable("the file is cut off")
        self.encoding, self._plain = self._encoding()
        self.description = f"{self._file.format.lower()} {self.encoding if self._plain else self._file.subtype_info}"
        speakers = (ctypes.c_int * self.channels)()
        known = _sndfile.sf_command(_handle(self._file), _GET_CHANNEL_MAP, speakers, ctypes.sizeof(speakers))
        self.speakers = list(speakers) if known else []
        self._read = 0

    def _encoding(self):
        """How the file holds its samples, or what comes closest; and whether its bytes can be taken as they are."""
        name = _SUBTYPES.get(self._file.subtype)
        if not name:
            return _CLOSEST.get(self._file.subtype, "s16") + "le", False
        swapped = _sndfile.sf_command(_handle(self._file), _NEEDS_SWAP, None, 0) == 1
        order = "" if BYTES[name] == 1 else "le" if swapped == (sys.byteorder == "big") else "be"
        return name + order, self._file.format in _PLAIN

    def packets(self, frames):
        """Packets of that many frames; the last is shorter."""
        block = bytearray(frames * self.channels * (sample_bytes(self.encoding) if self._plain else 4))
        while True:
            got = self._raw(block) if self._plain else self._file.buffer_read_into(block, "float32")
            if got == 0:
                break
            self._read += got
            size = len(block) // frames * got
            yield pcm.decode(memoryview(block)[:size], self.encoding if self._plain else "f32le", self.channels)
        if self._read == 0:
            raise Unreadable("the file holds no audio")
        if self.frames != UNKNOWN_FRAMES and self._read < self.frames:
            raise Unreadable(f"the file is cut off after {self._read} of {self.frames} frames")

    def _raw(self, block):
        size = len(block)
        got = _sndfile.sf_read_raw(_handle(self._file), (ctypes.c_char * size).from_buffer(block), size)
        return max(got, 0) // (self.channels * sample_bytes(self.encoding))

    def close(self):
        self._file.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


def usual_encoding(kind, encoding):
    """What a container holds most naturally of an encoding: its own byte order, and the signs it knows."""
    name = encoding.removesuffix("le").removesuffix("be")
    name = _INSTEAD[kind].get(name, name)
    return name if BYTES[name] == 1 else name + ("be" if kind == "au" else "le")


class Writer:
    """Writes a file beside its goal and gives it the goal's name when it is whole; without `finish` it is removed."""

    PART = ".archive-part"  # what the names of unfinished files end in

    def __init__(self, path, kind, encoding, rate, channels, speakers):
        self._path, self._encoding, self._file, self._size = path, encoding, None, 0
        folder = os.path.dirname(path)
        os.makedirs(folder, exist_ok=True)
        self._part = os.path.join(folder, f".{uuid.uuid4().hex}{self.PART}")
        self._fd = os.open(self._part, os.O_RDWR | os.O_CREAT | os.O_EXCL | os.O_CLOEXEC, 0o666)
        try:
            if kind != "raw":
                self._open(kind.upper(), rate, channels, speakers)
        except BaseException:
            self.close()
            raise

    def _open(self, container, rate, channels, speakers):
        name, order = self._encoding.removesuffix("le").removesuffix("be"), self._encoding[-2:]
        subtype = next(key for key, value in _SUBTYPES.items() if value == name)
        endian = {"le": "LITTLE", "be": "BIG"}.get(order, "FILE")
        # Extensible WAV is meant for more than two channels or 16 bits, and alone tells the speakers of the channels.
        extensible = container == "WAV" and (channels > 2 or BYTES[name] > 2)

        def opened(container):
            os.ftruncate(self._fd, 0)
            os.lseek(self._fd, 0, os.SEEK_SET)
            try:
                return soundfile.SoundFile(self._fd, "w", rate, channels, subtype, endian, container, closefd=False)
            except (soundfile.LibsndfileError, ValueError):
                raise Unreadable(
                    f"{container} cannot hold {channels} channels of {self._encoding} at {rate} Hz"
                ) from None

        self._file = opened("WAVEX" if extensible else container)
        if extensible and len(speakers) == channels:
            places = (ctypes.c_int * channels)(*speakers)
            if not _sndfile.sf_command(_handle(self._file), _SET_CHANNEL_MAP, places, ctypes.sizeof(places)):
                _close(self._file)
                self._file = opened(container)  # it cannot tell of speakers in this order, and would tell of others
        _sndfile.sf_command(_handle(self._file), _SET_ADD_PEAK_CHUNK, None, 0)  # it would not see the peaks of bytes

    def write(self, data):
        self._size += len(data)
        if self._file is None:
            while data:
                data = data[os.write(self._fd, data) :]
            return
        if self._size > 2**32 - 4097:
            raise Unreadable("the audio is too long for this kind of file")
        ctypes.set_errno(0)
        if _sndfile.sf_write_raw(_handle(self._file), data, len(data)) != len(data):
            error = ctypes.get_errno() or errno.ENOSPC
            raise OSError(error, os.strerror(error))

    def finish(self):
        if self._file is not None:
            file, self._file = self._file, None
            if not _close(file):
                raise OSError(errno.EIO, "its header could not be completed")
        os.rename(self._part, self._path)
        self._part = None

    def close(self):
        if self._file is not None:
            _close(self._file)
        os.close(self._fd)
        if self._part:
            try:
                os.unlink(self._part)
            except FileNotFoundError:
                pass

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
