"""Tests of the synthetic feeder generator: determinism, validity, and agreement with the GDF reader."""

import contextlib
import filecmp
import io
import re
import unittest

import benchpath

import edgefile
import gdf_to_edges as g2e
import gen_feeder


class GeneratorTest(benchpath.TempDir, unittest.TestCase):
    def generate(self, devices, breakers, seed, tag="a"):
        gdf, edges = self.path(f"{tag}.gdf"), self.path(f"{tag}.edges")
        argv = ["--devices", str(devices), "--breakers", str(breakers), "--seed", str(seed),
                "--out", gdf, "--edges", edges]
        self.assertEqual(gen_feeder.main(argv), 0)
        return gdf, edges

    def test_same_seed_same_files_other_seed_other_files(self):
        a = self.generate(3000, 3, 7, "a")
        b = self.generate(3000, 3, 7, "b")
        c = self.generate(3000, 3, 8, "c")
        self.assertTrue(filecmp.cmp(a[0], b[0], shallow=False) and filecmp.cmp(a[1], b[1], shallow=False))
        self.assertFalse(filecmp.cmp(a[0], c[0], shallow=False))

    def test_reader_accepts_the_file_and_derives_the_same_edge_list(self):
        for devices, breakers, seed in ((5, 1, 1), (60, 3, 2), (4000, 4, 3), (25000, 2, 4)):
            with self.subTest(devices=devices, breakers=breakers):
                gdf, edges = self.generate(devices, breakers, seed)
                model = g2e.read_gdf(gdf)
                self.assertEqual(model.warnings, 0)
                self.assertEqual([d.name for d in model.definitions.values() if d.instances == 0], ["Synth"])
                g2e.write_edges(model, self.path("derived.edges"))
                self.assertTrue(filecmp.cmp(edges, self.path("derived.edges"), shallow=False))
                parsed = edgefile.read(edges)
                self.assertEqual((parsed.devices(), len(parsed.sources())), (devices, breakers))
                self.assertEqual(edgefile.asymmetric_pairs(parsed), [])

    def test_feeder_holds_the_realistic_ingredients(self):
        gdf, edges_path = self.generate(20000, 4, 5)
        edges = edgefile.read(edges_path)
        with open(gdf) as f:
            text = f.read()
        tree_of = {}
        for name in edges.names:
            m = re.match(r"F(\d+)_B_", name)
            if m:
                tree_of[name] = m.group(1)
        ties = [e for e, name in enumerate(edges.names) if "_SW_TIE_" in name]
        self.assertEqual(len(ties), 4 - 1 + 1)
        for tie in ties:
            ends = {tree_of[edges.names[x]] for x in edges.others[tie]}
            self.assertEqual(len(ends), 2, "a tie joins two trees")
            self.assertEqual(edges.states[tie], "OFF")
        open_in_trees = [n for e, n in enumerate(edges.names) if "_SW_" in n and "TIE" not in n
                         and edges.states[e] == "OFF"]
        self.assertTrue(open_in_trees)
        for nested in ("ckt ServiceDrop P", "ckt SecondarySubstation MV", "ckt Cabinet IN OUT1 OUT2"):
            self.assertIn(nested, text)
        self.assertIn("SD_1.P", text)  # a circuit instance inside a circuit
        self.assertRegex(text, r"propadd Synth\.F\d+_RC_\d+ SUBTYPECD 2")
        self.assertRegex(text, r"propadd Synth\.F\d+_L_\d+ LENGTH \d+\.\d+\n")
        for line in text.splitlines():
            if line.startswith("conn "):
                self.assertLessEqual(len(line.split()) - 2, 8)

    def test_too_few_devices_are_refused(self):
        with contextlib.redirect_stderr(io.StringIO()) as err:
            status = gen_feeder.main(["--devices", "4", "--breakers", "3", "--seed", "1",
                                      "--out", self.path("x.gdf"), "--edges", self.path("x.edges")])
        self.assertEqual(status, 2)
        self.assertIn("too few", err.getvalue())


if __name__ == "__main__":
    unittest.main()
