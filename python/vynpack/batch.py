"""Many recordings through one diagram: one after the other, or in several processes."""

from __future__ import annotations

import csv
import hashlib
import io
import itertools
import json
import multiprocessing
import os
import re
from collections import deque
from collections.abc import Iterable, Iterator
from concurrent.futures import Future, ProcessPoolExecutor
from concurrent.futures.process import BrokenProcessPool
from dataclasses import dataclass
from pathlib import Path
from typing import Any

import numpy as np

from .diagram import Diagram
from .errors import InputError, VynpackError
from .result import Result

_COLUMNS = ("file", "sink", "connector", "block", "x", "quantity", "channel", "value", "unit", "error")
_TRIES = 2  # alone, of a recording whose process has ended


@dataclass(frozen=True)
class BatchSummary:
    """What a batch has done.

    Attributes
    ----------
    done, skipped, failed : int
        Recordings that were analysed, that the table had already, that have an error as their row.
    table : Path
        The table.
    """

    done: int
    skipped: int
    failed: int
    table: Path


def batch(files: Iterable[str | os.PathLike[str]], diagram: str | os.PathLike[str], *,
          out: str | os.PathLike[str], source: str | None = None, workers: int = 0) -> BatchSummary:
    """Runs a diagram over many recordings and writes one table of what comes to its sinks.

    Parameters
    ----------
    files : iterable of path
        The recordings.
    diagram : path
        A diagram file.
    out : path
        The table, CSV: a row per value, with file, sink, connector, block, x, quantity, channel, value and
        unit; a recording that fails is one row with its error. Rows stand in the order of `files`, whatever
        the number of workers. Beside it lies ``OUT.done``, by which a later call goes on where this one
        ended: a recording of the same name and bytes is not run again.
    source : str, optional
        The source whose file is replaced; not needed where the diagram has one source.
    workers : int
        Processes; 0 runs in this one. A script that asks for processes needs the usual
        ``if __name__ == "__main__":``.

    Returns
    -------
    BatchSummary

    Raises
    ------
    InputError
        For a table that no batch, or one with another diagram, has written, and for a recording that has
        changed since its rows were written.
    """
    if workers < 0:
        raise InputError(f"workers is {workers}, allowed is 0 or more")
    file = Path(diagram)
    Diagram(file)  # it is there
    name = source if source is not None else _only_source(file)
    table = _Table(Path(out), _digest(str(file)))
    done = failed = 0
    with table:
        todo = (job for job in map(_job, files) if not table.holds(*job))
        analysed = _one_by_one(todo, file, name) if workers == 0 else _in_processes(todo, file, name, workers)
        for (recording, digest), (rows, error) in analysed:
            table.add(recording, digest, rows)
            done, failed = done + (not error), failed + error
    return BatchSummary(done, table.skipped, failed, table.path)


def _only_source(file: Path) -> str:
    names = re.findall(r"^\s*\[\s*source\.([A-Za-z0-9_-]+)\s*\]", file.read_text(encoding="utf-8"), re.M)
    if len(names) != 1:
        raise InputError(f"{file}: has the sources {', '.join(names) or 'none'}; say which one by source=")
    return str(names[0])


def _digest(recording: str) -> str:
    """SHA-256 of the bytes; empty where the file cannot be read."""
    digest = hashlib.sha256()
    try:
        with open(recording, "rb") as file:
            while piece := file.read(1 << 20):
                digest.update(piece)
    except OSError:
        return ""
    return digest.hexdigest()


_Job = tuple[str, str]  # recording, digest
_Rows = tuple[str, bool]  # as the table has them, whether they are an error


def _job(recording: str | os.PathLike[str]) -> _Job:
    return str(recording), _digest(str(recording))


class _Table:
    """The table and the list of what it holds; a recording's rows are in both or in none."""

    def __init__(self, path: Path, diagram: str) -> None:
        self.path, self.skipped = path, 0
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
        if not path.exists() or path.stat().st_size < self._end:
            raise InputError(f"{path}: is shorter than its list {self._list_path} says")

    def __enter__(self) -> _Table:
        self._file = open(self.path, "a+b")
        self._list = open(self._list_path, "ab")
        self._list.truncate(self._list_end)
        self._file.truncate(self._end)  # rows of a recording that was not finished
        if self._end == 0:
            self._file.write((",".join(_COLUMNS) + "\n").encode())
        return self

    def __exit__(self, *_: object) -> None:
        self._file.close()
        self._list.close()

    def holds(self, recording: str, digest: str) -> bool:
        if recording not in self._held:
            return False
        if self._held[recording] != digest:
            raise InputError(f"{recording}: has changed since its rows in {self.path} were written")
        self.skipped += 1
        return True

    def add(self, recording: str, digest: str, rows: str) -> None:
        self._file.write(rows.encode())
        self._file.flush()
        entry = {"file": recording, "digest": digest, "diagram": self._diagram, "end": self._file.tell()}
        self._list.write(json.dumps(entry).encode() + b"\n")
        self._list.flush()
        self._held[recording] = digest


def _one_by_one(jobs: Iterator[_Job], diagram: Path, source: str) -> Iterator[tuple[_Job, _Rows]]:
    for job in jobs:
        yield job, _analyse(job[0], str(diagram), source)


def _in_processes(jobs: Iterator[_Job], diagram: Path, source: str,
                  workers: int) -> Iterator[tuple[_Job, _Rows]]:
    """In the order of the jobs; of a process that ends nothing is lost but its time."""
    context = multiprocessing.get_context("spawn")
    left = deque(itertools.islice(jobs, 2 * workers))
    while left:
        with ProcessPoolExecutor(workers, context) as pool:
            def submit(job: _Job) -> Future[_Rows]:
                try:
                    return pool.submit(_analyse, job[0], str(diagram), source)
                except BrokenProcessPool as error:
                    broken: Future[_Rows] = Future()
                    broken.set_exception(error)
                    return broken

            running = deque((job, submit(job)) for job in left)
            left.clear()
            while running:
                job, future = running.popleft()
                try:
                    rows = future.result()
                except BrokenProcessPool:
                    left.extend((job, *(other for other, _ in running)))
                    break
                yield job, rows
                running.extend((following, submit(following)) for following in itertools.islice(jobs, 1))
        # Whose recording ended the process shows when each runs alone.
        for job in left:
            yield job, _alone(job, diagram, source, context)
        left = deque(itertools.islice(jobs, 2 * workers))


def _alone(job: _Job, diagram: Path, source: str, context: Any) -> _Rows:
    for _ in range(_TRIES):
        with ProcessPoolExecutor(1, context) as pool:
            try:
                return pool.submit(_analyse, job[0], str(diagram), source).result()
            except BrokenProcessPool:
                continue
    return _error(job[0], "the process that analysed it has ended, again and again")


def _analyse(recording: str, diagram: str, source: str) -> _Rows:
    """The table's rows of one recording; or its error, as a row."""
    text = io.StringIO()
    rows = csv.writer(text, lineterminator="\n")
    try:
        recordings: dict[str, Any] = {source: Path(recording)}
        results = Diagram(diagram).run(**recordings)
        for sink, places in results.items():
            for connector, result in places.items():
                rows.writerows(_rows_of(recording, sink, connector, result))
    except (VynpackError, OSError) as error:
        return _error(recording, str(error))
    return text.getvalue(), False


def _error(recording: str, what: str) -> _Rows:
    text = io.StringIO()
    empty = [""] * (len(_COLUMNS) - 2)
    csv.writer(text, lineterminator="\n").writerow([recording, *empty, " ".join(what.split())])
    return text.getvalue(), True


def _rows_of(recording: str, sink: str, connector: str, result: Result) -> Iterator[tuple[Any, ...]]:
    columns: dict[str, Any] = {}
    places = np.indices(result.values.shape).reshape(len(result.axes), -1)
    for axis, place in zip(result.axes, places):
        column = axis.name if axis.name in ("block", "quantity", "channel") else "x"
        columns[column] = axis.values[place].tolist()
    values = [str(value) for value in result.values.ravel()]  # the shortest that reads back the same
    none = itertools.repeat("")
    return zip(itertools.repeat(recording, len(values)), itertools.repeat(sink), itertools.repeat(connector),
               columns.get("block", none), columns.get("x", none), columns.get("quantity", none),
               columns.get("channel", none), values, itertools.repeat(result.unit), none)
