"""What can go wrong; every text is one line and says what is allowed."""

from __future__ import annotations


class VynpackError(Exception):
    """Anything that this package raises by itself."""


class InputError(VynpackError, ValueError):
    """A keyword, a value or an array that the caller can mend."""


class BlockError(VynpackError, RuntimeError):
    """A block reports an error during its run; the text is the block's own."""


class ModuleError(VynpackError, RuntimeError):
    """The module or its analysis library cannot be used."""
