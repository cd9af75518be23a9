"""The signal-analysis blocks of VYNPACKM for numpy.

>>> import numpy as np
>>> import vynpack as vp
>>> x = np.sin(2 * np.pi * 1000 * np.arange(4096) / 48000).astype(np.float32)
>>> spectrum = vp.Spectrum(amplitude="rms", window="hanning", correction="amplitude")(x, fs=48000)
>>> spectrum
<spectrum: 2048 frequency>

The numbers are the module's own: a script, a notebook, ``vynhost`` and a measurement host get the
same ones, to the last bit.
"""

from . import dask
from .batch import BatchSummary, batch
from .blocks import (BLOCKS, OCTAVES, THIRD_OCTAVES, Average, Bands, Block, Classification,
                     DualSpectrum, Filter, InverseSpectrum, Level, Spectrum, Statistics, Weighting)
from .diagram import Diagram, DiagramResults
from .errors import BlockError, InputError, ModuleError, VynpackError
from .files import read
from .functions import (classify, filter, levels, spectrum, statistics, third_octaves, transfer,
                        weight)
from .result import Axis, MissingPackage, Result

__version__ = "4.2.0"
__all__ = ["BLOCKS", "OCTAVES", "THIRD_OCTAVES", "Average", "Axis", "Bands", "BatchSummary", "Block", "BlockError",
           "Classification", "Diagram", "DiagramResults", "DualSpectrum", "Filter", "InputError", "InverseSpectrum", "Level",
           "MissingPackage", "ModuleError", "Result", "Spectrum", "Statistics", "VynpackError",
           "Weighting", "batch", "classify", "dask", "filter", "levels", "read", "spectrum", "statistics", "third_octaves",
           "transfer", "weight"]
