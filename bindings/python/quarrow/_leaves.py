"""All that CPUID answers on a processor, and what each field of it means."""

from __future__ import annotations

import dataclasses
from typing import Any, Dict, Optional, Tuple, Union

from . import _library
from ._facts import text
from ._library import filled, library, made

REGISTERS = ("eax", "ebx", "ecx", "edx")


@dataclasses.dataclass(frozen=True)
class LeafField:
    """A field of an answer of CPUID, with its value."""

    name: str  # unique within an answer; stays as it is from version to version
    meaning: str
    register: str  # eax, ebx, ecx, edx
    lowest_bit: int
    width: int  # bits
    kind: str  # flag: a feature of that name; bit; number; text
    raw: int  # the bits as they stand there
    value: Union[bool, int, str, None]  # what they mean, in `unit`; None for a number that has more than 64 bits
    unit: Optional[str]  # bytes, KB (1024 bytes), MHz, bits, ...
    word: Optional[str]  # what a number stands for: data, 8 ways
    shown: str  # for people: 64 bytes, data, yes

    def __str__(self) -> str:
        return f"{self.meaning}: {self.shown}"


@dataclasses.dataclass(frozen=True)
class Leaf:
    """What CPUID answered to one leaf and sub-leaf. ``leaf["name"]`` is the field of that name."""

    leaf: int
    subleaf: int  # 0 where the leaf has none
    eax: int
    ebx: int
    ecx: int
    edx: int
    title: Optional[str]  # None for a leaf that Quarrow does not know
    fields: Tuple[LeafField, ...]  # all that the answer has, set or not, by register and bit
    unknown: Dict[str, int]  # by register: its set bits that no field has, where there are such

    def __getitem__(self, name: str) -> LeafField:
        """KeyError where the answer has no field of that name."""
        for field in self.fields:
            if field.name == name:
                return field
        raise KeyError(name)

    def __repr__(self) -> str:
        title = f": {self.title}" if self.title else ""
        registers = " ".join(f"{name}={getattr(self, name):08x}" for name in REGISTERS)
        return f"<Leaf 0x{self.leaf:x}.{self.subleaf}{title}: {registers}>"


def _meant(kind: str, facts: Any) -> Union[bool, int, str, None]:
    if kind in ("flag", "bit"):
        return bool(facts.raw)
    if kind == "text":
        return text(facts.word) or ""
    return None if facts.value == 0 and facts.raw != 0 else int(facts.value)


def _field(handle: int, index: int, which: int) -> LeafField:
    facts = filled("quarrow_leaves_field", _library.LeafFieldFacts, handle, index, which)
    kind = library.quarrow_field_kind_name(facts.kind).decode()
    return LeafField(
        name=facts.name.decode(),
        meaning=facts.meaning.decode(),
        register=REGISTERS[facts.register_index],
        lowest_bit=facts.lowest_bit,
        width=facts.width,
        kind=kind,
        raw=facts.raw,
        value=_meant(kind, facts),
        unit=text(facts.unit),
        word=text(facts.word) if kind == "number" else None,
        shown=facts.shown.decode(errors="replace"),
    )


def _leaf(handle: int, index: int) -> Leaf:
    facts = filled("quarrow_leaves_answer", _library.LeafFacts, handle, index)
    unknown = {name: getattr(facts, "unknown_" + name) for name in REGISTERS}
    return Leaf(
        leaf=facts.leaf,
        subleaf=facts.subleaf,
        eax=facts.eax,
        ebx=facts.ebx,
        ecx=facts.ecx,
        edx=facts.edx,
        title=text(facts.title),
        fields=tuple(_field(handle, index, which) for which in range(facts.field_count)),
        unknown={name: bits for name, bits in unknown.items() if bits},
    )


def leaves_of(machine: int, number: int) -> Tuple[Leaf, ...]:
    """Those of the processor with that number."""
    handle = made(library.quarrow_leaves_of(machine, number))
    try:
        return tuple(_leaf(handle, index) for index in range(library.quarrow_leaves_count(handle)))
    finally:
        library.quarrow_leaves_free(handle)
