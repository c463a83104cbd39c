"""Evaluations, failing ones included, hold no memory after they return."""
import os
from functools import partial

import pytest

from . import scenarios


@pytest.mark.skipif("libasan" in os.environ.get("LD_PRELOAD", ""),
                    reason="the address sanitizer keeps freed memory in quarantine")
def test_ten_thousand_evaluations_half_raising_grow_resident_memory_little(runner):
    outcome = runner.run(partial(scenarios.repeated_evaluations, 10_000, 2 << 20))
    assert outcome.kind == "result", outcome.detail
