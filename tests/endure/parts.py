"""The parts of tools/endure, and what each reports."""
import os
import sys

import limits
from front_ends import FORMATS, CommandLine, SaneProgram
from kill import VICTIMS, kill_often
from kill_server import ServerKills
from soak import soak_command, soak_sane
from stop import stop_often

SUBJECTS = ("command", "sane", "virtual", "ranges", "surroundings")  # the last two of limits, the others of the rest
SILENT_SCANNER = ("timeout 1",)  # seconds, for a worker that is stopped forever


class Report:
    """The row of a table, and what was found."""

    def __init__(self, subject):
        self.subject, self.figures, self.complaints = subject, [], []

    def add(self, figures, complaints):
        print(f"endure: {figures}: {len(complaints)} findings", file=sys.stderr, flush=True)
        self.figures.append(figures)
        self.complaints += complaints

    def row(self):
        return f"| {self.subject} | {'; '.join(self.figures)} | {len(self.complaints)} |"


def command_lines(stage):
    """Each format, with files that have a name from the start and without."""
    return [CommandLine(stage, extension, named) for named in (False, True) for extension in FORMATS]


def shares(count, ways):
    """The count, divided among so many as evenly as possible."""
    return [count // ways + (place < count % ways) for place in range(ways)]


def kill(stage, count, subject, dice, report):
    front_ends = {"command": command_lines(stage), "sane": [SaneProgram(stage)] if stage.programs["scanimage"] else []}
    for name in ("command", "sane"):
        for victim in VICTIMS if subject in (None, name) and front_ends[name] else ():
            attempts, unfinished, complaints = 0, 0, []
            for front_end, share in zip(front_ends[name], shares(count, len(front_ends[name]))):
                tried, files, found = kill_often(front_end, victim, share, dice) if share else (0, 0, [])
                attempts, unfinished, complaints = attempts + tried, unfinished + files, complaints + found
            what = "both" if victim == "both" else f"the {victim}"
            report.add(f"{front_ends[name][0].name}: {count:,} kills of {what} ({attempts:,} tried, {unfinished:,} unfinished "
                       "files removed by the next scan)", complaints)
    if subject in (None, "virtual"):
        kills = ServerKills(stage)
        report.add(f"q750 virtual: {count:,} kills", [found for _ in range(count) if (found := kills.once(dice))])


def stop(stage, count, subject, dice, report):
    stage.configure(*SILENT_SCANNER)
    front_ends = {"command": CommandLine(stage, "png", False, "--timeout", "1"), "sane": SaneProgram(stage)}
    for_ever = count // 20
    for name, front_end in front_ends.items():
        if subject in (None, name) and (name != "sane" or stage.programs["scanimage"]):
            report.add(f"{front_end.name}: {count:,} stops for a while, {for_ever:,} for ever",
                       stop_often(front_end, count, for_ever, dice))


def soak(stage, count, subject, _, report):
    soaks = {"command": lambda: soak_command(CommandLine(stage, "png", False, "--area", "0x0+20x15mm"), count),
             "sane": lambda: soak_sane(stage, count)}
    for name, run in soaks.items():
        if subject in (None, name):
            samples, complaints = run()
            report.add(samples.summary(), complaints)


def limit(stage, count, subject, _, report):
    """A count of 0 is a sample."""
    os.chmod(stage.pages, 0o777)  # another user writes to it
    for name in limits.RANGES if subject in (None, "ranges") else ():
        trials = limits.Trials(stage)
        limits.try_limit(trials, name, count == 0)
        report.add(f"{name}: {trials.figures()}", trials.complaints)
    if subject in (None, "surroundings"):
        trials = limits.Trials(stage)
        tried = limits.try_surroundings(trials)
        report.add(f"surroundings: {trials.figures() if tried else 'not run, for want of mounts'}", trials.complaints)


PARTS = {"kill": ("kill -9 at random moments", kill), "stop": ("workers that are stopped", stop),
         "soak": ("thousands of scans", soak), "limits": ("too little of everything", limit)}


def run(part, stage, count, subject, dice):
    name, work = PARTS[part]
    report = Report(name)
    work(stage, count, subject, dice, report)
    return report
