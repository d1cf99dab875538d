"""Encoders and decoders of camera video."""
import operator
import threading
from typing import Any, Optional

import numpy

from . import tree
from .calls import blob, bytes_of, call, collect, one
from .formats import PixelFormat, VideoFormat
from .handle import Handle
from .image import Image
from .library import lib


class Encoder(Handle):
    """Codes pictures as MJPEG or MJPEGDIFF. Several threads may use one encoder."""

    def __init__(self, video: VideoFormat, width: int, height: int, **settings: Any) -> None:
        """The arguments behind the first are those of `configure`."""
        super().__init__(call(lib.ztlib_encoder_create, video), lib.ztlib_encoder_destroy)
        self._differential = video == VideoFormat.MJPEGDIFF
        self._lock = threading.RLock()
        self.configure(width, height, **settings)

    def configure(self, width: int, height: int, **settings: Any) -> None:
        """Sets the size in pixels, and settings by their names in ztlib.h: `JPEGQuality=80`.

        After an `Error` the old ones hold.
        """
        size = operator.index(width), operator.index(height)
        block = tree.dump({**settings, "Width": size[0], "Height": size[1]})
        with self._lock:
            call(lib.ztlib_encoder_config, self.handle, blob(block))
            self._size = size

    def process(self, image: Image, key: bool = False) -> bytes:
        """Codes a picture of the configured size as one frame; `key` makes it a key frame.

        Raises ValueError for a size that differential video does not take.
        """
        results = []
        with self._lock:
            # The library would end the process.
            if self._differential and (image.size != self._size or any(n % 8 for n in self._size)):
                raise ValueError(f"a picture of {image.size} for an encoder of {self._size}")
            call(lib.ztlib_encoder_process, self.handle, results, collect, image.handle, key)
        return one(results)


class Decoder(Handle):
    """Decodes frames of one camera. It belongs to one thread at a time."""

    def __init__(self, video: VideoFormat = VideoFormat.MJPEG,
                 pixels: PixelFormat = PixelFormat.RGB, scale: int = 1,
                 swap_rgb: bool = False) -> None:
        """The arguments behind the first are those of `configure`."""
        super().__init__(call(lib.ztlib_decoder_create, video), lib.ztlib_decoder_destroy)
        self.configure(pixels, scale, swap_rgb)

    def configure(self, pixels: PixelFormat = PixelFormat.RGB, scale: int = 1,
                  swap_rgb: bool = False) -> None:
        """Sets the format of pictures and the number by which both sides are divided."""
        block = tree.dump({"PixelFormat": pixels, "ScaleDown": scale, "SwapRGB": swap_rgb})
        call(lib.ztlib_decoder_config, self.handle, blob(block))

    def process(self, frame: Any, image: Optional[Image] = None) -> Image:
        """Decodes a frame into a new image, or into `image`, and returns that.

        A frame of another video format replaces the decoder by one that has to be configured anew.
        A frame in writable memory is not copied, and differential video writes to it.
        """
        image = Image() if image is None else image
        data = bytes_of(frame)
        if not data.flags.writeable:
            data = numpy.copy(data)
        call(lib.ztlib_decoder_process, self.handle, image.handle, data.ctypes.data, data.size)
        return image

    def set_base_image(self, image: Image) -> None:
        """Gives differential video a picture to start from without a key frame (a copy)."""
        call(lib.ztlib_decoder_setBaseImage, self.handle, image.handle)
