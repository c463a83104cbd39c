"""Long CSV market data and the dollar volume every loaded market carries."""
import numpy as np
import pytest

from quillmarsh.cli.data_io import load_market
from quillmarsh.cli.errors import UserError

HEADER = "date,asset,close,volume"


def _write(tmp_path, lines):
    path = tmp_path / "market.csv"
    path.write_text("\n".join(lines) + "\n")
    return path


def test_rows_pivot_to_sorted_dates_and_assets_with_holes(tmp_path):
    path = _write(tmp_path, [HEADER, "2024-01-03,B,11,100", "2024-01-02,B,10,", "2024-01-02,A,5,200",
                             "2024-01-04,A,6,300"])
    market = load_market(path)
    nan = np.nan
    np.testing.assert_array_equal(market.features["close"], [[5, 10], [nan, 11], [6, nan]])
    np.testing.assert_array_equal(market.features["volume"], [[200, nan], [nan, 100], [300, nan]])
    np.testing.assert_array_equal(market.universe, [[1, 1], [0, 1], [1, 0]])
    np.testing.assert_array_equal(market.features["amount"], market.features["close"] * market.features["volume"])


def test_universe_and_amount_columns_are_taken_as_given(tmp_path):
    path = _write(tmp_path, ["date,asset,close,volume,amount,universe", "1,A,2,3,7,0", "2,A,2,3,8,1"])
    market = load_market(path)
    np.testing.assert_array_equal(market.universe, [[0], [1]])
    np.testing.assert_array_equal(market.features["amount"], [[7], [8]])


@pytest.mark.parametrize("lines, message", [
    (["date,close", "1,2"], "has no 'asset' column"),
    ([HEADER, "1,A,2,3", "1,A,4,5"], "more than one row for some (date, asset)"),
    ([HEADER, "1,A,2"], "line 2: 3 fields, the header has 4"),
    ([HEADER, "1,A,x,3"], "column 'close' is not numeric"),
    ([], "is empty"),
])
def test_bad_tables(tmp_path, lines, message):
    with pytest.raises(UserError, match=message.replace("(", r"\(").replace(")", r"\)")):
        load_market(_write(tmp_path, lines))
