"""The frame manager: all memory of pictures belongs to numpy.

A frame is held here exactly as long as the library holds it. An array of its pixels keeps the
memory by itself and stays valid when the library is done with the frame.
"""
import ctypes
from ctypes import c_char, c_int32, c_void_p
from typing import Dict, NamedTuple, Optional

import numpy

from .calls import callback
from .formats import PixelFormat, shape_of, size_of
from .library import ALLOCATE, RELEASE, THIRD, lib


class Record(ctypes.Structure):
    """The frame as the library reads it; sizes are in pixels."""
    _fields_ = [("data", c_void_p), ("unread", c_char * 56), ("linesize", c_int32),
                ("unread_either", c_char * 36), ("width", c_int32), ("height", c_int32)]


class Frame(NamedTuple):
    record: Record
    pixels: numpy.ndarray
    format: PixelFormat


_held: Dict[int, Frame] = {}
_pixel_limit = 1 << 26


def set_pixel_limit(pixels: int) -> None:
    """Refuses pictures of more pixels than that, which damaged video can ask for (2**26)."""
    global _pixel_limit
    _pixel_limit = pixels


def hold(pixels: numpy.ndarray, format: int) -> int:
    """Makes a frame of an array without a copy and returns its address for the library."""
    width, height = size_of(format, pixels.shape)
    # Rows of gray pictures have no padding only if the line size says so.
    record = Record(data=pixels.ctypes.data, linesize=width, width=width, height=height)
    address = ctypes.addressof(record)
    _held[address] = Frame(record, pixels, PixelFormat(format))
    return address


def held(address: int) -> Frame:
    """The frame at an address that the library returned."""
    return _held[address]


def drop(address: int) -> None:
    """Lets a frame go that the library does not hold."""
    _held.pop(address, None)


@callback(ALLOCATE)
def _allocate(width: int, height: int, format: int) -> Optional[int]:
    if width * height > _pixel_limit:
        raise MemoryError(f"a picture of {width} x {height} pixels is above the limit")
    return hold(numpy.zeros(shape_of(format, width, height), numpy.uint8), format)


_release = callback(RELEASE)(drop)
lib.ztlib_registerAVFrameMgr(_allocate, _release, THIRD(), 0)
