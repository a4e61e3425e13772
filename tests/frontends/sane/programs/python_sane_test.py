"""The scanner from Python's module sane, whose every call goes through the loader."""
import sys
import unittest

from PIL import Image

from sane_host import SaneHost

SCAN = """
import sane, sys
for round in range(3):
    sane.init()
    assert ("quenvar:virtual", "Quenvar", "Q750 (virtual)", "virtual device") in sane.get_devices(), sane.get_devices()
    device = sane.open("quenvar:virtual")
    device.resolution = 75
    for mode in ("Color", "Gray", "Lineart"):
        device.mode = mode
        device.start()
        device.snap().save(f"{mode}.png")
    device.close()
    sane.exit()
"""

CANCEL = """
import sane, threading, time
sane.init()
device = sane.open("quenvar:virtual")
device.start()
threading.Timer(0.3, device.cancel).start()
try:
    device.snap()
    raise SystemExit("the scan was not cancelled")
except Exception as error:
    assert "cancel" in str(error).lower(), error
device.close()
sane.exit()
"""

OPTIONS = """
import sane
sane.init()
device = sane.open("quenvar:virtual")
assert device["resolution"].constraint == [75, 150, 200, 300]
device.mode = "Lineart"
assert device["resolution"].constraint == [75, 150, 200, 300, 400, 600]
assert device.threshold == 128
device.br_x = 100
assert device.get_parameters()[2][0] == round(100 / 25.4 * 300), device.get_parameters()
device.close()
sane.exit()
"""


class PythonSane(SaneHost):
    def test_scans_in_every_mode_again_and_again(self):
        self.run_program([sys.executable, "-c", SCAN])
        for mode in ("Color", "Gray", "Lineart"):
            self.assert_same_picture(Image.open(self.folder / f"{mode}.png"), self.page(mode))

    def test_cancels_from_another_thread(self):
        self.quenvar("virtual-real-time on", "virtual-warm-up 60000")
        self.run_program([sys.executable, "-c", CANCEL])

    def test_sees_the_options_change_with_the_mode(self):
        self.run_program([sys.executable, "-c", OPTIONS])


if __name__ == "__main__":
    unittest.main()
