"""scanimage with the back end and the virtual scanner."""
import unittest

from PIL import Image

from sane_host import PATIENCE, STAGE, SaneHost

MODES = ("Color", "Gray", "Lineart")
SLOW = ("virtual-real-time on", "virtual-speed 500000")
CANCELLED = 2
IO_ERROR = 9


class Scanimage(SaneHost):
    def test_lists_the_scanner(self):
        listed = self.run_program([STAGE["scanimage"], "-L"]).stdout.decode()
        self.assertIn("device `quenvar:virtual' is a Quenvar Q750 (virtual) virtual device", listed)

    def test_lists_none_where_there_is_none(self):
        self.quenvar("virtual off")
        listed = self.run_program([STAGE["scanimage"], "-f", "%d%n"]).stdout.decode()
        self.assertNotIn("virtual", listed)

    def test_scans_by_name_without_any_configuration_but_does_not_find_the_virtual_scanner(self):
        empty = self.folder / "empty"
        empty.mkdir()
        done = self.scanimage(configuration=empty, status=1)
        self.assertIn(b"Invalid argument", done.stderr)

    def test_shows_all_options(self):
        shown = self.scanimage("-A").stdout.decode()
        for line in ("--mode Color|Gray|Lineart [Color]", "--resolution 75|150|200|300dpi [300]", "--depth 8bit [8]",
                     "--source Flatbed [Flatbed]", "--preview[=(yes|no)] [no]", "--threshold 0..255 (in steps of 1) [128]",
                     "--brightness -100..100% (in steps of 1) [0]", "--contrast -100..100% (in steps of 1) [0]",
                     "--analog-gamma 0.0999908..5 [1]",
                     "-l 0..215.9mm [0]", "-t 0..296.926mm [0]", "-x 0..215.9mm [215.9]", "-y 0..296.926mm [296.926]"):
            self.assertIn(line, " ".join(shown.split()))

    def test_passes_every_read_size_in_every_mode(self):
        for mode in MODES:
            with self.subTest(mode=mode):
                done = self.scanimage("--mode", mode, "--resolution", "75", "-x", "60", "-y", "40", "-T")
                tests = [line for line in done.stderr.decode().splitlines() if "read" in line and "..." in line]
                self.assertGreaterEqual(len(tests), 11)  # as many as the length of a row allows
                for line in tests:
                    self.assertTrue(line.endswith("PASS"), line)

    def test_writes_the_pixels_of_the_page_in_every_mode_and_format(self):
        for mode in MODES:
            page = self.page(mode)
            for picture in ("png", "tiff", "pnm"):
                with self.subTest(mode=mode, picture=picture):
                    path = self.folder / f"scan.{picture}"
                    self.scanimage("--mode", mode, "--resolution", "75", f"--format={picture}", "-o", path)
                    self.assert_same_picture(Image.open(path), page)

    def test_writes_the_whole_glass_at_300(self):
        path = self.folder / "scan.pnm"
        self.scanimage("--resolution", "300", "--format=pnm", "-o", path)
        self.assert_same_picture(Image.open(path), self.page("Color", 300))

    def test_scans_an_a4_page_as_far_as_the_glass_goes(self):
        path = self.folder / "scan.pnm"
        self.scanimage("--resolution", "75", "-x", "210", "-y", "297", "--format=pnm", "-o", path)
        with Image.open(path) as picture:
            self.assertEqual(picture.size, (620, 876))

    def test_scans_at_the_same_resolution_whether_it_precedes_the_mode_or_not(self):
        for order in (("--resolution", "600", "--mode", "Gray"), ("--mode", "Gray", "--resolution", "600")):
            with self.subTest(order=order):
                path = self.folder / "scan.pnm"
                self.scanimage(*order, "-x", "25.4", "-y", "12.7", "--format=pnm", "-o", path)
                with Image.open(path) as picture:
                    self.assertEqual((picture.mode, picture.size), ("L", (600, 300)))

    def test_applies_a_threshold_that_precedes_lineart(self):
        pictures = []
        for order in (("--threshold", "50", "--mode", "Lineart"), ("--mode", "Lineart", "--threshold", "50")):
            path = self.folder / "scan.pnm"
            self.scanimage(*order, "--resolution", "75", "--format=pnm", "-o", path)
            pictures.append(path.read_bytes())
        self.assertEqual(*pictures)
        self.assertNotEqual(Image.open(path).tobytes(), self.page("Lineart").convert("1").tobytes())

    def test_scans_a_batch_without_a_cancel_between_its_pages(self):
        self.scanimage("--mode", "Gray", "--resolution", "75", "--format=png", "--batch=page%d.png", "--batch-count=3")
        page = self.page("Gray")
        for number in (1, 2, 3):
            self.assert_same_picture(Image.open(self.folder / f"page{number}.png"), page)

    def test_tells_an_unplugged_scanner_and_leaves_no_file(self):
        self.quenvar("virtual-fault unplug@9")
        done = self.scanimage("--format=png", "-o", "scan.png", status=IO_ERROR)
        self.assertIn(b"Error during device I/O", done.stderr)
        self.assertFalse((self.folder / "scan.png").exists())

    def test_is_quiet(self):
        done = self.scanimage("--resolution", "75", "--format=pnm", "-o", "scan.pnm")
        self.assertEqual(done.stderr, b"")
        self.assertEqual(done.stdout, b"")


class CtrlC(SaneHost):
    def expect_clean_cancel(self, moment, *lines):
        self.quenvar(*lines)
        scan = self.start("--resolution", "75", "--format=png", "-o", "scan.png")
        scan.await_text("[quenvar] scanning ")
        moment(scan)
        status, seconds = scan.interrupt()
        self.assertEqual(status, CANCELLED, scan.said)
        self.assertLess(seconds, PATIENCE / 3)
        self.assertFalse((self.folder / "scan.png").exists(), "no half of a picture is left")
        self.expect_nothing_running()
        self.quenvar()
        self.scanimage("--resolution", "75", "--format=pnm", "-o", "after.pnm")
        self.assert_same_picture(Image.open(self.folder / "after.pnm"), self.page("Color"))

    def test_while_the_scanner_warms_up(self):
        self.expect_clean_cancel(lambda scan: scan.listen(0.2), "virtual-real-time on", "virtual-warm-up 60000")

    def test_at_the_first_row(self):
        self.expect_clean_cancel(lambda scan: scan.await_progress(0), *SLOW)

    def test_in_the_middle(self):
        self.expect_clean_cancel(lambda scan: scan.await_progress(50), "virtual-real-time on", "virtual-speed 2000000")

    def test_at_the_last_row(self):
        last = "virtual-fault truncated-image@1674000"  # the page has 1674036 bytes
        self.expect_clean_cancel(lambda scan: scan.await_progress(99), "virtual-real-time on", last)

    def test_in_a_stall(self):
        stall = "virtual-fault truncated-image@800000"
        self.expect_clean_cancel(lambda scan: scan.await_progress(40), "virtual-real-time on", stall)


if __name__ == "__main__":
    unittest.main()
