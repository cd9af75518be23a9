"""One long recording on many cores: data blocks of a Dask array through a block without memory.

Which blocks that is, each says itself (`Block.stateless`): spectra and their inverse, bands, statistics
without the total sum, spectra of two signals without averages. Filters, weightings, levels, averages and
classes carry something from one data block to the next, so that a data block in the middle means nothing
without those before it; they are refused. Many recordings go through all blocks: see `vynpack.batch`.
"""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np
import numpy.typing as npt

from .blocks import Block
from .errors import InputError
from .result import optional

if TYPE_CHECKING:
    from dask.array.core import Array


def map_blocks(block: Block, *signals: Array, fs: float, samples: int,
               start: float = 0.0) -> Array:
    """What a block makes of every data block of a long signal, computed when it is asked for.

    Parameters
    ----------
    block : Block
        With ``block.stateless``.
    *signals : dask.array.Array
        One per input, (samples,) or (samples, channels), all of one length. They are cut into whole data
        blocks; samples behind the last whole one are left out.
    fs : float
        Sample rate in Hz.
    samples : int
        Samples of a data block.
    start : float
        Time of the first sample in s.

    Returns
    -------
    dask.array.Array
        (data blocks, lines) or (data blocks, lines, channels), and quantities in the place of lines for
        statistics: the bits of ``block.stream`` over the same data blocks. Their axis is that of one
        data block, ``block(x[:samples].compute(), fs=fs).axes``.

    Raises
    ------
    InputError
        For a block that carries something from one data block to the next, and for a signal shorter
        than a data block.
    MissingPackage
        Without dask.

    Examples
    --------
    >>> import numpy as np, dask.array, vynpack as vp, vynpack.dask
    >>> x = dask.array.from_array(np.ones(10000, np.float32), chunks=3000)
    >>> rms = vynpack.dask.map_blocks(vp.Statistics(measures="rms"), x, fs=1000, samples=1000)
    >>> rms.shape, float(rms.compute().max())
    ((10, 1), 1.0)
    """
    array = optional("dask.array", "map_blocks")
    name = type(block).__name__
    if not block.stateless:
        raise InputError(f"{name} carries something from one data block to the next; stream the signal, or "
                         "analyse many recordings at once with batch")
    if len({x.shape for x in signals}) != 1:
        raise InputError("the signals have the shapes " + (", ".join(str(x.shape) for x in signals) or "of none")
                         + "; allowed is one shape for all")
    shape = signals[0].shape
    if len(shape) not in (1, 2):
        raise InputError(f"an array of {len(shape)} dimensions; allowed is (samples,) or (samples, channels)")
    if not 1 <= samples <= shape[0]:
        raise InputError(f"samples is {samples}, allowed is 1 to the signal's {shape[0]}")
    count = shape[0] // samples
    together = max(1, round(max(signals[0].chunks[0]) / samples))  # data blocks of a chunk
    whole = [x[:count * samples].rechunk({axis: together * samples if axis == 0 else -1 for axis in range(x.ndim)})
             for x in signals]
    silence = np.zeros((samples, *shape[1:]), np.float32)
    one = _in_turn([silence] * len(signals), block, fs, samples, start, 0)
    chunks = (tuple(length // samples for length in whole[0].chunks[0]), *((length,) for length in one.shape[1:]))
    mapped: Array = array.map_blocks(
        _piece, *whole, block=block, fs=fs, samples=samples, start=start, new_axis=[1], chunks=chunks,
        dtype=one.dtype, meta=one[:0])
    return mapped


def _piece(*values: npt.NDArray[Any], block: Block, fs: float, samples: int, start: float,
           block_info: Any = None) -> npt.NDArray[Any]:
    return _in_turn(list(values), block, fs, samples, start, int(block_info[0]["array-location"][0][0]))


def _in_turn(values: list[npt.NDArray[Any]], block: Block, fs: float, samples: int, start: float,
             first: int) -> npt.NDArray[Any]:
    """A chunk's data blocks behind one another; its first sample is number `first` of the signal."""
    own = type(block)(record=block.record)  # threads have one each
    own.start(fs, start=start, wired=range(len(values)))
    own._position = first
    try:
        results = [own.feed(*(x[at:at + samples] for x in values)) for at in range(0, len(values[0]), samples)]
        return np.stack([result[0].values for result in results])
    finally:
        own.stop()
