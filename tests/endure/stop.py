"""SIGSTOP of the worker at random moments: for a while, after which the scan succeeds, and forever, after which the
front end reports a worker that does not respond, and has killed it."""
import signal
import time

from front_ends import LONGEST_LIFE_OF_A_WORKER, NoGoodScan, good_page
from kill import Kills
from processes import send, strays

LONGEST_PAUSE = 0.3
# Of a front end whose worker is silent, with a time-out of one second for the scanner (WorkerTimes.h): 21, and what a busy
# machine takes.
LONGEST_WAIT = 40
AT_ONCE = 10


class Stops(Kills):
    def brief(self, dice):
        """Returns whether a worker was stopped, and what was wrong, or None."""
        self.front_end.stage.clear()
        run = self.front_end.start()
        run.sleep_until(dice.uniform(0, self.seconds))
        worker = run.running_worker()
        hit = worker is not None and send(worker, signal.SIGSTOP)
        time.sleep(dice.uniform(0, LONGEST_PAUSE))
        if hit:
            send(worker, signal.SIGCONT)
        code = run.wait()
        left = strays(LONGEST_LIFE_OF_A_WORKER)
        if not hit:
            self.seconds = time.monotonic() - run.started
        if code != 0 or left:
            return hit, f"exit status {code}, processes {left} left: {run.errors[-300:]}"
        return hit, None if self.front_end.page.read_bytes() == self.page else "the page differs"

    def stopped_run(self, dice):
        """A run whose worker was stopped forever, or None if there was no worker at that moment."""
        run = self.front_end.start()
        run.sleep_until(dice.uniform(0, self.seconds))
        worker = run.running_worker()
        if worker is not None and send(worker, signal.SIGSTOP):
            return run
        run.wait()
        return None

    def complaint_about(self, run):
        code = run.wait(LONGEST_WAIT)
        if code is None:
            return f"no end within {LONGEST_WAIT} s"
        if code not in self.front_end.good_codes | self.front_end.failed_codes:
            return f"exit status {code}: {run.errors[-300:]}"
        return None if code == 0 or run.errors.strip() else f"exit status {code} without a sentence"

    def for_ever(self, count, dice):
        """`count` runs at the same time. Returns what was wrong."""
        runs = []
        while len(runs) < count:
            run = self.stopped_run(dice)
            runs += [run] if run else []
        complaints = [complaint for run in runs if (complaint := self.complaint_about(run))]
        if left := strays(LONGEST_LIFE_OF_A_WORKER):
            complaints.append(f"processes {left} are left")
        self.front_end.stage.clear()
        try:
            if good_page(self.front_end)[0] != self.page:
                complaints.append("the page of the next scan differs")
        except NoGoodScan as failure:
            complaints.append(f"no good scan afterwards: {failure}")
        return complaints


def stop_often(front_end, brief, for_ever, dice):
    """As many stops that met a worker. Returns what was wrong."""
    stops, hits, complaints = Stops(front_end), 0, []
    while hits < brief:
        hit, complaint = stops.brief(dice)
        hits += hit
        complaints += [f"stopped for a while: {complaint}"] if complaint else []
    for done in range(0, for_ever, AT_ONCE):
        complaints += [f"stopped for ever: {one}" for one in stops.for_ever(min(AT_ONCE, for_ever - done), dice)]
    return [f"{front_end.name}: {complaint}" for complaint in complaints]
