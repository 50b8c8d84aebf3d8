#!/usr/bin/env python3
"""Times runs of one program on one case and prints the benchmark table of run.sh.

  measure.py case --results R --case C --gdf G --edges E
      Records case C's size: its devices (counted in the edge list) and GDF bytes.
  measure.py run --results R --case C --program P -- <command ...>
      Runs the command once with FEEDWALK_PROFILE=1 and appends a row to the results file:
      wall time, each "PROFILE <phase> <seconds>" line on stderr (summed per phase), peak
      resident set size (of that child alone, from wait4), exit status. run.sh repeats it
      in rounds.
  measure.py agree --results R --case C --verdict TEXT
      Records whether the two programs' outputs agree on case C.
  measure.py table --results R
      Prints the table as Markdown: per recorded case and program the medians of its
      runs, in whatever order the runs were recorded.
"""

import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time

PHASES = ("parse", "orientation", "output")
PHASE_ALIASES = {"orient": "orientation"}  # feedwalk's short name for the phase
FEEDWALK, PEER = "feedwalk", "peer"


def run_once(command):
    """(wall seconds, peak RSS in KiB, exit code, {phase: seconds}) of one run."""
    env = dict(os.environ, FEEDWALK_PROFILE="1")
    with tempfile.TemporaryFile(mode="w+") as err:
        start = time.perf_counter()
        child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=err, env=env)
        _, status, usage = os.wait4(child.pid, 0)
        wall = time.perf_counter() - start
        child.returncode = os.waitstatus_to_exitcode(status)
        err.seek(0)
        phases = profile_phases(err)
    return wall, usage.ru_maxrss, child.returncode, phases


def profile_phases(lines):
    phases = {}
    for line in lines:
        fields = line.split()
        if len(fields) == 3 and fields[0] == "PROFILE":
            name = PHASE_ALIASES.get(fields[1], fields[1])
            try:
                phases[name] = phases.get(name, 0.0) + float(fields[2])
            except ValueError:
                pass
    return phases


def count_devices(edges_path):
    """Instances of the prime circuit, from an edge-list file."""
    with open(edges_path, encoding="ascii") as f:
        return sum(1 for line in f if line[:2] in ("I ", "B "))


def append_row(path, row):
    with open(path, "a", encoding="ascii") as f:
        f.write("\t".join(row) + "\n")


def cmd_case(args):
    append_row(args.results, ["case", args.case, str(count_devices(args.edges)), str(os.path.getsize(args.gdf))])
    return 0


def cmd_run(args):
    wall, rss, status, phases = run_once(args.command)
    append_row(args.results, ["run", args.case, args.program, f"{wall:.6f}",
                              *(f"{phases[p]:.6f}" if p in phases else "" for p in PHASES), str(rss), str(status)])
    print(f"{args.case} {args.program}: {wall:.3f} s, peak RSS {rss / 1024:.1f} MiB, exit {status}")
    return 0


def cmd_agree(args):
    append_row(args.results, ["agree", args.case, args.verdict])
    return 0


class Runs:
    """The recorded runs of one program on one case."""

    def __init__(self):
        self.walls, self.rss, self.statuses = [], [], []
        self.phases = {p: [] for p in PHASES}

    def add(self, wall, phases, rss, status):
        self.walls.append(float(wall))
        for p, text in zip(PHASES, phases):
            if text:
                self.phases[p].append(float(text))
        self.rss.append(int(rss))
        self.statuses.append(int(status))

    def wall(self):
        return statistics.median(self.walls)

    def status(self):
        """The exit status furthest from 0 among the runs."""
        return max(self.statuses, key=abs)


def read_results(path):
    """({case: (devices, GDF bytes)} in the order recorded, {(case, program): Runs}, {case: verdict})."""
    runs, verdicts, cases = {}, {}, {}
    with open(path, encoding="ascii") as f:
        for line in f:
            fields = line.rstrip("\n").split("\t")
            if fields[0] == "case":
                cases[fields[1]] = (int(fields[2]), int(fields[3]))
            elif fields[0] == "run":
                case, program, wall, *phases, rss, status = fields[1:]
                runs.setdefault((case, program), Runs()).add(wall, phases, rss, status)
            elif fields[0] == "agree":
                verdicts[fields[1]] = fields[2]
    return cases, runs, verdicts


def seconds(value):
    return f"{value:.3f}"


def table_rows(cases, runs, verdicts):
    for case, (devices, gdf_bytes) in cases.items():
        fw = runs.get((case, FEEDWALK))
        for program in (FEEDWALK, PEER):
            r = runs.get((case, program))
            if r is None:
                continue
            ratio = "–"
            if program == PEER and fw is not None and fw.wall() > 0:
                ratio = f"{r.wall() / fw.wall():.1f}"
            rss = int(statistics.median(r.rss)) * 1024
            status = r.status()
            wall_text = seconds(r.wall()) if status == 0 else f"{seconds(r.wall())} (exit {status})"
            phases = [seconds(statistics.median(r.phases[p])) if r.phases[p] else "–" for p in PHASES]
            yield [case, f"{devices:,}", program, str(len(r.walls)), wall_text, *phases, f"{rss / 2**20:.1f}",
                   f"{rss // devices:,}", f"{gdf_bytes // devices}", ratio, verdicts.get(case, "–")]


HEADER = ["case", "devices", "program", "runs", "wall s", "parse s", "orientation s", "output s",
          "peak RSS MiB", "RSS B/device", "GDF B/device", "peer/feedwalk", "outputs"]


def cmd_table(args):
    cases, runs, verdicts = read_results(args.results)
    print("| " + " | ".join(HEADER) + " |")
    print("|" + "---|" * len(HEADER))
    for row in table_rows(cases, runs, verdicts):
        print("| " + " | ".join(row) + " |")
    return 0


def parse_args(argv):
    p = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    sub = p.add_subparsers(dest="action", required=True)
    case = sub.add_parser("case")
    for opt in ("--results", "--case", "--gdf", "--edges"):
        case.add_argument(opt, required=True)
    run = sub.add_parser("run")
    for opt in ("--results", "--case", "--program"):
        run.add_argument(opt, required=True)
    run.add_argument("command", nargs=argparse.REMAINDER)
    agree = sub.add_parser("agree")
    for opt in ("--results", "--case", "--verdict"):
        agree.add_argument(opt, required=True)
    table = sub.add_parser("table")
    table.add_argument("--results", required=True)
    args = p.parse_args(argv)
    if args.action == "run":
        args.command = args.command[1:] if args.command[:1] == ["--"] else args.command
        if not args.command:
            p.error("run needs a command after --")
    return args


def main(argv):
    args = parse_args(argv)
    return {"case": cmd_case, "run": cmd_run, "agree": cmd_agree, "table": cmd_table}[args.action](args)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
