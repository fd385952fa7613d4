"""Validates what the program prints with --json, every command on every machine, against the published schema.

Usage: check_documents.py VEXIL_SIM SCHEMA MACHINES_FOLDER
"""

import json
import pathlib
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor

import jsonschema


def strict(schema):
    """The schema without room for members that it does not name: a new one has to be described."""
    if isinstance(schema, list):
        return [strict(part) for part in schema]
    if not isinstance(schema, dict):
        return schema
    result = {name: strict(part) for name, part in schema.items()}
    if isinstance(schema.get("properties"), dict) and "additionalProperties" not in schema:
        result["additionalProperties"] = False
    return result


def main(program, schema_file, machines_folder):
    schema = json.loads(pathlib.Path(schema_file).read_text(encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)
    documents = {}
    for document in strict(schema["oneOf"]):
        document["$defs"] = strict(schema["$defs"])
        name = document["properties"]["command"]["const"]
        documents[name] = jsonschema.Draft202012Validator(document)
    faults = []
    seen = set()

    def check(machine, arguments):
        command = [program, str(machine), *arguments, "--json"]
        run = subprocess.run(command, capture_output=True, check=False)
        if not run.stdout:
            return
        try:
            document = json.loads(run.stdout.decode("utf-8"))
            seen.add(document["command"])
            if "\ufffd" in run.stdout.decode("utf-8"):
                faults.append(f"{machine.name} {arguments}: a letter that was lost")
            for error in documents[document["command"]].iter_errors(document):
                faults.append(f"{machine.name} {arguments}: {error.json_path}: {error.message[:200]}")
        except (ValueError, KeyError) as error:
            faults.append(f"{machine.name} {arguments}: {error!r}")

    with tempfile.TemporaryDirectory() as folder, ThreadPoolExecutor() as pool:

        def check_all(machine):
            saved = str(pathlib.Path(folder, machine.stem))
            check(machine, ["save", saved])
            for arguments in COMMANDS:
                check(machine, arguments)
            for arguments in (*SAVED_COMMANDS, ["rematch", saved]):
                check(machine, [*arguments, *([] if "rematch" in arguments else ["--from", saved])])

        list(pool.map(check_all, sorted(pathlib.Path(machines_folder).glob("*.json"))))
    faults.extend(f"no document of the command {name}" for name in documents.keys() - seen)
    print("\n".join(faults[:50]))
    return 1 if faults else 0


SAVED_COMMANDS = [[], ["list"], ["show", "0"], ["monitors"], ["memory"], ["doctor"], ["topo"]]
COMMANDS = [*SAVED_COMMANDS, ["show", "1"], ["ids"], ["env", "0"], ["--anonymous"], ["ids", "--anonymous"]]

if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
