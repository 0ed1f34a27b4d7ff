"""An in-process server of the mirror services, whose answers a test chooses."""
from __future__ import annotations

import threading
from concurrent import futures

import grpc

from orv_controller.mirror.calls import METHODS

_BY_PATH = {method.path: method for method in METHODS.values()}


class FakeMirror(grpc.GenericRpcHandler):
    """`answers` has, by the class of the request, a function of request and context: it returns the response, or
    yields the responses of a stream. Without one the response is empty, a stream has none. `requests` has all
    requests so far."""

    def __init__(self, address):
        self.address = address
        self.answers = {}
        self.requests = []
        self.changed = threading.Condition()
        self._server = None
        self.start()

    def start(self):
        self._server = grpc.server(futures.ThreadPoolExecutor(16))
        self._server.add_generic_rpc_handlers((self,))
        self._server.add_insecure_port(self.address)
        self._server.start()

    def stop(self):
        self._server.stop(None).wait(5)

    @staticmethod
    def held(context):
        """Returns when the call has ended, also by the end of the server."""
        ended = threading.Event()
        if context.add_callback(ended.set):
            ended.wait()

    def wait(self, condition, seconds=10):
        with self.changed:
            return self.changed.wait_for(condition, seconds)

    def told(self, change):
        """Runs `change` and wakes wait()."""
        with self.changed:
            change()
            self.changed.notify_all()

    def service(self, details):
        method = _BY_PATH.get(details.method)
        if method is None:
            return None
        make = grpc.unary_stream_rpc_method_handler if method.streams else grpc.unary_unary_rpc_method_handler
        return make(lambda request, context: self._answer(method, request, context),
                    method.request.FromString, method.response.SerializeToString)

    def _answer(self, method, request, context):
        self.told(lambda: self.requests.append(request))
        answer = self.answers.get(method.request)
        if answer is not None:
            return answer(request, context)
        return iter(()) if method.streams else method.response()
