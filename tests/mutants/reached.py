"""For pytest (-p reached): says, test by test, which planted faults it and the processes that it started have reached.

A line per test in the file that VYN_MUTANT_TESTS names: "name state milliseconds number...", parted by tabs. What is
reached between two tests counts for the second. Without VYN_MUTANT_REACHED there are no numbers."""
import mmap
import os

_NUMBERS = 8192
_path = os.environ.get("VYN_MUTANT_REACHED")
_reached = None
if _path:
    with open(_path, "r+b") as _file:
        _reached = mmap.mmap(_file.fileno(), 2 * _NUMBERS)
_state = {}
_seconds = {}


def pytest_runtest_logreport(report):
    name = report.nodeid
    _seconds[name] = _seconds.get(name, 0) + report.duration
    if report.outcome != "passed" or name not in _state:
        _state[name] = report.outcome
    if report.when != "teardown":
        return
    numbers = []
    if _reached is not None:
        numbers = [str(i) for i in range(_NUMBERS) if _reached[2 * i]]
        _reached[:] = bytes(2 * _NUMBERS)
    with open(os.environ["VYN_MUTANT_TESTS"], "a", encoding="utf-8") as tests:
        tests.write("\t".join([name, _state[name], str(int(1000 * _seconds[name])), *numbers]) + "\n")
