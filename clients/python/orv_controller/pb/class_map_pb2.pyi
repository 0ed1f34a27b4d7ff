from orv_controller.pb import status_pb2 as _status_pb2
from orv_controller.pb import types_pb2 as _types_pb2
from google.protobuf.internal import containers as _containers
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Iterable as _Iterable, Mapping as _Mapping, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor

class BulkClassMapDelRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[ClassMapDelRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[ClassMapDelRequest, _Mapping]]] = ...) -> None: ...

class BulkClassMapDelResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkClassMapIsRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[ClassMapIsRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[ClassMapIsRequest, _Mapping]]] = ...) -> None: ...

class BulkClassMapIsResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class ClassMapDelRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.PolicyMapKey
    def __init__(self, key: _Optional[_Union[_types_pb2.PolicyMapKey, _Mapping]] = ...) -> None: ...

class ClassMapDelResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class ClassMapExistsRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.PolicyMapKey
    def __init__(self, key: _Optional[_Union[_types_pb2.PolicyMapKey, _Mapping]] = ...) -> None: ...

class ClassMapExistsResponse(_message.Message):
    __slots__ = ["exists"]
    EXISTS_FIELD_NUMBER: _ClassVar[int]
    exists: bool
    def __init__(self, exists: bool = ...) -> None: ...

class ClassMapIsRequest(_message.Message):
    __slots__ = ["class_map"]
    CLASS_MAP_FIELD_NUMBER: _ClassVar[int]
    class_map: _types_pb2.ClassMap
    def __init__(self, class_map: _Optional[_Union[_types_pb2.ClassMap, _Mapping]] = ...) -> None: ...

class ClassMapIsResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class ClassMapRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.PolicyMapKey
    def __init__(self, key: _Optional[_Union[_types_pb2.PolicyMapKey, _Mapping]] = ...) -> None: ...

class ClassMapResponse(_message.Message):
    __slots__ = ["class_map"]
    CLASS_MAP_FIELD_NUMBER: _ClassVar[int]
    class_map: _types_pb2.ClassMap
    def __init__(self, class_map: _Optional[_Union[_types_pb2.ClassMap, _Mapping]] = ...) -> None: ...

class ClassMapResyncCompleteRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class ClassMapResyncCompleteResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class ClassMapResyncInitRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class ClassMapResyncInitResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class ClassMapsRequest(_message.Message):
    __slots__ = ["feature"]
    FEATURE_FIELD_NUMBER: _ClassVar[int]
    feature: _types_pb2.PolicyFeature
    def __init__(self, feature: _Optional[_Union[_types_pb2.PolicyFeature, str]] = ...) -> None: ...

class ClassMapsResponse(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.PolicyMapKey
    def __init__(self, key: _Optional[_Union[_types_pb2.PolicyMapKey, _Mapping]] = ...) -> None: ...
