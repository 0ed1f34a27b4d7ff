from orv_controller.pb import types_pb2 as _types_pb2
from google.protobuf.internal import containers as _containers
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Iterable as _Iterable, Mapping as _Mapping, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor

class IntfCountersRequest(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class IntfCountersResponse(_message.Message):
    __slots__ = ["counters"]
    COUNTERS_FIELD_NUMBER: _ClassVar[int]
    counters: _types_pb2.IntfCounters
    def __init__(self, counters: _Optional[_Union[_types_pb2.IntfCounters, _Mapping]] = ...) -> None: ...

class IntfTrafficRatesRequest(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class IntfTrafficRatesResponse(_message.Message):
    __slots__ = ["rates"]
    RATES_FIELD_NUMBER: _ClassVar[int]
    rates: _types_pb2.IntfTrafficRates
    def __init__(self, rates: _Optional[_Union[_types_pb2.IntfTrafficRates, _Mapping]] = ...) -> None: ...

class IntfTrafficRatesStreamRequest(_message.Message):
    __slots__ = ["first_message", "intf_name_regex"]
    FIRST_MESSAGE_FIELD_NUMBER: _ClassVar[int]
    INTF_NAME_REGEX_FIELD_NUMBER: _ClassVar[int]
    first_message: bool
    intf_name_regex: str
    def __init__(self, intf_name_regex: _Optional[str] = ..., first_message: bool = ...) -> None: ...

class IntfTrafficRatesStreamResponse(_message.Message):
    __slots__ = ["data"]
    class DataEntry(_message.Message):
        __slots__ = ["intf_id", "rates"]
        INTF_ID_FIELD_NUMBER: _ClassVar[int]
        RATES_FIELD_NUMBER: _ClassVar[int]
        intf_id: _types_pb2.IntfId
        rates: _types_pb2.IntfTrafficRates
        def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ..., rates: _Optional[_Union[_types_pb2.IntfTrafficRates, _Mapping]] = ...) -> None: ...
    DATA_FIELD_NUMBER: _ClassVar[int]
    data: _containers.RepeatedCompositeFieldContainer[IntfTrafficRatesStreamResponse.DataEntry]
    def __init__(self, data: _Optional[_Iterable[_Union[IntfTrafficRatesStreamResponse.DataEntry, _Mapping]]] = ...) -> None: ...
