"""Checks what `zel diff --json` prints against docs/difference.schema.json, that the schema knows every kind of
NOD_Records.def, and that it refuses what isn't so.

    check_difference_schema.py ZEL SCHEMA RECORDS ARGUMENTS...

ARGUMENTS are calls of diff, separated by "--". Exit 77, with a message, where there is no jsonschema.
"""

import json
import re
import subprocess
import sys

try:
    import jsonschema
except ImportError:
    print("skipped: Python has no jsonschema (Debian package python3-jsonschema)")
    sys.exit(77)


def main():
    zel, schema_file, records, *arguments = sys.argv[1:]
    with open(schema_file, encoding="utf-8") as file:
        schema = json.load(file)
    with open(records, encoding="utf-8") as file:
        kinds = re.findall(r'^NOD_RECORD\(\w+, "(\w+)"', file.read(), re.M)
    if sorted(schema["$defs"]["kind"]["enum"]) != sorted(kinds):
        sys.exit(f"the schema's kinds aren't those of {records}")
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    edits = {}
    for call in " ".join(arguments).split(" -- "):
        done = subprocess.run([zel, "diff", "--json", *call.split()], check=False, stdout=subprocess.PIPE)
        document = json.loads(done.stdout)
        for fault in validator.iter_errors(document):
            best = jsonschema.exceptions.best_match([fault])
            sys.exit(f"{call}: /{'/'.join(map(str, best.absolute_path))}: {best.message[:400]}")
        for edit in document["edits"]:
            edits.setdefault(edit["verb"], edit)
    if not {"added", "removed", "changed", "renamed"} <= set(edits):
        sys.exit(f"the calls have no more than {sorted(edits)}")
    for edit in edits.values():
        wrong = [dict(edit, unheard=1), dict(edit, kind="other"), dict(edit, verb="other")]
        needed = set(edit) - {"address", "oldAfter", "newAfter", "newPath"}
        wrong += [{key: value for key, value in edit.items() if key != left_out} for left_out in needed]
        for broken in wrong:
            if validator.is_valid({"format": "zel difference", "version": 1, "exact": True, "edits": [broken]}):
                sys.exit(f"the schema accepts {json.dumps(broken)[:400]}")


main()
