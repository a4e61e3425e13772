"""Thousands of scans: in one SANE process, and by `q750 scan`, each a process of its own. What they hold and leave does
not grow after the first hundred."""
import os
import pathlib
import subprocess
import time

from front_ends import good_page
from processes import LONGEST_RUN, children_of

EVERY = 100
MOST_GROWTH_KIB = 512
MOST_GROWTH_SANITIZED_KIB = 16 * 1024  # the sanitizer keeps its own records


def shared_memory():
    folder = pathlib.Path("/dev/shm")
    return sorted(entry.name for entry in folder.iterdir() if "q750" in entry.name) if folder.is_dir() else []


class Samples:
    """Rows of (number of scans, KiB, more figures): the KiB may grow a little after the first row, the rest not at all."""

    def __init__(self, name, most_growth_kib):
        self.name, self.most_growth_kib, self.rows = name, most_growth_kib, []

    def growth_kib(self):
        return max(row[1] for row in self.rows) - self.rows[0][1] if self.rows else 0

    def complaints(self):
        complaints = []
        if self.growth_kib() > self.most_growth_kib:
            complaints.append(f"{self.name}: {self.growth_kib()} KiB more after the first {self.rows[0][0]} scans")
        for row in self.rows[1:]:
            if row[2:] != self.rows[0][2:]:
                complaints.append(f"{self.name}: after {row[0]} scans {row[2:]} instead of {self.rows[0][2:]}")
                break
        return complaints

    def summary(self):
        scans = self.rows[-1][0] if self.rows else 0
        first = self.rows[0][1] if self.rows else 0
        return f"{scans:,} scans by {self.name}: {first:,} KiB, {self.growth_kib():,} more at most"


def soak_sane(stage, scans):
    """Scans in one process. The rows are its resident memory, descriptors and threads."""
    sanitized = stage.programs["sanitized"]
    samples = Samples("the SANE back end", MOST_GROWTH_SANITIZED_KIB if sanitized else MOST_GROWTH_KIB)
    done = subprocess.run([stage.bin / "host", stage.bin / "libsane-quenvar.so.1", str(scans), str(min(EVERY, scans))],
                          env=stage.environment, cwd=stage.pages, capture_output=True, text=True)
    samples.rows = [tuple(int(figure) for figure in line.split()) for line in done.stdout.splitlines()]
    complaints = samples.complaints()
    if done.returncode != 0 or len(samples.rows) != scans // min(EVERY, scans):
        complaints.append(f"the SANE host ended with status {done.returncode}: {done.stderr[-2000:]}")
    return samples, complaints


def peak_kib(front_end):
    """Of one run; None where it failed."""
    run = front_end.start()
    deadline = time.monotonic() + LONGEST_RUN
    while time.monotonic() < deadline:
        process, status, usage = os.wait4(run.process.pid, os.WNOHANG)
        if process != 0:
            run.process.returncode = os.waitstatus_to_exitcode(status)
            run.process.stderr.close()
            return usage.ru_maxrss if run.process.returncode == 0 else None
        time.sleep(0.001)
    run.wait(0)
    return None


def soak_command(front_end, scans):
    """Scans by one process each. The rows are the largest resident memory of the last hundred, what is left of files,
    processes and shared memory."""
    samples, complaints, failed, largest = Samples("q750 scan", MOST_GROWTH_KIB), [], 0, 0
    front_end.stage.clear()
    page, _ = good_page(front_end)
    for number in range(1, scans + 1):
        kib = peak_kib(front_end)
        if kib is None or front_end.page.read_bytes() != page:
            failed += 1
        largest = max(largest, kib or 0)
        if number % min(EVERY, scans) == 0:
            samples.rows.append((number, largest, front_end.stage.files(), children_of(os.getpid()), shared_memory()))
            largest = 0
    complaints = samples.complaints()
    if failed:
        complaints.append(f"q750 scan: {failed} of {scans} failed or gave another page")
    return samples, complaints
