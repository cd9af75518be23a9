"""The tables of a batch: what they hold, how they grow, and how a later call goes on."""

from __future__ import annotations

import csv
import io
import itertools
import json
import os
import time
from collections.abc import Iterable, Mapping
from pathlib import Path
from typing import IO, Any, ClassVar

import numpy as np

from .errors import InputError
from .result import MissingPackage, Result, optional

COLUMNS = ("file", "sink", "connector", "block", "x", "quantity", "channel", "value", "unit", "error")
_TYPES = {"block": "Int64", "x": "float64", "channel": "Int64", "value": "float64"}  # the others are texts


# --- Rows, made where a recording is analysed ------------------------------------------------------

def rows_of_results(form: str, recording: str, results: Mapping[str, Mapping[str, Result]]) -> bytes:
    """A row per value, as the table has them."""
    if form == "parquet":
        return _parquet(_columns(recording, sink, connector, result)
                        for sink, places in results.items() for connector, result in places.items())
    text = io.StringIO()
    rows = csv.writer(text, lineterminator="\n")
    for sink, places in results.items():
        for connector, result in places.items():
            columns = _columns(recording, sink, connector, result)
            # The shortest numbers that read back the same.
            columns["value"] = [str(value) for value in columns["value"]]
            count = len(columns["value"])
            rows.writerows(zip(*(columns.get(name) or itertools.repeat("", count) for name in COLUMNS)))
    return text.getvalue().encode()


def row_of_error(form: str, recording: str, what: str) -> bytes:
    """One row: the recording and why there are no values."""
    what = " ".join(what.split())
    if form == "parquet":
        return _parquet([{"file": [recording], "error": [what]}])
    text = io.StringIO()
    csv.writer(text, lineterminator="\n").writerow([recording, *[""] * (len(COLUMNS) - 2), what])
    return text.getvalue().encode()


def _columns(recording: str, sink: str, connector: str, result: Result) -> dict[str, list[Any]]:
    count = result.values.size
    columns = {"file": [recording] * count, "sink": [sink] * count, "connector": [connector] * count,
               "value": list(result.values.ravel()), "unit": [result.unit] * count}
    places = np.indices(result.values.shape).reshape(len(result.axes), -1)
    for axis, place in zip(result.axes, places):
        column = axis.name if axis.name in ("block", "quantity", "channel") else "x"
        columns[column] = axis.values[place].tolist()
    return columns


def _parquet(pieces: Iterable[dict[str, list[Any]]]) -> bytes:
    pandas = optional("pandas", "a table of Parquet files")
    columns: dict[str, list[Any]] = {name: [] for name in COLUMNS}
    for piece in pieces:
        count = len(piece["file"])
        for name in COLUMNS:
            columns[name] += piece.get(name, [None] * count)
    frame = pandas.DataFrame({name: pandas.Series(values, dtype=_TYPES.get(name, "string"))
                              for name, values in columns.items()})
    written: bytes = frame.to_parquet(index=False)
    return written


# --- Tables, kept where the batch was called -------------------------------------------------------

class Table:
    """Rows and the list of what they are of; a recording's rows are in both or in none."""

    form: ClassVar[str]

    _SECONDS = 1.0  # of work that a power cut may cost: securing takes as long as a short recording

    def __init__(self, path: Path, diagram: str) -> None:
        self.path = path
        self._unlisted: list[bytes] = []
        self._list_path = path.with_name(path.name + ".done")
        self._diagram = diagram
        self._held: dict[str, str] = {}
        self._end = self._list_end = 0
        if not self._list_path.exists():
            if path.exists():
                raise InputError(f"{path}: is there already, and no batch has written it")
            return
        for line in self._list_path.read_bytes().splitlines(keepends=True):
            if not line.endswith(b"\n"):
                break  # cut short
            try:
                entry = json.loads(line)
                self._held[entry["file"]], self._end = entry["digest"], int(entry["end"])
            except (ValueError, KeyError, TypeError) as error:
                raise InputError(f"{self._list_path}: is no list of a batch") from error
            self._list_end += len(line)
            if entry["diagram"] != diagram:
                raise InputError(f"{path}: has been written with another diagram")
        if self._there() < self._end:
            raise InputError(f"{path}: is shorter than its list {self._list_path} says")

    def __enter__(self) -> Table:
        self._list = open(self._list_path, "ab")
        self._list.truncate(self._list_end)
        self._begin()
        self._listed = time.monotonic()
        return self

    def __exit__(self, *_: object) -> None:
        self._list_them()
        self._list.close()

    def held(self, recording: str) -> str | None:
        """The digest of the recording whose rows are there."""
        return self._held.get(recording)

    def add(self, recording: str, digest: str, rows: bytes) -> None:
        self._end = self._append(rows)
        entry = {"file": recording, "digest": digest, "diagram": self._diagram, "end": self._end}
        self._unlisted.append(json.dumps(entry).encode() + b"\n")
        self._held[recording] = digest
        if time.monotonic() - self._listed >= self._SECONDS:
            self._list_them()

    def _list_them(self) -> None:
        """The rows are on the disk before the list says so."""
        if self._unlisted:
            self._secure()
            self._list.write(b"".join(self._unlisted))
            self._list.flush()
            self._unlisted.clear()
        self._listed = time.monotonic()

    def _there(self) -> int:
        """How far the rows reach."""
        raise NotImplementedError

    def _begin(self) -> None:
        """Ready for more behind the last recording that was finished."""
        raise NotImplementedError

    def _append(self, rows: bytes) -> int:
        """How far the rows reach then."""
        raise NotImplementedError

    def _secure(self) -> None:
        """What has been appended stays, whatever happens."""
        raise NotImplementedError


class CsvTable(Table):
    """One file; `end` counts bytes."""

    form = "csv"
    _file: IO[bytes]

    def _there(self) -> int:
        return self.path.stat().st_size if self.path.is_file() else -1

    def _begin(self) -> None:
        self._file = open(self.path, "a+b")
        self._file.truncate(self._end)  # rows of a recording that was not finished
        if self._end == 0:
            self._file.write((",".join(COLUMNS) + "\n").encode())

    def __exit__(self, *_: object) -> None:
        super().__exit__()
        self._file.close()

    def _append(self, rows: bytes) -> int:
        self._file.write(rows)
        self._file.flush()
        return self._file.tell()

    def _secure(self) -> None:
        os.fsync(self._file.fileno())


class ParquetTable(Table):
    """A folder with a file per recording; `end` counts files."""

    form = "parquet"

    def __init__(self, path: Path, diagram: str) -> None:
        optional("pandas", "a table of Parquet files")
        try:
            optional("pyarrow", "a table of Parquet files")
        except MissingPackage as missing:
            try:
                optional("fastparquet", "a table of Parquet files")
            except MissingPackage:
                raise missing from None
        super().__init__(path, diagram)

    def _part(self, number: int) -> Path:
        return self.path / f"part-{number:06}.parquet"

    def _there(self) -> int:
        return next(number for number in itertools.count() if not self._part(number).is_file())

    def _begin(self) -> None:
        self.path.mkdir(exist_ok=True)
        for number in itertools.takewhile(lambda n: self._part(n).is_file(), itertools.count(self._end)):
            self._part(number).unlink()  # of recordings that were not listed

    def _append(self, rows: bytes) -> int:
        self._part(self._end).write_bytes(rows)
        return self._end + 1

    def _secure(self) -> None:
        for number in range(self._end - len(self._unlisted), self._end):
            with open(self._part(number), "rb") as file:
                os.fsync(file.fileno())


def table_at(path: Path, diagram: str) -> Table:
    """By the path's suffix: .parquet is a folder of Parquet files, everything else CSV."""
    return (ParquetTable if path.suffix == ".parquet" else CsvTable)(path, diagram)
