#!/usr/bin/env python3
"""The manifests of package managers, filled in for an archive: they can be read, have what their schemas demand, and tell
the version of CMakeLists.txt and the archive's name and hash.
Usage: manifests_test.py SOURCE_FOLDER"""
import ast
import hashlib
import json
import pathlib
import re
import subprocess
import sys
import tempfile

import yaml

source = pathlib.Path(sys.argv[1])
version, description = re.search(r'project\(Quarrow VERSION ([0-9.]+).*?DESCRIPTION "(.*?)"',
                                 (source / "CMakeLists.txt").read_text(), re.S).groups()
folder = f"quarrow-{version}-windows-x86_64"
content = b"an archive"


def check(condition, complaint):
    if not condition:
        sys.exit(f"FAILED: {complaint}")


with tempfile.TemporaryDirectory() as name:
    packages = pathlib.Path(name)
    script = source / "scripts/make-manifests.sh"
    check(subprocess.run([script, packages], stderr=subprocess.DEVNULL).returncode == 1, "does without the archive")
    (packages / f"{folder}.zip").write_bytes(content)
    subprocess.run([script, packages, "https://example.org/releases"], check=True)
    winget = {}
    for path in (packages / "manifests/winget").iterdir():
        check("@" not in path.read_text(), f"{path.name} is not filled in")
        manifest = yaml.safe_load(path.read_text())
        winget[manifest["ManifestType"]] = manifest
        check(path.name.startswith(manifest["PackageIdentifier"] + "."), f"{path.name} has another name than its package")
        check(manifest["PackageVersion"] == version, f"{path.name} tells another version than {version}")
    scoop = json.loads((packages / "manifests/scoop/quarrow.json").read_text())

demanded = {"version": ["DefaultLocale"], "installer": ["Installers"],
            "defaultLocale": ["PackageLocale", "Publisher", "PackageName", "License", "ShortDescription"]}
check(winget.keys() == demanded.keys(), f"winget's manifests are {sorted(winget)}")
for kind, fields in demanded.items():
    check(all(winget[kind].get(field) for field in fields), f"winget's {kind} lacks one of {fields}")
check(winget["defaultLocale"]["PackageLocale"] == winget["version"]["DefaultLocale"], "winget's locales differ")
(installer,) = winget["installer"]["Installers"]
(program,) = winget["installer"]["NestedInstallerFiles"]
(archive,) = scoop["architecture"].values()
check(program["RelativeFilePath"] == "\\".join([archive["extract_dir"], scoop["bin"]]), "winget and scoop start others")
address = f"https://example.org/releases/{folder}.zip"
check(installer["InstallerUrl"] == archive["url"] == address, "the address of the archive is wrong")
check(installer["InstallerSha256"] == archive["hash"] == hashlib.sha256(content).hexdigest(), "the hash is wrong")
check(all(scoop.get(field) for field in ["description", "homepage", "license"]) and scoop["version"] == version, "scoop")

port = json.loads((source / "packaging/vcpkg/quarrow/vcpkg.json").read_text())
check((port["version-semver"], port["description"]) == (version, description), "vcpkg.json is of another version or name")
recipe = ast.parse((source / "packaging/conan/conanfile.py").read_text())
members = {target.id: node.value for node in ast.walk(recipe) if isinstance(node, ast.Assign)
           for target in node.targets if isinstance(target, ast.Name)}
check(ast.literal_eval(members["description"]) == description, "the recipe of Conan has another description")
