from orv_controller.pb import status_pb2 as _status_pb2
from orv_controller.pb import types_pb2 as _types_pb2
from google.protobuf.internal import containers as _containers
from google.protobuf.internal import enum_type_wrapper as _enum_type_wrapper
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Iterable as _Iterable, Mapping as _Mapping, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor
INTF_EVENT_CREATED: IntfEvent
INTF_EVENT_DELETED: IntfEvent
INTF_EVENT_UNSPECIFIED: IntfEvent
INTF_FIELD_ADMIN_ENABLED: IntfField
INTF_FIELD_ALL: IntfField
INTF_FIELD_DESCRIPTION: IntfField
INTF_FIELD_OPER_STATUS: IntfField

class BulkIntfAdminEnabledIsRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[IntfAdminEnabledIsRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[IntfAdminEnabledIsRequest, _Mapping]]] = ...) -> None: ...

class BulkIntfAdminEnabledIsResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkIntfDescriptionIsRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[IntfDescriptionIsRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[IntfDescriptionIsRequest, _Mapping]]] = ...) -> None: ...

class BulkIntfDescriptionIsResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class IntfAdminEnabledIsRequest(_message.Message):
    __slots__ = ["admin_enabled", "intf_id"]
    ADMIN_ENABLED_FIELD_NUMBER: _ClassVar[int]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    admin_enabled: bool
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ..., admin_enabled: bool = ...) -> None: ...

class IntfAdminEnabledIsResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class IntfAdminEnabledRequest(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class IntfAdminEnabledResponse(_message.Message):
    __slots__ = ["admin_enabled"]
    ADMIN_ENABLED_FIELD_NUMBER: _ClassVar[int]
    admin_enabled: bool
    def __init__(self, admin_enabled: bool = ...) -> None: ...

class IntfDescriptionIsRequest(_message.Message):
    __slots__ = ["description", "intf_id"]
    DESCRIPTION_FIELD_NUMBER: _ClassVar[int]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    description: str
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ..., description: _Optional[str] = ...) -> None: ...

class IntfDescriptionIsResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class IntfDescriptionRequest(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class IntfDescriptionResponse(_message.Message):
    __slots__ = ["description"]
    DESCRIPTION_FIELD_NUMBER: _ClassVar[int]
    description: str
    def __init__(self, description: _Optional[str] = ...) -> None: ...

class IntfExistsRequest(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class IntfExistsResponse(_message.Message):
    __slots__ = ["exists"]
    EXISTS_FIELD_NUMBER: _ClassVar[int]
    exists: bool
    def __init__(self, exists: bool = ...) -> None: ...

class IntfFieldsControl(_message.Message):
    __slots__ = ["fields"]
    FIELDS_FIELD_NUMBER: _ClassVar[int]
    fields: _containers.RepeatedScalarFieldContainer[IntfField]
    def __init__(self, fields: _Optional[_Iterable[_Union[IntfField, str]]] = ...) -> None: ...

class IntfOperStatusRequest(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class IntfOperStatusResponse(_message.Message):
    __slots__ = ["oper_status"]
    OPER_STATUS_FIELD_NUMBER: _ClassVar[int]
    oper_status: _types_pb2.OperStatus
    def __init__(self, oper_status: _Optional[_Union[_types_pb2.OperStatus, str]] = ...) -> None: ...

class IntfsRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class IntfsResponse(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class KernelIntfNameRequest(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class KernelIntfNameResponse(_message.Message):
    __slots__ = ["kernel_intf_name"]
    KERNEL_INTF_NAME_FIELD_NUMBER: _ClassVar[int]
    kernel_intf_name: str
    def __init__(self, kernel_intf_name: _Optional[str] = ...) -> None: ...

class OrvIntfNameRequest(_message.Message):
    __slots__ = ["kernel_intf_name"]
    KERNEL_INTF_NAME_FIELD_NUMBER: _ClassVar[int]
    kernel_intf_name: str
    def __init__(self, kernel_intf_name: _Optional[str] = ...) -> None: ...

class OrvIntfNameResponse(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class WatchIntfRequest(_message.Message):
    __slots__ = ["ack", "all", "fields_control", "intf"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    ALL_FIELD_NUMBER: _ClassVar[int]
    FIELDS_CONTROL_FIELD_NUMBER: _ClassVar[int]
    INTF_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    all: bool
    fields_control: IntfFieldsControl
    intf: _types_pb2.IntfId
    def __init__(self, all: bool = ..., intf: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ..., fields_control: _Optional[_Union[IntfFieldsControl, _Mapping]] = ..., ack: bool = ...) -> None: ...

class WatchIntfResponse(_message.Message):
    __slots__ = ["ack", "admin_enabled", "description", "event", "intf", "oper_status"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    ADMIN_ENABLED_FIELD_NUMBER: _ClassVar[int]
    DESCRIPTION_FIELD_NUMBER: _ClassVar[int]
    EVENT_FIELD_NUMBER: _ClassVar[int]
    INTF_FIELD_NUMBER: _ClassVar[int]
    OPER_STATUS_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    admin_enabled: bool
    description: str
    event: IntfEvent
    intf: _types_pb2.IntfId
    oper_status: _types_pb2.OperStatus
    def __init__(self, intf: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ..., event: _Optional[_Union[IntfEvent, str]] = ..., oper_status: _Optional[_Union[_types_pb2.OperStatus, str]] = ..., admin_enabled: bool = ..., description: _Optional[str] = ..., ack: bool = ...) -> None: ...

class IntfField(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class IntfEvent(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []
