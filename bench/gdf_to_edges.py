#!/usr/bin/env python3
"""A GDF reader for the subset the feeder samples use, and its converter to the peer's edge list.

Usage: gdf_to_edges.py <model.gdf> <model.edges>

The subset: "%" comments, `prop` with scalar value types, `section` blocks of `elem` lines,
`ckt` (with terminals), `inst`, `conn` (terms TERM, INST.TERM, INST.N) and `propadd` with an
integer, real, double-quoted string or "--" value. Anything else is refused with the line
number, as are the statement errors the real parser stops on (unknown or duplicate
definitions, instances, properties; unresolved terminals; a second value of one property on
one entity). Values that the real parser coerces with a warning (a real for an int32 property,
an unparsable string, an integer beyond 32 bits) are coerced the same way and counted.

The edge list describes the prime circuit (the definition nothing instantiates; when several
are, the first declared, with a warning) as feedwalk sees it; the format is documented at the
top of peer_networkx.py.
"""

import gc
import os
import re
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import edgefile  # noqa: E402

BREAKER_PREFIX = "DynamicProtectiveDevice"
SCALAR_TYPES = ("string", "int32", "int64", "float64")
SET_TYPES = ("int32set", "int64set", "float64set")
INT32_RANGE = (-(2**31), 2**31 - 1)
INT64_RANGE = (-(2**63), 2**63 - 1)
INT_TEXT = re.compile(r"[+-]?[0-9]+")
REAL_TEXT = re.compile(r"[+-]?(?:[0-9]+\.?[0-9]*|\.[0-9]+)(?:[eE][+-]?[0-9]+)?")

TOKEN_RE = re.compile(
    r"""(?P<ws>[ \t\r]+)
      | (?P<comment>%.*)
      | (?P<string>"(?:[^"\\\n]|\\.)*")
      | (?P<real>-?(?:0|[1-9][0-9]*)\.[0-9]+(?:[eE][+-]?[0-9]+)?|(?:0|[1-9][0-9]*)[eE][+-]?[0-9]+)
      | (?P<null>--)
      | (?P<int>-?(?:0|[1-9][0-9]*))
      | (?P<id>[A-Za-z][A-Za-z0-9_]*)
      | (?P<punct>[.{}\[\],])
      | (?P<bad>.)""",
    re.VERBOSE,
)


class GdfError(Exception):
    """A statement the subset reader refuses; the message starts with the line number."""


class Entity:
    __slots__ = ("name", "kind", "definition", "props", "incidence")

    def __init__(self, name, kind, definition=None):
        self.name = name
        self.kind = kind  # "T" terminal, "N" connectivity node, "I" instance
        self.definition = definition  # the instantiated definition, for instances
        self.props = {}
        self.incidence = []  # other ends, oldest connection first


class Definition:
    __slots__ = ("name", "is_element", "terminals", "others", "entities", "instances")

    def __init__(self, name, is_element):
        self.name = name
        self.is_element = is_element
        self.terminals = []  # in order of declaration
        self.others = []  # nodes and instances in order of addition
        self.entities = {}
        self.instances = 0

    def entity_order(self):
        return self.terminals[::-1] + self.others

    def add(self, entity):
        self.entities[entity.name] = entity
        (self.terminals if entity.kind == "T" else self.others).append(entity)
        return entity


class Model:
    def __init__(self):
        self.definitions = {}  # in order of declaration
        self.prop_types = {}
        self.warnings = 0

    def prime(self):
        primes = [d for d in self.definitions.values() if d.instances == 0]
        if not primes:
            return None
        if len(primes) > 1:
            names = ", ".join(d.name for d in primes)
            print(f"gdf_to_edges: several definitions are never instantiated ({names}); taking {primes[0].name}",
                  file=sys.stderr)
        return primes[0]


def tokenize(line, lineno):
    tokens = []
    for m in TOKEN_RE.finditer(line):
        kind = m.lastgroup
        if kind in ("ws", "comment"):
            continue
        if kind == "bad":
            raise GdfError(f"line {lineno}: unexpected character {m.group()!r} (multi-line strings and other"
                           " characters are outside the supported subset)")
        tokens.append((kind, m.group()))
    return tokens


def as_int(text, bounds):
    value = int(text)
    return value if bounds[0] <= value <= bounds[1] else None


def round_half_away(x):
    return int(x + 0.5) if x >= 0 else -int(-x + 0.5)


class Reader:
    """Applies statements one line at a time to a Model."""

    def __init__(self):
        self.model = Model()
        self.section = None
        self.lineno = 0

    def fail(self, text):
        raise GdfError(f"line {self.lineno}: {text}")

    def read_file(self, path):
        with open(path, encoding="ascii") as f:
            for self.lineno, line in enumerate(f, 1):
                tokens = tokenize(line, self.lineno)
                if tokens:
                    self.statement(tokens)
        if self.section is not None:
            self.fail(f"section {self.section} is not closed")
        return self.model

    def statement(self, tokens):
        kind, text = tokens[0]
        if self.section is not None:
            return self.section_body(tokens)
        handler = self.HANDLERS.get(text) if kind == "id" else None
        if handler is None:
            self.fail(f"statement '{text}' is outside the supported subset")
        handler(self, tokens[1:])

    # Operand helpers ---------------------------------------------------------------------
    def expect(self, tokens, pattern):
        """Checks token kinds ('id', 'int', '.', '{', ...) and returns the texts."""
        kinds = [k if k != "punct" else t for k, t in tokens]
        if kinds != list(pattern):
            self.fail(f"expected {' '.join(pattern)}, found {' '.join(t for _, t in tokens) or 'end of line'}")
        return [t for _, t in tokens]

    def definition(self, name):
        d = self.model.definitions.get(name)
        if d is None:
            self.fail(f"definition {name} unknown")
        return d

    def entity(self, definition, name):
        e = definition.entities.get(name)
        if e is None:
            self.fail(f"{definition.name} has no entity {name}")
        return e

    def new_definition(self, name, is_element):
        if name in self.model.definitions:
            self.fail(f"definition {name} exists")
        d = Definition(name, is_element)
        self.model.definitions[name] = d
        return d

    # Statements --------------------------------------------------------------------------
    def prop(self, tokens):
        name, type_name = self.expect(tokens, ("id", "id"))
        if type_name in SET_TYPES or type_name not in SCALAR_TYPES:
            self.fail(f"value type {type_name} is outside the supported subset")
        if name in self.model.prop_types:
            self.fail(f"duplicate property name {name}")
        self.model.prop_types[name] = type_name

    def section_start(self, tokens):
        name, _ = self.expect(tokens, ("id", "{"))
        self.section = name

    def section_body(self, tokens):
        if [t for _, t in tokens] == ["}"]:
            self.section = None
            return
        _, name, count = self.expect(tokens, ("id", "id", "int"))
        if tokens[0][1] != "elem":
            self.fail("only elem lines may stand inside a section")
        count = int(count)
        if count < 0:
            self.fail("terminal count must not be negative")
        d = self.new_definition(name, True)
        for i in range(count):
            d.add(Entity(str(i), "T"))
        d.add(Entity(f"cn{max(count - 1, 0) + 1}", "N"))

    def ckt(self, tokens):
        names = self.expect(tokens, ("id",) * max(len(tokens), 1))
        d = self.new_definition(names[0], False)
        for t in names[1:]:
            if t in d.entities:
                self.fail(f"terminal {t} declared twice")
            d.add(Entity(t, "T"))

    def inst(self, tokens):
        parent_name, _, name, type_name = self.expect(tokens, ("id", ".", "id", "id"))
        parent = self.definition(parent_name)
        if parent.is_element:
            self.fail(f"{parent_name} is an element and cannot contain instances")
        if name in parent.entities:
            self.fail(f"instance {parent_name}.{name} exists")
        typ = self.definition(type_name)
        if typ is parent:
            self.fail(f"{parent_name} cannot contain an instance of itself")
        typ.instances += 1
        parent.add(Entity(name, "I", typ))

    def conn(self, tokens):
        def_name, _, node_name = self.expect(tokens[:3], ("id", ".", "id"))
        d = self.definition(def_name)
        if d.is_element:
            self.fail(f"conn into element definition {def_name} is outside the supported subset")
        terms = self.split_terms(tokens[3:])
        node = d.entities.get(node_name) or d.add(Entity(node_name, "N"))
        for path in terms:
            end = self.resolve(d, path)
            if end is node:
                self.fail(f"connecting {node_name} to itself is outside the supported subset")
            end.incidence.append(node)
            node.incidence.append(end)

    def split_terms(self, tokens):
        if not tokens:
            self.fail("conn needs at least one terminal")
        terms, i = [], 0
        while i < len(tokens):
            if tokens[i][0] != "id":
                self.fail(f"expected a terminal, found {tokens[i][1]}")
            if i + 1 < len(tokens) and tokens[i + 1] == ("punct", "."):
                if i + 2 >= len(tokens) or tokens[i + 2][0] not in ("id", "int"):
                    self.fail(f"expected a terminal name or number after {tokens[i][1]}.")
                if tokens[i + 2][0] == "int" and int(tokens[i + 2][1]) < 0:
                    self.fail("terminal number must not be negative")
                terms.append((tokens[i][1], tokens[i + 2][1]))
                i += 3
            else:
                terms.append((tokens[i][1],))
                i += 1
        return terms

    def resolve(self, d, path):
        top = self.entity(d, path[0])
        if len(path) == 2:
            if top.kind != "I":
                self.fail(f"{d.name}.{path[0]} is not an instance")
            self.entity(top.definition, path[1])
        return top

    def propadd(self, tokens):
        def_name, _, ent_name, prop_name = self.expect(tokens[:4], ("id", ".", "id", "id"))
        if len(tokens) != 5 or tokens[4][0] not in ("int", "real", "string", "null"):
            self.fail("propadd value must be one integer, real, double-quoted string or --")
        d = self.definition(def_name)
        ent = self.entity(d, ent_name)
        type_name = self.model.prop_types.get(prop_name)
        if type_name is None:
            self.fail(f"property {prop_name} is not defined")
        if prop_name in ent.props:
            self.fail(f"property {prop_name} already exists on {def_name}.{ent_name}")
        ent.props[prop_name] = self.coerce(type_name, *tokens[4])

    def coerce(self, type_name, kind, text):
        """The stored value (None for null), counting a warning where the real parser warns."""
        if kind == "null":
            return None
        if type_name == "string":
            return text[1:-1] if kind == "string" else text
        value = self.numeric(type_name, kind, text)
        if value is None:
            self.model.warnings += 1
        return value

    def numeric(self, type_name, kind, text):
        bounds = INT32_RANGE if type_name == "int32" else INT64_RANGE
        if kind == "string":
            text = text[1:-1].strip() or "0"
            kind = "real" if type_name == "float64" else "int"
            if not (REAL_TEXT if kind == "real" else INT_TEXT).fullmatch(text):
                return None
        if type_name == "float64":
            return float(text)
        if kind == "int":
            return as_int(text, bounds)
        rounded = round_half_away(float(text))
        if not bounds[0] <= rounded <= bounds[1]:
            return None
        self.model.warnings += 1  # rounded, with a warning
        return rounded

    HANDLERS = {
        "prop": prop,
        "section": section_start,
        "ckt": ckt,
        "inst": inst,
        "conn": conn,
        "propadd": propadd,
    }


def read_gdf(path):
    return Reader().read_file(path)


def int32_value(entity, prop):
    """The property as feedwalk reads it: absent gives None, null gives 0."""
    if prop not in entity.props:
        return None
    value = entity.props[prop]
    return 0 if value is None else value


def entity_kind(entity):
    if entity.kind == "I" and entity.definition.name.startswith(BREAKER_PREFIX) \
            and int32_value(entity, "SUBTYPECD") == 1:
        return "B"
    return entity.kind


def entity_state(entity):
    value = int32_value(entity, "NORMALPOSITION_A")
    if value is None:
        return "UNSET"
    return "ON" if value == 1 else "OFF"


def check_feedwalk_properties(model):
    for prop in ("SUBTYPECD", "NORMALPOSITION_A"):
        type_name = model.prop_types.get(prop)
        if type_name not in (None, "int32"):
            raise GdfError(f"{prop} is declared {type_name}; feedwalk reads it as int32")


def write_edges(model, path):
    """Writes the prime circuit as an edge list; returns (entities, connections)."""
    check_feedwalk_properties(model)
    prime = model.prime()
    order = prime.entity_order() if prime is not None else []
    number = {id(e): i for i, e in enumerate(order)}
    ends = sum(len(e.incidence) for e in order)
    with open(path, "w", encoding="ascii") as out:
        out.write(edgefile.header_line(prime.name if prime else "{}", len(order), ends // 2))
        for e in order:
            others = [number[id(x)] for x in reversed(e.incidence)]
            out.write(edgefile.entity_line(entity_kind(e), entity_state(e), e.name, others))
    return len(order), ends // 2


def main(argv):
    if len(argv) != 3:
        print("usage: gdf_to_edges.py <model.gdf> <model.edges>", file=sys.stderr)
        return 8
    # Millions of long-lived dicts and lists, no cycles: the cyclic collector would only
    # rescan them again and again, slowing the run down several times on large models.
    gc.disable()
    try:
        model = read_gdf(argv[1])
        n_entities, n_connections = write_edges(model, argv[2])
    except (OSError, UnicodeDecodeError, GdfError) as err:
        print(f"gdf_to_edges: {argv[1]}: {err}", file=sys.stderr)
        return 1
    print(f"gdf_to_edges: {n_entities} entities, {n_connections} connections, {model.warnings} warnings",
          file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
