#!/usr/bin/env python3
"""Compares two oriented-edge files: same lines, and same lines in the same order.

Usage: compare_edges.py <a> <b>

Exit status 0 when both files hold the same lines in the same order, 1 when they hold the
same lines (counting repeats) in another order, 2 when the lines differ, 3 on a read error.
"""

import sys
from collections import Counter

SAME, REORDERED, DIFFERENT, UNREADABLE = 0, 1, 2, 3
EXAMPLES = 5


def read_lines(path):
    with open(path, "rb") as f:
        return f.read().splitlines()


def first_difference(a, b):
    for i, (x, y) in enumerate(zip(a, b)):
        if x != y:
            return i
    return min(len(a), len(b))


def compare(a, b):
    """(status, report lines) for two lists of lines."""
    if a == b:
        return SAME, [f"identical: {len(a)} lines in the same order"]
    only_a, only_b = Counter(a), Counter(b)
    only_a.subtract(Counter(b))
    only_b.subtract(Counter(a))
    extra_a = sorted(line for line, n in only_a.items() if n > 0)
    extra_b = sorted(line for line, n in only_b.items() if n > 0)
    at = first_difference(a, b) + 1
    if not extra_a and not extra_b:
        return REORDERED, [f"same {len(a)} lines, different order: first difference at line {at}"]
    report = [f"different: {len(a)} and {len(b)} lines, first difference at line {at};"
              f" {sum(only_a[x] for x in extra_a)} lines only in the first,"
              f" {sum(only_b[x] for x in extra_b)} only in the second"]
    report += [f"  < {x.decode(errors='replace')}" for x in extra_a[:EXAMPLES]]
    report += [f"  > {x.decode(errors='replace')}" for x in extra_b[:EXAMPLES]]
    return DIFFERENT, report


def main(argv):
    if len(argv) != 3:
        print("usage: compare_edges.py <a> <b>", file=sys.stderr)
        return UNREADABLE
    try:
        a, b = read_lines(argv[1]), read_lines(argv[2])
    except OSError as err:
        print(f"compare_edges: {err}", file=sys.stderr)
        return UNREADABLE
    status, report = compare(a, b)
    print("\n".join(report))
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv))
