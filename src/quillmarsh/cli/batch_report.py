"""What `quillmarsh batch` writes besides the weights: CSV tables and the printed summary."""
from __future__ import annotations

import csv
import io
import math
from pathlib import Path
from typing import Any

from quillmarsh.cli.atomic_write import write_atomically

_PRINTED = (("name", "{:<24.24}"), ("path", "{:<12}"), ("seconds", "{:>8.3f}s"),
            ("nan_share", "{:>7.1%}"), ("coverage", "{:>8.1%}"), ("turnover", "{:>8.3f}"),
            ("sharpe", "{:>7.2f}"), ("ic_mean", "{:>8.4f}"), ("ic_t_stat", "{:>7.2f}"))
_HEADINGS = ("signal", "path", "time", "NaN", "coverage", "turnover", "Sharpe", "IC", "IC t")


def write_csv(path: Path, rows: list[dict[str, Any]], columns: list[str]) -> None:
    def write(stream) -> None:
        text = io.TextIOWrapper(stream, encoding="utf-8", newline="")
        writer = csv.DictWriter(text, fieldnames=columns)
        writer.writeheader()
        writer.writerows(rows)
        text.flush()
        text.detach()
    write_atomically(path, write)


def summary_lines(rows: list[dict[str, Any]]) -> list[str]:
    """The printed table: a heading, a rule and one line per signal (its error when it failed)."""
    widths = [len(template.format(_example(column))) for column, template in _PRINTED]
    heading = " ".join(title.ljust(width) if i < 2 else title.rjust(width)
                       for i, (title, width) in enumerate(zip(_HEADINGS, widths)))
    return [heading, "-" * len(heading), *(_line(row, widths) for row in rows)]


def _line(row: dict[str, Any], widths: list[int]) -> str:
    if row["error"]:
        return f"{row['name']:<24.24} failed: {row['error']}"
    cells = []
    for (column, template), width in zip(_PRINTED, widths):
        value = row[column]
        missing = isinstance(value, float) and math.isnan(value)
        cells.append("n/a".rjust(width) if missing else template.format(value))
    return " ".join(cells)


def _example(column: str) -> Any:
    return "" if column in ("name", "path") else 0.0
