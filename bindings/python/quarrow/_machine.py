"""A whole machine: what its processors are, where they sit, and what they share."""

from __future__ import annotations

import ctypes
import dataclasses
import functools
import json
import os
import weakref
from typing import Any, Dict, FrozenSet, Iterator, List, Optional, Tuple, Union

from . import _library
from ._cpuset import CpuSet, CpuSetLike, _cpu_set
from ._library import NONE, NONE64, Error, ErrorCode, asked, done, encoded, filled, library, made, taken

_MOVE_PROCESS, _WITH_SPEEDS, _WITH_LIMITS, _WITH_MICROCODE = 1, 2, 4, 8
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
_KIND_NAMES = ("performance", "efficient", "low power")


def _known(number: int) -> Optional[int]:
    return None if number == NONE else number


def _text(value: Optional[bytes]) -> Optional[str]:
    return None if value is None else value.decode(errors="replace")


@dataclasses.dataclass(frozen=True)
class Hypervisor:
    """The hypervisor that a processor says it runs under."""

    signature: str
    name: Optional[str]
    interface: Optional[int]


@dataclasses.dataclass(frozen=True)
class Object:
    """A package, die, complex, module, core or NUMA node: its number and its processors."""

    number: int
    cpus: CpuSet


@dataclasses.dataclass(frozen=True)
class Cache:
    """All caches of a machine with the same figures. What the machine does not tell is None."""

    level: int
    type: str  # data, instruction, unified, trace
    size: int  # bytes; of a trace cache, micro-operations
    ways: Optional[int]  # 0: fully associative
    line_size: Optional[int]  # bytes
    sets: Optional[int]
    inclusive: Optional[bool]
    cpus: CpuSet  # that have one
    shared_by: Optional[Tuple[CpuSet, ...]]  # of each instance, who shares it

    @property
    def instances(self) -> Optional[int]:
        """How many there are."""
        return None if self.shared_by is None else len(self.shared_by)

    def __repr__(self) -> str:
        kind = "" if self.type == "unified" else " " + self.type
        size = f"{self.size // 1024}K micro-ops" if self.type == "trace" else f"{self.size // 1024} KB"
        times = "" if self.instances is None else f"{self.instances} x "
        return f"<Cache L{self.level}{kind}: {times}{size}>"


@dataclasses.dataclass(frozen=True)
class Tlb:
    """A translation lookaside buffer."""

    level: int
    type: str  # data, instruction, unified, load, store
    page_sizes: Tuple[int, ...]  # bytes
    entries: int
    ways: Optional[int]  # 0: fully associative
    cpus: CpuSet


@dataclasses.dataclass(frozen=True)
class LeftOut:
    """A processor of the system that could not be visited."""

    number: int
    reason: str


@dataclasses.dataclass(frozen=True)
class Speed:
    """How fast a processor runs, in hertz. What is not known is None."""

    tsc: Optional[int]
    bus_clock: Optional[int]
    current: Optional[int]
    effective: Optional[int]
    lowest: Optional[int]
    base: Optional[int]
    turbo: Optional[int]
    system_lowest: Optional[int]
    system_base: Optional[int]
    system_highest: Optional[int]
    multipliers: Dict[str, float]  # of current, effective, lowest, base, turbo, where known
    performance_states: Dict[int, int]  # register number: hertz


@dataclasses.dataclass(frozen=True)
class Limits:
    """How far a processor may go. What is not known is None."""

    throttle_celsius: Optional[int]
    throttle_offset_celsius: Optional[int]
    highest_level: Optional[int]
    guaranteed_level: Optional[int]
    efficient_level: Optional[int]
    lowest_level: Optional[int]
    turbo_ratios: Dict[int, int]  # active cores: multiplier


@dataclasses.dataclass(frozen=True)
class Processor:
    """One logical processor. What the machine does not tell is None."""

    machine: Machine = dataclasses.field(repr=False, compare=False)
    number: int
    group: int
    bit: int
    apic_id: Optional[int]
    package: int
    die: Optional[int]
    complex: Optional[int]
    module: Optional[int]
    core: int
    thread: int
    numa_node: Optional[int]
    kind: Optional[str]  # performance, efficient, low power
    family: int
    model: int
    stepping: int
    signature: int
    brand_index: int
    package_type: int
    max_leaf: int
    max_extended_leaf: int
    core_type: Optional[int]
    physical_address_bits: Optional[int]
    linear_address_bits: Optional[int]
    level: Optional[int]  # x86-64 level of what programs can use, 1 to 4
    microcode: Optional[int]  # revision; None where the machine was taken without
    avx10_version: Optional[int]
    avx10_vector_bits: Tuple[int, ...]
    name: str
    vendor: str
    brand: str
    microarchitecture: Optional[str]
    codename: Optional[str]
    process: Optional[str]
    hypervisor: Optional[Hypervisor]
    _cache_count: int = dataclasses.field(repr=False)

    @property
    def features(self) -> FrozenSet[str]:
        """Every feature flag that is set, by the names of /proc/cpuinfo."""
        return self._features(0)

    @property
    def usable(self) -> FrozenSet[str]:
        """Those that programs can use."""
        return self._features(1)

    def _features(self, usable: int) -> FrozenSet[str]:
        handle = self.machine._handle
        return frozenset(taken(library.quarrow_processor_features(handle, self.number, usable)).split())

    def has(self, feature: str) -> bool:
        """Whether the processor has the feature. Error for a name that Quarrow does not know."""
        return asked("quarrow_processor_has_named", self.machine._handle, self.number, encoded(feature)) != 0

    def can_use(self, feature: str) -> bool:
        """Whether programs can use it: the operating system keeps the registers that it needs."""
        return asked("quarrow_processor_can_use_named", self.machine._handle, self.number, encoded(feature)) != 0

    @property
    def caches(self) -> List[Tuple[Cache, Optional[CpuSet]]]:
        """The caches that it uses, each with who shares that one, itself included."""
        uses: List[Tuple[Cache, Optional[CpuSet]]] = []
        for which in range(self._cache_count):
            index, instance = ctypes.c_uint32(), ctypes.c_uint32()
            done(
                library.quarrow_processor_cache(
                    self.machine._handle, self.number, which, ctypes.byref(index), ctypes.byref(instance)
                )
            )
            cache = self.machine.caches[index.value]
            uses.append((cache, None if cache.shared_by is None else cache.shared_by[instance.value]))
        return uses

    @property
    def speed(self) -> Speed:
        """Error where the machine was taken without speeds."""
        machine = self.machine._handle
        facts = filled("quarrow_processor_speed", _library.SpeedFacts, machine, self.number)
        states = {}
        for which in range(facts.performance_state_count):
            state, hertz = ctypes.c_uint32(), ctypes.c_uint64()
            done(
                library.quarrow_processor_performance_state(
                    machine, self.number, which, ctypes.byref(state), ctypes.byref(hertz)
                )
            )
            states[state.value] = hertz.value
        hertz_of = {
            field[: -len("_hertz")]: getattr(facts, field) or None
            for field, _ in _library.SpeedFacts._fields_
            if field.endswith("_hertz")
        }
        figures = ("current", "effective", "lowest", "base", "turbo")
        multipliers = {name: getattr(facts, name + "_multiplier") for name in figures}
        return Speed(
            **hertz_of,
            multipliers={name: value for name, value in multipliers.items() if value},
            performance_states=states,
        )

    @property
    def limits(self) -> Limits:
        """Error where the machine was taken without limits."""
        machine = self.machine._handle
        facts = filled("quarrow_processor_limits", _library.LimitsFacts, machine, self.number)
        ratios = {}
        for which in range(facts.turbo_ratio_count):
            cores, ratio = ctypes.c_uint32(), ctypes.c_uint32()
            done(
                library.quarrow_processor_turbo_ratio(
                    machine, self.number, which, ctypes.byref(cores), ctypes.byref(ratio)
                )
            )
            ratios[cores.value] = ratio.value
        known = {field.name: _known(getattr(facts, field.name)) for field in dataclasses.fields(Limits)[:-1]}
        return Limits(turbo_ratios=ratios, **known)

    def __repr__(self) -> str:
        kind = f", {self.kind}" if self.kind else ""
        return f"<Processor {self.number}: package {self.package}, core {self.core}{kind}: {self.name}>"


class Machine:
    """A machine, taken once by :meth:`native`, :meth:`load` or :meth:`loads`; it answers from memory from then on.

    It is a sequence of its processors: ``for processor in machine``, ``len(machine)``; ``machine[5]`` is the one with
    that number. Any number of threads may ask it at once.
    """

    def __init__(self, handle: Any) -> None:
        """Not to be called by programs."""
        self._handle = made(handle)
        weakref.finalize(self, library.quarrow_machine_free, self._handle)

    @staticmethod
    def _take(move_process: bool, speeds: bool, limits: bool, microcode: bool) -> int:
        return (
            _MOVE_PROCESS * move_process
            | _WITH_SPEEDS * speeds
            | _WITH_LIMITS * limits
            | _WITH_MICROCODE * microcode
        )

    @classmethod
    def native(
        cls, *, move_process: bool = False, speeds: bool = False, limits: bool = False, microcode: bool = False
    ) -> Machine:
        """The machine that this runs on. Moves the thread (or the process) to each processor once, and back."""
        return cls(library.quarrow_machine_native(cls._take(move_process, speeds, limits, microcode)))

    @classmethod
    def load(
        cls,
        path: Union[str, os.PathLike[str]],
        *,
        speeds: bool = False,
        limits: bool = False,
        microcode: bool = False,
    ) -> Machine:
        """A machine from a recording or a public CPUID dump; ``-`` is standard input."""
        take = cls._take(False, speeds, limits, microcode)
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
    ) -> Machine:
        """The same from the content of such a file."""
        content = data.encode() if isinstance(data, str) else bytes(data)
        take = cls._take(False, speeds, limits, microcode)
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
        return tuple(self._processor(index) for index in range(self._count(_PROCESSORS)))

    def _processor(self, index: int) -> Processor:
        facts = filled("quarrow_machine_processor", _library.ProcessorFacts, self._handle, index)
        hypervisor = None
        if facts.hypervisor is not None:
            signature = facts.hypervisor.decode(errors="replace")
            hypervisor = Hypervisor(signature, _text(facts.hypervisor_name), _known(facts.hypervisor_interface))
        return Processor(
            machine=self,
            number=facts.number,
            group=facts.group,
            bit=facts.bit,
            apic_id=_known(facts.apic_id),
            package=facts.package,
            die=_known(facts.die),
            complex=_known(facts.complex),
            module=_known(facts.module),
            core=facts.core,
            thread=facts.thread,
            numa_node=_known(facts.numa_node),
            kind=None if facts.kind == NONE else _KIND_NAMES[facts.kind],
            family=facts.family,
            model=facts.model,
            stepping=facts.stepping,
            signature=facts.signature,
            brand_index=facts.brand_index,
            package_type=facts.package_type,
            max_leaf=facts.max_leaf,
            max_extended_leaf=facts.max_extended_leaf,
            core_type=_known(facts.core_type),
            physical_address_bits=_known(facts.physical_address_bits),
            linear_address_bits=_known(facts.linear_address_bits),
            level=facts.level or None,
            microcode=_known(facts.microcode),
            avx10_version=facts.avx10_version or None,
            avx10_vector_bits=tuple(bits for bits in (128, 256, 512) if facts.avx10_vector_bits & bits),
            name=facts.name.decode(errors="replace"),
            vendor=facts.vendor.decode(errors="replace"),
            brand=facts.brand.decode(errors="replace"),
            microarchitecture=_text(facts.microarchitecture),
            codename=_text(facts.codename),
            process=_text(facts.process),
            hypervisor=hypervisor,
            _cache_count=facts.cache_count,
        )

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
        return {_KIND_NAMES[kind.number]: kind.cpus for kind in self._objects(_KINDS)}

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
            ways=_known(facts.ways),
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
            ways=_known(facts.ways),
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
        return _text(library.quarrow_machine_msr_refusal(self._handle))

    @property
    def cpus(self) -> CpuSet:
        """All of its processors."""
        return CpuSet._of(library.quarrow_set_of_machine(self._handle))

    def of_kind(self, kind: str) -> CpuSet:
        """The processors of cores of that kind; empty where there are none."""
        if kind not in _KIND_NAMES:
            raise Error(ErrorCode.ARGUMENT, f"no kind of core is called '{kind}'; there are {', '.join(_KIND_NAMES)}")
        return CpuSet._of(library.quarrow_set_of_kind(self._handle, _KIND_NAMES.index(kind)))

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
