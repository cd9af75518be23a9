"""Recordings as time signals."""

from __future__ import annotations

import os
from collections.abc import Sequence
from pathlib import Path

import numpy as np

from .blocks import _channels, axis_of
from .errors import InputError
from .result import Head, Result, optional


def read(file: str | os.PathLike[str], *, full_scale: float = 1.0, unit: str = "",
         channels: Sequence[int] | None = None) -> Result:
    """Reads what the audio library knows: WAV, FLAC, Ogg and more (package soundfile).

    Parameters
    ----------
    file : path
        The recording.
    full_scale : float
        Value of digital full scale, in the unit: integer samples are scaled by it, and numbers too.
    unit : str
        Unit of the values, such as "Pa".
    channels : sequence of int, optional
        Which ones, from 1; all when missing.

    Returns
    -------
    Result
        (time,) of one channel, (time, channel) of several, float32; every function takes it in the
        place of an array and its rate. The values are those of a diagram's source.

    Raises
    ------
    MissingPackage
        Without soundfile.
    InputError
        For a file that is no recording, and for channels that it does not have.
    """
    soundfile = optional("soundfile", "read")
    path = Path(file)
    if not path.is_file():
        raise InputError(f"{path}: there is no such file")
    if not np.isfinite(full_scale) or full_scale <= 0:
        raise InputError(f"full_scale is {full_scale}, allowed is above 0")
    try:
        values, rate = soundfile.read(str(path), dtype="float32", always_2d=True)
    except soundfile.LibsndfileError as error:
        raise InputError(f"{path}: {error.error_string}") from error
    wanted = list(range(1, values.shape[1] + 1)) if channels is None else list(channels)
    for channel in wanted:
        if not 1 <= channel <= values.shape[1]:
            raise InputError(f"{path}: channel {channel} does not exist, there are {values.shape[1]}")
    if not wanted:
        raise InputError(f"{path}: no channel is chosen, there are {values.shape[1]}")
    values = values[:, [channel - 1 for channel in wanted]] * np.float32(full_scale)
    head = Head(0.0, 1.0 / rate, 1, 0, 0, -full_scale, 2 * full_scale, unit)
    axis = axis_of(head, len(values))
    if values.shape[1] == 1:
        return Result(values[:, 0].copy(), (axis,), unit, path.name, head=head)
    return Result(np.ascontiguousarray(values), (axis, _channels(values.shape[1])), unit, path.name, head=head)
