"""The wheel, installed somewhere else."""

import os
import subprocess
import sys

import numpy as np
import vynpack as vp
from conftest import ROOT


def test_an_installed_wheel_brings_its_module_and_gives_the_same_bits(tmp_path, noise):
    run = subprocess.run([ROOT / "tools/wheel", tmp_path], capture_output=True, text=True, timeout=200)
    assert run.returncode == 0, run.stderr
    wheel = run.stdout.strip()
    subprocess.run([sys.executable, "-m", "pip", "install", "--quiet", "--no-deps", "--no-index", "--target",
                    tmp_path / "there", wheel], check=True, timeout=200, capture_output=True)
    x = noise(1000)
    np.save(tmp_path / "x.npy", x)
    script = ("import numpy as np, vynpack as vp\n"
              "np.save('y.npy', vp.weight(np.load('x.npy'), 48000).values)\n"
              "print(vp.Filter()._library.folder)\n")
    environment = {**os.environ, "PYTHONPATH": str(tmp_path / "there")}
    environment.pop("VYNPACK_FOLDER", None)
    run = subprocess.run([sys.executable, "-c", script], cwd=tmp_path, env=environment, capture_output=True,
                         text=True, timeout=100)
    assert run.stdout.strip() == str(tmp_path / "there/vynpack/native"), run.stderr
    np.testing.assert_array_equal(np.load(tmp_path / "y.npy"), vp.weight(x, 48000).values)
