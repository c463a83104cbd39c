"""Drawn bad inputs: one line on stderr naming the problem, status 2, no traceback, nothing written,
an earlier output left as it was."""
import io
import json
import os
import pickle
import subprocess
import zipfile
from pathlib import Path

import numpy as np
import pytest
from hypothesis import HealthCheck, given, settings, strategies as st

from quillmarsh.simulator_engine._types import FunctionState

from quillmarsh.cli import states_format
from tests.cli.conftest import CLI

PREVIOUS = b"previous weights"
GRAPH = "zscore(mean(close, 3), 5)"
# Each drawn case starts the command once (about a second), so a tenth of the profile's examples.
drawn = settings(max_examples=max(5, settings.default.max_examples // 10),
                 suppress_health_check=[HealthCheck.function_scoped_fixture])


def market_arrays(rows=20, assets=3):
    rng = np.random.default_rng(5)
    return {"close": rng.normal(100.0, 1.0, (rows, assets)), "universe": np.ones((rows, assets))}


def run_refused(folder: Path, *args) -> str:
    """Runs the command in `folder`, whose `w.npy` holds earlier weights; checks the refusal."""
    (folder / "w.npy").write_bytes(PREVIOUS)
    before = sorted(path.name for path in folder.iterdir())
    completed = subprocess.run([str(CLI), *args], cwd=folder, capture_output=True, timeout=600)
    stderr = completed.stderr.decode("utf-8", "backslashreplace")
    lines = stderr.splitlines()
    assert completed.returncode == 2 and len(lines) == 1, stderr
    assert lines[0].startswith("quillmarsh: error: ") and "Traceback" not in stderr, stderr
    assert (folder / "w.npy").read_bytes() == PREVIOUS
    assert sorted(path.name for path in folder.iterdir()) == before
    return lines[0]


def npz_bytes(arrays, compressed=False) -> bytes:
    stream = io.BytesIO()
    (np.savez_compressed if compressed else np.savez)(stream, **arrays)
    return stream.getvalue()


def lying_npz(shape) -> bytes:
    header = io.BytesIO()
    np.lib.format.write_array_header_1_0(header, {"descr": "<f8", "fortran_order": False, "shape": shape})
    stream = io.BytesIO()
    with zipfile.ZipFile(stream, "w") as archive:
        archive.writestr("close.npy", header.getvalue() + b"\0" * 16)
        archive.writestr("universe.npy", header.getvalue())
    return stream.getvalue()


non_real = st.sampled_from(["c8", "c16", "M8[s]", "m8[D]", [("a", "f8")], "S3", "U2"]).map(np.dtype)
bad_npz = st.one_of(
    st.just((b"", "cannot be read as .npz")),
    st.binary(max_size=64).map(lambda data: (data, "cannot be read as .npz")),
    st.integers(30, 1000).map(lambda cut: (npz_bytes(market_arrays())[:cut], "cannot be read as .npz")),
    st.tuples(st.integers(3, 10 ** 6), st.integers(3, 10 ** 6)).map(
        lambda shape: (lying_npz(shape), "declares shape")),
    non_real.map(lambda dtype: (npz_bytes({**market_arrays(), "close": np.zeros((20, 3), dtype)}),
                                "is not numeric")),
    st.just((npz_bytes({**market_arrays(), "close": np.array([None, 1], dtype=object)}),
             "holds Python objects")),
    st.integers(200, 2000).map(lambda rows: (npz_bytes(market_arrays(rows, 50), compressed=True),
                                             "above the limit of 64.0 KiB (raise it with --max-data-size)")),
)


@drawn
@given(case=bad_npz)
def test_bad_npz_data(tmp_path, case):
    content, message = case
    (tmp_path / "bad.npz").write_bytes(content)
    line = run_refused(tmp_path, "evaluate", "close", "--data", "bad.npz", "--out", "w.npy", "--max-data-size", "64K")
    assert message in line


@drawn
@given(cells=st.integers(20_000, 200_000))
def test_sparse_long_parquet_is_refused_before_expanding(tmp_path, cells):
    """One row per date and per asset: `cells` rows that would spread over cells x cells."""
    pa, parquet = pytest.importorskip("pyarrow"), pytest.importorskip("pyarrow.parquet")
    ones = np.ones(cells)
    parquet.write_table(pa.table({"date": np.arange(cells), "asset": np.arange(cells), "close": ones,
                                  "universe": ones}), tmp_path / "long.parquet")
    line = run_refused(tmp_path, "evaluate", "close", "--data", "long.parquet", "--out", "w.npy")
    assert f"expands to {cells} dates x {cells} assets" in line and "GiB" in line


def nested_json(depth: int) -> str:
    opening = '{"type": "rotation", "node": "latitudinal_rank_688068", "children": ['
    return opening * depth + '{"type": "feature", "node": "close"}' + "]}" * depth


graph_node = st.deferred(lambda: st.fixed_dictionaries(
    {"type": st.sampled_from(["feature", "rotation", "reduction", "int", "float", "string", "list", "x"]),
     "node": st.one_of(st.sampled_from(["close", "latitudinal_rank_688068", "longitudinal_accumulators_25c7fb"]),
                       st.integers(), st.text(max_size=4), st.lists(st.integers(), max_size=2), st.none())},
    optional={"children": st.lists(graph_node, max_size=2) | st.integers(),
              "config": st.dictionaries(st.text(max_size=4), st.integers() | st.text(max_size=3), max_size=2)
              | st.lists(st.integers(), max_size=1)}))
bad_graphs = st.one_of(
    st.integers(1_000, 50_000).map(lambda depth: ("g.json", nested_json(depth))),
    st.integers(1_000, 20_000).map(lambda depth: ("g.txt", "rank(" * depth + "close" + ")" * depth)),
    st.integers(50_000, 400_000).map(lambda count: ("g.txt", " * ".join(["close"] * count))),
    st.sampled_from(['{"type": "feature", "node": "\\ud800"}', '{"type": "rotation", "node": "\\udcff"}',
                     '{"type": [], "node": {}}', "[1, 2]", '{"type": "feature", "node": "close"']
                    ).map(lambda text: ("g.json", text)),
)


@drawn
@given(case=bad_graphs)
def test_bad_graph_files(tmp_path, market_file, case):
    name, text = case
    (tmp_path / name).write_text(text)
    run_refused(tmp_path, "evaluate", name, "--data", market_file, "--out", "w.npy")


@drawn
@given(graph=graph_node.filter(lambda node: node["type"] != "feature" or node["node"] != "close"))
def test_drawn_json_graphs_never_end_in_a_traceback(tmp_path, market_file, graph):
    (tmp_path / "g.json").write_text(json.dumps(graph))
    (tmp_path / "w.npy").write_bytes(PREVIOUS)
    completed = subprocess.run([str(CLI), "evaluate", "g.json", "--data", market_file, "--out", "w.npy"],
                               cwd=tmp_path, capture_output=True, text=True, timeout=600)
    assert completed.returncode in (0, 2) and "Traceback" not in completed.stderr, completed.stderr
    if completed.returncode == 2:
        assert (tmp_path / "w.npy").read_bytes() == PREVIOUS and len(completed.stderr.splitlines()) == 1


@drawn
@given(argument=st.sampled_from([b"rank(\xff)", b"rank(close\xfe\xff)", b"\xff.json", b"\xc3(close)"]))
def test_expression_that_is_not_utf8(tmp_path, market_file, argument):
    run_refused(tmp_path, b"evaluate", argument, b"--data", os.fsencode(market_file), b"--out", b"w.npy")


def saved_states(function="longitudinal_accumulators_25c7fb", **changes) -> bytes:
    """A states file of GRAPH whose inner rolling mean's payload has `changes` (None removes)."""
    rolling = {"count": 20, "window": 3, "ring": np.zeros((3, 3)), "nan_in_window": np.zeros(3, np.int64),
               **{key: np.zeros(3, np.longdouble) for key in
                  ("prefix_sum", "prefix_sum_sq", "lagging_sum", "lagging_sum_sq")}}
    inner = {key: value for key, value in {**rolling, **changes}.items() if value is not None}
    states = {"root.c0": FunctionState(function, "1", inner),
              "root": FunctionState("longitudinal_accumulators_7e8468", "1", {**rolling, "window": 5,
                                                                             "ring": np.zeros((5, 3))})}
    return npz_bytes(states_format.encode(GRAPH, states))


BAD_STATES = {
    "old pickle": lambda: pickle.dumps({"format": "quillmarsh-states-1", "graph": GRAPH, "states": {}}),
    "random bytes": lambda: np.random.default_rng(1).bytes(40),
    "no header": lambda: npz_bytes({"ring": np.zeros(3)}),
    "deep JSON header": lambda: npz_bytes({"header": np.frombuffer(b"[" * 100_000, np.uint8)}),
    "another function": lambda: saved_states("latitudinal_rank_688068"),
    "negative count": lambda: saved_states(count=-4),
    "text window": lambda: saved_states(window="x"),
    "short ring": lambda: saved_states(ring=np.zeros((2, 3))),
    "missing sums": lambda: saved_states(prefix_sum=None),
}


@pytest.mark.parametrize("content", BAD_STATES.values(), ids=BAD_STATES.keys())
def test_bad_states_files(tmp_path, market_file, content):
    (tmp_path / "s.npz").write_bytes(content())
    run_refused(tmp_path, "evaluate", GRAPH, "--data", market_file, "--out", "w.npy", "--states-in", "s.npz",
                "--states-out", "t.npz")


@pytest.mark.parametrize("option, kind", [  # a folder of Parquet files is data
    (option, kind) for option in ("--out", "--states-out", "--data", "--states-in", "graph")
    for kind in ("folder", "fifo") if (option, kind) != ("--data", "folder")])
def test_file_that_is_not_a_regular_file(tmp_path, market_file, option, kind):
    """A pipe given as input would block the command; given as output it would be replaced."""
    path = tmp_path / "target.json"
    path.mkdir() if kind == "folder" else os.mkfifo(path)
    files = {"graph": GRAPH, "--data": market_file, "--out": "w.npy", "--states-out": "s.npz", option: path.name}
    graph = files.pop("graph")
    line = run_refused(tmp_path, "evaluate", graph, *(x for pair in files.items() for x in pair))
    assert f"{path.name} {'is a folder' if kind == 'folder' else 'is not a regular file'}" in line
