"""Tests of the GDF subset reader: values, breakers and refusals.

Entity and incidence order show in the peer's agreement with feedwalk (peer_networkx_test)."""

import contextlib
import io
import unittest

import benchpath  # noqa: F401 (puts bench/ on the path)

import edgefile
import gdf_to_edges as g2e

PROPS = "prop SUBTYPECD int32\nprop NORMALPOSITION_A int32\nprop LENGTH float64\n"


def preamble(*elements):
    """Property declarations and one section declaring the given two-terminal elements (each must be used)."""
    lines = [f"  elem {name} 2\n" for name in elements]
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


if __name__ == "__main__":
    unittest.main()
