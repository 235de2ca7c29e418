#!/usr/bin/env python3
"""Compares the virtual tables of two binary interfaces that abidw has written: OLD NEW.

Each function of a class in OLD stands in the same place in NEW, and no function has come beside them: a new one at the
end of a base class would move those of the classes derived from it."""

import sys
from xml.etree import ElementTree


def collect(node, scope, tables):
    for child in node:
        if child.tag == "abi-instr" or child.tag == "member-type":
            collect(child, scope, tables)
        elif child.tag in ("namespace-decl", "class-decl"):
            name = scope + child.get("name", "")
            if child.tag == "class-decl":
                table = tables.setdefault(name, {})
                for member in child.findall("member-function"):
                    place = member.get("vtable-offset")
                    if place is not None:
                        function = member.find("function-decl")
                        names = table.setdefault(int(place), set())
                        names.add(function.get("mangled-name") or function.get("name"))
            collect(child, name + "::", tables)


def tables_of(path):
    tables = {}
    collect(ElementTree.parse(path).getroot(), "", tables)
    return tables


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    old, new = tables_of(sys.argv[1]), tables_of(sys.argv[2])
    differences = []
    for name in sorted(old):
        for place in sorted(old[name].keys() | new.get(name, {}).keys()):
            before, now = old[name].get(place), new.get(name, {}).get(place)
            if before != now:
                differences.append(f"{name}, place {place} of the virtual table: {before} became {now}")
    print("\n".join(differences), end="\n" if differences else "")
    sys.exit(bool(differences))


if __name__ == "__main__":
    main()
