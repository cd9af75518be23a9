"""libvynhost by ctypes: its structures, its functions, and where it is found."""

from __future__ import annotations

import ctypes as c
import os
import sys
import threading
from pathlib import Path
from typing import Any, NoReturn

from .errors import BlockError, InputError, ModuleError

INTEGER, REAL, TEXT = 1, 2, 3
_ERRORS = {2: InputError, 4: ModuleError, 5: BlockError, 6: BlockError}
_SUFFIX = ".dll" if sys.platform == "win32" else ".so"


class Setting(c.Structure):
    """A keyword and its value (vynhost_setting)."""

    _fields_ = [("keyword", c.c_char_p), ("place", c.c_char_p), ("integer", c.c_int64),
                ("real", c.c_double), ("text", c.c_char_p), ("kind", c.c_int32),
                ("reserved", c.c_int32)]


class Data(c.Structure):
    """A data block (vynhost_data)."""

    _fields_ = [("values", c.c_void_p), ("count", c.c_int64), ("x_start", c.c_double),
                ("x_step", c.c_double), ("display_minimum", c.c_double),
                ("display_span", c.c_double), ("channels", c.c_int32), ("x_kind", c.c_int32),
                ("y_unit", c.c_int32), ("flags", c.c_uint32)]


class Keyword(c.Structure):
    """What a keyword means (vynhost_keyword)."""

    _fields_ = [("name", c.c_char_p), ("says", c.c_char_p), ("unit", c.c_char_p),
                ("allowed", c.c_char_p)]


_ARGUMENTS = {
    "open": [c.c_char_p],
    "keyword_at": [c.c_char_p, c.c_int32, c.c_void_p],
    "block_new": [c.c_char_p, c.c_char_p, c.c_char_p, c.c_int64, c.c_void_p, c.c_int32, c.c_void_p],
    "block_delete": [c.c_void_p],
    "block_get": [c.c_void_p, c.c_char_p, c.c_void_p],
    "block_set": [c.c_void_p, c.c_void_p, c.c_int32],
    "block_record": [c.c_void_p, c.c_void_p, c.c_int64, c.c_void_p],
    "block_inputs": [c.c_void_p, c.c_void_p],
    "block_outputs": [c.c_void_p, c.c_void_p],
    "block_quantities": [c.c_void_p, c.c_int32, c.c_void_p],
    "block_start": [c.c_void_p, c.c_uint32],
    "block_feed": [c.c_void_p, c.c_void_p, c.c_int32, c.c_void_p, c.c_int32, c.c_void_p],
    "block_waiting": [c.c_void_p, c.c_void_p],
    "block_flow": [c.c_void_p, c.c_void_p, c.c_int64, c.c_void_p, c.c_int64, c.c_void_p, c.c_void_p],
    "block_finish": [c.c_void_p, c.c_void_p],
    "block_stop": [c.c_void_p],
    "diagram_run": [c.c_char_p, c.c_void_p, c.c_void_p, c.c_int32, c.c_int64, c.c_void_p, c.c_void_p, c.c_void_p],
}


def _folders() -> list[Path]:
    """Where libvynhost may lie, the module beside it: first the one that is asked for."""
    wanted = os.environ.get("VYNPACK_FOLDER")
    if wanted:
        return [Path(wanted).resolve()]
    here = Path(__file__).resolve().parent
    return [here / "native",  # a wheel
            here.parents[1] / "build/native/bin",  # the sources, built
            Path("/usr/lib/vynpack"), *sorted(Path("/usr/lib").glob("*/vynpack")), Path("/usr/local/lib/vynpack")]


class Library:
    """The loaded library with its module open. One per process, made at the first use."""

    _only: Library | None = None
    _lock = threading.Lock()

    def __init__(self) -> None:
        folders = _folders()
        name = "libvynhost" + _SUFFIX
        folder = next((folder for folder in folders if (folder / name).is_file()), None)
        if folder is None:
            raise ModuleError(f"{name} is in none of " + ", ".join(map(str, folders)) +
                              " (the environment variable VYNPACK_FOLDER names another folder)")
        try:
            self._library = c.CDLL(str(folder / name))
        except OSError as error:
            raise ModuleError(f"{folder / name} does not load: {error}") from error
        try:
            self._library.vynhost_error.restype = c.c_char_p
            for function, arguments in _ARGUMENTS.items():
                getattr(self._library, "vynhost_" + function).argtypes = arguments
        except AttributeError as error:
            raise ModuleError(f"{folder / name} is of another version: {error}") from error
        self.folder = folder
        self.feed = self._library.vynhost_block_feed
        self.call("open", os.fsencode(folder / ("VYNPACKM" + _SUFFIX)))

    @classmethod
    def get(cls) -> Library:
        with cls._lock:
            if cls._only is None:
                cls._only = cls()
            return cls._only

    def call(self, function: str, *arguments: Any) -> None:
        """Calls vynhost_<function>; raises what it refuses."""
        status = getattr(self._library, "vynhost_" + function)(*arguments)
        if status:
            self.fail(status)

    def fail(self, status: int) -> NoReturn:
        text = self._library.vynhost_error().decode()
        raise _ERRORS.get(status, InputError)(text)

    def text(self, function: str, *arguments: Any) -> str:
        """The text that vynhost_<function> lends by its last argument."""
        result = c.c_char_p()
        self.call(function, *arguments, c.byref(result))
        return (result.value or b"").decode()

    def keywords(self, type_code: int) -> list[dict[str, str]]:
        """The host's table of keywords of a block type."""
        rows: list[dict[str, str]] = []
        while True:
            row = Keyword()
            self.call("keyword_at", str(type_code).encode(), len(rows), c.byref(row))
            if row.name is None:
                return rows
            rows.append({field: getattr(row, field).decode() for field, _ in Keyword._fields_})


def settings_array(settings: list[tuple[str, str, Any]]) -> Any:
    """(keyword, what errors call it, value) each, as the library takes them."""
    array = (Setting * len(settings))()
    for row, (keyword, place, value) in zip(array, settings):
        row.keyword, row.place = keyword.encode(), place.encode()
        if isinstance(value, str):
            row.kind, row.text = TEXT, value.encode()
        elif isinstance(value, float):
            row.kind, row.real = REAL, value
        else:
            row.kind, row.integer = INTEGER, value
    return array
