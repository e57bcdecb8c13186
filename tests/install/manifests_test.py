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

# What the published schemas of winget's manifests, version 1.9.0, let stand in the fields that ours have.
no_path = r'[^\\/:*?"<>|\x01-\x1f]'
word = r'[^.\s\\/:*?"<>|\x01-\x1f]{1,32}'
locale = r"[a-zA-Z]{2,3}(-[a-zA-Z]{1,8})*"
allowed = {
    "PackageIdentifier": rf"{word}(\.{word}){{1,7}}", "PackageVersion": no_path + "{1,128}", "DefaultLocale": locale,
    "PackageLocale": locale, "Publisher": ".{2,256}", "PackageName": ".{2,256}", "License": ".{3,512}",
    "ShortDescription": ".{3,256}", "Moniker": ".{1,40}", "Tags": ".{1,40}", "ManifestVersion": r"1\.9\.0",
    "ManifestType": "version|installer|defaultLocale", "MinimumOSVersion": r"\d{1,5}(\.\d{1,5}){0,3}", "InstallerType": "zip",
    "NestedInstallerType": "portable", "RelativeFilePath": ".{1,512}", "PortableCommandAlias": ".{1,40}",
    "ArchiveBinariesDependOnPath": "True|False", "Architecture": "x86|x64|arm|arm64|neutral",
    "InstallerUrl": "https?://.{1,2000}", "InstallerSha256": "[A-Fa-f0-9]{64}"}


def check_fields(value, field):
    if isinstance(value, dict):
        for name, inner in value.items():
            check_fields(inner, name)
    elif isinstance(value, list):
        for inner in value:
            check_fields(inner, field)
    else:
        check(field in allowed, f"winget knows no field {field}, or this test does not")
        check(re.fullmatch(allowed[field], str(value)), f"winget takes no {field} like {value!r}")


for manifest in winget.values():
    check_fields(manifest, "")
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
fields = {"version", "description", "homepage", "license", "architecture", "bin"}
check(scoop.keys() <= fields, f"scoop knows no field {scoop.keys() - fields}, or this test does not")
check(scoop["architecture"].keys() == {"64bit"} and archive.keys() == {"url", "hash", "extract_dir"}, "scoop's archive")

port = json.loads((source / "packaging/vcpkg/quarrow/vcpkg.json").read_text())
check((port["version-semver"], port["description"]) == (version, description), "vcpkg.json is of another version or name")
features = port["features"]
check(set(port["default-features"]) <= features.keys() and all(features[name]["description"] for name in features),
      "vcpkg.json names features that it does not have, or does not describe one")
recipe_text = (source / "packaging/conan/conanfile.py").read_text()
recipe = ast.parse(recipe_text)
members = {target.id: node.value for node in ast.walk(recipe) if isinstance(node, ast.Assign)
           for target in node.targets if isinstance(target, ast.Name)}
check(ast.literal_eval(members["description"]) == description, "the recipe of Conan has another description")
check(ast.literal_eval(members["options"]).keys() == {"shared"} | features.keys() - {"tool"},
      "Conan's options are not vcpkg's features")

# Each library that a build finds is named by both, as they call it.
called = {"Boost": ("boost-optional", "boost"), "fmt": ("fmt", "fmt"), "spdlog": ("spdlog", "spdlog"),
          "CLI11": ("cli11", None), "nlohmann_json": ("nlohmann-json", "nlohmann_json"), "ZLIB": ("zlib", "zlib"),
          "LIBLZMA": ("liblzma", "xz_utils"), "LIBBZ2": ("bzip2", "bzip2"), "PUGIXML": ("pugixml", "pugixml")}
found = re.findall(r"^ *quarrow_(?:dependency|reader_library)\((\w+) ",
                   (source / "cmake/QuarrowDependencies.cmake").read_text(), re.M)
check(set(found) == called.keys(), f"the build finds {sorted(found)}, this test knows {sorted(called)}")
ports = {entry if isinstance(entry, str) else entry["name"]
         for part in [port, *features.values()] for entry in part["dependencies"]}
required = set(re.findall(r'self\.requires\("(\w+)/', recipe_text))
for library, (in_vcpkg, in_conan) in called.items():
    check(in_vcpkg in ports, f"vcpkg.json does not name {in_vcpkg}")
    check(in_conan is None or in_conan in required, f"the recipe of Conan does not name {in_conan}")
headers = subprocess.run(["grep", "-rhoE", "#include <boost/[a-z]+", "zel", "libKernelMode", "pci", "libQuarrow"], cwd=source,
                         stdout=subprocess.PIPE, check=True, text=True).stdout
parts = {"boost-" + line.rpartition("/")[2] for line in headers.split("\n") if line}
check(parts <= ports, f"vcpkg.json does not name {sorted(parts - ports)}")
# The recipe takes along what the build of the libraries reads.
exported = ast.unparse(next(node for node in ast.walk(recipe)
                            if isinstance(node, ast.FunctionDef) and node.name == "export_sources"))
for folder in ["cmake", "docs", "zel", "libKernelMode", "pci", "libQuarrow", "bindings", "packaging/debian"]:
    check(f"'{folder}/*'" in exported, f"the recipe of Conan does not export {folder}")
