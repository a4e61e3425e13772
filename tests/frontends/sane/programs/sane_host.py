"""Programs that scan with SANE, run against the back end where it was built: nothing is installed, and only the back
ends that a test names are available."""
import json
import os
import pathlib
import re
import select
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

from PIL import Image

STAGE = json.loads(pathlib.Path(os.environ["Q750_SANE_STAGE"]).read_text())
PATIENCE = 30  # seconds, for what should take none


class SaneHost(unittest.TestCase):
    """A folder with a configuration of SANE, and programs that use no other. A process that they leave running is an
    error."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="q750-sane-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.addCleanup(self.expect_nothing_running)
        self.configuration = self.configure("here")

    def configure(self, name, back_end="quenvar", lines=""):
        folder = self.folder / name
        folder.mkdir(exist_ok=True)
        (folder / "dll.conf").write_text(back_end + "\n")
        (folder / "quenvar.conf").write_text("virtual on\n" + lines)
        return folder

    def quenvar(self, *lines):
        """More lines for quenvar.conf."""
        self.configure("here", lines="".join(line + "\n" for line in lines))

    def environment(self, configuration=None, **more):
        environment = {name: value for name, value in os.environ.items() if not name.startswith("SANE_")}
        environment.update(LD_LIBRARY_PATH=STAGE["bin"], SANE_CONFIG_DIR=str(configuration or self.configuration),
                           LC_ALL="C", **more)
        return environment

    def run_program(self, command, configuration=None, status=0, **more):
        done = subprocess.run(command, env=self.environment(configuration, **more), cwd=self.folder,
                              capture_output=True, timeout=PATIENCE * 4)
        self.assertEqual(done.returncode, status, f"{command}\n{done.stdout[-2000:]}\n{done.stderr[-2000:]}")
        return done

    def scanimage(self, *arguments, device="quenvar:virtual", **more):
        return self.run_program([STAGE["scanimage"], "-d", device, *arguments], **more)

    def start(self, *arguments, device="quenvar:virtual", configuration=None):
        """scanimage, for interaction while it runs; prints progress and what the back end does."""
        return RunningScan(self, [STAGE["scanimage"], "-d", device, "-p", *arguments], configuration)

    def page(self, mode, resolution=75):
        """The page as the project's own command delivers it."""
        path = self.folder / f"page-{mode}-{resolution}.pnm"
        self.run_program([STAGE["q750"], "scan", "-q", "-d", "virtual", "-o", path, "--mode",
                          "color" if mode == "Color" else "gray", "--resolution", str(resolution)])
        image = Image.open(path)
        return image.point(lambda grey: 255 if grey >= 128 else 0) if mode == "Lineart" else image

    def assert_same_picture(self, image, wanted):
        """Bits count as black and white."""
        if image.mode == "1":
            image = image.convert("L")
        self.assertEqual((image.mode, image.size), (wanted.mode, wanted.size))
        self.assertTrue(image.tobytes() == wanted.tobytes(), "the pixels differ")

    def ours(self):
        """Processes that were started by this test and are not its waiting itself."""
        mark = str(self.folder).encode()
        for path in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if int(path.name) != os.getpid() and mark in (path / "environ").read_bytes():
                    yield f"{path.name} {(path / 'comm').read_text().strip()}"
            except OSError:
                pass

    def expect_nothing_running(self, but=()):
        deadline = time.monotonic() + PATIENCE
        while True:
            left = [one for one in self.ours() if int(one.split()[0]) not in but]
            if not left:
                return
            if time.monotonic() > deadline:
                self.fail(f"still running: {left}")
            time.sleep(0.02)


class RunningScan:
    def __init__(self, host, command, configuration):
        self.host = host
        self.process = subprocess.Popen(command, env=host.environment(configuration, SANE_DEBUG_QUENVAR="3"),
                                        cwd=host.folder, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self.said = ""
        host.addCleanup(self.give_up)

    def give_up(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        self.process.stderr.close()

    def listen(self, seconds):
        if not select.select([self.process.stderr], [], [], max(seconds, 0))[0]:
            return
        more = os.read(self.process.stderr.fileno(), 65536)
        self.host.assertTrue(more, f"scanimage ended before its time: {self.said}")
        self.said += more.decode()

    def await_text(self, text):
        self.await_that(lambda: text in self.said, text)

    def await_progress(self, least):
        self.await_that(lambda: self.progress() >= least, f"{least} %")

    def await_that(self, fulfilled, name):
        deadline = time.monotonic() + PATIENCE
        while not fulfilled():
            self.host.assertLess(time.monotonic(), deadline, f"{name} never came: {self.said}")
            self.listen(0.1)

    def progress(self):
        told = re.findall(r"Progress: ([0-9.]+)%", self.said)
        return float(told[-1]) if told else -1

    def interrupt(self):
        """Sends Ctrl-C; returns the exit status and the seconds until it exited."""
        begin = time.monotonic()
        self.process.send_signal(signal.SIGINT)
        status = self.process.wait(PATIENCE)
        return status, time.monotonic() - begin
