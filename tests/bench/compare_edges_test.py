"""Tests of the edge-file comparison and of the benchmark table's derived columns."""

import unittest

import benchpath

import compare_edges
import measure


class CompareTest(unittest.TestCase):
    def test_verdicts(self):
        a = [b"F.S F.A", b"F.A F.B"]
        self.assertEqual(compare_edges.compare(a, list(a))[0], compare_edges.SAME)
        status, report = compare_edges.compare(a, a[::-1])
        self.assertEqual(status, compare_edges.REORDERED)
        self.assertIn("first difference at line 1", report[0])
        status, report = compare_edges.compare(a, a + [b"F.A F.B"])
        self.assertEqual(status, compare_edges.DIFFERENT, "a repeated line counts")
        self.assertIn("1 only in the second", report[0])
        self.assertEqual(report[1:], ["  > F.A F.B"])


class TableTest(benchpath.TempDir, unittest.TestCase):
    def test_phases_sum_and_ratio_is_peer_over_feedwalk(self):
        self.assertEqual(measure.profile_phases(["PROFILE parse 1.5\n", "noise\n", "PROFILE parse 0.5\n",
                                                 "PROFILE output x\n"]), {"parse": 2.0})
        results = self.write("r.tsv",
                             "case\tc\t1000\t200000\n"
                             "run\tc\tfeedwalk\t0.5\t0.3\t0.1\t0.1\t2048\t0\n"
                             "run\tc\tpeer\t10.0\t\t\t\t4096\t0\n"
                             "agree\tc\tidentical\n")
        rows = list(measure.table_rows(*measure.read_results(results)))
        self.assertEqual([r[2] for r in rows], ["feedwalk", "peer"])
        self.assertEqual(rows[1][-2:], ["20.0", "identical"])
        self.assertEqual(rows[0][8:11], ["2.0", "2,097", "200"])
        self.assertEqual(rows[1][5], "–")

    def test_rounds_of_interleaved_runs_give_medians_per_case_and_program(self):
        def run(case, program, wall, parse, rss, status=0):
            return f"run\t{case}\t{program}\t{wall}\t{parse}\t\t\t{rss}\t{status}\n"

        results = self.write("r.tsv",
                             "case\tbig\t1000\t200000\ncase\tsmall\t1000\t200000\n" +
                             run("big", "feedwalk", 3.0, 2.0, 100) + run("big", "peer", 12.0, "", 900) +
                             run("small", "feedwalk", 0.1, 0.05, 10) +
                             run("big", "feedwalk", 2.0, 1.5, 120) + run("big", "peer", 14.0, "", 900) +
                             run("small", "feedwalk", 0.3, 0.25, 30, status=-9) +
                             run("big", "feedwalk", 2.5, 1.8, 110) + run("big", "peer", 13.0, "", 800) +
                             run("small", "feedwalk", 0.2, 0.15, 20))
        rows = list(measure.table_rows(*measure.read_results(results)))
        self.assertEqual([(r[0], r[2], r[3]) for r in rows],
                         [("big", "feedwalk", "3"), ("big", "peer", "3"), ("small", "feedwalk", "3")])
        self.assertEqual(rows[0][4:6], ["2.500", "1.800"])
        self.assertEqual(rows[0][8], "0.1", "median of 100, 120 and 110 KiB")
        self.assertEqual(rows[1][4], "13.000")
        self.assertEqual(rows[1][-2], "5.2", "median over median, not a median of ratios")
        self.assertEqual(rows[2][4], "0.200 (exit -9)", "one failed run marks the row")


if __name__ == "__main__":
    unittest.main()
