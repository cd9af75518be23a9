"""Many recordings through one diagram: one after the other, in processes, or on many machines."""

from __future__ import annotations

import hashlib
import itertools
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

from ._tables import row_of_error, rows_of_results, table_at
from .diagram import Diagram
from .errors import InputError, ModuleError, VynpackError
from .result import MissingPackage, optional

_TRIES = 2  # alone, of a recording whose process has ended
_AHEAD = 4  # recordings on their way per thread of a cluster


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
          out: str | os.PathLike[str], source: str | None = None, workers: int = 0,
          client: Any = None, memory: float = 1.0) -> BatchSummary:
    """Runs a diagram over many recordings and writes one table of what comes to its sinks.

    Parameters
    ----------
    files : iterable of path
        The recordings; one that is named twice runs once.
    diagram : path
        A diagram file.
    out : path
        The table: a row per value, with file, sink, connector, block, x, quantity, channel, value and
        unit; a recording that fails is one row with its error. Rows stand in the order of `files`,
        however many work on them. CSV, or, with the suffix ".parquet", a folder with a Parquet file per
        recording (packages pandas and pyarrow). Beside it lies ``OUT.done``, by which a later call goes
        on where this one ended: a recording of the same name and bytes is not run again.
    source : str, optional
        The source whose file is replaced; not needed where the diagram has one source.
    workers : int
        Processes; 0 runs in this one. A script that asks for processes needs the usual
        ``if __name__ == "__main__":``.
    client : distributed.Client, optional
        A Dask cluster in the place of `workers`. Its workers find recordings and diagram under the same
        names, and have this package; one thread each, since a process works on one recording at a time.
    memory : float
        As for `Diagram`.

    Returns
    -------
    BatchSummary

    Raises
    ------
    InputError
        For a table that no batch, or one with another diagram, has written, and for a recording that has
        changed since its rows were written.
    ModuleError
        When module or library are missing where a recording is analysed.
    MissingPackage
        For Parquet files without pandas and pyarrow, and for a client without distributed.

    Examples
    --------
    >>> import pathlib, tempfile, vynpack as vp
    >>> folder = pathlib.Path(tempfile.mkdtemp())
    >>> _ = (folder / "d.toml").write_text('[source.x]\\nfile = "x.wav"\\n[sink.s]\\nfrom = "x"\\ncsv = "s.csv"\\n')
    >>> vp.batch([folder / "none.wav"], folder / "d.toml", out=folder / "table.csv").failed
    1
    >>> (folder / "table.csv").read_text().splitlines()[0]
    'file,sink,connector,block,x,quantity,channel,value,unit,error'
    """
    if workers < 0:
        raise InputError(f"workers is {workers}, allowed is 0 or more")
    if client is not None and workers:
        raise InputError("workers are processes of this machine, a client has workers of its own; give one of them")
    file = Path(diagram)
    Diagram(file, memory=memory)  # it is there
    name = source if source is not None else _only_source(file)
    table = table_at(Path(out), _digest(str(file)))
    done = skipped = failed = 0
    with table:
        jobs = (_Job(recording, str(file), name, memory, table.form, table.held(recording))
                for recording in _once(map(str, files)))
        if client is not None:
            analysed = _on_cluster(jobs, client)
        else:
            analysed = _one_by_one(jobs) if workers == 0 else _in_processes(jobs, workers)
        for job, outcome in analysed:
            if outcome.rows is None:
                if outcome.digest != job.held:
                    raise InputError(f"{job.recording}: has changed since its rows in {table.path} were written")
                skipped += 1
                continue
            table.add(job.recording, outcome.digest, outcome.rows)
            done, failed = done + (not outcome.failed), failed + outcome.failed
    return BatchSummary(done, skipped, failed, table.path)


def _once(names: Iterable[str]) -> Iterator[str]:
    seen: set[str] = set()
    for name in names:
        if name not in seen:
            seen.add(name)
            yield name


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


# --- One recording -------------------------------------------------------------------------------

@dataclass(frozen=True)
class _Job:
    recording: str
    diagram: str
    source: str
    memory: float
    form: str
    held: str | None  # the digest of the recording whose rows the table has


@dataclass(frozen=True)
class _Outcome:
    digest: str
    rows: bytes | None = None  # none: the table has some
    failed: bool = False


def _analyse(job: _Job) -> _Outcome:
    """The table's rows of one recording, or its error as a row; where it is read, not where it is written."""
    digest = _digest(job.recording)
    if job.held is not None:
        return _Outcome(digest)
    recordings: dict[str, Any] = {job.source: Path(job.recording)}
    try:
        results = Diagram(job.diagram, memory=job.memory).run(**recordings)
        return _Outcome(digest, rows_of_results(job.form, job.recording, results))
    except (ModuleError, MissingPackage):
        raise  # it is not the recording
    except (VynpackError, OSError, MemoryError) as error:
        return _Outcome(digest, row_of_error(job.form, job.recording, str(error) or type(error).__name__), True)


def _ended(job: _Job, what: str) -> _Outcome:
    text = f"the {what} that analysed it has ended, again and again"
    return _Outcome(_digest(job.recording), row_of_error(job.form, job.recording, text), True)


# --- Many: each gives the outcomes in the order of the jobs -----------------------------------------

def _one_by_one(jobs: Iterator[_Job]) -> Iterator[tuple[_Job, _Outcome]]:
    for job in jobs:
        yield job, _analyse(job)


def _in_processes(jobs: Iterator[_Job], workers: int) -> Iterator[tuple[_Job, _Outcome]]:
    """Of a process that ends nothing is lost but its time."""
    context = multiprocessing.get_context("spawn")
    left = deque(itertools.islice(jobs, 2 * workers))
    while left:
        with ProcessPoolExecutor(workers, context) as pool:
            def submit(job: _Job) -> Future[_Outcome]:
                try:
                    return pool.submit(_analyse, job)
                except BrokenProcessPool as error:
                    broken: Future[_Outcome] = Future()
                    broken.set_exception(error)
                    return broken

            running = deque((job, submit(job)) for job in left)
            left.clear()
            while running:
                job, future = running.popleft()
                try:
                    outcome = future.result()
                except BrokenProcessPool:
                    left.extend((job, *(other for other, _ in running)))
                    break
                yield job, outcome
                running.extend((following, submit(following)) for following in itertools.islice(jobs, 1))
        # Whose recording ended the process shows when each runs alone.
        for job in left:
            yield job, _alone(job, context)
        left = deque(itertools.islice(jobs, 2 * workers))


def _alone(job: _Job, context: Any) -> _Outcome:
    for _ in range(_TRIES):
        with ProcessPoolExecutor(1, context) as pool:
            try:
                return pool.submit(_analyse, job).result()
            except BrokenProcessPool:
                continue
    return _ended(job, "process")


def _on_cluster(jobs: Iterator[_Job], client: Any) -> Iterator[tuple[_Job, _Outcome]]:
    """The scheduler runs the recordings of a lost worker again, elsewhere."""
    distributed = optional("distributed", "batch(client=...)")
    if client.asynchronous:
        raise InputError("the client is asynchronous; batch needs one that waits")
    running: deque[tuple[_Job, Any]] = deque()

    def fill() -> None:
        threads = max(1, sum(client.nthreads().values()))
        running.extend((job, client.submit(_analyse, job, pure=False))
                       for job in itertools.islice(jobs, max(0, _AHEAD * threads - len(running))))

    fill()
    try:
        while running:
            job, future = running[0]
            try:
                outcome = future.result()
            except distributed.KilledWorker:
                # The scheduler blames whatever was on workers that were lost too often; whose recording it
                # was shows when each runs alone.
                distributed.wait([other for _, other in running])
                try:
                    outcome = client.submit(_analyse, job, pure=False).result()
                except distributed.KilledWorker:
                    outcome = _ended(job, "worker")
            running.popleft()
            yield job, outcome
            del future
            fill()
    finally:
        client.cancel([future for _, future in running])
