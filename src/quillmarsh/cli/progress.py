"""A text progress bar on stderr: redrawn in place on a terminal, one final line otherwise."""
from __future__ import annotations

import sys
import time
from typing import TextIO


class ProgressBar:
    def __init__(self, total: int, label: str, stream: TextIO | None = None, width: int = 30) -> None:
        self.total = max(total, 1)
        self.label = label
        self.stream = stream if stream is not None else sys.stderr
        self.width = width
        self.done = 0
        self._started = time.perf_counter()
        self._interactive = self.stream.isatty()

    def advance(self, steps: int = 1) -> None:
        self.done = min(self.done + steps, self.total)
        if self._interactive:
            self.stream.write("\r" + self._line())
            self.stream.flush()

    def close(self) -> None:
        self.stream.write(("\r" if self._interactive else "") + self._line() + "\n")
        self.stream.flush()

    def _line(self) -> str:
        filled = self.width * self.done // self.total
        bar = "#" * filled + "." * (self.width - filled)
        elapsed = time.perf_counter() - self._started
        return f"{self.label} [{bar}] {self.done}/{self.total} {elapsed:5.1f}s"
