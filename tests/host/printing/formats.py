#!/usr/bin/env python3
"""Reads what print_samples prints in every format with readers that know nothing of ours, holds the
JSON against its schemas, and compares what the formats say with each other.

Needs python3-jsonschema.
"""

import argparse
import copy
import csv
import io
import json
import pathlib
import subprocess
import sys

import jsonschema

ROWS = 5
# Field -> the member of JSON that says the same.
MEMBERS = {"first": "first_seen", "last": "last_seen", "count": "count", "bytes": "bytes",
           "verdict": "verdict", "dir": "dir", "proto": "protocol", "src": "src",
           "src_port": "src_port", "dst": "dst", "dst_port": "dst_port", "icmp_type": "icmp_type",
           "icmp_code": "icmp_code", "event_code": "event", "flags_value": "flags_value",
           "rule_number": "rule_number", "duration": "duration"}


def printed(samples, form):
    return subprocess.run([samples, form], check=True, capture_output=True).stdout.decode()


def from_csv(text):
    return list(csv.DictReader(io.StringIO(text, newline=""), strict=True))


def from_tsv(text):
    head, *lines = [line.split("\t") for line in text.splitlines()]
    assert all(len(line) == len(head) for line in lines), "a line with more or fewer fields"
    return [dict(zip(head, line)) for line in lines]


def check_same(told, objects, form):
    """Each field is what the member says; nothing where there is no member."""
    assert len(told) == len(objects) == ROWS, f"{form}: {len(told)} rows"
    for row, item in zip(told, objects):
        for field, member in MEMBERS.items():
            assert row[field] == str(item.get(member, "")), f"{form}: {field} is {row[field]}"


def check_schemas(schemas, objects):
    row = json.loads((schemas / "row.schema.json").read_text())
    rows = json.loads((schemas / "rows.schema.json").read_text())
    assert rows["items"] == {"$ref": row["$id"]}
    rows["items"] = row
    for schema, instance in [(rows, objects), *((row, item) for item in objects)]:
        jsonschema.Draft202012Validator.check_schema(schema)
        jsonschema.Draft202012Validator(schema).validate(instance)
    check_strict(row, objects[1])
    shown = {key for item in objects for key in item}
    chosen_only = {"event_code", "packet", "source", "destination"}
    assert shown == set(row["properties"]) - chosen_only, shown ^ set(row["properties"])


def check_strict(schema, item):
    """A schema that takes everything would find nothing wrong."""
    for key in item:
        broken = copy.deepcopy(item)
        broken[key] = None
        assert not jsonschema.Draft202012Validator(schema).is_valid(broken), key
    assert not jsonschema.Draft202012Validator(schema).is_valid({**item, "other": 1})


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--samples", required=True)
    parser.add_argument("--schemas", required=True, type=pathlib.Path)
    options = parser.parse_args()
    objects = json.loads(printed(options.samples, "json"))
    lines = printed(options.samples, "ndjson").splitlines()
    assert [json.loads(line) for line in lines] == objects
    check_schemas(options.schemas, objects)
    check_same(from_csv(printed(options.samples, "csv")), objects, "csv")
    check_same(from_tsv(printed(options.samples, "tsv")), objects, "tsv")
    raw = [line.split("\t") for line in printed(options.samples, "raw").splitlines()]
    assert [int(line[0]) for line in raw] == [item["first_seen_unix"] for item in objects]
    print(f"{len(objects)} rows are the same in json, ndjson, csv, tsv and raw")


if __name__ == "__main__":
    sys.exit(main())
