"""Sizes on the command line."""
import argparse

import pytest

from quillmarsh.cli.data_size import parse_size


@pytest.mark.parametrize("text, size", [
    ("1500000", 1_500_000), ("64k", 64 * 1024), ("0.5M", 512 * 1024), ("4G", 4 << 30), ("4GiB", 4 << 30),
    ("2gb", 2 << 30), (" 1T ", 1 << 40),
])
def test_parse_size(text, size):
    assert parse_size(text) == size


@pytest.mark.parametrize("text", ["", "G", "12Q", "-1G", "0", "nan", "inf"])
def test_invalid_size(text):
    with pytest.raises(argparse.ArgumentTypeError):
        parse_size(text)
