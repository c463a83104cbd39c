"""A small synthetic market shared by the batch tests."""
import pytest

from quillmarsh.cli.market import synthetic_market

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
