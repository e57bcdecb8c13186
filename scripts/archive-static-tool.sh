#!/bin/sh
# Makes quarrow-VERSION-linux-x86_64-static.tar.gz of the static tool and its licences, stripped:
# scripts/archive-static-tool.sh BUILD_FOLDER FOLDER_OF_PACKAGES
set -eu
build=$1 packages=$2
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
name=quarrow-$version-linux-x86_64-static
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
cmake --install "$build" --component static --prefix "$stage/$name" --strip >/dev/null
strip "$stage/$name/quarrow"
tar -czf "$packages/$name.tar.gz" -C "$stage" --owner=0 --group=0 "$name"
