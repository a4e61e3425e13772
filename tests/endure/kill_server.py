"""SIGKILL of `q750 virtual` while a host scans from it. The same port can be used at once, and the next scan
succeeds."""
import re
import signal
import subprocess
import threading
import time

from processes import LONGEST_RUN, send, strays
from usbip_host import Gone, Host


class Server:
    """`q750 virtual` on a port of the loopback interface, 0 for any."""

    def __init__(self, stage, port=0):
        self.started = time.monotonic()
        self.process = subprocess.Popen([stage.bin / "q750", "virtual", "--listen", f"127.0.0.1:{port}"], text=True,
                                        env=stage.environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE)

    def port(self):
        """Once it listens; None if it has ended instead."""
        found = re.search(r"127\.0\.0\.1:(\d+)", self.process.stdout.readline())
        return int(found[1]) if found else None

    def end(self, number):
        """The exit status, and what it printed to standard error."""
        send(self.process.pid, number)
        errors = self.process.communicate(timeout=LONGEST_RUN)[1]
        return self.process.returncode, errors


def scan(port):
    host = Host(port)
    try:
        return host.scan()
    finally:
        host.close()


class HostThread(threading.Thread):
    """A host that scans from a server as soon as it listens, however that ends."""

    def __init__(self, server):
        super().__init__()
        self.server = server
        self.start()

    def run(self):
        try:
            if port := self.server.port():
                scan(port)
        except Gone:
            pass


class ServerKills:
    def __init__(self, stage):
        self.stage = stage
        server = Server(stage)
        self.port = server.port()
        self.page = scan(self.port)
        self.seconds = time.monotonic() - server.started
        server.end(signal.SIGTERM)

    def once(self, dice):
        """What was wrong, or None. The moment is uniform from the start of the server to the end of the scan."""
        server = Server(self.stage, self.port)
        host = HostThread(server)
        time.sleep(max(0, server.started + dice.uniform(0, self.seconds) - time.monotonic()))
        send(server.process.pid, signal.SIGKILL)
        host.join()
        code, errors = server.end(signal.SIGKILL)
        if code != -signal.SIGKILL:
            return f"exit status {code}: {errors[-300:]}"
        return self._complaint_about_next()

    def _complaint_about_next(self):
        server, complaint = Server(self.stage, self.port), None  # at once
        try:
            if server.port() is None:
                complaint = "the port cannot be used again"
            elif scan(self.port) != self.page:
                complaint = "the page of the next scan differs"
        except Gone as failure:
            complaint = f"no scan afterwards: {failure}"
        self.seconds = time.monotonic() - server.started
        code, errors = server.end(signal.SIGTERM)
        if complaint is None and code != 0:
            complaint = f"SIGTERM ended the next server with status {code}"
        if left := strays(1):
            complaint = complaint or f"processes {left} are left"
        return complaint and f"q750 virtual: {complaint}: {errors[-300:]}"
