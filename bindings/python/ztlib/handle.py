"""What all objects of the library have in common."""
import contextlib
import ctypes
import weakref
from typing import Any, Optional, TypeVar

from .calls import Error, call

T = TypeVar("T", bound="Handle")


def _destroy(function: Any, variable: ctypes.c_void_p) -> None:
    # A daemon thread that is behind the end of the program leaves the handle as it is.
    with contextlib.suppress(Error):
        call(function, variable)


class Handle:
    """Owns a handle until `close()`, the end of `with`, or the end of the object or the program."""

    def __init__(self, address: Optional[int], destroy: Any) -> None:
        if not address:
            raise Error(f"the library makes no such {type(self).__name__}")
        # An export that replaces or clears the handle gets the address of this variable.
        self._variable = ctypes.c_void_p(address)
        self._finalizer = weakref.finalize(self, _destroy, destroy, self._variable)

    @property
    def handle(self) -> ctypes.c_void_p:
        """The handle for an export. Raises ValueError if it is closed."""
        if not self._finalizer.alive:
            raise ValueError(f"{type(self).__name__} is closed")
        return self._variable

    def close(self) -> None:
        """Destroys the object of the library. A second call does nothing."""
        self._finalizer()

    def __enter__(self: T) -> T:
        return self

    def __exit__(self, *_: Any) -> None:
        self.close()
