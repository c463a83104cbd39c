import numpy as np
import pytest

from quillmarsh.functions.builtins.longitudinal import ROLLING_MEAN, ROLLING_STD, ROLLING_ZSCORE
from quillmarsh.simulator_engine import expression_evaluator as ee

N = 3
SUMS = ("prefix_sum", "prefix_sum_sq", "lagging_sum", "lagging_sum_sq")


def fresh_arguments(window=2):
    return {"ring": np.full((window, N), np.nan), "nan_in_window": np.zeros(N, dtype=np.int64),
            **{key: np.zeros(N, dtype=np.longdouble) for key in SUMS},
            "row": np.arange(1.0, N + 1), "count": 0, "name": ROLLING_ZSCORE}


def read_only(array):
    array.flags.writeable = False
    return array


@pytest.mark.parametrize("key, bad, error, match", [
    ("ring", [[0.0] * N] * 2, TypeError, "'ring' must be a numpy array"),
    ("ring", np.zeros((2, N), dtype=np.float32), TypeError, "dtype float64"),
    ("nan_in_window", np.zeros(N, dtype=np.int32), TypeError, "dtype int64"),
    ("prefix_sum", np.zeros(N), TypeError, "dtype longdouble"),
    ("lagging_sum_sq", np.zeros(N, dtype=np.complex128), TypeError, "dtype longdouble"),
    ("ring", np.zeros((N, 2)).T, ValueError, "C-contiguous"),
    ("prefix_sum_sq", np.zeros(2 * N, dtype=np.longdouble)[::2], ValueError, "C-contiguous"),
    ("ring", read_only(np.zeros((2, N))), ValueError, "writeable"),
    ("nan_in_window", np.zeros(N, dtype=">i8"), ValueError, "byte order"),
    ("ring", np.zeros((0, N)), ValueError, r"window >= 1; got shape \(0, 3\)"),
    ("ring", np.zeros(N), ValueError, r"got shape \(3,\)"),
    ("lagging_sum", np.zeros(N + 1, dtype=np.longdouble), ValueError, r"shape \(4,\), expected \(3,\)"),
    ("row", np.zeros((1, N)), ValueError, r"'row' has shape \(1, 3\), expected \(3,\)"),
    ("count", -1, ValueError, "at least 0"),
    ("count", 1.5, TypeError, "integer"),
    ("name", "longitudinal_accumulators_000000", ValueError, "no rolling statistic"),
    ("name", None, ValueError, "no rolling statistic"),
])
def test_refuses_bad_arguments_before_touching_the_state(key, bad, error, match):
    arguments = {**fresh_arguments(), key: bad}
    before = {k: v.copy() for k, v in arguments.items() if isinstance(v, np.ndarray)}
    with pytest.raises(error, match=match):
        ee._rolling_step(**arguments)
    for k, v in before.items():
        np.testing.assert_array_equal(arguments[k], v)



@pytest.mark.parametrize("name, keeps_squares", [(ROLLING_MEAN, False), (ROLLING_STD, True), (ROLLING_ZSCORE, True)])
def test_square_sums_are_kept_only_by_statistics_that_read_them(name, keeps_squares):
    rows = np.array([[1.0, 2.0, 3.0], [4.0, np.nan, 6.0], [7.0, 8.0, 9.0], [0.5, 1.5, 2.5]])
    arguments = {**fresh_arguments(window=2), "name": name}
    for count, row in enumerate(rows):
        out = ee._rolling_step(**{**arguments, "row": row, "count": count})
    if name == ROLLING_MEAN:
        np.testing.assert_array_equal(out, rows[-2:].mean(axis=0))
    departed = np.nan_to_num(rows[:-2]).astype(np.longdouble)
    seen = np.nan_to_num(rows).astype(np.longdouble)
    np.testing.assert_array_equal(arguments["lagging_sum"], departed.sum(axis=0))
    np.testing.assert_array_equal(arguments["prefix_sum_sq"], (seen ** 2).sum(axis=0) if keeps_squares else 0)
    np.testing.assert_array_equal(arguments["lagging_sum_sq"], (departed ** 2).sum(axis=0) if keeps_squares else 0)
