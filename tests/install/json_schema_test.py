#!/usr/bin/python3
"""Every JSON document that the tool prints, for this machine and for the project's recorded ones, is valid by
docs/json-schema.json; a document that lost a field or got one more is not. docs/json.md describes all of them.
Usage: json_schema_test.py SOURCE_FOLDER TOOL"""

import json
import pathlib
import subprocess
import sys

import jsonschema

source, tool = pathlib.Path(sys.argv[1]), sys.argv[2]
schema = json.loads((source / "docs/json-schema.json").read_text())
jsonschema.Draft202012Validator.check_schema(schema)
validator = jsonschema.Draft202012Validator(schema)
failures = 0


def fail(text):
    global failures
    failures += 1
    print(text, file=sys.stderr)


def document(options):
    return json.loads(subprocess.run([tool, "--json", *options], check=True, capture_output=True).stdout)


def places(value, path=()):
    """All JSON objects in a document, itself included, each with the names that lead to it."""
    if isinstance(value, dict):
        yield path, value
        for name, inner in value.items():
            yield from places(inner, (*path, name))
    elif isinstance(value, list):
        for inner in value:
            yield from places(inner, path)


# One object of each kind is enough: objects at the same place of the schema with the same fields are of one kind.
seen = set()


def check_that_changes_are_noticed(document):
    for path, place in places(document):
        for name in list(place):
            if (path, name, frozenset(place)) in seen:
                continue
            seen.add((path, name, frozenset(place)))
            value = place.pop(name)
            # speed and limits are in the documents of those commands only
            if name not in ("speed", "limits") and validator.is_valid(document):
                fail(f"valid without {name}")
            place[name] = value
            place[name + "2"] = None
            if validator.is_valid(document):
                fail(f"valid with a field {name}2")
            del place[name + "2"]


commands = [[], ["cpus", "0"], ["limits"], ["speed"], ["--classic"], ["--classic", "cpus", "0"],
            ["--classic", "limits"], ["--classic", "speed"], ["affinity"], ["affinity", "0:Fh/1:3h"], ["leaves", "0"]]
accesses = [["msr", "0x1A2"], ["mem", "0xF0000"], ["mem", "0xF0000", "--length", "4"], ["port", "0x70"]]
machines = sorted((source / "tests/machines").glob("*.txt"))
checked = 0
for machine in [[], *(["--machine", str(path)] for path in machines)]:
    for command in commands + [["leaves"]]:
        try:
            for error in validator.iter_errors(document(machine + command)):
                fail(f"{machine} {command}: {jsonschema.exceptions.best_match([error]).message}")
            checked += 1
        except subprocess.CalledProcessError as error:
            fail(f"{machine} {command}: {error.stderr.decode()}")
# A machine that has something of everything.
rich = ["--machine", str(source / "tests/machines/intel-thermal.txt")]
for command in commands + accesses:
    good = document(rich + command)
    for error in validator.iter_errors(good):
        fail(f"{command}: {jsonschema.exceptions.best_match([error]).message}")
    check_that_changes_are_noticed(good)
# Bits of no known name.
check_that_changes_are_noticed(document(["--machine", str(source / "tests/machines/amd-family17-smt.txt"), "leaves",
                                         "80000007"]))
# Many machines: documents and lines of their own.
for command in (["baseline"], ["baseline", *map(str, machines[:2])], ["baseline", str(source / "tests/machines")]):
    good = document(command)
    for error in validator.iter_errors(good):
        fail(f"{command}: {jsonschema.exceptions.best_match([error]).message}")
    check_that_changes_are_noticed(good)
lines = subprocess.run([tool, "--json", "fleet", str(source / "tests/machines")], check=True, capture_output=True).stdout
for line in lines.splitlines():
    for error in validator.iter_errors(json.loads(line)):
        fail(f"fleet: {jsonschema.exceptions.best_match([error]).message}")
    check_that_changes_are_noticed(json.loads(line))
# Every field is described, so that none can come or change its name unnoticed.
manual = (source / "docs/json.md").read_text()
names = {name for _, place in places(schema) for name in place.get("properties", {})}
for name in names:
    if f"`{name}`" not in manual:
        fail(f"docs/json.md does not describe {name}")
print(f"{checked} documents of {len(machines) + 1} machines checked")
sys.exit(1 if failures or not machines or not names else 0)
