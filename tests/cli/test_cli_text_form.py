"""The text form maps to the graph nodes the engine reads, and prints back to an equal graph."""
import pytest

from quillmarsh.functions.registry import default_registry

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.graph_json import graph_to_dict
from quillmarsh.cli.text_form import graph_to_text, parse_expression

REGISTRY = default_registry()


def parse(text):
    return graph_to_dict(parse_expression(text, REGISTRY))


def test_literal_kinds_and_configuration():
    graph = parse("scale(demean(x), -2.5, True, 'a', 3, [1, 2], target=1.0)")
    assert [(child["type"], child["node"]) for child in graph["children"][1:]] == [
        ("float", -2.5), ("bool", True), ("string", "a"), ("int", 3), ("list", [1, 2])]
    assert graph["config"] == {"target": 1.0}


def test_functions_reductions_and_filter_operators_get_their_node_kinds():
    graph = parse("pool_pnl_weighted(filtration(gt('sharpe', 0.5)), rank(close), window=20)")
    assert graph["type"] == "reduction" and [child["type"] for child in graph["children"]] == ["filtration", "rotation"]
    assert graph["children"][0]["children"][0]["type"] == "gt"
    assert graph["children"][1]["children"] == [{"type": "feature", "node": "close"}]


@pytest.mark.parametrize("text", [
    "rank(close) * rank(volume)", "a * (b * c) * (d * e)", "zscore(mean(returns, 5), 60)",
    "pool_mean(filtration(or_(gt('sharpe', 0.5), lt('turnover', 1.0))))", "scale(demean(x), -2.0, target=0.5)",
    "indneutralize(x, IndClass.industry) - adv20", "c ? 1.0 : -x ** 2.0", "-1.0 - x / (y - 1.0)",
    "-1.0 * rank(x)", "x * y * 2.0", "2.0 * (x + y)",
])
def test_printed_text_parses_to_the_same_graph(text):
    graph = parse_expression(text, REGISTRY)
    assert graph_to_text(graph) == text and parse(text) == graph_to_dict(graph)


def test_nothing_is_evaluated():
    with pytest.raises(UserError, match="unknown function '__import__'"):
        parse_expression("__import__('os')", REGISTRY)


@pytest.mark.parametrize("text, same_as", [
    ("rank(close) * rank(volume)", "numerical_combine_d65e04(latitudinal_rank_688068(close), "
                                   "latitudinal_rank_688068(volume))"),
    ("mean(x, 5)", "longitudinal_accumulators_25c7fb(x, 5)"), ("a * b", "mul(a, b)"),
    ("a - b - c", "sub(sub(a, b), c)"), ("a - (b - c)", "sub(a, sub(b, c))"),
    ("a + b * c ** d", "add(a, mul(b, power(c, d)))"), ("-a ** b", "neg(power(a, b))"),
    ("a ** b ** c", "power(a, power(b, c))"), ("a ^ -b", "power(a, neg(b))"),
    ("a < b & c >= d | ~e", "logical_or(logical_and(less(a, b), greater_equal(c, d)), logical_not(e))"),
    ("a && b || c", "logical_or(logical_and(a, b), c)"),
    ("c ? a : d ? b : e", "where(c, a, where(d, b, e))"), ("a if c else b", "where(c, a, b)"),
    ("x - 2", "sub_scalar(x, 2.0)"), ("2 - x", "rsub_scalar(x, 2.0)"), ("2 / x", "rdiv_scalar(x, 2.0)"),
    ("2 ** x", "rpower_scalar(x, 2.0)"), ("x ** 2", "power_scalar(x, 2.0)"), ("-1 * x", "mul_scalar(x, -1.0)"),
    ("2 < x", "greater_scalar(x, 2.0)"), ("2 >= x", "less_equal_scalar(x, 2.0)"),
    ("1 & x", "logical_and_scalar(x, 1.0)"), ("(-1 * 1) + x", "add_scalar(x, -1.0)"), ("x + 1 / 4", "add_scalar(x, 0.25)"),
    ("c ? 1 : x", "where(c, constant_like(c, 1.0), x)"), ("1 > 0 ? x : y", "x"), ("where(c, x, -2)", "c ? x : -2"),
    ("max(x, 5)", "ts_max(x, 5)"), ("MIN(x, 5.9)", "ts_min(x, 5)"), ("max(x, y)", "maximum(x, y)"),
    ("min(x, y)", "minimum(x, y)"), ("maximum(x, 0.5)", "maximum_scalar(x, 0.5)"),
    ("Ts_Rank(x, 3.9)", "ts_rank(x, 3)"), ("sum(x, 2) * product(x, 2)", "ts_sum(x, 2) * ts_product(x, 2)"),
    ("stddev(x, 5)", "std(x, 5)"), ("Ts_ArgMin(x, 4)", "ts_argmin(x, 4)"), ("SignedPower(x, 2)", "signedpower(x, 2.0)"),
    ("SignedPower(x, y)", "sign(x) * abs(x) ** y"), ("adv20", "mean(amount, 20)"),
    ("IndNeutralize(x, IndClass.industry)", "indneutralize(x, industry)"),
])
def test_aliases_precedence_and_paper_spellings(text, same_as):
    assert parse(text) == parse(same_as)


@pytest.mark.parametrize("text", [
    "-(a - b) * c", "(a + b) ** -c", "(-2.0) ** x", "(-0.0) ** x", "a - -1.0", "(a ? b : c) ? d : e", "a ? b ? 1.0 : 2.0 : -3.0",
    "~(a < b) & (c | d)", "(a | b) & c", "adv20 / maximum(x, y) - ts_max(x, 5)", "a < b < c", "a < (b < c)",
    "where(c, constant_like(d, 1.0), x)", "indneutralize(x, IndClass.sector) / 1.0 / 0.0", "indneutralize(x, y)",
])
def test_minimal_parentheses_still_give_the_same_graph(text):
    graph = parse_expression(text, REGISTRY)
    printed = graph_to_text(graph)
    assert parse(printed) == graph_to_dict(graph) and printed.count("(") <= text.count("(")


@pytest.mark.parametrize("text, message", [
    ("rank(close", "syntax error at column 5: '(' is never closed"),
    ("a +", "syntax error at column 4: expected an operand, found the end of the expression"),
    ("a ? b", "syntax error at column 6: expected ':', found the end of the expression"),
    ("x $ y", "syntax error at column 3: unexpected character '$'"),
    ("  delay(x, 0.5)", "window must be at least 1, got 0.5 at column 12"),
    ("rank(x)\n + nope(y)", "unknown function 'nope' at line 2, column 4"),
    ("x + 'a'", "'a' is not a number at column 5"), ("1 + 2", "the expression is the constant 3.0"),
    ("IndNeutralize(x, IndClass.country)", "unknown group level 'country' at column 18"),
    ("mean(x, window=y)", "keyword argument 'window' at column 16 must be a constant"),
    ("max(x)", "max() takes two arguments at column 1"), ("a if b", "expected 'else'"),
    ("f(x=1, y)", "positional argument after a keyword argument"),
])
def test_errors_name_the_column(text, message):
    with pytest.raises(UserError) as raised:
        parse_expression(text, REGISTRY)
    assert message in str(raised.value)


@pytest.mark.parametrize("text, message", [
    ("(" * 150 + "x" + ")" * 150, "more than 100 nested levels"),
    ("rank(" * 150 + "x" + ")" * 150, "more than 100 nested levels"),
    ("x" + " + x" * 300, "more than 200 nested operations"),
    ("-" * 500 + "x", "more than 100 nested levels"),
    ("x" + " " * 100_000, "expression too long"),
])
def test_size_limits_are_user_errors_not_recursion(text, message):
    with pytest.raises(UserError, match=message):
        parse_expression(text, REGISTRY)
