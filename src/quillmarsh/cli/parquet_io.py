"""Parquet market data through pyarrow (an optional extra).

Two layouts: a folder with one wide file per feature (rows are dates, one column per asset,
an optional leading `date` column) and a `universe.parquet` of the same layout; or one long
file with `date`, `asset`, one column per feature and a `universe` column.
"""
from __future__ import annotations

from pathlib import Path
from typing import Any

import numpy as np

from quillmarsh.cli.data_size import FLOAT64_BYTES, check_expansion, over_budget_message
from quillmarsh.cli.errors import UserError
from quillmarsh.cli.market_data import MarketData, checked_market

DATE, ASSET, UNIVERSE = "date", "asset", "universe"


def load_parquet_market(path: Path, limit: int) -> MarketData:
    """The market in `path`, refused before reading when it would take more than `limit` bytes."""
    parquet = _pyarrow_parquet()
    if path.is_dir():
        return _load_wide_folder(path, parquet, limit)
    return _load_long_file(path, parquet, limit)


def _pyarrow_parquet() -> Any:
    try:
        import pyarrow.parquet as parquet
    except ImportError:
        raise UserError("reading Parquet needs pyarrow: pip install 'quillmarsh[parquet]'") from None
    return parquet


def _read_table(path: Path, parquet: Any, limit: int) -> Any:
    """The table, once its declared rows x columns fit the budget as float64 cells."""
    try:
        metadata = parquet.read_metadata(path)
        cells = metadata.num_rows * metadata.num_columns
        if cells * FLOAT64_BYTES > limit:
            raise UserError(f"data file {path}: " + over_budget_message(
                f"{metadata.num_rows} rows x {metadata.num_columns} columns",
                cells * FLOAT64_BYTES, limit))
        return parquet.read_table(path)
    except UserError:
        raise
    except Exception as error:  # pyarrow raises several unrelated types for unreadable files
        raise UserError(f"data file {path} cannot be read as Parquet: {error}") from None


def _load_wide_folder(folder: Path, parquet: Any, limit: int) -> MarketData:
    files = sorted(folder.glob("*.parquet"))
    if UNIVERSE not in {file.stem for file in files}:
        raise UserError(f"data folder {folder} has no '{UNIVERSE}.parquet' file")
    assets = None
    matrices = {}
    for file in files:
        table = _read_table(file, parquet, limit)
        columns = [name for name in table.column_names if name != DATE]
        if assets is None:
            assets = columns
        elif columns != assets:
            raise UserError(f"data file {file} has asset columns different from the other files")
        matrices[file.stem] = np.column_stack(
            [table.column(name).to_numpy(zero_copy_only=False) for name in columns])
    universe = matrices.pop(UNIVERSE)
    return checked_market(matrices, universe, str(folder), limit)


def _load_long_file(path: Path, parquet: Any, limit: int) -> MarketData:
    table = _read_table(path, parquet, limit)
    missing = [name for name in (DATE, ASSET, UNIVERSE) if name not in table.column_names]
    if missing:
        raise UserError(f"data file {path} has no '{missing[0]}' column "
                        f"(a long file has date, asset, universe and one column per feature)")
    dates, date_rows = np.unique(table.column(DATE).to_numpy(zero_copy_only=False),
                                 return_inverse=True)
    assets, asset_columns = np.unique(table.column(ASSET).to_numpy(zero_copy_only=False),
                                      return_inverse=True)
    matrices = len(table.column_names) - 2  # every column but date and asset becomes one
    check_expansion(path, (len(dates), len(assets)), matrices, limit)
    cells = date_rows * len(assets) + asset_columns
    if np.unique(cells).size != cells.size:
        raise UserError(f"data file {path} has more than one row for some (date, asset)")

    def pivot(name: str, fill: float) -> np.ndarray:
        matrix = np.full((len(dates), len(assets)), fill)
        try:
            matrix[date_rows, asset_columns] = table.column(name).to_numpy(zero_copy_only=False)
        except (TypeError, ValueError):
            raise UserError(f"data file {path}: column '{name}' is not numeric") from None
        return matrix

    features = {name: pivot(name, np.nan) for name in table.column_names
                if name not in (DATE, ASSET, UNIVERSE)}
    return checked_market(features, pivot(UNIVERSE, 0.0), str(path), limit)
