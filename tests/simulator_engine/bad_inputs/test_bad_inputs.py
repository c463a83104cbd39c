"""Drawn bad inputs, each run in a child worker: a result or a typed Python error, never a crash."""
from hypothesis import HealthCheck, given, settings

from .runner import case_text
from .strategies import cases


@settings(max_examples=300, suppress_health_check=[HealthCheck.too_slow, HealthCheck.data_too_large])
@given(cases())
def test_bad_inputs_give_a_result_or_a_typed_error(runner, case):
    outcome = runner.run(case)
    assert not outcome.failed, f"{outcome.kind}: {outcome.detail}\ncase: {case_text(case)}"
