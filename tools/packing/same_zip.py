"""A ZIP of a folder, byte for byte the same wherever and whenever it is made: same_zip.py FOLDER ARCHIVE

Times are those of SOURCE_DATE_EPOCH.
"""

import os
import pathlib
import sys
import time
import zipfile


def write(archive, files):
    """Names and contents, in this order."""
    moment = time.gmtime(int(os.environ["SOURCE_DATE_EPOCH"]))[:6]
    with zipfile.ZipFile(archive, "w") as opened:
        for name, data in files.items():
            entry = zipfile.ZipInfo(name, moment)
            entry.compress_type = zipfile.ZIP_DEFLATED
            # As a file that everybody may read.
            entry.external_attr = 0o100644 << 16
            opened.writestr(entry, data)


def content(folder):
    folder = pathlib.Path(folder)
    return {path.relative_to(folder).as_posix(): path.read_bytes() for path in sorted(folder.rglob("*")) if path.is_file()}


if __name__ == "__main__":
    source, target = sys.argv[1:]
    top = pathlib.Path(source).name
    write(target, {f"{top}/{name}": data for name, data in content(source).items()})
