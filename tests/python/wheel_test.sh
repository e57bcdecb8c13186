#!/bin/sh
# The wheel installs with pip, without an index, into a clean virtual environment, and works there with the library that it
# brought along.
# Usage: wheel_test.sh SOURCE_FOLDER BUILD_FOLDER PYTHON
set -eu
source=$1 build=$2 python=$3
work=$build/wheel_test
rm -rf "$work"
mkdir -p "$work"
cmake --build "$build" --target wheel >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
wheel=$(ls "$build"/packages/quarrow-*-py3-none-*.whl)
"$python" -m venv "$work/venv"
unset PYTHONPATH QUARROW_LIBRARY
"$work/venv/bin/pip" --disable-pip-version-check install --no-index --quiet "$wheel"
cd "$work"
used=$("$work/venv/bin/python" -c 'import quarrow._library; print(quarrow._library.library._name)')
case $used in
    "$work"/venv/*) ;;
    *)
        echo "uses $used, not what was installed"
        exit 1
        ;;
esac
machine=$source/tests/machines/intel-2p-smt.txt
"$work/venv/bin/python" "$source/examples/tree.py" "$machine" >"$work/tree"
"$build/bin/quarrow" --machine "$machine" tree | sed '/^$/,$d' | diff - "$work/tree"
# What pip says of the files is what the wheel recorded of them.
"$work/venv/bin/pip" --disable-pip-version-check check
"$work/venv/bin/pip" --disable-pip-version-check show --files quarrow | grep -q 'quarrow/py.typed'
echo "$(basename "$wheel") installed and used"
