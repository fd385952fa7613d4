"""What is inside a release, as an SPDX 2.3 document: spdx.py FOLDER

FOLDER holds the release, whose files are listed with their hashes. The versions and hashes of what they are made of are
those of the recipe's archives and of Debian's packages.
"""

import datetime
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).parents[2]

# Names of upstream archives, and of Debian packages, with their licences.
ARCHIVES = {
    "log4cxx": "Apache-2.0",
    "apr": "Apache-2.0",
    "apr-util": "Apache-2.0",
    "expat": "MIT",
    "fmtlib": "MIT",
}
PACKAGES = {
    "libflatbuffers-dev": "Apache-2.0",
    "libcli11-dev": "BSD-3-Clause",
    "nlohmann-json3-dev": "MIT",
    "opencl-c-headers": "Apache-2.0",
    "libvulkan-dev": "Apache-2.0",
    "libze-dev": "MIT",
    "gcc-mingw-w64-x86-64-posix-runtime": "GPL-3.0-or-later WITH GCC-exception-3.1",
    "mingw-w64-x86-64-dev": "ZPL-2.1 AND MIT AND BSD-3-Clause",
}


def found(pattern, text, name):
    match = re.search(pattern, text, re.MULTILINE)
    if not match:
        raise LookupError(f"version or hash of {name}")
    return match[1]


def archive(name):
    line = found(rf"^(.*/{re.escape(name)}_.*)$", (ROOT / "tools/dependencies/sources.txt").read_text(), name)
    return found(r"_([0-9.]+[0-9])", line, name), found(r" ([0-9a-f]{64})$", line, name)


def package(name):
    version = subprocess.check_output(["dpkg-query", "--show", "--showformat", "${Version}", name], text=True)
    shown = subprocess.check_output(["apt-cache", "show", f"{name}={version}"], text=True)
    return version, found(r"^SHA256: ([0-9a-f]{64})$", shown, name)


def part(name, licence, version, sha256):
    return {
        "SPDXID": f"SPDXRef-Package-{name}",
        "name": name,
        "versionInfo": version,
        "checksums": [{"algorithm": "SHA256", "checksumValue": sha256}],
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": licence,
        "licenseDeclared": licence,
        "copyrightText": "NOASSERTION",
    }


def file(number, path):
    data = path.read_bytes()
    return {
        "SPDXID": f"SPDXRef-File-{number}",
        "fileName": f"./{path.name}",
        "checksums": [{"algorithm": name.upper(), "checksumValue": hashlib.new(name, data).hexdigest()} for name in ["sha1", "sha256"]],
        "licenseConcluded": "NOASSERTION",
        "copyrightText": "NOASSERTION",
    }


def document(folder):
    version = found(r'^set\(VEXIL_VERSION_TEXT "(.*)"\)$', (ROOT / "CMakeLists.txt").read_text(), "Vexil")
    # No licence has been chosen for it.
    own = {
        "SPDXID": "SPDXRef-Package-Vexil",
        "name": "Vexil",
        "versionInfo": version,
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": "NONE",
        "licenseDeclared": "NONE",
        "copyrightText": "NOASSERTION",
    }
    parts = [part(name, licence, *archive(name)) for name, licence in ARCHIVES.items()]
    parts += [part(name, licence, *package(name)) for name, licence in PACKAGES.items()]
    files = [file(number, path) for number, path in enumerate(sorted(folder.iterdir()), 1)]
    made = datetime.datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), datetime.timezone.utc)
    content = hashlib.sha256(json.dumps([parts, files]).encode()).hexdigest()
    relations = [("SPDXRef-DOCUMENT", "DESCRIBES", own["SPDXID"])]
    relations += [(own["SPDXID"], "CONTAINS", f["SPDXID"]) for f in files]
    relations += [(own["SPDXID"], "CONTAINS", p["SPDXID"]) for p in parts]
    return {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"Vexil {version}",
        "documentNamespace": f"urn:vexil:{version}:{content}",
        "creationInfo": {"created": made.strftime("%Y-%m-%dT%H:%M:%SZ"), "creators": ["Tool: vexil-tools-release"]},
        "packages": [own, *parts],
        "files": files,
        "relationships": [
            {"spdxElementId": first, "relationshipType": kind, "relatedSpdxElement": second}
            for first, kind, second in relations
        ],
    }


if __name__ == "__main__":
    print(json.dumps(document(pathlib.Path(sys.argv[1])), indent=2))
