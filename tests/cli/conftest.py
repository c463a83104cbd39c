"""Fixtures of the command-line tests: the installed command, a small market and its file."""
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

CLI = Path(sys.executable).with_name("quillmarsh")


@pytest.fixture
def arrays() -> dict:
    """60 days x 8 assets; the universe has 0 and NaN cells, close a hole of missing days."""
    rng = np.random.default_rng(0)
    returns = rng.normal(0.0, 0.01, (60, 8))
    close = 50.0 * np.exp(np.cumsum(returns, axis=0))
    close[20:25, 5] = np.nan
    universe = np.ones((60, 8))
    universe[:15, 0] = 0.0
    universe[40:, 3] = np.nan
    return {"close": close, "volume": rng.lognormal(10.0, 1.0, (60, 8)), "returns": returns, "universe": universe}


@pytest.fixture
def masked_close(arrays) -> np.ndarray:
    """What a bare `close` evaluates to: NaN where the universe is 0 or NaN."""
    universe = arrays["universe"]
    return np.where((universe == 0) | np.isnan(universe), np.nan, arrays["close"])


@pytest.fixture
def market_file(tmp_path: Path, arrays: dict) -> Path:
    path = tmp_path / "market.npz"
    np.savez(path, **arrays)
    return path


@pytest.fixture
def quillmarsh(tmp_path: Path):
    """Runs the command in `tmp_path`, returning the completed process; check=True asserts success."""
    def run(*args, check=False) -> subprocess.CompletedProcess:
        completed = subprocess.run([str(CLI), *map(str, args)], cwd=tmp_path, capture_output=True,
                                   text=True, timeout=600)
        assert not check or completed.returncode == 0, completed.stderr
        return completed
    return run


@pytest.fixture
def user_error():
    """Checks exit status 2 and a single stderr line naming the problem."""
    def check(completed: subprocess.CompletedProcess, message: str) -> None:
        assert completed.returncode == 2, completed.stderr
        lines = completed.stderr.splitlines()
        assert len(lines) == 1 and lines[0].startswith("quillmarsh: error: "), completed.stderr
        assert message in lines[0]
    return check
