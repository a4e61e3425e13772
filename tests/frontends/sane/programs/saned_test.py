"""The scanner shared by saned, on the loopback interface. saned has a fixed port; if another process uses it, the test
is skipped."""
import fcntl
import os
import pathlib
import signal
import socket
import subprocess
import tempfile
import time
import unittest

from PIL import Image

from sane_host import PATIENCE, STAGE, SaneHost

PORT = 6566
CANCELLED = 2
IO_ERROR = 9
CANCEL_LIMIT = 0.25  # seconds
DEVICE = "net:127.0.0.1:quenvar:virtual"
STALL = "virtual-real-time on\nvirtual-fault truncated-image@800000\n"


def port_is_free():
    with socket.socket() as probe:
        probe.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        try:
            probe.bind(("127.0.0.1", PORT))
        except OSError:
            return False
    return True


class Saned(SaneHost):
    @classmethod
    def setUpClass(cls):
        cls.lock = (pathlib.Path(tempfile.gettempdir()) / f"q750-saned-{os.getuid()}.lock").open("w")
        fcntl.flock(cls.lock, fcntl.LOCK_EX)
        cls.addClassCleanup(cls.lock.close)
        if not port_is_free():
            raise unittest.SkipTest(f"port {PORT} of 127.0.0.1 is in use: saned has no other")

    def serve(self, lines=""):
        server = self.configure("server", lines=lines)
        (server / "saned.conf").write_text("127.0.0.1\n")
        client = self.configure("client", back_end="net")
        (client / "net.conf").write_text("connect_timeout = 20\n127.0.0.1\n")
        self.configuration = client
        self.log = (self.folder / "saned.log").open("wb")
        self.addCleanup(self.log.close)
        self.saned = subprocess.Popen([STAGE["saned"], "-l", "-b", "127.0.0.1", "-e"], cwd=self.folder,
                                      env=self.environment(server), stdin=subprocess.DEVNULL,
                                      stdout=self.log, stderr=self.log)
        self.addCleanup(self.stop)
        deadline = time.monotonic() + PATIENCE
        while port_is_free():
            self.assertIsNone(self.saned.poll(), (self.folder / "saned.log").read_text())
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.02)

    def stop(self):
        self.saned.terminate()
        self.saned.wait(PATIENCE)

    def reconfigure(self, lines):
        """Applies to clients that connect from now on."""
        self.configure("server", lines=lines)

    def expect_page(self):
        path = self.folder / "scan.pnm"
        self.scanimage("--resolution", "75", "--format=pnm", "-o", path, device=DEVICE)
        self.assert_same_picture(Image.open(path), self.page("Color"))

    def test_delivers_the_same_pixels_in_every_mode(self):
        self.serve()
        listed = self.run_program([STAGE["scanimage"], "-L"]).stdout.decode()
        self.assertIn(f"device `{DEVICE}' is a Quenvar Q750 (virtual) virtual device", listed)
        for mode in ("Color", "Gray", "Lineart"):
            with self.subTest(mode=mode):
                path = self.folder / "scan.pnm"
                self.scanimage("--mode", mode, "--resolution", "75", "--format=pnm", "-o", path, device=DEVICE)
                self.assert_same_picture(Image.open(path), self.page(mode))

    def test_cancels_a_stalled_scan_at_once(self):
        self.serve(STALL)
        times = []
        while len(times) < 3 or min(times) >= CANCEL_LIMIT:  # a busy machine delays one or another
            self.assertLess(len(times), 10, times)
            scan = self.start("--resolution", "75", "--format=png", "-o", "scan.png", device=DEVICE,
                              configuration=self.configuration)
            scan.await_progress(40)
            status, seconds = scan.interrupt()
            self.assertIn(status, (CANCELLED, IO_ERROR), scan.said)  # the net back end may lose the data first
            times.append(seconds)
        print(f"cancel over the network: {min(times) * 1000:.0f} ms at best of {len(times)}")
        self.expect_nothing_running(but=(self.saned.pid,))
        self.reconfigure("")
        self.expect_page()

    def test_frees_the_scanner_of_a_client_that_is_killed(self):
        self.serve(STALL)
        scan = self.start("--resolution", "75", "--format=png", "-o", "scan.png", device=DEVICE,
                          configuration=self.configuration)
        scan.await_progress(40)
        scan.process.send_signal(signal.SIGKILL)
        scan.process.wait(PATIENCE)
        self.expect_nothing_running(but=(self.saned.pid,))
        self.reconfigure("")
        self.expect_page()


if __name__ == "__main__":
    unittest.main()
