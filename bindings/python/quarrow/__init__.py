"""Everything that can be learned about the processors of an x86-64 machine: this one, or a recorded one.

    >>> import quarrow
    >>> machine = quarrow.Machine.native()
    >>> for processor in machine:
    ...     print(processor.number, processor.core, processor.can_use("avx2"))
    >>> with quarrow.pin(machine.one_per_core()):
    ...     work()
"""

from __future__ import annotations

from typing import Optional, Tuple

from ._cpuset import CpuSet, allowed, pin
from ._facts import Cache, Hypervisor, LeftOut, Limits, Object, Speed, Tlb
from ._leaves import Leaf, LeafField
from ._library import Error, ErrorCode, encoded, library
from ._machine import Machine
from ._processor import Processor

__all__ = [
    "Cache",
    "CpuSet",
    "Error",
    "ErrorCode",
    "Hypervisor",
    "Leaf",
    "LeafField",
    "LeftOut",
    "Limits",
    "Machine",
    "Object",
    "Processor",
    "Speed",
    "Tlb",
    "allowed",
    "feature_meaning",
    "feature_names",
    "pin",
]

__version__: str = library.quarrow_version().decode()


def feature_names() -> Tuple[str, ...]:
    """Every feature that Quarrow knows, in the order of CPUID's leaves and bits."""
    return tuple(library.quarrow_feature_at(index).decode() for index in range(library.quarrow_feature_count()))


def feature_meaning(name: str) -> Optional[str]:
    """What a feature is, in a phrase; None for a name that Quarrow does not know."""
    meaning: Optional[bytes] = library.quarrow_feature_meaning(encoded(name))
    return None if meaning is None else meaning.decode()
