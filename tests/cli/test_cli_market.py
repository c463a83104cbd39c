"""The synthetic market: consistent prices, dollar volume, group codes, holes and a changing universe."""
import numpy as np

from quillmarsh.cli.market import synthetic_market

MARKET = synthetic_market(300, 60, seed=5)


def test_prices_are_consistent_where_present():
    f = MARKET.features
    with np.errstate(invalid="ignore"):
        assert np.nanmin(f["high"] - np.maximum(f["open"], f["close"])) >= 0
        assert np.nanmax(f["low"] - np.minimum(f["open"], f["close"])) <= 0
        assert np.nanmin(f["vwap"] - f["low"]) >= 0 and np.nanmax(f["vwap"] - f["high"]) <= 0
    np.testing.assert_allclose(f["amount"], f["vwap"] * f["volume"])
    ratio = f["close"][1:] / f["close"][:-1]
    present = ~np.isnan(ratio)
    np.testing.assert_allclose(np.exp(f["returns"][1:][present]), ratio[present])


def test_group_codes_form_a_fixed_hierarchy():
    f = MARKET.features
    for level in ("sector", "industry", "subindustry"):
        assert (f[level] == f[level][0]).all() and not np.isnan(f[level]).any()
    for finer, coarser in (("subindustry", "industry"), ("industry", "sector")):
        pairs = set(zip(f[finer][0], f[coarser][0]))
        assert len({fine for fine, _ in pairs}) == len(pairs)  # each code has one parent


def test_holes_cover_every_price_feature_and_the_universe_changes():
    holes = np.isnan(MARKET.features["close"][1:])
    assert holes.any()
    for name in ("open", "high", "low", "vwap", "volume", "amount", "returns", "cap"):
        assert (np.isnan(MARKET.features[name][1:]) == holes).all(), name
    live = MARKET.universe.sum(axis=1)
    assert live.min() < live.max()
