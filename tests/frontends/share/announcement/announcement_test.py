import contextlib
import http.server
import os
import signal
import subprocess
import tempfile
import threading
import time
import unittest
import urllib.request

from mdns import TIMEOUT, Browser, Cable, Network, packets

ANNOUNCE = os.environ["Q750_ANNOUNCE"]
SCANIMAGE = os.environ["Q750_SCANIMAGE"]
SERVER = os.environ["Q750_SHARE"]
DOCTOR = os.environ["Q750_COMMAND"]
SCANNER = os.environ["Q750_ANNOUNCED_SCANNER"]
NAME = "Quenvar Q750 @ myhost"
RECORD = {"txtvers": "1", "rs": "eSCL", "uuid": "5f0c1a52-7a0e-5d5b-9d3c-0b6a6d1e7501"}
PAIRS = " ".join(f"{key}={value}" for key, value in RECORD.items())


class Announced(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.network = Network(folder.name)
        self.addCleanup(self.network.end)

    def announce(self, reach="network", name=NAME):
        scanner = self.network.run(ANNOUNCE, name, reach)
        self.addCleanup(scanner.end)
        return scanner

    def browse(self, kind="_uscan._tcp"):
        browser = Browser(self.network, kind)
        self.addCleanup(browser.end)
        return browser


class WithADaemon(Announced):
    def setUp(self):
        super().setUp()
        self.network.start_bus()
        self.network.start_daemon()

    def test_is_found_with_its_record_under_both_types(self):
        scanner = self.announce()
        scanner.tell(f"publish 8750 {PAIRS}")
        for kind in ("_uscan._tcp", "_uscans._tcp"):
            found = self.browse(kind).await_arrival()
            self.assertEqual(found, (NAME, "myhost.local", "127.0.0.1", 8750, RECORD), kind)
        scanner.await_line(f'The scanner is announced as "{NAME}"')

    def test_sends_the_version_of_the_record_first(self):
        with packets() as network:
            self.announce().tell(f"publish 8750 {PAIRS}")
            packet = next(bytes for bytes in iter(lambda: network.recv(9000), b"") if b"txtvers=1" in bytes)
        positions = [packet.index(f"{key}={value}".encode()) for key, value in RECORD.items()]
        self.assertEqual(positions, sorted(positions))

    def test_leaves_when_the_scanner_is_unplugged_and_returns_unchanged(self):
        browser = self.browse()
        scanner = self.announce()
        scanner.tell(f"publish 8750 {PAIRS}")
        before = browser.await_arrival()
        scanner.tell("withdraw")
        self.assertEqual(browser.await_departure(), NAME)
        scanner.tell(f"publish 8750 {PAIRS}")
        self.assertEqual(browser.await_arrival(), before)

    def test_leaves_with_the_server_even_if_that_is_killed(self):
        browser = self.browse()
        for end in (signal.SIGTERM, signal.SIGKILL):
            scanner = self.announce()
            scanner.tell(f"publish 8750 {PAIRS}")
            browser.await_arrival()
            scanner.process.send_signal(end)
            self.assertEqual(browser.await_departure(), NAME)

    def test_is_replaced_when_it_is_described_anew(self):
        scanner = self.announce()
        scanner.tell(f"publish 8750 {PAIRS}")
        scanner.await_line("announced as")
        scanner.tell("publish 9000 note=moved")
        scanner.await_line("announced as")
        self.assertEqual(self.browse().await_arrival()[3:], (9000, {"note": "moved"}))

    def test_returns_after_a_restart_of_the_daemon(self):
        scanner = self.announce()
        scanner.tell(f"publish 8750 {PAIRS}")
        scanner.await_line("announced as")
        self.network.stop_daemon()
        scanner.await_line("Avahi is not running")
        self.network.start_daemon()
        scanner.await_line(f'announced as "{NAME}"')
        self.assertEqual(self.browse().await_arrival()[4], RECORD)

    def test_stays_away_after_a_restart_while_the_scanner_is_unplugged(self):
        scanner = self.announce()
        scanner.tell(f"publish 8750 {PAIRS}")
        scanner.await_line("announced as")
        self.network.stop_daemon()
        scanner.await_line("Avahi is not running")
        scanner.tell("withdraw")
        self.network.start_daemon()
        browser = self.browse()
        other = self.announce(name="Another")
        other.tell(f"publish 8751 {PAIRS}")
        self.assertEqual(browser.await_arrival()[0], "Another")
        scanner.process.stdin.close()
        self.assertIsNone(scanner.next_line(), "announced nothing since")

    def test_takes_another_name_where_its_own_is_taken_and_keeps_it(self):
        first, second = self.announce(), self.announce()
        first.tell(f"publish 8750 {PAIRS}")
        first.await_line(f'announced as "{NAME}"')
        for _ in range(2):
            second.tell("publish 8751 rs=eSCL")
            second.await_line(f'announced as "{NAME} #2"')
            second.tell("withdraw")
        second.tell("name")
        second.await_line(f"name: {NAME} #2")
        first.tell("name")
        first.await_line(f"name: {NAME}$")

    def test_reports_what_the_daemon_refuses(self):
        scanner = self.announce(name="x" * 64)
        scanner.tell(f"publish 8750 {PAIRS}")
        scanner.await_line(r'Avahi does not announce the scanner as "x+" \(Invalid service name\): programs do not')

    def test_is_announced_to_this_machine_alone_on_request(self):
        self.announce("this-machine").tell(f"publish 8750 {PAIRS}")
        self.assertEqual(self.browse().await_arrival()[2:4], ("127.0.0.1", 8750))

    def test_is_announced_to_nobody_on_request(self):
        quiet, loud = self.announce("nobody"), self.announce(name="Another")
        quiet.tell(f"publish 8750 {PAIRS}")
        loud.tell(f"publish 8751 {PAIRS}")
        self.assertEqual(self.browse().await_arrival()[0], "Another")
        quiet.tell("name")
        quiet.await_line("begun")
        self.assertEqual(quiet.next_line(), f"name: {NAME}")

    # The only test that lets time pass: that nothing happens takes some.
    def test_sleeps_once_it_is_announced(self):
        scanner = self.announce()
        scanner.tell(f"publish 8750 {PAIRS}")
        scanner.await_line("announced as")
        self.browse().await_arrival()
        deadline = time.monotonic() + TIMEOUT
        while self.wakes_up(scanner):
            self.assertLess(time.monotonic(), deadline)

    @staticmethod
    def wakes_up(scanner):
        """Whether any of its threads does within two seconds."""
        def wakeups():
            folder = f"/proc/{scanner.process.pid}/task"
            counts = {}
            for thread in os.listdir(folder):
                with contextlib.suppress(OSError), open(f"{folder}/{thread}/status", encoding="ascii") as status:
                    counts[thread] = next(line for line in status if line.startswith("voluntary_ctxt_switches"))
            return counts
        before = wakeups()
        time.sleep(2)
        return wakeups() != before


class ScannerOnUsb(Announced):
    def setUp(self):
        super().setUp()
        self.network.start_bus()
        self.network.start_daemon()
        self.scanner = self.network.run(SCANNER)
        self.addCleanup(self.scanner.end)

    def test_leaves_with_its_cable_and_returns_with_the_same_name_and_identity(self):
        browser = self.browse()
        before = browser.await_arrival()
        self.assertEqual((before[0], before[4]["rs"]), (NAME, "eSCL"))
        self.assertRegex(before[4]["uuid"], "^[0-9a-f]{8}-[0-9a-f]{4}-5[0-9a-f]{3}-")
        for _ in range(2):
            self.scanner.tell("unplug")
            self.assertEqual(browser.await_departure(), NAME)
            self.scanner.tell("plug in")
            self.assertEqual(browser.await_arrival(), before)

    def test_is_unplugged_while_the_daemon_is_away(self):
        self.scanner.await_line("announced as")
        self.network.stop_daemon()
        self.scanner.await_line("Avahi is not running")
        self.scanner.tell("unplug")
        self.scanner.await_line("The scanner is not plugged in")
        self.network.start_daemon()
        self.scanner.tell("plug in")
        self.scanner.await_line(f'announced as "{NAME}"')


class OnTwoMachines(unittest.TestCase):
    def setUp(self):
        cable = Cable()
        self.addCleanup(cable.end)
        self.near, self.far = (self.machine(end, host, within) for end, host, within in
                               (("near", "myhost", ()), ("far", "otherhost", cable.within)))

    def machine(self, interface, host, within):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        network = Network(folder.name, interface, host, within)
        self.addCleanup(network.end)
        network.start_bus()
        network.start_daemon()
        return network

    def announce(self, machine):
        scanner = machine.run(ANNOUNCE, NAME, "network")
        self.addCleanup(scanner.end)
        scanner.tell(f"publish 8750 {PAIRS}")
        return scanner

    def test_is_found_from_the_other_one(self):
        self.announce(self.near)
        browser = Browser(self.far)
        self.addCleanup(browser.end)
        self.assertEqual(browser.await_arrival(), (NAME, "myhost.local", Cable.ADDRESSES["near"], 8750, RECORD))

    def test_takes_another_name_where_the_other_machine_has_its_own(self):
        self.announce(self.far).await_line(f'announced as "{NAME}"')
        self.announce(self.near).await_line(f'announced as "{NAME} #2"')
        browser = Browser(self.near)
        self.addCleanup(browser.end)
        found = sorted(browser.await_arrival()[:3] for _ in range(2))
        self.assertEqual(found, [(NAME, "otherhost.local", Cable.ADDRESSES["far"]),
                                 (f"{NAME} #2", "myhost.local", Cable.ADDRESSES["near"])])


class Another(http.server.BaseHTTPRequestHandler):
    """The response of another server."""

    def do_GET(self):
        self.send_error(404)

    def log_message(self, *_):
        pass


class Server(Announced):
    """q750-share itself, which serves the virtual scanner."""

    def setUp(self):
        super().setUp()
        self.network.start_bus()
        self.network.start_daemon()

    def serve(self, *options, scanner=("--virtual",)):
        server = self.network.run(SERVER, *scanner, "--port", "8750", *options)
        self.addCleanup(server.end)
        server.await_line("is shared at http")
        return server

    def scanimage(self, back_end, *words):
        """With this back end alone, which uses only scanners that it discovers."""
        configuration = self.network.folder / back_end
        configuration.mkdir(exist_ok=True)
        (configuration / "dll.conf").write_text(back_end + "\n")
        (configuration / f"{back_end}.conf").write_text("")
        environment = self.network.environment | {"SANE_CONFIG_DIR": str(configuration)}
        return subprocess.run([SCANIMAGE, *words], env=environment, capture_output=True, text=True, timeout=TIMEOUT)

    def test_is_found_by_the_clients_of_this_machine(self):
        self.serve("--announce", "--name", "Our Q750")
        self.browse().await_arrival()
        for back_end in ("airscan", "escl"):
            self.assertRegex(self.scanimage(back_end, "-L").stdout, "Our Q750|Quenvar Q750", back_end)

    def test_is_found_by_nobody_if_it_serves_this_machine_alone(self):
        self.serve()
        self.announce(name="Another").tell("publish 8751 rs=eSCL")
        self.assertEqual(self.browse().await_arrival()[0], "Another")

    def test_listens_once_where_an_address_includes_another(self):
        self.serve("--bind", "127.0.0.1", "--bind", "0.0.0.0", "--bind", "::1")
        for address in ("127.0.0.1", "[::1]"):
            with urllib.request.urlopen(f"http://{address}:8750/eSCL/ScannerStatus") as answer:
                self.assertEqual(answer.status, 200)

    def test_announces_what_its_documents_say(self):
        self.serve("--bind", "0.0.0.0")
        record = self.browse().await_arrival()[4]
        with urllib.request.urlopen("http://127.0.0.1:8750/eSCL/ScannerCapabilities") as answer:
            capabilities = answer.read().decode()
        self.assertIn(f"<scan:UUID>{record['uuid']}</scan:UUID>", capabilities)
        self.assertIn(f"<scan:AdminURI>{record['adminurl']}</scan:AdminURI>", capabilities)
        self.assertIn(f"<pwg:Version>{record['vers']}</pwg:Version>", capabilities)
        self.assertRegex(record["adminurl"], r"^http://[^./]+\.local:8750/$")

    def doctor(self):
        return subprocess.run([DOCTOR, "doctor"], env=self.network.environment, capture_output=True, text=True,
                              timeout=TIMEOUT).stdout

    def test_is_recognized_by_the_doctor(self):
        self.assertIn("port 8750 is free", self.doctor())
        self.serve()
        self.assertIn("ok         The scanner is shared at port 8750.\n", self.doctor())
        self.assertIn("ok         Avahi is running: ", self.doctor())

    def test_is_told_from_another_server_by_the_doctor(self):
        with http.server.HTTPServer(("127.0.0.1", 8750), Another) as other:
            thread = threading.Thread(target=other.serve_forever)
            thread.start()
            self.assertIn("note       Another program uses port 8750", self.doctor())
            other.shutdown()
            thread.join()

    def test_is_the_virtual_one_by_its_name_too(self):
        self.serve("--bind", "0.0.0.0", scanner=("--device", "virtual"))
        self.browse().await_arrival()

    def test_leaves_with_the_server(self):
        server = self.serve("--bind", "::")
        browser = self.browse()
        name = browser.await_arrival()[0]
        server.process.terminate()
        self.assertEqual(browser.await_departure(), name)


class WithoutADaemon(Announced):
    def test_reports_it_once_and_is_announced_as_soon_as_there_is_one(self):
        self.network.start_bus()
        scanner = self.announce()
        for _ in range(2):
            scanner.tell(f"publish 8750 {PAIRS}")
            scanner.tell("withdraw")
        scanner.tell(f"publish 8750 {PAIRS}")
        scanner.tell("name")
        scanner.await_line("name: ")
        self.assertEqual(scanner.seen, [
            "Avahi is not running. Until it is, programs do not find the scanner by themselves, but work with its "
            "address.", "begun", f"name: {NAME}"])
        self.network.start_daemon()
        scanner.await_line(f'announced as "{NAME}"')

    def test_serves_without_a_message_bus_too(self):
        scanner = self.announce()
        scanner.tell(f"publish 8750 {PAIRS}")
        scanner.tell("withdraw")
        scanner.tell("name")
        scanner.await_line("^The system's message bus cannot be reached .*work with its address")
        scanner.await_line(f"name: {NAME}")
        scanner.process.stdin.close()
        self.assertIsNone(scanner.next_line())
        self.assertEqual(scanner.process.wait(), 0)

    def test_is_announced_once_there_is_a_message_bus(self):
        scanner = self.announce()
        scanner.tell(f"publish 8750 {PAIRS}")
        scanner.await_line("message bus cannot be reached")
        self.network.start_bus()
        self.network.start_daemon()
        scanner.await_line("announced as")
        self.assertEqual(self.browse().await_arrival()[0], NAME)

    def test_survives_a_restart_of_the_message_bus(self):
        self.network.start_bus()
        self.network.start_daemon()
        scanner = self.announce()
        scanner.tell(f"publish 8750 {PAIRS}")
        scanner.await_line("announced as")
        self.network.bus.end()
        scanner.await_line("message bus cannot be reached")
        self.network.stop_daemon()
        scanner.tell(f"publish 8750 {PAIRS}")
        scanner.tell("name")
        scanner.await_line(f"name: {NAME}")
        self.network.start_bus()
        self.network.start_daemon()
        scanner.await_line("announced as")
        scanner.process.stdin.close()
        self.assertIsNone(scanner.next_line())
        self.assertEqual(scanner.process.wait(), 0)


if __name__ == "__main__":
    unittest.main()
