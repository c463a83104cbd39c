"""Cell-by-cell comparison shared by the tests that hold native results to their NumPy twins."""
import numpy as np


def assert_same_bits(actual, expected, message="", zero_signs=True):
    """Equal shape, dtype and bits; NaN matches NaN whatever its payload. Without `zero_signs`,
    0.0 and -0.0 count as equal (the time-series extremes keep the oldest zero, NumPy does not)."""
    actual, expected = np.asarray(actual), np.asarray(expected)
    assert actual.shape == expected.shape and actual.dtype == expected.dtype, message
    nan = np.isnan(expected)
    np.testing.assert_array_equal(np.isnan(actual), nan, err_msg=message)
    if zero_signs:
        assert actual[~nan].tobytes() == expected[~nan].tobytes(), (message, actual, expected)
    else:
        np.testing.assert_array_equal(actual[~nan], expected[~nan], err_msg=message)
