from google.protobuf.internal import enum_type_wrapper as _enum_type_wrapper
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor
RPC_RESPONSE_STATUS_CODE_CONFIGURATION: RpcResponseStatusCode
RPC_RESPONSE_STATUS_CODE_INTERNAL: RpcResponseStatusCode
RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT: RpcResponseStatusCode
RPC_RESPONSE_STATUS_CODE_INVALID_RANGE: RpcResponseStatusCode
RPC_RESPONSE_STATUS_CODE_SUCCESS: RpcResponseStatusCode
RPC_RESPONSE_STATUS_CODE_UNAUTHENTICATED: RpcResponseStatusCode
RPC_RESPONSE_STATUS_CODE_UNKNOWN: RpcResponseStatusCode
RPC_RESPONSE_STATUS_CODE_UNSUPPORTED: RpcResponseStatusCode

class RpcResponseStatus(_message.Message):
    __slots__ = ["code", "message"]
    CODE_FIELD_NUMBER: _ClassVar[int]
    MESSAGE_FIELD_NUMBER: _ClassVar[int]
    code: RpcResponseStatusCode
    message: str
    def __init__(self, message: _Optional[str] = ..., code: _Optional[_Union[RpcResponseStatusCode, str]] = ...) -> None: ...

class RpcResponseStatusCode(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []
