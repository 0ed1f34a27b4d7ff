from orv_controller.pb import types_pb2 as _types_pb2
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Mapping as _Mapping, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor

class EthPhyIntfBurnedInEthAddrRequest(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class EthPhyIntfBurnedInEthAddrResponse(_message.Message):
    __slots__ = ["burned_in_eth_addr"]
    BURNED_IN_ETH_ADDR_FIELD_NUMBER: _ClassVar[int]
    burned_in_eth_addr: bytes
    def __init__(self, burned_in_eth_addr: _Optional[bytes] = ...) -> None: ...

class EthPhyIntfExistsRequest(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class EthPhyIntfExistsResponse(_message.Message):
    __slots__ = ["exists"]
    EXISTS_FIELD_NUMBER: _ClassVar[int]
    exists: bool
    def __init__(self, exists: bool = ...) -> None: ...

class EthPhyIntfHardwarePresentRequest(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class EthPhyIntfHardwarePresentResponse(_message.Message):
    __slots__ = ["hardware_present"]
    HARDWARE_PRESENT_FIELD_NUMBER: _ClassVar[int]
    hardware_present: bool
    def __init__(self, hardware_present: bool = ...) -> None: ...

class EthPhyIntfLinkSpeedRequest(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class EthPhyIntfLinkSpeedResponse(_message.Message):
    __slots__ = ["link_speed"]
    LINK_SPEED_FIELD_NUMBER: _ClassVar[int]
    link_speed: _types_pb2.EthLinkSpeed
    def __init__(self, link_speed: _Optional[_Union[_types_pb2.EthLinkSpeed, str]] = ...) -> None: ...

class EthPhyIntfTransceiverPresentRequest(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class EthPhyIntfTransceiverPresentResponse(_message.Message):
    __slots__ = ["transceiver_present"]
    TRANSCEIVER_PRESENT_FIELD_NUMBER: _ClassVar[int]
    transceiver_present: bool
    def __init__(self, transceiver_present: bool = ...) -> None: ...

class EthPhyIntfWatchRequest(_message.Message):
    __slots__ = ["ack", "all", "intf"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    ALL_FIELD_NUMBER: _ClassVar[int]
    INTF_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    all: bool
    intf: _types_pb2.IntfId
    def __init__(self, all: bool = ..., intf: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ..., ack: bool = ...) -> None: ...

class EthPhyIntfWatchResponse(_message.Message):
    __slots__ = ["ack", "intf", "on_eth_phy_intf_create", "on_eth_phy_intf_delete", "on_eth_phy_intf_hardware_present", "on_eth_phy_intf_link_speed", "on_eth_phy_intf_transceiver_present"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    INTF_FIELD_NUMBER: _ClassVar[int]
    ON_ETH_PHY_INTF_CREATE_FIELD_NUMBER: _ClassVar[int]
    ON_ETH_PHY_INTF_DELETE_FIELD_NUMBER: _ClassVar[int]
    ON_ETH_PHY_INTF_HARDWARE_PRESENT_FIELD_NUMBER: _ClassVar[int]
    ON_ETH_PHY_INTF_LINK_SPEED_FIELD_NUMBER: _ClassVar[int]
    ON_ETH_PHY_INTF_TRANSCEIVER_PRESENT_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    intf: _types_pb2.IntfId
    on_eth_phy_intf_create: OnEthPhyIntfCreate
    on_eth_phy_intf_delete: OnEthPhyIntfDelete
    on_eth_phy_intf_hardware_present: OnEthPhyIntfHardwarePresent
    on_eth_phy_intf_link_speed: OnEthPhyIntfLinkSpeed
    on_eth_phy_intf_transceiver_present: OnEthPhyIntfTransceiverPresent
    def __init__(self, intf: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ..., on_eth_phy_intf_create: _Optional[_Union[OnEthPhyIntfCreate, _Mapping]] = ..., on_eth_phy_intf_delete: _Optional[_Union[OnEthPhyIntfDelete, _Mapping]] = ..., on_eth_phy_intf_hardware_present: _Optional[_Union[OnEthPhyIntfHardwarePresent, _Mapping]] = ..., on_eth_phy_intf_link_speed: _Optional[_Union[OnEthPhyIntfLinkSpeed, _Mapping]] = ..., on_eth_phy_intf_transceiver_present: _Optional[_Union[OnEthPhyIntfTransceiverPresent, _Mapping]] = ..., ack: bool = ...) -> None: ...

class EthPhyIntfsRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class EthPhyIntfsResponse(_message.Message):
    __slots__ = ["intf_id"]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    intf_id: _types_pb2.IntfId
    def __init__(self, intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ...) -> None: ...

class OnEthPhyIntfCreate(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class OnEthPhyIntfDelete(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class OnEthPhyIntfHardwarePresent(_message.Message):
    __slots__ = ["hardware_present"]
    HARDWARE_PRESENT_FIELD_NUMBER: _ClassVar[int]
    hardware_present: bool
    def __init__(self, hardware_present: bool = ...) -> None: ...

class OnEthPhyIntfLinkSpeed(_message.Message):
    __slots__ = ["link_speed"]
    LINK_SPEED_FIELD_NUMBER: _ClassVar[int]
    link_speed: _types_pb2.EthLinkSpeed
    def __init__(self, link_speed: _Optional[_Union[_types_pb2.EthLinkSpeed, str]] = ...) -> None: ...

class OnEthPhyIntfTransceiverPresent(_message.Message):
    __slots__ = ["transceiver_present"]
    TRANSCEIVER_PRESENT_FIELD_NUMBER: _ClassVar[int]
    transceiver_present: bool
    def __init__(self, transceiver_present: bool = ...) -> None: ...
