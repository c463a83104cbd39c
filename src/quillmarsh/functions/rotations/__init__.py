"""Rotation functions applied to whole feature matrices."""
