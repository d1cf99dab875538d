"""Motion detection."""
from typing import Any, Dict, Tuple

import numpy

from . import tree
from .calls import blob, call, collect, one
from .handle import Handle
from .image import Image
from .library import lib


class Motion(Handle):
    """Watches one stream of gray pictures. It belongs to one thread at a time."""

    def __init__(self) -> None:
        super().__init__(call(lib.ztlib_simplemotion_create), lib.ztlib_simplemotion_destroy)

    def configure(self, config: Dict[str, Any], width: int, height: int) -> None:
        """Sets areas and thresholds, by their names in ztlib.h, for pictures of that size.

        A value counts only in its own kind, such as `{"Configs": [{"Sensitivity": 80.0}]}`.
        """
        call(lib.ztlib_simplemotion_configure, self.handle, blob(tree.dump(config)), width, height)

    def detect(self, image: Image, timestamp_ms: int) -> Tuple[bool, Dict[str, Any]]:
        """Takes in the next picture, at a time in milliseconds since 1601-01-01 UTC.

        Returns whether an area is in signal, and the result as ztlib.h describes it.
        """
        results = []
        signal = call(lib.ztlib_simplemotion_detect, self.handle, results, collect, image.handle,
                      timestamp_ms)
        return signal, tree.load(one(results))


def motion_bitmap(block: bytes) -> numpy.ndarray:
    """The moving pixels in a `Motion` of a result: (height, width), 0 or 1."""
    width, height = numpy.frombuffer(block, "<u4", 2, 20)
    count = int(width) * int(height)
    bits = numpy.unpackbits(numpy.frombuffer(block, numpy.uint8, offset=32), bitorder="little")
    return bits[:count].reshape(height, width)
