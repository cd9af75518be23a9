"""Layer 1: the ten blocks, one class each.

Every block works on numpy arrays of (samples,) or (samples, channels): float32 is handed on without
a copy in Python, anything else real is converted once. A block is used in one of three ways:

* ``block(x, fs=48000)``: one run over one data block;
* ``for out in block.stream(chunks, fs=48000)``: one run over many data blocks, as they come;
* ``block.start(fs=48000)``, ``block.feed(x)``, ``block.stop()``: the same by hand.

Keywords are held against the host's table, so that a name or number which means nothing is refused
with what is allowed. ``None`` leaves a setting as a new block has it. Calls are worked on one at a
time, whatever thread they come from; while a block computes, Python's other threads run.
"""

from __future__ import annotations

import ctypes as c
import math
import os
from collections.abc import Iterable, Iterator
from typing import Any, ClassVar, Union

import numpy as np
import numpy.typing as npt

from ._library import Data, Library, Setting, settings_array
from .errors import BlockError, InputError
from .result import Axis, Head, Result

Input = Union[npt.ArrayLike, Result]

SECONDS, MILLISECONDS, HERTZ, KILOHERTZ = 1, 2, 3, 4
_X_AXES = {SECONDS: ("time", "s"), MILLISECONDS: ("time", "ms"), HERTZ: ("frequency", "Hz"),
           KILOHERTZ: ("frequency", "kHz")}
_DECIBEL, _DEGREES, _POWER, _PERCENT = 6, 11, 12, 15
_FIXED_UNITS = {_DECIBEL: "dB", _DEGREES: "°", _PERCENT: "%"}
_THIRDS, _OCTAVES = 8, 16
#: Nominal centre frequencies of the bands in Hz (IEC 61260-1).
THIRD_OCTAVES = np.array([16, 20, 25, 31.5, 40, 50, 63, 80, 100, 125, 160, 200, 250, 315, 400, 500,
                          630, 800, 1000, 1250, 1600, 2000, 2500, 3150, 4000, 5000, 6300, 8000,
                          10000, 12500, 16000, 20000])
OCTAVES = np.array([16, 31.5, 63, 125, 250, 500, 1000, 2000, 4000, 8000, 16000])

_address = c.addressof
_byte = c.c_char


def _real(values: npt.NDArray[Any]) -> npt.NDArray[np.float32]:
    return np.ascontiguousarray(values, dtype=np.float32)


def _checked(values: Any) -> npt.NDArray[Any]:
    """The array, of one or two dimensions and a type of numbers."""
    array = np.asarray(values)
    if array.dtype.kind not in "fiubc":
        raise InputError(f"values of type {array.dtype} are no numbers")
    if array.ndim not in (1, 2):
        raise InputError(f"an array of {array.ndim} dimensions; allowed is (samples,) or "
                         "(samples, channels)")
    return array


def _setting(name: str) -> property:
    def get(block: Block) -> Any:
        return block.get(name)

    def change(block: Block, value: Any) -> None:
        block.set(**{name: value})
    return property(get, change)


class Block:
    """What the ten blocks have in common.

    Parameters
    ----------
    record : bytes, optional
        A parameter record, as `record` gives it; the other settings apply on top of it.

    Raises
    ------
    InputError
        For a keyword, value or record that the host's table of keywords refuses.
    ModuleError
        When the module or its library is not there.
    """

    type_code: ClassVar[int]
    #: The names of the settings here and in the host's table.
    keywords: ClassVar[dict[str, str]] = {}
    _name: ClassVar[str] = ""
    _many_steps: ClassVar[bool] = False  # one data block may give several
    _words: ClassVar[dict[str, dict[str, str]]] = {}  # shorter names of choices

    def __init_subclass__(cls) -> None:
        for name in cls.keywords:
            setattr(cls, name, _setting(name))

    def __init__(self, record: bytes | None = None, **settings: Any) -> None:
        self._handle: int | None = None
        self._library = Library.get()
        rows = self._settings(settings)
        handle = c.c_void_p()
        self._library.call("block_new", str(self.type_code).encode(), type(self).__name__.encode(),
                           record, len(record or b""), rows, len(rows), c.byref(handle))
        self._handle = handle.value
        self._owner = os.getpid()
        self._runs = False
        self._look_at_connectors()

    def __reduce__(self) -> tuple[Any, ...]:
        return _restored, (type(self), self.record)

    def __del__(self) -> None:
        # A process that was forked off only has a picture of the block.
        if getattr(self, "_handle", None) is not None and self._owner == os.getpid():
            self._library.call("block_delete", self._handle)

    def __repr__(self) -> str:
        given = ((name, self.get(name)) for name in self.keywords)
        return f"{type(self).__name__}({', '.join(f'{n}={v!r}' for n, v in given if v is not None)})"

    @property
    def stateless(self) -> bool:
        """Whether what comes out of a data block depends on that data block alone.

        Such data blocks may be worked on in any order, and at the same time: see `vynpack.dask`.
        """
        return False

    # --- Settings ---
    def _settings(self, settings: dict[str, Any]) -> Any:
        rows = []
        for name, value in settings.items():
            if value is None:
                continue
            if name not in self.keywords:
                raise InputError(f"{type(self).__name__} has no setting {name}; there are "
                                 + (", ".join(self.keywords) or "none"))
            place = f"{type(self).__name__}({name})"
            if isinstance(value, (bool, np.bool_)):
                value = int(value)
            elif isinstance(value, np.generic):
                value = value.item()
            if isinstance(value, str):
                value = self._words.get(name, {}).get(value.lower(), value)
            if not isinstance(value, (int, float, str)):
                raise InputError(f"{place}: takes a number or a name, not a {type(value).__name__}")
            if isinstance(value, int) and not -2**63 <= value < 2**63:
                raise InputError(f"{place}: {value} is out of range")
            rows.append((self.keywords[name], place, value))
        return settings_array(rows)

    def get(self, name: str) -> str | int | float | bool | None:
        """The value of a setting.

        Parameters
        ----------
        name : str
            As in `keywords`, or the host's own name of the keyword.

        Returns
        -------
        str, int, float, bool or None
            None where it does not read back or its value has no name.

        Raises
        ------
        InputError
            For a name that is none.
        """
        value = Setting()
        keyword = self.keywords.get(name, name)
        self._library.call("block_get", self._handle, keyword.encode(), c.byref(value))
        if value.kind == 3:
            text: str = value.text.decode()
            return {"on": True, "off": False}.get(text, text)
        if value.kind == 2:
            return float(value.real)
        return int(value.integer) if value.kind == 1 else None

    def set(self, **settings: Any) -> None:
        """Changes settings between runs; when one is refused, all stay as they were.

        Parameters
        ----------
        **settings
            As for the class; ``None`` changes nothing.

        Raises
        ------
        InputError
            For a name or value that the host's table refuses, and during a run.
        """
        rows = self._settings(settings)
        self._library.call("block_set", self._handle, rows, len(rows))
        self._look_at_connectors()

    @property
    def record(self) -> bytes:
        """The parameter record: everything that the block keeps, as hosts save it."""
        size = c.c_int64()
        self._library.call("block_record", self._handle, None, 0, c.byref(size))
        buffer = c.create_string_buffer(max(size.value, 1))
        self._library.call("block_record", self._handle, buffer, size.value, c.byref(size))
        return buffer.raw[:size.value]

    @classmethod
    def table(cls) -> list[dict[str, str]]:
        """The host's table of the keywords.

        Returns
        -------
        list of dict
            A row each: "name", "says", "unit" and "allowed".
        """
        return Library.get().keywords(cls.type_code)

    # --- Connectors ---
    def _look_at_connectors(self) -> None:
        self.inputs = self._library.text("block_inputs", self._handle).split(",")
        self.outputs = self._library.text("block_outputs", self._handle).split(",")
        self._in = (Data * len(self.inputs))()
        self._out = (Data * len(self.outputs))()
        self._moved = c.c_int32()
        self._addresses = (c.addressof(self._in), c.addressof(self._out), c.addressof(self._moved))
        self._quantities = [self._library.text("block_quantities", self._handle, i).splitlines()
                            for i in range(len(self.outputs))]

    # --- Runs ---
    def start(self, fs: float | None = None, *, start: float = 0.0, unit: str = "",
              wired: Iterable[int] = (0,)) -> None:
        """Begins a run.

        Parameters
        ----------
        fs : float, optional
            Sample rate in Hz; needed for arrays, not for results of other blocks.
        start : float
            Time of the first sample in seconds.
        unit : str
            Unit of the values, such as "Pa".
        wired : iterable of int
            Which inputs data will come to, by their places from 0.

        Raises
        ------
        InputError
            For a rate that is none.
        """
        if fs is not None and not (np.isfinite(fs) and fs > 0):
            raise InputError(f"fs is {fs}, allowed is above 0 Hz")
        mask = sum(1 << place for place in set(wired))
        self._library.call("block_start", self._handle, mask)
        self._runs, self._fs, self._start, self._unit = True, fs, float(start), unit
        self._position = 0
        self._one_dimension = True
        self._signal_channels = 1

    def stop(self) -> None:
        """Ends the run; what waits at the inputs is taken back."""
        self._runs = False
        self._library.call("block_stop", self._handle)

    def feed(self, *inputs: Input | None) -> list[Result]:
        """Hands one data block to each input and gives what comes out.

        Parameters
        ----------
        *inputs : array_like or Result
            One per input, in the order of `inputs`: (samples,) or (samples, channels). ``None``
            for an input without data this time.

        Returns
        -------
        list of Result
            One per data block put out; most blocks put out one, or none, per input.

        Raises
        ------
        InputError
            For an array or rate that makes no sense, and for settings that do not fit the rate.
        BlockError
            When the block reports an error; the run has ended then.
        """
        if not self._runs:
            raise InputError(f"{type(self).__name__}: no run has been started")
        given = self._split(inputs)
        if len(given) > len(self.inputs):
            raise InputError(f"{type(self).__name__} has {len(self.inputs)} inputs "
                             f"({', '.join(self.inputs)}), {len(given)} data blocks are given")
        kept = [self._fill(place, data) for place, data in enumerate(given)]
        try:
            results = self._step(len(given))
            del kept
            while self._many_steps and self._moved.value:
                results += self._step(0)
            if not self._moved.value and not self._many_steps or self._many_steps and self._waiting():
                empty = ", ".join(self.inputs[len(given):])
                raise BlockError(f"{type(self).__name__}: the data at {self._waiting()} is not taken "
                                 + (f"(nothing comes to {empty})" if empty else "(do the inputs fit together?)"))
        except (InputError, BlockError):
            self.stop()
            raise
        return results

    def finish(self) -> list[Result]:
        """What is still to come when no more data follow.

        Returns
        -------
        list of Result
            Level intervals that are complete; of other blocks nothing.
        """
        more = c.c_int32(1)
        results: list[Result] = []
        while True:
            self._library.call("block_finish", self._handle, c.byref(more))
            if not more.value:
                return results
            self._moved.value = 1
            while self._moved.value:
                results += self._step(0)

    def stream(self, *inputs: Iterable[Input], fs: float | None = None, start: float = 0.0,
               unit: str = "") -> Iterator[Result]:
        """One run over data blocks as they come.

        Parameters
        ----------
        *inputs : iterable of array_like or Result
            The data blocks of each input, (samples,) or (samples, channels) each.
        fs, start, unit
            As for `start`.

        Yields
        ------
        Result
            Each data block that comes out.

        Raises
        ------
        InputError, BlockError
            As for `feed`.

        Examples
        --------
        >>> import numpy as np, vynpack as vp
        >>> chunks = np.arange(12, dtype=np.float32).reshape(3, 4)
        >>> for out in vp.Average(mode="reduction", samples=2).stream(chunks, fs=100):
        ...     print(out.values)
        [0.5 2.5]
        [4.5 6.5]
        [ 8.5 10.5]
        """
        self.start(fs, start=start, unit=unit, wired=range(self._inputs_of(len(inputs))))
        try:
            for blocks in zip(*inputs):
                yield from self.feed(*blocks)
            yield from self.finish()
        finally:
            if self._runs:
                self.stop()

    def __call__(self, *inputs: Input, fs: float | None = None, start: float = 0.0,
                 unit: str = "") -> Result:
        """One run over one data block per input.

        Parameters
        ----------
        *inputs : array_like or Result
            One per input, (samples,) or (samples, channels).
        fs, start, unit
            As for `start`.

        Returns
        -------
        Result
            What came out; where that is several data blocks, they lie behind one another.

        Raises
        ------
        InputError
            For an array or rate that makes no sense, and for settings that do not fit the rate.
        BlockError
            When the block reports an error, and when nothing comes out.
        """
        results = list(self.stream(*([one] for one in inputs), fs=fs, start=start, unit=unit))
        if not results:
            raise BlockError(f"{type(self).__name__}: nothing came out")
        return results[0] if len(results) == 1 else self._joined(results)

    def flow(self, x: Input, *, fs: float | None = None, start: float = 0.0, unit: str = "",
             block: int = 8192) -> Result:
        """One long signal through a block that gives a sample for every sample: filter, weighting.

        One call of the library, without Python's lock; the run is that of data blocks of `block`
        samples. Other blocks are streamed.

        Parameters
        ----------
        x : array_like or Result
            (samples,) or (samples, channels).
        fs, start, unit
            As for `start`.
        block : int
            Samples of a data block.

        Returns
        -------
        Result
            Of the signal's shape, float32.

        Raises
        ------
        InputError
            For an array or rate that makes no sense, and for settings that do not fit the rate.
        BlockError
            When the block reports an error, and when it gives another number of samples.
        """
        self.start(fs, start=start, unit=unit)
        try:
            kept = self._fill(0, x)
            assert kept is not None
            result = np.empty(kept.shape, np.float32)
            written, head = c.c_int64(), Data()
            self._library.call("block_flow", self._handle, c.byref(self._in[0]), block,
                               result.ctypes.data, result.size, c.byref(written), c.byref(head))
        finally:
            self.stop()
        if written.value != result.size:
            raise BlockError(f"{type(self).__name__}: {written.value} values came out for "
                             f"{result.size}; stream it")
        known = head_of(head, self._unit)
        axes: tuple[Axis, ...] = (self._axis(known, len(result)),)
        if result.ndim == 2:
            axes += (_channels(result.shape[1]),)
        return Result(result, axes, self._unit_of(known), self._name, head=known)

    # --- Arrays to data blocks and back ---
    def _inputs_of(self, given: int) -> int:
        return given

    def _split(self, inputs: tuple[Any, ...]) -> list[Any]:
        return list(inputs)

    def _fill(self, place: int, given: Any) -> npt.NDArray[np.float32] | None:
        """Describes one input's data block; the array must live until it has been fed."""
        row = self._in[place]
        if given is None:
            row.channels = 0
            return None
        values = given.values if isinstance(given, Result) else given
        array = _checked(values)
        if array.dtype.kind == "c":
            raise InputError(f"input {self.inputs[place]} takes real values")
        array = _real(array)
        try:
            row.values = _address(_byte.from_buffer(array.data)) if array.size else None
        except TypeError:  # an array that must not be written
            row.values = array.ctypes.data
        row.count = array.size
        row.channels = array.shape[1] if array.ndim == 2 else 1
        if isinstance(given, Result):
            self._fill_head(row, given, place)
        else:
            if self._fs is None:
                raise InputError(f"{type(self).__name__}: an array needs its sample rate fs")
            row.x_kind, row.y_unit, row.flags = SECONDS, 0, 0
            row.x_start = self._start + self._position / self._fs
            row.x_step = 1.0 / self._fs
            row.display_minimum, row.display_span = -1.0, 2.0
        if place == 0:
            self._one_dimension = array.ndim == 1
            self._signal_channels = row.channels
            self._position += len(array)
        return array

    def _fill_head(self, row: Data, given: Result, place: int) -> None:
        if given.head is None:
            raise InputError("this result has been put together from several data blocks; "
                             "hand on its values as an array")
        head = given.head
        row.x_start, row.x_step, row.x_kind = head.x_start, head.x_step, head.x_kind
        row.y_unit, row.flags = head.y_unit, head.flags
        row.display_minimum, row.display_span = head.display_minimum, head.display_span
        if place == 0:
            self._unit = head.base_unit

    def _step(self, inputs: int) -> list[Result]:
        data, out, moved = self._addresses
        status = self._library.feed(self._handle, data, inputs, out, len(self._out), moved)
        if status:
            self._library.fail(status)
        parts: dict[str, Result] = {}
        for place, row in enumerate(self._out):
            if row.channels:
                parts[self.outputs[place]] = self._result(place, row)
        return [self._assembled(parts)] if parts else []

    def _waiting(self) -> str:
        return self._library.text("block_waiting", self._handle)

    def _assembled(self, parts: dict[str, Result]) -> Result:
        first = next(iter(parts.values()))
        if len(parts) > 1:
            if "R" in parts and "I" in parts:
                whole = parts["R"].values + 1j * parts["I"].values
                first = Result(whole.astype(np.complex64), first._axes, first.unit, first.name,
                               parts, first.head)
            else:
                first.outputs.update(parts)
        return first

    def _result(self, place: int, row: Data) -> Result:
        flat, head = values_of(row), head_of(row, self._unit)
        if self._quantities[place]:
            return self._named(flat, self._quantities[place], head)
        channels = row.channels
        values = flat[:flat.size // channels * channels].reshape(-1, channels)
        count, unit = len(values), self._unit_of(head)
        if channels == 1 and self._one_dimension:
            return Result(values[:, 0], lambda: (self._axis(head, count),), unit, self._name, head=head)
        return Result(values, lambda: (self._axis(head, count), _channels(channels)), unit, self._name,
                      head=head)

    def _named(self, flat: npt.NDArray[np.float32], names: list[str], head: Head) -> Result:
        """Value q of channel c of the signal lies at q * channels + c."""
        values = flat.reshape(len(names), -1)
        axis = Axis("quantity", np.array([name.split(" [")[0] for name in names]))
        if self._one_dimension:
            return Result(values[:, 0], (axis,), "", self._name, head=head)
        return Result(values, (axis, _channels(values.shape[1])), "", self._name, head=head)

    def _axis(self, head: Head, count: int) -> Axis:
        return axis_of(head, count)

    def _unit_of(self, head: Head) -> str:
        if head.y_unit in _FIXED_UNITS:
            return _FIXED_UNITS[head.y_unit]
        if head.y_unit == _POWER:
            return _squared(self._unit)
        return self._unit

    def _joined(self, results: list[Result]) -> Result:
        first = results[0]
        values = np.concatenate([one.values for one in results])
        axis = Axis(first.axes[0].name, np.concatenate([one.x for one in results]), first.x_unit)
        return Result(values, (axis, *first.axes[1:]), first.unit, first.name)


def values_of(row: Data) -> npt.NDArray[np.float32]:
    """A copy of a data block's values."""
    if not row.count:
        return np.empty(0, np.float32)
    raw: Any = (c.c_float * row.count).from_address(row.values)
    return np.frombuffer(raw, np.float32).copy()


def head_of(row: Data, unit: str) -> Head:
    return Head(row.x_start, row.x_step, row.x_kind, row.y_unit, row.flags, row.display_minimum,
                row.display_span, unit)


def axis_of(head: Head, count: int) -> Axis:
    """Time, frequency or bands, as the head says."""
    for flag, centres in ((_THIRDS, THIRD_OCTAVES), (_OCTAVES, OCTAVES)):
        if head.flags & flag:
            first = round(head.x_start)
            if 0 <= first and first + count <= len(centres):
                return Axis("band", centres[first:first + count], "Hz")
    name, unit = _X_AXES.get(head.x_kind, ("x", ""))
    return Axis(name, _places(head.x_start, head.x_step, np.arange(count)), unit)


def _places(start: float, step: float, numbers: npt.NDArray[Any]) -> npt.NDArray[np.float64]:
    """Rounded to a billionth of the step: 750 and not 750.0000000000001."""
    places = start + numbers * step
    if not 1e-290 < abs(step) < 1e290:
        return places
    return np.round(places, min(max(9 - math.floor(math.log10(abs(step))), 0), 300))


def _channels(count: int) -> Axis:
    return Axis("channel", np.arange(1, count + 1))


def _squared(unit: str) -> str:
    return f"{unit}²" if unit.isalpha() else f"({unit})²" if unit else ""


def _restored(kind: type[Block], record: bytes) -> Block:
    return kind(record=record)


class Spectrum(Block):
    """Spectra of time signals (block type 5004, "FFT").

    N samples give N/2 lines from 0 Hz, fs/N apart; the line at half the sample rate is not put out.

    Parameters
    ----------
    amplitude : str
        What a line's value is: "peak", "rms", "powerspectrum", "psd", "autospectrum", "cepstrum",
        "realimaginaer" (the result is complex64).
    window : str
        "rectangle", "hanning", "hamming", "blackman", "flattop", "kaiser", "cos10perc", "welch",
        "parzen", "bartlett", "vallee", "cauchy", "gauss", "exponential" or "riemann".
    correction : str
        "none", "energy" (random signals keep their power) or "amplitude" (a line reads a tone's
        amplitude).
    window_parameter : float
        Shape of the windows "kaiser", "cauchy", "gauss" and "exponential", 0 to 100.
    phase : bool
        Puts the phases out too: ``result.phase``, in degrees.
    record : bytes
        A parameter record.

    Examples
    --------
    A tone of amplitude 2 on line 5 of 32:

    >>> import numpy as np, vynpack as vp
    >>> t = np.arange(64) / 1000
    >>> spectrum = vp.Spectrum(amplitude="peak")(2 * np.sin(2 * np.pi * 78.125 * t), fs=1000)
    >>> round(float(spectrum.values[5]), 4), float(spectrum.x[5]), spectrum.x_unit
    (2.0, 78.125, 'Hz')
    """

    type_code = 5004
    keywords = {"amplitude": "PkAmplType", "window": "PkWndFct", "correction": "PkWndCorrectTyp",
                "window_parameter": "PkWndPara", "phase": "PkPhase"}
    _name = "spectrum"

    def __init__(self, *, amplitude: str | None = None, window: str | None = None,
                 correction: str | None = None, window_parameter: float | None = None,
                 phase: bool | None = None, record: bytes | None = None) -> None:
        super().__init__(record, amplitude=amplitude, window=window, correction=correction,
                         window_parameter=window_parameter, phase=phase)

    @property
    def stateless(self) -> bool:
        """Always."""
        return True

    def _unit_of(self, head: Head) -> str:
        unit = super()._unit_of(head)
        if head.y_unit == _POWER and self._amplitude == "PSD":
            return f"{unit}/Hz" if unit else "1/Hz"
        return "" if self._amplitude == "CEPSTRUM" else unit

    def start(self, fs: float | None = None, **rest: Any) -> None:
        super().start(fs, **rest)
        self._amplitude = self.get("amplitude")


class InverseSpectrum(Block):
    """Time signals from real and imaginary parts (block type 5005, "Inverse FFT").

    Takes complex lines, as ``Spectrum(amplitude="realimaginaer")`` gives them, or the real and the
    imaginary parts; gives 2 samples per line. Arrays need the sample rate of the signal as `fs`.

    Parameters
    ----------
    record : bytes
        A parameter record.

    Examples
    --------
    >>> import numpy as np, vynpack as vp
    >>> x = np.sin(2 * np.pi * 5 * np.arange(64) / 64).astype(np.float32)
    >>> lines = vp.Spectrum(amplitude="realimaginaer")(x, fs=1000)
    >>> back = vp.InverseSpectrum()(lines)
    >>> bool(np.abs(back.values - x).max() < 1e-6), float(back.x[1])
    (True, 0.001)
    """

    type_code = 5005
    _name = "signal"

    def __init__(self, *, record: bytes | None = None) -> None:
        super().__init__(record)

    @property
    def stateless(self) -> bool:
        """Always."""
        return True

    def _inputs_of(self, given: int) -> int:
        return 2

    def _split(self, inputs: tuple[Any, ...]) -> list[Any]:
        if len(inputs) != 1:
            return list(inputs)
        given = inputs[0]
        values = _checked(given.values if isinstance(given, Result) else given)
        parts = (np.ascontiguousarray(values.real), np.ascontiguousarray(values.imag))
        if not isinstance(given, Result):
            return list(parts)
        return [Result(part, given._axes, given.unit, given.name, head=given.head) for part in parts]

    def _fill(self, place: int, given: Any) -> npt.NDArray[np.float32] | None:
        array = super()._fill(place, given)
        if array is not None and not isinstance(given, Result) and self._fs is not None:
            row = self._in[place]
            row.x_kind, row.x_start = HERTZ, 0.0
            row.x_step = self._fs / max(2 * len(array), 1)
        return array


class DualSpectrum(Block):
    """Cross spectrum and transfer functions of two signals (block type 5006).

    Inputs: excitation, response, and a trigger where `reset` is "trigger".

    Parameters
    ----------
    quantity : str
        "cross spectrum" or "transfer function".
    method : str
        "H0" (quotient), "H1" (noise on the response averages out) or "H2" (noise on the excitation).
    amplitude : str
        As for `Spectrum`; "realimaginaer" gives complex64.
    phase, coherence : bool
        Put them out too: ``result.phase`` in degrees, ``result.coherence`` from 0 to 1.
    average : str
        "no", "arithmetic", "exponential", "peakmin", "peakmax", "minmaxaverage" or "peakminmax".
    average_source : str
        "amplitude" or "power".
    average_factor : float
        Of "minmaxaverage", 0 to 1.
    window, correction, window_parameter
        As for `Spectrum`.
    reset : str
        "never", "trigger" or "count".
    reset_count : int
        Data blocks between resets by count.
    data_on_reset : bool
        Puts finished averages out only.
    output_channel_mode : int
        Kept with the parameters, without effect.
    record : bytes
        A parameter record.

    Examples
    --------
    >>> import numpy as np, vynpack as vp
    >>> x = np.random.default_rng(1).standard_normal(1024)
    >>> h = vp.DualSpectrum(quantity="transfer function", method="H1")(x, 3 * x, fs=1000)
    >>> bool(np.allclose(h.values, 3, rtol=1e-5))
    True
    """

    type_code = 5006
    keywords = {"quantity": "PkCrossSpectr", "method": "PkTransFCTType", "amplitude": "PkAmplType",
                "phase": "PkTransPhase", "coherence": "PkCoherence", "average": "PkAverageType",
                "average_source": "PkAverageSource", "average_factor": "PkAvgFactor",
                "window": "PkWndFct", "correction": "PkWndCorrectTyp",
                "window_parameter": "PkWndPara", "reset": "PkResetMode",
                "reset_count": "PkResetCount", "data_on_reset": "PkDataOnReset",
                "output_channel_mode": "PkOutChnMode"}
    _name = "transfer function"
    _words = {"method": {f"h{i}": f"SPECTRUM H{i}" for i in range(3)}}

    def __init__(self, *, quantity: str | None = None, method: str | None = None,
                 amplitude: str | None = None, phase: bool | None = None,
                 coherence: bool | None = None, average: str | None = None,
                 average_source: str | None = None, average_factor: float | None = None,
                 window: str | None = None, correction: str | None = None,
                 window_parameter: float | None = None, reset: str | None = None,
                 reset_count: int | None = None, data_on_reset: bool | None = None,
                 output_channel_mode: int | None = None, record: bytes | None = None) -> None:
        super().__init__(record, quantity=quantity, method=method, amplitude=amplitude, phase=phase,
                         coherence=coherence, average=average, average_source=average_source,
                         average_factor=average_factor, window=window, correction=correction,
                         window_parameter=window_parameter, reset=reset, reset_count=reset_count,
                         data_on_reset=data_on_reset, output_channel_mode=output_channel_mode)

    @property
    def stateless(self) -> bool:
        """Without averages; the coherence is one, always."""
        return self.get("average") == "NO" and not self.get("coherence")

    def _result(self, place: int, row: Data) -> Result:
        result = super()._result(place, row)
        if self.outputs[place] not in ("P", "K"):
            return result
        name, unit = ("phase", "°") if self.outputs[place] == "P" else ("coherence", "")
        return Result(result.values, result._axes, unit, name, head=result.head)

    def _unit_of(self, head: Head) -> str:
        return ""  # of two signals in units of their own


class Bands(Block):
    """Third-octave or octave levels from spectra (block type 5001).

    Parameters
    ----------
    analysis : str
        "third octaves" or "octaves".
    a_weighting : bool
        A-weights the bands.
    record : bytes
        A parameter record.

    Examples
    --------
    >>> import numpy as np, vynpack as vp
    >>> x = np.sqrt(2) * np.sin(2 * np.pi * 1000 * np.arange(8192) / 32768)
    >>> bands = vp.Bands()(vp.Spectrum(amplitude="rms")(x, fs=32768))
    >>> float(bands.x[18]), round(float(bands.values[18]), 4)
    (1000.0, 1.0)
    """

    type_code = 5001
    keywords = {"analysis": "PkAnalysis", "a_weighting": "PkAScaling"}
    _name = "bands"

    def __init__(self, *, analysis: str | None = None, a_weighting: bool | None = None,
                 record: bytes | None = None) -> None:
        super().__init__(record, analysis=analysis, a_weighting=a_weighting)

    @property
    def stateless(self) -> bool:
        """Always."""
        return True


class Statistics(Block):
    """Up to 21 characteristic values per channel and data block (block type 5002).

    Parameters
    ----------
    measures : iterable of str, or "all"
        Which ones, see `MEASURES`; their order in the result is that of `MEASURES`.
    outputs_each : bool
        An output per measure instead of one for all of them.
    record : bytes
        A parameter record.

    Examples
    --------
    >>> import vynpack as vp
    >>> values = vp.Statistics(measures=["mean", "std"])([2, 4, 4, 4, 5, 5, 7, 9], fs=1)
    >>> float(values["mean"]), round(float(values["std"]), 3)
    (5.0, 2.138)
    """

    type_code = 5002
    #: The measures by name, in the order of the results.
    MEASURES: ClassVar[dict[str, str]] = {
        "block_sum": "PkSumBlock", "total_sum": "PkSumAll", "sum_of_squares": "PkQSum",
        "maximum": "PkYMax", "x_of_maximum": "PkXonYMax", "minimum": "PkYMin",
        "x_of_minimum": "PkXonYMin", "x_end": "PkXMax", "last": "PkYonXMax", "x_begin": "PkXMin",
        "first": "PkYonXMin", "mean": "PkAMean", "rms": "PkQMean", "geometric_mean": "PkGMean",
        "harmonic_mean": "PkHMean", "range": "PkSpannw", "std": "PkStdAbw", "variance": "PkVarianz",
        "variation": "PkVarKoeff", "relative_variation": "PkVarKoRel", "mean_deviation": "PkMAAVMW"}
    keywords = {**MEASURES, "all_on": "PkAllOn", "output": "PkOutMode"}
    _name = "statistics"

    def __init__(self, *, measures: Iterable[str] | str | None = None,
                 outputs_each: bool | None = None, record: bytes | None = None) -> None:
        chosen: dict[str, Any] = {}
        if measures == "all":
            chosen["all_on"] = True
        elif measures is not None:
            for name in [measures] if isinstance(measures, str) else measures:
                if name not in self.MEASURES:
                    raise InputError(f'Statistics(measures): "{name}" is no measure; there are '
                                     + ", ".join(self.MEASURES))
                chosen[name] = True
        if outputs_each is not None:
            chosen["output"] = "an output per measure" if outputs_each else "one output"
        super().__init__(record, **chosen)

    @property
    def stateless(self) -> bool:
        """Without the measure "total_sum", which goes on over the run."""
        return not self.get("total_sum")

    def _look_at_connectors(self) -> None:
        super()._look_at_connectors()
        names = {keyword[2:]: name for name, keyword in self.MEASURES.items()}
        self._quantities = [[names[one.split(" [")[0]] for one in row] for row in self._quantities]


class Average(Block):
    """Means of samples and of data blocks (block type 5003).

    Parameters
    ----------
    mode : str
        "reduction" (the mean of every `samples` samples), "moving average" (of the last `width`)
        or "data blocks" (of data blocks, value by value).
    samples, width : int
        Of the reduction and of the moving average, 1 to 65535.
    weight : float
        Of the data blocks before: 1 the plain mean, 0 the last block alone.
    reset : str
        "never", "trigger" or "count".
    reset_count : int
        Data blocks between resets by count.
    output : str
        "every block" or "at a reset".
    record : bytes
        A parameter record.

    Examples
    --------
    >>> import vynpack as vp
    >>> vp.Average(mode="moving average", width=3)([1, 2, 3, 4, 5], fs=1).values.tolist()
    [1.0, 1.5, 2.0, 3.0, 4.0]
    """

    type_code = 5003
    keywords = {"mode": "PkMode", "samples": "PkReduceVal", "width": "PkSmoothNVal",
                "weight": "PkWFactor", "reset": "PkResetMode", "reset_count": "PkResNBlocks",
                "output": "PkOutMode"}
    _name = "average"

    def __init__(self, *, mode: str | None = None, samples: int | None = None,
                 width: int | None = None, weight: float | None = None, reset: str | None = None,
                 reset_count: int | None = None, output: str | None = None,
                 record: bytes | None = None) -> None:
        super().__init__(record, mode=mode, samples=samples, width=width, weight=weight,
                         reset=reset, reset_count=reset_count, output=output)


class Classification(Block):
    """Counts values into classes (block type 5000, "Klassierung").

    Parameters
    ----------
    method : str
        "samples", "dwell time" or "level crossings".
    classes : int
        Number of classes.
    begin, end : float
        Lower limit of the first class and upper limit of the last one.
    width, span : float
        Width of a class, or of all together, in the place of `end`.
    calculation : str
        "relative" (percent) or "absolute".
    reference : float
        Reference line: crossings are counted upwards above it, downwards below it.
    hysteresis : float
        In percent of the class width.
    reset : str
        "never", "trigger" or "count".
    reset_count : int
        Data blocks between resets by count.
    mode : str
        "automatic" or "manual"; for the dialog only.
    record : bytes
        A parameter record; it can also choose the three peak methods.

    Examples
    --------
    >>> import vynpack as vp
    >>> counted = vp.Classification(classes=4, begin=0, end=4, calculation="absolute")
    >>> counted([0.5, 1.5, 1.6, 3.5], fs=1).values.tolist()
    [1.0, 2.0, 0.0, 1.0]
    """

    type_code = 5000
    keywords = {"method": "PkMethod", "classes": "PkNumber", "begin": "PkBegin", "end": "PkEnd",
                "width": "PkWidth", "span": "PkRange", "calculation": "PkCalcMode",
                "reference": "PkRefline", "hysteresis": "PkHyst", "reset": "PkReset",
                "reset_count": "PkNBlocks", "mode": "PkMode"}
    _name = "classes"

    def __init__(self, *, method: str | None = None, classes: int | None = None,
                 begin: float | None = None, end: float | None = None, width: float | None = None,
                 span: float | None = None, calculation: str | None = None,
                 reference: float | None = None, hysteresis: float | None = None,
                 reset: str | None = None, reset_count: int | None = None, mode: str | None = None,
                 record: bytes | None = None) -> None:
        super().__init__(record, method=method, classes=classes, begin=begin, end=end, width=width,
                         span=span, calculation=calculation, reference=reference,
                         hysteresis=hysteresis, reset=reset, reset_count=reset_count, mode=mode)

    def _axis(self, head: Head, count: int) -> Axis:
        return Axis("class", _places(head.x_start, head.x_step, np.arange(count)), head.base_unit)

    def _unit_of(self, head: Head) -> str:
        return "%" if head.y_unit == _PERCENT else ""


class Filter(Block):
    """FIR and IIR filters (block type 5007, "Digitale Filter").

    Parameters
    ----------
    kind : str
        "FIR" (window method) or "IIR" (recursive; needs a characteristic).
    mode : str
        "low pass", "high pass", "band pass" or "band stop".
    cutoff : float
        Edge of low pass and high pass in Hz.
    lower, upper : float
        Edges of band pass and band stop in Hz.
    characteristic : str
        IIR: "Butterworth", "Chebyshev", "elliptic", "inverse Chebyshev" or "Bessel".
    order : int
        IIR: 1 to 64; bands have twice as many poles.
    ripple, attenuation : float
        IIR: in the pass band, in the stop band, in dB.
    taps : int
        FIR: number of taps, odd, 3 to 1048575.
    window : str
        FIR: "rectangular", "triangular", "Hanning", "Hamming" or "Blackman".
    kaiser : bool
        FIR: a Kaiser window stands in for the chosen one.
    record : bytes
        A parameter record.

    Examples
    --------
    >>> import numpy as np, vynpack as vp
    >>> low = vp.Filter(kind="IIR", characteristic="Butterworth", order=2, cutoff=100)
    >>> step = low(np.ones(2000), fs=1000)
    >>> round(float(step.values[-1]), 6)
    1.0
    """

    type_code = 5007
    keywords = {"kind": "PkFIRFilter", "mode": "PkFilterMode", "cutoff": "PkCutoffFreq",
                "lower": "PkLowerFreq", "upper": "PkUpperFreq", "characteristic": "PkFilterType",
                "order": "PkFilterOrder", "ripple": "PkRipple", "attenuation": "PkAttenuation",
                "taps": "PkFilterLength", "window": "PkWindowFunction", "kaiser": "PkKaiserWindow"}
    _name = "filtered signal"

    def __init__(self, *, kind: str | None = None, mode: str | None = None,
                 cutoff: float | None = None, lower: float | None = None,
                 upper: float | None = None, characteristic: str | None = None,
                 order: int | None = None, ripple: float | None = None,
                 attenuation: float | None = None, taps: int | None = None,
                 window: str | None = None, kaiser: bool | None = None,
                 record: bytes | None = None) -> None:
        super().__init__(record, kind=kind, mode=mode, cutoff=cutoff, lower=lower, upper=upper,
                         characteristic=characteristic, order=order, ripple=ripple,
                         attenuation=attenuation, taps=taps, window=window, kaiser=kaiser)


class Weighting(Block):
    """A, B and C weighting of time signals and spectra (block type 5008).

    Inputs: the signal, and a control value whose data blocks choose another curve.

    Parameters
    ----------
    curve : str
        "linear", "A", "B" or "C".
    record : bytes
        A parameter record.

    Examples
    --------
    >>> import vynpack as vp
    >>> vp.Weighting(curve="A").curve
    'A'
    """

    type_code = 5008
    keywords = {"curve": "PkXweight"}
    _name = "weighted signal"

    def __init__(self, *, curve: str | None = None, record: bytes | None = None) -> None:
        super().__init__(record, curve=curve)

    @property
    def stateless(self) -> bool:
        """With the curve "linear"; the others are filters of time signals."""
        return self.get("curve") == "linear"


class Level(Block):
    """Sound levels of a pressure signal in Pa (block type 5009, "Pegelberechnung").

    Puts a data block of 18 quantities out for every interval; ``result.begin`` and ``result.end``
    are not part of it: they are the head's start and step, see `levels` for a table over time.

    Parameters
    ----------
    signal : str
        "RMS" (mean squares, with the time weighting) or "peak".
    time : str
        "Slow", "Fast" or "Impulse"; "S", "F" and "I" for short.
    clock : str
        Clock period of the clock maximum levels: "1 s", "3 s" or "5 s".
    hold : float
        What a pause takes back of the time before it, in s.
    rate : float
        Intervals per second, in Hz; at most the sample rate.
    record : bytes
        A parameter record.

    Examples
    --------
    >>> import numpy as np, vynpack as vp
    >>> tone = np.sqrt(2) * np.sin(2 * np.pi * 1000 * np.arange(96000) / 48000)  # 1 Pa rms
    >>> level = vp.Level(rate=1, time="Fast")(tone, fs=48000)
    >>> level.x.tolist(), round(float(level["L"][-1]), 1)
    ([1.0, 2.0], 94.0)
    """

    type_code = 5009
    keywords = {"signal": "PkRMS", "time": "PkTimeTc", "clock": "PkTimeTx", "hold": "PkTimeHold",
                "rate": "PkFreqOut"}
    _name = "levels"
    _many_steps = True
    _words = {"time": {"s": "Slow", "f": "Fast", "i": "Impulse"}}

    def __init__(self, *, signal: str | None = None, time: str | None = None,
                 clock: str | None = None, hold: float | None = None, rate: float | None = None,
                 record: bytes | None = None) -> None:
        super().__init__(record, signal=signal, time=time, clock=clock, hold=hold, rate=rate)

    def _joined(self, results: list[Result]) -> Result:
        """The ends of the intervals in seconds, and the quantities over them."""
        ends = np.array([one.head.x_start + one.head.x_step for one in results
                         if one.head is not None])
        return Result(np.stack([one.values for one in results]),
                      (Axis("time", ends, "s"), *results[0].axes), "", self._name)

    def __call__(self, *inputs: Input, fs: float | None = None, start: float = 0.0,
                 unit: str = "") -> Result:
        """One run over one data block.

        Parameters
        ----------
        *inputs : array_like or Result
            The pressure signal in Pa, (samples,) or (samples, channels).
        fs, start, unit
            As for `start`.

        Returns
        -------
        Result
            (time, quantity) or (time, quantity, channel): times are the ends of the intervals.

        Raises
        ------
        InputError
            For an array or rate that makes no sense, and for settings that do not fit the rate.
        BlockError
            When the block reports an error, and when the signal fills no interval.
        """
        results = list(self.stream(*([one] for one in inputs), fs=fs, start=start, unit=unit))
        if not results:
            raise BlockError("Level: the signal fills no interval; a higher rate has shorter ones")
        return self._joined(results)


BLOCKS: tuple[type[Block], ...] = (Classification, Bands, Statistics, Average, Spectrum,
                                   InverseSpectrum, DualSpectrum, Filter, Weighting, Level)
