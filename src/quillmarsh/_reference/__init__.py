"""Plain NumPy references of the engine's vectorised kernels, for tests and benchmarks."""
