#!/usr/bin/env python3
"""Reads TOML with Python's tomllib and prints every value as tagged JSON.

Each leaf becomes {"type": ..., "value": "<text>"}; tables become objects and arrays
arrays, so the output can be compared with what our own parser read. Floats are written
with 17 significant digits ("%.17g"), which identifies a double exactly.

Documents come on stdin, each as "<byte count>\\n<bytes>"; the output is a JSON array
with null for every document tomllib rejects.
"""

import datetime
import json
import sys
import tomllib


def tag(value):
    if isinstance(value, dict):
        return {key: tag(item) for key, item in value.items()}
    if isinstance(value, list):
        return [tag(item) for item in value]
    if isinstance(value, bool):
        return {"type": "bool", "value": "true" if value else "false"}
    if isinstance(value, int):
        return {"type": "integer", "value": str(value)}
    if isinstance(value, float):
        return {"type": "float", "value": format(value, ".17g")}
    if isinstance(value, str):
        return {"type": "string", "value": value}
    if isinstance(value, datetime.datetime):
        return {"type": "datetime", "value": value.isoformat()}
    if isinstance(value, datetime.date):
        return {"type": "date", "value": value.isoformat()}
    if isinstance(value, datetime.time):
        return {"type": "time", "value": value.isoformat()}
    raise TypeError(f"unexpected value {value!r}")


def load(data):
    return tag(tomllib.loads(data.decode("utf-8")))


def batch(stream):
    results = []
    while True:
        header = stream.readline()
        if not header:
            break
        data = stream.read(int(header))
        try:
            results.append(load(data))
        except (tomllib.TOMLDecodeError, UnicodeDecodeError):
            results.append(None)
    return results


if __name__ == "__main__":
    print(json.dumps(batch(sys.stdin.buffer)))
