#!/usr/bin/env python3
"""Holds each line of stdin against a JSON Schema. Usage: validate_json.py SCHEMA

Exit code 1, and the first fault of each line on stderr, where one is no valid JSON or is not as the schema says, or
where there is no line at all.
"""
import json
import sys

from jsonschema import Draft202012Validator
from jsonschema.exceptions import best_match


def refuse(text):
    raise ValueError(text + " is no JSON")


def no_repeats(pairs):
    if len(dict(pairs)) != len(pairs):
        raise ValueError("a key stands twice")
    return dict(pairs)


def fault(line, validator):
    """What is wrong with the line, or None."""
    try:
        value = json.loads(line.decode("utf-8"), parse_constant=refuse, object_pairs_hook=no_repeats)
    except ValueError as error:
        return str(error)
    error = best_match(validator.iter_errors(value))
    return error and error.json_path + ": " + error.message


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        schema = json.load(file)
    Draft202012Validator.check_schema(schema)
    validator = Draft202012Validator(schema)
    faults = [fault(line, validator) for line in sys.stdin.buffer]
    for number, text in enumerate(faults, 1):
        if text:
            print(f"line {number}: {text[:300]}", file=sys.stderr)
    return 1 if any(faults) or not faults else 0


sys.exit(main())
