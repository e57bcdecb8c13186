#!/usr/bin/python3
"""Every JSON document that the tool prints, for this machine and for the project's recorded ones, is valid by
docs/json-schema.json; a document that lost a field or got one more is not. docs/json.md describes all of them.
Usage: json_schema_test.py SOURCE_FOLDER TOOL"""

import copy
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


def objects(value):
    """All JSON objects in a document, itself included."""
    if isinstance(value, dict):
        yield value
    for inner in value.values() if isinstance(value, dict) else value if isinstance(value, list) else []:
        yield from objects(inner)


def check_that_changes_are_noticed(good):
    for index, place in enumerate(objects(good)):
        for name in place:
            damaged = copy.deepcopy(good)
            place_in_copy = list(objects(damaged))[index]
            # speed and limits are in the documents of those commands only
            if name not in ("speed", "limits"):
                del place_in_copy[name]
                if validator.is_valid(damaged):
                    fail(f"valid without {name}")
                place_in_copy[name] = place[name]
            place_in_copy[name + "2"] = None
            if validator.is_valid(damaged):
                fail(f"valid with a field {name}2")


commands = [["tree"], ["cpus", "0"], ["features"], ["caches"], ["limits"], ["speed"], ["affinity"],
            ["affinity", "0:Fh/1:3h"]]
accesses = [["msr", "0x1A2"], ["mem", "0xF0000"], ["mem", "0xF0000", "--length", "4"], ["port", "0x70"]]
machines = sorted((source / "tests/machines").glob("*.txt"))
checked = 0
for machine in [[], *(["--machine", str(path)] for path in machines)]:
    for command in commands:
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
# Every field is described, so that none can come or change its name unnoticed.
manual = (source / "docs/json.md").read_text()
names = {name for place in objects(schema) for name in place.get("properties", {})}
for name in names:
    if f"`{name}`" not in manual:
        fail(f"docs/json.md does not describe {name}")
print(f"{checked} documents of {len(machines) + 1} machines checked")
sys.exit(1 if failures or not machines or not names else 0)
