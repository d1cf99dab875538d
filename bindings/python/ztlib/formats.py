"""Pixel and video formats."""
import enum
from typing import Tuple


class PixelFormat(enum.IntEnum):
    """How pictures lie in memory; the shapes of their arrays are those of `shape_of`."""
    BOOL8 = 0
    GRAY = 1
    RGB = 2  # blue, green, red, unused
    YUV = 3  # Y, U, V, unused
    YUYV = 4
    UYVY = 5
    RGBBAYER = 6
    YUVBAYERBLOCK = 7
    YUV420BLOCK = 8


class VideoFormat(enum.IntEnum):
    """How camera video is coded. The layered formats are decoded only."""
    LAYERED = 0
    MJPEG = 3
    LAYEREDDIFF = 4
    MJPEGDIFF = 7


# Pixels across and down, and bytes, of a sample of each pixel format.
_SAMPLES = [(1, 1, 1), (1, 1, 1), (1, 1, 4), (1, 1, 4), (2, 1, 4), (2, 1, 4), (1, 1, 1), (2, 2, 4),
            (16, 16, 384)]


def shape_of(format: int, width: int, height: int) -> Tuple[int, ...]:
    """The shape of a picture's array, whose elements are bytes: rows and columns of samples, and
    the bytes of a sample if it has more than one. The size is in pixels.
    """
    across, down, size = _SAMPLES[format]
    return (height // down, width // across) + ((size,) if size > 1 else ())


def size_of(format: int, shape: Tuple[int, ...]) -> Tuple[int, int]:
    """Width and height in pixels of an array of this shape. Raises ValueError for a wrong one."""
    across, down, _ = _SAMPLES[format]
    if len(shape) < 2 or shape_of(format, shape[1] * across, shape[0] * down) != shape:
        raise ValueError(f"pictures in {PixelFormat(format).name} do not have the shape {shape}")
    return shape[1] * across, shape[0] * down
