"""Class maps, policy maps and traffic policies."""
from __future__ import annotations

from collections.abc import Iterable
from contextlib import AbstractContextManager

from ..pb import class_map_pb2 as class_rpc
from ..pb import policy_map_pb2 as rpc
from ..pb import types_pb2 as pb
from . import errors
from .calls import Listing
from .follow import Follow
from .service import Service
from .values import intf

_FEATURES = (pb.POLICY_FEATURE_PBR, pb.POLICY_FEATURE_QOS, pb.POLICY_FEATURE_TAP_AGGREGATION,
             pb.POLICY_FEATURE_CONTROL_PLANE)


class ClassMaps(Service):
    def list(self, feature: pb.PolicyFeature) -> Listing[pb.PolicyMapKey]:
        return self._calls.list(class_rpc.ClassMapsRequest(feature=feature), lambda response: response.key)

    def get(self, key: pb.PolicyMapKey) -> pb.ClassMap | None:
        found = self._calls.call(class_rpc.ClassMapRequest(key=key)).class_map
        return found if found.key.name else None

    def exists(self, key: pb.PolicyMapKey) -> bool:
        return bool(self._calls.call(class_rpc.ClassMapExistsRequest(key=key)).exists)

    def set(self, class_map: pb.ClassMap) -> None:
        """Sets or replaces it. Its rules may name ACLs that do not exist yet."""
        self._calls.call(class_rpc.ClassMapIsRequest(class_map=class_map))

    def set_all(self, class_maps: Iterable[pb.ClassMap]) -> int:
        return self._apply(class_rpc.ClassMapIsRequest(class_map=each) for each in class_maps)

    def delete(self, key: pb.PolicyMapKey) -> None:
        self._calls.call(class_rpc.ClassMapDelRequest(key=key))

    def delete_all(self, keys: Iterable[pb.PolicyMapKey]) -> int:
        return self._apply(class_rpc.ClassMapDelRequest(key=key) for key in keys)

    def replay(self) -> AbstractContextManager[None]:
        """Inside of the block, set everything; at its end the rest is removed."""
        return self._replayed(class_rpc.ClassMapResyncInitRequest(), class_rpc.ClassMapResyncCompleteRequest())


class PolicyMaps(Service):
    def list(self, feature: pb.PolicyFeature) -> Listing[pb.PolicyMapKey]:
        return self._calls.list(rpc.PolicyMapsRequest(feature=feature), lambda response: response.key)

    def get(self, key: pb.PolicyMapKey) -> pb.PolicyMap | None:
        found = self._calls.call(rpc.PolicyMapRequest(key=key)).policy_map
        return found if found.key.name else None

    def exists(self, key: pb.PolicyMapKey) -> bool:
        return bool(self._calls.call(rpc.PolicyMapExistsRequest(key=key)).exists)

    def set(self, policy_map: pb.PolicyMap) -> None:
        """Sets or replaces it. Its rules may name class maps that do not exist yet."""
        self._calls.call(rpc.PolicyMapIsRequest(policy_map=policy_map))

    def set_all(self, policy_maps: Iterable[pb.PolicyMap]) -> int:
        return self._apply(rpc.PolicyMapIsRequest(policy_map=each) for each in policy_maps)

    def delete(self, key: pb.PolicyMapKey) -> None:
        self._calls.call(rpc.PolicyMapDelRequest(key=key))

    def delete_all(self, keys: Iterable[pb.PolicyMapKey]) -> int:
        return self._apply(rpc.PolicyMapDelRequest(key=key) for key in keys)

    def apply(self, key: pb.PolicyMapKey, intf_name: str, direction: pb.AclDirection, apply: bool = True) -> None:
        """Applies it to an interface; with `apply` false, removes it from there."""
        self._calls.call(rpc.PolicyMapApplyRequest(key=key, intf_id=intf(intf_name), direction=direction, apply=apply))

    def hw_statuses(self, feature: pb.PolicyFeature) -> Listing[pb.PolicyMapKey]:
        """The policy maps that hw_status() knows."""
        return self._calls.list(rpc.PolicyMapHwStatusesRequest(feature=feature), lambda response: response.key)

    def hw_status(self, key: pb.PolicyMapKey) -> tuple[pb.PolicyMapStatusValue, ...]:
        """How hardware has it, for each place where it is applied."""
        return tuple(self._calls.call(rpc.PolicyMapHwStatusRequest(key=key)).statuses.intf_statuses)

    def follow(self) -> Follow[rpc.PolicyMapWatchResponse]:
        """The policy maps and traffic policies, each as if it were set now; then settings of both, and what hardware
        did. Deletions are not reported: exists() tells."""
        return self._watch(rpc.PolicyMapWatchRequest(ack=True), dump=self._dump)

    def replay(self) -> AbstractContextManager[None]:
        """Inside of the block, set all policy maps and all traffic policies; at its end the rest is removed."""
        return self._replayed(rpc.PolicyMapResyncInitRequest(), rpc.PolicyMapResyncCompleteRequest())

    def _dump(self) -> Listing[rpc.PolicyMapWatchResponse]:
        for feature in _FEATURES:
            for key in self.list(feature):
                yield rpc.PolicyMapWatchResponse(key=key, event=rpc.POLICY_MAP_EVENT_CONFIG_SET)
        try:
            for response in self._calls.list(rpc.TrafficPoliciesRequest(), lambda each: each):
                yield rpc.PolicyMapWatchResponse(key=response.key,
                                                 event=rpc.POLICY_MAP_EVENT_TRAFFIC_POLICY_CONFIG_SET)
        except errors.Unimplemented:
            pass  # Traffic policies are switched off.


class TrafficPolicies(Service):
    """PolicyMaps.follow reports them; PolicyMaps.replay replays them."""

    def list(self) -> Listing[str]:
        return self._calls.list(rpc.TrafficPoliciesRequest(), lambda response: str(response.key.name))

    def get(self, name: str) -> pb.TrafficPolicy | None:
        found = self._calls.call(rpc.TrafficPolicyRequest(name=name)).traffic_policy
        return found if found.key else None

    def exists(self, name: str) -> bool:
        return bool(self._calls.call(rpc.TrafficPolicyExistsRequest(name=name)).exists)

    def set(self, policy: pb.TrafficPolicy) -> None:
        """Sets or replaces it."""
        self._calls.call(rpc.TrafficPolicyIsRequest(traffic_policy=policy))

    def set_all(self, policies: Iterable[pb.TrafficPolicy]) -> int:
        return self._apply(rpc.TrafficPolicyIsRequest(traffic_policy=policy) for policy in policies)

    def delete(self, name: str) -> None:
        self._calls.call(rpc.TrafficPolicyDelRequest(name=name))

    def delete_all(self, names: Iterable[str]) -> int:
        return self._apply(rpc.TrafficPolicyDelRequest(name=name) for name in names)

    def apply(self, name: str, intf_name: str, direction: pb.TrafficPolicyDirection, apply: bool = True) -> None:
        """Applies it to an interface; with `apply` false, removes it from there."""
        self._calls.call(rpc.TrafficPolicyApplyRequest(name=name, intf_id=intf(intf_name), direction=direction,
                                                       apply=apply))
