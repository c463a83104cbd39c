"""Whatever Python hands a native instance, it answers with a typed Python error, never a crash.

Each sweep runs in a child process, so that a crash fails its case instead of the test run.
"""
import subprocess
import sys
import textwrap

import pytest

PRELUDE = """
import itertools
import numpy as np
from quillmarsh.simulator_engine.expression_evaluator import NativeFunction, _operator_table

GARBAGE = [None, True, 0, -1, 2**70, 1.5, float("nan"), "x", b"x", [], [[1.0]], {}, {"a": 1}, object(),
           np.zeros(0), np.zeros(3), np.zeros((2, 3)), np.zeros(3, dtype=object), np.array(["a"] * 3),
           np.zeros(3, dtype=np.complex128), np.zeros(3)[::2]]
EXPECTED = (TypeError, ValueError, KeyError, OverflowError)

def instances():
    for row in _operator_table():
        # Valid parameters for every operator: a window of 2, a number inside every range.
        yield NativeFunction(row["name"], **{item["name"]: 2 if item["type"] == "int" else 0.5
                                             for item in row["param_schema"] or []})

def survives(action, *args, **kwargs):
    try:
        action(*args, **kwargs)
    except EXPECTED:
        pass
"""

SWEEPS = {
    "construct": """
        for row in _operator_table():
            for value in GARBAGE:
                survives(NativeFunction, row["name"], **{item["name"]: value for item in row["param_schema"] or []})
                survives(NativeFunction, row["name"], stray=value)
            survives(NativeFunction, value)
    """,
    "call": """
        for instance in instances():
            for rows in itertools.islice(itertools.product(GARBAGE, repeat=instance.arity), 0, 600, 5):
                survives(instance, *rows)
            survives(instance, np.ones(3), context=None, other=1)
    """,
    "set_state": """
        for instance in instances():
            if instance.stateful:
                instance(*[np.arange(3.0)] * instance.arity)
            keys = list(instance.get_state())
            for value in GARBAGE:
                survives(instance.set_state, value)
                for key in keys:
                    survives(instance.set_state, {**instance.get_state(), key: value})
            survives(instance.__setstate__, ("x", {}, {}))
    """,
}


@pytest.mark.parametrize("sweep", SWEEPS)
def test_native_instances_survive_garbage(sweep):
    script = PRELUDE + textwrap.dedent(SWEEPS[sweep])
    completed = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, timeout=300)
    assert completed.returncode == 0, completed.stderr[-2000:]
