"""Loading the user's market data: `.npz` archives, long CSV tables, or Parquet through pyarrow.

Every loader's market gains the dollar volume `amount` when it lacks one (see dollar_volume).
"""
from __future__ import annotations

import zipfile
from pathlib import Path

import numpy as np

from quillmarsh.cli.csv_io import load_csv_market
from quillmarsh.cli.dollar_volume import with_amount
from quillmarsh.cli.errors import UserError
from quillmarsh.cli.market_data import MarketData, checked_market

UNIVERSE = "universe"


def load_market(path: Path) -> MarketData:
    """An `.npz` file, a long `.csv` file, a folder of wide Parquet files, or one long `.parquet` file."""
    return with_amount(_load(path))


def _load(path: Path) -> MarketData:
    if not path.exists():
        raise UserError(f"data file {path} does not exist")
    if path.is_dir() or path.suffix == ".parquet":
        from quillmarsh.cli import parquet_io
        return parquet_io.load_parquet_market(path)
    if path.suffix == ".npz":
        return load_npz_market(path)
    if path.suffix == ".csv":
        return load_csv_market(path)
    raise UserError(f"data file {path}: expected an .npz file, a .csv file, a .parquet file or "
                    f"a folder of .parquet files")


def load_npz_market(path: Path) -> MarketData:
    """One (T, N) array per feature and one named `universe`."""
    try:
        with np.load(path, allow_pickle=False) as archive:
            arrays = {name: archive[name] for name in archive.files}
    except (OSError, ValueError, zipfile.BadZipFile) as error:
        raise UserError(f"data file {path} cannot be read as .npz: {error}") from None
    if UNIVERSE not in arrays:
        raise UserError(f"data file {path} has no '{UNIVERSE}' array "
                        f"(1 where an asset is in the universe on a day, 0 or NaN where not)")
    universe = arrays.pop(UNIVERSE)
    return checked_market(arrays, universe, str(path))
