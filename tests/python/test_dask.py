"""More than one machine: a cluster of two processes, and data blocks of a long signal."""

import os
import sys

import numpy as np
import pytest
import scipy.io.wavfile
import vynpack as vp
from test_batch import DIAGRAM, FS, rows_of

dask = pytest.importorskip("dask")
pytest.importorskip("dask.array")
distributed = pytest.importorskip("distributed")

# In every process of the cluster: the first one that opens a recording is killed, the marker lets the
# next one pass; a recording called "deadly" kills whoever opens it.
KILLS = """
import os, signal, sys
if "distributed" in sys.modules or os.environ.get("VYN_TEST_MARKER"):
    import vynpack.diagram as d
    run = d.Diagram.run
    def killed(self, **recordings):
        if recordings["x"].name == "deadly.wav":
            os.kill(os.getpid(), signal.SIGKILL)
        try:
            os.close(os.open(os.environ["VYN_TEST_MARKER"], os.O_CREAT | os.O_EXCL))
        except FileExistsError:
            return run(self, **recordings)
        os.kill(os.getpid(), signal.SIGKILL)
    d.Diagram.run = killed
"""


@pytest.fixture(scope="module")
def cluster(tmp_path_factory):
    """A client of two processes with one thread each, and the marker of the killed one."""
    folder = tmp_path_factory.mktemp("cluster")
    (folder / "sitecustomize.py").write_text(KILLS)
    marker = folder / "killed"
    with pytest.MonkeyPatch.context() as patch:
        patch.setenv("PYTHONPATH", os.pathsep.join([str(folder), *sys.path]))
        patch.setenv("VYN_TEST_MARKER", str(marker))
        with dask.config.set({"distributed.scheduler.allowed-failures": 1}), distributed.LocalCluster(
                n_workers=2, threads_per_worker=1, dashboard_address=None, local_directory=str(folder)) as both:
            with distributed.Client(both) as client:
                yield client, marker


def test_a_killed_worker_loses_nothing_and_the_table_has_the_bytes_of_one_process(cluster, tmp_path, noise):
    client, marker = cluster
    files = [tmp_path / f"{i}.wav" for i in range(8)]
    for i, file in enumerate(files):
        scipy.io.wavfile.write(file, FS, noise(3000, seed=i))
    files.insert(3, tmp_path / "missing.wav")
    (tmp_path / "d.toml").write_text(DIAGRAM)
    vp.batch(files, tmp_path / "d.toml", out=tmp_path / "one.csv")
    summary = vp.batch(files[:6], tmp_path / "d.toml", out=tmp_path / "two.csv", client=client)
    assert marker.exists(), "nobody was killed"
    assert (summary.done, summary.failed) == (5, 1)
    summary = vp.batch(files, tmp_path / "d.toml", out=tmp_path / "two.csv", client=client)
    assert (summary.done, summary.skipped) == (3, 6)
    assert (tmp_path / "one.csv").read_bytes() == (tmp_path / "two.csv").read_bytes()

    deadly = tmp_path / "deadly.wav"
    scipy.io.wavfile.write(deadly, FS, noise(3000))
    summary = vp.batch([deadly, *files[:3]], tmp_path / "d.toml", out=tmp_path / "three.csv", client=client)
    assert (summary.done, summary.failed) == (3, 1)
    assert [row["error"] for row in rows_of(summary.table) if row["error"]] == [
        "the worker that analysed it has ended, again and again"]


def test_a_client_and_processes_of_this_machine_are_two_things(tmp_path):
    with pytest.raises(vp.InputError, match="give one of them"):
        vp.batch([], tmp_path / "d.toml", out=tmp_path / "t.csv", workers=2, client=object())


# --- Data blocks of one long signal ----------------------------------------------------------------

STATELESS = {
    "Spectrum": lambda: vp.Spectrum(amplitude="rms", window="hanning"),
    "complex Spectrum": lambda: vp.Spectrum(amplitude="realimaginaer"),
    "Statistics": lambda: vp.Statistics(measures=[m for m in vp.Statistics.MEASURES if m != "total_sum"]),
    "Weighting, linear": lambda: vp.Weighting(curve="linear"),
    "DualSpectrum": lambda: vp.DualSpectrum(quantity="transfer function", method="H0", average="no"),
    "Bands": vp.Bands,
    "InverseSpectrum": vp.InverseSpectrum,
}
STATEFUL = {
    "Statistics": lambda: vp.Statistics(measures="total_sum"),
    "Average": lambda: vp.Average(mode="moving average"),
    "Average, reduction": lambda: vp.Average(samples=7),
    "Average, data blocks": lambda: vp.Average(mode="data blocks", output="every block"),
    "Weighting": lambda: vp.Weighting(curve="A"),
    "Filter": lambda: vp.Filter(cutoff=1000.0),
    "Filter, recursive": lambda: vp.Filter(kind="IIR", characteristic="Bessel", cutoff=1000.0),
    "Classification": lambda: vp.Classification(begin=-3, end=3),
    "DualSpectrum, averaged": lambda: vp.DualSpectrum(average="arithmetic"),
    "DualSpectrum, coherence": lambda: vp.DualSpectrum(average="no", coherence=True),
    "Level": lambda: vp.Level(rate=100.0),
}


def in_one_run_and_alone(block, x):
    """What the second data block gives behind the first one, and by itself."""
    def given(data):
        if isinstance(block, (vp.Bands, vp.InverseSpectrum)):
            amplitude = "rms" if isinstance(block, vp.Bands) else "realimaginaer"
            return [vp.Spectrum(amplitude=amplitude)(data, fs=FS)]
        return [data, data[::-1]] if isinstance(block, vp.DualSpectrum) else [data]

    def all_of(results):
        return [out.values for one in results for out in (one.outputs.values() or [one])]
    both = [given(x[:1024]), given(x[1024:])]
    runs = list(block.stream(*zip(*both), fs=FS))
    return all_of(runs[len(runs) // 2:]), all_of(block.stream(*([one] for one in both[1]), fs=FS))


@pytest.mark.parametrize("name", STATELESS)
def test_a_stateless_block_gives_a_data_block_alone_what_it_gives_it_in_a_run(name, noise):
    block = STATELESS[name]()
    assert block.stateless
    if name == "Statistics":  # the times go on
        block.set(x_of_maximum=False, x_of_minimum=False, x_end=False, x_begin=False)
    run, alone = in_one_run_and_alone(block, noise(2048))
    assert len(run) == len(alone) > 0
    for one, other in zip(run, alone):
        np.testing.assert_array_equal(one, other)


@pytest.mark.parametrize("name", STATEFUL)
def test_a_block_with_memory_does_not(name, noise):
    block = STATEFUL[name]()
    assert not block.stateless
    run, alone = in_one_run_and_alone(block, noise(2048))
    assert [one.tolist() for one in run] != [one.tolist() for one in alone]


@pytest.mark.parametrize("channels", [None, 3])
@pytest.mark.parametrize("name", ["Spectrum", "complex Spectrum", "Statistics", "Weighting, linear", "DualSpectrum"])
def test_a_mapped_signal_has_the_bits_of_the_stream(name, channels, noise):
    x, y = noise(10 * 256 + 100, channels), noise(10 * 256 + 100, channels, seed=2)
    block = STATELESS[name]()
    signals = [x, y] if name == "DualSpectrum" else [x]
    mapped = vp.dask.map_blocks(block, *(dask.array.from_array(s, chunks=700) for s in signals), fs=FS, samples=256,
                                start=2.0)
    pieces = [np.split(s[:2560], 10) for s in signals]
    expected = np.stack([one.values for one in block.stream(*pieces, fs=FS, start=2.0)])
    assert mapped.shape == expected.shape and mapped.dtype == expected.dtype and mapped.npartitions > 1
    np.testing.assert_array_equal(mapped.compute(scheduler="threads"), expected)


@pytest.mark.parametrize("call, text", [
    (lambda x: vp.dask.map_blocks(vp.Filter(), x, fs=FS, samples=10), "Filter carries something from one data block"),
    (lambda x: vp.dask.map_blocks(vp.Spectrum(), x, fs=FS, samples=101), "samples is 101, allowed is 1 to the signal's 100"),
    (lambda x: vp.dask.map_blocks(vp.Spectrum(), fs=FS, samples=10), "the signals have the shapes of none"),
    (lambda x: vp.dask.map_blocks(vp.DualSpectrum(average="no"), x, x[1:], fs=FS, samples=10), "have the shapes"),
    (lambda x: vp.dask.map_blocks(vp.Spectrum(), x.reshape(10, 5, 2), fs=FS, samples=5), "an array of 3 dimensions"),
])
def test_what_cannot_be_mapped_is_refused(call, text):
    with pytest.raises(vp.InputError, match=text):
        call(dask.array.ones(100, dtype=np.float32))
