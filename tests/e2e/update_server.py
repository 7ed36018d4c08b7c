"""update_server.py SCRIPT LOG CERT KEY LIFETIME: the tests' update host on 127.0.0.1:443.

It logs "<unix time> <path>" per request to LOG, prints "ready" once it listens, and is gone after
LIFETIME seconds. The port is the machine's: it holds LOCK while it runs.

SCRIPT is JSON: {"refuse": bool (listen on nothing), "routes": {PATH: ROUTE}}. A ROUTE answers
"status" (200) with "size" made-up bytes or those of "file", a "location", "piece" bytes at a time
"pause" seconds apart; "silent": no answer at all.
"""

import fcntl
import json
import os
import signal
import ssl
import sys
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

LOCK = "/tmp/nv-update-server.lock"
script, log, cert, key = sys.argv[1:5]
lifetime = float(sys.argv[5])


class Handler(BaseHTTPRequestHandler):
    def do_GET(self):  # noqa: N802
        with open(log, "a") as file:
            file.write(f"{time.time():.3f} {self.path}\n")
        route = json.loads(script)["routes"].get(self.path, {"status": 404})
        if route.get("silent"):
            time.sleep(lifetime)
        size, piece = route.get("size", 0), route.get("piece", 65536)
        data = (
            open(route["file"], "rb").read()
            if "file" in route
            else (bytes(range(251)) * (size // 251 + 1))[:size]
        )
        self.send_response(route.get("status", 200))
        if "location" in route:
            self.send_header("Location", route["location"])
        self.send_header("Content-Length", str(len(data)))
        self.end_headers()
        for at in range(0, len(data), piece):
            self.wfile.write(data[at : at + piece])
            time.sleep(route.get("pause", 0))

    def log_message(self, *_):
        pass  # the log above is the one the tests read


class Server(ThreadingHTTPServer):
    daemon_threads = True

    def finish_request(self, request, client_address):
        # The handshake runs on the connection's own thread, so a stalled client stalls no one else.
        try:
            with tls.wrap_socket(request, server_side=True) as connection:
                super().finish_request(connection, client_address)
        except OSError:  # a client that gave up: expected in these tests
            pass


lock = open(LOCK, "w")
signal.alarm(600)  # the wait for the lock is bounded too; every holder stops by itself well before
fcntl.flock(lock, fcntl.LOCK_EX)
signal.alarm(0)
threading.Timer(lifetime, os._exit, (0,)).start()
tls = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
tls.load_cert_chain(cert, key)
server = None if json.loads(script)["refuse"] else Server(("127.0.0.1", 443), Handler)
print("ready", flush=True)
server.serve_forever() if server else time.sleep(lifetime)
