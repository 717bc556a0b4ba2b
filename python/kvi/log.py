"""The library's log in `logging`."""

import atexit
import logging
import os
import threading
from typing import Optional

from . import _kvi

# The library's levels in logging's.
_LEVELS = [logging.DEBUG, logging.INFO, logging.WARNING, logging.ERROR, logging.CRITICAL]

_logger: Optional[logging.Logger] = None
_thread: Optional[threading.Thread] = None


def log_to(logger: Optional[logging.Logger], level: int = logging.WARNING) -> None:
    """Sends the library's records of at least that level to the logger; None brings back the
    library's own target, standard error. A thread hands the records over, so they may come a
    little later than what caused them; log_to(None) waits for those that are under way."""
    global _logger, _thread
    if _thread is not None:
        _kvi._log_close()
        _logger = None
        _thread.join()
        _thread = None
        _hand_over(0)
    if logger is not None:
        least = max(i for i, own in enumerate(_LEVELS) if i == 0 or own <= level)
        _logger = logger
        _kvi._log_open(least)
        _start()


def _hand_over(seconds: float, to: Optional[logging.Logger] = None) -> None:
    for level, file, line, text in _kvi._log_fetch(seconds):
        if to is not None and to.isEnabledFor(_LEVELS[level]):
            to.handle(to.makeRecord(to.name, _LEVELS[level], file, line, text, (), None))


def _serve(logger: logging.Logger) -> None:
    while _logger is logger:
        _hand_over(1.0, logger)
    _hand_over(0, logger)


def _start() -> None:
    global _thread
    _thread = threading.Thread(target=_serve, args=(_logger,), name="kvi log", daemon=True)
    _thread.start()


def _after_fork() -> None:
    if _thread is not None:
        _start()


atexit.register(log_to, None)
os.register_at_fork(after_in_child=_after_fork)
