"""Calls of the library: failures become exceptions, on the thread of the call."""
import ctypes
import threading
from typing import Any, Callable, List

import numpy

from .library import HANDLER, OUTPUT, Blob, lib


class Error(Exception):
    """A call of the library failed; the message is the library's."""


# `failures` is a list while a call runs on this thread.
_state = threading.local()


def call(function: Callable[..., Any], *arguments: Any) -> Any:
    """Calls an export and returns its result.

    Raises `Error` if the call fails, and what a callback has raised if that is all. A callback's
    exception that made the call fail is the cause of the `Error`.
    """
    outer = getattr(_state, "failures", None)
    failures = _state.failures = []
    try:
        result = function(*arguments)
    finally:
        _state.failures = outer
    if failures:
        raise failures[-1] from (failures[0] if len(failures) > 1 else None)
    return result


def callback(prototype: Any) -> Callable[[Callable[..., Any]], Any]:
    """Makes a function a callback: what it raises waits until the call returns.

    The result is null then. A callback outside of `call` reports to `sys.unraisablehook`.
    """
    def decorate(function: Callable[..., Any]) -> Any:
        def guarded(*arguments: Any) -> Any:
            try:
                return function(*arguments)
            except BaseException as failure:  # nothing may cross the frames of the library
                if getattr(_state, "failures", None) is None:
                    raise
                _state.failures.append(failure)
                return None
        return prototype(guarded)
    return decorate


@callback(HANDLER)
def _handle_failure(text: bytes) -> None:
    if getattr(_state, "failures", None) is not None:
        _state.failures.append(Error(text.decode(errors="replace")))


lib.ztlib_registerExceptionHandler(_handle_failure)


@callback(OUTPUT)
def collect(results: List[bytes], data: int, size: int) -> None:
    """Appends a copy of what an export hands out to the list that is its `user`."""
    results.append(ctypes.string_at(data, size))


def one(results: List[bytes]) -> bytes:
    """What an export has handed out once."""
    if len(results) != 1:
        raise Error("no result")
    return results[0]


def bytes_of(data: Any) -> numpy.ndarray:
    """The bytes of a contiguous buffer, without a copy."""
    return numpy.frombuffer(data, numpy.uint8)


def blob(data: Any) -> Blob:
    """A block for an export, which keeps the buffer alive."""
    memory = bytes_of(data)
    block = Blob(memory.ctypes.data, memory.size)
    block.memory = memory
    return block
