"""q750-share with the virtual scanner on a free port of the loopback interface, and what its tests share. Nothing is
installed."""
import http.client
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

from PIL import Image

STAGE = json.loads(pathlib.Path(os.environ["Q750_SHARE_STAGE"]).read_text())
PATIENCE = 30  # seconds, for what should take none

TICKET = """<?xml version="1.0" encoding="UTF-8"?>
<scan:ScanSettings xmlns:pwg="http://www.pwg.org/schemas/2010/12/sm"
                   xmlns:scan="http://schemas.hp.com/imaging/escl/2011/05/03">
  <pwg:Version>2.63</pwg:Version>{region}
  <pwg:InputSource>Platen</pwg:InputSource>
  <scan:ColorMode>{mode}</scan:ColorMode>
  <scan:XResolution>{resolution}</scan:XResolution>
  <scan:YResolution>{resolution}</scan:YResolution>
  <scan:DocumentFormatExt>{format}</scan:DocumentFormatExt>
</scan:ScanSettings>
"""

REGION = """
  <pwg:ScanRegions><pwg:ScanRegion>
    <pwg:ContentRegionUnits>escl:ThreeHundredthsOfInches</pwg:ContentRegionUnits>
    <pwg:XOffset>{0}</pwg:XOffset><pwg:YOffset>{1}</pwg:YOffset>
    <pwg:Width>{2}</pwg:Width><pwg:Height>{3}</pwg:Height>
  </pwg:ScanRegion></pwg:ScanRegions>"""


def ticket(mode="Grayscale8", resolution=75, format="image/png", region=None):
    """`region` is left, top, width and height in 1/300 inch."""
    return TICKET.format(mode=mode, resolution=resolution, format=format,
                         region=REGION.format(*region) if region else "")


def eventually(condition, patience=PATIENCE):
    """Whether it holds, or begins to in time."""
    deadline = time.monotonic() + patience
    while not condition():
        if time.monotonic() > deadline:
            return False
        time.sleep(0.01)
    return True


class Server:
    """A running q750-share."""

    def __init__(self, test, *arguments):
        self.folder = test.folder
        self.expected = 0  # exit status
        self.log_path = test.folder / f"log-{time.monotonic_ns()}"
        with open(self.log_path, "wb") as log:
            self.process = subprocess.Popen([STAGE["share"], "--virtual", "--port", "0", *arguments],
                                            stdout=subprocess.PIPE, stderr=log, cwd=test.folder,
                                            env={**os.environ, "TMPDIR": str(test.folder)})
        test.addCleanup(self.end, test)
        first = self.process.stdout.readline().decode()
        found = re.search(r"https?://127\.0\.0\.1:(\d+)/", first)
        test.assertTrue(found, f"{first} {self.log()}")
        self.address = found[0].rstrip("/")
        self.port = int(found[1])

    def log(self):
        return self.log_path.read_text()

    def logged_requests(self):
        return [line for line in self.log().splitlines() if line.startswith(("127.0.0.1 ", "::1 "))]

    def end(self, test):
        """Ctrl-C, which ends it with success, whatever it was doing."""
        self.process.send_signal(signal.SIGINT)
        try:
            status = self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            status = "never"
        self.process.stdout.close()
        test.assertEqual(status, self.expected, self.log())
        test.assertEqual([str(path) for path in self.folder.glob("q750-share-*")], [], "a page has a name")

    def request(self, method, path, body=None, headers=None):
        """The response, read as a whole: code, headers and body."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=PATIENCE)
        try:
            connection.request(method, path, body, headers or {})
            response = connection.getresponse()
            return response.status, response.headers, response.read()
        finally:
            connection.close()

    def post(self, **settings):
        """The path of a new job; posts again while the scanner is busy."""
        for _ in range(100):
            code, headers, body = self.request("POST", "/eSCL/ScanJobs", ticket(**settings))
            if code != 503:
                break
            time.sleep(0.05)
        assert code == 201, (code, body)
        return headers["Location"]

    def scan(self, **settings):
        code, _, page = self.request("GET", self.post(**settings) + "/NextDocument")
        assert code == 200, (code, page)
        return page

    def status(self):
        code, _, body = self.request("GET", "/eSCL/ScannerStatus")
        assert code == 200, code
        return body.decode()

    def job_state(self, job):
        """As ScannerStatus reports it."""
        return re.search(job + r"</pwg:JobUri>.*?<pwg:JobState>(\w+)<", self.status(), re.DOTALL)[1]

    def is_free(self):
        return not self.workers() and "<pwg:State>Idle<" in self.status()

    def of_each_thread(self, name):
        """A file of /proc for each thread, empty for one that has just ended."""
        folder = pathlib.Path(f"/proc/{self.process.pid}/task")
        return {thread: read_if_there(folder / thread / name) for thread in os.listdir(folder)}

    def threads(self):
        return len(self.of_each_thread("status"))

    def workers(self):
        """Its children. The list that /proc has of a thread's own children is incomplete while threads end."""
        stats = {process: read_if_there(pathlib.Path("/proc", process, "stat"))
                 for process in os.listdir("/proc") if process.isdigit()}
        return [process for process, stat in stats.items()
                if stat.rpartition(") ")[2].split()[1:2] == [str(self.process.pid)]]

    def wakeups(self):
        """How often each thread has slept, as text."""
        return {thread: re.findall(r"^voluntary_ctxt_switches:.*", status, re.MULTILINE)
                for thread, status in self.of_each_thread("status").items()}

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.process.pid}/fd"))


def read_if_there(path):
    try:
        return path.read_text()
    except OSError:
        return ""


class ShareHost(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="q750-share-test-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def serve(self, *arguments):
        return Server(self, *arguments)

    def serve_encrypted(self):
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=localhost",
                        "-keyout", "key.pem", "-out", "certificate.pem"], cwd=self.folder, check=True,
                       capture_output=True)
        return self.serve("--certificate", "certificate.pem", "--key", "key.pem")

    def activated(self, passed, **streams):
        """The server, started as by a socket unit that passes this socket."""
        command = 'exec 3<&"$0"; LISTEN_FDS=1 LISTEN_PID=$$ exec "$@"'
        process = subprocess.Popen(["bash", "-c", command, str(passed.fileno()), STAGE["share"], "--virtual"],
                                   pass_fds=[passed.fileno()], **streams)
        self.addCleanup(process.wait)
        self.addCleanup(process.send_signal, signal.SIGTERM)
        return process

    def page(self, mode="gray", resolution=75, area=None, kind="pnm", **options):
        """What q750 scan delivers, as a picture; `area` is left, top, width and height in pixels."""
        path = self.folder / f"page.{kind}"
        command = [STAGE["q750"], "scan", "-q", "-d", "virtual", "-o", path, "-m", mode, "-r", str(resolution)]
        if area:
            command += ["--area", "{}x{}+{}x{}px".format(*area)]
        subprocess.run(command, check=True, timeout=PATIENCE)
        if kind == "pdf":
            return self.rendered(path, resolution)
        with Image.open(path) as picture:
            picture.load()
        return picture

    def rendered(self, pdf, resolution):
        subprocess.run(["pdftoppm", "-r", str(resolution), pdf, pdf], check=True, timeout=PATIENCE)
        path, = self.folder.glob(pathlib.Path(pdf).name + "-*")
        with Image.open(path) as picture:
            picture.load()
        path.unlink()
        return picture

    def assert_same_pixels(self, picture, wanted):
        self.assertEqual((picture.mode, picture.size), (wanted.mode, wanted.size))
        self.assertTrue(picture.tobytes() == wanted.tobytes(), "the pixels differ")

    def assert_page_with_white_below(self, picture, wanted):
        """A4 is one row of 1/300 inch longer than the bed, or a part of one."""
        self.assertEqual(picture.mode, wanted.mode)
        self.assertIn(picture.height - wanted.height, (0, 1, 2))
        box = (0, 0, wanted.width, wanted.height)
        self.assert_same_pixels(picture.crop(box), wanted)
        below = picture.crop((0, wanted.height, wanted.width, picture.height))
        self.assertEqual(set(below.tobytes()), {255} if below.height else set())
