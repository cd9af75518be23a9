#!/usr/bin/python3
"""What a result file of the speed table says: the table by jobs, and the page for the docs.

    bench/speed/report.py RESULTS.csv > docs/performance.md

A result file has comment lines with the conditions ("# machine: ..."), then rows

    kind,level,job,channels,samples,candidate,precision,error,ns,ratio,low,high

of the kinds cell (one candidate in one cell: ns per data block, and for a peer the project's speed over
the peer's: median, lowest and highest over all rounds), small (ns per call), operation (ns per
multiplication or addition at the level's fastest) and memory (bytes that a run holds in ns, bytes that
2000 further blocks add in ratio).
"""
import csv
import statistics
import sys
from dataclasses import dataclass, field

CHANNELS = (1, 8, 32)
LEVELS = {"avx512": "AVX-512", "avx2": "AVX2", "baseline": "baseline (SSE2)"}


@dataclass
class Job:
    """Its gates and goals: the project's speed over the best peer's, with one channel and with more."""

    name: str
    title: str
    gates: tuple
    goals: tuple
    double: bool = False  # measured against peers in double precision
    operations: float = 0.0  # multiplications and additions per sample, where they are the work


def rounded(value: float) -> str:
    """Three digits and what stands before the point: 64.1, 377, 12647."""
    return f"{value:.0f}" if value >= 100 else f"{value:.3g}"


JOBS = [
    Job("fft", "bare transform", (1.0, 1.0), (1.4, 1.4), double=True),
    Job("spectrum", "spectrum, RMS, Hanning", (1.0, 1.0), (1.4, 1.4), double=True),
    Job("ifft", "inverse FFT", (1.0, 1.0), (1.4, 1.4), double=True),
    Job("h1coh", "H1 and coherence, averaged", (1.0, 1.0), (1.4, 1.4), double=True),
    Job("thirdoct", "third octaves", (3.0, 3.0), (6.0, 12.0)),
    Job("stats21", "21 statistics", (2.0, 2.0), (5.0, 10.0)),
    Job("mavg7", "moving average over 7", (1.4, 1.4), (2.5, 2.0)),
    Job("reduce10", "reduction by 10", (1.2, 1.2), (2.0, 5.0)),
    Job("blockavg", "average of data blocks", (1.0, 1.0), (1.4, 1.4)),
    Job("fir25", "FIR, 25 taps", (2.0, 2.0), (5.0, 5.0), operations=38),
    Job("fir255", "FIR, 255 taps", (1.0, 1.0), (1.5, 1.5), double=True),
    Job("iir2", "IIR, order 2", (1.0, 1.0), (2.7, 2.5), operations=14.5),
    Job("iir8", "IIR, order 8", (1.5, 1.5), (2.5, 4.0), operations=55),
    Job("aweight", "A-weighting", (1.5, 1.5), (2.5, 4.0), operations=42),
    Job("level", "level, 18 quantities", (4.0, 4.0), (4.5, 20.0)),
    Job("hist20", "classes: samples", (1.5, 1.5), (2.5, 3.0)),
    Job("dwell20", "classes: dwell time", (1.2, 1.2), (3.0, 3.0)),
    Job("cross20", "classes: crossings", (5.0, 5.0), (10.0, 10.0)),
    Job("peaks20", "classes: peaks", (1.2, 2.0), (1.8, 3.0)),
]
BY_NAME = {job.name: job for job in JOBS}


@dataclass
class Peer:
    name: str
    single: bool
    ns: float
    ratio: float
    low: float
    high: float


@dataclass
class Cell:
    """One shape of a job at one level."""

    ns: float = 0.0
    peers: list = field(default_factory=list)

    def best(self, double):
        """The fastest peer, or the fastest in double precision."""
        peers = [p for p in self.peers if not (double and p.single)]
        return min(peers, key=lambda p: p.ns, default=None)


class Results:
    def __init__(self, path):
        self.conditions, self.cells, self.small, self.memory, self.operation = {}, {}, {}, {}, {}
        with open(path, encoding="utf-8") as file:
            lines = file.read().splitlines()
        for line in lines:
            if line.startswith("# "):
                key, _, value = line[2:].partition(": ")
                self.conditions[key] = value
        for row in csv.DictReader(line for line in lines if not line.startswith("#")):
            self._take(row)

    def _take(self, row):
        level, job = row["level"], row["job"]
        channels, samples, ns = int(row["channels"]), int(row["samples"]), float(row["ns"])
        if row["kind"] == "small":
            self.small[level, job, samples] = ns
        elif row["kind"] == "operation":
            self.operation[level] = ns
        elif row["kind"] == "memory":
            self.memory[level, job, channels] = ns, float(row["ratio"])
        else:
            cell = self.cells.setdefault((level, job, channels, samples), Cell())
            if row["candidate"] == "project":
                cell.ns = ns
            else:
                cell.peers.append(Peer(row["candidate"], row["precision"] == "single", ns,
                                       float(row["ratio"]), float(row["low"]), float(row["high"])))

    def levels(self):
        measured = {key[0] for key in self.cells}
        return [level for level in LEVELS if level in measured]


@dataclass
class Line:
    """A job at one level, with one channel or with more."""

    job: Job
    group: int  # 0: one channel, 1: more
    channels: int  # of the shown cell
    samples: int
    cell: Cell
    best: Peer
    any_best: Peer  # in single precision too
    ratios: list
    verdict: str

    @property
    def gate(self):
        return self.job.gates[self.group]

    @property
    def goal(self):
        return self.job.goals[self.group]

    @property
    def median(self):
        return statistics.median(self.ratios)

    def speed(self, ns):
        """In million samples per second over all channels."""
        return self.channels * self.samples / ns * 1e3

    @property
    def holding(self):
        return sum(ratio >= self.gate for ratio in self.ratios)


def lines_of(results, level):
    """The table of a level, job by job."""
    lines = []
    for job in JOBS:
        for group, members in enumerate(((1,), (8, 32))):
            cells = {key[2:]: cell for key, cell in results.cells.items()
                     if key[:2] == (level, job.name) and key[2] in members and cell.best(job.double)}
            if not cells:
                continue
            # Of the cells the one is shown whose length is nearest to 4096.
            channels, samples = min(cells, key=lambda key: (key[0], abs(key[1] - 4096)))
            cell = cells[channels, samples]
            ratios = [c.best(job.double).ratio for c in cells.values()]
            verdict = "below"
            if min(ratios) >= job.gates[group]:
                verdict = "goal" if statistics.median(ratios) >= job.goals[group] else "gate"
            lines.append(Line(job, group, channels, samples, cell, cell.best(job.double), cell.best(False),
                              ratios, verdict))
    return lines


def ratio_text(line):
    text = f"{line.best.ratio:.2f}"
    if line.job.double:
        text += f" ({line.any_best.ratio:.2f})"
    return text


def print_table(results, level, out=sys.stdout):
    lines = lines_of(results, level)
    print(f"\n{LEVELS[level]}", file=out)
    print(f"{'job':10} {'C':>2} {'N':>6}  {'best peer':18} {'Ms/s':>7} {'project':>8} {'ratio':>12} "
          f"{'spread':>12}  {'cells':>12}  {'gate':>5} {'goal':>5}  verdict", file=out)
    for line in lines:
        spread = f"{line.best.low:.2f}..{line.best.high:.2f}"
        cells = f"{line.median:.2f}, {min(line.ratios):.2f}"
        print(f"{line.job.name:10} {line.channels:2} {line.samples:6}  {line.best.name:18} "
              f"{line.speed(line.best.ns):7.1f} {line.speed(line.cell.ns):8.1f} {ratio_text(line):>12} "
              f"{spread:>12}  {cells:>12}  {line.gate:5.1f} {line.goal:5.1f}  {line.verdict}", file=out)
    print(summary(lines), file=out)


def summary(lines):
    cells = sum(len(line.ratios) for line in lines)
    holding = sum(line.holding for line in lines)
    goals = sum(line.median >= line.goal for line in lines)
    return f"{holding} of {cells} cells hold their gate, {goals} of {len(lines)} goals are met."


# --- the page ----------------------------------------------------------------------------------------


def page(results):
    levels = results.levels()
    conditions = results.conditions
    yield "# Performance\n"
    yield ("How fast the blocks are beside the best that does the same whole job: data block in to data block out,\n"
           "through the module's exports, every result compared with the project's. The ratio is the project's\n"
           "speed over the fastest peer's in the same run, above 1 the project is faster. This page is made by\n"
           "`bench/speed/report.py` from a result file of `bench/run`.\n")
    yield f"Measured on {conditions['machine']}, {conditions['date']}, revision {conditions['revision']}: " + (
        f"{conditions['method']}.\n")

    yield "## Ratios at a glance\n"
    yield ("Medians over all cells (1 channel / 8 and 32 channels, "
           f"{conditions['samples']} samples per channel). **Bold**: no cell is below its gate.\n")
    yield "| job | gate | goal | " + " | ".join(LEVELS[level] for level in levels) + " |"
    yield "|---|--:|--:|" + "--:|" * len(levels)
    tables = {level: {(line.job.name, line.group): line for line in lines_of(results, level)}
              for level in levels}
    for job in JOBS:
        shown = []
        for level in levels:
            pair = [tables[level].get((job.name, group)) for group in (0, 1)]
            shown.append(" / ".join("–" if line is None else
                                    f"**{line.median:.2f}**" if line.verdict != "below" else
                                    f"{line.median:.2f}" for line in pair))
        yield f"| {job.title}{' (d)' if job.double else ''} | {both(job.gates)} | {both(job.goals)} | " + (
            " | ".join(shown) + " |")
    yield ""
    for level in levels:
        yield f"- {LEVELS[level]}: {summary(list(tables[level].values()))}"
    yield ("\n(d): against peers in double precision, as the blocks compute; in brackets below against those in\n"
           "single precision as well.\n")

    for level in levels:
        yield f"## {LEVELS[level]}\n"
        yield ("The first columns show 1 and 8 channels of 4096 samples: million samples per second over all channels,\n"
               "the ratio and its lowest and highest value over all rounds; \"cells\" the median and the lowest ratio\n"
               "of all lengths, with 1 channel, or with 8 and 32.\n")
        yield "| job | C | ratio | spread | cells | best peer | its Ms/s | project | gate | goal | |"
        yield "|---|--:|--:|--:|--:|---|--:|--:|--:|--:|---|"
        for line in tables[level].values():
            yield (f"| {line.job.title} | {line.channels} | {ratio_text(line)} | {line.best.low:.2f}–"
                   f"{line.best.high:.2f} | {line.median:.2f}, {min(line.ratios):.2f} | {line.best.name} | "
                   f"{rounded(line.speed(line.best.ns))} | {rounded(line.speed(line.cell.ns))} | {line.gate:g} | "
                   f"{line.goal:g} | {line.verdict} |")
        yield ""

    yield from small_blocks(results, levels)
    yield from below_gates(results, levels)
    yield from memory_of_runs(results, levels)
    yield METHOD


def both(pair):
    return f"{pair[0]:g}" if pair[0] == pair[1] else f"{pair[0]:g} / {pair[1]:g}"


def small_blocks(results, levels):
    lengths = sorted({key[2] for key in results.small if key[2]})
    yield "## Small blocks\n"
    yield ("Nanoseconds per `Simulation` call, one channel, " + " / ".join(map(str, lengths)) +
           " samples. A call that finds nothing at its inputs takes " +
           ", ".join(f"{results.small[level, 'idle', 0]:.0f} ns ({LEVELS[level]})" for level in levels
                     if (level, "idle", 0) in results.small) + ".\n")
    yield "| job | " + " | ".join(LEVELS[level] for level in levels) + " |"
    yield "|---|" + "--:|" * len(levels)
    for job in JOBS[1:]:
        yield f"| {job.title} | " + " | ".join(
            " / ".join(f"{results.small[level, job.name, n]:.0f}" for n in lengths
                       if (level, job.name, n) in results.small) for level in levels) + " |"
    yield ""


def below_gates(results, levels):
    """Every cell below its gate, by what forbids more."""
    yield "## Cells below their gates\n"
    yield BELOW_INTRODUCTION
    operations = ", ".join(f"{1 / results.operation[level]:.1f} ({LEVELS[level]})" for level in levels
                           if level in results.operation)
    if operations:
        yield f"Multiplications and additions of doubles per nanosecond, measured in the same run: {operations}.\n"
    yield "| job | " + " | ".join(f"{LEVELS[level]}: below, calls, operations, rest" for level in levels) + " |"
    yield "|---|" + "---|" * len(levels)
    for job in JOBS:
        shown = [below_of(results, level, job) for level in levels]
        if any(shown):
            yield f"| {job.title} | " + " | ".join(shown) + " |"
    yield ""
    yield BELOW_REASONS


def below_of(results, level, job):
    """What a job has below its gates at a level: "5: 1, 3, 1 (0.93)"; the rest with its lowest share."""
    calls = operations = 0
    rest = []
    for (at, name, channels, samples), cell in results.cells.items():
        best = cell.best(job.double) if (at, name) == (level, job.name) else None
        gate = job.gates[0 if channels == 1 else 1]
        if best is None or best.ratio >= gate:
            continue
        allowed = best.ns / gate
        if channels == 1 and results.small.get((level, name, 16), 0.0) > allowed:
            calls += 1
        elif job.operations * results.operation.get(level, 0.0) * channels * samples > allowed:
            operations += 1
        else:
            rest.append(best.ratio / gate)
    if not calls + operations + len(rest):
        return ""
    return f"{calls + operations + len(rest)}: {calls}, {operations}, {len(rest)}" + (
        f" ({min(rest):.2f})" if rest else "")


def memory_of_runs(results, levels):
    yield "## Memory of a run\n"
    yield (f"KiB that a block holds in a run at {LEVELS[levels[0]]}, data blocks of 4096 samples, without the data\n"
           "blocks themselves; 2000 further data blocks add nothing unless it is said.\n")
    yield "| job | 1 channel | 8 channels |"
    yield "|---|--:|--:|"
    for job in JOBS[1:]:
        shown = []
        for channels in (1, 8):
            held, grown = results.memory.get((levels[0], job.name, channels), (None, 0))
            shown.append("–" if held is None else f"{held / 1024:.0f}" +
                         (f" (+{grown / 1024:.0f})" if grown >= 512 else ""))
        yield f"| {job.title} | " + " | ".join(shown) + " |"
    yield ""


BELOW_INTRODUCTION = """How many cells of a job are below the gate, and why. *Calls*: the gate leaves less time than the module's
call takes with 16 samples in the block (the table above); the peers are loops that are called directly.
*Operations*: it leaves less than the job's multiplications and additions take at the fastest that this machine has
for them. *Rest*: what neither forbids; in brackets the lowest share of the gate that is reached.
"""

BELOW_REASONS = """- **Operations.** Results have the same bits at every level, also at the one that has no fused multiply-adds; so nothing is
  fused, and single precision, which has twice as many lanes, is no way either: rtfilter and the plain loops use both.
  A FIR filter of 25 taps takes 38 operations per sample, pairs of samples being added first; a section of a recursive
  filter 13.5 to 14.75, since halves of groups of eight samples are made from the state before them (direct forms take
  9, and lose digits near z = 1).
- **Transforms.** FFTW's measured plans take 917, 4587 and 22857 vector operations for 256, 1024 and 4096 samples at
  AVX2 (its own count), the project's 982, 4986 and 24218, none of them fused. At AVX-512 FFTW stays with AVX, and the
  project has twice as wide registers; at the baseline FFTW is held to SSE2. The library's transforms work in place: in
  the bare transform every channel's samples are copied first, which is a sixth of the time with 32 channels of 4096
  samples (189 us with it, 158 without; FFTW takes 164): the results of all channels and their samples are 2.5 MB then,
  and 2 MB for FFTW, as large as the second cache.
- **Blocks of 256 samples, one channel.** What a peer computes in 40 to 300 ns leaves little for a call, in which
  module and host hand each other data blocks: 42 to 52 ns with next to nothing to compute (average of data blocks, 16
  samples, AVX2). The parts alone, AVX2: RMS spectrum 30 ns for the window, 153 for the transform, 67 for 129 roots,
  half of them made beside the unit that roots, which is 250 without any call; the gate leaves 266 to 284. Inverse FFT
  26 ns for the lines, 162 for the transform, 25 for the samples; the gate leaves 30 to 45 for the call. Moving average
  73 ns for the sums alone; the gate leaves 124 to 126 for everything. FIR filters of 255 taps take a pair of transforms
  of 512 for any block up to their length: 677 ns, 40 for the product of the lines, 100 for conversions; sums would
  change bits. Level: each sample waits for a subtraction, a multiplication and an addition, eight cycles.
- **Recursive filters, 32 channels.** Order 8 takes 56 operations per sample, A-weighting 42.25. The kernel makes 36 to 37
  of them per nanosecond at AVX2 (4096 samples), as many as a loop of ten sums with weights from memory does (37 to 40).
  16384 samples of 32 channels exceed the second cache: fetching ahead gained nothing.
- **FIR, 25 taps, 32 channels.** The sums take the time of 41 to 46 operations per output where 38 are needed; 13 %
  of the call convert samples to doubles, mostly waiting for the second cache. Longer stretches of samples (they
  leave the nearest cache) and fetching ahead made it slower by 3 to 6 %. Samples and outputs of 32 channels of 65536 are
  16 MB, beyond the second cache: 1.71 ns per output there, 1.26 with 4096 (AVX2).
- **Classes: samples, 8 and 32 channels.** One cell's rounds scatter from 1.33 to 2.02 (8 channels of 1024, AVX2), from
  one start of the program to the next; it is not known what decides.
- **Average of data blocks.** Two values are read and two written per sample, by the peer as well. Up to 4096 values
  the unit that divides is the bound, which takes every other register only; beyond them reading and writing is: the
  same loop took 0.12 instead of 0.17 ns per sample of 4096 and 0.17 instead of 0.16 of 16384 (tried 2026-11-22, AVX2).
  What is left below the gate there is the call.
- **Moving average.** Windows are summed by doubling, four additions per value instead of seven, in one order at all levels.
  One channel, AVX2: a register of four means takes three conversions, four and a half additions, a turn, and narrowing
  and dividing: 1.03 ns measured, 1.07 for the same instructions without any dependence (quotients not yet by twos).
  AVX-512 gains little there: twice as many lanes, two units instead of three, and four turns. At the baseline a
  register of two means takes eleven operations on three units, 3.7 cycles of 4.5 measured.
- **Baseline.** rtfilter uses four singles at this level, the project two doubles. Roots and quotients bind spectra and H1:
  averages are divided by their count, which the peer's sums are not. For third octaves, statistics and reduction the other peers' loops make the same sums in the same order with the same instructions;
  tried there without gain: quotients of four at once.
"""

METHOD = """## How it is measured

- **Cells.** Every job with 1, 8 and 32 channels and data blocks of several lengths. The module runs under the smallest
  host that its interface allows, which hands out the same memory again and again, so that no allocator is measured.
  Everything between the waiting input block and the finished output block counts.
- **Peers** do the same whole job from the same interleaved single-precision values to the same results, with their state
  from block to block: FFTW (measured plans; the window is scaled once, so that one multiplication, one transform and one
  conversion remain; channels are moved in tiles of eight), liquid-dsp, rtfilter, GSL, numpy, scipy, bottleneck, numba
  (compiled once, then warm), and plain C++ loops as one would write them down, compiled by the same compiler for the
  level (`-march=x86-64`, `x86-64-v3`, `x86-64-v4`), fused multiply-adds allowed. All are Debian's packages. FFTW,
  numpy and numba are held to the level at the baseline; GSL, liquid-dsp and rtfilter choose their own instructions.
- **Correct** is a peer whose results differ from the project's by no more than 2·10⁻⁶ of the largest value (of each
  value, where they are no signal: statistics, bands, levels), in single precision 10⁻³; a peer that does not agree in a
  cell is not counted there.
- **Time** is processor time. Within a cell project and peers take turns: project, peer, peer, …, project, …; a peer is
  held against the mean of the project's times before and after it. Medians over all rounds of all runs; the best peer
  is the one with the smallest median. Spread: the lowest and highest ratio of all rounds.
  Before the project's turn the x87 unit is put back as unused: GSL uses it, a 64-bit host does not, and the module
  would spend 16 ns per call on preserving it.
- **Levels.** `VYNPACK_KERNELS` tells the module which of its kernels to use; results are the same at all of them.

To measure again: `bench/run` (everything at the machine's level), `bench/run JOB`, `bench/run --quick` (below three
minutes), `bench/run --level all` (all three levels, for this page). Kernels on their own: `bench/blocks`.
"""


def main():
    print("\n".join(page(Results(sys.argv[1]))), end="")


if __name__ == "__main__":
    main()
