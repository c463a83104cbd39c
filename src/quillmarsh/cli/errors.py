"""The error a user can fix: reported as one line, exit status 2."""
from __future__ import annotations


class UserError(Exception):
    """Bad input from the command line: an expression, a data file, a states file."""
