#!/usr/bin/env python3
"""Holds what print_summary prints as JSON against the schemas of the summaries.

Needs python3-jsonschema.
"""

import argparse
import copy
import json
import pathlib
import subprocess
import sys

import jsonschema

SUMMARIES = ("top", "group-by", "histogram", "blocked")


def printed(program, summary):
    run = subprocess.run([program, summary], check=True, capture_output=True)
    return json.loads(run.stdout.decode())


def check_strict(schema, items):
    """A schema that takes everything would find nothing wrong."""
    validator = jsonschema.Draft202012Validator(schema)
    for item in items:
        for key in item:
            broken = copy.deepcopy(item)
            broken[key] = None
            assert not validator.is_valid([broken]), key
        assert not validator.is_valid([{**item, "other": 1}])


def check(schema, items):
    jsonschema.Draft202012Validator.check_schema(schema)
    jsonschema.Draft202012Validator(schema).validate(items)
    check_strict(schema, items)
    told = {key for item in items for key in item}
    assert told == set(schema["items"]["properties"]), told ^ set(schema["items"]["properties"])


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--program", required=True)
    parser.add_argument("--schemas", required=True, type=pathlib.Path)
    options = parser.parse_args()
    for summary in SUMMARIES:
        schema = json.loads((options.schemas / f"{summary}.schema.json").read_text())
        items = printed(options.program, summary)
        assert items, summary
        check(schema, items)
        print(f"{summary}: {len(items)} objects are as the schema has them")


if __name__ == "__main__":
    sys.exit(main())
