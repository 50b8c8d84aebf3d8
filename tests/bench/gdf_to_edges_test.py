"""Tests of the GDF subset reader and its edge lists: entity order, incidence order, values, refusals."""

import contextlib
import io
import unittest

import benchpath  # noqa: F401 (puts bench/ on the path)

import edgefile
import gdf_to_edges as g2e

PROPS = "prop SUBTYPECD int32\nprop NORMALPOSITION_A int32\nprop LENGTH float64\n"
TERMINALS = {"DynamicProtectiveDevice": 2, "Switch": 2, "Line": 2}


def preamble(*elements):
    """Property declarations and one section declaring the given elements (each must be used)."""
    lines = [f"  elem {name} {TERMINALS.get(name, 2)}\n" for name in elements]
    return PROPS + "section s {\n" + "".join(lines) + "}\n"


class ReaderTest(benchpath.TempDir, unittest.TestCase):
    def convert(self, body, *elements):
        model = g2e.read_gdf(self.write("m.gdf", preamble(*elements) + body))
        g2e.write_edges(model, self.path("m.edges"))
        return model, edgefile.read(self.path("m.edges"))

    def refuses(self, body, line, words):
        head = preamble("Line", "Switch")
        with self.assertRaises(g2e.GdfError) as caught:
            g2e.read_gdf(self.write("bad.gdf", head + body))
        self.assertIn(f"line {head.count(chr(10)) + line}:", str(caught.exception))
        self.assertIn(words, str(caught.exception))

    def test_terminals_first_newest_first_then_order_of_addition(self):
        _, edges = self.convert("ckt F T1 T2\n"
                                "inst F.b DynamicProtectiveDevice\n"
                                "conn F.J1 T1 b.0\n"
                                "inst F.l Line\n"
                                "conn F.J2 b.1 l.0 T2\n", "DynamicProtectiveDevice", "Line")
        self.assertEqual(edges.names, ["T2", "T1", "b", "J1", "l", "J2"])
        self.assertEqual(edges.kinds, ["T", "T", "I", "N", "I", "N"])

    def test_connections_newest_first_at_both_ends(self):
        _, edges = self.convert("ckt F\n"
                                "inst F.a Line\n"
                                "inst F.b Line\n"
                                "conn F.N a.0 b.1\n"
                                "conn F.M a.1\n"
                                "conn F.N b.0\n", "Line")
        # a=0 b=1 N=2 M=3; connections: a.0-N, b.1-N, a.1-M, b.0-N
        self.assertEqual(edges.others, [[3, 2], [2, 2], [1, 1, 0], [0]])
        self.assertEqual(edges.n_connections, 4)

    def test_breakers_states_and_value_coercion(self):
        model, edges = self.convert("ckt F\n"
                                    "inst F.b1 DynamicProtectiveDevice\n"
                                    "propadd F.b1 SUBTYPECD 1\n"
                                    "inst F.b2 DynamicProtectiveDeviceHV\n"
                                    "propadd F.b2 SUBTYPECD \" 1 \"\n"
                                    "inst F.b3 XDynamicProtectiveDevice\n"
                                    "propadd F.b3 SUBTYPECD 1\n"
                                    "inst F.r DynamicProtectiveDevice\n"
                                    "propadd F.r SUBTYPECD 2\n"
                                    "propadd F.r NORMALPOSITION_A 0.6\n"
                                    "inst F.s1 Switch\n"
                                    "propadd F.s1 NORMALPOSITION_A --\n"
                                    "inst F.s2 Switch\n"
                                    "propadd F.s2 NORMALPOSITION_A 2\n"
                                    "inst F.s3 Switch\n"
                                    "propadd F.s3 NORMALPOSITION_A \"x\"\n",
                                    "DynamicProtectiveDevice", "DynamicProtectiveDeviceHV", "XDynamicProtectiveDevice",
                                    "Switch")
        self.assertEqual(edges.kinds, ["B", "B", "I", "I", "I", "I", "I"])
        self.assertEqual(edges.states, ["UNSET", "UNSET", "UNSET", "ON", "OFF", "OFF", "OFF"])
        self.assertEqual(model.warnings, 2)  # 0.6 rounded, "x" not a number

    def test_terminal_forms_resolve_through_nested_circuits(self):
        _, edges = self.convert("ckt Sub IN OUT\n"
                                "inst Sub.sw Switch\n"
                                "conn Sub.A IN sw.0\n"
                                "conn Sub.B sw.1 OUT\n"
                                "ckt F\n"
                                "inst F.s Sub\n"
                                "inst F.l Line\n"
                                "conn F.N s.IN l.1\n"
                                "conn F.M s.sw\n", "Switch", "Line")
        self.assertEqual(edges.circuit, "F")
        self.assertEqual(edges.names, ["s", "l", "N", "M"])
        self.assertEqual(edges.others[0], [3, 2])

    def test_refusals_name_the_line(self):
        cases = [
            ("ckt F\ninst F.a Nothing\n", 2, "definition Nothing unknown"),
            ("ckt F\ninst F.a Line\ninst F.a Line\n", 3, "exists"),
            ("ckt F\ninst F.a Line\nconn F.N a.2\n", 3, "Line has no entity 2"),
            ("ckt F\ninst F.a Line\nconn F.N b.0\n", 3, "F has no entity b"),
            ("ckt F\ninst F.a Switch\npropadd F.a NORMALPOSITION_A 1\npropadd F.a NORMALPOSITION_A 0\n", 4,
             "already exists"),
            ("ckt F\ninst F.a Line\npropadd F.a COLOUR 1\n", 3, "COLOUR is not defined"),
            ("ckt F\nroot F\n", 2, "outside the supported subset"),
            ("ckt F\ninst F.a Line\nconn F.N a.0 ;\n", 3, "unexpected character"),
            ("ckt Line\n", 1, "definition Line exists"),
            ("ckt F\ninst F.F F\n", 2, "instance of itself"),
        ]
        for body, line, words in cases:
            with self.subTest(body=body):
                self.refuses(body, line, words)

    def test_several_uninstantiated_definitions_take_the_first_declared(self):
        err = io.StringIO()
        with contextlib.redirect_stderr(err):
            model = g2e.read_gdf(self.write("m.gdf", preamble("Spare") + "ckt F\n"))
            self.assertEqual(model.prime().name, "Spare")
        self.assertIn("several definitions", err.getvalue())


# Entities, connections, instances, breakers, NORMALPOSITION_A carriers and OFF ones, per the feeders' README.
README_COUNTS = {
    "ieee13.gdf": (53, 54, 36, 1, 2, 0),
    "ieee34.gdf": (150, 153, 112, 1, 1, 0),
    "ieee37.gdf": (112, 113, 72, 1, 1, 0),
    "ieee123.gdf": (362, 366, 231, 1, 9, 2),
    "ieee8500.gdf": (11020, 12215, 6113, 1, 74, 5),
}


class SampleFeederTest(benchpath.TempDir, unittest.TestCase):
    def test_counts_match_the_readme(self):
        for name, expected in README_COUNTS.items():
            path = benchpath.sample(name)
            if path is None:
                continue
            with self.subTest(name):
                out = self.path("s.edges")
                with contextlib.redirect_stderr(io.StringIO()):
                    self.assertEqual(g2e.main(["g2e", path, out]), 0)
                edges = edgefile.read(out)
                counts = (len(edges), edges.n_connections, edges.devices(), len(edges.sources()),
                          sum(s != "UNSET" for s in edges.states), edges.states.count("OFF"))
                self.assertEqual(counts, expected)
                self.assertEqual(edgefile.asymmetric_pairs(edges), [])


if __name__ == "__main__":
    unittest.main()
