#!/usr/bin/env python3
"""Makes a wheel of the Python package and the C library, which pip installs without compiling anything.

Usage: make_wheel.py LIBRARY NAME VERSION PLATFORM README COPYRIGHT FOLDER

LIBRARY is the file of the library and NAME what it is called in the package, PLATFORM the platform tag, such as linux_x86_64.
The same files give the same wheel.
"""

import base64
import hashlib
import pathlib
import sys
import zipfile

WHEN = (1980, 1, 1, 0, 0, 0)  # the earliest time that an archive can hold


def main() -> int:
    library, name, version, platform, readme, copyright_file, folder = sys.argv[1:]
    package = pathlib.Path(__file__).parent / "quarrow"
    information = f"quarrow-{version}.dist-info"
    files = {f"quarrow/{path.name}": path.read_bytes() for path in sorted(package.iterdir()) if path.is_file()}
    files[f"quarrow/{name}"] = pathlib.Path(library).read_bytes()
    files[f"{information}/METADATA"] = (
        "Metadata-Version: 2.1\n"
        "Name: quarrow\n"
        f"Version: {version}\n"
        "Summary: Everything that can be learned about the processors of an x86-64 machine\n"
        "Requires-Python: >=3.8\n"
        "Description-Content-Type: text/markdown\n\n" + pathlib.Path(readme).read_text(encoding="utf-8")
    ).encode()
    files[f"{information}/WHEEL"] = (
        f"Wheel-Version: 1.0\nGenerator: quarrow {version}\nRoot-Is-Purelib: false\nTag: py3-none-{platform}\n"
    ).encode()
    files[f"{information}/COPYRIGHT"] = pathlib.Path(copyright_file).read_bytes()

    record = ""
    target = pathlib.Path(folder) / f"quarrow-{version}-py3-none-{platform}.whl"
    with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED) as archive:

        def add(path: str, content: bytes) -> None:
            entry = zipfile.ZipInfo(path, WHEN)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = (0o755 if path.endswith((".so.1", ".dll")) else 0o644) << 16
            archive.writestr(entry, content)

        for path, content in files.items():
            digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
            record += f"{path},sha256={digest},{len(content)}\n"
            add(path, content)
        add(f"{information}/RECORD", f"{record}{information}/RECORD,,\n".encode())
    print(target)
    return 0


if __name__ == "__main__":
    sys.exit(main())
