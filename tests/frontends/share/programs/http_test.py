"""What clients of every kind send over plain sockets: proper requests, odd ones, and none that any client would send."""
import contextlib
import http.client
import os
import pathlib
import re
import signal
import socket
import ssl
import subprocess
import threading
import time
import unittest

from share_host import PATIENCE, STAGE, ShareHost, eventually, read_if_there, ticket

NO_JOB = "/eSCL/ScanJobs/5f0c1a52-7a0e-4d5b-9d3c-0b6a6d1e7501"
LARGE = {"mode": "RGB24", "resolution": 300, "format": "image/jpeg"}  # more than the system buffers for a client
SLOW = ("--virtual-real-time", "--virtual-speed", "100000")
WARMING_UP = ("--virtual-real-time", "--virtual-warm-up", "60000")


class HttpTest(ShareHost):
    ARGUMENTS = ()

    def setUp(self):
        super().setUp()
        self.server = self.serve(*self.ARGUMENTS)

    def connect(self, source="127.0.0.1", buffer=None):
        client = socket.socket()
        self.addCleanup(client.close)
        if buffer:
            client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, buffer)
        client.settimeout(PATIENCE)
        client.bind((source, 0))
        client.connect(("127.0.0.1", self.server.port))
        return client

    def expect_at_once(self, attempt, limit=0.2):
        """`attempt` returns the seconds that it took. It is repeated, because a busy machine may delay one."""
        times = []
        while not times or times[-1] >= limit:
            self.assertLess(len(times), 5, times)
            times.append(attempt())

    def exchange(self, *pieces):
        """What the server sends in return, until it closes the connection or nothing follows the response."""
        client = self.connect()
        for piece in pieces:
            client.sendall(piece.encode())
        response = http.client.HTTPResponse(client)
        try:
            response.begin()
            response.read()
            return response.status
        except (http.client.BadStatusLine, ConnectionError):
            return "closed"
        finally:
            client.close()

    def get(self, *headers, version="HTTP/1.1"):
        return "\r\n".join([f"GET /eSCL/ScannerStatus {version}", *headers, "", ""])

    def assert_usable(self):
        self.assertIn("<pwg:State>Idle<", self.server.status())

    def wait_until_only(self, threads):
        """Until the server has noticed every connection that was left; an address may have sixteen."""
        self.assert_usable()  # which it accepts after those
        self.assertTrue(eventually(lambda: self.server.threads() <= threads))


class Requests(HttpTest):
    def test_have_the_code_of_their_path_and_method(self):
        table = {
            "/": {"GET": 200, "HEAD": 200},
            "/page.css": {"GET": 200, "HEAD": 200},
            "/page.js": {"GET": 200, "HEAD": 200},
            "/eSCL/icon.png": {"GET": 200, "HEAD": 200},
            "/eSCL/ScannerCapabilities": {"GET": 200, "HEAD": 200},
            "/eSCL/ScannerCapabilities/": {"GET": 200, "HEAD": 200},
            "/eSCL/ScannerStatus": {"GET": 200, "HEAD": 200},
            "/eSCL/ScanJobs": {"POST": 400},
            NO_JOB: {"DELETE": 404},
            NO_JOB + "/NextDocument": {"GET": 404},
            NO_JOB + "//NextDocument": {"GET": 404},
            NO_JOB + "/ScanImageInfo": {"GET": 404, "HEAD": 404},
        }
        for path, methods in table.items():
            for method in ("GET", "HEAD", "POST", "PUT", "DELETE", "OPTIONS", "PATCH", "TRACE", "FROB"):
                with self.subTest(path=path, method=method):
                    code, headers, _ = self.server.request(method, path)
                    self.assertEqual(code, methods.get(method, 405))
                    if code == 405:
                        self.assertEqual(set(headers["Allow"].split(", ")), set(methods))
        for path in ("/nothing", "/eSCL", "/eSCL/scannerstatus", "/eSCL/%53cannerStatus", "/eSCL/../etc/passwd",
                     "/eSCL/ScanJobs/1/NextDocument/2", "//eSCL/ScannerStatus"):
            with self.subTest(path=path):
                self.assertEqual(self.server.request("GET", path)[0], 404)

    def test_may_carry_a_query(self):
        self.assertEqual(self.server.request("GET", "/eSCL/ScannerStatus?time=1")[0], 200)

    def test_are_judged_by_their_framing(self):
        host = "Host: localhost"
        post = "POST /eSCL/ScanJobs HTTP/1.1\r\nHost: localhost\r\n"
        chunk = "%x\r\n%s\r\n" % (60000, "x" * 60000)
        table = {
            "plain": (self.get(host), 200),
            "HTTP/1.0 without a host": (self.get(version="HTTP/1.0"), 200),
            "no host": (self.get(), 400),
            "two hosts": (self.get(host, host), 400),
            "an empty host": (self.get("Host:"), 400),
            "blanks around a host": (self.get("Host: \t localhost \t"), 200),
            "HTTP/3.0": (self.get(host, version="HTTP/3.0"), 505),
            "no version": ("GET /eSCL/ScannerStatus\r\n\r\n", {"closed", 400, 505}),
            "headers of 7 KiB": (self.get(host, "X: " + "x" * 7 * 1024), 200),
            "headers of 9 KiB": (self.get(host, "X: " + "x" * 9 * 1024), 431),
            "headers of 90 KiB": (self.get(host, "X: " + "x" * 90 * 1024), {431, 414, "closed"}),
            "two lengths": (post + "Content-Length: 1\r\nContent-Length: 1\r\n\r\nx", 400),
            "a length and chunks": (post + "Content-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 400),
            "chunks and a length": (post + "Transfer-Encoding: chunked\r\nContent-Length: 1\r\n\r\n0\r\n\r\n", 400),
            "two encodings": (post + "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 400),
            "a compressed body": (post + "Transfer-Encoding: gzip, chunked\r\n\r\n0\r\n\r\n", 501),
            "a blank before the colon": (self.get(host, "Content-Length : 1"), 400),
            "a negative length": (post + "Content-Length: -1\r\n\r\n", 400),
            "a length that is none": (post + "Content-Length: x\r\n\r\n", 400),
            "a length of 2^64": (post + "Content-Length: 18446744073709551616\r\n\r\n", {400, 413}),
            "a body of 64 KiB and one": (post + "Content-Length: 65537\r\n\r\n", 413),
            "chunks of 120000 bytes": (post + "Transfer-Encoding: chunked\r\n\r\n" + chunk * 2 + "0\r\n\r\n", 413),
            "no ticket in a chunk": (post + "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n", 400),
            "a negative chunk": (post + "Transfer-Encoding: chunked\r\n\r\n-3\r\nabc\r\n0\r\n\r\n", 400),
            "a chunk that is none": (post + "Transfer-Encoding: chunked\r\n\r\nzz\r\nabc\r\n0\r\n\r\n", 400),
            "no body": (post + "\r\n", 400),
            "another site": (self.get("Host: evil.example"), 421),
            "a form of another site": (post + "Origin: http://evil.example\r\nContent-Length: 1\r\n\r\nx", 403),
            "another protocol": ("\x16\x03\x01\x00\xa5\x01\x00\r\n\r\n", {"closed", 400, 505}),
        }
        for name, (request, code) in table.items():
            with self.subTest(name):
                self.assertIn(self.exchange(request), code if isinstance(code, set) else {code})
        self.assert_usable()
        self.assertNotIn("scan ", self.server.log())

    def test_without_a_host_learn_that(self):
        client = self.connect()
        client.sendall(self.get().encode())
        response = http.client.HTTPResponse(client)
        response.begin()
        self.assertEqual((response.status, response.read()), (400, b"The Host header is missing.\n"))
        self.assertTrue(eventually(self.server.logged_requests))

    def test_may_ask_before_they_send_their_body(self):
        body = ticket(region=(0, 0, 300, 300))
        client = self.connect()
        client.sendall(f"POST /eSCL/ScanJobs HTTP/1.1\r\nHost: localhost\r\nExpect: 100-continue\r\n"
                       f"Content-Length: {len(body)}\r\n\r\n".encode())
        self.assertTrue(client.recv(1000).startswith(b"HTTP/1.1 100 "))
        client.sendall(body.encode())
        self.assertTrue(client.recv(1000).startswith(b"HTTP/1.1 201 "))

    def test_learn_before_their_body_that_it_is_too_large(self):
        client = self.connect()
        client.sendall(b"POST /eSCL/ScanJobs HTTP/1.1\r\nHost: localhost\r\nExpect: 100-continue\r\n"
                       b"Content-Length: 100000\r\n\r\n")
        self.assertTrue(client.recv(1000).startswith(b"HTTP/1.1 413 "))

    def test_share_a_connection(self):
        connection = http.client.HTTPConnection("127.0.0.1", self.server.port, timeout=PATIENCE)
        self.addCleanup(connection.close)
        for number in range(100):
            connection.request("GET" if number % 3 else "HEAD", "/eSCL/ScannerStatus" if number % 2 else "/nothing")
            response = connection.getresponse()
            self.assertEqual(response.status, 200 if number % 2 else 404)
            response.read()
            self.assertFalse(response.will_close)
        self.assertTrue(eventually(lambda: len(self.server.logged_requests()) == 100))

    def test_follow_each_other_without_waiting(self):
        client = self.connect()
        client.sendall((self.get("Host: localhost") * 10).encode())
        received = b""
        while received.count(b"</scan:ScannerStatus>") < 10:
            received += client.recv(65536)
        self.assertEqual(received.count(b"HTTP/1.1 200 OK"), 10)

    def test_of_http_1_0_get_a_page_without_chunks(self):
        job = self.server.post(region=(0, 0, 300, 300))
        client = self.connect()
        client.sendall(f"GET {job}/NextDocument HTTP/1.0\r\n\r\n".encode())
        received = b""
        while piece := client.recv(65536):
            received += piece
        head, _, page = received.partition(b"\r\n\r\n")
        self.assertNotIn(b"chunked", head)
        self.assertTrue(page.startswith(b"\x89PNG") and page.endswith(b"IEND\xaeB`\x82"))

    def test_get_headers_that_keep_a_browser_from_harm(self):
        job = self.server.post(region=(0, 0, 300, 300))
        for path in ("/", "/nothing", "/eSCL/ScannerStatus", job + "/NextDocument"):
            with self.subTest(path=path):
                headers = self.server.request("GET", path)[1]
                self.assertEqual(headers["X-Content-Type-Options"], "nosniff")
                self.assertEqual(headers["Referrer-Policy"], "no-referrer")
                self.assertEqual(headers["Cache-Control"], "no-store")
                self.assertIn("default-src 'none'", headers["Content-Security-Policy"])
                self.assertFalse([name for name in headers if name.lower().startswith("access-control")])

    def test_are_logged_in_one_line_each(self):
        self.exchange(
            "GET /a\x01\x1b[31m" + "b" * 300 + " HTTP/1.1\r\nHost: localhost\r\n\r\n")
        self.assertTrue(eventually(self.server.logged_requests))
        line, = self.server.logged_requests()
        self.assertRegex(line, r"^127\.0\.0\.1 GET /a\?\?\[31mb+ 404, \d+ bytes, \d+ ms: There is nothing at this address\.$")
        self.assertLess(len(line), 300)

    def test_that_are_refused_are_logged_with_the_reason(self):
        self.exchange(self.get("Host: evil\x1b.example"))
        self.server.request("POST", "/eSCL/ScanJobs", ticket(resolution=100))
        self.server.status()
        self.assertTrue(eventually(lambda: len(self.server.logged_requests()) == 3))
        status, host, settings = sorted(self.server.logged_requests())
        self.assertRegex(host, r' ms: The Host header "evil\?\.example" is malformed\.$')
        self.assertRegex(settings, r' 409, .* ms: XResolution "100" is not possible: expected [^"]*\.$')
        self.assertRegex(status, r" 200, \d+ bytes, \d+ ms$")

    def test_may_be_cut_at_every_byte(self):
        body = ticket(region=(0, 0, 30, 30))
        request = (f"POST /eSCL/ScanJobs HTTP/1.1\r\nHost: localhost\r\nContent-Length: {len(body)}\r\n\r\n"
                   + body).encode()
        threads = self.server.threads()
        for length in range(0, len(request), 3):
            client = self.connect()
            client.sendall(request[:length])
            client.close()
            if length % 15 == 0:
                self.wait_until_only(threads)
        self.wait_until_only(threads)
        self.assertNotIn("scan ", self.server.log())

    def test_may_be_left_at_every_byte_of_their_response(self):
        threads = self.server.threads()
        whole = self.connect()
        whole.sendall(self.get("Host: localhost", "Connection: close").encode())
        size = sum(len(piece) for piece in iter(lambda: whole.recv(65536), b""))
        self.assertGreater(size, 500)
        whole.close()
        for length in range(0, size - len("Connection: close\r\n")):
            if length % 5 == 0:
                self.wait_until_only(threads)
            client = self.connect()
            client.sendall(self.get("Host: localhost").encode())
            while length > 0:
                length -= len(client.recv(length))
            client.close()
        self.wait_until_only(threads)


class StartPage(HttpTest):
    def test_is_in_the_language_of_the_reader(self):
        for accepted, tag in (("de-AT,de;q=0.9,en;q=0.8", "de"), ("fr", "en")):
            code, headers, page = self.server.request("GET", "/", headers={"Accept-Language": accepted})
            self.assertEqual((code, headers["Content-Type"], headers["Content-Language"]),
                             (200, "text/html; charset=utf-8", tag))
            self.assertIn(f'lang="{tag}"', page.decode())
            self.assertIn(self.server.address, page.decode())

    def test_has_everything_that_it_refers_to(self):
        page = self.server.request("GET", "/")[2].decode()
        references = set(re.findall(r'(?:src|href)="(/[^"]*)"', page))
        self.assertIn("/page.js", references)
        for reference in references:
            self.assertEqual(self.server.request("GET", reference)[0], 200, reference)


class SlowRequests(HttpTest):
    def test_have_ten_seconds_to_arrive(self):
        client = self.connect()
        begin = time.monotonic()
        with self.assertRaises(ConnectionError):
            for byte in self.get("Host: localhost", "X: " + "x" * 1000):
                client.sendall(byte.encode())
                time.sleep(0.1)
        self.assertGreater(time.monotonic() - begin, 9)
        self.assertLess(time.monotonic() - begin, 20)  # of the hundred that it would take

    def test_of_two_hundred_connections_do_not_disturb_another_client(self):
        wanted = self.server.scan(mode="RGB24", resolution=150)
        for number in range(200):
            try:
                self.connect(f"127.0.0.{2 + number % 2}").sendall(b"GET /eSCL/Scanner")
            except ConnectionError:
                pass
        self.assertLess(self.server.threads(), 16 * 2 + 8)
        begin = time.monotonic()
        self.assertEqual(self.server.scan(mode="RGB24", resolution=150), wanted)
        self.assertLess(time.monotonic() - begin, 8)


class Transfers(HttpTest):
    def fetch(self, job, length, buffer=4096):
        """The beginning of a page, and a closed connection."""
        client = self.connect(buffer=buffer)
        client.sendall(f"GET {job}/NextDocument HTTP/1.1\r\nHost: localhost\r\n\r\n".encode())
        received = b""
        while len(received) < length and (piece := client.recv(min(4096, length - len(received)))):
            received += piece
        client.close()
        return received

    def test_that_break_are_repeated_without_another_scan(self):
        job = self.server.post(**LARGE)
        self.assertTrue(eventually(lambda: "jpeg, " in self.server.log()))  # when the worker has ended
        size = int(re.search(r"jpeg, (\d+) bytes", self.server.log())[1])
        for percent in (1, 50, 99):
            received = self.fetch(job, size * percent // 100)
            self.assertTrue(received.startswith(b"HTTP/1.1 200"))
        code, _, page = self.server.request("GET", job + "/NextDocument")
        self.assertEqual((code, len(page)), (200, size))
        self.assertEqual(page, self.server.scan(**LARGE))
        self.assertTrue(eventually(lambda: self.server.log().count("scan ") == 2), self.server.log())
        self.assertIn("<scan:TransferRetryCount>3<", self.server.status())
        self.assertEqual(self.server.request("GET", job + "/NextDocument")[0], 404)

    def test_that_are_slow_hold_nobody_up(self):
        job = self.server.post(**LARGE)
        client = self.connect(buffer=4096)
        client.sendall(f"GET {job}/NextDocument HTTP/1.1\r\nHost: localhost\r\n\r\n".encode())
        self.assertTrue(client.recv(10))
        self.assertTrue(eventually(lambda: self.server.job_state(job) == "Completed"))

        def status():
            begin = time.monotonic()
            self.server.status()
            return time.monotonic() - begin
        for _ in range(20):
            self.expect_at_once(status)
        self.server.scan(region=(0, 0, 300, 300))


class LiveTransfers(HttpTest):
    ARGUMENTS = SLOW

    def begin_transfer(self, magic=b"\x89PNG", **settings):
        """The job, the rest of its page, and the seconds until its first bytes."""
        job = self.server.post(mode="RGB24", **settings)
        self.assertTrue(eventually(lambda: self.server.job_state(job) == "Processing"))
        begin = time.monotonic()
        connection = http.client.HTTPConnection("127.0.0.1", self.server.port, timeout=PATIENCE)
        self.addCleanup(connection.close)
        connection.request("GET", job + "/NextDocument")
        page = connection.getresponse()
        self.assertEqual(page.read(len(magic)), magic)
        return job, page, time.monotonic() - begin

    def test_begin_with_the_first_rows(self):
        def attempt(magic, mime):
            job, _, seconds = self.begin_transfer(magic, format=mime)
            self.assertEqual(self.server.job_state(job), "Processing")
            self.server.request("DELETE", job)
            return seconds
        self.expect_at_once(lambda: attempt(b"\x89PNG", "image/png"))
        self.expect_at_once(lambda: attempt(b"\xff\xd8", "image/jpeg"))

    def test_end_at_once_when_their_job_is_deleted(self):
        def attempt():
            job, page, _ = self.begin_transfer()
            begin = time.monotonic()
            self.assertEqual(self.server.request("DELETE", job)[0], 200)
            with self.assertRaises(http.client.IncompleteRead):
                page.read()
            seconds = time.monotonic() - begin
            self.assertEqual(self.server.request("GET", job + "/NextDocument")[0], 410)
            return seconds
        self.expect_at_once(attempt)

    def test_free_the_scanner_when_their_job_is_deleted(self):
        def attempt():
            job, *_ = self.begin_transfer()
            begin = time.monotonic()
            self.server.request("DELETE", job)
            self.assertTrue(eventually(self.server.is_free))
            return time.monotonic() - begin
        self.expect_at_once(attempt, 1)

    def test_of_http_1_0_end_with_an_error(self):
        job = self.server.post(mode="RGB24", format="image/jpeg")
        client = self.connect()
        client.sendall(f"GET {job}/NextDocument HTTP/1.0\r\n\r\n".encode())
        self.assertTrue(client.recv(1))  # the page has begun
        self.server.request("DELETE", job)
        with self.assertRaises(ConnectionResetError):
            while client.recv(65536):
                pass

    def test_end_with_the_server(self):
        _, page, _ = self.begin_transfer()
        begin = time.monotonic()
        self.server.process.send_signal(signal.SIGTERM)
        self.assertEqual(self.server.process.wait(PATIENCE), 0)
        self.assertLess(time.monotonic() - begin, 3)
        with self.assertRaises((http.client.IncompleteRead, ConnectionError)):
            page.read()

    def test_are_cut_when_the_worker_is_killed(self):
        job = self.server.post(mode="RGB24")
        self.assertTrue(eventually(lambda: self.server.job_state(job) == "Processing"))
        worker, = self.server.workers()
        os.kill(int(worker), signal.SIGKILL)
        self.assertTrue(eventually(lambda: self.server.job_state(job) == "Aborted"))
        code, _, body = self.server.request("GET", job + "/NextDocument")
        self.assertEqual(code, 500)
        self.assertIn(b"killed by signal 9", body)
        self.assertTrue(eventually(self.server.is_free))
        self.server.request("DELETE", self.server.post(mode="RGB24"))

    def test_leave_no_worker_behind_when_the_server_is_killed(self):
        self.server.post(mode="RGB24")
        worker, = self.server.workers()
        self.server.expected = -signal.SIGKILL
        self.server.process.kill()
        command = pathlib.Path(f"/proc/{worker}/cmdline")  # empty for a process that nobody has waited for
        self.assertTrue(eventually(lambda: read_if_there(command) == "", 4))

    def test_keep_the_scanner_from_others(self):
        self.server.post(mode="RGB24")
        code, headers, _ = self.server.request("POST", "/eSCL/ScanJobs", ticket())
        self.assertEqual((code, headers["Retry-After"]), (503, "2"))
        self.assertIn("<pwg:State>Processing<", self.server.status())


class HeldRequests(HttpTest):
    ARGUMENTS = WARMING_UP

    def test_end_at_once_when_their_job_is_deleted(self):
        def attempt():
            job = self.server.post()
            codes = []
            waiting = threading.Thread(target=lambda: codes.append(self.server.request("GET", job + "/NextDocument")[0]))
            waiting.start()
            time.sleep(0.2)  # for it to wait
            begin = time.monotonic()
            self.server.request("DELETE", job)
            waiting.join(PATIENCE)
            self.assertEqual(codes, [410])
            return time.monotonic() - begin
        self.expect_at_once(attempt)

    def test_end_the_scan_when_their_client_leaves(self):
        def attempt():
            job = self.server.post()
            client = self.connect()
            client.sendall(f"GET {job}/NextDocument HTTP/1.1\r\nHost: localhost\r\n\r\n".encode())
            time.sleep(0.2)
            client.close()
            begin = time.monotonic()
            self.assertTrue(eventually(lambda: not self.server.workers()))
            self.assertEqual(self.server.job_state(job), "Canceled")
            return time.monotonic() - begin
        self.expect_at_once(attempt, 1)


class Failures(HttpTest):
    def scan_with(self, fault):
        """The code of POST, that of NextDocument, or "cut" for a page that was begun, and the job's state."""
        self.server = self.serve("--virtual-fault", fault)
        code, headers, body = self.server.request("POST", "/eSCL/ScanJobs", ticket(resolution=300))
        if code != 201:
            return code, headers["Retry-After"], body.decode()
        job = headers["Location"]
        try:
            code, _, body = self.server.request("GET", job + "/NextDocument")
        except http.client.IncompleteRead:
            code, body = "cut", b""
        return code, self.server.job_state(job), body.decode("latin1")

    def test_have_their_code_and_leave_a_usable_server(self):
        table = {
            "unplug:2": (503, "2", "disconnected"),
            "exception-reply": (500, "Aborted", "refused"),
            "garbage-reply": (500, "Aborted", "unreadable"),
            "wrong-header:3": (500, "Aborted", "picture"),
            "silence:0": (500, "Aborted", "sent no data"),
            "short-write:2": (500, "Aborted", "does not respond"),
            "stall:3": (500, "Aborted", "stalled"),
            "stall:30": ("cut", "Aborted", ""),
            "truncated-image:3000000": ("cut", "Aborted", ""),
            "garbage:3000000": ("cut", "Aborted", ""),
            "unplug:40": ("cut", "Aborted", ""),
        }
        for fault, (code, state, words) in table.items():
            with self.subTest(fault=fault):
                found = self.scan_with(fault)
                self.assertEqual(found[:2], (code, state))
                self.assertIn(words, found[2])
                self.assertTrue(eventually(self.server.is_free))
                self.assertTrue(eventually(lambda: re.search("^scan .*ms: [A-Z].*", self.server.log(), re.MULTILINE)))


class Service(ShareHost):
    @unittest.skipIf({"TSAN_OPTIONS", "Q750_EMULATED"} & os.environ.keys(),
                     "a sanitizer or an emulator takes memory, and may have a thread that wakes up")
    def test_sleeps_while_nobody_scans_and_takes_little_memory(self):
        server = self.serve()
        server.status()

        def sleeps():
            before = server.wakeups()
            time.sleep(1)
            return server.wakeups() == before
        self.assertTrue(eventually(sleeps))
        memory = pathlib.Path(f"/proc/{server.process.pid}/smaps_rollup").read_text()
        self.assertLess(int(re.search(r"^Rss:\s+(\d+)", memory, re.M)[1]), 10 * 1024)

    def test_uses_no_number_of_a_closed_standard_stream(self):
        process = subprocess.Popen(["sh", "-c", 'exec "$0" --virtual --port 0 <&- 2>&-', STAGE["share"]],
                                   stdout=subprocess.PIPE)
        self.addCleanup(process.communicate)
        self.addCleanup(process.terminate)
        self.assertIn(b"is shared at", process.stdout.readline())
        for stream in (0, 2):
            with contextlib.suppress(OSError):  # where there is no /proc
                self.assertEqual(os.readlink(f"/proc/{process.pid}/fd/{stream}"), "/dev/null")

    def test_outlives_its_terminal_under_nohup(self):
        before = signal.signal(signal.SIGHUP, signal.SIG_IGN)  # inherited
        self.addCleanup(signal.signal, signal.SIGHUP, before)
        server = self.serve()
        server.process.send_signal(signal.SIGHUP)
        self.assertTrue(server.scan())

    def test_listens_on_both_protocols_at_one_port(self):
        server = self.serve()
        with socket.create_connection(("::1", server.port), timeout=PATIENCE) as client:
            client.sendall(b"GET /eSCL/ScannerStatus HTTP/1.1\r\nHost: [::1]\r\n\r\n")
            self.assertTrue(client.recv(1000).startswith(b"HTTP/1.1 200"))

    def test_serves_over_tls(self):
        server = self.serve_encrypted()
        self.assertTrue(server.address.startswith("https:"))
        context = ssl.create_default_context(cafile=self.folder / "certificate.pem")
        context.check_hostname = False
        connection = http.client.HTTPSConnection("127.0.0.1", server.port, timeout=PATIENCE, context=context)
        self.addCleanup(connection.close)
        connection.request("POST", "/eSCL/ScanJobs", ticket())
        posted = connection.getresponse()
        self.assertEqual((posted.status, posted.read()), (201, b""))
        connection.request("GET", posted.headers["Location"] + "/NextDocument")
        self.assertTrue(connection.getresponse().read().endswith(b"IEND\xaeB`\x82"))

    def test_takes_its_sockets_from_the_service_manager(self):
        listening = socket.create_server(("127.0.0.1", 0))
        notifications = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        for one in (listening, notifications):
            self.addCleanup(one.close)
        notifications.bind(str(self.folder / "notify"))
        notifications.settimeout(PATIENCE)
        self.activated(listening, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                       env={**os.environ, "NOTIFY_SOCKET": str(self.folder / "notify")})
        self.assertEqual(notifications.recv(100), b"READY=1")
        connection = http.client.HTTPConnection(*listening.getsockname(), timeout=PATIENCE)
        self.addCleanup(connection.close)
        connection.request("GET", "/eSCL/ScannerStatus")
        self.assertEqual(connection.getresponse().status, 200)

    def test_announces_no_socket_of_this_machine_alone(self):
        listening = socket.socket(socket.AF_UNIX)
        self.addCleanup(listening.close)
        listening.bind(str(self.folder / "socket"))
        listening.listen()
        process = self.activated(listening, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                                 env={**os.environ, "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/none"})
        first = process.stderr.readline()  # the signals are awaited by then
        process.send_signal(signal.SIGTERM)
        rest = process.communicate(timeout=PATIENCE)[1]
        self.assertEqual((process.returncode, first + rest), (0, b"The scanner is plugged in: virtual.\n"))

    def test_takes_no_descriptor_that_does_not_listen(self):
        bound = socket.socket()
        datagrams = socket.socket(type=socket.SOCK_DGRAM)
        connected, peer = socket.socketpair()
        for one in (bound, datagrams, connected, peer):
            self.addCleanup(one.close)
        for passed in (bound, datagrams, connected, open(os.devnull)):
            with self.subTest(passed), passed:
                process = self.activated(passed, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                output, errors = process.communicate(timeout=PATIENCE)
                self.assertEqual((process.returncode, output), (7, b""))
                self.assertRegex(errors.decode(), "^q750-share: .*not a listening stream socket.*\n$")

    def expect_failure(self, status, words, *arguments):
        done = subprocess.run([STAGE["share"], *arguments], capture_output=True, timeout=PATIENCE)
        self.assertEqual((done.returncode, done.stdout), (status, b""))
        self.assertRegex(done.stderr.decode(), f"^q750-share: .*{words}.*\n$")

    def test_does_not_serve_without_encryption_where_the_certificate_is_empty(self):
        empty = self.folder / "empty.pem"
        empty.touch()
        self.expect_failure(7, "empty", "--virtual", "--port", "0", "--certificate", str(empty), "--key", str(empty))

    def test_explains_why_it_cannot_start(self):
        taken = socket.create_server(("127.0.0.1", 0))
        self.addCleanup(taken.close)
        port = str(taken.getsockname()[1])
        self.expect_failure(7, "in use by another program", "--virtual", "--port", port)
        self.expect_failure(7, "no such address", "--virtual", "--bind", "192.0.2.1")
        self.expect_failure(7, "no such address", "--virtual", "--bind", "fe80::1%none")
        self.expect_failure(1, "not an address", "--virtual", "--bind", "localhost")
        self.expect_failure(7, "add the interface", "--virtual", "--bind", "fe80::1")
        self.expect_failure(7, "cannot be read", "--virtual", "--certificate", "/none", "--key", "/none")
        self.expect_failure(1, "belong together", "--virtual", "--key", "/none")
        self.expect_failure(1, "--help", "--virtual", "--port", "65536")
        self.expect_failure(1, "not the name of a scanner", "--device", "printer")


if __name__ == "__main__":
    unittest.main()
