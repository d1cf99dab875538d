"""The context of the library's services, and its log."""
from typing import Callable, List

from .calls import callback
from .library import LOGGER, lib

_loggers: List[object] = []


class Context:
    """Marks the use of the library from begin to end, for programs that want its report.

    The end deletes the library's services, loggers among them, and reports that on standard output.
    No other thread may be in the library then. Nothing else needs a context.
    """

    def __enter__(self) -> "Context":
        lib.ztlib_context_create()
        return self

    def __exit__(self, *_: object) -> None:
        lib.ztlib_context_destroy()


def add_logger(logger: Callable[[int, str], None]) -> None:
    """Hands log lines, with their level from 0 to 4, to a function, which cannot be removed.

    It runs on the thread of each call, under the library's lock. What it raises comes out of the
    call.
    """
    @callback(LOGGER)
    def write(level: int, text: bytes) -> None:
        logger(level, text.decode(errors="replace"))

    _loggers.append(write)
    lib.ztlib_registerLogger(write)
