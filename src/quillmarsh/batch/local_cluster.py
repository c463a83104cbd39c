"""A Dask cluster of worker processes on this machine, set up for batches of signals."""
from __future__ import annotations

import contextlib
from collections.abc import Iterator
from typing import Any

# The workers' statistical profiler samples the running task every 10 ms for the dashboard;
# on the batch benchmark it cost the workers about 5% of their CPU time.
_WORKER_CONFIG = {"distributed.worker.profile.enabled": False}


@contextlib.contextmanager
def local_client(workers: int) -> Iterator[Any]:
    """A client of a new local cluster of `workers` single-threaded processes, both closed on
    exit. Needs the `distributed` package."""
    import dask
    import distributed

    with dask.config.set(_WORKER_CONFIG), \
            distributed.LocalCluster(n_workers=workers, threads_per_worker=1, processes=True,
                                     dashboard_address=":0") as cluster, \
            distributed.Client(cluster) as client:
        yield client
