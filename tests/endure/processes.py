"""Processes that are started, killed, and searched for. What they leave running becomes a child of this process."""
import ctypes
import os
import pathlib
import signal
import subprocess
import time

PR_SET_CHILD_SUBREAPER = 36
LONGEST_RUN = 40  # seconds, for what should take a fraction of one, on a busy machine too


def adopt_strays():
    ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)


def children_of(process):
    try:
        return [int(child) for child in pathlib.Path(f"/proc/{process}/task/{process}/children").read_text().split()]
    except OSError:
        return []


def send(process, number):
    """Returns whether the process was there."""
    try:
        os.kill(process, number)
        return True
    except ProcessLookupError:
        return False


def strays(seconds):
    """The children that are still there after this time, which are ended then. No other child may be running."""
    deadline = time.monotonic() + seconds
    while True:
        try:
            if os.waitpid(-1, os.WNOHANG)[0] != 0:
                continue
        except ChildProcessError:
            return []
        if time.monotonic() > deadline:
            break
        time.sleep(0.002)
    left = children_of(os.getpid())
    for process in left:
        send(process, signal.SIGKILL)
        os.waitpid(process, 0)
    return left


class Run:
    """A program that is running, whose output is kept."""

    def __init__(self, command, environment, folder):
        self.started = time.monotonic()
        self.process = subprocess.Popen(command, env=environment, cwd=folder, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self.errors = ""

    def sleep_until(self, moment):
        """Until so many seconds after the start."""
        time.sleep(max(0, self.started + moment - time.monotonic()))

    def worker(self):
        """Its child, or None: it has one at most."""
        return next(iter(children_of(self.process.pid)), None)

    def running_worker(self):
        """Its child once that runs the worker's program. Before, the system makes its parent wait (posix_spawn)."""
        worker = self.worker()
        try:
            name = pathlib.Path(f"/proc/{worker}/comm").read_text().strip()
        except OSError:
            return None
        return worker if name == "q750-worker" else None

    def wait(self, seconds=LONGEST_RUN):
        """The exit status, negative for a signal; None where it did not end in time."""
        try:
            self.errors = self.process.communicate(timeout=seconds)[1].decode(errors="replace")
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            self.process.stderr.close()  # what it has started may hold the other end
            return None
        return self.process.returncode
