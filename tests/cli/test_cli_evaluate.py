"""`quillmarsh evaluate` and `quillmarsh show` on small data, as a user runs them."""
import numpy as np
import pytest

EXPRESSIONS = ["rank(close) * rank(volume)", "zscore(mean(returns, 5), 10)", "scale(demean(rank(volume)), 2.0)",
               "mul(std(close, 3), latitudinal_rank_688068(volume))"]


def test_bare_feature_is_the_masked_matrix(quillmarsh, tmp_path, market_file, masked_close):
    completed = quillmarsh("evaluate", "close", "--data", market_file, "--out", "w.npy", check=True)
    assert "path:    leaf" in completed.stdout
    np.testing.assert_array_equal(np.load(tmp_path / "w.npy"), masked_close)


@pytest.mark.parametrize("expression", EXPRESSIONS)
def test_text_and_json_forms_evaluate_alike(quillmarsh, tmp_path, market_file, expression):
    (tmp_path / "graph.json").write_text(quillmarsh("show", expression, "--json", check=True).stdout)
    (tmp_path / "graph.txt").write_text(f"# the same graph\n{expression}\n")
    for source, out in ((expression, "text.npy"), ("graph.json", "json.npy"), ("graph.txt", "file.npy")):
        quillmarsh("evaluate", source, "--data", market_file, "--out", out, check=True)
    text = np.load(tmp_path / "text.npy")
    assert text.shape == (60, 8) and not np.isnan(text).all()
    np.testing.assert_array_equal(np.load(tmp_path / "json.npy"), text)
    np.testing.assert_array_equal(np.load(tmp_path / "file.npy"), text)


def test_states_carry_a_rolling_window_across_files(quillmarsh, tmp_path, arrays):
    runs = {"all": (slice(None), ()), "first": (slice(40), ("--states-out", "s.npz")),
            "second": (slice(40, None), ("--states-in", "s.npz"))}
    for name, (rows, extra) in runs.items():
        np.savez(tmp_path / f"{name}.npz", **{key: a[rows] for key, a in arrays.items()})
        quillmarsh("evaluate", "zscore(mean(returns, 3), 12)", "--data", f"{name}.npz", "--out", f"{name}.npy", *extra,
                   check=True)
    streamed = np.vstack([np.load(tmp_path / "first.npy"), np.load(tmp_path / "second.npy")])
    np.testing.assert_array_equal(streamed, np.load(tmp_path / "all.npy"))


def test_data_nan_features_empty_the_nodes_above_them(quillmarsh, tmp_path, market_file):
    completed = quillmarsh("evaluate", "rank(close) * rank(volume)", "--data", market_file,
                           "--out", "w.npy", "--data-nan-features", "close", check=True)
    assert "data NaN from: root.c0, root.c0.c0" in completed.stdout
    assert np.isnan(np.load(tmp_path / "w.npy")).all()


def test_unknown_data_nan_feature(quillmarsh, user_error, market_file):
    user_error(quillmarsh("evaluate", "rank(close)", "--data", market_file, "--out", "w.npy", "--data-nan-features",
                          "close,spread"), "unknown feature 'spread'")


def test_show_prints_identities_and_path(quillmarsh, market_file):
    lines = quillmarsh("show", "rank(close) * rank(volume)", "--data", market_file, check=True).stdout.splitlines()
    assert lines[0] == "text:  rank(close) * rank(volume)" and lines[1].startswith("path:  rank product")
    assert [line.split()[:2] for line in lines[3:]] == [
        ["root", "rotation"], ["root.c0", "rotation"], ["root.c0.c0", "feature"],
        ["root.c1", "rotation"], ["root.c1.c0", "feature"]]


@pytest.mark.parametrize("expression, rows, path", [
    ("close", 100, "leaf"), ("rank(close)", 100, "rank"), ("zscore(mean(close, 5), 20)", 100, "general"),
    ("zscore(mean(close, 5), 20)", 100_000, "longitudinal"),
])
def test_show_path_on_placeholder_data(quillmarsh, expression, rows, path):
    lines = quillmarsh("show", expression, "--rows", rows, check=True).stdout.splitlines()
    assert lines[1] == f"path:  {path} (placeholder data, {rows} days)"
    if path == "longitudinal":
        assert lines[2].strip() == "the longitudinal path saves no states, so --states-out runs the general path"
