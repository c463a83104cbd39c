"""200 signals on the 2,520 x 500 synthetic market: serially in this process, then on a local
Dask cluster of 2 worker processes, each run writing the weights into a scratch folder.

Prints both wall times and their ratio (goal: >= 1.7 on 2 cores), and the scheduling overhead:
the cluster's wall time not spent inside a task on its busiest worker (scattering the market,
submitting, collecting results, idle ends), as a share of the serial time (goal: < 5%).
Starting the cluster is timed apart and left out of both. On cores shared with other work the
wall times say little, so it also prints the CPU seconds of the serial run and of each worker
process (tasks, messages and all), and the speed-up they allow when each process has a core
to itself: the serial CPU seconds against the busiest worker's plus the scheduling overhead.
Run: .venv/bin/python bench/bench_batch_cluster.py
"""
from __future__ import annotations

import tempfile
import time
from collections import defaultdict
from pathlib import Path

import numpy as np

from quillmarsh.batch.local_cluster import local_client
from quillmarsh.batch.many import as_signals
from quillmarsh.batch.runner import run_outcomes
from quillmarsh.cli.market import synthetic_market

DAYS, ASSETS, WORKERS = 2520, 500, 2


def signals() -> list[str]:
    """Five families of 40 signals over the built-in operators, one per lookback."""
    lookbacks = range(2, 42)
    return ([f"rank(mean(returns, {k}))" for k in lookbacks]
            + [f"zscore(mean(returns, 5), {10 + 5 * k})" for k in lookbacks]
            + [f"rank(close) * rank(mean(volume, {k}))" for k in lookbacks]
            + [f"scale(demean(rank(mean(returns, {k}))), 1.0)" for k in lookbacks]
            + [f"demean(zscore(volume, {5 * k}))" for k in lookbacks])


def timed_run(batch, market, client=None):
    """(wall seconds, outcomes in catalogue order)."""
    with tempfile.TemporaryDirectory() as folder:
        started = time.perf_counter()
        outcomes = dict(run_outcomes(batch, market, client, Path(folder)))
        return time.perf_counter() - started, [outcomes[i] for i in range(len(batch))]


def busy_seconds(task_stream) -> dict[str, float]:
    """Seconds each worker spent computing tasks."""
    busy = defaultdict(float)
    for task in task_stream:
        for interval in task["startstops"]:
            if interval["action"] == "compute":
                busy[task["worker"]] += interval["stop"] - interval["start"]
    return busy


def same_results(serial, parallel) -> bool:
    def measures(outcome):
        return {key: value for key, value in outcome.row.items() if key != "seconds"}
    return all(str(measures(a)) == str(measures(b)) and np.array_equal(a.pnl, b.pnl, equal_nan=True)
               for a, b in zip(serial, parallel))


def main() -> None:
    from distributed import get_task_stream

    market = synthetic_market(DAYS, ASSETS)
    batch = as_signals(signals())
    cpu_started = time.process_time()
    serial_seconds, serial = timed_run(batch, market)
    serial_cpu = time.process_time() - cpu_started
    core_share = serial_cpu / serial_seconds
    print(f"{len(batch)} signals on {DAYS} x {ASSETS}: serial {serial_seconds:.2f}s, on "
          f"{core_share:.0%} of a core (less when other processes share the cores)")
    started = time.perf_counter()
    with local_client(WORKERS) as client:
        print(f"cluster of {WORKERS} workers started in {time.perf_counter() - started:.2f}s")
        cpu_before = client.run(time.process_time)
        with get_task_stream(client) as stream:
            cluster_seconds, parallel = timed_run(batch, market, client)
        cpu_after = client.run(time.process_time)
        busy = busy_seconds(stream.data)
    worker_cpu = [cpu_after[worker] - cpu_before[worker] for worker in cpu_before]
    overhead = cluster_seconds - max(busy.values())
    print(f"{WORKERS} workers: {cluster_seconds:.2f}s; speed-up {serial_seconds / cluster_seconds:.2f}x "
          f"(goal >= 1.7)")
    print(f"time inside tasks, all workers: {sum(busy.values()):.2f}s (serial {serial_seconds:.2f}s; "
          f"more means the workers ran slower than the serial run, e.g. on busy cores)")
    print(f"CPU seconds: serial {serial_cpu:.2f}, workers {' + '.join(f'{c:.2f}' for c in worker_cpu)}; "
          f"speed-up with a core each: {serial_cpu / (max(worker_cpu) + overhead):.2f}x")
    print(f"scheduling overhead: {overhead:.2f}s = {overhead / serial_seconds:.1%} of serial (goal < 5%)")
    print(f"same summaries and PnL as the serial run: {'yes' if same_results(serial, parallel) else 'NO'}")


if __name__ == "__main__":
    main()
