import os
import pathlib
import subprocess
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[3] / "packaging/udev/GenerateHwdb.cmake"
BUILT = pathlib.Path(os.environ["Q750_HWDB"])
VENDOR, PRODUCT = (int(text, 0) for text in os.environ["Q750_IDENTITY"].split(","))


def hwdb(root, *words):
    return subprocess.run([os.environ["Q750_SYSTEMD_HWDB"], f"--root={root}", *words], check=True, text=True,
                          stdout=subprocess.PIPE).stdout


def modalias(vendor, product):
    """As reported by the kernel for a scanner with one interface."""
    return f"usb:v{vendor:04X}p{product:04X}d0100dcFFdscFFdpFFicFFiscFFipFFin00"


def generate(vendor, product, to):
    return subprocess.run([os.environ["Q750_CMAKE"], "-D", f"Q750_VENDOR_ID={vendor}", "-D",
                           f"Q750_PRODUCT_ID={product}", "-D", f"Q750_HWDB={to}", "-P", SCRIPT],
                          text=True, stderr=subprocess.PIPE)


class Hwdb(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        self.entry = self.root / "etc/udev/hwdb.d/20-sane-quenvar.hwdb"
        self.entry.parent.mkdir(parents=True)

    def query(self, vendor, product):
        hwdb(self.root, "--strict", "update")
        return hwdb(self.root, "query", modalias(vendor, product))

    def test_matches_the_scanner_of_this_build(self):
        self.entry.write_bytes(BUILT.read_bytes())
        self.assertEqual(self.query(VENDOR, PRODUCT), "libsane_matched=yes\n")

    def test_matches_no_neighbour(self):
        self.entry.write_bytes(BUILT.read_bytes())
        others = [(VENDOR, PRODUCT ^ bit) for bit in (1, 2, 0x10, 0x100, 0x1000, 0x8000)]
        others += [(VENDOR ^ bit, PRODUCT) for bit in (1, 0x10, 0x100, 0x1000)] + [(PRODUCT, VENDOR)]
        for vendor, product in others:
            self.assertEqual(self.query(vendor, product), "", f"{vendor:04X}:{product:04X}")

    def test_is_written_as_a_modalias_is(self):
        for vendor, product, line in (("0x4b8", "0xabcd", "usb:v04B8pABCD*"), ("4617", "1", "usb:v1209p0001*"),
                                      ("0xFFFF", "0", "usb:vFFFFp0000*")):
            self.assertEqual(generate(vendor, product, self.entry).returncode, 0)
            self.assertEqual([text for text in self.entry.read_text().splitlines() if not text.startswith("#")],
                             [line, " libsane_matched=yes"])
            self.assertEqual(self.query(int(vendor, 0), int(product, 0)), "libsane_matched=yes\n")

    def test_refuses_what_is_no_usb_identifier(self):
        for product in ("0x10000", "-1", "scanner"):
            result = generate("0x1209", product, self.entry)
            self.assertNotEqual(result.returncode, 0, product)
            self.assertFalse(self.entry.exists())
        self.assertIn("USB identifiers end at 0xFFFF", generate("0x10000", "1", self.entry).stderr)


if __name__ == "__main__":
    unittest.main()
