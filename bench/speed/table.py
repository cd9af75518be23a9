#!/usr/bin/python3
"""Measures the speed table: jobs times channels times lengths, project and peers in turns.

    bench/run [JOB...] [--level avx512|avx2|baseline|all] [--quick] [--out FILE]

Called by bench/run, which builds what is needed. Two processes do the work, the level's program for
the project and the peers in C and C++, and peers.py; this one says whose turn it is, keeps the results
and prints the table. Only one of them works at any time.
"""
import argparse
import datetime
import json
import os
import pathlib
import platform
import statistics
import subprocess
import sys
import tempfile

import report

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
BIN = ROOT / "build" / "bench" / "bin"

FULL = {"samples": (256, 1024, 4096, 16384, 65536), "runs": 3, "rounds": 3, "slot": 0.02}
QUICK = {"samples": (256, 4096, 16384), "runs": 1, "rounds": 3, "slot": 0.005}
SMALL = (16, 64, 256)
MEMORY_SAMPLES = 4096

# What numpy and numba may use at a level.
AVX512 = "AVX512F AVX512CD AVX512_SKX AVX512_CLX AVX512_CNL AVX512_ICL"
PYTHON_LEVEL = {
    "avx512": {},
    "avx2": {"NPY_DISABLE_CPU_FEATURES": AVX512, "NUMBA_CPU_NAME": "haswell"},
    "baseline": {"NPY_DISABLE_CPU_FEATURES": f"SSSE3 SSE41 POPCNT SSE42 AVX F16C FMA3 AVX2 {AVX512}",
                 "NUMBA_CPU_NAME": "x86-64"},
}


class Worker:
    """A process that answers each line with a line of JSON."""

    def __init__(self, command, environment):
        self.process = subprocess.Popen(command, env=os.environ | environment, text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)

    def ask(self, *words):
        print(*words, file=self.process.stdin, flush=True)
        line = self.process.stdout.readline()
        if not line:
            raise RuntimeError(f"the worker has died at: {' '.join(map(str, words))}")
        answer = json.loads(line)
        if isinstance(answer, dict) and "failed" in answer:
            raise RuntimeError(f"{' '.join(map(str, words))}: {answer['failed']}")
        return answer

    def close(self):
        self.process.stdin.close()
        self.process.wait()


class Level:
    """The workers of one instruction-set level."""

    def __init__(self, name):
        self.name = name
        self.native = Worker([BIN / f"speed_{name}"],
                             {"VYNPACK_KERNELS": name, "OVSHAREDDIR64": str(BIN)})
        self.python = Worker(["/usr/bin/python3", HERE / "peers.py"],
                             {"OMP_NUM_THREADS": "1", "OPENBLAS_NUM_THREADS": "1",
                              "PYTHONDONTWRITEBYTECODE": "1",
                              "NUMBA_CACHE_DIR": str(ROOT / "build" / "bench" / "numba"),
                              **PYTHON_LEVEL[name]})

    def close(self):
        self.native.close()
        self.python.close()

    def prepare(self, job, channels, samples):
        """The workers of all candidates that agree with the project; complains about the others."""
        with tempfile.NamedTemporaryFile() as data:
            facts = self.native.ask("cell", job, channels, samples, data.name)
            others = self.python.ask("cell", job, channels, samples, data.name, facts["blocks"],
                                     facts["inputs"], facts["values"], facts["each"])
        peers = {}
        for worker, found in ((self.native, facts["peers"]), (self.python, others["peers"])):
            for peer in found:
                if peer["agrees"]:
                    peers[peer["name"]] = worker, peer
                else:
                    print(f"\r{job} {channels} x {samples}: {peer['name']} does not agree with the project "
                          f"({peer['error']})          ", file=sys.stderr)
        return peers

    def measure(self, job, channels, samples, rounds, slot):
        """Seconds apart: a list of (project, {peer: ns}, {peer: ratio}), one for each round."""
        peers = self.prepare(job, channels, samples)
        order = list(peers)
        found = []
        before = self.native.ask("time", "project", slot)
        for turn in range(rounds):
            times = {name: peers[name][0].ask("time", name, slot)
                     for name in order[turn % max(len(order), 1):] + order[:turn % max(len(order), 1)]}
            after = self.native.ask("time", "project", slot)
            project = (before + after) / 2
            found.append((project, times, {name: ns / project for name, ns in times.items()}))
            before = after
        return found, {name: peer for name, (_, peer) in peers.items()}


class Rows:
    """What has been measured, cell by cell, over all runs."""

    def __init__(self):
        self.cells, self.facts, self.others = {}, {}, []

    def add(self, key, found, facts):
        self.cells.setdefault(key, []).extend(found)
        self.facts.setdefault(key, {}).update(facts)

    def lines(self):
        yield "kind,level,job,channels,samples,candidate,precision,error,ns,ratio,low,high"
        for key, rounds in self.cells.items():
            start = "cell," + ",".join(map(str, key))
            yield f"{start},project,double,0,{statistics.median(r[0] for r in rounds):.5g},1,1,1"
            for name, facts in self.facts[key].items():
                ns = [r[1][name] for r in rounds if name in r[1]]
                ratios = [r[2][name] for r in rounds if name in r[2]]
                yield (f"{start},{name},{'single' if facts['single'] else 'double'},{facts['error']:.2g},"
                       f"{statistics.median(ns):.5g},{statistics.median(ratios):.4g},{min(ratios):.4g},"
                       f"{max(ratios):.4g}")
        yield from self.others


def machine_levels():
    flags = set(next(line for line in open("/proc/cpuinfo", encoding="utf-8") if line.startswith("flags")).split())
    levels = ["baseline"]
    if "avx2" in flags:
        levels.insert(0, "avx2")
    if {"avx512f", "avx512dq", "avx512bw", "avx512vl"} <= flags:
        levels.insert(0, "avx512")
    return levels


def machine():
    model = next((line.split(": ", 1)[1].strip() for line in open("/proc/cpuinfo", encoding="utf-8")
                  if line.startswith("model name")), platform.machine())
    return f"{model}, {os.cpu_count()} cores"


def tool(*command):
    return subprocess.run(command, cwd=ROOT, capture_output=True, text=True, check=False).stdout.strip()


def measure_level(name, jobs, plan, rows, small_too):
    level = Level(name)
    try:
        for run in range(plan["runs"]):
            for job in jobs:
                for channels in report.CHANNELS:
                    for samples in plan["samples"]:
                        print(f"\r{report.LEVELS[name]}, run {run + 1} of {plan['runs']}: {job} "
                              f"{channels} x {samples}        ", end="", file=sys.stderr)
                        rows.add((name, job, channels, samples),
                                 *level.measure(job, channels, samples, plan["rounds"], plan["slot"]))
        if small_too:
            measure_small(level, jobs, plan, rows)
    finally:
        print("\r" + " " * 60 + "\r", end="", file=sys.stderr)
        level.close()


def measure_small(level, jobs, plan, rows):
    idle = statistics.median(level.native.ask("idle") for _ in range(5))
    rows.others.append(f"small,{level.name},idle,1,0,project,double,0,{idle:.5g},1,1,1")
    operation = level.native.ask("operation")
    rows.others.append(f"operation,{level.name},any,1,0,project,double,0,{operation:.5g},1,1,1")
    for job in jobs:
        if job == "fft":
            continue
        for samples in SMALL:
            level.native.ask("cell", job, 1, samples)
            ns = statistics.median(level.native.ask("time", "project", plan["slot"]) for _ in range(5))
            rows.others.append(f"small,{level.name},{job},1,{samples},project,double,0,{ns:.5g},1,1,1")
        for channels in (1, 8):
            found = level.native.ask("memory", job, channels, MEMORY_SAMPLES)
            rows.others.append(f"memory,{level.name},{job},{channels},{MEMORY_SAMPLES},project,double,0,"
                               f"{found['held']:.0f},{found['grown']:.0f},0,0")


def main():
    parser = argparse.ArgumentParser(prog="bench/run", description="Measures jobs beside their peers.")
    parser.add_argument("jobs", nargs="*", metavar="JOB", help=", ".join(report.BY_NAME))
    parser.add_argument("--level", choices=[*report.LEVELS, "all"], help="default: the machine's highest")
    parser.add_argument("--quick", action="store_true", help="fewer and shorter cells, one run")
    parser.add_argument("--out", default=ROOT / "build" / "bench" / "speed.csv", help="the result file")
    arguments = parser.parse_args()
    unknown = set(arguments.jobs) - set(report.BY_NAME)
    if unknown:
        parser.error(f"no such job: {', '.join(unknown)}; there are {', '.join(report.BY_NAME)}")
    jobs = arguments.jobs or list(report.BY_NAME)
    plan = QUICK if arguments.quick else FULL
    possible = machine_levels()
    levels = possible if arguments.level == "all" else [arguments.level or possible[0]]
    if not set(levels) <= set(possible):
        parser.error(f"this machine has {', '.join(possible)}")

    load = os.getloadavg()[0]
    rows = Rows()
    started = datetime.datetime.now()
    for level in levels:
        measure_level(level, jobs, plan, rows, small_too=True)
    minutes = (datetime.datetime.now() - started).total_seconds() / 60
    compiler = tool("g++", "-dumpfullversion")
    conditions = {
        "machine": machine(),
        "date": started.date().isoformat(),
        "revision": tool("git", "describe", "--always", "--dirty") or "unknown",
        "samples": ", ".join(map(str, plan["samples"])),
        "method": (f"{plan['runs']} run{'s' if plan['runs'] > 1 else ''} of {plan['rounds']} rounds per cell, "
                   f"{plan['slot'] * 1000:g} ms of processor time per turn, g++ {compiler}, "
                   f"load {load:.1f} at the beginning and {os.getloadavg()[0]:.1f} at the end"),
    }
    with open(arguments.out, "w", encoding="utf-8") as file:
        for key, value in conditions.items():
            print(f"# {key}: {value}", file=file)
        for line in rows.lines():
            print(line, file=file)
    results = report.Results(arguments.out)
    print(f"{conditions['machine']}; {conditions['method']}; {minutes:.1f} min")
    for level in levels:
        report.print_table(results, level)
    print(f"\nresults     {arguments.out}")


if __name__ == "__main__":
    main()
