#!/usr/bin/env python3
"""Times repeated runs of one program on one case and prints the benchmark table of run.sh.

  measure.py run --results R --case C --program P --gdf G --edges E --runs N -- <command ...>
      Runs the command N times with FEEDWALK_PROFILE=1 and appends one row to the results
      file: median wall time, median of each "PROFILE <phase> <seconds>" line on stderr,
      median peak resident set size (of that child alone, from wait4), exit status.
  measure.py agree --results R --case C --verdict TEXT
      Records whether the two programs' outputs agree on case C.
  measure.py table --results R
      Prints the table as Markdown.
"""

import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time

PHASES = ("parse", "orientation", "output")
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
            try:
                phases[fields[1]] = phases.get(fields[1], 0.0) + float(fields[2])
            except ValueError:
                pass
    return phases


def count_devices(edges_path):
    """Instances of the prime circuit, from an edge-list file."""
    with open(edges_path, encoding="ascii") as f:
        return sum(1 for line in f if line[:2] in ("I ", "B "))


def median_or_blank(values):
    return f"{statistics.median(values):.6f}" if values else ""


def cmd_run(args):
    results = [run_once(args.command) for _ in range(args.runs)]
    walls = [r[0] for r in results]
    rss = [r[1] for r in results]
    status = max((r[2] for r in results), key=abs)
    phases = [median_or_blank([r[3][p] for r in results if p in r[3]]) for p in PHASES]
    row = ["run", args.case, args.program, str(count_devices(args.edges)), str(os.path.getsize(args.gdf)),
           str(args.runs), f"{statistics.median(walls):.6f}", *phases, str(int(statistics.median(rss))),
           str(status)]
    with open(args.results, "a", encoding="ascii") as f:
        f.write("\t".join(row) + "\n")
    print(f"{args.case} {args.program}: median {statistics.median(walls):.3f} s over {args.runs} runs, "
          f"peak RSS {statistics.median(rss) / 1024:.1f} MiB, exit {status}")
    return 0


def cmd_agree(args):
    with open(args.results, "a", encoding="ascii") as f:
        f.write(f"agree\t{args.case}\t{args.verdict}\n")
    return 0


def read_results(path):
    runs, verdicts, cases = {}, {}, []
    with open(path, encoding="ascii") as f:
        for line in f:
            fields = line.rstrip("\n").split("\t")
            if fields[0] == "run":
                case, program = fields[1], fields[2]
                if case not in cases:
                    cases.append(case)
                runs[(case, program)] = fields[3:]
            elif fields[0] == "agree":
                verdicts[fields[1]] = fields[2]
    return cases, runs, verdicts


def seconds(text):
    return f"{float(text):.3f}" if text else "–"


def table_rows(cases, runs, verdicts):
    for case in cases:
        fw = runs.get((case, FEEDWALK))
        for program in (FEEDWALK, PEER):
            row = runs.get((case, program))
            if row is None:
                continue
            devices, gdf_bytes, n_runs, wall, parse, orient, output, rss_kib, status = row
            ratio = "–"
            if program == PEER and fw is not None and float(fw[3]) > 0:
                ratio = f"{float(wall) / float(fw[3]):.1f}"
            rss = int(rss_kib) * 1024
            wall_text = seconds(wall) if status == "0" else f"{seconds(wall)} (exit {status})"
            yield [case, f"{int(devices):,}", program, n_runs, wall_text, seconds(parse), seconds(orient),
                   seconds(output), f"{rss / 2**20:.1f}", f"{rss // int(devices):,}",
                   f"{int(gdf_bytes) // int(devices)}", ratio, verdicts.get(case, "–")]


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
    run = sub.add_parser("run")
    for opt in ("--results", "--case", "--program", "--gdf", "--edges"):
        run.add_argument(opt, required=True)
    run.add_argument("--runs", type=int, default=5)
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
    return {"run": cmd_run, "agree": cmd_agree, "table": cmd_table}[args.action](args)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
