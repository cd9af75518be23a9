#!/usr/bin/python3
"""Many recordings through one diagram: how the time grows with files and with processes.

    bench/batch_table.py [FOLDER]

Recordings of noise, 48 kHz, 16 bits, one channel, written into FOLDER (default: a temporary one) first, so that
they come from memory and not from the disk. Beside the time stands what the processors were busy with it, which other
work on the machine changes less. The diagram: A-weighting, levels ten times a second, third octaves.
"""

import os
import resource
import shutil
import sys
import tempfile
import time
from pathlib import Path

import numpy as np
import scipy.io.wavfile

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "python"))
import vynpack as vp  # noqa: E402
from vynpack.batch import _digest  # noqa: E402

FS = 48000
DIAGRAM = """
[source.x]
file = "none.wav"
block = 8192
full_scale = 20.0
unit = "Pa"
[block.weighted]
type = "Frequenzbewertung"
PkXweight = "A"
[block.level]
type = "Pegel"
PkTimeTc = "Fast"
PkFreqOut = 10.0
[block.lines]
type = "FFT"
PkAmplType = "RMS"
PkWndFct = "HANNING"
PkWndCorrectTyp = "energy"
[block.bands]
type = "Terz_Oktav_Analyse"
[wire]
"weighted.E" = "x"
"level.E" = "weighted.A"
"lines.E" = "x"
"bands.E" = "lines.S"
[sink.levels]
from = "level.A"
csv = "levels.csv"
values = ["L", "Leq", "Lmax"]
[sink.bands]
from = "bands.A"
csv = "bands.csv"
average = "power"
"""


def recordings(folder, count, seconds):
    """Eight of noise, and links to them: the host does not know that it has seen them."""
    made = [folder / f"{seconds}s-{i}.wav" for i in range(count)]
    for i, file in enumerate(made):
        if file.exists():
            continue
        if i >= 8:
            os.link(made[i % 8], file)
            continue
        noise = np.random.default_rng(i).standard_normal(seconds * FS)
        scipy.io.wavfile.write(file, FS, (3000 * noise).clip(-32768, 32767).astype(np.int16))
    return made


def processor_time():
    """Of this process and of those that it has started and that have ended, in s."""
    used = [resource.getrusage(who) for who in (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN)]
    return sum(one.ru_utime + one.ru_stime for one in used)


def timed(files, diagram, **how):
    table = diagram.with_name("table.csv")
    start, busy = time.perf_counter(), processor_time()
    summary = vp.batch(files, diagram, out=table, **how)
    spent, busy = time.perf_counter() - start, processor_time() - busy
    assert (summary.done, summary.failed) == (len(files), 0)
    bytes_ = table.stat().st_size
    for file in (table, table.with_name("table.csv.done")):
        file.unlink()
    return spent, busy, bytes_


def main():
    folder = Path(sys.argv[1] if len(sys.argv) > 1 else tempfile.mkdtemp(prefix="vynpack-bench-"))
    folder.mkdir(parents=True, exist_ok=True)
    diagram = folder / "d.toml"
    diagram.write_text(DIAGRAM)
    print("| files | seconds each | processes | time | per file | processor time per file | times real time | table |\n"
          "|--:|--:|---|--:|--:|--:|--:|--:|")

    def row(files, seconds, name, **how):
        spent, busy, table = min(timed(files, diagram, **how) for _ in range(2))
        own = "" if "client" in how else f"{busy / len(files) * 1e3:.1f} ms"
        print(f"| {len(files)} | {seconds} | {name} | {spent:.2f} s | {spent / len(files) * 1e3:.1f} ms "
              f"| {own} | {len(files) * seconds / spent:.0f} | {table / 1e6:.1f} MB |", flush=True)

    for seconds, count in ((1, 256), (10, 256), (60, 16), (60, 64), (60, 256)):
        row(recordings(folder, count, seconds), seconds, "this one")
    files = recordings(folder, 256, 60)
    row(files, 60, "2", workers=2)
    try:
        import distributed
    except ImportError:
        print("without distributed: no row of a cluster")
    else:
        with distributed.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None,
                                      local_directory=str(folder)) as cluster, distributed.Client(cluster) as client:
            row(files, 60, "Dask, 2 workers", client=client)
    start = time.perf_counter()
    for file in files:
        _digest(str(file))
    spent = time.perf_counter() - start
    size = sum(file.stat().st_size for file in files)
    print(f"\nSHA-256 of {size / 1e6:.0f} MB: {spent:.2f} s, {size / spent / 1e6:.0f} MB/s")
    if len(sys.argv) < 2:
        shutil.rmtree(folder)


if __name__ == "__main__":
    main()
