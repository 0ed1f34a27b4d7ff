from orv_controller.pb import status_pb2 as _status_pb2
from orv_controller.pb import types_pb2 as _types_pb2
from google.protobuf.internal import containers as _containers
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Iterable as _Iterable, Mapping as _Mapping, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor

class BulkMplsVrfLabelDelRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[MplsVrfLabelDelRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[MplsVrfLabelDelRequest, _Mapping]]] = ...) -> None: ...

class BulkMplsVrfLabelDelResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkMplsVrfLabelSetRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[MplsVrfLabelSetRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[MplsVrfLabelSetRequest, _Mapping]]] = ...) -> None: ...

class BulkMplsVrfLabelSetResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class MplsVrfLabelDelRequest(_message.Message):
    __slots__ = ["label"]
    LABEL_FIELD_NUMBER: _ClassVar[int]
    label: _types_pb2.MplsLabel
    def __init__(self, label: _Optional[_Union[_types_pb2.MplsLabel, _Mapping]] = ...) -> None: ...

class MplsVrfLabelDelResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class MplsVrfLabelRequest(_message.Message):
    __slots__ = ["label"]
    LABEL_FIELD_NUMBER: _ClassVar[int]
    label: _types_pb2.MplsLabel
    def __init__(self, label: _Optional[_Union[_types_pb2.MplsLabel, _Mapping]] = ...) -> None: ...

class MplsVrfLabelResponse(_message.Message):
    __slots__ = ["mpls_vrf_label"]
    MPLS_VRF_LABEL_FIELD_NUMBER: _ClassVar[int]
    mpls_vrf_label: _types_pb2.MplsVrfLabel
    def __init__(self, mpls_vrf_label: _Optional[_Union[_types_pb2.MplsVrfLabel, _Mapping]] = ...) -> None: ...

class MplsVrfLabelResyncCompleteRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class MplsVrfLabelResyncCompleteResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class MplsVrfLabelResyncInitRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class MplsVrfLabelResyncInitResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class MplsVrfLabelSetRequest(_message.Message):
    __slots__ = ["mpls_vrf_label"]
    MPLS_VRF_LABEL_FIELD_NUMBER: _ClassVar[int]
    mpls_vrf_label: _types_pb2.MplsVrfLabel
    def __init__(self, mpls_vrf_label: _Optional[_Union[_types_pb2.MplsVrfLabel, _Mapping]] = ...) -> None: ...

class MplsVrfLabelSetResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class MplsVrfLabelsRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class MplsVrfLabelsResponse(_message.Message):
    __slots__ = ["mpls_vrf_label"]
    MPLS_VRF_LABEL_FIELD_NUMBER: _ClassVar[int]
    mpls_vrf_label: _types_pb2.MplsVrfLabel
    def __init__(self, mpls_vrf_label: _Optional[_Union[_types_pb2.MplsVrfLabel, _Mapping]] = ...) -> None: ...
