"""An in-process server that keeps tables like a switch and refuses the names that a test chooses."""
from __future__ import annotations

import threading
from concurrent import futures

import grpc

from orv_controller.pb import orvsdk_pb2 as pb
from orv_controller.pb import orvsdk_pb2_grpc
from orv_controller.wire import session_key


class FakeSwitch(orvsdk_pb2_grpc.orvsdk_serviceServicer):
    """As in a switch, `tables` and `notes` survive restart(), the initialised state does not."""

    def __init__(self, address: str):
        self.address = address
        self.tables: dict[str, dict] = {k: {} for k in ("group", "route", "tunnel", "label", "redirect", "session")}
        self.notes: dict[str, str] = {}
        self.refused_names: set[str] = set()
        self.bulks: list[tuple[str, int]] = []
        self.inits = self.resyncs = 0
        self.hold_bulks = threading.Event()
        self.hold_bulks.set()
        self.changed = threading.Condition()
        self._server = None
        self.start()

    def start(self):
        self.initialized, self._fresh, self._policy_map = False, None, ""
        self._ended = threading.Event()
        self._server = grpc.server(futures.ThreadPoolExecutor(16))
        orvsdk_pb2_grpc.add_orvsdk_serviceServicer_to_server(self, self._server)
        self._server.add_insecure_port(self.address)
        self._server.start()

    def stop(self):
        self._ended.set()
        self.hold_bulks.set()
        self._server.stop(None).wait(5)

    def restart(self):
        self.stop()
        self.start()

    def wait(self, condition, seconds=10):
        with self.changed:
            return self.changed.wait_for(condition, seconds)

    def _told(self):
        with self.changed:
            self.changed.notify_all()

    def _state(self, words=""):
        return pb.rpc_status_msg(status=pb.RPC_STATUS_ERROR if words else pb.RPC_STATUS_OK, debug_string=words)

    def rpc_server_init(self, request, context):
        name = request.cbf_nexthop_group_redirect_policy_map_name
        same_name = self._policy_map == name
        self.initialized, self._policy_map = True, name
        self.inits += 1
        self.notes["OrvSdkRpc-cbfNexthopGroupRedirectPolicyMapName"] = name
        there = {kind: bool(table) for kind, table in self.tables.items()}
        return pb.rpc_server_init_status_msg(
            status=self._state(), ip_routes_exist=there["route"], mpls_routes_exist=there["label"],
            nexthop_groups_exist=there["group"], nexthop_group_tunnels_exist=there["tunnel"],
            cbf_redirects_exist=same_name or there["redirect"])

    def rpc_server_resync(self, request, context):
        if request.resync_phase == pb.rpc_server_resync_msg.RESYNC_START:
            self._fresh = {kind: set() for kind in self.tables}
            return self._state()
        if self._fresh is None:
            return self._state("Error: resync state is already false")
        for kind, table in self.tables.items():
            for key in set(table) - self._fresh[kind]:
                del table[key]
        self._fresh = None
        self.resyncs += 1
        return self._state()

    def rpc_server_state(self, request, context):
        if not self.initialized:
            return pb.rpc_status_msg(status=pb.RPC_STATUS_NOT_INITIALIZED)
        for pair in request.key_value_pairs:
            self.notes[pair.key] = pair.value
        self._told()
        return self._state()

    def get_rpc_server_state(self, request, context):
        return pb.rpc_server_state_status_msg(key_value_pairs=[
            pb.rpc_server_key_value_pair_msg(key=pair.key, value=self.notes.get(pair.key, ""))
            for pair in request.key_value_pairs])

    def _bulk(self, kind, request, key_of, deletes):
        self.hold_bulks.wait(20)
        self.bulks.append((kind, len(request.bulk)))
        reply = pb.rpc_status_bulk_msg()
        for item in request.bulk:
            status, key = reply.statuses.add(), key_of(item)
            if not self.initialized:
                status.status = pb.RPC_STATUS_NOT_INITIALIZED
            elif key in self.refused_names:
                status.status, status.debug_string = pb.RPC_STATUS_ERROR, f"Error: no {key} here"
            elif deletes(item):
                if self.tables[kind].pop(key, None) is None:
                    status.status = pb.RPC_STATUS_NOT_FOUND
            else:
                self.tables[kind][key] = item
                if self._fresh is not None:
                    self._fresh[kind].add(key)
        self._told()
        return reply

    def nexthop_group_bulk(self, request, context):
        return self._bulk("group", request, lambda item: item.name, lambda item: item.delete)

    def ip_route_bulk(self, request, context):
        return self._bulk("route", request, lambda item: (bytes(item.prefix.network.address),
                                                          item.prefix.prefix_length),
                          lambda item: not item.nexthop_group_name)

    def nexthop_group_tunnel_bulk(self, request, context):
        return self._bulk("tunnel", request, lambda item: bytes(item.prefix.network.address),
                          lambda item: not item.nexthop_group_name)

    def mpls_route_bulk(self, request, context):
        return self._bulk("label", request, lambda item: item.label, lambda item: item.delete)

    def cbf_nexthop_group_redirect_bulk(self, request, context):
        return self._bulk("redirect", request,
                          lambda item: (item.match_nexthop_group_name, item.redirect_nexthop_group_name),
                          lambda item: item.delete)

    def sbfd_echo_session_bulk(self, request, context):
        return self._bulk("session", request, lambda item: session_key(item.key), lambda item: item.delete)

    def watch_rpc_server_alive(self, request, context):
        ended = self._ended
        context.add_callback(ended.set)
        ended.wait()
        return iter(())

    def watch_sbfd_echo_session_status_msgs(self, request, context):
        yield pb.watch_sbfd_echo_session_status_msg(initial=True)
        update = pb.watch_sbfd_echo_session_status_msg()
        for session in list(self.tables["session"].values()):
            item = update.bulk.add(key=session.key)
            item.oper_status.status = 3
        yield update
        self._ended.wait()
