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
                             "run\tc\tfeedwalk\t1000\t200000\t3\t0.5\t0.3\t0.1\t0.1\t2048\t0\n"
                             "run\tc\tpeer\t1000\t200000\t3\t10.0\t\t\t\t4096\t0\n"
                             "agree\tc\tidentical\n")
        rows = list(measure.table_rows(*measure.read_results(results)))
        self.assertEqual([r[2] for r in rows], ["feedwalk", "peer"])
        self.assertEqual(rows[1][-2:], ["20.0", "identical"])
        self.assertEqual(rows[0][8:11], ["2.0", "2,097", "200"])
        self.assertEqual(rows[1][5], "–")


if __name__ == "__main__":
    unittest.main()
