"""The record: what the controller has last programmed whole, in a file of its own.

The switch keeps its digest as a note. Where both agree the record tells what the switch
holds, and a difference can be programmed instead of everything.
"""
from __future__ import annotations

import os
import tempfile
from pathlib import Path

from . import statefile
from .state import State


def read(path: Path, digest: str) -> State | None:
    """The recorded state if it is the one with this digest."""
    if not digest or not path.exists():
        return None
    try:
        state = statefile.load(path)
    except statefile.BadState:
        return None
    return state if statefile.digest(state) == digest else None


def write(path: Path, state: State) -> None:
    """Replaces the record as a whole. Raises OSError."""
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
