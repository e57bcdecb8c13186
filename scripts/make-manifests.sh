#!/bin/sh
# Fills in the manifests of packaging/ that name the archive for Windows, into FOLDER_OF_PACKAGES/manifests:
# scripts/make-manifests.sh FOLDER_OF_PACKAGES [ADDRESS_OF_THE_FOLDER]
set -eu
source=$(cd "$(dirname "$0")/.." && pwd)
packages=$1 home=${2:-https://quarrow.invalid}
version=$(sed -n 's/^project(Quarrow VERSION \([0-9.]*\) .*/\1/p' "$source/CMakeLists.txt")
description=$(sed -n 's/^ *DESCRIPTION "\(.*\)").*/\1/p' "$source/CMakeLists.txt")
folder=quarrow-$version-windows-x86_64
hash=$(sha256sum "$packages/$folder.zip") || {
    echo "$packages/$folder.zip is not there: run 'make package'" >&2
    exit 1
}
for template in "$source"/packaging/winget/*.in "$source"/packaging/scoop/*.in; do
    filled=$packages/manifests/${template#"$source/packaging/"}
    mkdir -p "$(dirname "$filled")"
    sed "s|@VERSION@|$version|; s|@DESCRIPTION@|$description|; s|@FOLDER@|$folder|; s|@SHA256@|${hash%% *}|
        s|@HOME@|$home|; s|@URL@|$home/$folder.zip|" "$template" >"${filled%.in}"
done
