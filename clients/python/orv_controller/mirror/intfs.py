"""Interfaces, physical ports, and their traffic."""
from __future__ import annotations

from collections.abc import Iterable

from ..pb import eth_phy_intf_pb2 as port_rpc
from ..pb import intf_counter_pb2 as counter_rpc
from ..pb import intf_pb2 as rpc
from ..pb import types_pb2 as pb
from . import errors
from .calls import Listing
from .follow import Follow
from .service import Service
from .values import intf


class Intfs(Service):
    """Interfaces of every kind, by name."""

    def list(self) -> Listing[str]:
        """In natural order: Ethernet2 before Ethernet10."""
        return self._calls.list(rpc.IntfsRequest(), lambda response: str(response.intf_id.name))

    def exists(self, name: str) -> bool:
        return bool(self._calls.call(rpc.IntfExistsRequest(intf_id=intf(name))).exists)

    def oper_status(self, name: str) -> pb.OperStatus:
        status: pb.OperStatus = self._calls.call(rpc.IntfOperStatusRequest(intf_id=intf(name))).oper_status
        return status

    def admin_enabled(self, name: str) -> bool:
        return bool(self._calls.call(rpc.IntfAdminEnabledRequest(intf_id=intf(name))).admin_enabled)

    def set_admin_enabled(self, names: Iterable[str], enabled: bool) -> int:
        return self._apply(rpc.IntfAdminEnabledIsRequest(intf_id=intf(name), admin_enabled=enabled) for name in names)

    def description(self, name: str) -> str:
        return str(self._calls.call(rpc.IntfDescriptionRequest(intf_id=intf(name))).description)

    def set_descriptions(self, descriptions: Iterable[tuple[str, str]]) -> int:
        """Names of interfaces with their descriptions."""
        return self._apply(rpc.IntfDescriptionIsRequest(intf_id=intf(name), description=text)
                           for name, text in descriptions)

    def kernel_name(self, name: str) -> str:
        return str(self._calls.call(rpc.KernelIntfNameRequest(intf_id=intf(name))).kernel_intf_name)

    def of_kernel_name(self, kernel_name: str) -> str:
        return str(self._calls.call(rpc.OrvIntfNameRequest(kernel_intf_name=kernel_name)).intf_id.name)

    def follow(self) -> Follow[rpc.WatchIntfResponse]:
        """The state of all interfaces, then their changes. Fields that are not set have not changed."""
        return self._watch(rpc.WatchIntfRequest(all=True,
                                                fields_control=rpc.IntfFieldsControl(fields=[rpc.INTF_FIELD_ALL])))


class Ports(Service):
    """Physical interfaces, by name."""

    def list(self) -> Listing[str]:
        """In natural order: Ethernet2 before Ethernet10."""
        return self._calls.list(port_rpc.EthPhyIntfsRequest(), lambda response: str(response.intf_id.name))

    def exists(self, name: str) -> bool:
        return bool(self._calls.call(port_rpc.EthPhyIntfExistsRequest(intf_id=intf(name))).exists)

    def hardware_present(self, name: str) -> bool:
        return bool(self._calls.call(port_rpc.EthPhyIntfHardwarePresentRequest(intf_id=intf(name))).hardware_present)

    def burned_in_eth_addr(self, name: str) -> bytes:
        return bytes(self._calls.call(port_rpc.EthPhyIntfBurnedInEthAddrRequest(intf_id=intf(name))).burned_in_eth_addr)

    def link_speed(self, name: str) -> pb.EthLinkSpeed:
        speed: pb.EthLinkSpeed = self._calls.call(port_rpc.EthPhyIntfLinkSpeedRequest(intf_id=intf(name))).link_speed
        return speed

    def transceiver_present(self, name: str) -> bool:
        request = port_rpc.EthPhyIntfTransceiverPresentRequest(intf_id=intf(name))
        return bool(self._calls.call(request).transceiver_present)

    def follow(self) -> Follow[port_rpc.EthPhyIntfWatchResponse]:
        """The ports, each as if it were created now, with its hardware, speed and transceiver; then their changes."""
        return self._watch(port_rpc.EthPhyIntfWatchRequest(all=True, ack=True), dump=self._dump)

    def _dump(self) -> Listing[port_rpc.EthPhyIntfWatchResponse]:
        for name in self.list():
            try:
                yield port_rpc.EthPhyIntfWatchResponse(
                    intf=intf(name), on_eth_phy_intf_create=port_rpc.OnEthPhyIntfCreate(),
                    on_eth_phy_intf_hardware_present=port_rpc.OnEthPhyIntfHardwarePresent(
                        hardware_present=self.hardware_present(name)),
                    on_eth_phy_intf_link_speed=port_rpc.OnEthPhyIntfLinkSpeed(link_speed=self.link_speed(name)),
                    on_eth_phy_intf_transceiver_present=port_rpc.OnEthPhyIntfTransceiverPresent(
                        transceiver_present=self.transceiver_present(name)))
            except errors.InvalidArgument:
                pass  # It was deleted meanwhile, which the watch reports.


class Counters(Service):
    """Traffic of interfaces."""

    def counters(self, name: str) -> pb.IntfCounters:
        counters: pb.IntfCounters = self._calls.call(counter_rpc.IntfCountersRequest(intf_id=intf(name))).counters
        return counters

    def rates(self, name: str) -> pb.IntfTrafficRates:
        rates: pb.IntfTrafficRates = self._calls.call(counter_rpc.IntfTrafficRatesRequest(intf_id=intf(name))).rates
        return rates

    def follow_rates(self, regex: str = "") -> Follow[counter_rpc.IntfTrafficRatesStreamResponse]:
        """Changing rates of the interfaces whose whole name matches, of all for "". Rates that do not change come
        neither before nor after CaughtUp."""
        def opens(message: counter_rpc.IntfTrafficRatesStreamResponse) -> bool:
            return not message.data

        return self._watch(counter_rpc.IntfTrafficRatesStreamRequest(intf_name_regex=regex, first_message=True), opens)
