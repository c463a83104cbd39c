"""Evaluating many signals at once on one market: in this process or on a Dask cluster."""
from quillmarsh.batch.catalogue import Signal, read_catalogue
from quillmarsh.batch.evaluation import SUMMARY_COLUMNS
from quillmarsh.batch.many import BatchResult, evaluate_many

__all__ = ["SUMMARY_COLUMNS", "BatchResult", "Signal", "evaluate_many", "read_catalogue"]
