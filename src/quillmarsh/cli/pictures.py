"""Pictures of the command line: pyplot on the file-only Agg backend, PNGs written atomically.

matplotlib is an optional extra, imported only when a picture is asked for.
"""
from __future__ import annotations

from pathlib import Path
from typing import Any

from quillmarsh.cli.atomic_write import write_atomically
from quillmarsh.cli.errors import UserError


def pyplot(purpose: str) -> Any:
    """matplotlib.pyplot; a UserError naming `purpose` when matplotlib is not installed."""
    try:
        import matplotlib
    except ImportError:
        raise UserError(f"{purpose} needs matplotlib: pip install 'quillmarsh[plot]'") from None
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    return plt


def save_png(plt: Any, figure: Any, path: Path) -> None:
    figure.tight_layout()
    write_atomically(path, lambda stream: figure.savefig(stream, format="png", dpi=110))
    plt.close(figure)
