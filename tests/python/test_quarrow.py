"""The Python package answers as the tool does, and what Python people expect of sets, errors and with blocks holds."""

import gc
import json
import os
import pathlib
import re
import subprocess
import sys
import threading
from typing import List

import pytest

import quarrow
from quarrow import _library

SOURCE = pathlib.Path(__file__).resolve().parents[2]
TOOL = os.environ["QUARROW_TOOL"]
OWN_MACHINES = sorted((SOURCE / "tests" / "machines").glob("*.txt"))
MACHINES = OWN_MACHINES + [
    path for folder in os.environ.get("QUARROW_CORPUS", "").split() for path in sorted(pathlib.Path(folder).glob("*.txt"))
]


def machine_file(name: str) -> str:
    return str(SOURCE / "tests" / "machines" / (name + ".txt"))


def told(*arguments: str) -> str:
    return subprocess.run([TOOL, *arguments], stdout=subprocess.PIPE, check=True).stdout.decode()


def tree_of(text: str) -> str:
    return text.split("\n\n")[0].rstrip("\n") + "\n"


def test_every_function_is_declared_as_the_list_has_it() -> None:
    listed = (SOURCE / "libQuarrow/c/functions.txt").read_text().split("\n")
    assert sorted(_library.FUNCTIONS) == sorted(line for line in listed if line and line[0] != "#")
    # The sizes of structures show in what the library fills behind them; the members' order is the header's.
    header = "".join(path.read_text() for path in sorted((SOURCE / "libQuarrow/c").glob("quarrow*.h")))
    for name, facts in {
        "processor": _library.ProcessorFacts,
        "cache": _library.CacheFacts,
        "tlb": _library.TlbFacts,
        "left_out": _library.LeftOutFacts,
        "speed": _library.SpeedFacts,
        "limits": _library.LimitsFacts,
        "hypervisor": _library.HypervisorFacts,
        "leaf": _library.LeafFacts,
        "leaf_field": _library.LeafFieldFacts,
    }.items():
        found = re.search(r"typedef struct quarrow_%s \{(.*?)\} quarrow_%s;" % (name, name), header, re.S)
        assert found
        plain = re.sub(r"/\*.*?\*/", "", found.group(1), flags=re.S)
        assert re.findall(r"(\w+);", plain) == [field[0] for field in facts._fields_]


def test_the_example_prints_the_trees_of_the_tool() -> None:
    assert len(MACHINES) >= 10
    program = [sys.executable, str(SOURCE / "examples" / "tree.py")]
    printed = subprocess.run(program + [str(file) for file in MACHINES], stdout=subprocess.PIPE, check=True)
    expected = [f"{file}:\n" + tree_of(told("--machine", str(file), "tree")) for file in MACHINES]
    assert printed.stdout.decode() == "".join(expected)
    live = subprocess.run(program, stdout=subprocess.PIPE, check=True).stdout.decode()
    assert live == tree_of(told("tree"))


def check_document(machine: quarrow.Machine, document: dict) -> None:  # type: ignore[type-arg]
    """That the objects say what the document says."""
    assert machine.json() == document
    summary = document["summary"]
    assert len(machine.packages) == summary["packages"]
    assert len(machine.dies) == (summary["dies"] or 0)
    assert len(machine.cores) == summary["cores"]
    assert len(machine) == summary["threads"]
    assert machine.level == summary["level"]
    assert {kind["kind"]: kind["threads"] for kind in summary["kinds"] if kind["kind"]} == {
        kind: len(cpus) for kind, cpus in machine.kinds.items()
    }
    assert [out.number for out in machine.left_out] == [out["logicalCpuNumber"] for out in summary["leftOut"]]
    for processor, told_of in zip(machine, document["processors"]):
        names = {"logicalCpuNumber": "number", "apicId": "apic_id", "numaNode": "numa_node"}
        names.update(packageName="package_name")
        names.update(physicalAddressBits="physical_address_bits", linearAddressBits="linear_address_bits")
        for field in (
            "logicalCpuNumber apicId package die complex module core thread numaNode kind vendor family model stepping "
            "signature microcode microarchitecture codename process revision packageName level physicalAddressBits "
            "linearAddressBits"
        ).split():
            assert getattr(processor, names.get(field, field)) == told_of[field], field
        assert processor.features == set(told_of["features"])
        assert processor.usable == set(told_of["usable"])
        assert [machine.caches.index(cache) for cache, _ in processor.caches] == told_of["caches"]
        assert machine.affinity([processor.number]) == told_of["affinity"]
    for cache, told_of in zip(machine.caches, document["caches"]):
        assert f"L{cache.level}" == told_of["level"]
        assert cache.size == (told_of["sizeBytes"] or told_of["sizeMicroOps"])
        shared = None if cache.shared_by is None else [list(cpus) for cpus in cache.shared_by]
        assert (cache.type, cache.ways, cache.line_size, cache.sets, cache.inclusive, shared) == (
            told_of["type"],
            told_of["ways"],
            told_of["lineSizeBytes"],
            told_of["sets"],
            told_of["inclusive"],
            told_of["sharedBy"],
        )
    for tlb, told_of in zip(machine.tlbs, document["tlbs"]):
        assert (tlb.type, list(tlb.page_sizes), tlb.entries, tlb.ways, list(tlb.cpus)) == tuple(
            told_of[field] for field in ("type", "pageSizes", "entries", "ways", "processors")
        )


@pytest.mark.parametrize("file", OWN_MACHINES, ids=[path.stem for path in OWN_MACHINES])
def test_a_machine_says_what_the_document_says(file: pathlib.Path) -> None:
    machine = quarrow.Machine.load(file, microcode=True)
    assert machine.is_recorded
    check_document(machine, json.loads(told("--machine", str(file), "--json", "tree")))


def check_leaves(machine: quarrow.Machine, leaves: list) -> None:  # type: ignore[type-arg]
    """That the leaves of each processor say what `quarrow --json leaves` says of it."""
    for processor in machine:

        def of_it(values: list) -> dict:  # type: ignore[type-arg]
            return next((value for value in values if processor.number in value["processors"]), {})

        told_of = {(leaf["leaf"], leaf["subleaf"]): leaf for leaf in leaves if of_it(leaf["answers"])}
        assert [(leaf.leaf, leaf.subleaf) for leaf in processor.leaves] == sorted(told_of)
        for leaf in processor.leaves:
            told = told_of[(leaf.leaf, leaf.subleaf)]
            registers = of_it(told["answers"])
            assert (leaf.eax, leaf.ebx, leaf.ecx, leaf.edx) == tuple(registers[r] for r in ("eax", "ebx", "ecx", "edx"))
            assert leaf.title == told["title"]
            unknown = {
                (bits["register"], bit)
                for bits in told["unknown"]
                if processor.number in bits["processors"]
                for bit in bits["bits"]
            }
            masks = leaf.unknown.items()
            assert unknown == {(name, bit) for name, mask in masks for bit in range(32) if mask >> bit & 1}
            fields = {field["name"]: field for field in told["fields"] if of_it(field["values"])}
            assert {field.name for field in leaf.fields} == set(fields)
            for field in leaf.fields:
                value = of_it(fields[field.name]["values"])
                told_once = fields[field.name]
                assert (field.meaning, field.register, field.kind, field.unit, field.lowest_bit, field.width) == tuple(
                    told_once[name] for name in ("meaning", "register", "kind", "unit", "lowestBit", "width")
                )
                assert (field.raw, field.value, field.word) == (value["raw"], value["value"], value["word"])


@pytest.mark.parametrize("file", OWN_MACHINES, ids=[path.stem for path in OWN_MACHINES])
def test_leaves_say_what_the_document_says(file: pathlib.Path) -> None:
    machine = quarrow.Machine.load(file, leaves=True)
    check_leaves(machine, json.loads(told("--machine", str(file), "--json", "leaves"))["leaves"])


def test_leaves_and_their_fields() -> None:
    machine = quarrow.Machine.load(machine_file("intel-2p-smt"), leaves=True)
    first = machine[0].leaves[0]
    assert repr(first).startswith("<Leaf 0x0.0: ") and first[first.fields[0].name] is first.fields[0]
    with pytest.raises(KeyError):
        first["no such field"]
    with pytest.raises(quarrow.Error) as info:
        quarrow.Machine.load(machine_file("intel-2p-smt"))[0].leaves
    assert info.value.code is quarrow.ErrorCode.UNKNOWN


def test_this_machine() -> None:
    machine = quarrow.Machine.native(microcode=True)
    assert not machine.is_recorded
    check_document(machine, json.loads(told("--json", "tree")))
    again = quarrow.Machine.loads(machine.record(), "again")
    assert str(again.cpus) == str(machine.cpus)
    assert again[min(again.cpus)].usable == machine[min(machine.cpus)].usable


def test_a_machine_is_a_sequence_of_its_processors(tmp_path: pathlib.Path) -> None:
    machine = quarrow.Machine.load(machine_file("intel-2p-smt"))
    assert [processor.number for processor in machine] == list(range(8))
    assert repr(machine) == "<Machine: Intel® Xeon® CPU X5650 @ 2.67GHz: 2 packages, 4 cores, 8 threads>"
    assert repr(machine[5]) == "<Processor 5: package 1, core 2: Intel® Xeon® CPU X5650 @ 2.67GHz>"
    assert repr(machine.packages[1]) == "Object(number=1, cpus=CpuSet('4-7'))"
    assert repr(machine.caches[-1]) == "<Cache L3: 2 x 12 MB>"
    for number in (8, -1, 1 << 40):
        with pytest.raises(KeyError):
            machine[number]
    assert machine[5].can_use("sse4_2") and not machine[5].has("avx2")
    assert machine.sharing_cache(5, 3) == {4, 5, 6, 7}
    assert machine.sharing_cache(5, 4) is None
    assert machine.one_per_core("0-3") == {0, 2}
    assert machine.of_kind("efficient") == set()
    machine.record_to(tmp_path / "recording.txt")
    assert quarrow.Machine.load(tmp_path / "recording.txt").record() == machine.record()
    processor = machine[0]  # keeps its machine
    del machine
    gc.collect()
    assert processor.has("sse2")


def test_speeds_and_limits_where_asked_for() -> None:
    plain = quarrow.Machine.load(machine_file("intel-thermal"))
    with pytest.raises(quarrow.Error) as info:
        plain[0].speed
    assert info.value.code is quarrow.ErrorCode.UNKNOWN
    machine = quarrow.Machine.load(machine_file("intel-thermal"), speeds=True, limits=True)
    speed, limits = machine[0].speed, machine[0].limits
    assert speed.base is None or speed.base > 10**8
    assert all(ratio > 0 for ratio in limits.turbo_ratios.values())
    cpus = sorted(quarrow.allowed())
    live = quarrow.Machine.native(speeds=True, measure=False, whose=cpus[:1])
    assert live[cpus[0]].speed.tsc is None
    for number in cpus[1:]:
        with pytest.raises(quarrow.Error):
            live[number].speed


def test_sets_are_sets() -> None:
    a, b = quarrow.CpuSet("0-3,8"), quarrow.CpuSet([2, 3, 4, 5])
    assert (str(a | b), str(a & b), str(a - b), str(a ^ b)) == ("0-5,8", "2-3", "0-1,8", "0-1,4-5,8")
    assert str(a | {9}) == "0-3,8-9" and a & {0, 1, 99} == {0, 1}
    assert a == {0, 1, 2, 3, 8} and a != b and a > quarrow.CpuSet("1-2") and not a.isdisjoint(b)
    assert hash(a) == hash(frozenset(a)) and len({a, quarrow.CpuSet(a)}) == 1
    assert list(a) == [0, 1, 2, 3, 8] and 8 in a and 4 not in a and -1 not in a and "8" not in a
    assert repr(a) == "CpuSet('0-3,8')" and not quarrow.CpuSet() and repr(quarrow.CpuSet("")) == "CpuSet('')"
    with pytest.raises(TypeError):
        a | "4"  # type: ignore[operator]
    machine = quarrow.Machine.load(machine_file("two-groups-unknown-maker"))
    assert machine.from_affinity(machine.affinity("1,64")) == {1, 64}


def test_pinning_ends_with_the_block() -> None:
    before = quarrow.allowed()
    first = min(before)
    with quarrow.pin([first]) as cpus:
        assert cpus == {first} and quarrow.allowed() == {first}
        if hasattr(os, "sched_getaffinity"):
            assert os.sched_getaffinity(0) == {first}
    assert quarrow.allowed() == before
    with pytest.raises(RuntimeError, match="mine"):
        with quarrow.pin(str(first)):
            raise RuntimeError("mine")
    assert quarrow.allowed() == before
    with pytest.raises(quarrow.Error, match="there is no logical processor 4000"):
        with quarrow.pin("0,4000"):
            pass


@pytest.mark.parametrize(
    "call, code",
    [
        (lambda: quarrow.Machine.load("/no/such/file"), "INPUT"),
        (lambda: quarrow.Machine.loads(b"\0\1\2"), "INPUT"),
        (lambda: quarrow.CpuSet("7-4"), "INPUT"),
        (lambda: quarrow.CpuSet([-1]), "ARGUMENT"),
        (lambda: quarrow.CpuSet([1 << 40]), "ARGUMENT"),
        (lambda: quarrow.Machine.native().of_kind("fast"), "ARGUMENT"),
        (lambda: quarrow.Machine.native()[0].has("no such feature"), "ARGUMENT"),
    ],
)
def test_errors_say_what_was_wrong(call, code: str) -> None:  # type: ignore[no-untyped-def]
    with pytest.raises(quarrow.Error) as info:
        call()
    assert info.value.code.name == code and str(info.value)


def test_features_by_name() -> None:
    names = quarrow.feature_names()
    assert len(names) > 400 and len(set(names)) == len(names) and "avx2" in names
    assert quarrow.feature_meaning("avx2") and quarrow.feature_meaning("no such feature") is None


def test_threads_take_machines_at_once() -> None:
    expected = [quarrow.Machine.load(file).json_text() for file in OWN_MACHINES]
    wrong: List[str] = []

    def work() -> None:
        for file, text in zip(OWN_MACHINES, expected):
            if quarrow.Machine.load(file).json_text() != text:
                wrong.append(file.name)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong
