"""The start page in a browser: Chromium, without a window. Skipped if it, its driver or selenium is not installed
(Debian packages chromium chromium-driver python3-selenium). Screenshots are in the folder that the environment
names."""
import base64
import http.server
import os
import pathlib
import shutil
import signal
import tempfile
import threading
import unittest

from PIL import Image

from share_host import ShareHost, eventually

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
except ImportError:
    webdriver = None

CHROMIUM = shutil.which("chromium")
DRIVER = shutil.which("chromedriver")
SCREENSHOTS = pathlib.Path(os.environ["Q750_SHARE_SCREENSHOTS"])
PATIENCE = 60  # seconds; the browser takes most of it on a busy machine
ARGUMENTS = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             "--disable-dev-shm-usage", "--host-resolver-rules=MAP evil.test 127.0.0.1"]


class Browser:
    """One browser for all tests: starting it takes longer than each of them."""

    def __init__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="q750-browser-"))
        self.downloads = self.folder / "downloads"
        self.downloads.mkdir()
        options = webdriver.ChromeOptions()
        options.binary_location = CHROMIUM
        for argument in [*ARGUMENTS, f"--user-data-dir={self.folder / 'profile'}"]:
            options.add_argument(argument)
        options.add_experimental_option("prefs", {"download.default_directory": str(self.downloads)})
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service(DRIVER), options=options)

    def close(self):
        self.driver.quit()
        shutil.rmtree(self.folder, ignore_errors=True)

    def set(self, width=1280, language="en", dark=False, script=True):
        command = self.driver.execute_cdp_cmd
        command("Emulation.setDeviceMetricsOverride",
                {"width": width, "height": 800, "deviceScaleFactor": 1, "mobile": width < 500})
        command("Network.enable", {})
        command("Network.setExtraHTTPHeaders", {"headers": {"Accept-Language": language}})
        scheme = {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}
        command("Emulation.setEmulatedMedia", {"features": [scheme]})
        command("Emulation.setScriptExecutionDisabled", {"value": not script})

    def open(self, address):
        self.driver.get(address)

    def element(self, name):
        return self.driver.find_element(By.ID, name)

    def text(self, name):
        return self.element(name).text

    def press(self, *keys):
        for key in keys:
            ActionChains(self.driver).send_keys(key).perform()

    def screenshot(self, name):
        picture = self.driver.execute_cdp_cmd("Page.captureScreenshot", {"captureBeyondViewport": True})
        SCREENSHOTS.mkdir(exist_ok=True)
        (SCREENSHOTS / f"{name}.png").write_bytes(base64.b64decode(picture["data"]))

    def complaints(self):
        """What the browser has against the pages since the last call: policies, scripts, missing files."""
        return [line["message"] for line in self.driver.get_log("browser") if line["level"] == "SEVERE"]


@unittest.skipUnless(webdriver and CHROMIUM and DRIVER, "chromium, chromium-driver or python3-selenium is not installed")
class StartPage(ShareHost):
    @classmethod
    def setUpClass(cls):
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)

    def setUp(self):
        super().setUp()
        self.browser.set()
        self.browser.complaints()

    def open(self, *arguments, **settings):
        self.browser.set(**settings)
        server = self.serve(*arguments)
        self.browser.open(server.address + "/")
        return server

    def await_text(self, name, begin):
        self.assertTrue(eventually(lambda: self.browser.text(name).startswith(begin), PATIENCE), self.browser.text(name))

    def saved_file(self):
        """The file that the link saves, once it is complete."""
        self.browser.element("save").click()
        files = self.browser.downloads.glob
        self.assertTrue(eventually(lambda: list(files("scan-*")) and not list(files("*.crdownload")), PATIENCE))
        path, = files("scan-*")
        return path

    def test_fits_phones_and_desktops_in_both_languages_and_schemes(self):
        for width, language, dark, heading in ((390, "en", False, "Scan this page"), (1280, "en", True, "Scan this page"),
                                               (390, "de", True, "Diese Seite scannen"),
                                               (1280, "de", False, "Diese Seite scannen")):
            with self.subTest(width=width, language=language):
                self.open(width=width, language=language, dark=dark)
                self.browser.screenshot(f"page-{width}-{language}")
                self.assertEqual(self.browser.text("scan-heading"), heading)
                wide = self.browser.driver.execute_script("return document.documentElement.scrollWidth")
                self.assertLessEqual(wide, width)
                self.assertEqual(self.browser.complaints(), [])

    def test_scans_by_keyboard_what_q750_scans(self):
        server = self.open(width=390)
        focus = self.browser.driver.switch_to
        order = []
        for keys in ("PNG", "Grey", "75", ""):
            self.browser.press(Keys.TAB, *keys)
            order.append(focus.active_element.get_attribute("id"))
        self.assertEqual(order, ["format", "mode", "resolution", "start"])
        self.browser.press(Keys.ENTER)
        self.await_text("message", "Done")
        self.assertEqual(focus.active_element.get_attribute("id"), "save")
        self.browser.screenshot("page-done")
        path = self.saved_file()
        self.assertEqual(path.suffix, ".png")
        with Image.open(path) as picture:
            self.assert_same_pixels(picture, self.page(mode="gray", resolution=75))
        path.unlink()
        self.assertTrue(eventually(server.is_free))
        self.assertEqual(self.browser.complaints(), [])

    def test_follows_a_scan_and_cancels_it(self):
        server = self.open("--virtual-warm-up", "60000", "--virtual-real-time")
        self.browser.element("start").click()
        self.await_text("message", "The lamp is warming up")
        self.await_text("state", "In use")
        self.browser.screenshot("page-warming")
        self.browser.element("cancel").click()
        self.await_text("message", "The scan was cancelled")
        self.assertTrue(eventually(server.is_free))
        self.await_text("state", "Ready")
        self.assertTrue(self.browser.element("start").is_enabled())

    def test_explains_what_went_wrong(self):
        server = self.open("--virtual-fault", "stall@5")
        self.browser.element("start").click()
        self.await_text("message", "The scan failed. A USB transfer")
        self.browser.screenshot("page-failed")
        server.process.terminate()
        server.process.wait()
        self.browser.element("start").click()
        self.await_text("message", "The connection to the server was lost")
        self.await_text("state", "The server cannot be reached")

    def test_waits_for_another_client(self):
        server = self.open("--virtual-warm-up", "60000", "--virtual-real-time")
        job = server.post()
        self.browser.element("start").click()
        self.await_text("message", "The scanner is in use")
        server.request("DELETE", job)

    def test_asks_again_after_a_minute_of_warming_up(self):
        self.open()
        self.browser.driver.execute_script("""
            const real = fetch;
            let asked = 0;
            fetch = (path, options) => path.endsWith("/NextDocument") && ++asked < 3
                ? Promise.resolve(new Response("", {status: 503})) : real(path, options);""")
        self.browser.element("start").click()
        self.await_text("message", "Done")

    def test_notices_a_server_that_is_silent(self):
        server = self.open()
        server.process.send_signal(signal.SIGSTOP)
        self.addCleanup(server.process.send_signal, signal.SIGCONT)
        self.await_text("state", "The server cannot be reached")
        server.process.send_signal(signal.SIGCONT)
        self.await_text("state", "Ready")

    def test_shows_state_and_hints_without_script(self):
        self.open(width=390, script=False)
        self.browser.screenshot("page-without-script")
        body = self.browser.driver.find_element(By.TAG_NAME, "body").text
        for text in ("Ready to scan", "needs JavaScript", "Scan with a program"):
            self.assertIn(text, body)
        self.assertFalse(self.browser.element("start").is_enabled())

    def test_is_refused_under_a_name_of_others(self):
        server = self.open()
        self.browser.open(f"http://evil.test:{server.port}/")
        self.assertIn("is not a name of this server", self.browser.driver.page_source)

    def test_is_the_only_page_that_may_scan(self):
        server = self.open()
        attack = (f"<form method=post enctype=text/plain action={server.address}/eSCL/ScanJobs>"
                  "<input name='<a' value='/>'></form><script>document.forms[0].submit()</script>").encode()

        class Attacker(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                self.send_response(200)
                self.send_header("Content-Type", "text/html")
                self.end_headers()
                self.wfile.write(attack)

            def log_message(self, *_):
                pass

        attacker = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Attacker)
        self.addCleanup(attacker.server_close)
        self.addCleanup(attacker.shutdown)
        threading.Thread(target=attacker.serve_forever).start()
        for host in ("127.0.0.1", "evil.test"):
            self.browser.open(f"http://{host}:{attacker.server_port}/")
            self.assertTrue(eventually(lambda: "are refused" in self.browser.driver.page_source, PATIENCE), host)
        self.assertNotIn("JobInfo", server.status())


if __name__ == "__main__":
    unittest.main()
