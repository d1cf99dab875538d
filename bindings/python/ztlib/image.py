"""Pictures."""
from typing import Any, Optional, Tuple

import numpy

from . import frame_manager
from .calls import blob, call, collect, one
from .formats import PixelFormat
from .handle import Handle
from .library import lib


class Image(Handle):
    """A picture, or none yet, as codecs and motion detection take it."""

    def __init__(self, pixels: Optional[numpy.ndarray] = None,
                 format: PixelFormat = PixelFormat.RGB) -> None:
        """Wraps an array of bytes in the shape that `format` has: (height, width) for one byte a
        pixel, (height, width, 4) for RGB and YUV, (height, width / 2, 4) for pairs of pixels,
        (height / 2, width / 2, 4) and (height / 16, width / 16, 384) for blocks.

        A contiguous array is not copied, so later changes show in the picture. Without pixels the
        image is empty. Raises ValueError for another shape and TypeError for other elements.
        """
        if pixels is None:
            super().__init__(call(lib.ztlib_ztimage_create), lib.ztlib_ztimage_destroy)
            return
        if pixels.dtype != numpy.uint8:
            raise TypeError(f"pixels are uint8, not {pixels.dtype}")
        frame = frame_manager.hold(numpy.ascontiguousarray(pixels), format)
        try:
            address = call(lib.ztlib_ztimage_create_avframe, format, frame)
        except BaseException:
            frame_manager.drop(frame)
            raise
        super().__init__(address, lib.ztlib_ztimage_destroy)

    def _frame(self) -> Optional[frame_manager.Frame]:
        address = call(lib.ztlib_ztimage_get_avframe, self.handle)
        return frame_manager.held(address) if address else None

    @property
    def pixels(self) -> Optional[numpy.ndarray]:
        """The bytes of the picture without a copy, None for an empty image.

        The array stays as it is when the image gets another picture or is closed.
        """
        frame = self._frame()
        return frame.pixels if frame else None

    @property
    def format(self) -> Optional[PixelFormat]:
        """The pixel format, None for an empty image."""
        frame = self._frame()
        return frame.format if frame else None

    @property
    def size(self) -> Tuple[int, int]:
        """Width and height in pixels, (0, 0) for an empty image."""
        frame = self._frame()
        return (frame.record.width, frame.record.height) if frame else (0, 0)

    def save(self) -> bytes:
        """The picture as one block that `load` takes. Raises `Error` for an empty image."""
        results = []
        call(lib.ztlib_ztimage_saveToZTMem, self.handle, results, collect)
        return one(results)

    def load(self, block: Any) -> None:
        """Replaces the picture by the one in a block of `save`. After an `Error` it is the old."""
        call(lib.ztlib_ztimage_loadFromZTMem, self.handle, blob(block))
