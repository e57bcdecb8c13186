"""One logical processor: who it is, where it sits, and what it can do."""

from __future__ import annotations

import ctypes
import dataclasses
from typing import TYPE_CHECKING, FrozenSet, List, Optional, Tuple

from . import _library
from ._cpuset import CpuSet
from ._facts import KIND_NAMES, Cache, Hypervisor, Limits, Speed, known, text
from ._leaves import Leaf, leaves_of
from ._library import NONE, asked, done, encoded, filled, library, taken

if TYPE_CHECKING:
    from ._machine import Machine


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
    revision: Optional[str]  # of its stepping, as the maker calls it
    package_name: Optional[str]  # that AMD's and Hygon's are in
    hypervisor: Optional[Hypervisor]
    further_hypervisors: Tuple[Hypervisor, ...]  # what else it answers as under that one
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
        told = {field.name: known(getattr(facts, field.name)) for field in dataclasses.fields(Limits)[:-1]}
        return Limits(turbo_ratios=ratios, **told)

    @property
    def leaves(self) -> Tuple[Leaf, ...]:
        """Every answer of CPUID, ascending. Error where the machine was taken without leaves."""
        return leaves_of(self.machine._handle, self.number)

    def __repr__(self) -> str:
        kind = f", {self.kind}" if self.kind else ""
        return f"<Processor {self.number}: package {self.package}, core {self.core}{kind}: {self.name}>"


def _further_hypervisor(machine: Machine, number: int, which: int) -> Hypervisor:
    facts = filled("quarrow_processor_further_hypervisor", _library.HypervisorFacts, machine._handle, number, which)
    return Hypervisor(facts.signature.decode(errors="replace"), text(facts.name), known(facts.interface_id))


def processor_at(machine: Machine, index: int) -> Processor:
    """The processor at that index of the machine."""
    facts = filled("quarrow_machine_processor", _library.ProcessorFacts, machine._handle, index)
    hypervisor = None
    if facts.hypervisor is not None:
        signature = facts.hypervisor.decode(errors="replace")
        hypervisor = Hypervisor(signature, text(facts.hypervisor_name), known(facts.hypervisor_interface))
    return Processor(
        machine=machine,
        number=facts.number,
        group=facts.group,
        bit=facts.bit,
        apic_id=known(facts.apic_id),
        package=facts.package,
        die=known(facts.die),
        complex=known(facts.complex),
        module=known(facts.module),
        core=facts.core,
        thread=facts.thread,
        numa_node=known(facts.numa_node),
        kind=None if facts.kind == NONE else KIND_NAMES[facts.kind],
        family=facts.family,
        model=facts.model,
        stepping=facts.stepping,
        signature=facts.signature,
        brand_index=facts.brand_index,
        package_type=facts.package_type,
        max_leaf=facts.max_leaf,
        max_extended_leaf=facts.max_extended_leaf,
        core_type=known(facts.core_type),
        physical_address_bits=known(facts.physical_address_bits),
        linear_address_bits=known(facts.linear_address_bits),
        level=facts.level or None,
        microcode=known(facts.microcode),
        avx10_version=facts.avx10_version or None,
        avx10_vector_bits=tuple(bits for bits in (128, 256, 512) if facts.avx10_vector_bits & bits),
        name=facts.name.decode(errors="replace"),
        vendor=facts.vendor.decode(errors="replace"),
        brand=facts.brand.decode(errors="replace"),
        microarchitecture=text(facts.microarchitecture),
        codename=text(facts.codename),
        process=text(facts.process),
        revision=text(facts.revision),
        package_name=text(facts.package_name),
        hypervisor=hypervisor,
        further_hypervisors=tuple(
            _further_hypervisor(machine, facts.number, which) for which in range(facts.further_hypervisor_count)
        ),
        _cache_count=facts.cache_count,
    )
