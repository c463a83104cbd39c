"""Time-series operators on rows wide enough for every column grouping of the kernels: whole
blocks, groups of four and single trailing columns give the twin's cells bit for bit; one rank instance
keeps its scratch rows across rows of any width."""
import numpy as np
import pytest

from quillmarsh._reference.rank import rank_row_reference
from quillmarsh._reference.time_series import TIME_SERIES_REFERENCES
from quillmarsh.simulator_engine.expression_evaluator import NativeFunction

from .test_time_series import TIME_SERIES, assert_same_cells, run_rows

WIDTHS = [3, 4, 9, 31, 33, 70]


def wide_inputs(arity, width, seed):
    """Prices with ties, a constant column, signed zeros, an infinity and NaN scattered among them."""
    rng = np.random.default_rng(seed)
    inputs = []
    for _ in range(arity):
        x = 100 + np.cumsum(rng.standard_normal((40, width)), axis=0)
        x[rng.random(x.shape) < 0.03] = np.nan
        x[rng.random(x.shape) < 0.1] = 100.0
        x[:, width // 2] = 0.1
        x[5, width - 1], x[6, width - 1], x[30, 0] = 0.0, -0.0, np.inf
        inputs.append(x)
    return inputs


@pytest.mark.parametrize("width", WIDTHS)
@pytest.mark.parametrize("row", TIME_SERIES, ids=lambda row: row["alias"])
def test_wide_rows_equal_the_twin(row, width):
    params = {"window": 7}
    if any(item["name"] == "q" for item in row["param_schema"]):
        params["q"] = 0.3
    inputs = wide_inputs(row["arity"], width, seed=width)
    out = run_rows(NativeFunction(row["name"], **params), inputs)
    with np.errstate(all="ignore"):
        expected = TIME_SERIES_REFERENCES[row["name"]](inputs, params)
    assert_same_cells(out, expected)


@pytest.mark.parametrize("widths", [[3, 300, 5], [600, 2, 400], [1, 257, 256, 0, 900]])
def test_one_rank_instance_ranks_rows_of_changing_widths(widths):
    rank = NativeFunction("latitudinal_rank_688068")
    rng = np.random.default_rng(len(widths))
    for width in widths:
        row = np.round(rng.standard_normal(width), 1)  # ties among the cells
        row[rng.random(width) < 0.1] = np.nan
        assert_same_cells(rank(row), rank_row_reference(row))


@pytest.mark.parametrize("width", [1, 9, 37])
@pytest.mark.parametrize("alias", ["ts_min", "ts_max"])
@pytest.mark.parametrize("oldest", [0.0, -0.0])
def test_extremes_of_signed_zeros_are_the_oldest_zero(alias, oldest, width):
    name = next(row["name"] for row in TIME_SERIES if row["alias"] == alias)
    extreme = NativeFunction(name, window=3)
    for zero in (oldest, -oldest, -oldest):
        out = extreme(np.full(width, zero))
    assert (np.signbit(out) == np.signbit(oldest)).all()
