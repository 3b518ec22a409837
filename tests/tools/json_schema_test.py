"""Every JSON line mopac-input prints validates against its schema.

    python3 json_schema_test.py TOOL SCHEMA EXAMPLES_DIR [CORPUS_DIR]
"""
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

import jsonschema

tool, schema_path, examples = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
corpus = pathlib.Path(sys.argv[4]) if len(sys.argv) > 4 else None
schema = json.loads(schema_path.read_text())
validator = jsonschema.Draft202012Validator(schema)


def precise_error(record):
    """The first error of the record against its own command's part of the schema."""
    part = dict(schema, oneOf=None, **{"$ref": f"#/$defs/{record.get('command')}"})
    del part["oneOf"]
    errors = sorted(jsonschema.Draft202012Validator(part).iter_errors(record), key=str)
    return f"{errors[0].message[:200]} at {list(errors[0].path)}" if errors else "no single part matches"


files = sorted(str(p) for p in examples.glob("*.mop"))
if corpus is not None and (corpus / "MANIFEST.tsv").exists():
    rows = (corpus / "MANIFEST.tsv").read_text(encoding="utf-8").splitlines()[1:]
    files += [str(corpus / row.split("\t")[0]) for row in rows[::7] if row]

checked = 0
with tempfile.TemporaryDirectory() as scratch:
    copies = []
    for i, name in enumerate(files[:60]):
        copy = pathlib.Path(scratch) / f"{i}.mop"
        shutil.copyfile(name, copy)
        copies.append(str(copy))
    runs = [["show", "--json", *files], ["check", "--json", *files],
            ["edit", "--json", "--in-place", "--method", "PM6", *copies],
            ["edit", "--json", "--in-place", "--method", "PM6", *copies]]  # the second finds them unchanged
    for args in runs:
        done = subprocess.run([tool, *args], capture_output=True, check=False)
        lines = done.stdout.decode("utf-8").splitlines()
        assert lines, f"{args[0]} printed nothing: {done.stderr[-500:]!r}"
        for line in lines:
            record = json.loads(line)
            assert validator.is_valid(record), f"{args[0]} {record.get('file')}: {precise_error(record)}"
            checked += 1
print(f"{checked} passed, 0 failed")
