"""SIGKILL at random moments: of the front end, of its worker, of both. Nothing may be left, and the next scan
succeeds."""
import signal

from front_ends import LONGEST_LIFE_OF_A_WORKER, NoGoodScan, good_page
from processes import send, strays

VICTIMS = ("front end", "worker", "both")
OLDER = b"an older page"


def kill(run, victim):
    """Returns those that were there: "front end", "worker", or both. The worker is the first of both."""
    worker = run.worker() if victim != "front end" else None
    met = {"worker"} if worker is not None and send(worker, signal.SIGKILL) else set()
    wanted = victim == "front end" or (victim == "both" and met)
    if wanted and run.process.poll() is None and send(run.process.pid, signal.SIGKILL):
        met.add("front end")
    return met


def allowed_codes(front_end, met):
    """A page that was complete before is a success, and a front end may be faster than the second of two kills."""
    return (front_end.good_codes | ({-signal.SIGKILL} if "front end" in met else set()) |
            (front_end.failed_codes if "worker" in met else set()))


def complaint_after(front_end, met, run, older, page):
    """What is wrong right after the kill, or None."""
    code = run.wait()
    if code not in allowed_codes(front_end, met):
        return f"exit status {code}: {run.errors[-300:]}"
    if code not in (0, -signal.SIGKILL) and not run.errors.strip():
        return f"exit status {code} without a sentence"
    if left := strays(LONGEST_LIFE_OF_A_WORKER):
        return f"processes {left} were left"
    content = front_end.page.read_bytes() if front_end.page.exists() else None
    if content == page or (code != 0 and (content == older or front_end.torn_pages)):
        return None
    return f"exit status {code} and a torn page of {-1 if content is None else len(content)} bytes"


class Kills:
    """One front end whose pages have `page` as their bytes and take `seconds`."""

    def __init__(self, front_end):
        self.front_end, self.unfinished = front_end, 0
        front_end.stage.clear()
        good_page(front_end)  # what is loaded for the first time takes longer
        self.page, self.seconds = good_page(front_end)

    def once(self, victim, dice):
        """Returns whether the kill met its victim, and what was wrong, or None."""
        stage = self.front_end.stage
        older = OLDER if dice.random() < 0.5 else None
        stage.clear()
        if older is not None:
            self.front_end.page.write_bytes(older)
        run = self.front_end.start()
        run.sleep_until(dice.uniform(0, self.seconds))
        met = kill(run, victim)
        complaint = complaint_after(self.front_end, met, run, older, self.page)
        self.unfinished += any(name.startswith(".q750-") for name in stage.files())
        try:
            page, self.seconds = good_page(self.front_end)  # of now: the machine may have other things to do
            if page != self.page and complaint is None:
                complaint = "the page of the next scan differs"
        except NoGoodScan as failure:
            complaint = complaint or f"no good scan afterwards: {failure}"
        return met == ({"front end", "worker"} if victim == "both" else {victim}), complaint


def kill_often(front_end, victim, count, dice):
    """`count` kills that met their victims; others are tried again. Returns the number of attempts, how many left an
    unfinished file for the next scan to remove, and what was wrong."""
    kills, hits, attempts, complaints = Kills(front_end), 0, 0, []
    while hits < count and attempts < 20 * count:
        hit, complaint = kills.once(victim, dice)
        attempts += 1
        hits += hit
        if complaint:
            complaints.append(f"{front_end.name}, {front_end.page.suffix}, {victim} killed: {complaint}")
    if hits < count:
        complaints.append(f"{front_end.name}: only {hits} of {count} kills met the {victim}")
    return attempts, kills.unfinished, complaints
