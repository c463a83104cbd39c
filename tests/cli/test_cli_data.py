"""Market data files: .npz, and Parquet (wide folder, long file) when pyarrow is installed."""
import numpy as np
import pytest


@pytest.fixture
def write_parquet():
    """Writes a dict of columns as one Parquet file; skips without pyarrow."""
    pa = pytest.importorskip("pyarrow")
    parquet = pytest.importorskip("pyarrow.parquet")
    return lambda columns, path: parquet.write_table(pa.table(columns), path)


def _evaluate_close(quillmarsh, tmp_path, data):
    quillmarsh("evaluate", "close", "--data", data, "--out", "w.npy", check=True)
    return np.load(tmp_path / "w.npy")


def test_npz_with_integer_arrays(quillmarsh, tmp_path):
    np.savez(tmp_path / "ints.npz", close=np.arange(12).reshape(3, 4), universe=np.ones((3, 4), int))
    weights = _evaluate_close(quillmarsh, tmp_path, "ints.npz")
    assert weights.dtype == np.float64
    np.testing.assert_array_equal(weights, np.arange(12.0).reshape(3, 4))


def test_parquet_wide_folder(quillmarsh, tmp_path, arrays, masked_close, write_parquet):
    folder = tmp_path / "wide"
    folder.mkdir()
    for name, matrix in arrays.items():
        columns = {"date": np.arange(matrix.shape[0]), **{f"asset{j}": matrix[:, j] for j in range(matrix.shape[1])}}
        write_parquet(columns, folder / f"{name}.parquet")
    np.testing.assert_array_equal(_evaluate_close(quillmarsh, tmp_path, folder), masked_close)


def test_parquet_long_file(quillmarsh, tmp_path, arrays, masked_close, write_parquet):
    days, assets = arrays["close"].shape
    order = np.random.default_rng(1).permutation(days * assets)[5:]  # shuffled, 5 cells absent
    date, asset = np.divmod(order, assets)
    columns = {"date": date, "asset": np.array([f"a{j:02d}" for j in asset])}
    columns.update({name: matrix[date, asset] for name, matrix in arrays.items()})
    write_parquet(columns, tmp_path / "long.parquet")
    expected = masked_close.copy()
    expected.flat[np.setdiff1d(np.arange(days * assets), order)] = np.nan  # an absent row is out of the universe
    np.testing.assert_array_equal(_evaluate_close(quillmarsh, tmp_path, "long.parquet"), expected)


def test_parquet_folder_without_universe(quillmarsh, user_error, tmp_path, arrays, write_parquet):
    folder = tmp_path / "wide"
    folder.mkdir()
    write_parquet({"a": arrays["close"][:, 0]}, folder / "close.parquet")
    user_error(quillmarsh("evaluate", "close", "--data", folder, "--out", "w.npy"), "has no 'universe.parquet' file")
    assert not (tmp_path / "w.npy").exists()
