"""Layer 3: diagrams, run as ``vynhost run`` runs them, with arrays in the place of recordings."""

from __future__ import annotations

import ctypes as c
import json
import os
import struct
import tempfile
from pathlib import Path
from typing import Any, Union

import numpy as np
import numpy.typing as npt

from ._library import Data, Library
from .blocks import _channels, axis_of, head_of, values_of
from .errors import InputError
from .functions import _averaged, _Signal
from .result import Axis, Result

Recording = Union[npt.ArrayLike, Result, str, "os.PathLike[str]"]

_Listener = c.CFUNCTYPE(None, c.c_void_p, c.c_int32, c.POINTER(Data))


class DiagramResults(dict):  # type: ignore[type-arg]
    """What came to the sinks: ``results["spectrum"]["spectrum.S"]``, by sink and connector.

    Attributes
    ----------
    notes : list of str
        What was read, what was left out or added.
    """

    notes: list[str]


class Diagram:
    """A diagram file.

    Parameters
    ----------
    file : path
        A TOML file, as ``vynhost`` takes it.
    memory : float
        What a run may take for the data blocks that the diagram asks for, in GiB.

    Raises
    ------
    InputError
        When there is no such file.

    Examples
    --------
    >>> import numpy as np, pathlib, tempfile, vynpack as vp
    >>> folder = tempfile.TemporaryDirectory()
    >>> file = pathlib.Path(folder.name, "rms.toml")
    >>> _ = file.write_text('''
    ... [source.x]
    ... file = "x.wav"
    ... block = 1000
    ... [block.numbers]
    ... type = "Statistik"
    ... PkQMean = "on"
    ... [wire]
    ... "numbers.E" = "x"
    ... [sink.table]
    ... from = "numbers.A"
    ... csv = "table.csv"
    ... ''')
    >>> results = vp.Diagram(file).run(x=np.repeat([3.0, 4.0], 1000), fs=1000)
    >>> results["table"]["numbers.A"]["QMean"].tolist()
    [3.0, 4.0]
    """

    def __init__(self, file: str | os.PathLike[str], *, memory: float = 1.0) -> None:
        self.file = Path(file)
        if not self.file.is_file():
            raise InputError(f"{self.file}: there is no such file")
        if not 0 < memory <= 2**20:  # the command line's bounds
            raise InputError(f"memory is {memory}, allowed is above 0 and at most 1048576 GiB")
        self.memory = memory

    def __repr__(self) -> str:
        return f"Diagram({str(self.file)!r})"

    def run(self, *, fs: float | None = None, **recordings: Recording) -> DiagramResults:
        """Runs it and gives what comes to its sinks; no files are written, comparisons are not made.

        Parameters
        ----------
        fs : float, optional
            Sample rate of the arrays in Hz, a whole number.
        **recordings : array_like, Result or path
            By the names of the sources, in the place of their files: (samples,) or (samples,
            channels), or another file. Everything else that the source says applies as it does to
            a file: `full_scale` multiplies the values, `channels` chooses, `noise` is added.

        Returns
        -------
        DiagramResults
            A Result per sink and connector. Signals over time are one signal; quantities stand over
            time or over the data blocks; spectra are averaged as the sink says, or stand over the
            data blocks ("block"), too. ``y = "dB"`` makes levels, ``values`` chooses quantities.

        Raises
        ------
        InputError
            For whatever in the diagram or an array means nothing.
        BlockError
            When a block reports an error, or data waits that no block takes.
        """
        with tempfile.TemporaryDirectory(prefix="vynpack-") as folder:
            files = {name: self._file_of(name, recording, fs, Path(folder))
                     for name, recording in recordings.items()}
            blocks, description = _run(self.file, files, max(1, int(self.memory * 2**30)))
        results = DiagramResults()
        results.notes = description["notes"]
        for sink in description["sinks"]:
            results[sink["name"]] = {place["name"]: _at_sink(sink, place, blocks.get(place["place"], []))
                                     for place in sink["places"]}
        return results

    @staticmethod
    def _file_of(name: str, recording: Recording, fs: float | None, folder: Path) -> Path:
        if isinstance(recording, (str, os.PathLike)):
            return Path(recording)
        signal = _Signal(recording, fs, "")
        path = folder / f"{len(list(folder.iterdir()))}.wav"
        _write_wav(path, signal, name)
        return path


def _write_wav(path: Path, signal: _Signal, name: str) -> None:
    """32-bit floating point, sample by sample as they are."""
    rate = round(signal.fs)
    if abs(rate - signal.fs) > 1e-6 * signal.fs or not 1 <= rate < 2**32:
        raise InputError(f"{name}: a recording's rate is {signal.fs} Hz, allowed is a whole number")
    channels = signal.values.shape[1] if signal.values.ndim == 2 else 1
    if not 1 <= channels < 2**14:
        raise InputError(f"{name}: {channels} channels, allowed is 1 to 16383")
    size = signal.values.nbytes
    if size > 2**32 - 100:
        raise InputError(f"{name}: {size} bytes, a recording holds 4 GB at most")
    form = struct.pack("<HHIIHH", 3, channels, rate, rate * channels * 4 % 2**32, channels * 4, 32)
    with open(path, "wb") as file:
        file.write(b"RIFF" + struct.pack("<I", 36 + size) + b"WAVEfmt " + struct.pack("<I", 16) + form
                   + b"data" + struct.pack("<I", size))
        signal.values.astype("<f4", copy=False).tofile(file)


def _run(file: Path, files: dict[str, Path], memory: int) -> tuple[dict[int, list[Any]], Any]:
    """The data blocks of each place, and the library's description of the places."""
    blocks: dict[int, list[Any]] = {}

    def take(_user: int | None, place: int, block: Any) -> None:
        row = block.contents
        blocks.setdefault(place, []).append((values_of(row), head_of(row, ""), row.channels))

    listener = _Listener(take)
    names = (c.c_char_p * len(files))(*(name.encode() for name in files))
    paths = (c.c_char_p * len(files))(*(str(path).encode() for path in files.values()))
    text = Library.get().text("diagram_run", str(file).encode(), names, paths, len(files), memory, listener, None)
    return blocks, json.loads(text)


def _at_sink(sink: Any, place: Any, blocks: list[Any]) -> Result:
    if not blocks:
        raise InputError(f"sink.{sink['name']}: nothing came out at {place['name']}")
    if place["quantities"]:
        return _named(sink, place, blocks)
    results = []
    for values, head, channels in blocks:
        table = values[:values.size // channels * channels].reshape(-1, channels)
        axes: tuple[Axis, ...] = (axis_of(head, len(table)),)
        if channels > 1:
            axes += (_channels(channels),)
        results.append(Result(table if channels > 1 else table[:, 0], axes, place["unit"],
                              place["name"], head=head))
    if results[0].head is not None and results[0].head.x_kind in (1, 2):
        result = _one_signal(results)
    elif sink["average"] != "none":
        same = [one for one in results if one.values.shape == results[0].values.shape]
        result = _averaged(same, sink["average"])
    elif len({one.values.shape for one in results}) > 1:
        raise InputError(f"sink.{sink['name']}: the data blocks at {place['name']} differ in length; "
                         "average them, or drop the rest (tail)")
    else:
        blocks_axis = Axis("block", np.arange(1, len(results) + 1))
        result = Result(np.stack([one.values for one in results]), (blocks_axis, *results[0].axes),
                        place["unit"], place["name"])
    if not sink["decibels"] or not place["hasLevel"] or result.unit == "dB":
        return result
    ratio = np.abs(result.values.astype(float)) / sink["reference"] ** place["degree"]
    with np.errstate(divide="ignore"):
        return Result(20 / place["degree"] * np.log10(ratio), result.axes, "dB", result.name)


def _one_signal(results: list[Result]) -> Result:
    """Data blocks behind one another; those that all begin at 0 are laid end to end."""
    first = results[0]
    times, end = [], first.x[0] if len(first) else 0.0
    for one in results:
        assert one.head is not None
        begin = one.head.x_start if one.head.x_start != 0 else end
        times.append(axis_of(one.head._replace(x_start=begin), len(one)).values)
        end = begin + len(one) * one.head.x_step
    axis = Axis("time", np.concatenate(times), first.x_unit)
    return Result(np.concatenate([one.values for one in results]), (axis, *first.axes[1:]), first.unit,
                  first.name, head=first.head)


def _named(sink: Any, place: Any, blocks: list[Any]) -> Result:
    names = place["quantities"]
    chosen = [name for name in names if not sink["values"] or name in sink["values"]]
    rows = np.stack([values.reshape(len(names), -1) for values, _, _ in blocks])
    rows = rows[:, [names.index(name) for name in chosen]]
    if place["overIntervals"]:
        axis = Axis("time", np.array([head.x_start + head.x_step for _, head, _ in blocks]), "s")
    else:
        axis = Axis("block", np.arange(1, len(blocks) + 1))
    axes: tuple[Axis, ...] = (axis, Axis("quantity", np.array(chosen)))
    if rows.shape[2] > 1:
        return Result(rows, (*axes, _channels(rows.shape[2])), "", place["name"])
    return Result(rows[:, :, 0], axes, "", place["name"])
