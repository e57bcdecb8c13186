"""A whole machine: what its processors are, where they sit, and what they share."""

from __future__ import annotations

import functools
import json
import os
import weakref
from typing import Any, Dict, Iterator, Optional, Tuple, Union

from . import _library
from ._cpuset import CpuSet, CpuSetLike, _cpu_set
from ._facts import KIND_NAMES, Cache, LeftOut, Object, Tlb, known, text
from ._library import NONE, NONE64, Error, ErrorCode, asked, done, encoded, filled, library, made, taken
from ._processor import Processor, processor_at

_MOVE_PROCESS, _WITH_SPEEDS, _WITH_LIMITS, _WITH_MICROCODE, _WITH_LEAVES, _UNMEASURED = 1, 2, 4, 8, 16, 32
(
    _PACKAGES,
    _DIES,
    _COMPLEXES,
    _MODULES,
    _CORES,
    _PROCESSORS,
    _CACHES,
    _TLBS,
    _NUMA_NODES,
    _KINDS,
    _LEFT_OUT,
) = range(11)


def _taking(speeds: bool, limits: bool, microcode: bool, leaves: bool) -> int:
    return _WITH_SPEEDS * speeds | _WITH_LIMITS * limits | _WITH_MICROCODE * microcode | _WITH_LEAVES * leaves


class Machine:
    """A machine, taken once by :meth:`native`, :meth:`load` or :meth:`loads`; it answers from memory from then on.

    It is a sequence of its processors: ``for processor in machine``, ``len(machine)``; ``machine[5]`` is the one with
    that number. Any number of threads may ask it at once.
    """

    def __init__(self, handle: Any) -> None:
        """Not to be called by programs."""
        self._handle = made(handle)
        weakref.finalize(self, library.quarrow_machine_free, self._handle)

    @classmethod
    def native(
        cls,
        *,
        move_process: bool = False,
        speeds: bool = False,
        limits: bool = False,
        microcode: bool = False,
        leaves: bool = False,
        measure: bool = True,
        whose: Optional[CpuSetLike] = None,
    ) -> Machine:
        """The machine that this runs on. Moves the thread (or the process) to each processor once, and back.

        ``whose`` says of which processors alone speeds and limits are asked; ``measure=False`` measures no speed.
        """
        take = _taking(speeds, limits, microcode, leaves)
        take |= _MOVE_PROCESS * move_process | _UNMEASURED * (not measure)
        chosen = None if whose is None else _cpu_set(whose)
        return cls(library.quarrow_machine_native_of(take, None if chosen is None else chosen._handle))

    @classmethod
    def load(
        cls,
        path: Union[str, os.PathLike[str]],
        *,
        speeds: bool = False,
        limits: bool = False,
        microcode: bool = False,
        leaves: bool = False,
    ) -> Machine:
        """A machine from a recording or a public CPUID dump; ``-`` is standard input."""
        take = _taking(speeds, limits, microcode, leaves)
        return cls(library.quarrow_machine_load(encoded(os.fspath(path)), take))

    @classmethod
    def loads(
        cls,
        data: Union[bytes, str],
        name: str = "memory",
        *,
        speeds: bool = False,
        limits: bool = False,
        microcode: bool = False,
        leaves: bool = False,
    ) -> Machine:
        """The same from the content of such a file."""
        content = data.encode() if isinstance(data, str) else bytes(data)
        take = _taking(speeds, limits, microcode, leaves)
        return cls(library.quarrow_machine_parse(content, len(content), encoded(name), take))

    @property
    def is_recorded(self) -> bool:
        """Whether it was read from a recording."""
        return asked("quarrow_machine_is_recorded", self._handle) != 0

    @property
    def level(self) -> Optional[int]:
        """The x86-64 level, 1 to 4, that programs can use on every processor."""
        return asked("quarrow_machine_level", self._handle) or None

    def _count(self, what: int) -> int:
        return asked("quarrow_machine_count", self._handle, what)

    def _objects(self, what: int) -> Tuple[Object, ...]:
        return tuple(
            Object(
                int(library.quarrow_machine_object_number(self._handle, what, index)),
                CpuSet._of(library.quarrow_set_of_object(self._handle, what, index)),
            )
            for index in range(self._count(what))
        )

    @functools.cached_property
    def processors(self) -> Tuple[Processor, ...]:
        """Ascending numbers."""
        return tuple(processor_at(self, index) for index in range(self._count(_PROCESSORS)))

    def __iter__(self) -> Iterator[Processor]:
        return iter(self.processors)

    def __len__(self) -> int:
        return self._count(_PROCESSORS)

    def __getitem__(self, number: int) -> Processor:
        """The processor with that number. KeyError where there is none."""
        index = library.quarrow_machine_find(self._handle, number) if 0 <= number < NONE else NONE
        if index == NONE:
            raise KeyError(number)
        return self.processors[int(index)]

    @functools.cached_property
    def packages(self) -> Tuple[Object, ...]:
        return self._objects(_PACKAGES)

    @functools.cached_property
    def dies(self) -> Tuple[Object, ...]:
        """Empty where the machine does not tell."""
        return self._objects(_DIES)

    @functools.cached_property
    def complexes(self) -> Tuple[Object, ...]:
        """Cores that share an L3, where a package has several such."""
        return self._objects(_COMPLEXES)

    @functools.cached_property
    def modules(self) -> Tuple[Object, ...]:
        """Cores that share an L2, where a package has several such; AMD's compute units."""
        return self._objects(_MODULES)

    @functools.cached_property
    def cores(self) -> Tuple[Object, ...]:
        return self._objects(_CORES)

    @functools.cached_property
    def numa_nodes(self) -> Tuple[Object, ...]:
        """Empty where the operating system does not tell."""
        return self._objects(_NUMA_NODES)

    @functools.cached_property
    def kinds(self) -> Dict[str, CpuSet]:
        """The processors of each kind of core; empty on a machine with one kind."""
        return {KIND_NAMES[kind.number]: kind.cpus for kind in self._objects(_KINDS)}

    @functools.cached_property
    def caches(self) -> Tuple[Cache, ...]:
        """By level, then type; those with the same figures are one."""
        return tuple(self._cache(index) for index in range(self._count(_CACHES)))

    def _cache(self, index: int) -> Cache:
        facts = filled("quarrow_machine_cache", _library.CacheFacts, self._handle, index)
        shared = None
        if facts.instances != NONE:
            shared = tuple(
                CpuSet._of(library.quarrow_set_of_cache(self._handle, index, instance))
                for instance in range(facts.instances)
            )
        return Cache(
            level=facts.level,
            type=library.quarrow_cache_type_name(facts.type).decode(),
            size=facts.size,
            ways=known(facts.ways),
            line_size=facts.line_size or None,
            sets=None if facts.sets == NONE64 else facts.sets,
            inclusive=None if facts.inclusive == NONE else bool(facts.inclusive),
            cpus=CpuSet._of(library.quarrow_set_of_object(self._handle, _CACHES, index)),
            shared_by=shared,
        )

    @functools.cached_property
    def tlbs(self) -> Tuple[Tlb, ...]:
        """The translation lookaside buffers."""
        return tuple(self._tlb(index) for index in range(self._count(_TLBS)))

    def _tlb(self, index: int) -> Tlb:
        facts = filled("quarrow_machine_tlb", _library.TlbFacts, self._handle, index)
        return Tlb(
            level=facts.level,
            type=library.quarrow_tlb_type_name(facts.type).decode(),
            page_sizes=tuple(1 << bit for bit in range(64) if facts.page_sizes >> bit & 1),
            entries=facts.entries,
            ways=known(facts.ways),
            cpus=CpuSet._of(library.quarrow_set_of_object(self._handle, _TLBS, index)),
        )

    @functools.cached_property
    def left_out(self) -> Tuple[LeftOut, ...]:
        """Processors of the system that could not be visited."""
        found = []
        for index in range(self._count(_LEFT_OUT)):
            facts = filled("quarrow_machine_left_out", _library.LeftOutFacts, self._handle, index)
            found.append(LeftOut(facts.number, facts.reason.decode(errors="replace")))
        return tuple(found)

    @property
    def msr_refusal(self) -> Optional[str]:
        """Why a register that speeds or limits needed could not be asked for, and what to do."""
        return text(library.quarrow_machine_msr_refusal(self._handle))

    @property
    def cpus(self) -> CpuSet:
        """All of its processors."""
        return CpuSet._of(library.quarrow_set_of_machine(self._handle))

    def of_kind(self, kind: str) -> CpuSet:
        """The processors of cores of that kind; empty where there are none."""
        if kind not in KIND_NAMES:
            raise Error(ErrorCode.ARGUMENT, f"no kind of core is called '{kind}'; there are {', '.join(KIND_NAMES)}")
        return CpuSet._of(library.quarrow_set_of_kind(self._handle, KIND_NAMES.index(kind)))

    def of_numa_node(self, number: int) -> CpuSet:
        """By the operating system's number of the node; empty where there is none."""
        return CpuSet._of(library.quarrow_set_of_numa_node(self._handle, number))

    def sharing_cache(self, number: int, level: int) -> Optional[CpuSet]:
        """Who shares a cache of that level with that processor, itself included; None where it is not known."""
        handle = library.quarrow_set_sharing_cache(self._handle, number, level)
        if not handle and library.quarrow_error_code() == ErrorCode.UNKNOWN:
            return None
        return CpuSet._of(handle)

    def one_per_core(self, cpus: Optional[CpuSetLike] = None) -> CpuSet:
        """Of these processors, or of all, the lowest of each core."""
        chosen = None if cpus is None else _cpu_set(cpus)
        return CpuSet._of(library.quarrow_set_one_per_core(self._handle, None if chosen is None else chosen._handle))

    def affinity(self, cpus: CpuSetLike) -> str:
        """The set as processor groups and masks: ``0:00000000000000F0h``."""
        chosen = _cpu_set(cpus)
        return taken(library.quarrow_set_affinity(self._handle, chosen._handle))

    def from_affinity(self, text: str) -> CpuSet:
        """The set of such a text."""
        return CpuSet._of(library.quarrow_set_from_affinity(self._handle, encoded(text)))

    def json_text(self) -> str:
        """The JSON document 2, as ``quarrow --json`` prints it."""
        return taken(library.quarrow_machine_json(self._handle))

    def json(self) -> Dict[str, Any]:
        """The same as a dictionary."""
        document: Dict[str, Any] = json.loads(self.json_text())
        return document

    def record(self) -> str:
        """The machine as a recording. The live one is visited anew for it, with every leaf."""
        return taken(library.quarrow_machine_record(self._handle))

    def record_to(self, path: Union[str, os.PathLike[str]]) -> None:
        """The same into a file, which is replaced whole or not at all."""
        done(library.quarrow_machine_record_to(self._handle, encoded(os.fspath(path))))

    def __repr__(self) -> str:
        def counted(count: int, what: str) -> str:
            return f"{count} {what}" + ("" if count == 1 else "s")

        counts = ", ".join(
            (
                counted(self._count(_PACKAGES), "package"),
                counted(self._count(_CORES), "core"),
                counted(self._count(_PROCESSORS), "thread"),
            )
        )
        return f"<Machine: {self.processors[0].name}: {counts}>"
