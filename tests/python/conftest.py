"""What the tests of the Python package share."""

import os
import sys
from pathlib import Path

import numpy as np
import pytest

ROOT = Path(__file__).resolve().parents[2]
PROGRAMS = Path(os.environ.get("VYNPACK_FOLDER", ROOT / "build/native/bin"))  # program, libraries
sys.path.insert(0, str(ROOT / "python"))


@pytest.fixture
def noise():
    """white(samples, channels=None, seed=1): float32 noise, the same every time."""
    def white(samples, channels=None, seed=1):
        shape = samples if channels is None else (samples, channels)
        return np.random.default_rng(seed).standard_normal(shape).astype(np.float32)
    return white
