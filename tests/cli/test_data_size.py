"""Sizes on the command line and in messages."""
import argparse

import pytest

from quillmarsh.cli.data_size import format_size, parse_size


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


@pytest.mark.parametrize("size, text", [
    (1023, "1023 B"), (1024, "1.0 KiB"), (1536, "1.5 KiB"), ((4 << 30) - 1, "4.0 GiB"), (3 << 40, "3.0 TiB"),
    (5000 << 40, "5000.0 TiB"),
])
def test_format_size(size, text):
    assert format_size(size) == text
