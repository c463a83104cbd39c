"""The daily dollar volume `amount` that advN averages: the data's own `amount` when it has one,
otherwise close * volume (NaN where either is missing)."""
from __future__ import annotations

from dataclasses import replace

from quillmarsh.cli.market_data import MarketData

AMOUNT = "amount"


def with_amount(market: MarketData) -> MarketData:
    """The market with an `amount` feature when it has none but has close and volume."""
    features = market.features
    if AMOUNT in features or not {"close", "volume"} <= features.keys():
        return market
    return replace(market, features={**features, AMOUNT: features["close"] * features["volume"]})
