"""Tests of the networkx peer: numbering, silencing, chains, the command line and agreement with feedwalk."""

import contextlib
import io
import os
import subprocess
import unittest
from unittest import mock

import benchpath

import compare_edges
import edgefile
import gdf_to_edges
import gen_feeder
import peer_networkx as peer

# S is a breaker on node N; lines A and B hang on N, A before B in N's list.
#
#   S --- N --- A
#         |
#         B
WORKED = """fwedges 1 F 4 3
B UNSET S 3
I UNSET A 3
I UNSET B 3
N UNSET N 1 2 0
"""

# Two breakers S1, S2 on N1, N2; lines L1 (N1-N3) and L2 (N2-N3) close a loop at N3; L3 hangs on N3.
#
#   S1 -- N1 -- L1 --+
#                    N3 -- L3
#   S2 -- N2 -- L2 --+
TWO_SOURCES = """fwedges 1 F 8 7
B UNSET S1 5
B UNSET S2 6
I UNSET L1 7 5
I UNSET L2 7 6
I UNSET L3 7
N UNSET N1 2 0
N UNSET N2 3 1
N UNSET N3 4 3 2
"""


@unittest.skipUnless(benchpath.HAVE_NETWORKX, "networkx is not installed")
class OrientationTest(benchpath.TempDir, unittest.TestCase):
    def edges(self, text):
        return edgefile.read(self.write("m.edges", text))

    def numbers(self, edges):
        return peer.finishing_numbers(peer.build_graph(edges), edges.sources())

    def lines(self, text):
        edges = self.edges(text)
        return [f"{edges.names[a]} {edges.names[b]}" for a, b in peer.orient(edges)]

    def test_worked_example_numbers_and_chain(self):
        edges = self.edges(WORKED)
        self.assertEqual(self.numbers(edges), [0, 2, 3, 1])
        self.assertEqual(self.lines(WORKED), ["S A", "A B"])

    def test_off_switch_on_node_silences_it_and_is_not_numbered(self):
        text = WORKED.replace("4 3", "5 4").replace("N UNSET N 1 2 0", "N UNSET N 1 2 4 0") + "I OFF C 3\n"
        self.assertEqual(self.numbers(self.edges(text))[4], peer.UNREACHED)
        self.assertEqual(self.lines(text), [])

    def test_off_source_is_still_searched(self):
        self.assertEqual(self.lines(WORKED.replace("B UNSET S", "B OFF S")), ["S A", "A B"])

    def test_chain_follows_finishing_numbers_not_list_order(self):
        # N's neighbours finished as 12, 4 and 9: the chain is 4 -> 9 -> 12.
        edges = self.edges("fwedges 1 F 4 3\nI UNSET X 3\nI UNSET Y 3\nI UNSET Z 3\nN UNSET N 0 1 2\n")
        pairs = list(peer.node_chains(edges, [12, 4, 9, 0]))
        self.assertEqual(pairs, [(1, 2), (2, 0)])

    def test_repeated_neighbour_counts_once(self):
        # A line with both terminals on N, beside the breaker: one entry per entity.
        text = "fwedges 1 F 3 3\nB UNSET S 2\nI UNSET L 2 2\nN UNSET N 1 1 0\n"
        self.assertEqual(self.lines(text), ["S L"])

    def test_main_writes_prefixed_lines_and_profile(self):
        out = self.path("out.txt")
        err = io.StringIO()
        with mock.patch.dict(os.environ, {"FEEDWALK_PROFILE": "1"}), contextlib.redirect_stderr(err):
            status = peer.main(["peer", self.write("m.edges", WORKED), out])
        self.assertEqual(status, 0)
        with open(out) as f:
            self.assertEqual(f.read(), "F.S F.A\nF.A F.B\n")
        phases = [line.split()[1] for line in err.getvalue().splitlines() if line.startswith("PROFILE ")]
        self.assertEqual(phases, ["parse", "orientation", "output"])

    def test_main_refuses_bad_input(self):
        with contextlib.redirect_stderr(io.StringIO()):
            self.assertEqual(peer.main(["peer", self.write("bad.edges", "fwedges 1 F 2 0\nN UNSET A\n"), "x"]), 8)
            self.assertEqual(peer.main(["peer"]), 8)


@unittest.skipUnless(benchpath.HAVE_NETWORKX and benchpath.FEEDWALK, "networkx or the feedwalk program is missing")
class AgreementTest(benchpath.TempDir, unittest.TestCase):
    """The peer writes feedwalk's lines in feedwalk's order, on bundled feeders and on generated ones."""

    def assert_agree(self, gdf):
        ours, theirs, edges = self.path("feedwalk.out"), self.path("peer.out"), self.path("m.edges")
        run = subprocess.run([benchpath.FEEDWALK, gdf, ours], capture_output=True, text=True)
        self.assertEqual(run.returncode, 0, run.stderr)
        with contextlib.redirect_stderr(io.StringIO()):
            self.assertEqual(gdf_to_edges.main(["g2e", gdf, edges]), 0)
            self.assertEqual(peer.main(["peer", edges, theirs]), 0)
        status, report = compare_edges.compare(compare_edges.read_lines(ours), compare_edges.read_lines(theirs))
        self.assertEqual(status, compare_edges.SAME, "\n".join(report))
        return compare_edges.read_lines(ours)

    def test_bundled_feeders(self):
        for path in (os.path.join(benchpath.ROOT, "tests", "driver", "data", "ieee13.gdf"),
                     os.path.join(benchpath.ROOT, "examples", "ieee123.gdf"),
                     os.path.join(benchpath.ROOT, "examples", "small_feeder.gdf")):
            with self.subTest(path):
                self.assertTrue(self.assert_agree(path))

    # Several breakers, open ties closing loops between their trees, nested circuits.
    def test_generated_feeders(self):
        for devices, breakers, seed in ((400, 1, 1), (3000, 4, 2)):
            with self.subTest(devices=devices, breakers=breakers):
                gdf = self.path("gen.gdf")
                argv = ["--devices", str(devices), "--breakers", str(breakers), "--seed", str(seed),
                        "--out", gdf, "--edges", self.path("gen.edges")]
                self.assertEqual(gen_feeder.main(argv), 0)
                self.assertTrue(self.assert_agree(gdf))


if __name__ == "__main__":
    unittest.main()
