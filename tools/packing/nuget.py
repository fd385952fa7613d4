"""The NuGet package of a folder: nuget.py CONTENT VERSION FOLDER"""

import pathlib
import sys

import same_zip

content, version, folder = sys.argv[1:]
PARTS = {
    "Vexil.nuspec": f"""<?xml version="1.0" encoding="utf-8"?>
<package xmlns="http://schemas.microsoft.com/packaging/2013/05/nuspec.xsd">
  <metadata>
    <id>Vexil</id>
    <version>{version}</version>
    <authors>Vexil</authors>
    <description>Which GPUs a Windows machine has, and how to reach each of them</description>
    <dependencies>
      <group targetFramework=".NETStandard2.0" />
    </dependencies>
  </metadata>
</package>
""",
    "[Content_Types].xml": """<?xml version="1.0" encoding="utf-8"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">
  <Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml" />
  <Default Extension="nuspec" ContentType="application/octet" />
  <Default Extension="dll" ContentType="application/octet" />
  <Default Extension="exe" ContentType="application/octet" />
  <Default Extension="xml" ContentType="application/octet" />
  <Default Extension="txt" ContentType="application/octet" />
</Types>
""",
    "_rels/.rels": """<?xml version="1.0" encoding="utf-8"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
  <Relationship Type="http://schemas.microsoft.com/packaging/2010/07/manifest" Target="/Vexil.nuspec" Id="manifest" />
</Relationships>
""",
}
files = {name: text.encode() for name, text in PARTS.items()}
same_zip.write(pathlib.Path(folder, f"Vexil.{version}.nupkg"), {**files, **same_zip.content(content)})
