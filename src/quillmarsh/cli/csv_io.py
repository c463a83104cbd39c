"""Long CSV market data: a header row naming `date`, `asset` and one column per feature, then
one row per (date, asset), as researchers keep their tables.

Dates and assets are sorted as text (ISO dates sort by time). An optional `universe` column
gives membership; without it an asset is a member on the days it has a row. Empty cells are
missing values.
"""
from __future__ import annotations

import csv
from pathlib import Path

import numpy as np

from quillmarsh.cli.data_size import check_expansion
from quillmarsh.cli.errors import UserError
from quillmarsh.cli.market_data import MarketData, checked_market

DATE, ASSET, UNIVERSE = "date", "asset", "universe"


def load_csv_market(path: Path, limit: int) -> MarketData:
    """The market of a long CSV table, refused before pivoting when it would take more than
    `limit` bytes."""
    header, rows = _read_rows(path)
    missing = [name for name in (DATE, ASSET) if name not in header]
    if missing:
        raise UserError(f"data file {path} has no '{missing[0]}' column "
                        f"(a long table has date, asset and one column per feature)")
    columns = {name: [row[i] for row in rows] for i, name in enumerate(header)}
    dates, date_rows = np.unique(np.array(columns.pop(DATE)), return_inverse=True)
    assets, asset_columns = np.unique(np.array(columns.pop(ASSET)), return_inverse=True)
    shape = (len(dates), len(assets))
    check_expansion(path, shape, len(columns), limit)
    cells = date_rows * len(assets) + asset_columns
    if np.unique(cells).size != cells.size:
        raise UserError(f"data file {path} has more than one row for some (date, asset)")

    def pivot(name: str, fill: float) -> np.ndarray:
        matrix = np.full(shape, fill)
        matrix[date_rows, asset_columns] = _numbers(columns[name], name, path)
        return matrix

    universe = pivot(UNIVERSE, 0.0) if UNIVERSE in columns else _present(shape, date_rows, asset_columns)
    features = {name: pivot(name, np.nan) for name in columns if name != UNIVERSE}
    return checked_market(features, universe, str(path), limit)


def _read_rows(path: Path) -> tuple[list[str], list[list[str]]]:
    try:
        with path.open(newline="", encoding="utf-8") as file:
            table = [row for row in csv.reader(file) if row]
    except (OSError, UnicodeDecodeError, csv.Error) as error:
        raise UserError(f"data file {path} cannot be read as CSV: {error}") from None
    if not table:
        raise UserError(f"data file {path} is empty")
    header = [name.strip() for name in table[0]]
    for number, row in enumerate(table[1:], 2):
        if len(row) != len(header):
            raise UserError(f"data file {path} line {number}: {len(row)} fields, "
                            f"the header has {len(header)}")
    return header, table[1:]


def _numbers(cells: list[str], name: str, path: Path) -> np.ndarray:
    try:
        return np.array([float(cell) if cell.strip() else np.nan for cell in cells])
    except ValueError:
        raise UserError(f"data file {path}: column '{name}' is not numeric") from None


def _present(shape: tuple[int, int], date_rows: np.ndarray, asset_columns: np.ndarray) -> np.ndarray:
    universe = np.zeros(shape)
    universe[date_rows, asset_columns] = 1.0
    return universe
