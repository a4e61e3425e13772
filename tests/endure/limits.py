"""Too little of everything that a process needs, over ranges from far too little to enough: a documented exit code, a
sentence on standard error, no crash, no hang, nothing left."""
import collections
import os
import subprocess

from front_ends import FORMATS, LONGEST_LIFE_OF_A_WORKER, CommandLine, NoGoodScan, good_page
from processes import Run, strays

KIB, MIB = 1024, 1024 * 1024
ANOTHER_USER = 64750  # without processes of its own: the system counts them by user, and not those of root
LOADER_FAILED = 127   # of the dynamic loader, which prints a sentence too

RANGES = {
    "as": [int(size * MIB) for size in (4, 8, 12, *(half / 2 for half in range(32, 96)), 64, 128, 256, 512, 1024)],
    "data": [size * MIB for size in (0, 1, 2, 3, 4, 6, 8, 12, 16, 32, 64, 256)],
    "nofile": list(range(3, 30)),
    "nproc": list(range(1, 7)),
    "stack": [size * KIB for size in (20, 24, 32, 40, 48, 56, 64, 80, 128, 1024, 8192, 1024 * 1024)],
    "fsize": [0, 1, 512, 4096, 20000, 65536, 1 * MIB, 10 * MIB],
}
SAMPLE = {"as": 9, "data": 4, "nofile": 9, "nproc": 2, "stack": 4, "fsize": 3}  # every so-manieth, for the suite

# Exit codes besides success: of the command line by its documentation, of the host as it has them.
CODES = {"as": {7, 9, 10, 127}, "data": {7, 9, 10, 127}, "nofile": {2, 7, 9, 10, 127}, "nproc": {7, 10}, "stack": {7, 10},
         "fsize": {9}}
SANE_CODES = {1, 4, 9, 10, 127}  # 9 SANE_STATUS_IO_ERROR, 10 SANE_STATUS_NO_MEM


class Command:
    """A command of q750, or the SANE host, and the page that it writes, or None."""

    def __init__(self, stage, name, arguments, page=None):
        self.stage, self.name, self.arguments, self.page = stage, name, arguments, page


def commands(stage):
    scan = [stage.bin / "q750", "scan", "--device", "virtual", "--resolution", "75", "--quiet", "--output"]
    pages = [stage.pages / f"page.{extension}" for extension in FORMATS]
    return [
        Command(stage, "list", [stage.bin / "q750", "list"]),
        Command(stage, "doctor", [stage.bin / "q750", "doctor"]),
        Command(stage, "sane", [stage.bin / "host", stage.bin / "libsane-quenvar.so.1", "1", "1"]),
        *(Command(stage, page.suffix[1:], [*scan, page], page) for page in pages),
    ]


class Trials:
    """Runs of commands in one stage. Counts their exit statuses, and collects what was wrong."""

    def __init__(self, stage):
        self.stage, self.listing = stage, stage.bin / "listing"
        self.seen, self.complaints = collections.Counter(), []

    def run(self, what, command, prefix, codes, sentence=True):
        """One run with this in front. `codes` are allowed besides 0, with a sentence where there is a standard error."""
        self.stage.clear()
        self.listing.unlink(missing_ok=True)
        run = Run([*prefix, *command.arguments], self.stage.environment, self.stage.pages)
        code = run.wait()
        self.seen[what.split()[0], command.name, code] += 1
        if found := self._complaint(command, run, code, codes, sentence):
            self.complaints.append(f"{what}, {command.name}: {found}")

    def _complaint(self, command, run, code, codes, sentence):
        if left := strays(LONGEST_LIFE_OF_A_WORKER):
            return f"processes {left} were left"
        if code not in codes | {0}:
            return f"exit status {code}: {run.errors[-300:]!r}"
        if sentence and code != 0 and not run.errors.strip():
            return f"exit status {code} without a sentence"
        files = self.listing.read_text().split() if self.listing.exists() else self.stage.files()
        expected = [command.page.name] if command.page and code == 0 else []
        return f"exit status {code} and the files {files}" if files != expected else None

    def figures(self):
        """How often each exit status was seen."""
        codes = collections.Counter()
        for (_, _, code), times in self.seen.items():
            codes[code] += times
        return f"{codes.total():,} runs (" + ", ".join(f"{times:,} x {code}" for code, times in sorted(codes.items())) + ")"

    def next_scan(self):
        """Is good once nothing is missing any more."""
        self.stage.clear()
        try:
            good_page(CommandLine(self.stage))
        except NoGoodScan as failure:
            self.complaints.append(f"no good scan afterwards: {failure}")


def limit_prefix(limit, value):
    """A prefix for a command, or None where this user cannot set it."""
    prefix = ["prlimit", f"--{limit}={value}:{value}"]
    if limit != "nproc":
        return prefix
    return ["setpriv", f"--reuid={ANOTHER_USER}", "--clear-groups", *prefix] if os.geteuid() == 0 else None


def try_limit(trials, limit, sample=False):
    for value in RANGES[limit][::SAMPLE[limit] if sample else 1]:
        prefix = limit_prefix(limit, value)
        reachable = ["test", "-x", trials.stage.bin / "q750"]
        if prefix is None or subprocess.run([*prefix, *reachable], capture_output=True).returncode != 0:
            continue  # not for this user, too little for any program, or in a folder that the other user cannot enter
        for command in commands(trials.stage):
            if command.name == "sane" and limit == "stack" and value < 64 * KIB:
                continue  # the host's stack is the host's affair
            codes = SANE_CODES if command.name == "sane" else CODES[limit] | ({2} if command.name == "doctor" else set())
            trials.run(f"{limit} {value}", command, prefix, codes)
    trials.next_scan()


MOUNT = "mount -t tmpfs -o {} tmpfs {}"
# What is missing around a command: what is run before it, in mounts of its own, and the exit codes besides success.
SURROUNDINGS = {
    **{f"a disk of {size} KiB": (MOUNT.format(f"size={size}k,mode=777", '"$PAGES"'), {9})
       for size in (4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048)},
    "a read-only folder": (MOUNT.format("ro", '"$PAGES"'), {9}),
    **{f"no {folder}": (MOUNT.format("ro", folder), set()) for folder in ("/tmp", "/proc", "/sys", "/run", "/dev/shm")},
    "no /tmp, /proc and /sys": ("; ".join(MOUNT.format("ro", folder) for folder in ("/tmp", "/proc", "/sys")), set()),
    "no /dev": (MOUNT.format("ro", "/dev"), {7}),
    **{f"closed {name}": (f"exec {redirection}", {9}) for name, redirection in
       (("standard input", "<&-"), ("standard output", ">&-"), ("standard error", "2>&-"), ("streams", "<&- >&- 2>&-"))},
}
# The command ends with its own exit status; the files that it left are listed from inside its mounts.
AROUND = """PAGES=$1 LISTING=$2; shift 2
({}; "$@"); code=$?
ls -A "$PAGES" >"$LISTING"; exit $code
"""


def mounting_prefix():
    """The command that gives this user private mounts, or None."""
    for prefix in (["unshare", "-m", "--propagation", "private"], ["unshare", "-Urm"]):
        if subprocess.run([*prefix, "mount", "-t", "tmpfs", "tmpfs", "/tmp"], capture_output=True).returncode == 0:
            return prefix
    return None


def try_surroundings(trials):
    """Returns whether this user may try them."""
    mounting = mounting_prefix()
    if mounting is None:
        return False
    for what, (before, codes) in SURROUNDINGS.items():
        prefix = [*mounting, "sh", "-c", AROUND.format(before), "sh", trials.stage.pages, trials.listing]
        for command in commands(trials.stage):
            more = {"doctor": {2}, "sane": {9} if 7 in codes else set()}.get(command.name, set())
            trials.run(what, command, prefix, codes | more, sentence="closed" not in what)
    trials.next_scan()
    return True
