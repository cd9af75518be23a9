#!/usr/bin/python3
"""Many recordings through one diagram: how the time grows with files and with processes.

    bench/batch_table.py [FOLDER]

Recordings of noise, 48 kHz, 16 bits, one channel, written into FOLDER (default: a temporary one) first, so that
they come from memory and not from the disk. The diagram: A-weighting, levels ten times a second, third octaves.
"""

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
    made = [folder / f"{seconds}s-{i}.wav" for i in range(count)]
    for i, file in enumerate(made):
        noise = np.random.default_rng(i).standard_normal(seconds * FS)
        scipy.io.wavfile.write(file, FS, (3000 * noise).clip(-32768, 32767).astype(np.int16))
    return made


def timed(files, diagram, **how):
    table = diagram.with_name("table.csv")
    start = time.perf_counter()
    summary = vp.batch(files, diagram, out=table, **how)
    spent = time.perf_counter() - start
    assert (summary.done, summary.failed) == (len(files), 0)
    bytes_ = table.stat().st_size
    for file in (table, table.with_name("table.csv.done")):
        file.unlink()
    return spent, bytes_


def main():
    folder = Path(sys.argv[1] if len(sys.argv) > 1 else tempfile.mkdtemp(prefix="vynpack-bench-"))
    diagram = folder / "d.toml"
    diagram.write_text(DIAGRAM)
    print("| files | seconds each | processes | time | per file | times real time | table |\n|--:|--:|---|--:|--:|--:|--:|")

    def row(files, seconds, name, **how):
        spent, table = min(timed(files, diagram, **how) for _ in range(2))
        print(f"| {len(files)} | {seconds} | {name} | {spent:.2f} s | {spent / len(files) * 1e3:.0f} ms "
              f"| {len(files) * seconds / spent:.0f} | {table / 1e6:.1f} MB |", flush=True)

    for seconds, count in ((1, 64), (10, 16), (10, 32), (10, 64), (60, 8)):
        row(recordings(folder, count, seconds), seconds, "this one")
    files = recordings(folder, 64, 10)
    row(files, 10, "2", workers=2)
    try:
        import distributed
    except ImportError:
        print("without distributed: no row of a cluster")
    else:
        with distributed.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None,
                                      local_directory=str(folder)) as cluster, distributed.Client(cluster) as client:
            row(files, 10, "Dask, 2 workers", client=client)
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
