import math

import pytest

from quillmarsh.functions.filtrations import EmptyFiltrationError, EmptyPoolError, FilterNode
from quillmarsh.functions.filtrations_evaluation import FiltrationInstance
from quillmarsh.simulator_engine._types import UsefulSignal

POOL = {
    "s3": UsefulSignal(metadata={"sharpe": 1.5, "sector": "tech", "turnover": 3}),
    "s1": UsefulSignal(metadata={"sharpe": 0.5, "sector": "energy"}),
    "s2": UsefulSignal(metadata={"sharpe": 1.5, "sector": "tech", "turnover": 1}),
    "s4": UsefulSignal(metadata={"sharpe": -0.2}),
    "s5": UsefulSignal(metadata={"sharpe": math.nan, "sector": "utilities"}),
}


def leaf(op, **params):
    return FilterNode(op, params)


def passing(tree):
    return FiltrationInstance(tree, registry=None)(POOL)


@pytest.mark.parametrize("tree, expected", [
    (leaf("gt", field="sharpe", value=0.5), ["s3", "s2"]), (leaf("lt", field="turnover", value=2), ["s2"]),
    (leaf("lte", field="sharpe", value=0.5), ["s1", "s4"]), (leaf("eq", field="sector", value="tech"), ["s3", "s2"]),
    (leaf("neq", field="sector", value="tech"), ["s1", "s5"]),
    (leaf("between", field="sharpe", low=-0.2, high=0.5), ["s1", "s4"]),
    (leaf("in_", field="sector", values=["energy", "utilities"]), ["s1", "s5"]),
    (FilterNode("filtration"), ["s3", "s1", "s2", "s4", "s5"]),
    (FilterNode("filtration", children=[leaf("gt", field="sharpe", value=0.0),
                                        leaf("eq", field="sector", value="tech")]), ["s3", "s2"]),
    (FilterNode("or_", children=[leaf("lt", field="sharpe", value=0.0),
                                 leaf("eq", field="sector", value="energy")]), ["s1", "s4"]),
    (FilterNode("not_", children=[leaf("eq", field="sector", value="tech")]), ["s1", "s4", "s5"]),
    # 5 signals, NaN not ranked: 4 ranked; ceil(50% of 4) = 2, the tie keeps pool order.
    (leaf("top_pct", field="sharpe", pct=50.0), ["s3", "s2"]), (leaf("top_pct", field="sharpe", pct=25.0), ["s3"]),
    (leaf("bottom_pct", field="sharpe", pct=30.0), ["s1", "s4"]), (leaf("top_n", field="sharpe", n=1), ["s3"]),
    (leaf("bottom_n", field="turnover", n=1), ["s2"]), (leaf("top_n", field="turnover", n=10), ["s3", "s2"]),
])
def test_operators_select_in_pool_order(tree, expected):
    assert passing(tree) == expected


def test_percentage_share_is_not_inflated_by_rounding():
    pool = {f"s{i}": UsefulSignal(metadata={"x": float(i)}) for i in range(30)}
    assert len(FiltrationInstance(leaf("top_pct", field="x", pct=10), None)(pool)) == 3


@pytest.mark.parametrize("tree, message", [
    (leaf("gt", field="sharpe"), "'gt' requires param 'value'"), (leaf("top_n", n=2), "'top_n' requires param 'field'"),
    (leaf("top_pct", field="sharpe", pct=0.0), "0 < pct <= 100"),
    (leaf("bottom_pct", field="sharpe", pct=120.0), "0 < pct <= 100"),
    (leaf("top_n", field="sharpe", n=-1), "non-negative integer"),
    (FilterNode("and_", children=[leaf("median", field="x")]), "Unknown filter operator 'median'"),
])
def test_invalid_trees_raise_value_error(tree, message):
    with pytest.raises(ValueError, match=message):
        passing(tree)


@pytest.mark.parametrize("pool, error, size", [({}, EmptyPoolError, 0), (POOL, EmptyFiltrationError, 5)])
def test_empty_selections_carry_diagnostics(pool, error, size):
    with pytest.raises(error) as err:
        FiltrationInstance(leaf("gt", field="sharpe", value=10.0), None)(pool)
    assert err.value.filter_diagnostics == {"passing_count": 0, "pool_size": size}

