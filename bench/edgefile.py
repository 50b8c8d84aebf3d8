"""Reading and writing edge-list files: the circuit-level graph that the networkx peer walks.

The format is described at the top of peer_networkx.py. Writers stream entity lines;
the reader returns plain lists so that callers can build whatever graph they like.
"""

MAGIC = "fwedges"
VERSION = "1"
KINDS = ("T", "N", "I", "B")
STATES = ("ON", "OFF", "UNSET")


class EdgeFileError(Exception):
    """A malformed edge-list file; the message names the line."""


def header_line(circuit, n_entities, n_connections):
    return f"{MAGIC} {VERSION} {circuit} {n_entities} {n_connections}\n"


def entity_line(kind, state, name, others):
    if others:
        return f"{kind} {state} {name} {' '.join(map(str, others))}\n"
    return f"{kind} {state} {name}\n"


class EdgeList:
    """The parsed file: one slot per entity, in entity order."""

    def __init__(self, circuit, kinds, states, names, others, n_connections):
        self.circuit = circuit
        self.kinds = kinds
        self.states = states
        self.names = names
        self.others = others
        self.n_connections = n_connections

    def __len__(self):
        return len(self.kinds)

    def sources(self):
        return [e for e, k in enumerate(self.kinds) if k == "B"]

    def devices(self):
        return sum(1 for k in self.kinds if k in ("I", "B"))


def _parse_header(line, lineno):
    fields = line.split()
    if len(fields) != 5 or fields[0] != MAGIC:
        raise EdgeFileError(f"line {lineno}: expected '{MAGIC} {VERSION} <circuit> <entities> <connections>'")
    if fields[1] != VERSION:
        raise EdgeFileError(f"line {lineno}: unsupported version {fields[1]}")
    try:
        return fields[2], int(fields[3]), int(fields[4])
    except ValueError:
        raise EdgeFileError(f"line {lineno}: entity and connection counts must be integers") from None


def _parse_entity(line, lineno, n_entities):
    fields = line.split()
    if len(fields) < 3 or fields[0] not in KINDS or fields[1] not in STATES:
        raise EdgeFileError(f"line {lineno}: expected '<T|N|I|B> <ON|OFF|UNSET> <name> [<entity> ...]'")
    try:
        others = list(map(int, fields[3:]))
    except ValueError:
        raise EdgeFileError(f"line {lineno}: entity numbers must be integers") from None
    if others and (min(others) < 0 or max(others) >= n_entities):
        raise EdgeFileError(f"line {lineno}: entity number out of range 0..{n_entities - 1}")
    return fields[0], fields[1], fields[2], others


def read(path):
    """Parses and checks an edge-list file; raises EdgeFileError on any defect."""
    kinds, states, names, others = [], [], [], []
    header = None
    with open(path, encoding="ascii") as f:
        for lineno, line in enumerate(f, 1):
            if header is None:
                if line.startswith("#") or not line.strip():
                    continue
                header = _parse_header(line, lineno)
                continue
            kind, state, name, nbrs = _parse_entity(line, lineno, header[1])
            kinds.append(kind)
            states.append(state)
            names.append(name)
            others.append(nbrs)
    if header is None:
        raise EdgeFileError(f"{path}: no header line")
    circuit, n_entities, n_connections = header
    if len(kinds) != n_entities:
        raise EdgeFileError(f"{path}: header announces {n_entities} entities, file holds {len(kinds)}")
    ends = sum(len(o) for o in others)
    if ends != 2 * n_connections:
        raise EdgeFileError(f"{path}: {ends} connection ends listed for {n_connections} connections")
    return EdgeList(circuit, kinds, states, names, others, n_connections)


def asymmetric_pairs(edges):
    """Entity pairs whose connection counts differ between the two ends' lines (empty when sound)."""
    from collections import Counter

    seen = Counter()
    for u, nbrs in enumerate(edges.others):
        for v in nbrs:
            if u < v:
                seen[(u, v)] += 1
            elif v < u:
                seen[(v, u)] -= 1
    return sorted(pair for pair, balance in seen.items() if balance)
