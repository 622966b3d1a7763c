#!/usr/bin/python3
"""redfishSchemas.py RAIDTREE TREE...: every Redfish resource of the trees against the published schemas, which lie in the
folder $REDFISH_SCHEMA or in ../shared/redfish-schema beside this checkout."""

import glob
import json
import os
import re
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
SCHEMAS = os.environ.get("REDFISH_SCHEMA") or os.path.join(HERE, "../../../shared/redfish-schema")
BASE = "http://redfish.dmtf.org/schemas/v1/"


def read(path):
    with open(path, encoding="utf-8") as stream:
        return json.load(stream)


def load_schemas():
    """By id, and by the name without a version."""
    store = {}
    for path in glob.glob(os.path.join(SCHEMAS, "*.json")):
        name = os.path.basename(path)
        schema = read(path)
        for place in (BASE, BASE.replace("/v1/", "/swordfish/v1/")):
            store[place + name] = store[place + re.sub(r"\.v[0-9_]+\.json$", ".json", name)] = schema
    return store


def open_references(node, store):
    """A reference to what is not in the folder accepts anything; one to a resource, a link to it."""
    if isinstance(node, dict):
        reference = node.get("$ref", "")
        file, _, pointer = reference.partition("#")
        if file and file not in store:
            return {}
        if file:
            target = store[file]
            for step in pointer.strip("/").split("/"):
                target = target.get(step, {}) if isinstance(target, dict) else {}
            if not target:
                return {}
            if "@odata.type" in target.get("required", []):
                return {"anyOf": [{"$ref": BASE + "odata-v4.json#/definitions/idRef"}, node]}
        return {key: open_references(value, store) for key, value in node.items()}
    if isinstance(node, list):
        return [open_references(value, store) for value in node]
    return node


def findings(folder, store, jsonschema):
    for path in sorted(glob.glob(os.path.join(folder, "redfish/**/index.json"), recursive=True)):
        resource = read(path)
        own = "/" + os.path.relpath(os.path.dirname(path), folder)
        if "@odata.type" not in resource:
            continue
        if resource["@odata.id"].rstrip("/") != own:
            yield f"{own}: calls itself {resource['@odata.id']}"
        *file, kind = resource["@odata.type"].lstrip("#").split(".")
        schema = BASE + ".".join(file) + ".json"
        if schema not in store and file[0] in ("SessionService", "SessionCollection"):
            continue
        resolver = jsonschema.RefResolver(schema, store[schema], store=store)
        validator = jsonschema.Draft7Validator({"$ref": f"{schema}#/definitions/{kind}"}, resolver=resolver)
        for error in validator.iter_errors(resource):
            yield f"{own}: {'/'.join(map(str, error.absolute_path))}: {error.message[:200]}"


def main():
    if not os.path.isdir(SCHEMAS):
        print(f"skipped: no schemas in {SCHEMAS}; REDFISH_SCHEMA names their folder")
        return 0
    import jsonschema  # not needed where there is nothing to do
    store = load_schemas()
    store = {name: open_references(schema, store) for name, schema in store.items()}
    wrong = resources = 0
    for tree in sys.argv[2:]:
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([sys.argv[1], "redfish", "--no-log", "--output", folder, tree], check=True)
            for finding in findings(folder, store, jsonschema):
                print(f"{os.path.basename(tree)}: {finding}")
                wrong += 1
            resources += len(glob.glob(os.path.join(folder, "redfish/**/index.json"), recursive=True))
    print(f"{resources} resources of {len(sys.argv) - 2} trees: {wrong} findings")
    return 1 if wrong or not resources else 0


sys.exit(main())
