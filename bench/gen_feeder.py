#!/usr/bin/env python3
"""Seeded generator of synthetic distribution feeders as GDF files, with their peer edge lists.

Usage: gen_feeder.py --devices N --breakers K --seed S --out model.gdf --edges model.edges
                     [--circuit NAME]

The model is one prime circuit holding exactly N instances ("devices"): the source VS_source
on the supply node N_SUPPLY, which also carries the circuit's own terminal HV; K breakers
(DynamicProtectiveDevice, SUBTYPECD 1) from N_SUPPLY, each feeding its own radial tree; the
trees' lines, switches (a few normally open, with a short unfed section behind them), fuses,
reclosers (DynamicProtectiveDevice with SUBTYPECD 2, not breakers), transformers with their
loads, regulator banks, capacitors, loads, a few closed loops, and instances of three nested
circuit definitions: ServiceDrop (a service line and two loads), SecondarySubstation (fuse,
transformer, a low-voltage breaker that is no feeder breaker because it is not at the top
level, and three ServiceDrop instances) and Cabinet (a three-way switching cabinet); and
normally open tie switches between neighbouring trees (far-out buses), forming loops.

The layout follows the IEEE samples: prop lines, the sections of the element definitions in
use, the nested circuits, the prime circuit, per device an inst line and its propadd lines,
then per bus its conn lines (at most 8 terminals a line) and its DSS_NAME. The topology lives
in flat integer arrays; both files are streamed out in bounded chunks.

The edge list (format at the top of peer_networkx.py) is derived from the same arrays in the
order feedwalk sees the prime circuit: the terminal HV, the instances in inst-line order, then
the buses in conn-line order; each entity's connections newest first.
"""

import argparse
import bisect
import itertools
import os
import random
import sys
from array import array

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import edgefile  # noqa: E402

# Device kinds: (definition, name prefix, terminal names, DSS class or None).
VSOURCE, BREAKER, RECLOSER, SWITCH, TIE, FUSE, LINE, TRANSFORMER, REGULATOR, LOAD, CAPACITOR, \
    SERVICE_DROP, SUBSTATION, CABINET = range(14)
KINDS = {
    VSOURCE: ("Vsource", "VS_", ("0",), "Vsource"),
    BREAKER: ("DynamicProtectiveDevice", "BRK_", ("0", "1"), None),
    RECLOSER: ("DynamicProtectiveDevice", "RC_", ("0", "1"), "Recloser"),
    SWITCH: ("Switch", "SW_", ("0", "1"), "Line"),
    TIE: ("Switch", "SW_TIE_", ("0", "1"), "Line"),
    FUSE: ("Fuse", "FU_", ("0", "1"), "Fuse"),
    LINE: ("Line", "L_", ("0", "1"), "Line"),
    TRANSFORMER: ("Transformer", "T_", ("0", "1"), "Transformer"),
    REGULATOR: ("Regulator", "RG_", ("0", "1"), "Transformer"),
    LOAD: ("Load", "LD_", ("0",), "Load"),
    CAPACITOR: ("Capacitor", "C_", ("0",), "Capacitor"),
    SERVICE_DROP: ("ServiceDrop", "SD_", ("P",), None),
    SUBSTATION: ("SecondarySubstation", "SS_", ("MV",), None),
    CABINET: ("Cabinet", "CB_", ("IN", "OUT1", "OUT2"), None),
}

# Element definitions by section, in declaration order, with their terminal counts.
SECTIONS = (
    ("sources", (("Vsource", 1),)),
    ("protection", (("DynamicProtectiveDevice", 2), ("Fuse", 2), ("Switch", 2))),
    ("branches", (("Line", 2), ("Transformer", 2), ("Regulator", 2))),
    ("shunts", (("Load", 1), ("Capacitor", 1))),
)

# Nested circuits: (name, terminals, definitions used inside, body lines with {c} for the name).
NESTED = (
    ("ServiceDrop", ("P",), ("Line", "Load"), (
        "inst {c}.L_svc Line",
        'propadd {c}.L_svc DSS_CLASS "Line"',
        "propadd {c}.L_svc LENGTH 0.025",
        'propadd {c}.L_svc LENGTH_UNIT "km"',
        "inst {c}.LD_1 Load",
        'propadd {c}.LD_1 DSS_CLASS "Load"',
        "inst {c}.LD_2 Load",
        'propadd {c}.LD_2 DSS_CLASS "Load"',
        "conn {c}.N_P P L_svc.0",
        "conn {c}.N_M L_svc.1 LD_1.0 LD_2.0",
    )),
    ("SecondarySubstation", ("MV",), ("Fuse", "Transformer", "DynamicProtectiveDevice", "ServiceDrop"), (
        "inst {c}.FU_MV Fuse",
        "propadd {c}.FU_MV NORMALPOSITION_A 1",
        "inst {c}.T_1 Transformer",
        'propadd {c}.T_1 DSS_CLASS "Transformer"',
        "inst {c}.BRK_LV DynamicProtectiveDevice",
        "propadd {c}.BRK_LV SUBTYPECD 1",
        "propadd {c}.BRK_LV NORMALPOSITION_A 1",
        "inst {c}.SD_1 ServiceDrop",
        "inst {c}.SD_2 ServiceDrop",
        "inst {c}.SD_3 ServiceDrop",
        "conn {c}.N_MV MV FU_MV.0",
        "conn {c}.N_HV FU_MV.1 T_1.0",
        "conn {c}.N_LV T_1.1 BRK_LV.0",
        "conn {c}.N_BB BRK_LV.1 SD_1.P SD_2.P SD_3.P",
    )),
    ("Cabinet", ("IN", "OUT1", "OUT2"), ("Switch", "Fuse"), (
        "inst {c}.SW_IN Switch",
        "propadd {c}.SW_IN NORMALPOSITION_A 1",
        "inst {c}.SW_1 Switch",
        "propadd {c}.SW_1 NORMALPOSITION_A 1",
        "inst {c}.FU_2 Fuse",
        "propadd {c}.FU_2 NORMALPOSITION_A 1",
        "conn {c}.N_IN IN SW_IN.0",
        "conn {c}.N_BB SW_IN.1 SW_1.0 FU_2.0",
        "conn {c}.N_OUT1 SW_1.1 OUT1",
        "conn {c}.N_OUT2 FU_2.1 OUT2",
    )),
)

# What a tree grows by, with relative weights; groups may hold several devices.
GROWTH = (
    ("line", 40.0), ("load", 18.0), ("transformer", 10.0), ("service_drop", 7.0), ("switch", 5.0),
    ("fuse", 4.0), ("substation", 4.0), ("cabinet", 2.0), ("capacitor", 1.0), ("recloser", 0.5),
    ("regulator", 0.5), ("loop", 0.5),
)
GROWTH_CUMULATIVE = list(itertools.accumulate(w for _, w in GROWTH))
BRANCH_KINDS = {"line": LINE, "fuse": FUSE, "recloser": RECLOSER, "switch": SWITCH}
LEAF_KINDS = {"service_drop": SERVICE_DROP, "substation": SUBSTATION, "capacitor": CAPACITOR}
CONTINUE_AT_TIP = 0.7  # chance that a branch extends the newest bus rather than a random one
OPEN_SWITCH_SHARE = 0.05
DEVICES_PER_EXTRA_TIE = 20000
CONN_TERMS_PER_LINE = 8
CONN_LINE_WIDTH = 150
CHUNK_LINES = 65536

SUPPLY_TERMINAL = "HV"
CIRCUIT_TERMINAL = -1  # attachment "entity" standing for the circuit's own terminal HV


class Topology:
    """The prime circuit as flat arrays: instances, buses and terminal attachments."""

    def __init__(self, n_trees):
        self.kind = array("b")
        self.tree = array("i")
        self.position = array("b")  # NORMALPOSITION_A: -1 none, else the value
        self.node_tree = array("i")
        self.att_node = array("i")
        self.att_inst = array("i")  # instance index, or CIRCUIT_TERMINAL
        self.att_term = array("b")
        self.width = len(str(n_trees))

    def add_instance(self, kind, tree, position=-1):
        self.kind.append(kind)
        self.tree.append(tree)
        self.position.append(position)
        return len(self.kind) - 1

    def add_node(self, tree):
        self.node_tree.append(tree)
        return len(self.node_tree) - 1

    def attach(self, inst, term, node):
        self.att_node.append(node)
        self.att_inst.append(inst)
        self.att_term.append(term)

    def two_terminal(self, kind, tree, a, b, position=-1):
        i = self.add_instance(kind, tree, position)
        self.attach(i, 0, a)
        self.attach(i, 1, b)
        return i

    def leaf(self, kind, tree, node):
        self.attach(self.add_instance(kind, tree), 0, node)

    def instance_name(self, i):
        kind = self.kind[i]
        if kind == VSOURCE:
            return "VS_source"
        if kind == BREAKER:
            return f"BRK_F{self.tree[i]:0{self.width}d}"
        return f"F{self.tree[i]:0{self.width}d}_{KINDS[kind][1]}{i}"

    def node_name(self, j):
        if j == 0:
            return "N_SUPPLY"
        return f"F{self.node_tree[j]:0{self.width}d}_B_{j}"

    def nodes_in_use_order(self):
        """Attachment indices grouped by bus (buses in index order), each group in creation order."""
        n_nodes = len(self.node_tree)
        start = array("i", bytes(4 * (n_nodes + 1)))
        for node in self.att_node:
            start[node + 1] += 1
        for j in range(n_nodes):
            start[j + 1] += start[j]
        fill = array("i", start[:n_nodes])
        grouped = array("i", bytes(4 * len(self.att_node)))
        for a, node in enumerate(self.att_node):
            grouped[fill[node]] = a
            fill[node] += 1
        return start, grouped


class Grower:
    """Grows the breakers' trees and the ties between them with one seeded random stream."""

    def __init__(self, topo, rng):
        self.topo = topo
        self.rng = rng
        self.live = []  # per tree: buses that may grow further (fed, medium voltage)

    def pick_growth(self):
        r = self.rng.random() * GROWTH_CUMULATIVE[-1]
        return GROWTH[bisect.bisect_right(GROWTH_CUMULATIVE, r)][0]

    def grow_tree(self, tree, breaker, budget):
        topo, rng = self.topo, self.rng
        head = topo.add_node(tree)
        topo.attach(breaker, 1, head)
        live = [head]
        self.live.append(live)
        tip = head
        while budget > 0:
            growth = self.pick_growth()
            branch_from = tip if rng.random() < CONTINUE_AT_TIP else live[rng.randrange(len(live))]
            used, new_tip = self.grow_once(growth, tree, live, tip, branch_from, budget)
            budget -= used
            if new_tip is not None:
                tip = new_tip

    def grow_once(self, growth, tree, live, tip, at, budget):
        """Adds one group at bus `at`; returns (devices used, new tip or None)."""
        topo, rng = self.topo, self.rng
        if growth in BRANCH_KINDS and (growth != "switch" or rng.random() >= OPEN_SWITCH_SHARE):
            return 1, self.extend(BRANCH_KINDS[growth], tree, live, at)
        if growth == "switch" and budget >= 3:
            self.unfed_section(tree, at)
            return 3, None
        if growth == "transformer" and budget >= 2:
            return self.service_transformer(tree, at, min(budget - 1, 1 + rng.randrange(3))), None
        if growth == "regulator" and budget >= 3:
            return self.regulator_bank(tree, live, at), None
        if growth == "cabinet":
            return self.cabinet(tree, live, at), None
        if growth == "loop" and len(live) > 1:
            other = live[rng.randrange(len(live))]
            if other != tip:
                topo.two_terminal(LINE, tree, tip, other)
                return 1, None
        topo.leaf(LEAF_KINDS.get(growth, LOAD), tree, at)
        return 1, None

    def extend(self, kind, tree, live, at):
        position = 1 if kind in (SWITCH, FUSE, RECLOSER) else -1
        new = self.topo.add_node(tree)
        self.topo.two_terminal(kind, tree, at, new, position)
        live.append(new)
        return new

    def unfed_section(self, tree, at):
        """A normally open switch with a short line and a load behind it."""
        topo = self.topo
        beyond = topo.add_node(tree)
        topo.two_terminal(SWITCH, tree, at, beyond, 0)
        end = topo.add_node(tree)
        topo.two_terminal(LINE, tree, beyond, end)
        topo.leaf(LOAD, tree, end)

    def service_transformer(self, tree, at, n_loads):
        secondary = self.topo.add_node(tree)
        self.topo.two_terminal(TRANSFORMER, tree, at, secondary)
        for _ in range(n_loads):
            self.topo.leaf(LOAD, tree, secondary)
        return 1 + n_loads

    def regulator_bank(self, tree, live, at):
        """Three single-phase regulators in parallel between the same two buses."""
        out = self.topo.add_node(tree)
        for _ in range(3):
            self.topo.two_terminal(REGULATOR, tree, at, out)
        live.append(out)
        return 3

    def cabinet(self, tree, live, at):
        topo = self.topo
        i = topo.add_instance(CABINET, tree)
        topo.attach(i, 0, at)
        for term in (1, 2):
            out = topo.add_node(tree)
            topo.attach(i, term, out)
            live.append(out)
        return 1

    def far_bus(self, tree, avoid=None):
        live = self.live[tree - 1]
        half = len(live) // 2
        bus = live[half + self.rng.randrange(len(live) - half)]
        if bus == avoid and len(live) > 1:
            bus = live[(live.index(bus) + 1) % len(live)]
        return bus

    def ties(self, n_ties, n_trees):
        """Normally open switches between far-out buses of neighbouring trees."""
        for t in range(n_ties):
            a = t + 1 if t < n_trees - 1 else 1 + self.rng.randrange(n_trees)
            b = a % n_trees + 1
            bus_a = self.far_bus(a)
            self.topo.two_terminal(TIE, a, bus_a, self.far_bus(b, avoid=bus_a), 0)


def tie_count(devices, breakers):
    return max(breakers - 1, 0) + devices // DEVICES_PER_EXTRA_TIE


def tree_budgets(rng, total, n_trees):
    weights = [0.5 + rng.random() for _ in range(n_trees)]
    scale = total / sum(weights)
    budgets = [int(w * scale) for w in weights]
    for k in range(total - sum(budgets)):
        budgets[k % n_trees] += 1
    return budgets


def generate(devices, breakers, seed):
    """The topology of a feeder with exactly `devices` instances."""
    if breakers < 1:
        raise ValueError("a feeder needs at least one breaker")
    n_ties = tie_count(devices, breakers)
    tree_devices = devices - 1 - breakers - n_ties
    if tree_devices < 0:
        raise ValueError(f"{devices} devices are too few for {breakers} breakers "
                         f"(need at least {1 + breakers + n_ties})")
    rng = random.Random(seed)
    topo = Topology(breakers)
    supply = topo.add_node(0)
    topo.attach(CIRCUIT_TERMINAL, 0, supply)
    topo.leaf(VSOURCE, 0, supply)
    first_breaker = len(topo.kind)
    for k in range(1, breakers + 1):
        topo.attach(topo.add_instance(BREAKER, k, 1), 0, supply)
    grower = Grower(topo, rng)
    for k, budget in enumerate(tree_budgets(rng, tree_devices, breakers), 1):
        grower.grow_tree(k, first_breaker + k - 1, budget)
    grower.ties(n_ties, breakers)
    return topo


# Writing ---------------------------------------------------------------------------------------

class ChunkedWriter:
    """Collects lines and writes them in bounded chunks."""

    def __init__(self, f):
        self.f = f
        self.lines = []

    def add(self, line):
        self.lines.append(line)
        if len(self.lines) >= CHUNK_LINES:
            self.flush()

    def flush(self):
        self.f.write("".join(self.lines))
        self.lines.clear()


def used_definitions(topo):
    used = {KINDS[k][0] for k in set(topo.kind)}
    for name, _, inner, _ in reversed(NESTED):  # SecondarySubstation pulls in ServiceDrop
        if name in used:
            used.update(inner)
    return used


def header_lines(topo, circuit, args_text):
    yield f"% Synthetic distribution feeder {circuit}: {len(topo.kind)} devices, made by\n"
    yield f"% gen_feeder.py {args_text}.\n"
    yield "% Breakers BRK_Fk (DynamicProtectiveDevice, SUBTYPECD 1) hang on N_SUPPLY and feed\n"
    yield "% trees Fk; SW_TIE switches (NORMALPOSITION_A 0) join neighbouring trees.\n\n"
    for prop, typ in (("SUBTYPECD", "int32"), ("NORMALPOSITION_A", "int32"), ("DSS_CLASS", "string"),
                      ("DSS_NAME", "string"), ("LENGTH", "float64"), ("LENGTH_UNIT", "string")):
        yield f"prop {prop} {typ}\n"
    used = used_definitions(topo)
    for section, elems in SECTIONS:
        in_use = [(name, n) for name, n in elems if name in used]
        if in_use:
            yield f"section {section} {{\n"
            yield from (f"  elem {name} {n}\n" for name, n in in_use)
            yield "}\n"
    for name, terminals, _, body in NESTED:
        if name in used:
            yield f"\nckt {name} {' '.join(terminals)}\n"
            yield from (line.format(c=name) + "\n" for line in body)
    yield f"\nckt {circuit} {SUPPLY_TERMINAL}\n\n"


def instance_lines(topo, i, circuit, rng):
    kind = topo.kind[i]
    definition, _, _, dss_class = KINDS[kind]
    name = topo.instance_name(i)
    at = f"propadd {circuit}.{name}"
    yield f"inst {circuit}.{name} {definition}\n"
    if kind in (BREAKER, RECLOSER):
        yield f"{at} SUBTYPECD {1 if kind == BREAKER else 2}\n"
    if topo.position[i] >= 0:
        yield f"{at} NORMALPOSITION_A {topo.position[i]}\n"
    if dss_class is not None:
        yield f'{at} DSS_CLASS "{dss_class}"\n'
    yield f'{at} DSS_NAME "{dss_class or definition}.{name.lower()}"\n'
    if kind == LINE:
        yield f"{at} LENGTH {max(rng.lognormvariate(-3.0, 1.0), 1e-6):.6f}\n"
        yield f'{at} LENGTH_UNIT "km"\n'


def terminal_text(topo, inst, term):
    if inst == CIRCUIT_TERMINAL:
        return SUPPLY_TERMINAL
    return f"{topo.instance_name(inst)}.{KINDS[topo.kind[inst]][2][term]}"


def conn_lines(circuit, node_name, terms):
    """conn lines for one bus: at most 8 terminals and about 150 characters a line."""
    head = f"conn {circuit}.{node_name}"
    line, count = head, 0
    for term in terms:
        if count == CONN_TERMS_PER_LINE or (count and len(line) + 1 + len(term) > CONN_LINE_WIDTH):
            yield line + "\n"
            line, count = head, 0
        line += " " + term
        count += 1
    if count:
        yield line + "\n"


def write_gdf(topo, path, circuit, seed, args_text):
    rng = random.Random(seed + 1)  # values only; the topology is already fixed
    start, grouped = topo.nodes_in_use_order()
    with open(path, "w", encoding="ascii") as f:
        out = ChunkedWriter(f)
        for line in header_lines(topo, circuit, args_text):
            out.add(line)
        for i in range(len(topo.kind)):
            for line in instance_lines(topo, i, circuit, rng):
                out.add(line)
        out.add("\n")
        for j in range(len(topo.node_tree)):
            terms = (terminal_text(topo, topo.att_inst[a], topo.att_term[a]) for a in grouped[start[j]:start[j + 1]])
            name = topo.node_name(j)
            for line in conn_lines(circuit, name, terms):
                out.add(line)
            if j:
                out.add(f'propadd {circuit}.{name} DSS_NAME "{name.lower()}"\n')
        out.flush()


def instance_state(topo, i):
    position = topo.position[i]
    return "UNSET" if position < 0 else ("ON" if position == 1 else "OFF")


def entity_of(inst):
    return 0 if inst == CIRCUIT_TERMINAL else 1 + inst


def write_edges(topo, path, circuit):
    """Entity numbers: 0 the terminal HV, 1 + i instance i, 1 + instances + j bus j."""
    n_inst = len(topo.kind)
    first_node = 1 + n_inst
    start, grouped = topo.nodes_in_use_order()
    # Connections are made bus by bus in conn-line order; an end's list is newest first.
    ends_of_inst = [array("i", [-1]) * (1 + n_inst) for _ in range(3)]
    n_ends = array("b", bytes(1 + n_inst))
    for j in range(len(topo.node_tree)):
        for a in grouped[start[j]:start[j + 1]]:
            e = entity_of(topo.att_inst[a])
            ends_of_inst[n_ends[e]][e] = first_node + j
            n_ends[e] += 1
    with open(path, "w", encoding="ascii") as f:
        out = ChunkedWriter(f)
        out.add(edgefile.header_line(circuit, first_node + len(topo.node_tree), len(topo.att_node)))
        for e in range(first_node):
            others = [ends_of_inst[k][e] for k in range(n_ends[e] - 1, -1, -1)]
            if e == 0:
                out.add(edgefile.entity_line("T", "UNSET", SUPPLY_TERMINAL, others))
            else:
                kind = "B" if topo.kind[e - 1] == BREAKER else "I"
                out.add(edgefile.entity_line(kind, instance_state(topo, e - 1), topo.instance_name(e - 1), others))
        for j in range(len(topo.node_tree)):
            others = [entity_of(topo.att_inst[a]) for a in reversed(grouped[start[j]:start[j + 1]])]
            out.add(edgefile.entity_line("N", "UNSET", topo.node_name(j), others))
        out.flush()


def parse_args(argv):
    p = argparse.ArgumentParser(description="Generate a synthetic feeder as GDF and as a peer edge list.")
    p.add_argument("--devices", type=int, required=True, help="instances in the prime circuit")
    p.add_argument("--breakers", type=int, required=True, help="feeder breakers, one tree each")
    p.add_argument("--seed", type=int, required=True)
    p.add_argument("--out", required=True, help="GDF file to write")
    p.add_argument("--edges", required=True, help="edge-list file to write")
    p.add_argument("--circuit", default="Synth", help="name of the prime circuit (default Synth)")
    return p.parse_args(argv)


def main(argv):
    args = parse_args(argv)
    try:
        topo = generate(args.devices, args.breakers, args.seed)
    except ValueError as err:
        print(f"gen_feeder: {err}", file=sys.stderr)
        return 2
    args_text = f"--devices {args.devices} --breakers {args.breakers} --seed {args.seed}"
    write_gdf(topo, args.out, args.circuit, args.seed, args_text)
    write_edges(topo, args.edges, args.circuit)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
