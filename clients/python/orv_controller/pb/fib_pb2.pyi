from orv_controller.pb import types_pb2 as _types_pb2
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Mapping as _Mapping, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor

class FibFecExistsRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.FibFecKey
    def __init__(self, key: _Optional[_Union[_types_pb2.FibFecKey, _Mapping]] = ...) -> None: ...

class FibFecExistsResponse(_message.Message):
    __slots__ = ["exists"]
    EXISTS_FIELD_NUMBER: _ClassVar[int]
    exists: bool
    def __init__(self, exists: bool = ...) -> None: ...

class FibFecRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.FibFecKey
    def __init__(self, key: _Optional[_Union[_types_pb2.FibFecKey, _Mapping]] = ...) -> None: ...

class FibFecResponse(_message.Message):
    __slots__ = ["fib_fec"]
    FIB_FEC_FIELD_NUMBER: _ClassVar[int]
    fib_fec: _types_pb2.FibFec
    def __init__(self, fib_fec: _Optional[_Union[_types_pb2.FibFec, _Mapping]] = ...) -> None: ...

class FibFecsRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class FibFecsResponse(_message.Message):
    __slots__ = ["fib_fec"]
    FIB_FEC_FIELD_NUMBER: _ClassVar[int]
    fib_fec: _types_pb2.FibFec
    def __init__(self, fib_fec: _Optional[_Union[_types_pb2.FibFec, _Mapping]] = ...) -> None: ...

class FibRouteExistsRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.FibRouteKey
    def __init__(self, key: _Optional[_Union[_types_pb2.FibRouteKey, _Mapping]] = ...) -> None: ...

class FibRouteExistsResponse(_message.Message):
    __slots__ = ["exists"]
    EXISTS_FIELD_NUMBER: _ClassVar[int]
    exists: bool
    def __init__(self, exists: bool = ...) -> None: ...

class FibRouteRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.FibRouteKey
    def __init__(self, key: _Optional[_Union[_types_pb2.FibRouteKey, _Mapping]] = ...) -> None: ...

class FibRouteResponse(_message.Message):
    __slots__ = ["fib_route"]
    FIB_ROUTE_FIELD_NUMBER: _ClassVar[int]
    fib_route: _types_pb2.FibRoute
    def __init__(self, fib_route: _Optional[_Union[_types_pb2.FibRoute, _Mapping]] = ...) -> None: ...

class FibRoutesRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class FibRoutesResponse(_message.Message):
    __slots__ = ["fib_route"]
    FIB_ROUTE_FIELD_NUMBER: _ClassVar[int]
    fib_route: _types_pb2.FibRoute
    def __init__(self, fib_route: _Optional[_Union[_types_pb2.FibRoute, _Mapping]] = ...) -> None: ...

class FibWatchRequest(_message.Message):
    __slots__ = ["ack"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    def __init__(self, ack: bool = ...) -> None: ...

class FibWatchResponse(_message.Message):
    __slots__ = ["ack", "on_fec_del", "on_fec_set", "on_route_del", "on_route_set"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    ON_FEC_DEL_FIELD_NUMBER: _ClassVar[int]
    ON_FEC_SET_FIELD_NUMBER: _ClassVar[int]
    ON_ROUTE_DEL_FIELD_NUMBER: _ClassVar[int]
    ON_ROUTE_SET_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    on_fec_del: _types_pb2.FibFecKey
    on_fec_set: _types_pb2.FibFec
    on_route_del: _types_pb2.FibRouteKey
    on_route_set: _types_pb2.FibRoute
    def __init__(self, on_route_set: _Optional[_Union[_types_pb2.FibRoute, _Mapping]] = ..., on_route_del: _Optional[_Union[_types_pb2.FibRouteKey, _Mapping]] = ..., on_fec_set: _Optional[_Union[_types_pb2.FibFec, _Mapping]] = ..., on_fec_del: _Optional[_Union[_types_pb2.FibFecKey, _Mapping]] = ..., ack: bool = ...) -> None: ...
