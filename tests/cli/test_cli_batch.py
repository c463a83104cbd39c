"""`quillmarsh batch` as a user runs it: files written, the printed table, failures and mistakes."""
import csv
import subprocess
import sys

import numpy as np
import pytest

from quillmarsh.cli.market_data import MarketData

from tests.batch.conftest import weights_alone

CATALOGUE = """# signals of the batch tests
mom: rank(mean(returns, 3))
zscore(mean(returns, 5), 10)
broken: mean(nosuch, 3)
pair: rank(close) * rank(volume)
"""
EVALUATED = {"mom": "rank(mean(returns, 3))", "line3": "zscore(mean(returns, 5), 10)",
             "pair": "rank(close) * rank(volume)"}


def read_csv(path) -> list[dict]:
    with open(path, newline="", encoding="utf-8") as stream:
        return list(csv.DictReader(stream))


@pytest.fixture
def catalogue(tmp_path):
    (tmp_path / "signals.txt").write_text(CATALOGUE)
    return "signals.txt"


def test_batch_writes_weights_summary_and_correlation(quillmarsh, tmp_path, catalogue, market_file, arrays):
    completed = quillmarsh("batch", catalogue, "--data", market_file, "--out", "out", "--plot")
    assert completed.returncode == 1, completed.stderr
    out, market = tmp_path / "out", MarketData({k: v for k, v in arrays.items() if k != "universe"}, arrays["universe"])
    for name, expression in EVALUATED.items():
        assert np.array_equal(np.load(out / f"{name}.npy"), weights_alone(expression, market), equal_nan=True)
    assert not (out / "broken.npy").exists()
    summary = read_csv(out / "summary.csv")
    assert [row["name"] for row in summary] == ["mom", "line3", "broken", "pair"]
    assert summary[2]["error"].startswith("unknown feature 'nosuch'") and summary[2]["sharpe"] == "nan"
    correlation = read_csv(out / "pnl_correlation.csv")
    assert [row["signal"] for row in correlation] == list(EVALUATED)
    assert [float(row[row["signal"]]) for row in correlation] == [1.0, 1.0, 1.0]
    assert (out / "best_signals.png").stat().st_size > 0
    printed = completed.stdout.splitlines()
    assert printed[0].split()[:3] == ["signal", "path", "time"]
    assert printed[4].startswith("broken") and "failed: unknown feature 'nosuch'" in printed[4]
    assert printed[-1].startswith("3 of 4 signals evaluated")


def test_batch_exits_0_when_every_signal_evaluates(quillmarsh, tmp_path, market_file):
    (tmp_path / "ok.txt").write_text("a: rank(close)\nb: volume\n")
    completed = quillmarsh("batch", "ok.txt", "--data", market_file, "--out", "out", check=True)
    assert completed.stdout.splitlines()[-1].startswith("2 of 2 signals evaluated")


@pytest.mark.parametrize("option", ["--scheduler", "--workers"])
def test_batch_on_a_cluster_writes_what_the_serial_run_writes(quillmarsh, tmp_path, catalogue, market_file,
                                                             dask_client, option):
    where = dask_client.scheduler.address if option == "--scheduler" else "2"
    quillmarsh("batch", catalogue, "--data", market_file, "--out", "serial")
    quillmarsh("batch", catalogue, "--data", market_file, "--out", "cluster", option, where)
    serial, cluster = tmp_path / "serial", tmp_path / "cluster"
    for name in EVALUATED:
        assert np.load(serial / f"{name}.npy").tobytes() == np.load(cluster / f"{name}.npy").tobytes()
    def measures(folder):
        return [dict(row, seconds=None) for row in read_csv(folder / "summary.csv")]
    assert len(measures(serial)) == 4 and measures(serial) == measures(cluster)
    assert (serial / "pnl_correlation.csv").read_bytes() == (cluster / "pnl_correlation.csv").read_bytes()


@pytest.mark.parametrize("catalogue_text, data, message", [
    ("rank(close)\nrank(close(\n", None, "signals.txt line 2: syntax error at column"),
    ("a b: rank(close)\n", None, "signals.txt line 1: syntax error"),
    ("rank(close)\n", "missing.npz", "data file missing.npz does not exist"),
    (None, None, "cannot read the catalogue signals.txt"),
])
def test_mistakes_are_one_line_with_status_2(quillmarsh, user_error, tmp_path, market_file, catalogue_text,
                                             data, message):
    if catalogue_text is not None:
        (tmp_path / "signals.txt").write_text(catalogue_text)
    user_error(quillmarsh("batch", "signals.txt", "--data", data or market_file, "--out", "out"), message)


def test_names_that_would_share_a_weights_file_are_refused(quillmarsh, user_error, tmp_path, market_file):
    (tmp_path / "c.json").write_text('{"examples": [{"name": "a b", "expression": "close"},'
                                     ' {"name": "a_b", "expression": "volume"}]}')
    user_error(quillmarsh("batch", "c.json", "--data", market_file, "--out", "out"),
               "signals 'a b' and 'a_b' would both write a_b.npy")


@pytest.mark.parametrize("workers", ["0", "-2", "two"])
def test_workers_must_be_a_positive_count(quillmarsh, catalogue, market_file, workers):
    completed = quillmarsh("batch", catalogue, "--data", market_file, "--out", "out", "--workers", workers)
    assert completed.returncode == 2 and "expected a positive number of workers" in completed.stderr


def test_workers_without_dask_say_how_to_install_it(tmp_path, catalogue, market_file):
    hide_dask = ("import sys; sys.modules['distributed'] = None; from quillmarsh.cli.main import main; "
                 "sys.exit(main(sys.argv[1:]))")
    completed = subprocess.run([sys.executable, "-c", hide_dask, "batch", catalogue, "--data", str(market_file),
                                "--out", "out", "--workers", "2"], cwd=tmp_path, capture_output=True, text=True)
    assert completed.returncode == 2
    assert completed.stderr == "quillmarsh: error: --workers needs Dask: pip install 'quillmarsh[cluster]'\n"
