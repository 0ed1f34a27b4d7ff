"""The errors of calls. Their classes are named after gRPC's status codes, also for the items of a bulk."""
from __future__ import annotations

from typing import Any

import grpc

from ..pb import status_pb2


class SwitchError(Exception):
    """A call has failed. The text is the switch's, or gRPC's if the call did not reach it.

    `request` is the request that failed: in a bulk the item, None if the bulk as a whole failed. `applied` is the
    number of items of a bulk that the switch has acknowledged, from the front; 0 for other calls."""

    code = grpc.StatusCode.UNKNOWN

    def __init__(self, text: str, request: Any = None, applied: int = 0, code: grpc.StatusCode | None = None):
        super().__init__(text)
        self.text = text
        self.request = request
        self.applied = applied
        if code is not None:
            self.code = code

    def __str__(self) -> str:
        return f"{self.code.name}: {self.text}"


class Refused(SwitchError):
    """The switch refused the request; the same request would be refused again."""


class InvalidArgument(Refused):
    """A value is not permitted, or names what does not exist."""

    code = grpc.StatusCode.INVALID_ARGUMENT


class OutOfRange(Refused):
    """A number is out of its range."""

    code = grpc.StatusCode.OUT_OF_RANGE


class FailedPrecondition(Refused):
    """The switch's configuration does not permit it."""

    code = grpc.StatusCode.FAILED_PRECONDITION


class Unimplemented(Refused):
    """The switch does not support it, or it is switched off."""

    code = grpc.StatusCode.UNIMPLEMENTED


class Unauthenticated(Refused):
    """The switch refuses this client."""

    code = grpc.StatusCode.UNAUTHENTICATED


class Internal(SwitchError):
    """The switch failed."""

    code = grpc.StatusCode.INTERNAL


class DeadlineExceeded(SwitchError):
    """No answer in time. The call may or may not have taken effect."""

    code = grpc.StatusCode.DEADLINE_EXCEEDED


class Disconnected(SwitchError):
    """The server or the connection is gone. The call may or may not have taken effect."""

    code = grpc.StatusCode.UNAVAILABLE


class Cancelled(Disconnected):
    """The call was cancelled, by the end of the server or of the channel."""

    code = grpc.StatusCode.CANCELLED


class ResourceExhausted(SwitchError):
    """The server cut off a watch that was not read fast enough, or a message is too large."""

    code = grpc.StatusCode.RESOURCE_EXHAUSTED


_CLASSES: dict[grpc.StatusCode, type[SwitchError]] = {
    each.code: each for each in (InvalidArgument, OutOfRange, FailedPrecondition, Unimplemented, Unauthenticated,
                                 Internal, DeadlineExceeded, Disconnected, Cancelled, ResourceExhausted)}

_IN_BAND = {
    status_pb2.RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT: InvalidArgument,
    status_pb2.RPC_RESPONSE_STATUS_CODE_UNAUTHENTICATED: Unauthenticated,
    status_pb2.RPC_RESPONSE_STATUS_CODE_CONFIGURATION: FailedPrecondition,
    status_pb2.RPC_RESPONSE_STATUS_CODE_INVALID_RANGE: OutOfRange,
    status_pb2.RPC_RESPONSE_STATUS_CODE_UNSUPPORTED: Unimplemented,
    status_pb2.RPC_RESPONSE_STATUS_CODE_INTERNAL: Internal,
}


def of_call(error: grpc.RpcError, request: Any = None) -> SwitchError:
    """The error of a call that ended with a status other than OK."""
    code = error.code()
    return _CLASSES.get(code, SwitchError)(error.details() or "", request, code=code)


def of_item(status: Any, request: Any, applied: int) -> SwitchError:
    """The error of a bulk's item, from the `status` of the reply."""
    return _IN_BAND.get(status.code, SwitchError)(status.message, request, applied)
