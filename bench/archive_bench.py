#!/usr/bin/python3
"""archive_bench.py BUILD [ROUNDS]: times pcm-archive beside the programs that do the same work, in turn, on the same
files, and prints each median as a multiple of pcm-archive's. BUILD: a build directory of the project. The others run under
xargs with a process for each core, pcm-transcode also alone; those that are not installed are left out."""

import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

import numpy
import soundfile

CORES = len(os.sched_getaffinity(0))


def make_long(root):
    """An hour of 48 kHz stereo in 200 files: noise in bursts, and a tone."""
    random = numpy.random.default_rng(1)
    for i in range(200):
        seconds = numpy.arange(18 * 48000)[:, None] / 48000
        burst = numpy.sin(2 * numpy.pi * seconds * 0.3 + i) > -0.3
        noise = 0.1 * random.standard_normal((len(seconds), 2), numpy.float32)
        soundfile.write(root / f"{i:03}.wav", noise * burst + 0.3 * numpy.sin(2764.6 * seconds), 48000, "PCM_16")


def make_short(root):
    """5,000 files of 1 to 9 seconds, mu-law."""
    random = numpy.random.default_rng(2)
    for i in range(5000):
        frames = int(8000 * random.uniform(1, 9))
        soundfile.write(root / f"{i:04}.wav", 0.1 * random.standard_normal(frames), 8000, "ULAW")


def compare(title, make, build, archive, transcode, ffmpeg, sox, rounds):
    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(temporary)
        (folder / "in").mkdir()
        make(folder / "in")
        module = {**os.environ, "PYTHONPATH": str(build / "python")}
        per_file = f"cd {folder}/in && ls | xargs -P {{}} -I@ {{}}"
        own = [sys.executable, "-m", "pcm_archive", folder / "in", folder / "out", *archive]
        program = f"{build}/bin/pcm-transcode {transcode} @ {folder}/out/@ >{folder}/log"
        commands = {
            "pcm-archive": own,
            "pcm-archive, one process": ["taskset", "-c", "0", *own],
            "pcm-transcode, one process": per_file.format(1, program),
            "pcm-transcode": per_file.format(CORES, program),
            "ffmpeg": per_file.format(CORES, f"ffmpeg -nostdin -v error -i @ -threads 1 {ffmpeg} {folder}/out/@"),
            "sox": per_file.format(CORES, f"sox @ {sox} {folder}/out/@"),
        }  # fmt: skip
        times = {name: [] for name in commands if name.startswith("pcm") or shutil.which(name)}
        for _ in range(rounds):
            for name, runs in times.items():
                shutil.rmtree(folder / "out", ignore_errors=True)
                (folder / "out").mkdir()
                command = commands[name]
                start = time.monotonic()
                subprocess.run(
                    command, shell=isinstance(command, str), env=module, check=True, stdout=subprocess.DEVNULL
                )
                runs.append(time.monotonic() - start)
        print(f"{title}, {CORES} cores, medians of {rounds} rounds")
        own = statistics.median(times["pcm-archive"])
        for name, runs in times.items():
            median = statistics.median(runs)
            print(f"  {name:28} {median:7.2f} s   pcm-archive takes {own / median:5.2f} of it")


if __name__ == "__main__":
    build, rounds = pathlib.Path(sys.argv[1]).resolve(), int(sys.argv[2]) if len(sys.argv) > 2 else 5
    compare("1 hour of 48 kHz stereo to 8 kHz mono mu-law", make_long, build,
            ["--encoding", "mulaw", "--rate", "8000", "--channels", "1"], "--encoding mulaw --rate 8000 --channels 1",
            "-ar 8000 -ac 1 -c:a pcm_mulaw", "-r 8000 -c 1 -e mu-law", rounds)  # fmt: skip
    compare("5,000 short mu-law files to 16 bits", make_short, build, ["--encoding", "s16le"], "--encoding s16le",
            "-c:a pcm_s16le", "-e signed -b 16", rounds)  # fmt: skip
