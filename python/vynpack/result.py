"""Labelled results: values with their axes and units."""

from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass
from html import escape
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np
import numpy.typing as npt

from .errors import InputError, VynpackError

if TYPE_CHECKING:
    import matplotlib.axes
    import pandas
    import xarray


class MissingPackage(VynpackError, ImportError):
    """Something optional is asked for whose package is not installed."""


_IN_DEBIAN = {"dask", "distributed", "h5py", "matplotlib", "pandas", "soundfile", "xarray"}


def optional(module: str, what: str, package: str = "") -> Any:
    """The module, or MissingPackage with the name of what to install."""
    import importlib
    try:
        return importlib.import_module(module)
    except ImportError as error:
        package = package or module.split(".")[0]
        where = f"Debian: python3-{package}" if package in _IN_DEBIAN else f"pip install {package}"
        raise MissingPackage(f"{what} needs the package {package} ({where})") from error


@dataclass(frozen=True, eq=False)
class Axis:
    """One axis of a result.

    Attributes
    ----------
    name : str
        "time", "frequency", "band", "class", "quantity" or "channel".
    values : ndarray
        Where the values lie: numbers in `unit`, or names.
    unit : str
        "s", "Hz", ...; "" where there is none.
    """

    name: str
    values: npt.NDArray[Any]
    unit: str = ""

    @property
    def label(self) -> str:
        """The name with its unit: "time [s]"."""
        return f"{self.name} [{self.unit}]" if self.unit else self.name


class Head(NamedTuple):
    """What the head of a data block says beside the values; blocks hand it on to each other."""

    x_start: float
    x_step: float
    x_kind: int
    y_unit: int
    flags: int
    display_minimum: float
    display_span: float
    base_unit: str


class Result:
    """Values with their axes and units.

    Attributes
    ----------
    values : ndarray
        As many dimensions as there are axes. float32 as a block puts them out, complex64 where
        it puts out real and imaginary parts, float64 where means were taken in double precision.
    axes : tuple of Axis
        The first is what the values run along; "channel" is the last where the signal was given
        as (samples, channels).
    unit : str
        Unit of the values.
    name : str
        What they are.
    outputs : dict of str to Result
        All outputs of the block by the letters of its connectors, where it has more than one.
    head : Head or None
        The data block's head, with which the result can be handed to another block.
    """

    __slots__ = ("values", "_axes", "unit", "name", "outputs", "head")

    def __init__(self, values: npt.NDArray[Any], axes: tuple[Axis, ...] | Callable[[], tuple[Axis, ...]],
                 unit: str = "", name: str = "", outputs: dict[str, Result] | None = None,
                 head: Head | None = None) -> None:
        self.values, self._axes, self.unit, self.name = values, axes, unit, name
        self.outputs = {} if outputs is None else outputs
        self.head = head

    @property
    def axes(self) -> tuple[Axis, ...]:
        """What the values run along, an `Axis` per dimension."""
        if callable(self._axes):  # streams of small data blocks never look
            self._axes = self._axes()
        return self._axes

    def __getstate__(self) -> dict[str, Any]:
        return {"values": self.values, "_axes": self.axes, "unit": self.unit, "name": self.name,
                "outputs": self.outputs, "head": self.head}

    def __setstate__(self, state: dict[str, Any]) -> None:
        for name, value in state.items():
            setattr(self, name, value)

    # --- Looking at it ---
    @property
    def x(self) -> npt.NDArray[Any]:
        """The first axis' values."""
        return self.axes[0].values

    @property
    def x_unit(self) -> str:
        """The first axis' unit."""
        return self.axes[0].unit

    @property
    def phase(self) -> Result:
        """The phases in degrees, where the block puts them out."""
        return self._output("P", "phases")

    @property
    def coherence(self) -> Result:
        """The coherence from 0 to 1, where the block puts it out."""
        return self._output("K", "coherence")

    def _output(self, letter: str, what: str) -> Result:
        if letter not in self.outputs:
            raise InputError(f"the block has put out no {what}; its outputs are "
                             + (", ".join(self.outputs) or "this one alone"))
        return self.outputs[letter]

    def decibels(self, reference: float = 1.0) -> Result:
        """Levels in dB re `reference`, in the unit of amplitudes: 20 lg of amplitudes, 10 lg of powers.

        A value of 0 has the level -inf.

        Parameters
        ----------
        reference : float
            2e-5 for sound pressures in Pa.

        Returns
        -------
        Result
            float64, in dB.

        Raises
        ------
        InputError
            For levels.
        """
        if self.unit == "dB":
            raise InputError("these are levels already")
        power = self.head is not None and self.head.y_unit == 12
        ratio = np.abs(self.values).astype(float) / (reference**2 if power else reference)
        with np.errstate(divide="ignore"):
            levels = (10 if power else 20) * np.log10(ratio)
        return Result(levels, self.axes, "dB", self.name)

    def __getitem__(self, name: str) -> Any:
        """The values of one quantity, by its name.

        Examples
        --------
        >>> import vynpack as vp
        >>> float(vp.statistics([1.0, 2.0, 3.0], measures=["mean"])["mean"])
        2.0
        """
        for place, axis in enumerate(self.axes):
            if axis.name != "quantity":
                continue
            names = [str(known) for known in axis.values]
            if name in names:
                return np.take(self.values, names.index(name), axis=place)
            raise InputError(f'"{name}" is no quantity; there are ' + ", ".join(names))
        raise InputError(f'"{name}": the result has no named quantities')

    def __len__(self) -> int:
        return len(self.values)

    def __array__(self, dtype: Any = None, copy: bool | None = None) -> npt.NDArray[Any]:
        return np.array(self.values, dtype=dtype) if copy else np.asarray(self.values, dtype=dtype)

    def __repr__(self) -> str:
        shape = " × ".join(f"{len(axis.values)} {axis.name}" for axis in self.axes)
        return f"<{self._title()}: {shape}>"

    def _title(self) -> str:
        name = self.name or "values"
        return f"{name} [{self.unit}]" if self.unit else name

    # --- Into other packages ---
    def to_dataframe(self) -> pandas.DataFrame:
        """A pandas DataFrame: a row per place of the first axis, a column per channel, quantity or both.

        Complex values stay complex.

        Returns
        -------
        pandas.DataFrame

        Raises
        ------
        MissingPackage
            Without pandas.
        """
        pandas = optional("pandas", "to_dataframe")
        index = pandas.Index(self.x, name=self.axes[0].label)
        if len(self.axes) == 1:
            return pandas.DataFrame({self._title(): self.values}, index=index)
        others = [list(axis.values) for axis in self.axes[1:]]
        columns = (pandas.Index(others[0], name=self.axes[1].name) if len(others) == 1 else
                   pandas.MultiIndex.from_product(others, names=[a.name for a in self.axes[1:]]))
        return pandas.DataFrame(self.values.reshape(len(self.x), -1), index=index, columns=columns)

    def to_xarray(self) -> xarray.DataArray:
        """An xarray DataArray with the axes as coordinates; units stand in the attribute "units".

        Returns
        -------
        xarray.DataArray

        Raises
        ------
        MissingPackage
            Without xarray.
        """
        module = optional("xarray", "to_xarray")
        coordinates = {axis.name: (axis.name, axis.values, {"units": axis.unit} if axis.unit else {})
                       for axis in self.axes}
        array: xarray.DataArray = module.DataArray(self.values, dims=[axis.name for axis in self.axes],
                                coords=coordinates, name=self.name or None,
                                attrs={"units": self.unit} if self.unit else {})
        return array

    def plot(self, ax: matplotlib.axes.Axes | None = None, **style: Any) -> matplotlib.axes.Axes:
        """Draws a curve per column over the first axis with matplotlib.

        Of complex values the magnitude is drawn. Bands and quantities stand as steps.

        Parameters
        ----------
        ax : matplotlib.axes.Axes, optional
            Where; a new figure when missing.
        **style
            As matplotlib's ``plot`` takes it.

        Returns
        -------
        matplotlib.axes.Axes

        Raises
        ------
        MissingPackage
            Without matplotlib.
        """
        pyplot = optional("matplotlib.pyplot", "plot")
        if ax is None:
            ax = pyplot.subplots()[1]
        heights = np.abs(self.values) if np.iscomplexobj(self.values) else self.values
        places = self.x if self.x.dtype.kind in "fiu" and self.axes[0].name != "band" else None
        numbers = np.arange(len(self.x)) if places is None else places
        if places is None:
            style.setdefault("drawstyle", "steps-mid")
            ax.set_xticks(numbers[:: max(1, len(numbers) // 10)])
            ax.set_xticklabels([f"{x:g}" if isinstance(x, float) else str(x)  # 1000, not 1000.0
                                for x in self.x[:: max(1, len(numbers) // 10)].tolist()])
        ax.plot(numbers, heights.reshape(len(self.x), -1), **style)
        ax.set_xlabel(self.axes[0].label)
        ax.set_ylabel(self._title())
        return ax

    def _repr_html_(self) -> str:
        """A notebook's view: what it is, a sketch of the first columns, the first rows."""
        rows = len(self.x)
        heights = np.abs(self.values) if np.iscomplexobj(self.values) else self.values
        columns = np.asarray(heights, dtype=float).reshape(rows, -1)[:, :4]
        shape = " × ".join(f"{len(axis.values)} {escape(axis.label)}" for axis in self.axes)
        cells = []
        for i in range(min(rows, 5)):
            numbers = "".join(f"<td>{value:.6g}</td>" for value in columns[i])
            cells.append(f"<tr><th>{escape(str(self.x[i]))}</th>{numbers}</tr>")
        more = f"<tr><td colspan='5'>… {rows - 5} more</td></tr>" if rows > 5 else ""
        return (f"<div><b>{escape(self._title())}</b> · {shape}<br>{_sketch(columns)}"
                f"<table><tr><th>{escape(self.axes[0].label)}</th></tr>{''.join(cells)}{more}</table></div>")


def _sketch(columns: npt.NDArray[np.float64], width: int = 320, height: int = 80) -> str:
    """A small SVG of the columns; of many rows the highest of each pixel."""
    rows = len(columns)
    finite = columns[np.isfinite(columns)]
    if rows < 2 or finite.size == 0:
        return ""
    low, high = float(finite.min()), float(finite.max())
    span = high - low or 1.0
    step = max(1, rows // width)
    lines = []
    for column in columns.T:
        usable = rows // step * step
        thin = np.nan_to_num(column[:usable], nan=low, posinf=high, neginf=low).reshape(-1, step).max(axis=1)
        points = " ".join(f"{i * width / max(1, len(thin) - 1):.1f},{height - (y - low) / span * height:.1f}"
                          for i, y in enumerate(thin))
        lines.append(f'<polyline fill="none" stroke="currentColor" points="{points}"/>')
    return f'<svg width="{width}" height="{height}" viewBox="0 -2 {width} {height + 4}">{"".join(lines)}</svg>'
