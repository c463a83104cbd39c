"""Loading the user's market data: `.npz` archives, long CSV tables, or Parquet through pyarrow.

Every loader's market gains the dollar volume `amount` when it lacks one (see dollar_volume).
"""
from __future__ import annotations

from pathlib import Path

from quillmarsh.cli.csv_io import load_csv_market
from quillmarsh.cli.data_size import DEFAULT_LIMIT
from quillmarsh.cli.dollar_volume import with_amount
from quillmarsh.cli.errors import UserError
from quillmarsh.cli.file_checks import check_input_file
from quillmarsh.cli.market_data import MarketData, checked_market
from quillmarsh.cli.npz_reader import read_npz

UNIVERSE = "universe"


def load_market(path: Path, limit: int = DEFAULT_LIMIT) -> MarketData:
    """An `.npz` file, a long `.csv` file, a folder of wide Parquet files, or one long `.parquet`
    file, whose arrays fit in `limit` bytes."""
    return with_amount(_load(path, limit))


def _load(path: Path, limit: int) -> MarketData:
    if not path.is_dir():
        check_input_file(path, "data file")
    if path.is_dir() or path.suffix == ".parquet":
        from quillmarsh.cli import parquet_io
        return parquet_io.load_parquet_market(path, limit)
    if path.suffix == ".npz":
        return load_npz_market(path, limit)
    if path.suffix == ".csv":
        return load_csv_market(path, limit)
    raise UserError(f"data file {path}: expected an .npz file, a .csv file, a .parquet file or "
                    f"a folder of .parquet files")


def load_npz_market(path: Path, limit: int = DEFAULT_LIMIT) -> MarketData:
    """One (T, N) array per feature and one named `universe`."""
    arrays = read_npz(path, f"data file {path}", limit)
    if UNIVERSE not in arrays:
        raise UserError(f"data file {path} has no '{UNIVERSE}' array "
                        f"(1 where an asset is in the universe on a day, 0 or NaN where not)")
    universe = arrays.pop(UNIVERSE)
    return checked_market(arrays, universe, str(path), limit)
