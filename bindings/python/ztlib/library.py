"""The shared library and its 45 exports as include/ztlib.h declares them.

`lib` has the bare exports, for what the other modules leave out. A failure in a bare call is
dropped; `ztlib.calls.call` makes it an exception.
"""
import ctypes
import ctypes.util
import os
from ctypes import POINTER, c_bool, c_char_p, c_float, c_int, c_int32, c_int64, c_uint8, c_uint32, \
    c_uint64, c_void_p


class Blob(ctypes.Structure):
    """A block of memory (ztlib_blob); it does not keep the memory alive."""
    _fields_ = [("data", c_void_p), ("size", c_uint64)]


# The user's pointer is a Python object, which the callback gets back.
OBJECT = ctypes.py_object
OUTPUT = ctypes.CFUNCTYPE(None, OBJECT, c_void_p, c_uint32)
LOGGER = ctypes.CFUNCTYPE(None, c_int, c_char_p)
HANDLER = ctypes.CFUNCTYPE(None, c_char_p)
ALLOCATE = ctypes.CFUNCTYPE(c_void_p, c_int, c_int, c_int)
RELEASE = ctypes.CFUNCTYPE(None, c_void_p)
THIRD = ctypes.CFUNCTYPE(None)

BLOB = POINTER(Blob)
NUMBER = POINTER(c_int32)

# Name without "ztlib_": result, arguments.
_EXPORTS = {
    "context_create": (c_void_p,),
    "context_destroy": (None,),
    "registerLogger": (None, LOGGER),
    "registerExceptionHandler": (None, HANDLER),
    "registerAVFrameMgr": (None, ALLOCATE, RELEASE, THIRD, c_uint8),
    "ztimage_create": (c_void_p,),
    "ztimage_destroy": (None, c_void_p),
    "ztimage_create_avframe": (c_void_p, c_int32, c_void_p),
    "ztimage_get_avframe": (c_void_p, c_void_p),
    "ztimage_saveToZTMem": (None, c_void_p, OBJECT, OUTPUT),
    "ztimage_loadFromZTMem": (c_bool, c_void_p, BLOB),
    "getPixelXByVirtualX": (c_int32, c_int32, c_int32),
    "getPixelYByVirtualY": (c_int32, c_int32, c_int32),
    "getVirtualXByPixelX": (c_int32, c_int32, c_int32),
    "getVirtualYByPixelY": (c_int32, c_int32, c_int32),
    "getScaleDownByPixel1": (c_int32, c_int32, c_int32, c_int32),
    "getScaleDownByPixel3": (c_int32, c_int32, c_int32, c_int32, c_int32),
    "decoder_create": (c_void_p, c_int32),
    "decoder_destroy": (None, POINTER(c_void_p)),
    "decoder_config": (None, c_void_p, BLOB),
    "decoder_process": (None, POINTER(c_void_p), c_void_p, c_void_p, c_uint32),
    "decoder_setBaseImage": (None, c_void_p, c_void_p),
    "encoder_create": (c_void_p, c_int32),
    "encoder_destroy": (None, POINTER(c_void_p)),
    "encoder_config": (None, c_void_p, BLOB),
    "encoder_process": (None, c_void_p, OBJECT, OUTPUT, c_void_p, c_uint8),
    "copyAndAddHeader": (None, OBJECT, OUTPUT, c_void_p, c_uint32),
    "getFrameInfo1": (None, BLOB, NUMBER, NUMBER, NUMBER, NUMBER, NUMBER, NUMBER, OBJECT, OUTPUT),
    "getFrameInfo2": (None, c_void_p, c_uint32, NUMBER, NUMBER, NUMBER, NUMBER, NUMBER, NUMBER,
                      POINTER(c_void_p), POINTER(c_uint32)),
    "getVideoFormat": (c_int32, BLOB),
    "getLayerCount": (c_int32, BLOB),
    "getLayerSizes": (None, BLOB, POINTER(c_uint32)),
    "composeFromLayers": (None, OBJECT, OUTPUT, POINTER(BLOB), c_int32),
    "decomposeToLayers": (c_int32, BLOB, POINTER(OBJECT), OUTPUT),
    "idct8x8_mmx": (None, c_void_p),
    "simplemotion_create": (c_void_p,),
    "simplemotion_destroy": (None, c_void_p),
    "simplemotion_configure": (None, c_void_p, BLOB, c_int32, c_int32),
    "simplemotion_detect": (c_bool, c_void_p, OBJECT, OUTPUT, c_void_p, c_int64),
    "triangulation_create": (c_void_p,),
    "triangulation_destroy": (None, c_void_p),
    "triangulation_init": (None, c_void_p, c_int32, c_int32, c_int32, c_int32, c_int32),
    "triangulation_addPoint": (None, c_void_p, c_int32, c_int32, POINTER(c_float), c_int32),
    "triangulation_finalize": (None, c_void_p),
    "triangulation_estimate": (None, c_void_p, c_int32, c_int32, POINTER(c_float), c_int32),
}
NAMES = [name if name == "idct8x8_mmx" else "ztlib_" + name for name in _EXPORTS]


def _load() -> ctypes.CDLL:
    path = os.environ.get("ZTLIB_LIBRARY") or ctypes.util.find_library("ztlib")
    library = ctypes.CDLL(path or ("ztlib.dll" if os.name == "nt" else "libztlib.so.0"))
    for name, (result, *arguments) in zip(NAMES, _EXPORTS.values()):
        function = getattr(library, name)
        function.restype, function.argtypes = result, arguments
    return library


lib = _load()
