"""Whether a release has all its parts, and its SPDX document is one and speaks of them: check_release.py FOLDER"""

import datetime
import fnmatch
import hashlib
import json
import pathlib
import re
import sys
import tarfile
import urllib.parse
import zipfile

import jsonschema

FOLDER = pathlib.Path(sys.argv[1])
PARTS = ["LICENSES.txt", "Vexil-*-windows-x64-mingw-gcc*.zip", "Vexil.*.nupkg", "vexil-*.tgz", "vexil-*-py3-none-win_amd64.whl", "vexil.exe"]
LISTS = ["SHA256SUMS", "vexil.spdx.json"]

# What the standard asks of the members that are used.
TEXT = {"type": "string", "minLength": 1}
ELEMENT = {"type": "string", "pattern": "^SPDXRef-[A-Za-z0-9.-]+$"}
HASH = {
    "type": "object",
    "required": ["algorithm", "checksumValue"],
    "oneOf": [
        {"properties": {"algorithm": {"const": "SHA1"}, "checksumValue": {"pattern": "^[0-9a-f]{40}$"}}},
        {"properties": {"algorithm": {"const": "SHA256"}, "checksumValue": {"pattern": "^[0-9a-f]{64}$"}}},
    ],
}
MEMBERS = {
    "SPDXID": ELEMENT,
    "spdxElementId": ELEMENT,
    "relatedSpdxElement": ELEMENT,
    "relationshipType": {"enum": ["DESCRIBES", "CONTAINS"]},
    "checksums": {"type": "array", "minItems": 1, "items": HASH},
    "filesAnalyzed": {"const": False},
    "fileName": {"pattern": "^\\./"},
}


def listed(required, optional=()):
    properties = {name: MEMBERS.get(name, TEXT) for name in [*required, *optional]}
    item = {"type": "object", "required": required, "properties": properties, "additionalProperties": False}
    return {"type": "array", "minItems": 1, "items": item}


LICENCES = ["licenseConcluded", "copyrightText"]
PROPERTIES = {
    "spdxVersion": {"const": "SPDX-2.3"},
    "dataLicense": {"const": "CC0-1.0"},
    "SPDXID": {"const": "SPDXRef-DOCUMENT"},
    "name": TEXT,
    "documentNamespace": TEXT,
    "creationInfo": {"required": ["created", "creators"]},
    "packages": listed(
        ["SPDXID", "name", "versionInfo", "downloadLocation", "filesAnalyzed", "licenseDeclared", *LICENCES], ["checksums"]
    ),
    "files": listed(["SPDXID", "fileName", "checksums", *LICENCES]),
    "relationships": listed(["spdxElementId", "relationshipType", "relatedSpdxElement"]),
}
SCHEMA = {"type": "object", "required": list(PROPERTIES), "properties": PROPERTIES, "additionalProperties": False}


def known_licences():
    folder = pathlib.Path("/usr/share/nodejs")
    lists = ["spdx-license-ids/index.json", "spdx-exceptions/index.json"]
    return {"NONE", "NOASSERTION"}.union(*(json.loads((folder / name).read_text()) for name in lists))


def check_document(document):
    jsonschema.validate(document, SCHEMA)
    datetime.datetime.strptime(document["creationInfo"]["created"], "%Y-%m-%dT%H:%M:%SZ")
    assert all(re.match("(Tool|Person|Organization): .", creator) for creator in document["creationInfo"]["creators"])
    assert urllib.parse.urlsplit(document["documentNamespace"]).scheme, document["documentNamespace"]

    elements = [document, *document["packages"], *document["files"]]
    names = {element["SPDXID"] for element in elements}
    assert len(names) == len(elements), "an element is named twice"
    for relation in document["relationships"]:
        assert {relation["spdxElementId"], relation["relatedSpdxElement"]} <= names, relation
    licences = {part for element in elements[1:] for part in re.split(" (?:AND|OR|WITH) ", element["licenseConcluded"])}
    assert licences <= known_licences(), licences


def check_files(document):
    described = {file["fileName"].removeprefix("./"): file for file in document["files"]}
    there = {path.name for path in FOLDER.iterdir()}
    assert described.keys() == there - set(LISTS), there
    assert len(there) == len(PARTS) + len(LISTS), there
    for part in PARTS:
        assert fnmatch.filter(there, part), part
    for name, file in described.items():
        data = (FOLDER / name).read_bytes()
        for checksum in file["checksums"]:
            assert hashlib.new(checksum["algorithm"].lower(), data).hexdigest() == checksum["checksumValue"], name


def check_licences(document):
    """As many texts as the document has things that are not Vexil's own, and in every package."""
    (package,) = FOLDER.glob("Vexil-*.zip")
    texts = {pathlib.PurePath(name).name for name in zipfile.ZipFile(package).namelist() if "/share/licenses/" in name}
    assert len(texts) == len(document["packages"]) - 1, texts
    together = (FOLDER / "LICENSES.txt").read_bytes()
    assert {line[4:-4] for line in together.decode().splitlines() if line.startswith("==> ")} == texts
    for path in [*FOLDER.glob("*.nupkg"), *FOLDER.glob("*.whl")]:
        archive = zipfile.ZipFile(path)
        assert [archive.read(name) for name in archive.namelist() if name.endswith("LICENSES.txt")] == [together], path
    (path,) = FOLDER.glob("*.tgz")
    assert tarfile.open(path).extractfile("package/LICENSES.txt").read() == together


spdx = json.loads((FOLDER / "vexil.spdx.json").read_text())
check_document(spdx)
check_files(spdx)
check_licences(spdx)
