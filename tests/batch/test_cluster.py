"""Batches on a real local Dask cluster: the serial run's results, bit for bit and in order, even
when a worker is killed in the middle of the run."""
import os
import signal
import sys

import pytest

from quillmarsh.batch import evaluate_many

from tests.batch.conftest import SIGNALS

distributed = pytest.importorskip("distributed")


class KillFirstExecutingWorker(distributed.WorkerPlugin):
    """Kills the worker process that starts the first task after the plugin is installed; the
    marker file makes sure that happens once across all workers."""

    name = "kill-first-executing-worker"

    def __init__(self, marker: str) -> None:
        self.marker = marker

    def transition(self, key, start, finish, **kwargs) -> None:
        if finish != "executing":
            return
        try:
            os.close(os.open(self.marker, os.O_CREAT | os.O_EXCL))
        except FileExistsError:
            return
        os.kill(os.getpid(), signal.SIGKILL)


def assert_same_results(serial, clustered) -> None:
    measures = [column for column in serial.summary.columns if column != "seconds"]
    assert serial.summary[measures].equals(clustered.summary[measures])
    assert list(serial.weights) == list(clustered.weights)
    for name, weights in serial.weights.items():
        assert weights.tobytes() == clustered.weights[name].tobytes(), name
    assert serial.pnl_correlation.equals(clustered.pnl_correlation)


@pytest.fixture(scope="module")
def many_signals():
    """Enough signals for several tasks per worker."""
    lookbacks = {f"mean_{k}": f"rank(mean(returns, {k}))" for k in range(2, 14)}
    return {**SIGNALS, **lookbacks}


def test_a_cluster_run_equals_the_serial_run(dask_client, small_market, many_signals):
    assert_same_results(evaluate_many(many_signals, small_market),
                        evaluate_many(many_signals, small_market, dask_client))


def test_a_worker_killed_mid_run_loses_no_signal(dask_client, small_market, many_signals, tmp_path):
    marker = tmp_path / "killed"
    distributed.protocol.pickle.cloudpickle.register_pickle_by_value(sys.modules[__name__])
    dask_client.register_plugin(KillFirstExecutingWorker(str(marker)))
    try:
        clustered = evaluate_many(many_signals, small_market, dask_client)
    finally:
        dask_client.unregister_worker_plugin(KillFirstExecutingWorker.name)
    assert marker.exists()
    assert_same_results(evaluate_many(many_signals, small_market), clustered)
