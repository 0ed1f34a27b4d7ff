"""The channel to a switch, and how many messages a bulk takes."""
from __future__ import annotations

from collections.abc import Iterable, Iterator
from typing import Any

import grpc

BULK_ITEMS = 1000
# A server accepts messages of up to 4 MiB.
BULK_BYTES = 2 << 20
_OPTIONS = [
    # Each channel has its own connection, without the back-off state that gRPC keeps of earlier channels.
    ("grpc.use_local_subchannel_pool", 1),
    # The error texts of a refused bulk repeat the requests.
    ("grpc.max_receive_message_length", -1),
    # Detects that a peer's machine is gone. A server closes connections with pings more often than every 5 minutes.
    ("grpc.keepalive_time_ms", 330_000),
    ("grpc.enable_http_proxy", 0),
]


def open_channel(target: str, *more: tuple[str, int]) -> Any:
    """Returns at once; the first call connects. `more` are further options of gRPC."""
    return grpc.insecure_channel(target, options=[*_OPTIONS, *more])


def pieces(messages: Iterable[Any]) -> Iterator[list[Any]]:
    """The messages in lists that fit into one bulk each, in order."""
    piece: list[Any] = []
    size = 0
    for message in messages:
        length = message.ByteSize()
        if piece and (len(piece) == BULK_ITEMS or size + length > BULK_BYTES):
            yield piece
            piece, size = [], 0
        piece.append(message)
        size += length
    if piece:
        yield piece
