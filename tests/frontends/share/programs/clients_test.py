"""Common clients, sane-airscan and SANE's own escl back end, used by scanimage, against q750-share."""
import contextlib
import io
import itertools
import os
import signal
import socket
import subprocess
import sys
import time
import unittest

from PIL import Image, ImageChops, ImageStat

from share_host import PATIENCE, STAGE, ShareHost, eventually

RESOLUTIONS = (75, 150, 200, 300, 400, 600)
MODES = {"Color": "color", "Gray": "gray"}
INCH = 25.4
CANCELLED = 2  # of scanimage
IO_ERROR = 9
CLOSING = 10  # seconds, of scanimage without a request
SLOW = ("--virtual-real-time", "--virtual-speed", "100000")


class SaneClient(ShareHost):
    def configure(self, server, address=None, options=""):
        self.server = server
        address = address or server.address
        self.configuration = self.folder / "sane"
        self.configuration.mkdir(exist_ok=True)
        (self.configuration / "airscan.conf").write_text(
            f'[devices]\n"Q750" = {address}/eSCL, eSCL\n[options]\ndiscovery = disable\nws-discovery = off\n{options}')
        (self.configuration / "escl.conf").write_text(f'device {address} "Q750"\n')

    def command(self, device, *arguments):
        (self.configuration / "dll.conf").write_text(device.split(":")[0] + "\n")
        return [STAGE["scanimage"], "-d", device, *arguments]

    def environment(self):
        return {**os.environ, "SANE_CONFIG_DIR": str(self.configuration), "LC_ALL": "C"}

    def scanimage(self, device, *arguments, status=0):
        requests = len(self.server.logged_requests())
        process = subprocess.Popen(self.command(device, *arguments), env=self.environment(), cwd=self.folder,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        while True:
            try:
                _, errors = process.communicate(timeout=CLOSING)
                return self.assertEqual(process.returncode, status, errors)
            except subprocess.TimeoutExpired:
                if self.hangs_after_its_end(requests):
                    process.kill()
                    process.communicate()
                    return print("sane-airscan hung in sane_close()", file=sys.stderr)
                if len(self.server.logged_requests()) == requests:
                    process.kill()
                    process.communicate()
                    self.fail(f"scanimage hangs:\n{self.server.log()}")
                requests = len(self.server.logged_requests())

    def hangs_after_its_end(self, requests):
        """sane-airscan can miss that its own job is over and wait for that in sane_close() forever, on a busy machine.
        By then its picture is written, and all its requests have received a response."""
        latest = self.server.logged_requests()[-1]
        return (" DELETE " in latest and " 200, " in latest and len(self.server.logged_requests()) == requests
                and self.server.is_free())

    def start(self, device, *arguments):
        process = subprocess.Popen(self.command(device, *arguments), env=self.environment(), cwd=self.folder,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def scan(self, device, *arguments):
        path = self.folder / "scan.pnm"
        self.scanimage(device, *arguments, "--format=pnm", "-o", path)
        with Image.open(path) as picture:
            picture.load()
        return picture


def inches(left, top, width, height):
    return ("-l", str(left * INCH), "-t", str(top * INCH), "-x", str(width * INCH), "-y", str(height * INCH))


def pixels(resolution, *sides):
    return tuple(round(side * resolution) for side in sides)


class Airscan(SaneClient):
    DEVICE = "airscan:e0:Q750"

    def setUp(self):
        super().setUp()
        self.configure(self.serve())

    def airscan(self, mode, resolution, *arguments):
        return self.scan(self.DEVICE, "--mode", mode, "--resolution", str(resolution), *arguments)

    def test_scans_a_part_of_the_page_at_every_resolution(self):
        for mode, ours in MODES.items():
            for resolution in RESOLUTIONS:
                with self.subTest(mode=mode, resolution=resolution):
                    picture = self.airscan(mode, resolution, *inches(2, 3, 2, 1))
                    if mode == "Color" and resolution > 300:
                        self.assertEqual((picture.mode, picture.size), ("RGB", (2 * resolution, resolution)))
                        page = self.page(ours, 300, pixels(300, 2, 3, 2, 1)).resize(picture.size, Image.BILINEAR)
                        self.assertLess(max(ImageStat.Stat(ImageChops.difference(picture, page)).mean), 1)
                    else:
                        page = self.page(ours, resolution, pixels(resolution, 2, 3, 2, 1))
                        self.assert_same_pixels(picture, page)

    def test_scans_the_whole_page(self):
        for mode, resolution in (("Color", 75), ("Gray", 75), ("Gray", 200), ("Color", 300)):
            with self.subTest(mode=mode, resolution=resolution):
                self.assert_page_with_white_below(self.airscan(mode, resolution), self.page(MODES[mode], resolution))

    def test_scans_the_corners_of_the_bed(self):
        right, bottom = 8.5 - 0.5, 11.69 - 0.5
        for left in (0, right):
            for top in (0, bottom):
                with self.subTest(left=left, top=top):
                    picture = self.airscan("Gray", 300, *inches(left, top, 0.5, 0.5))
                    page = self.page("gray", 300, pixels(300, left, top, 0.5, 0.5))
                    self.assert_same_pixels(picture, page)

    def test_scans_a_batch_and_keeps_nothing_of_it(self):
        self.airscan("Gray", 75)
        descriptors, threads = self.server.descriptors(), self.server.threads()
        self.scanimage(self.DEVICE, "--mode", "Gray", "--resolution", "75", "--format=png", "--batch=page%d.png",
                       "--batch-count=20")
        pages = [(self.folder / f"page{number}.png").read_bytes() for number in range(1, 21)]
        self.assertEqual(len(set(pages)), 1)
        self.assert_page_with_white_below(Image.open(io.BytesIO(pages[0])), self.page())
        self.assertTrue(eventually(lambda: self.server.threads() <= threads + 1), self.server.threads())
        self.assertTrue(eventually(lambda: self.server.descriptors() <= descriptors), self.server.descriptors())
        self.assertEqual(self.server.status().count("<scan:JobInfo>"), 10)


class AirscanElsewhere(SaneClient):
    DEVICE = "airscan:e0:Q750"
    ARGUMENTS = ("--mode", "Gray", "--resolution", "75")

    def test_scans_over_ipv6(self):
        server = self.serve()
        self.configure(server, f"http://[::1]:{server.port}")
        self.assert_page_with_white_below(self.scan(self.DEVICE, *self.ARGUMENTS), self.page())
        self.assertIn("::1 POST", server.log())

    def test_scans_over_tls(self):
        self.configure(self.serve_encrypted())
        self.assert_page_with_white_below(self.scan(self.DEVICE, *self.ARGUMENTS), self.page())

    def test_scans_through_a_local_socket(self):
        listening = socket.socket(socket.AF_UNIX)
        self.addCleanup(listening.close)
        listening.bind(str(self.folder / "q750.sock"))
        listening.listen()
        self.activated(listening, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.configure(None, "unix://q750.sock", f"socket_dir = {self.folder}\n")
        path = self.folder / "local.pnm"
        scan = self.start(self.DEVICE, *self.ARGUMENTS, "--format=pnm", "-o", path)
        with contextlib.suppress(subprocess.TimeoutExpired):  # in its own sane_close()
            scan.wait(PATIENCE)
        self.assert_page_with_white_below(Image.open(path), self.page())


class AirscanInTrouble(SaneClient):
    DEVICE = "airscan:e0:Q750"

    def serve_and_configure(self, *arguments):
        server = self.serve(*arguments)
        self.configure(server)
        return server

    def test_waits_for_another_client_and_scans_then(self):
        server = self.serve_and_configure("--virtual-real-time", "--virtual-warm-up", "1500")
        server.request("POST", "/eSCL/ScanJobs", "")  # no ticket: the scanner stays free
        job = server.post()
        picture = self.scan(self.DEVICE, "--mode", "Gray", "--resolution", "75")
        self.assertIn(" POST /eSCL/ScanJobs 503", server.log())
        self.assertEqual(server.job_state(job), "Completed")
        self.assert_page_with_white_below(picture, self.page())

    def expect_cancel(self, server, moment):
        scan = self.start(self.DEVICE, "--mode", "Color", "--resolution", "300", "--format=pnm", "-o", "scan.pnm")
        self.assertTrue(eventually(lambda: moment(server)), server.log())
        scan.send_signal(signal.SIGINT)
        self.assertTrue(eventually(server.is_free, CLOSING), server.log())
        self.assertIn("<pwg:JobState>Canceled<", server.status())
        try:
            self.assertEqual(scan.wait(CLOSING), CANCELLED)
        except subprocess.TimeoutExpired:  # the server is free, so that nothing keeps it but its own sane_close()
            print("sane-airscan hung in sane_close()", file=sys.stderr)

    def test_cancels_while_the_scanner_warms_up(self):
        self.expect_cancel(self.serve_and_configure("--virtual-real-time", "--virtual-warm-up", "60000"),
                           lambda server: " POST /eSCL/ScanJobs 201" in server.log())

    def test_cancels_in_the_middle_of_the_picture(self):
        self.expect_cancel(self.serve_and_configure(*SLOW),
                           lambda server: "<pwg:JobState>Processing<" in server.status())

    def expect_end(self, server, moment):
        scan = self.start(self.DEVICE, "--mode", "Gray", "--resolution", "300", "--format=pnm", "-o", "scan.pnm")
        self.assertTrue(eventually(lambda: moment(server)), server.log())
        time.sleep(0.1)  # for its request for the page
        scan.kill()
        self.assertTrue(eventually(lambda: not server.workers(), 5), server.log())
        self.assertIn("<pwg:JobState>Canceled<", server.status())

    def test_is_killed_while_the_scanner_warms_up(self):
        server = self.serve_and_configure("--virtual-real-time", "--virtual-warm-up", "60000")
        self.expect_end(server, lambda server: " POST /eSCL/ScanJobs 201" in server.log())

    def test_is_killed_in_the_middle_of_the_picture(self):
        self.expect_end(self.serve_and_configure(*SLOW), lambda server: "JobScanningAndTransferring" in server.status())

    def test_reports_every_fault_of_the_scanner(self):
        for fault in ("exception-reply", "garbage-reply", "unplug:9", "unplug:30", "garbage:100000",
                      "truncated-image:100000", "wrong-header:3"):
            with self.subTest(fault=fault):
                server = self.serve_and_configure("--virtual-fault", fault)
                self.scanimage(self.DEVICE, "--mode", "Gray", "--resolution", "300", "--format=pnm", "-o", "scan.pnm",
                               status=IO_ERROR)
                self.assertTrue(eventually(server.is_free), server.log())
                self.assertNotIn("The page was scanned", server.log())


class Escl(SaneClient):
    """This back end requests other offsets than scanimage does, whatever the device: only areas at the corner are the
    same for both. It requests a PDF, whose picture is a JPEG."""

    def test_scans_in_every_mode_at_every_resolution(self):
        server = self.serve()
        self.configure(server)
        device = "escl:" + server.address
        for mode, ours in {**MODES, "Lineart": "lineart"}.items():
            for resolution in RESOLUTIONS:
                with self.subTest(mode=mode, resolution=resolution):
                    picture = self.scan(device, "--mode", mode, "--resolution", str(resolution), *inches(0, 0, 4, 3))
                    self.assertEqual((picture.mode, picture.size), ("RGB", pixels(resolution, 4, 3)))
                    scanned = min(resolution, 300) if mode == "Color" else resolution
                    page = self.page(ours, scanned, pixels(scanned, 0, 0, 4, 3)).convert("RGB")
                    page = page.resize(picture.size, Image.BILINEAR)
                    self.assertLess(max(ImageStat.Stat(ImageChops.difference(picture, page)).mean), 2)


class EveryFormat(ShareHost):
    def test_is_the_page_of_the_command_line(self):
        server = self.serve()
        region = (600, 900, 600, 300)
        modes = {"RGB24": "color", "Grayscale8": "gray", "BlackAndWhite1": "lineart"}
        formats = {"image/png": "png", "image/jpeg": "jpeg", "application/pdf": "pdf"}
        for (mode, ours), (mime, kind), resolution in itertools.product(modes.items(), formats.items(), RESOLUTIONS):
            if mode == "RGB24" and resolution > 300:
                continue  # scaled, where q750 scan is not
            with self.subTest(mode=mode, format=kind, resolution=resolution):
                path = self.folder / f"shared.{kind}"
                path.write_bytes(server.scan(mode=mode, resolution=resolution, format=mime, region=region))
                picture = self.rendered(path, resolution) if kind == "pdf" else Image.open(path)
                self.assert_same_pixels(picture, self.page(ours, resolution, pixels(resolution, 2, 3, 2, 1), kind))


if __name__ == "__main__":
    unittest.main()
