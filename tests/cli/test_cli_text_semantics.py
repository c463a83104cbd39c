"""What the text form's operators compute: random expressions evaluated by the engine against
NumPy, and their minimal-parenthesis print parsed back to the same graph."""
import numpy as np
from hypothesis import assume, given, strategies as st

from quillmarsh._reference.elementwise import c_power
from quillmarsh.functions.registry import default_registry

from quillmarsh.cli.engine_context import build_context
from quillmarsh.cli.errors import UserError
from quillmarsh.cli.evaluation import evaluate_graph
from quillmarsh.cli.graph_json import graph_to_json_text
from quillmarsh.cli.market_data import MarketData
from quillmarsh.cli.text_form import graph_to_text, parse_expression

REGISTRY = default_registry()
_RNG = np.random.default_rng(3)
FEATURES = {name: np.where(_RNG.random((6, 4)) < 0.15, np.nan,
                           np.round(_RNG.normal(0.0, 2.0, (6, 4)), 1)) for name in "abc"}
FEATURES["a"][0, 0] = 0.0
MARKET = MarketData(FEATURES, np.ones((6, 4)))


def _truth(x):
    return x != 0  # NaN is non-zero, hence true


def _where(c, a, b):
    return np.where(np.isnan(c), np.nan, np.where(c != 0, a, b))


_BINARY = {
    "+": np.add, "-": np.subtract, "*": np.multiply, "/": np.divide, "**": c_power,
    "<": np.less, "<=": np.less_equal, ">": np.greater, ">=": np.greater_equal, "==": np.equal,
    "!=": np.not_equal, "&": lambda a, b: _truth(a) & _truth(b), "|": lambda a, b: _truth(a) | _truth(b),
}

LEAVES = st.one_of(st.sampled_from([(name, FEATURES[name]) for name in "abc"]),
                   st.sampled_from([0.0, 1.0, -2.0, 0.5]).map(lambda v: (repr(v), np.float64(v))))


def _extend(children):
    binary = st.tuples(st.sampled_from(sorted(_BINARY)), children, children).map(
        lambda t: (f"(({t[1][0]}) {t[0]} ({t[2][0]}))", _BINARY[t[0]](t[1][1], t[2][1]) * 1.0))
    unary = st.tuples(st.sampled_from(["-", "~"]), children).map(
        lambda t: (f"{t[0]}({t[1][0]})", -t[1][1] if t[0] == "-" else (~_truth(t[1][1])) * 1.0))
    conditional = st.tuples(children, children, children).map(
        lambda t: (f"({t[0][0]} ? {t[1][0]} : {t[2][0]})", _where(t[0][1], t[1][1], t[2][1])))
    return st.one_of(binary, unary, conditional)


@st.composite
def expressions(draw):
    """(text, NumPy value) of an expression holding a feature outside constant-folded parts."""
    with np.errstate(all="ignore"):
        text, expected = draw(st.recursive(LEAVES, _extend, max_leaves=8))
    try:
        return text, expected, parse_expression(text, REGISTRY)
    except UserError as error:
        assume("is the constant" not in str(error))
        raise


@given(expressions())
def test_engine_agrees_with_numpy_and_the_print_parses_back(expression):
    text, expected, graph = expression
    # Compared as JSON text, where NaN literals equal each other.
    assert graph_to_json_text(parse_expression(graph_to_text(graph), REGISTRY)) == graph_to_json_text(graph)
    with np.errstate(all="ignore"):
        weights = np.asarray(evaluate_graph(graph, build_context(MARKET, REGISTRY)).weights)
    np.testing.assert_allclose(weights, np.broadcast_to(expected, weights.shape), rtol=1e-12,
                               equal_nan=True, err_msg=text)
