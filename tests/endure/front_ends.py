"""The command line and the SANE back end as installed: in one folder, with their worker beside them."""
import os
import pathlib
import shutil
import time

from processes import Run, strays

FORMATS = ("png", "tiff", "jpg", "pdf", "pnm")
LEAKS_BY_DESIGN = pathlib.Path(__file__).resolve().parent.parent / "lsan.supp"
LONGEST_LIFE_OF_A_WORKER = 5  # seconds, once its front end is gone; it allows itself two


def link_or_copy(source, to):
    """A linker writes a new file: a file with two names is not modified."""
    try:
        os.link(source, to)
    except OSError:
        shutil.copy(source, to)


class Stage:
    """The programs, which a build does not change during a long run, and a folder for their pages."""

    def __init__(self, programs, folder):
        self.programs = programs
        self.bin = pathlib.Path(folder) / "bin"
        self.pages = pathlib.Path(folder) / "pages"
        self.bin.mkdir()
        self.pages.mkdir()
        for source, name in ((programs["q750"], "q750"), (programs["worker"], "q750-worker"),
                             (programs["host"], "host"), (programs["sane"], "libsane-quenvar.so.1"),
                             (programs["named_files"], "named-files.so")):
            link_or_copy(source, self.bin / name)
        (self.bin / "dll.conf").write_text("quenvar\n")
        self.configure()
        self.environment = {name: value for name, value in os.environ.items() if not name.startswith("SANE_")}
        self.environment.update(LC_ALL="C", LD_LIBRARY_PATH=str(self.bin), SANE_CONFIG_DIR=str(self.bin),
                                SOURCE_DATE_EPOCH="1700000000", XDG_CONFIG_HOME="/nonexistent")
        if programs["sanitized"]:
            self.environment["ASAN_OPTIONS"] = "quarantine_size_mb=1"  # else freed memory is kept, up to 256 MiB
            self.environment["LSAN_OPTIONS"] = f"suppressions={LEAKS_BY_DESIGN}:print_suppressions=0"

    def configure(self, *lines):
        """More lines for quenvar.conf."""
        (self.bin / "quenvar.conf").write_text("".join(line + "\n" for line in ("virtual on", *lines)))

    def files(self):
        return sorted(entry.name for entry in self.pages.iterdir())

    def clear(self):
        for entry in self.pages.iterdir():
            entry.unlink()


class CommandLine:
    """`q750 scan` to one format; with `named`, where files have a name from the start, as on NFS."""
    name = "q750"
    good_codes = {0}
    failed_codes = {7}  # the scan failed because its worker did
    torn_pages = False

    def __init__(self, stage, extension="png", named=False, *options):
        self.stage = stage
        self.page = stage.pages / f"page.{extension}"
        self.environment = dict(stage.environment)
        if named:
            self.environment["LD_PRELOAD"] = str(stage.bin / "named-files.so")
        self.command = [stage.bin / "q750", "scan", "--device", "virtual", "--resolution", "75", "--quiet", *options,
                        "--output", self.page]

    def start(self):
        return Run(self.command, self.environment, self.stage.pages)


class SaneProgram(CommandLine):
    """scanimage with the back end."""
    name = "scanimage"
    failed_codes = {9}  # SANE_STATUS_IO_ERROR
    torn_pages = True  # it writes under the final name, or removes what it could not complete

    def __init__(self, stage, *_):
        super().__init__(stage, "pnm")
        self.command = [stage.programs["scanimage"], "-d", "quenvar:virtual", "--resolution", "75", "--format=pnm", "-o",
                        self.page]

    def start(self):
        return Run(self.command, self.environment, self.stage.pages)


class NoGoodScan(Exception):
    pass


def good_page(front_end):
    """Scans, and returns the page and the seconds that it took. Nothing but the page may be left."""
    run = front_end.start()
    code = run.wait()
    seconds = time.monotonic() - run.started
    left = strays(LONGEST_LIFE_OF_A_WORKER)
    if code != 0 or not front_end.page.exists():
        raise NoGoodScan(f"exit status {code}: {run.errors[-300:]}")
    if left or front_end.stage.files() != [front_end.page.name]:
        raise NoGoodScan(f"processes {left} and the files {front_end.stage.files()} are left")
    return front_end.page.read_bytes(), seconds
