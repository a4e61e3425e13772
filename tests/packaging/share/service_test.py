"""The files that make the network server a service, as far as they can be checked without starting it: by the tools of
systemd and AppArmor, and by comparing what has to agree. tools/package-check has udev apply the rule.
"""
import configparser
import os
import pathlib
import re
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree

SOURCE = pathlib.Path(__file__).resolve().parents[3] / "packaging"
BUILT = pathlib.Path(os.environ["Q750_PACKAGING"])
SERVICE = BUILT / "systemd/q750-share.service"
SOCKET = BUILT / "systemd/q750-share.socket"
PROFILE = BUILT / "apparmor/q750-share"
RULES = BUILT / "udev/61-quenvar-q750-share.rules"
ACCESS_RULES = BUILT / "udev/60-quenvar-q750.rules"
PORT = 8750
WORST_EXPOSURE = 2.0  # of 10, by systemd's count


def analyze(*words):
    return subprocess.run([os.environ["Q750_SYSTEMD_ANALYZE"], *map(str, words)], text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT)


def settings(unit):
    """The settings of a unit: the values of each, in order, by section and name."""
    found, section = {}, None
    for line in unit.read_text().splitlines():
        if match := re.fullmatch(r"\[(\w+)\]", line):
            section = match[1]
        elif match := re.fullmatch(r"(\w+)=(.*)", line):
            found.setdefault((section, match[1]), []).append(match[2])
    return found


def keys(rules):
    """The keys of the only rule in the file, each with its operator and value."""
    rule, = (line for line in rules.read_text().splitlines() if not line.startswith("#"))
    return {key: (operator, value) for key, operator, value in re.findall(r'([^\s,]+?)(==|!=|\+=|=)"([^"]*)"', rule)}


class Units(unittest.TestCase):
    def test_leave_little_to_whoever_takes_the_server_over(self):
        result = analyze("security", "--offline=yes", f"--threshold={WORST_EXPOSURE * 10:.0f}", "--no-pager", SERVICE)
        self.assertEqual(result.returncode, 0, result.stdout)
        exposure = float(re.search(r"exposure level for q750-share.service: ([\d.]+)", result.stdout)[1])
        self.assertLessEqual(exposure, WORST_EXPOSURE)

    def test_are_understood_by_systemd(self):
        with tempfile.TemporaryDirectory() as folder:
            copies = []
            for unit in (SERVICE, SOCKET):
                copies.append(pathlib.Path(folder) / unit.name)
                # The server is not installed where this test runs.
                copies[-1].write_text(unit.read_text().replace(os.environ["Q750_PROGRAM"], "/bin/true"))
            result = analyze("verify", "--man=no", *copies)
        self.assertEqual((result.returncode, result.stdout), (0, ""))

    def test_run_the_installed_server_with_the_configuration(self):
        self.assertEqual(settings(SERVICE)["Service", "ExecStart"],
                         [f"{os.environ['Q750_PROGRAM']} --config {os.environ['Q750_SHARE_CONF']}"])

    def test_let_the_worker_confine_itself(self):
        allowed = settings(SERVICE)["Service", "SystemCallFilter"][-1].split()
        for call in ("seccomp", "landlock_create_ruleset", "landlock_add_rule", "landlock_restrict_self", "setrlimit"):
            self.assertIn(call, allowed)

    def test_listen_to_this_machine_alone(self):
        self.assertEqual(settings(SOCKET)["Socket", "ListenStream"], [f"127.0.0.1:{PORT}", f"[::1]:{PORT}"])

    def test_start_the_server_when_udev_names_the_scanner(self):
        alias = keys(RULES)["ENV{SYSTEMD_ALIAS}"][1]
        unit = alias.strip("/").replace("/", "-") + ".device"
        self.assertRegex(alias, r"^(/[a-z0-9_]+)+$", "no character that a unit's name would escape")
        self.assertEqual(settings(SERVICE)["Install", "WantedBy"], [unit])


class Rule(unittest.TestCase):
    def test_matches_the_same_device_as_the_one_that_grants_access(self):
        def matches(rules):
            return {key: value for key, value in keys(rules).items() if value[0] in ("==", "!=")}
        self.assertEqual(matches(RULES), matches(ACCESS_RULES))

    def test_has_systemd_make_a_unit_of_the_device(self):
        self.assertEqual(keys(RULES)["TAG"], ("+=", "systemd"))


class AppArmorProfile(unittest.TestCase):
    def compiled(self, profile):
        # Reads no cache and loads nothing into the kernel.
        return subprocess.run([os.environ["Q750_APPARMOR_PARSER"], "-Q", "-K", profile], text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def test_is_understood_by_apparmor(self):
        result = self.compiled(PROFILE)
        self.assertEqual(result.returncode, 0, result.stdout)

    def test_would_be_refused_with_a_mistake_in_it(self):
        with tempfile.NamedTemporaryFile("w") as broken:
            broken.write(PROFILE.read_text().replace("network inet stream,", "network inet strem,"))
            broken.flush()
            self.assertNotEqual(self.compiled(broken.name).returncode, 0)

    def test_is_the_one_that_the_unit_asks_for(self):
        name, = re.findall(r"^profile (\S+) ", PROFILE.read_text(), re.MULTILINE)
        self.assertEqual(settings(SERVICE)["Service", "AppArmorProfile"], [f"-{name}"])
        self.assertEqual(PROFILE.name, name)

    # Where AppArmor mediates the message bus, what no rule allows is refused.
    def test_lets_the_server_announce_the_scanner(self):
        rules = re.findall(r"^  dbus .*,$", PROFILE.read_text(), re.MULTILINE)
        self.assertTrue(any("send" in rule and "org.freedesktop.Avahi" in rule for rule in rules), rules)
        self.assertTrue(any("receive" in rule and "org.freedesktop.Avahi" in rule for rule in rules), rules)

    def test_names_the_installed_programs(self):
        text = PROFILE.read_text()
        self.assertIn(f"  {os.environ['Q750_PROGRAM']} mr,\n", text)
        self.assertIn(f"  {os.environ['Q750_WORKER']} mrix,\n", text)


class Firewalls(unittest.TestCase):
    def test_open_the_port_of_the_server_and_of_its_announcement(self):
        service = xml.etree.ElementTree.parse(SOURCE / "firewall/quenvar-q750-share.xml").getroot()
        self.assertEqual([port.attrib for port in service.findall("port")], [{"protocol": "tcp", "port": str(PORT)}])
        self.assertEqual([other.attrib for other in service.findall("include")], [{"service": "mdns"}])
        ufw = configparser.ConfigParser()
        ufw.read(SOURCE / "firewall/quenvar-q750-share.ufw")
        self.assertEqual([ufw[name]["ports"] for name in ufw.sections()], [f"{PORT}/tcp|5353/udp"])


if __name__ == "__main__":
    unittest.main()
