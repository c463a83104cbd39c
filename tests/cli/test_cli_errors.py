"""Every mistake a user can make: one line naming it, exit status 2, no output file left."""
import pickle

import numpy as np
import pytest


@pytest.mark.parametrize("expression, message", [
    ("foo(close)", "unknown function 'foo' at column 1"),
    ("rank(clse)", "unknown feature 'clse'; the data has amount, close, returns, volume"),
    ("rank(close) +* rank(volume)", "syntax error at column 14: expected an operand, found '*'"),
    ("close.shift(1)", "unsupported expression 'close.shift' at column 1"),
    ("mean(close, None)", "unsupported expression 'None' at column 13"), ("  ", "empty expression"),
    ("mean(close, 'x')", "evaluation failed: window must be an integer, got 'x'"),
])
def test_bad_expression(quillmarsh, user_error, tmp_path, market_file, expression, message):
    user_error(quillmarsh("evaluate", expression, "--data", market_file, "--out", "w.npy"), message)
    assert sorted(p.name for p in tmp_path.iterdir()) == ["market.npz"]


@pytest.mark.parametrize("changes, message", [
    ({"universe": None}, "has no 'universe' array"),
    ({"volume": np.ones((60, 7))}, "feature 'volume' has shape (60, 7), the universe (60, 8)"),
    ({"close": np.ones(60)}, "feature 'close' must be a 2-D (days, assets) array"),
    ({"close": np.array([["a"] * 8] * 60)}, "feature 'close' is not numeric"),
])
def test_bad_data(quillmarsh, user_error, tmp_path, arrays, changes, message):
    np.savez(tmp_path / "bad.npz", **{key: a for key, a in {**arrays, **changes}.items() if a is not None})
    user_error(quillmarsh("evaluate", "returns", "--data", "bad.npz", "--out", "w.npy"), message)
    assert not (tmp_path / "w.npy").exists()


def test_states_file_from_another_graph(quillmarsh, user_error, tmp_path, market_file):
    quillmarsh("evaluate", "mean(close, 5)", "--data", market_file, "--out", "a.npy", "--states-out", "s.npz",
               check=True)
    completed = quillmarsh("evaluate", "mean(close, 10)", "--data", market_file, "--out", "b.npy",
                           "--states-in", "s.npz", "--states-out", "t.npz")
    user_error(completed, "states file s.npz was saved for the graph mean(close, 5), not for mean(close, 10)")
    assert not (tmp_path / "b.npy").exists() and not (tmp_path / "t.npz").exists()


def test_old_pickle_states_file_is_refused(quillmarsh, user_error, tmp_path, market_file):
    (tmp_path / "s.pkl").write_bytes(pickle.dumps({"format": "quillmarsh-states-1", "graph": "close", "states": {}}))
    completed = quillmarsh("evaluate", "close", "--data", market_file, "--out", "w.npy", "--states-in", "s.pkl")
    user_error(completed, "s.pkl is not a quillmarsh states file (pickle states files of earlier versions are not "
                          "read); states files are .npz archives written by --states-out; make a new one")


def test_unknown_function_in_a_json_graph(quillmarsh, user_error, tmp_path, market_file):
    (tmp_path / "g.json").write_text(
        '{"type": "rotation", "node": "mystery_1", "children": [{"type": "feature", "node": "close"}]}')
    completed = quillmarsh("evaluate", "g.json", "--data", market_file, "--out", "w.npy")
    user_error(completed, "unknown function 'mystery_1' (node root)")
