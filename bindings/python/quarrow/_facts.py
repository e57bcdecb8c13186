"""What a machine has besides its processors, and how fast and how far these may go."""

from __future__ import annotations

import dataclasses
from typing import Dict, Optional, Tuple

from ._cpuset import CpuSet
from ._library import NONE

KIND_NAMES = ("performance", "efficient", "low power")


def known(number: int) -> Optional[int]:
    return None if number == NONE else number


def text(value: Optional[bytes]) -> Optional[str]:
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
        if self.type == "trace":
            size = f"{self.size // 1024}K micro-ops"
        elif self.size >= 2**20 and self.size % 2**18 == 0:
            size = f"{self.size / 2**20:g} MB"
        else:
            size = f"{self.size // 1024} KB"
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
