"""Values between scattered points."""
import ctypes
from typing import Sequence

import numpy

from .calls import call
from .handle import Handle
from .library import lib

_FLOATS = ctypes.POINTER(ctypes.c_float)


class Triangulation(Handle):
    """Points with values, and estimates between them. It belongs to one thread at a time."""

    def __init__(self, x0: int, y0: int, x1: int, y1: int, dimensions: int = 1) -> None:
        """The arguments are those of `start`."""
        super().__init__(lib.ztlib_triangulation_create(), lib.ztlib_triangulation_destroy)
        self.start(x0, y0, x1, y1, dimensions)

    def start(self, x0: int, y0: int, x1: int, y1: int, dimensions: int = 1) -> None:
        """Begins anew: points have x0 <= x < x1 and y0 <= y < y1, and that many values."""
        call(lib.ztlib_triangulation_init, self.handle, x0, y0, x1, y1, dimensions)
        self._dimensions = dimensions

    def add_point(self, x: int, y: int, values: Sequence[float]) -> None:
        """Adds a point with copies of its values. One outside, or at the place of another, counts
        for nothing.
        """
        floats = numpy.ascontiguousarray(values, numpy.float32)
        call(lib.ztlib_triangulation_addPoint, self.handle, x, y, floats.ctypes.data_as(_FLOATS),
             floats.size)

    def finalize(self) -> None:
        """Completes the corners and the points without all values."""
        call(lib.ztlib_triangulation_finalize, self.handle)

    def estimate(self, x: int, y: int) -> numpy.ndarray:
        """The values at a pixel (float32), zeros where there are none."""
        values = numpy.zeros(max(self._dimensions, 0), numpy.float32)
        call(lib.ztlib_triangulation_estimate, self.handle, x, y, values.ctypes.data_as(_FLOATS),
             values.size)
        return values
