"""Cross-sectional (row-wise) rotations."""
