"""The udev rule as a text. tools/package-check has udev apply it."""
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[3] / "packaging/udev/GenerateRules.cmake"
BUILT = pathlib.Path(os.environ["Q750_UDEV_RULES"])
VENDOR, PRODUCT = (int(text, 0) for text in os.environ["Q750_IDENTITY"].split(","))


def keys(path):
    """The keys of the only rule in the file, each with its operator and value."""
    rule, = (line for line in path.read_text().splitlines() if not line.startswith("#"))
    return {key: (operator, value) for key, operator, value in re.findall(r'([^\s,]+?)(==|!=|=)"([^"]*)"', rule)}


def generate(vendor, product, to):
    return subprocess.run([os.environ["Q750_CMAKE"], "-D", f"Q750_VENDOR_ID={vendor}", "-D",
                           f"Q750_PRODUCT_ID={product}", "-D", f"Q750_UDEV_RULES={to}", "-P", SCRIPT],
                          text=True, stderr=subprocess.PIPE)


class Rule(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = pathlib.Path(folder.name) / "60-quenvar-q750.rules"

    def test_gives_the_group_scanner_the_scanner_of_this_build(self):
        self.assertEqual(keys(BUILT), {
            "ACTION": ("!=", "remove"), "SUBSYSTEM": ("==", "usb"), "ENV{DEVTYPE}": ("==", "usb_device"),
            "ATTR{idVendor}": ("==", f"{VENDOR:04x}"), "ATTR{idProduct}": ("==", f"{PRODUCT:04x}"),
            "GROUP": ("=", "scanner"), "MODE": ("=", "0664")})

    def test_writes_the_identity_as_sysfs_does(self):
        for vendor, product, written in (("0x4B8", "0xABCD", ("04b8", "abcd")), ("4617", "1", ("1209", "0001"))):
            self.assertEqual(generate(vendor, product, self.path).returncode, 0)
            found = keys(self.path)
            self.assertEqual((found["ATTR{idVendor}"][1], found["ATTR{idProduct}"][1]), written)

    def test_refuses_a_number_that_is_not_a_usb_identifier(self):
        self.assertIn("USB identifiers end at 0xFFFF", generate("0x10000", "1", self.path).stderr)
        self.assertFalse(self.path.exists())


if __name__ == "__main__":
    unittest.main()
