"""Virtual coordinates, 16384 across each axis of a picture, and the choice of a scale."""
from typing import Optional

from .calls import call
from .formats import PixelFormat
from .library import lib


def pixel_x(virtual: int, width: int) -> int:
    """The column of a virtual x in a picture of `width` pixels; 0 without a width."""
    return lib.ztlib_getPixelXByVirtualX(virtual, width)


def pixel_y(virtual: int, height: int) -> int:
    """The row of a virtual y."""
    return lib.ztlib_getPixelYByVirtualY(virtual, height)


def virtual_x(pixel: int, width: int) -> int:
    """The virtual x of a column."""
    return lib.ztlib_getVirtualXByPixelX(pixel, width)


def virtual_y(pixel: int, height: int) -> int:
    """The virtual y of a row."""
    return lib.ztlib_getVirtualYByPixelY(pixel, height)


def scale_down(target: int, width: int, height: int, format: Optional[PixelFormat] = None) -> int:
    """The power of two that brings the larger side closest to `target` pixels.

    With a format, in whole samples of it. 0 if there is none.
    """
    if format is None:
        return lib.ztlib_getScaleDownByPixel1(target, width, height)
    return call(lib.ztlib_getScaleDownByPixel3, target, format, width, height)
