"""Outputs survive a full disk, stay consistent with each other, and states chain across any chunk length."""
import os
import resource
import subprocess

import numpy as np
import pytest

from tests.cli.conftest import CLI

PREVIOUS = b"previous"


def run_with_file_size_limit(folder, limit, *args):
    def limit_file_size():
        resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
    return subprocess.run([str(CLI), *map(str, args)], cwd=folder, capture_output=True, text=True, timeout=600,
                          preexec_fn=limit_file_size)


# 60 x 8 weights take 3,968 bytes; the states of a window of 50 about 11 KB.
@pytest.mark.parametrize("graph, limit, failing", [
    ("mean(close, 3)", 2048, "w.npy"), ("zscore(mean(close, 50), 50)", 6000, "s.npz"),
])
def test_write_error_keeps_every_earlier_output(tmp_path, market_file, user_error, graph, limit, failing):
    for name in ("w.npy", "s.npz"):
        (tmp_path / name).write_bytes(PREVIOUS)
    completed = run_with_file_size_limit(tmp_path, limit, "evaluate", graph, "--data", market_file,
                                         "--out", "w.npy", "--states-out", "s.npz")
    user_error(completed, f"cannot write {failing}: File too large")
    assert [(tmp_path / name).read_bytes() for name in ("w.npy", "s.npz")] == [PREVIOUS, PREVIOUS]
    assert sorted(path.name for path in tmp_path.iterdir()) == ["market.npz", "s.npz", "w.npy"]


def test_outputs_replace_earlier_files_keeping_their_permissions(quillmarsh, tmp_path, market_file):
    (tmp_path / "w.npy").write_bytes(PREVIOUS)
    os.chmod(tmp_path / "w.npy", 0o640)
    quillmarsh("evaluate", "rank(close)", "--data", market_file, "--out", "w.npy", "--states-out", "s.npz", check=True)
    assert np.load(tmp_path / "w.npy").shape == (60, 8)
    assert (tmp_path / "w.npy").stat().st_mode & 0o777 == 0o640
    umask = os.umask(0)
    os.umask(umask)
    assert (tmp_path / "s.npz").stat().st_mode & 0o777 == 0o666 & ~umask


def test_one_file_for_weights_and_states_is_refused(quillmarsh, user_error, market_file):
    user_error(quillmarsh("evaluate", "close", "--data", market_file, "--out", "x", "--states-out", "./x"),
               "--out and --states-out both name x")


@pytest.mark.parametrize("expression", [" * ".join(["rank(close)"] * 25),  # past a file name's limit
                                        "rank(" + " " * 5000 + "close)"])  # past a path's limit
def test_expression_longer_than_a_file_name(quillmarsh, tmp_path, market_file, expression):
    quillmarsh("evaluate", expression, "--data", market_file, "--out", "w.npy", check=True)
    assert np.load(tmp_path / "w.npy").shape == (60, 8)


def test_states_after_a_long_first_chunk_continue_exactly(quillmarsh, tmp_path):
    """A chunk long enough for the whole-matrix path still saves states, and chunks equal one run."""
    graph, rows = "zscore(mean(close, 3), 5)", 100_000
    close = np.random.default_rng(2).normal(size=(rows + 10, 2))
    for name, part in (("all", slice(None)), ("first", slice(rows)), ("second", slice(rows, None))):
        np.savez(tmp_path / f"{name}.npz", close=close[part], universe=np.ones_like(close[part]))
    first = quillmarsh("evaluate", graph, "--data", "first.npz", "--out", "first.npy", "--states-out", "s.npz",
                       check=True)
    assert "path:    general (the longitudinal path saves no states" in first.stdout
    quillmarsh("evaluate", graph, "--data", "second.npz", "--out", "second.npy", "--states-in", "s.npz", check=True)
    quillmarsh("evaluate", graph, "--data", "all.npz", "--out", "all.npy", check=True)
    streamed = np.vstack([np.load(tmp_path / "first.npy"), np.load(tmp_path / "second.npy")])
    np.testing.assert_array_equal(streamed, np.load(tmp_path / "all.npy"))

