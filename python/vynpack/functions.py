"""Layer 2: whole answers from whole signals.

Each function makes the blocks it needs, sends the signal through and gives one labelled result.
Signals are arrays of (samples,) or (samples, channels), or time signals that another function gave,
which bring their sample rate along.
"""

from __future__ import annotations

from collections.abc import Iterable, Iterator
from typing import Any

import numpy as np
import numpy.typing as npt

from .blocks import (Bands, Classification, DualSpectrum, Filter, Input, Level, Spectrum, Statistics,
                     Weighting, _checked)
from .errors import InputError
from .result import Axis, Result

_POWER, _DECIBEL = 12, 6


def _rate(step: float) -> float:
    """The number whose reciprocal the step is: 1 / (1 / 49) is not 49."""
    whole = float(round(1 / step))
    return whole if whole >= 1 and 1 / whole == step else 1 / step


class _Signal:
    """An array with its sample rate, start and unit."""

    def __init__(self, x: Input, fs: float | None, unit: str) -> None:
        self.start = 0.0
        if isinstance(x, Result):
            if x.head is None or x.head.x_kind != 1:
                raise InputError("this result is no time signal")
            if fs is not None and not np.isclose(fs, 1 / x.head.x_step, rtol=1e-9):
                raise InputError(f"fs is {fs}, the signal's own rate is {1 / x.head.x_step}")
            fs, unit, self.start, x = _rate(x.head.x_step), unit or x.unit, x.head.x_start, x.values
        if fs is None or not (np.isfinite(fs) and fs > 0):
            raise InputError(f"fs is {fs}, allowed is above 0 Hz")
        array = _checked(x)
        if array.dtype.kind == "c":
            raise InputError("a time signal has real values")
        self.values: npt.NDArray[np.float32] = np.ascontiguousarray(array, dtype=np.float32)
        self.fs, self.unit = float(fs), unit
        if len(self.values) == 0:
            raise InputError("the signal has no samples")

    def options(self) -> dict[str, Any]:
        return {"fs": self.fs, "start": self.start, "unit": self.unit}

    def blocks(self, block: int | None, rest: bool = False) -> Iterator[npt.NDArray[np.float32]]:
        """The whole signal, or data blocks of so many samples; a shorter last one only with `rest`."""
        if block is None:
            block = len(self.values)
        if block < 1:
            raise InputError(f"block is {block}, allowed is 1 or more")
        if len(self.values) < block and not rest:
            raise InputError(f"the signal has {len(self.values)} samples, fewer than a data block of {block}")
        end = len(self.values) if rest else len(self.values) // block * block
        return (self.values[at:at + block] for at in range(0, end, block))


def _averaged(results: Iterable[Result], average: str) -> Result:
    """As a sink of a diagram averages: `power` takes the mean of squares, of levels that of energies."""
    if average not in ("power", "mean", "last"):
        raise InputError(f'average: "{average}" is none of power, mean, last')
    total: Any = None
    count = 0
    last: Result | None = None
    for last in results:
        energy = average == "power" and (last.head is None or last.head.y_unit != _POWER)
        decibels = last.head is not None and last.head.y_unit == _DECIBEL
        values = last.values.astype(complex if last.values.dtype.kind == "c" else float)
        if energy and values.dtype.kind == "c":
            raise InputError("complex lines have no power average; take average=\"mean\" or \"last\"")
        if energy:
            values = 10.0 ** (values / 10) if decibels else values * values
        total = values if total is None else total + values
        count += 1
    assert last is not None
    if count == 1 or average == "last":
        return last
    mean = total / count
    if energy:
        with np.errstate(divide="ignore"):
            mean = 10 * np.log10(mean) if decibels else np.sqrt(mean)
    return Result(mean, last.axes, last.unit, last.name, head=last.head)


def spectrum(x: Input, fs: float | None = None, *, block: int | None = None, amplitude: str = "rms",
             window: str = "hanning", correction: str = "amplitude",
             window_parameter: float | None = None, average: str = "power", phase: bool = False,
             unit: str = "") -> Result:
    """Spectrum of a signal, averaged over data blocks.

    Parameters
    ----------
    x : array_like or Result
        (samples,) or (samples, channels).
    fs : float
        Sample rate in Hz.
    block : int, optional
        Samples of a data block; samples behind the last whole one are left out. The whole signal
        when missing.
    amplitude, window, correction, window_parameter, phase
        As for `Spectrum`. Phases belong to one data block.
    average : str
        "power" (the mean of squares), "mean" or "last".
    unit : str
        Unit of the signal.

    Returns
    -------
    Result
        (frequency,) or (frequency, channel): float32 of one data block, float64 of a mean.

    Raises
    ------
    InputError
        For a signal, a rate or a setting that makes no sense, and for a signal shorter than a data block.
    BlockError
        When a block reports an error; the text is its own.

    Examples
    --------
    >>> import numpy as np, vynpack as vp
    >>> x = 3 * np.sin(2 * np.pi * 1000 * np.arange(48000) / 48000)
    >>> lines = vp.spectrum(x, 48000, block=4800, amplitude="peak", unit="V")
    >>> round(float(lines.values[lines.x == 1000][0]), 4), lines.unit
    (3.0, 'V')
    """
    signal = _Signal(x, fs, unit)
    worker = Spectrum(amplitude=amplitude, window=window, correction=correction,
                      window_parameter=window_parameter, phase=phase)
    result = _averaged(worker.stream(signal.blocks(block), **signal.options()), average)
    if phase and not result.outputs:
        raise InputError("phases belong to one data block; there is no mean of them")
    return result


def third_octaves(x: Input, fs: float | None = None, *, octaves: bool = False,
                  a_weighting: bool = False, block: int = 8192, window: str = "hanning",
                  correction: str = "energy", average: str = "power",
                  reference: float | None = None, unit: str = "") -> Result:
    """Third-octave or octave values of a signal.

    Parameters
    ----------
    x, fs, block, average, unit
        As for `spectrum`.
    octaves : bool
        Octaves in the place of third octaves.
    a_weighting : bool
        A-weights the bands.
    window, correction : str
        Of the spectra; "energy" keeps the power of random signals.
    reference : float, optional
        Gives levels in dB re this value; 2e-5 for Pa. RMS values when missing.

    Returns
    -------
    Result
        (band,) or (band, channel), with nominal centre frequencies in Hz.

    Raises
    ------
    InputError
        For a signal, a rate or a setting that makes no sense, and for a signal shorter than a data block.
    BlockError
        When a block reports an error; the text is its own.

    Examples
    --------
    >>> import numpy as np, vynpack as vp
    >>> x = np.sqrt(2) * np.sin(2 * np.pi * 1000 * np.arange(65536) / 32768)  # 1 Pa rms
    >>> bands = vp.third_octaves(x, 32768, reference=2e-5, unit="Pa")
    >>> float(bands.x[bands.values.argmax()]), round(float(bands.values.max()), 1), bands.unit
    (1000.0, 94.0, 'dB')
    """
    signal = _Signal(x, fs, unit)
    spectra = Spectrum(amplitude="rms", window=window, correction=correction)
    bands = Bands(analysis="octaves" if octaves else "third octaves", a_weighting=a_weighting)
    lines = spectra.stream(signal.blocks(block), **signal.options())
    result = _averaged(bands.stream(lines), average)
    return result if reference is None else result.decibels(reference)


def transfer(x: Input, y: Input, fs: float | None = None, *, method: str = "H1", block: int = 4096,
             window: str = "hanning", amplitude: str = "realimaginaer") -> Result:
    """Frequency response between two signals with its coherence, averaged over data blocks.

    Parameters
    ----------
    x, y : array_like or Result
        Excitation and response, of one shape.
    fs : float
        Sample rate in Hz.
    method : str
        "H1" (noise on the response averages out), "H2" (noise on the excitation) or "H0".
    block : int
        Samples of a data block; samples behind the last whole one are left out.
    window : str
        As for `Spectrum`.
    amplitude : str
        "realimaginaer" gives complex values, "peak" magnitudes.

    Returns
    -------
    Result
        (frequency,) or (frequency, channel), complex64; ``.coherence`` from 0 to 1. H0 and H2 are
        the conjugates of the frequency response, as the block computes them.

    Raises
    ------
    InputError
        For a signal, a rate or a setting that makes no sense, for signals of two shapes, and for signals shorter than a data block.
    BlockError
        When a block reports an error; the text is its own.

    Examples
    --------
    >>> import numpy as np, vynpack as vp
    >>> x = np.random.default_rng(1).standard_normal(32768)
    >>> h = vp.transfer(x, 2 * x, 1000)
    >>> bool(np.allclose(np.abs(h.values), 2, rtol=1e-4)), bool(np.all(h.coherence.values > 0.9999))
    (True, True)
    """
    first, second = _Signal(x, fs, ""), _Signal(y, fs, "")
    if first.values.shape != second.values.shape:
        raise InputError(f"x has the shape {first.values.shape}, y {second.values.shape}")
    worker = DualSpectrum(quantity="transfer function", method=method, amplitude=amplitude,
                          coherence=True, average="arithmetic", window=window)
    return _averaged(worker.stream(first.blocks(block), second.blocks(block), **first.options()), "last")


def weight(x: Input, fs: float | None = None, curve: str = "A", *, unit: str = "") -> Result:
    """The frequency-weighted signal.

    Parameters
    ----------
    x, fs, unit
        As for `spectrum`; 4 kHz to 1 MHz.
    curve : str
        "A", "B", "C" or "linear".

    Returns
    -------
    Result
        (time,) or (time, channel), float32.

    Raises
    ------
    InputError
        For a signal, a rate or a setting that makes no sense.
    BlockError
        When a block reports an error; the text is its own.

    Examples
    --------
    >>> import numpy as np, vynpack as vp
    >>> x = np.sin(2 * np.pi * 100 * np.arange(48000) / 48000)
    >>> y = vp.weight(x, 48000, "A").values[24000:]
    >>> round(float(20 * np.log10(np.abs(y).max())))
    -19
    """
    signal = _Signal(x, fs, unit)
    return Weighting(curve=curve).flow(signal.values, **signal.options())


def filter(x: Input, fs: float | None = None, mode: str = "low pass", *,
           cutoff: float | None = None, lower: float | None = None, upper: float | None = None,
           kind: str | None = None, characteristic: str = "Butterworth", order: int = 4,
           ripple: float | None = None, attenuation: float | None = None, taps: int | None = None,
           window: str | None = None, kaiser: bool | None = None, unit: str = "") -> Result:
    """The filtered signal: recursive, or with `taps` an FIR filter.

    Parameters
    ----------
    x, fs, unit
        As for `spectrum`.
    mode : str
        "low pass", "high pass", "band pass" or "band stop".
    cutoff : float
        Edge of low pass and high pass in Hz; they need one.
    lower, upper : float
        Edges of band pass and band stop in Hz; they need both.
    kind : str, optional
        "IIR" or "FIR"; FIR where `taps` are given, else IIR.
    characteristic, order, ripple, attenuation, taps, window, kaiser
        As for `Filter`.

    Returns
    -------
    Result
        (time,) or (time, channel), float32. An FIR filter delays by (taps - 1) / 2 samples.

    Raises
    ------
    InputError
        For a signal, a rate or a setting that makes no sense.
    BlockError
        When a block reports an error; the text is its own.

    Examples
    --------
    >>> import numpy as np, vynpack as vp
    >>> t = np.arange(48000) / 48000
    >>> x = np.sin(2 * np.pi * 100 * t) + np.sin(2 * np.pi * 10000 * t)
    >>> y = vp.filter(x, 48000, "low pass", cutoff=1000)
    >>> round(float(np.abs(y.values[24000:]).max()), 3)
    1.0
    """
    edges = {"cutoff": cutoff} if mode in ("low pass", "high pass") else {"lower": lower, "upper": upper}
    for name, edge in edges.items():
        if edge is None:
            raise InputError(f"filter({name}): a {mode} needs it, in Hz")
    if kind is None:
        kind = "IIR" if taps is None else "FIR"
    recursive = kind.upper() == "IIR"
    signal = _Signal(x, fs, unit)
    worker = Filter(kind=kind, mode=mode, cutoff=cutoff, lower=lower, upper=upper,
                    characteristic=characteristic if recursive else None,
                    order=order if recursive else None, ripple=ripple, attenuation=attenuation,
                    taps=taps, window=window, kaiser=kaiser)
    return worker.flow(signal.values, **signal.options())


def levels(x: Input, fs: float | None = None, *, weighting: str | None = "A", time: str = "F",
           every: float = 1.0, signal: str = "RMS", clock: str | None = None) -> Result:
    """Sound levels over time, 18 quantities an interval.

    Parameters
    ----------
    x, fs
        As for `spectrum`; the signal in Pa.
    weighting : str or None
        Frequency weighting before the levels: "A", "B", "C"; None or "Z" for none.
    time : str
        Time weighting: "F", "S", "I".
    every : float
        Length of an interval in s.
    signal : str
        "RMS" or "peak".
    clock : str, optional
        As for `Level`.

    Returns
    -------
    Result
        (time, quantity) or (time, quantity, channel): times are the ends of the intervals.
        Samples that fill no interval at the end are in none.

    Raises
    ------
    InputError
        For a signal, a rate or a setting that makes no sense, and for a signal that fills no interval.
    BlockError
        When a block reports an error; the text is its own.

    Examples
    --------
    >>> import numpy as np, vynpack as vp
    >>> tone = np.sqrt(2) * np.sin(2 * np.pi * 1000 * np.arange(4 * 48000) / 48000)  # 1 Pa rms
    >>> table = vp.levels(tone, 48000, weighting="A", time="F", every=1.0)
    >>> table.x.tolist(), table["L"].round(1).tolist()
    ([1.0, 2.0, 3.0, 4.0], [94.0, 94.0, 94.0, 94.0])
    """
    if not every > 0:
        raise InputError(f"every is {every}, allowed is above 0 s")
    pressure = _Signal(x, fs, "Pa")
    if weighting is not None and weighting.upper() != "Z":
        pressure = _Signal(weight(pressure.values, pressure.fs, weighting), None, "Pa")
    worker = Level(rate=1.0 / every, time=time, signal=signal, clock=clock)
    results = list(worker.stream(pressure.blocks(65536, rest=True), **pressure.options()))
    if not results:
        raise InputError(f"the signal of {len(pressure.values) / pressure.fs:g} s fills no interval of {every:g} s")
    return worker._joined(results)


def classify(x: Input, fs: float | None = None, *, classes: int = 20, begin: float | None = None,
             end: float | None = None, method: str = "samples", calculation: str = "absolute",
             reference: float | None = None, hysteresis: float | None = None,
             unit: str = "") -> Result:
    """How often or how long a signal lies in each class of values.

    Parameters
    ----------
    x, unit
        As for `spectrum`.
    fs : float, optional
        Sample rate in Hz: dwell times are in its seconds. Of an array 1 when missing.
    classes : int
        Number of classes.
    begin, end : float, optional
        Limits of all classes together; when one is missing, the smallest (largest) finite value lies
        in the middle of the first (last) class.
    method : str
        "samples", "dwell time" or "level crossings".
    calculation : str
        "absolute" or "relative" (percent of the channel's total).
    reference, hysteresis : float
        As for `Classification`.

    Returns
    -------
    Result
        (class,) or (class, channel); the axis has the classes' lower limits.

    Raises
    ------
    InputError
        For a signal, a rate or a setting that makes no sense, and for a signal without a finite value when a limit is missing.
    BlockError
        When a block reports an error; the text is its own.

    Examples
    --------
    >>> import vynpack as vp
    >>> counts = vp.classify([1, 2, 2, 3, 3, 3], classes=3)
    >>> counts.x.tolist(), counts.values.tolist()
    ([0.5, 1.5, 2.5], [1.0, 2.0, 3.0])
    """
    signal = _Signal(x, 1.0 if fs is None and not isinstance(x, Result) else fs, unit)
    if classes < 1:
        raise InputError(f"classes is {classes}, allowed is 1 or more")
    if begin is None or end is None:
        finite = signal.values[np.isfinite(signal.values)]
        if finite.size == 0:
            raise InputError("no value is finite; give begin and end")
        low = float(finite.min()) if begin is None else begin
        high = float(finite.max()) if end is None else end
        halves = (begin is None) + (end is None)
        width = (high - low) / max(classes - halves / 2, 0.5) or 1.0
        begin = low - width / 2 if begin is None else begin
        end = high + width / 2 if end is None else end
    worker = Classification(method=method, classes=classes, begin=float(begin), end=float(end),
                            calculation=calculation, reference=reference, hysteresis=hysteresis)
    return worker(signal.values, **signal.options())


def statistics(x: Input, fs: float | None = None, *,
               measures: Iterable[str] | str = ("minimum", "maximum", "mean", "rms", "std"),
               block: int | None = None, unit: str = "") -> Result:
    """Characteristic values of a signal.

    Parameters
    ----------
    x, unit
        As for `spectrum`.
    fs : float, optional
        Sample rate in Hz; of an array 1 when missing.
    measures : iterable of str, or "all"
        See ``Statistics.MEASURES``; the result has them in that order.
    block : int, optional
        Values of every so many samples, the last of them of what is left; of the whole signal when
        missing.

    Returns
    -------
    Result
        (quantity,) or (quantity, channel); with `block` (time, ...), times being the blocks' starts.

    Raises
    ------
    InputError
        For a signal, a rate or a setting that makes no sense.
    BlockError
        When a block reports an error; the text is its own.

    Examples
    --------
    >>> import vynpack as vp
    >>> values = vp.statistics([3, -1, 4, 1], measures=["maximum", "minimum", "mean"])
    >>> values["maximum"], values["minimum"], values["mean"]
    (4.0, -1.0, 1.75)
    """
    signal = _Signal(x, 1.0 if fs is None and not isinstance(x, Result) else fs, unit)
    results = list(Statistics(measures=measures).stream(signal.blocks(block, rest=True), **signal.options()))
    if block is None:
        return results[0]
    times = signal.start + np.arange(len(results)) * block / signal.fs
    return Result(np.stack([one.values for one in results]),
                  (Axis("time", times, "s"), *results[0].axes), "", "statistics")
