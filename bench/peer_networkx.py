#!/usr/bin/env python3
"""Reference peer of feedwalk built on networkx: orients an edge-list file away from its breakers.

Usage: peer_networkx.py <model.edges> <oriented_edge_file>

It writes the same lines as `feedwalk <model.gdf> <oriented_edge_file>` for the GDF file the
edge list was made from (by gen_feeder.py or gdf_to_edges.py), so that the two can be compared
line by line and timed against each other. With FEEDWALK_PROFILE=1 in the environment it prints
"PROFILE <phase> <seconds>" on stderr for the phases parse (reading the edge list and building
the graph), orientation and output.

Edge-list format
----------------
ASCII text, LF line ends, one record per line:

    # comment lines, allowed only before the header
    fwedges 1 <circuit> <entities> <connections>
    <kind> <state> <name> [<other> ...]              one line per entity

<circuit>      name of the prime circuit (the circuit no other definition instantiates); every
               output name is "<circuit>.<entity name>".
<entities>     number of entity lines that follow.
<connections>  number of connections among them; each appears in the lines of both its ends.

Entity lines come in feedwalk's entity order of the prime circuit: the circuit's own terminals,
newest first, then connectivity nodes and instances in the order the GDF file added them. Entity
number i (from 0) is the i-th entity line.

<kind>   T  a terminal of the circuit itself
         N  a connectivity node
         I  an instance (of an element or of a circuit)
         B  an instance that is a breaker: its definition's name begins with
            "DynamicProtectiveDevice" and its SUBTYPECD is 1. Breakers are the search's
            sources, in entity order.
<state>  ON (NORMALPOSITION_A is 1), OFF (NORMALPOSITION_A has another value, null included),
         UNSET (no NORMALPOSITION_A). OFF entities are never entered by the search.
<name>   the entity's name (a GDF identifier).
<other>  for each connection of the entity, in its incidence order (the newest connection
         first), the number of the entity at the other end. An entity joined to another by
         two connections lists it twice.

What is computed
----------------
One breadth-first search from all breakers at once: the breakers are numbered 0, 1, ... in
entity order (even when OFF), then every entity reached, level by level, in the order it is
first discovered, following each entity's connections in incidence order and never entering
an OFF entity. Then, for every connectivity node in entity order, its neighbours are sorted by
those numbers: if any neighbour was not reached the node gives nothing, else it gives the chain
(first, second), (second, third), ... as lines "<circuit>.<from> <circuit>.<to>".
"""

import gc
import itertools
import os
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import edgefile  # noqa: E402

UNREACHED = -1


def build_graph(edges):
    """The conducting network: one arc per connection end that the search may follow.

    Arcs are added tail by tail in each entity's incidence order, so networkx's successor
    order is the incidence order; arcs into OFF entities are left out, as the search never
    enters them.
    """
    import networkx as nx

    graph = nx.DiGraph()
    graph.add_nodes_from(range(len(edges)))
    states = edges.states
    graph.add_edges_from((u, v) for u, nbrs in enumerate(edges.others) for v in nbrs if states[v] != "OFF")
    return graph


def finishing_numbers(graph, sources):
    """Number of every entity in multi-source BFS order; UNREACHED for the others.

    A virtual root whose successors are the sources turns the multi-source search into
    networkx's single-source one while keeping the sources in their given order; it also
    starts the search at sources that are OFF.
    """
    import networkx as nx

    root = ("root",)
    graph.add_node(root)
    graph.add_edges_from((root, s) for s in sources)
    numbers = [UNREACHED] * (len(graph) - 1)
    try:
        for number, (_, entity) in enumerate(nx.bfs_edges(graph, root)):
            numbers[entity] = number
    finally:
        graph.remove_node(root)
    return numbers


def node_chains(edges, numbers):
    """(from, to) entity pairs, connectivity node by node in entity order.

    Every neighbour counts here, OFF ones included: one that was not reached silences the node.
    """
    for node, kind in enumerate(edges.kinds):
        if kind != "N":
            continue
        by_number = {numbers[x]: x for x in edges.others[node]}
        if len(by_number) < 2 or UNREACHED in by_number:
            continue
        ordered = [by_number[n] for n in sorted(by_number)]
        yield from itertools.pairwise(ordered)


def orient_graph(graph, edges):
    """All oriented pairs of entity numbers, in output order."""
    return list(node_chains(edges, finishing_numbers(graph, edges.sources())))


def orient(edges):
    return orient_graph(build_graph(edges), edges)


def write_pairs(path, edges, pairs):
    prefix = edges.circuit + "."
    names = edges.names
    with open(path, "w", encoding="ascii") as out:
        for a, b in pairs:
            out.write(f"{prefix}{names[a]} {prefix}{names[b]}\n")


class PhaseClock:
    """Collects phase durations; prints them as PROFILE lines when FEEDWALK_PROFILE=1."""

    def __init__(self):
        self.enabled = os.environ.get("FEEDWALK_PROFILE") == "1"
        self.last = time.perf_counter()

    def lap(self, phase):
        now = time.perf_counter()
        if self.enabled:
            print(f"PROFILE {phase} {now - self.last:.6f}", file=sys.stderr, flush=True)
        self.last = now


def main(argv):
    if len(argv) != 3:
        print("usage: peer_networkx.py <model.edges> <oriented_edge_file>", file=sys.stderr)
        return 8
    try:
        import networkx  # noqa: F401
    except ImportError:
        print("peer_networkx: networkx is not installed", file=sys.stderr)
        return 8
    # Millions of long-lived dicts and lists, no cycles: the cyclic collector would only
    # rescan them again and again, slowing the run down several times on large models.
    gc.disable()
    clock = PhaseClock()
    try:
        edges = edgefile.read(argv[1])
    except (OSError, edgefile.EdgeFileError) as err:
        print(f"peer_networkx: {err}", file=sys.stderr)
        return 8
    graph = build_graph(edges)
    clock.lap("parse")
    pairs = orient_graph(graph, edges)
    clock.lap("orientation")
    try:
        write_pairs(argv[2], edges, pairs)
    except OSError as err:
        print(f"peer_networkx: {err}", file=sys.stderr)
        return 8
    clock.lap("output")
    print(f"peer_networkx: {len(edges.sources())} breakers, {len(pairs)} directed edges written to {argv[2]}",
          file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
