#!/usr/bin/env python3
"""The schema of machine files: the committed one is what BMCSIM prints, fits the machines of the tree, and refuses what
the reader refuses, as far as a schema can say it."""
import json
import subprocess
import sys
from pathlib import Path

from jsonschema import Draft7Validator

bmcsim, tree = sys.argv[1], Path(sys.argv[2])
printed = subprocess.run([bmcsim, "schema"], check=True, capture_output=True, text=True).stdout
faults = []
if printed != (tree / "docs/machine-file.schema.json").read_text():
    faults.append("docs/machine-file.schema.json is not what the tables say: bmcsim schema > docs/machine-file.schema.json")

schema = json.loads(printed)
Draft7Validator.check_schema(schema)
validator = Draft7Validator(schema)


def without_sentence(part, path):
    for name, member in part.get("properties", {}).items():
        if name != "comment" and "description" not in member and "$ref" not in str(member):
            yield f"{path}/{name} has no sentence"
    children = [part.get("items"), part.get("additionalProperties"), *part.get("anyOf", [])]
    for several in ("properties", "patternProperties", "definitions"):
        children += part.get(several, {}).values()
    for child in children:
        if isinstance(child, dict):
            yield from without_sentence(child, path + "/...")


faults += without_sentence(schema, "")

machines = [(file, json.loads(file.read_text())) for file in sorted((tree / "machines").glob("*.json"))]
for file in sorted((tree / "tests/golden/machines").glob("*.json")):
    machines.append((file, json.loads(file.read_text())[0]))
guide = tree / "docs/machine-file.md"
machines.append((guide, json.loads(guide.read_text().split("```json\n")[1].split("```")[0])))
for file, machine in machines:
    faults += [f"{file}: {'/'.join(map(str, error.path))}: {error.message}" for error in validator.iter_errors(machine)]

# What only the reader knows: sums, sizes, other places of the file, the functions of the libraries.
BEYOND_A_SCHEMA = ("given twice", "earlier", "lies beyond", "no library function", "names no ", "can say", "as a record",
                   "in all", "0 is no process id", "must be from", "a range such as", "devices of a", "that MR_PD_LIST",
                   "from 0 to 65535", "from 0 to 1048576", "/result: must be a text", "/value: must be",
                   "/timeline", "/state: must be a whole number from 0 to 255")  # 1.0 is a whole number to a schema
refused = 0
for machine, said in json.loads((tree / "tests/simulator/machineReader.json").read_text()):
    if isinstance(machine, list) and machine:
        machine = "\n".join(machine)
    if isinstance(machine, str):
        try:
            machine = json.loads(machine)
        except ValueError:
            continue
    if validator.is_valid(machine):
        if not all(any(text in line for text in BEYOND_A_SCHEMA) for line in said):
            faults.append(f"the schema takes what the reader does not: {said}")
    else:
        refused += 1
if refused < 20:
    faults.append(f"the schema refuses {refused} faulty machines only")

print("\n".join(faults) or f"{len(machines)} machines fit, {refused} faulty ones do not")
sys.exit(bool(faults))
