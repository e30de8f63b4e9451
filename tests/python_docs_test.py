"""What the pages on Python show works, and its pictures and examples do what they say."""

import base64
import json
import os
import pathlib
import re
import subprocess
import sys

import numpy
import pcm
import pytest

ROOT = pathlib.Path(__file__).parent.parent


def test_samples_run():
    names = {}
    samples = re.findall(r"^```python\n(.*?)^```", (ROOT / "docs/python.md").read_text(), re.M | re.S)
    for sample in samples:
        if "import audioop" not in sample or sys.version_info < (3, 13):
            exec(compile(sample, "docs/python.md", "exec"), names)
    assert len(samples) == 4


def test_pictures_are_drawn(tmp_path):
    pytest.importorskip("matplotlib")
    subprocess.run([sys.executable, ROOT / "docs/samples/levels.py", tmp_path / "levels.svg"], check=True)
    assert (tmp_path / "levels.svg").read_text().count("<image") == 1  # the spectrogram


def test_the_voice_stream_is_answered_with_itself_and_a_beep():
    speech = pcm.noise_gather(50 * 160)
    speech.level_adjust(-30.0)
    codes = speech.encode("mulaw")
    media = [base64.b64encode(codes[at : at + 240]).decode() for at in range(0, len(codes), 240)]
    messages = [{"event": "start"}, *({"event": "media", "media": {"payload": text}} for text in media)]
    lines = (
        "\n".join(map(json.dumps, messages))
        + '\n[]\n{"event": "media", "media": {"payload": "?"}}\n{"event": "stop"}\n'
    )
    command = [sys.executable, ROOT / "examples/voice_stream.py"]
    run = subprocess.run(command, input=lines, capture_output=True, text=True, check=True, env=os.environ)
    assert run.stderr.count("message ") == 2
    answers = [base64.b64decode(json.loads(line)["media"]["payload"]) for line in run.stdout.splitlines()]
    assert [len(answer) for answer in answers] == [160] * 50
    heard, said = numpy.asarray(pcm.decode(b"".join(answers), "mulaw")), numpy.asarray(pcm.decode(codes, "mulaw"))
    beep = numpy.abs(heard - said).reshape(50, 160).max(axis=1)
    assert (beep[:10] > 0.08).all() and (beep[10:] < 0.01).all()
