"""Recordings as time signals, from the formats of the trade; each by the package that knows it."""

from __future__ import annotations

import os
from collections.abc import Callable, Iterator, Sequence
from pathlib import Path
from typing import Any, NamedTuple

import numpy as np
import numpy.typing as npt

from .blocks import _channels, axis_of
from .errors import InputError
from .functions import _rate
from .result import Head, Result, optional


class _Channel(NamedTuple):
    """One channel of a file, and how to get its values."""

    name: str
    fs: float | None  # none: the file does not say
    start: float
    unit: str
    values: Callable[[], npt.NDArray[Any]]


def read(file: str | os.PathLike[str], *, full_scale: float = 1.0, unit: str = "",
         channels: Sequence[int | str] | None = None, fs: float | None = None) -> Result:
    """Reads a recording: what it is says its name's ending.

    =================================  =========================================  ===========
    ending                             format                                     package
    =================================  =========================================  ===========
    .tdms                              TDMS: channels as "Group/Channel"          npTDMS
    .mf4, .mdf, .dat                   MDF 3 and 4                                asammdf
    .uff, .unv, .uf, .58               universal files: time signals of type 58   pyuff
    .h5, .hdf5, .hdf                   HDF5: data sets as "group/set"             h5py
    anything else                      audio: WAV, FLAC, Ogg and more             soundfile
    =================================  =========================================  ===========

    Parameters
    ----------
    file : path
        The recording.
    full_scale : float
        Value of digital full scale, in the unit, of audio recordings: integer samples are scaled by it,
        and numbers too. The other formats hold values already.
    unit : str
        Unit of the values, such as "Pa"; the file's own when missing, where it has one for all channels.
    channels : sequence of int or str, optional
        Which ones, by their numbers from 1 or by their names; all when missing.
    fs : float, optional
        Sample rate in Hz of a file that does not say it: HDF5 whose data sets have none of the attributes
        ``fs``, ``sample_rate`` (Hz) and ``wf_increment`` (s).

    Returns
    -------
    Result
        (time,) of one channel, (time, channel) of several, float32; every function takes it in the
        place of an array and its rate. The values are those of a diagram's source.

    Raises
    ------
    MissingPackage
        Without the format's package.
    InputError
        For a file that is no recording, for channels that it does not have or that differ in rate, start
        or length, and for values at uneven times.

    Examples
    --------
    >>> import pathlib, tempfile, numpy as np, scipy.io.wavfile, vynpack as vp
    >>> file = pathlib.Path(tempfile.mkdtemp(), "tone.wav")
    >>> scipy.io.wavfile.write(file, 8000, np.array([0, 16384, -16384], np.int16))
    >>> signal = vp.read(file, full_scale=20.0, unit="Pa")
    >>> signal.values.tolist(), signal.unit, float(signal.x[1])
    ([0.0, 10.0, -10.0], 'Pa', 0.000125)
    """
    path = Path(file)
    if not path.is_file():
        raise InputError(f"{path}: there is no such file")
    if not np.isfinite(full_scale) or full_scale <= 0:
        raise InputError(f"full_scale is {full_scale}, allowed is above 0")
    if fs is not None and not (np.isfinite(fs) and fs > 0):
        raise InputError(f"fs is {fs}, allowed is above 0 Hz")
    reader = _READERS.get(path.suffix.lower())
    if reader is not None and full_scale != 1:
        raise InputError(f"{path}: full_scale belongs to audio recordings; the values here have a unit")
    chosen = _chosen(path, list(reader(path)) if reader else _audio(path, full_scale), channels)
    first = chosen[0]
    rates = {_said(path, channel, fs) for channel in chosen}
    values = [channel.values() for channel in chosen]
    shapes = {(len(one), channel.start) for one, channel in zip(values, chosen)}
    if len(rates) > 1 or len(shapes) > 1:
        raise InputError(f"{path}: the channels differ in rate, start or length; choose those that go together: "
                         + ", ".join(f"{one.name} ({len(v)} from {one.start:g} s at {one.fs or fs:g} Hz)"
                                     for one, v in zip(chosen, values)))
    for channel, one in zip(chosen, values):
        if one.ndim != 1 or one.dtype.kind not in "fiub":
            raise InputError(f"{path}: {channel.name} is no signal of real numbers")
    units = {channel.unit for channel in chosen}
    unit = unit or (units.pop() if len(units) == 1 else "")
    head = Head(first.start, 1.0 / rates.pop(), 1, 0, 0, -full_scale, 2 * full_scale, unit)
    axis = axis_of(head, len(values[0]))
    if len(values) == 1:
        return Result(np.ascontiguousarray(values[0], np.float32), (axis,), unit, path.name, head=head)
    table = np.stack([one.astype(np.float32, copy=False) for one in values], axis=1)
    return Result(table, (axis, _channels(len(values))), unit, path.name, head=head)


def _chosen(path: Path, there: list[_Channel], wanted: Sequence[int | str] | None) -> list[_Channel]:
    names = [channel.name for channel in there]
    if not there:
        raise InputError(f"{path}: there is no signal over time")
    if wanted is None:
        return there
    if isinstance(wanted, str):
        wanted = [wanted]
    if not len(wanted):
        raise InputError(f"{path}: no channel is chosen, there are {len(there)}")
    chosen = []
    for one in wanted:
        if isinstance(one, str):
            if names.count(one) != 1:
                raise InputError(f"{path}: {names.count(one) or 'no'} channels are called {one}; there are "
                                 + ", ".join(names[:20]) + (", ..." if len(names) > 20 else ""))
            chosen.append(there[names.index(one)])
        elif 1 <= one <= len(there):
            chosen.append(there[one - 1])
        else:
            raise InputError(f"{path}: channel {one} does not exist, there are {len(there)}")
    return chosen


def _said(path: Path, channel: _Channel, fs: float | None) -> float:
    """The rate that the file says, or else the caller."""
    if channel.fs is None:
        if fs is None:
            raise InputError(f"{path}: {channel.name} does not say its sample rate; give fs")
        return float(fs)
    if not (np.isfinite(channel.fs) and channel.fs > 0):
        raise InputError(f"{path}: {channel.name} has a sample rate of {channel.fs} Hz")
    if fs is not None and not np.isclose(fs, channel.fs, rtol=1e-9):
        raise InputError(f"{path}: fs is {fs}, {channel.name} says {channel.fs}")
    return channel.fs


def _audio(path: Path, full_scale: float) -> list[_Channel]:
    soundfile = optional("soundfile", "read")
    try:
        values, rate = soundfile.read(str(path), dtype="float32", always_2d=True)
    except soundfile.LibsndfileError as error:
        raise InputError(f"{path}: {error.error_string}") from error
    values = values * np.float32(full_scale)
    return [_Channel(str(i + 1), float(rate), 0.0, "", lambda i=i: values[:, i])  # type: ignore[misc]
            for i in range(values.shape[1])]


def _tdms(path: Path) -> Iterator[_Channel]:
    """Waveforms: channels with the property wf_increment."""
    nptdms = optional("nptdms", "read", "npTDMS")
    try:
        groups = nptdms.TdmsFile.read(str(path)).groups()
    except (ValueError, KeyError, EOFError) as error:
        raise InputError(f"{path}: {error}") from error
    for group in groups:
        for channel in group.channels():
            step = channel.properties.get("wf_increment")
            if step and len(channel):
                yield _Channel(f"{group.name}/{channel.name}", _rate(float(step)),
                               float(channel.properties.get("wf_start_offset", 0.0)),
                               str(channel.properties.get("unit_string", "")), lambda of=channel: np.asarray(of[:]))  # type: ignore[misc]


def _mdf(path: Path) -> Iterator[_Channel]:
    asammdf = optional("asammdf", "read")
    try:
        measured = asammdf.MDF(str(path))
    except Exception as error:  # the package's own kinds differ between its versions
        raise InputError(f"{path}: {error}") from error
    with measured:
        for signal in measured.iter_channels():
            if signal.samples.ndim == 1 and signal.samples.dtype.kind in "fiub" and len(signal.samples) > 1:
                yield _over(path, signal.name, signal.timestamps, signal.samples, signal.unit)


def _universal(path: Path) -> Iterator[_Channel]:
    pyuff = optional("pyuff", "read")
    try:
        sets = pyuff.UFF(str(path)).read_sets()
    except Exception as error:  # plain Exceptions are its own
        raise InputError(f"{path}: {error}") from error
    time_response = 1
    for number, one in enumerate([sets] if isinstance(sets, dict) else sets, 1):
        if one.get("type") == 58 and one.get("func_type") == time_response:
            yield _over(path, str(one.get("id1", "")).strip() or str(number), one["x"], one["data"],
                        str(one.get("ordinate_axis_units_lab", "")))


def _over(path: Path, name: str, times: Any, samples: Any, unit: Any) -> _Channel:
    """A channel whose times are given one by one: even ones, to a thousandth of their step."""
    times = np.asarray(times, float)
    array: npt.NDArray[Any] = np.asarray(samples)
    step = (times[-1] - times[0]) / (len(times) - 1) if len(times) > 1 else 0.0
    uneven = len(times) < 2 or not step > 0 or np.abs(np.diff(times) / step - 1).max() > 1e-3

    def values() -> npt.NDArray[Any]:
        if uneven:
            raise InputError(f"{path}: {name} has its values at uneven times")
        return array
    # Times in single precision make 48000.03 Hz of 48000 Hz.
    rate = 1.0 if uneven else 1 / step
    near = round(rate)
    return _Channel(name, float(near) if near and abs(rate / near - 1) < 1e-6 else rate,
                    float(times[0]) if len(times) else 0.0, "" if unit in (None, "NONE") else str(unit).strip(), values)


def _hdf5(path: Path) -> Iterator[_Channel]:
    """Data sets of numbers, of one dimension or of (samples, channels)."""
    h5py = optional("h5py", "read")
    try:
        stored = h5py.File(path, "r")
    except OSError as error:
        raise InputError(f"{path}: {error}") from error
    with stored:
        sets: list[Any] = []
        stored.visititems(lambda _, item: sets.append(item) if isinstance(item, h5py.Dataset) else None)
        for item in sets:
            if item.ndim not in (1, 2) or item.dtype.kind not in "fiub" or not item.size:
                continue
            name = item.name.lstrip("/")
            rate = next((float(item.attrs[key]) for key in ("fs", "sample_rate") if key in item.attrs), None)
            if rate is None and "wf_increment" in item.attrs:
                rate = _rate(float(item.attrs["wf_increment"]))
            unit = next((item.attrs[key] for key in ("unit", "units") if key in item.attrs), "")
            unit = unit.decode() if isinstance(unit, bytes) else str(unit)
            for i in range(1 if item.ndim == 1 else item.shape[1]):
                def values(name: str = name, place: Any = () if item.ndim == 1 else (slice(None), i)) -> npt.NDArray[Any]:
                    with h5py.File(path, "r") as again:
                        column: npt.NDArray[Any] = np.asarray(again[name][place])
                        return column
                yield _Channel(name if item.ndim == 1 else f"{name}[{i + 1}]", rate, 0.0, unit, values)


_READERS: dict[str, Callable[[Path], Iterator[_Channel]]] = {
    ".tdms": _tdms, ".mf4": _mdf, ".mdf": _mdf, ".dat": _mdf, ".uff": _universal, ".unv": _universal,
    ".uf": _universal, ".58": _universal, ".h5": _hdf5, ".hdf5": _hdf5, ".hdf": _hdf5}
