"""Simulator engine: the compiled expression evaluator and the host types it works with."""
