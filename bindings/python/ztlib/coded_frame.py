"""What a coded frame tells about itself, and its parts."""
import ctypes
from typing import Any, NamedTuple

import numpy

from .calls import blob, bytes_of, call, collect, one
from .library import lib


class FrameInfo(NamedTuple):
    """The header of a frame; sizes are in pixels. `payload` is a view of what follows it."""
    width: int
    height: int
    format: int
    differential: int
    refresh: int
    frame_type: int
    payload: memoryview


def frame_info(frame: Any) -> FrameInfo:
    """Reads the header of a frame in any contiguous buffer. Raises `Error` below 64 bytes."""
    data = bytes_of(frame)
    numbers = [ctypes.c_int32() for _ in range(6)]
    payload, size = ctypes.c_void_p(), ctypes.c_uint32()
    call(lib.ztlib_getFrameInfo2, data.ctypes.data, data.size, *numbers, payload, size)
    begin = (payload.value or data.ctypes.data) - data.ctypes.data
    return FrameInfo(*(number.value for number in numbers),
                     memoryview(data)[begin:begin + size.value])


def frame_payload(frame: Any) -> bytes:
    """A copy of what follows the header of a frame."""
    results = []
    call(lib.ztlib_getFrameInfo1, blob(frame), *[None] * 6, results, collect)
    return one(results)


def video_format(frame: Any) -> int:
    """The video format of a frame, -1 if it is too short to have one."""
    return lib.ztlib_getVideoFormat(blob(frame))


def add_header(jpeg: Any) -> bytes:
    """Makes a frame of format MJPEG of a JPEG file's bytes."""
    results, data = [], bytes_of(jpeg)
    call(lib.ztlib_copyAndAddHeader, results, collect, data.ctypes.data, data.size)
    return one(results)


def inverse_transform(block: numpy.ndarray) -> None:
    """Transforms 8 by 8 coefficients (int16, contiguous) of layered video in place."""
    if block.dtype != numpy.int16 or block.size != 64 or not block.flags.carray:
        raise ValueError("a block is a contiguous, writable array of 64 int16")
    lib.idct8x8_mmx(block.ctypes.data)
