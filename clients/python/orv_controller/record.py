"""The record file: the last state that the controller programmed completely.

The switch keeps the digest of this state as a note. If both agree, the record is what the
switch holds, and the controller can program a difference instead of everything.
"""
from __future__ import annotations

import os
import tempfile
from pathlib import Path

from . import statefile
from .state import State


def read(path: Path, digest: str) -> State | None:
    """Returns the recorded state if it has this digest."""
    if not digest or not path.exists():
        return None
    try:
        state = statefile.load(path)
    except statefile.BadState:
        return None
    return state if statefile.digest(state) == digest else None


def write(path: Path, state: State) -> None:
    """Replaces the record atomically. Raises OSError."""
    handle, name = tempfile.mkstemp(prefix=path.name + ".", dir=path.parent)
    try:
        with os.fdopen(handle, "w", encoding="utf-8") as file:
            file.writelines(statefile.lines(state))
            file.flush()
            os.fsync(file.fileno())
        os.replace(name, path)
    except BaseException:
        os.unlink(name)
        raise
