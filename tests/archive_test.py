"""The program pcm-archive makes what pcm-transcode makes, on one machine and on a cluster, whatever dies."""

import csv
import json
import os
import pathlib
import signal
import subprocess
import sys
import time

import pytest

numpy, soundfile = pytest.importorskip("numpy"), pytest.importorskip("soundfile")
pytest.importorskip("matplotlib")

PROGRAMS = pathlib.Path(os.environ["PCM_BIN"])
ARCHIVE, TRANSCODE = [PROGRAMS / "pcm-archive"], PROGRAMS / "pcm-transcode"
TO_MULAW = ["--encoding", "mulaw", "--rate", "8000", "--channels", "1", "--level", "-3"]
MANY = 240


def archive(*arguments, **options):
    return subprocess.run([*ARCHIVE, *map(str, arguments)], capture_output=True, text=True, timeout=110, **options)


def table(out):
    with open(out / "archive.csv", newline="") as file:
        return {row["source"]: row for row in csv.DictReader(file)}


def goals(out):
    return {str(p.relative_to(out)): p.read_bytes() for p in out.rglob("*.wav")}


def unfinished(out):
    return [str(path) for path in out.rglob("*.archive-part")]


def write(path, frames, rate=8000, channels=1, subtype="PCM_16", **options):
    path.parent.mkdir(parents=True, exist_ok=True)
    random = numpy.random.default_rng(frames)
    soundfile.write(path, 0.2 * random.standard_normal((frames, channels)), rate, subtype, **options)


@pytest.fixture(scope="module")
def recordings(tmp_path_factory):
    """Files of many kinds, in folders, and some that are none."""
    root = tmp_path_factory.mktemp("recordings")
    kinds = [
        ("wav", "PCM_16"), ("wav", "ULAW"), ("wav", "PCM_U8"), ("wav", "FLOAT"), ("wav", "DOUBLE"), ("aiff", "PCM_24"),
        ("au", "ALAW"), ("caf", "PCM_32"), ("flac", "PCM_16"), ("ogg", "VORBIS"), ("w64", "PCM_24"),
        ("mp3", "MPEG_LAYER_III"),
    ]  # fmt: skip
    rates = [8000, 16000, 48000, 44100]
    for i in range(MANY):
        ending, subtype = kinds[i % len(kinds)]
        write(
            root / f"{i % 7}" / f"{i:03}.{ending}", 30000 + 1000 * i, rates[i // 12 % 4], 1 + i // 48 % 3 % 2, subtype
        )
    whole = (root / "0" / "000.wav").read_bytes()
    (root / "cut.wav").write_bytes(whole[: len(whole) // 2])
    (root / "text.wav").write_text("no audio")
    (root / "empty.wav").touch()
    return root


@pytest.fixture(scope="module")
def on_one_machine(recordings, tmp_path_factory):
    out = tmp_path_factory.mktemp("one") / "out"
    run = archive(recordings, out, *TO_MULAW, "--report", out.parent / "report.html")
    assert run.returncode == 3, run.stderr  # the files that are none
    return out


def test_makes_what_transcode_makes(recordings, on_one_machine, tmp_path):
    rows = table(on_one_machine)
    for source in sorted(rows)[:MANY:7]:  # of each kind, rate and number of channels
        command = [TRANSCODE, *TO_MULAW, recordings / source, tmp_path / "goal.wav"]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        assert (on_one_machine / rows[source]["goal"]).read_bytes() == (tmp_path / "goal.wav").read_bytes(), source


def test_tells_of_each_file(recordings, on_one_machine):
    rows = table(on_one_machine)
    assert len(rows) == MANY + 3
    assert rows["cut.wav"]["failure"] == "the file is cut off"
    assert rows["empty.wav"]["failure"] == "the file is empty"
    assert "text.wav" in rows and rows["text.wav"]["failure"]
    report = (on_one_machine.parent / "report.html").read_text()
    assert "cut.wav" in report and report.count("<svg") == 3 and "prefers-color-scheme: dark" in report


def test_measures(tmp_path):
    """A sine of half of full scale, of which the second half is silence; and odd samples."""
    half = 0.5 * numpy.sin(2 * numpy.pi * numpy.arange(8000) / 8)
    (tmp_path / "in").mkdir()
    soundfile.write(tmp_path / "in/sine.wav", numpy.concatenate([half, numpy.zeros(8000)]), 8000, "FLOAT")
    odd = numpy.array([numpy.nan, 1.0, -1.5, 0.25] * 40, numpy.float32)
    soundfile.write(tmp_path / "in/odd.wav", odd, 8000, "FLOAT")
    assert archive(tmp_path / "in", tmp_path / "out", "--peak", "-1").returncode == 0
    sine, odd = table(tmp_path / "out")["sine.wav"], table(tmp_path / "out")["odd.wav"]
    measured = [float(sine[name]) for name in ("seconds", "peak_db", "rms_db", "active_db", "clipped", "silent_share")]
    assert measured == pytest.approx([2.0, -6.02, -12.04, -9.03, 0, 0.5], abs=0.01)
    assert (odd["clipped"], odd["nan_share"], float(odd["offset"])) == ("80", "0.25", -0.0625)
    peak = numpy.abs(soundfile.read(tmp_path / "out/sine.wav")[0]).max()
    assert 20 * numpy.log10(peak) == pytest.approx(-1.0, abs=0.01)


def test_goes_on_where_it_was_ended(recordings, on_one_machine, tmp_path):
    out = tmp_path / "out"
    run = subprocess.Popen([*ARCHIVE, recordings, out, *TO_MULAW], stderr=subprocess.DEVNULL)
    while run.poll() is None and not (out.exists() and len(goals(out)) > 5):
        time.sleep(0.01)
    run.send_signal(signal.SIGINT)
    assert run.wait(30) == 130
    assert not unfinished(out)
    first = goals(out)
    assert 5 < len(first) < MANY
    assert first.items() <= goals(on_one_machine).items()
    assert archive(recordings, out, *TO_MULAW).returncode == 3
    assert goals(out) == goals(on_one_machine)
    again = archive(recordings, out, *TO_MULAW)  # the three that failed are tried again
    assert f"3 of 3 files, 0.00 h, 0 times real time, 3 failed; {MANY} were there already" in again.stdout
    other = archive(recordings, out, "--encoding", "alaw")
    assert f"{MANY + 3} of {MANY + 3} files" in other.stdout


def test_a_process_that_dies_costs_no_file(recordings, on_one_machine, tmp_path):
    out = tmp_path / "out"
    run = subprocess.Popen([*ARCHIVE, recordings, out, *TO_MULAW], stderr=subprocess.DEVNULL)
    while run.poll() is None and not (out.exists() and len(goals(out)) > 5):
        time.sleep(0.005)
    worker = pathlib.Path(f"/proc/{run.pid}/task/{run.pid}/children").read_text().split()[0]
    os.kill(int(worker), signal.SIGKILL)
    assert len(goals(out)) < MANY
    assert run.wait(100) == 3
    assert goals(out) == goals(on_one_machine) and not unfinished(out)


def test_a_cluster_makes_the_same_though_a_worker_dies(recordings, on_one_machine, tmp_path):
    pytest.importorskip("distributed")
    out, processes = tmp_path / "out", []

    def start(program, *arguments):
        command = [sys.executable, "-m", f"distributed.cli.{program}", *map(str, arguments)]
        processes.append(subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, cwd=tmp_path))
        return processes[-1]

    try:
        file = tmp_path / "scheduler.json"
        start("dask_scheduler", "--host", "127.0.0.1", "--port", 0, "--no-dashboard", "--scheduler-file", file)
        workers = [
            start(
                "dask_worker",
                "--scheduler-file",
                file,
                "--no-nanny",
                "--no-dashboard",
                "--nthreads",
                1,
                "--host",
                "127.0.0.1",
            )
            for _ in range(3)
        ]
        deadline = time.monotonic() + 30
        while not file.exists() and time.monotonic() < deadline:
            time.sleep(0.05)
        address = json.loads(file.read_text())["address"]
        run = subprocess.Popen([*ARCHIVE, recordings, out, *TO_MULAW, "--scheduler", address])
        while run.poll() is None and not (out.exists() and len(goals(out)) > 5):
            time.sleep(0.005)
        workers[0].kill()
        assert len(goals(out)) < MANY  # it died in the middle
        assert run.wait(100) == 3
    finally:
        for process in reversed(processes):
            process.kill()
            process.wait()
    assert goals(out) == goals(on_one_machine)
    assert not unfinished(out)
    told, expected = table(out), table(on_one_machine)
    assert told == {source: {**row, "mtime_ns": told[source]["mtime_ns"]} for source, row in expected.items()}


def test_two_sources_of_one_name_and_links(tmp_path):
    for name in ["a.wav", "a.flac", "a.flac.wav", "sub/b.WAV"]:
        write(tmp_path / "in" / name, 100 + len(name), format="FLAC" if name.endswith("flac") else "WAV")
    (tmp_path / "in/sub/loop").symlink_to(tmp_path / "in")
    (tmp_path / "in/gone.wav").symlink_to("nowhere")
    run = archive(tmp_path / "in", tmp_path / "out")
    assert run.returncode == 1 and "gone.wav: No such file or directory" in run.stderr
    lengths = {row["goal"]: soundfile.info(tmp_path / "out" / row["goal"]).frames
               for row in table(tmp_path / "out").values() if not row["failure"]}  # fmt: skip
    assert lengths == {"a.flac.wav": 106, "a.flac.wav.wav": 110, "a.wav": 105, "sub/b.WAV": 109}


@pytest.mark.parametrize(
    "arguments, status, said",
    [
        (["missing", "out"], 120, "missing is not a folder"),
        (["in", "in/out"], 120, "must lie apart"),
        (["in", "."], 120, "must lie apart"),
        (["in", "out", "--rate", "0"], 120, "a number from 1 to 655350 is wanted"),
        (["in", "out", "--level", "1", "--peak", "-1"], 120, "not allowed with"),
        (["in", "out", "--scheduler", "tcp://127.0.0.1:9"], 120, "no scheduler with workers answers"),
        (["in", "out", "--report", "nowhere/r.html"], 120, "No such file"),
        (["in", "full"], 1, "No space left on device"),
        (["nothing", "out"], 0, ""),
    ],
)
def test_refuses(tmp_path, arguments, status, said):
    write(tmp_path / "in" / "a.wav", 100000)
    (tmp_path / "nothing").mkdir()
    if "full" in arguments:
        (tmp_path / "full").mkdir()
        mounted = subprocess.run(
            ["mount", "-t", "tmpfs", "-o", "size=64k", "tmpfs", tmp_path / "full"], capture_output=True
        )
        if mounted.returncode:
            pytest.skip("no small disk can be mounted")
    try:
        start = time.monotonic()
        run = archive(*arguments, cwd=tmp_path)
        assert (run.returncode, said in run.stderr) == (status, True), run.stderr
        assert "Traceback" not in run.stderr and time.monotonic() - start < 20
        if "full" in arguments:
            assert [path.name for path in (tmp_path / "full").iterdir() if path.name.startswith("a")] == ["archive.csv"]
    finally:
        if "full" in arguments:
            subprocess.run(["umount", tmp_path / "full"], check=True)
