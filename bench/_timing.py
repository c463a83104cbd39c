"""Shared by the benchmark scripts: best-of-n timing and the optional comparison libraries."""
from __future__ import annotations

import importlib
import time


def best_time(fn, repeat):
    """(smallest wall time over `repeat` calls of fn, fn's last result)."""
    best, result = float("inf"), None
    for _ in range(repeat):
        result = None  # let the previous result go before the next run allocates its own
        start = time.perf_counter()
        result = fn()
        best = min(best, time.perf_counter() - start)
    return best, result


def best_cpu_time(fn, repeat):
    """Smallest CPU time of this process over `repeat` calls of fn: steadier than wall time when
    other work shares the machine."""
    best = float("inf")
    for _ in range(repeat):
        start = time.process_time()
        fn()
        best = min(best, time.process_time() - start)
    return best


def optional_module(name):
    """The module, or None with a note when it is not installed (its comparison is skipped)."""
    try:
        return importlib.import_module(name)
    except ImportError:
        print(f"{name} not installed: comparison skipped")
        return None
