"""A small synthetic market and signals shared by the batch tests."""
import numpy as np
import pytest

from quillmarsh.cli.engine_context import build_context
from quillmarsh.cli.evaluation import evaluate_graph
from quillmarsh.cli.market import synthetic_market
from quillmarsh.cli.text_form import parse_expression
from quillmarsh.functions.registry import default_registry

SIGNALS = {
    "rank": "rank(returns)",
    "chain": "zscore(mean(returns, 5), 20)",
    "product": "rank(close) * rank(volume)",
    "broken": "mean(nosuch, 3)",
    "pipeline": "scale(demean(rank(volume)), 2.0)",
    "leaf": "volume",
}


@pytest.fixture(scope="session")
def small_market():
    return synthetic_market(120, 30, seed=3)


def weights_alone(expression: str, market) -> np.ndarray:
    """The weights of one expression evaluated by itself."""
    registry = default_registry()
    context = build_context(market, registry)
    return np.asarray(evaluate_graph(parse_expression(expression, registry), context).weights)
