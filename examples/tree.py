"""Prints where the processors of a machine sit, in Python: packages, dies, complexes, modules, cores and threads.

The machine is this one, or those recorded in the files that are named. `quarrow tree` prints the same, and the caches
after it.
"""

import io
import sys
from typing import List, Optional, Sequence

import quarrow

LEVELS = ("package", "die", "complex", "module", "core")
CORE = len(LEVELS) - 1


def objects_of(machine: quarrow.Machine, level: int) -> Sequence[quarrow.Object]:
    return (machine.packages, machine.dies, machine.complexes, machine.modules, machine.cores)[level]


def object_of(processor: quarrow.Processor, level: int) -> Optional[int]:
    number: Optional[int] = getattr(processor, LEVELS[level])
    return number


def divides(machine: quarrow.Machine, level: int) -> bool:
    """Whether the level divides what is above it anywhere: a die a package is no line of its own."""
    return level in (0, CORE) or len(machine.packages) < len(objects_of(machine, level)) < len(machine.cores)


def title(first: quarrow.Processor, level: int, cpus: quarrow.CpuSet) -> str:
    text = f"{LEVELS[level].capitalize()} {object_of(first, level)}"
    if level == 0:
        return f"{text}: {first.name}"
    if level == CORE:
        kind = f" ({first.kind})" if first.kind else ""
        return f"{text}{kind}: CPU{'' if len(cpus) == 1 else 's'} {cpus}"
    return text


def tree(machine: quarrow.Machine, level: int, within: quarrow.CpuSet, indent: str) -> List[str]:
    """The objects of that level, and of those below it, that `within` has processors of."""
    while not divides(machine, level):
        level += 1
    lines: List[str] = []
    before = None
    for number in machine.one_per_core(within):
        first = machine[number]
        which = object_of(first, level)
        if which is None or which == before:
            continue
        before = which
        cpus = objects_of(machine, level)[which].cpus & within
        if min(cpus) != number:
            continue  # told where its first core was
        # What holds but one core is that core.
        shown = CORE if level != 0 and len(machine.one_per_core(cpus)) == 1 else level
        lines.append(indent + title(first, shown, cpus))
        if shown < CORE:
            lines += tree(machine, level + 1, cpus, indent + "  ")
    return lines


def main(files: Sequence[str]) -> int:
    status = 0
    for file in files or [""]:
        if len(files) > 1:
            print(f"{file}:")
        try:
            machine = quarrow.Machine.load(file) if file else quarrow.Machine.native()
            print("\n".join(tree(machine, 0, machine.cpus, "")))
        except quarrow.Error as error:
            print(error, file=sys.stderr)
            status = 1
    return status


if __name__ == "__main__":
    if isinstance(sys.stdout, io.TextIOWrapper):
        sys.stdout.reconfigure(encoding="utf-8")  # as the texts of processors are
    sys.exit(main(sys.argv[1:]))
