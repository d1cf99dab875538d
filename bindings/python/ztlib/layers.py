"""Layers of older cameras' video."""
import ctypes
from typing import Any, List, Sequence, Tuple

from .calls import blob, call, collect, one
from .library import BLOB, OBJECT, lib


def layer_count(frame: Any) -> int:
    """4 for a layered frame and 0 for every other one."""
    return lib.ztlib_getLayerCount(blob(frame))


def layer_sizes(frame: Any) -> Tuple[int, ...]:
    """The bytes of the four layers without headers; zeros for a frame without layers, or cut."""
    sizes = (ctypes.c_uint32 * 4)()
    lib.ztlib_getLayerSizes(blob(frame), sizes)
    return tuple(sizes)


def decompose_layers(frame: Any) -> List[bytes]:
    """The records of a frame's four layers; nothing for a frame without layers."""
    records = [[] for _ in range(4)]
    count = call(lib.ztlib_decomposeToLayers, blob(frame), (OBJECT * 4)(*records), collect)
    return [one(results) for results in records[:count]]


def compose_layers(records: Sequence[Any]) -> bytes:
    """Makes one frame of the records of the first one to four layers."""
    results, blobs = [], [blob(record) for record in records]
    pointers = (BLOB * len(blobs))(*map(ctypes.pointer, blobs))
    call(lib.ztlib_composeFromLayers, results, collect, pointers, len(blobs))
    return one(results)
