"""The system that an announcement needs, in a private network: a message bus, the mDNS daemon, and a client that
watches the network. Everything ends with the test that began it.
"""
import os
import pathlib
import queue
import re
import socket
import subprocess
import threading
import unittest

TIMEOUT = 30  # seconds, for what takes one or two

BUS = """<busconfig>
  <listen>unix:path={socket}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*"/> <allow receive_sender="*"/> <allow own="*"/> <allow user="*"/>
  </policy>
</busconfig>
"""
DAEMON = """[server]
host-name={host}
allow-interfaces={interface}
use-ipv4=yes
use-ipv6=no
ratelimit-interval-usec=0
ratelimit-burst=0
[wide-area]
enable-wide-area=no
"""


class Program:
    """A program whose lines of output are awaited one by one, or all together."""

    def __init__(self, *command, **options):
        self.process = subprocess.Popen([str(word) for word in command], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT, text=True, bufsize=1, **options)
        self.lines = queue.Queue()
        self.seen = []
        self.reader = threading.Thread(target=self._read)
        self.reader.start()

    def _read(self):
        for line in self.process.stdout:
            self.lines.put(line.rstrip("\n"))
        self.lines.put(None)

    def tell(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def next_line(self):
        """The next line; None at the end."""
        try:
            line = self.lines.get(timeout=TIMEOUT)
        except queue.Empty:
            raise AssertionError(f"{self.process.args[0]} prints nothing more after {self.seen}") from None
        self.seen.append(line)
        return line

    def await_line(self, pattern):
        """Skips lines up to one that contains the pattern, and returns what matched."""
        while (line := self.next_line()) is not None:
            if match := re.search(pattern, line):
                return match
        raise AssertionError(f"{self.process.args[0]} ended without {pattern!r}: {self.seen}")

    def end(self):
        """Terminates the program, unless it has ended."""
        if self.process.poll() is None:
            self.process.terminate()
        self.process.wait(TIMEOUT)
        self.reader.join()
        self.process.stdin.close()
        self.process.stdout.close()


def unescaped(name):
    """A name as avahi-browse prints it for programs, with decimal codes for what is no letter or digit."""
    return re.sub(r"\\(\d{3})", lambda code: chr(int(code[1])), name)


class Network:
    """A separate machine on a network: a message bus and, between start_daemon() and stop_daemon(), the mDNS daemon.
    `within` is a command that runs others on another machine."""

    def __init__(self, folder, interface="lo", host="myhost", within=()):
        self.folder = pathlib.Path(folder)
        self.names = {"interface": interface, "host": host}
        self.within = within
        self.socket = self.folder / "bus"
        self.bus = self.daemon = None
        self.environment = os.environ | {"DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={self.socket}"}

    def start_bus(self):
        configuration = self.folder / "bus.conf"
        configuration.write_text(BUS.format(socket=self.socket))
        self.bus = self.run("dbus-daemon", f"--config-file={configuration}", "--nofork", "--nopidfile",
                            "--print-address=1")
        self.bus.await_line("unix:")

    def start_daemon(self):
        configuration = self.folder / "avahi.conf"
        configuration.write_text(DAEMON.format(**self.names))
        self.daemon = self.run("avahi-daemon", "-f", configuration, "--no-drop-root", "--no-chroot", "--no-rlimits")
        self.daemon.await_line("Server startup complete")

    def stop_daemon(self):
        self.daemon.end()
        self.daemon = None

    def run(self, *command):
        return Program(*self.within, *command, env=self.environment)

    def end(self):
        for program in (self.daemon, self.bus):
            if program is not None:
                program.end()


class Cable:
    """A network of two machines: this one at its end "near", and another, whose end is "far"."""

    ADDRESSES = {"near": "10.9.0.1", "far": "10.9.0.2"}

    def __init__(self):
        self.other = Program("unshare", "--net", "--mount", "sh", "-c",
                             "mount -t tmpfs none /run && echo ready && exec cat")
        self.other.await_line("ready")
        self.within = ("nsenter", f"--target={self.other.process.pid}", "--net", "--mount")
        made = subprocess.run(["ip", "link", "add", "near", "type", "veth", "peer", "far", "netns",
                               str(self.other.process.pid)], capture_output=True, text=True)
        if made.returncode != 0:
            self.end()
            raise unittest.SkipTest(f"this system makes no cable between two networks: {made.stderr.strip()}")
        for end, within in (("near", ()), ("far", self.within)):
            subprocess.run([*within, "ip", "address", "add", f"{self.ADDRESSES[end]}/24", "dev", end], check=True)
            subprocess.run([*within, "ip", "link", "set", end, "up"], check=True)

    def end(self):
        self.other.end()


def packets():
    """A socket that receives what is sent to everybody by multicast DNS."""
    network = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    network.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    network.bind(("", 5353))
    group = socket.inet_aton("224.0.0.251") + socket.inet_aton("127.0.0.1")
    network.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, group)
    network.settimeout(TIMEOUT)
    return network


class Browser:
    """Watches the network for services of a type."""

    def __init__(self, network, kind="_uscan._tcp"):
        self.program = network.run("avahi-browse", "--parsable", "--resolve", "--no-db-lookup", kind)

    def await_arrival(self):
        """The next service that is resolved: its name, host, address, port and the pairs of its record."""
        line = self.program.await_line(r"^=;.*")[0].split(";")
        name, host, address, port, text = unescaped(line[3]), line[6], line[7], int(line[8]), line[9]
        return name, host, address, port, dict(pair.split("=", 1) for pair in re.findall(r'"([^"]*)"', text))

    def await_departure(self):
        """The name of the next service that leaves."""
        return unescaped(self.program.await_line(r"^-;.*")[0].split(";")[3])

    def end(self):
        self.program.end()
