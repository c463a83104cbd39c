"""A Dask cluster of worker processes on this machine, set up for batches of signals."""
from __future__ import annotations

import contextlib
from collections.abc import Iterator
from typing import Any

# Dask starts workers with a fixed malloc trim threshold, which also turns off glibc's
# adaptive mmap threshold: every (days, assets) temporary is then mapped and unmapped, and its
# pages faulted in anew (12x the page faults; 20-30% more CPU per signal on the benchmark).
# The workers' statistical profiler samples the running task every 10 ms for the dashboard
# (about 5% of their CPU time).
_WORKER_CONFIG = {"distributed.nanny.pre-spawn-environ.MALLOC_TRIM_THRESHOLD_": None,
                  "distributed.worker.profile.enabled": False}


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
