#!/usr/bin/env python3
"""Holds the records of a real import against their schema.

    record_schema_test.py CORVYSTACK SCHEMA FOLDER

FOLDER is imported as it is, beside files with a fault each and of kinds that it lacks.
"""
import io
import json
import os
import subprocess
import sys
import tempfile
import wave

try:
    from jsonschema import Draft202012Validator
except ImportError:
    print("python3-jsonschema is missing")
    sys.exit(77)


def sound():
    file = io.BytesIO()
    with wave.open(file, "wb") as samples:
        samples.setparams((1, 1, 8000, 0, "NONE", ""))
        samples.writeframes(bytes([128]) * 8000)
    return file.getvalue()


# Contents, and the error of the record.
FILES = {
    "empty.txt": (b"", "empty"),
    "blank.txt": (b" \n", "noText"),
    "fake.pdf": (b"GIF89a", "notAPDF"),
    "broken.pdf": (b"%PDF-1.4 and no more", "damaged"),
    "name\udcff.txt": (b"text", None),
    "rich.rtf": (b"{\\rtf1 text}", None),
    "silence.wav": (sound(), None),
}

GOOD = {"path": "a", "seconds": 0.1}
BAD = [
    {"path": "a"},
    {**GOOD, "size": -1},
    {**GOOD, "kind": "novel"},
    {**GOOD, "error": "sulks"},
    {**GOOD, "modified": "yesterday"},
    {**GOOD, "text": {"string": "x", "file": "text/000001.txt", "length": 1}},
    {**GOOD, "thumbnail": {"file": "../a.png", "width": 9, "height": 9}},
    {**GOOD, "thumbnail": {"file": "thumbnails/000001.png", "width": 640, "height": 9}},
    {**GOOD, "colour": "blue"},
]


def main(program, schema_file, folder):
    with open(schema_file, encoding="utf-8") as file:
        schema = json.load(file)
    Draft202012Validator.check_schema(schema)
    validator = Draft202012Validator(schema)
    assert validator.is_valid(GOOD)
    for record in BAD:
        assert not validator.is_valid(record), f"taken for valid: {record}"

    with tempfile.TemporaryDirectory() as scratch:
        for name, (content, _) in FILES.items():
            with open(os.path.join(scratch, name), "wb") as file:
                file.write(content)
        out = os.path.join(scratch, "out")
        inputs = ["import", folder, scratch, os.path.join(scratch, "missing"), "--quiet"]
        to_folder = [*inputs, "--recursive", "--rich", "--out", out]
        subprocess.run([program, *to_folder], stderr=subprocess.DEVNULL, check=False)
        with open(os.path.join(out, "records.jsonl"), encoding="utf-8") as file:
            records = [json.loads(line) for line in file]
        output = subprocess.run([program, *inputs], stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL, check=False).stdout
        records += [json.loads(line) for line in output.splitlines()]

        for record in records:
            for error in validator.iter_errors(record):
                sys.exit(f"{record['path']}: {error.json_path}: {error.message}")
            for part in ("text", "thumbnail", "rich"):
                name = record.get(part, {}).get("file")
                assert not name or os.path.exists(os.path.join(out, name)), name
        errors = {os.path.basename(r["path"]): r.get("error") for r in records}
        for name, (_, error) in FILES.items():
            assert errors[name] == error, (name, errors[name])
        seen = {key for record in records for key in record}
        unseen = schema["properties"].keys() - seen
        assert not unseen, f"no record has {unseen}"
    print(f"{len(records)} records are as the schema says")


if __name__ == "__main__":
    main(*sys.argv[1:])
