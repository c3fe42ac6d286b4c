"""Checks what `zel show --json` prints of scripts against docs/interface.schema.json, and that the schema
refuses what isn't so: a key too few, one too many, and another kind.

    check_schema.py ZEL SCHEMA SCRIPT...

Exit 77, with a message, where there is no jsonschema.
"""

import json
import subprocess
import sys

try:
    import jsonschema
except ImportError:
    print("skipped: Python has no jsonschema (Debian package python3-jsonschema)")
    sys.exit(77)


def members_of(node):
    """All parameters, folders and blocks below."""
    for one in node:
        yield one
        for folder in one.get("folders", []):
            yield from members_of(folder["members"])
        yield from members_of(one.get("members", []))


def main():
    zel, schema_file, *scripts = sys.argv[1:]
    with open(schema_file, encoding="utf-8") as file:
        schema = json.load(file)
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    kinds = {}
    for script in scripts:
        text = subprocess.run([zel, "show", "--json", script], check=True, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL).stdout
        document = json.loads(text)
        for fault in validator.iter_errors(document):
            best = jsonschema.exceptions.best_match([fault])
            sys.exit(f"{script}: /{'/'.join(map(str, best.absolute_path))}: {best.message[:400]}")
        for interface in document.get("interfaces", [document]):
            for one in members_of(interface["parameters"]):
                kinds.setdefault(one["kind"], one)
    if sorted(kinds) != ["block", "folders", "parameter"]:
        sys.exit(f"the scripts have no more than {sorted(kinds)}")
    for one in kinds.values():
        wrong = [dict(one, unheard=1), dict(one, kind="other"), dict(one, invisible="no")]
        wrong += [{key: value for key, value in one.items() if key != left_out} for left_out in one]
        for broken in wrong:
            if validator.is_valid({"dialog": interface["dialog"], "parameters": [broken]}):
                sys.exit(f"the schema accepts {json.dumps(broken)[:400]}")


main()
