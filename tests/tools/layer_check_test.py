"""tools/layer-check, on small trees with one mistake each."""
import os
import pathlib
import subprocess
import tempfile
import unittest

CHECK = os.environ["Q750_LAYER_CHECK"]

# Two rooms, of which the upper one may include the lower one in its headers and its sources.
GOOD = {
    "platform/data/CMakeLists.txt": "q750_room(platform-data)\n",
    "platform/data/Data.h": "#if defined(__linux__)\n#endif\n",
    "Sources/driver/CMakeLists.txt": "q750_room(driver\n  PUBLIC platform-data\n  LIBRARIES EXPAT::EXPAT)\n",
    "Sources/driver/Driver.h": '#include <string>\n#include "Data.h"\n',
    "Sources/driver/Driver.cpp": '#include "Driver.h"\n',
}
DRIVER = "Sources/driver/CMakeLists.txt"


class LayerCheck(unittest.TestCase):
    def problems(self, files={}):
        """The lines that the check prints for the good tree with these files changed."""
        with tempfile.TemporaryDirectory() as folder:
            for name, text in (GOOD | files).items():
                path = pathlib.Path(folder, name)
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text)
            result = subprocess.run([CHECK, folder], capture_output=True, text=True)
        self.assertEqual(result.returncode, 1 if result.stderr else 0)
        return result.stderr.splitlines()

    def test_accepts_rooms_that_include_what_they_name(self):
        self.assertEqual(self.problems(), [])

    def test_reports_an_include_of_a_room_that_is_not_named(self):
        self.assertEqual(
            self.problems(files={DRIVER: "q750_room(driver)\n"}),
            ["Sources/driver/Driver.h:2: driver may not include Data.h of platform-data"])

    def test_reports_a_permission_that_nobody_uses(self):
        self.assertEqual(
            self.problems(files={"Sources/driver/Driver.h": ""}),
            [f"{DRIVER}: driver names platform-data but includes nothing of it"])

    def test_reports_a_public_room_that_only_sources_include(self):
        self.assertEqual(
            self.problems(files={"Sources/driver/Driver.h": "", "Sources/driver/Driver.cpp": '#include "Data.h"\n'}),
            [f"{DRIVER}: only sources include platform-data: make it PRIVATE"])

    def test_reports_a_private_room_that_a_header_includes(self):
        self.assertEqual(
            self.problems(files={DRIVER: "q750_room(driver PRIVATE platform-data)\n"}),
            [f"{DRIVER}: a header includes platform-data: make it PUBLIC"])

    def test_reports_operating_system_conditionals_outside_the_platform(self):
        for name in ("Sources/driver/Driver.cpp", "tests/driver/DriverTest.cpp"):
            for line in ("#ifdef __linux__", "#  if X && defined(_WIN32)", "#elif __APPLE__"):
                self.assertEqual(
                    self.problems(files={name: f"\n{line}\n"}),
                    [f"{name}:2: operating-system conditional outside platform/"])

    def test_reports_a_room_that_names_one_above_it(self):
        self.assertIn(
            "platform/data/CMakeLists.txt: driver is above platform-data",
            self.problems(files={"platform/data/CMakeLists.txt": "q750_room(platform-data PRIVATE driver)\n",
                                 "platform/data/Data.cpp": '#include "Driver.h"\n'}))

    def test_reports_rooms_that_include_each_other(self):
        self.assertEqual(
            self.problems(files={
                DRIVER: "q750_room(driver PUBLIC platform-data PRIVATE messages)\n",
                "Sources/driver/Driver.cpp": '#include "Messages.h"\n',
                "Sources/messages/CMakeLists.txt": "q750_room(messages PRIVATE driver)\n",
                "Sources/messages/Messages.h": "",
                "Sources/messages/Messages.cpp": '#include "Driver.h"\n'}),
            [f"{DRIVER}: driver depends on itself", "Sources/messages/CMakeLists.txt: messages depends on itself"])

    def test_reports_code_outside_every_room(self):
        self.assertEqual(
            self.problems(files={"Sources/Stray.cpp": ""}),
            ["Sources/Stray.cpp: in no room: call q750_room() in its folder"])

    def test_reports_two_headers_of_one_name(self):
        self.assertEqual(
            self.problems(files={"Sources/driver/Data.h": ""})[0],
            "Sources/driver/Data.h: platform/data/Data.h has the same name")


if __name__ == "__main__":
    unittest.main()
