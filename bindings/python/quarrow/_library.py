"""The C library: found, loaded, and declared function by function as the headers in libQuarrow/c declare them."""

from __future__ import annotations

import ctypes
import enum
import os
import pathlib
import sys
from typing import Any, Dict, Tuple

NONE = 0xFFFFFFFF
NONE64 = 0xFFFFFFFFFFFFFFFF

_machine = ctypes.c_void_p
_set = ctypes.c_void_p
_leaves = ctypes.c_void_p
_pin = ctypes.c_void_p
_owned = ctypes.c_void_p  # a text to be freed, so no c_char_p, which would be converted at once
_text = ctypes.c_char_p
_u32 = ctypes.c_uint32
_size = ctypes.c_size_t
_code = ctypes.c_int


class ErrorCode(enum.IntEnum):
    """What kind of thing went wrong."""

    ARGUMENT = 1
    INPUT = 2
    MACHINE = 3
    UNKNOWN = 4
    MEMORY = 5
    INTERNAL = 6


class Error(Exception):
    """What the library could not do; its text says what was wrong and what to do."""

    def __init__(self, code: int, text: str) -> None:
        super().__init__(text)
        self.code = ErrorCode(code)


class ProcessorFacts(ctypes.Structure):
    _fields_ = [
        (name, _u32)
        for name in (
            "number group bit apic_id package die complex module core thread numa_node kind family model stepping "
            "signature brand_index package_type max_leaf max_extended_leaf core_type physical_address_bits "
            "linear_address_bits level hypervisor_interface cache_count microcode avx10_version avx10_vector_bits "
            "further_hypervisor_count"
        ).split()
    ] + [
        (name, _text)
        for name in (
            "name vendor brand microarchitecture codename process hypervisor hypervisor_name revision package_name"
        ).split()
    ]


class CacheFacts(ctypes.Structure):
    _fields_ = [
        ("level", _u32),
        ("type", _u32),
        ("size", ctypes.c_uint64),
        ("sets", ctypes.c_uint64),
        ("ways", _u32),
        ("line_size", _u32),
        ("inclusive", _u32),
        ("instances", _u32),
    ]


class TlbFacts(ctypes.Structure):
    _fields_ = [
        ("level", _u32),
        ("type", _u32),
        ("page_sizes", ctypes.c_uint64),
        ("entries", _u32),
        ("ways", _u32),
    ]


class LeftOutFacts(ctypes.Structure):
    _fields_ = [("number", _u32), ("group", _u32), ("bit", _u32), ("reserved", _u32), ("reason", _text)]


class SpeedFacts(ctypes.Structure):
    _fields_ = (
        [
            (name + "_hertz", ctypes.c_uint64)
            for name in (
                "tsc bus_clock current effective lowest base turbo system_lowest system_base system_highest"
            ).split()
        ]
        + [(name + "_multiplier", ctypes.c_double) for name in "current effective lowest base turbo".split()]
        + [("performance_state_count", _u32), ("reserved", _u32)]
    )


class LimitsFacts(ctypes.Structure):
    _fields_ = [
        (name, _u32)
        for name in (
            "throttle_celsius throttle_offset_celsius highest_level guaranteed_level efficient_level lowest_level "
            "turbo_ratio_count"
        ).split()
    ]


class HypervisorFacts(ctypes.Structure):
    _fields_ = [("interface_id", _u32), ("reserved", _u32), ("signature", _text), ("name", _text)]


class LeafFacts(ctypes.Structure):
    _fields_ = [
        (name, _u32)
        for name in (
            "leaf subleaf eax ebx ecx edx unknown_eax unknown_ebx unknown_ecx unknown_edx field_count reserved"
        ).split()
    ] + [("title", _text)]


class LeafFieldFacts(ctypes.Structure):
    _fields_ = (
        [(name, _u32) for name in "register_index lowest_bit width kind raw reserved".split()]
        + [("value", ctypes.c_uint64)]
        + [(name, _text) for name in "name meaning unit word shown".split()]
    )


_u32_to = ctypes.POINTER(_u32)
_u64_to = ctypes.POINTER(ctypes.c_uint64)

# Name: what it answers, what it takes.
FUNCTIONS: Dict[str, Tuple[Any, Tuple[Any, ...]]] = {
    "quarrow_abi_version": (_u32, ()),
    "quarrow_version": (_text, ()),
    "quarrow_error_code": (_code, ()),
    "quarrow_error_text": (_text, ()),
    "quarrow_error_clear": (None, ()),
    "quarrow_text_free": (None, (_owned,)),
    "quarrow_machine_native": (_machine, (_u32,)),
    "quarrow_machine_load": (_machine, (_text, _u32)),
    "quarrow_machine_parse": (_machine, (_text, _size, _text, _u32)),
    "quarrow_machine_free": (None, (_machine,)),
    "quarrow_machine_is_recorded": (_code, (_machine,)),
    "quarrow_machine_json": (_owned, (_machine,)),
    "quarrow_machine_record": (_owned, (_machine,)),
    "quarrow_machine_record_to": (_code, (_machine, _text)),
    "quarrow_machine_count": (_size, (_machine, _u32)),
    "quarrow_machine_object_number": (_u32, (_machine, _u32, _size)),
    "quarrow_machine_level": (_u32, (_machine,)),
    "quarrow_machine_processor": (_code, (_machine, _size, ctypes.POINTER(ProcessorFacts), _size)),
    "quarrow_machine_find": (_u32, (_machine, _u32)),
    "quarrow_machine_cache": (_code, (_machine, _size, ctypes.POINTER(CacheFacts), _size)),
    "quarrow_processor_cache": (_code, (_machine, _u32, _size, _u32_to, _u32_to)),
    "quarrow_machine_tlb": (_code, (_machine, _size, ctypes.POINTER(TlbFacts), _size)),
    "quarrow_machine_left_out": (_code, (_machine, _size, ctypes.POINTER(LeftOutFacts), _size)),
    "quarrow_processor_speed": (_code, (_machine, _u32, ctypes.POINTER(SpeedFacts), _size)),
    "quarrow_processor_performance_state": (_code, (_machine, _u32, _size, _u32_to, _u64_to)),
    "quarrow_processor_limits": (_code, (_machine, _u32, ctypes.POINTER(LimitsFacts), _size)),
    "quarrow_processor_turbo_ratio": (_code, (_machine, _u32, _size, _u32_to, _u32_to)),
    "quarrow_machine_msr_refusal": (_text, (_machine,)),
    "quarrow_kind_name": (_text, (_u32,)),
    "quarrow_cache_type_name": (_text, (_u32,)),
    "quarrow_tlb_type_name": (_text, (_u32,)),
    "quarrow_processor_has": (_code, (_machine, _u32, _u32)),
    "quarrow_processor_can_use": (_code, (_machine, _u32, _u32)),
    "quarrow_processor_has_named": (_code, (_machine, _u32, _text)),
    "quarrow_processor_can_use_named": (_code, (_machine, _u32, _text)),
    "quarrow_processor_features": (_owned, (_machine, _u32, _code)),
    "quarrow_feature_name": (_text, (_u32,)),
    "quarrow_feature_count": (_size, ()),
    "quarrow_feature_at": (_text, (_size,)),
    "quarrow_feature_meaning": (_text, (_text,)),
    "quarrow_set_new": (_set, ()),
    "quarrow_set_copy": (_set, (_set,)),
    "quarrow_set_from_list": (_set, (_text,)),
    "quarrow_set_from_affinity": (_set, (_machine, _text)),
    "quarrow_set_free": (None, (_set,)),
    "quarrow_set_add": (_code, (_set, _u32, _u32)),
    "quarrow_set_union": (_set, (_set, _set)),
    "quarrow_set_intersection": (_set, (_set, _set)),
    "quarrow_set_difference": (_set, (_set, _set)),
    "quarrow_set_count": (_size, (_set,)),
    "quarrow_set_contains": (_code, (_set, _u32)),
    "quarrow_set_includes": (_code, (_set, _set)),
    "quarrow_set_equal": (_code, (_set, _set)),
    "quarrow_set_next": (_u32, (_set, _u32)),
    "quarrow_set_list": (_owned, (_set,)),
    "quarrow_set_affinity": (_owned, (_machine, _set)),
    "quarrow_set_of_machine": (_set, (_machine,)),
    "quarrow_set_of_object": (_set, (_machine, _u32, _size)),
    "quarrow_set_of_cache": (_set, (_machine, _size, _size)),
    "quarrow_set_of_kind": (_set, (_machine, _u32)),
    "quarrow_set_of_numa_node": (_set, (_machine, _u32)),
    "quarrow_set_sharing_cache": (_set, (_machine, _u32, _u32)),
    "quarrow_set_one_per_core": (_set, (_machine, _set)),
    "quarrow_set_of_thread": (_set, ()),
    "quarrow_pin_thread": (_pin, (_set,)),
    "quarrow_pin_restore": (_code, (_pin,)),
    "quarrow_pin_free": (None, (_pin,)),
    "quarrow_machine_native_of": (_machine, (_u32, _set)),
    "quarrow_processor_further_hypervisor": (_code, (_machine, _u32, _size, ctypes.POINTER(HypervisorFacts), _size)),
    "quarrow_leaves_of": (_leaves, (_machine, _u32)),
    "quarrow_leaves_free": (None, (_leaves,)),
    "quarrow_leaves_count": (_size, (_leaves,)),
    "quarrow_leaves_find": (_u32, (_leaves, _u32, _u32)),
    "quarrow_leaves_answer": (_code, (_leaves, _size, ctypes.POINTER(LeafFacts), _size)),
    "quarrow_leaves_field": (_code, (_leaves, _size, _size, ctypes.POINTER(LeafFieldFacts), _size)),
    "quarrow_register_name": (_text, (_u32,)),
    "quarrow_field_kind_name": (_text, (_u32,)),
}


def _load() -> ctypes.CDLL:
    """The library that QUARROW_LIBRARY names, else the one in this package, else the system's."""
    name = "quarrow.dll" if sys.platform == "win32" else "libquarrow_c.so.1"
    beside = pathlib.Path(__file__).with_name(name)
    named = os.environ.get("QUARROW_LIBRARY")
    path = named or (str(beside) if beside.exists() else name)
    try:
        library = ctypes.CDLL(path)
    except OSError as error:
        raise ImportError(
            f"the library of Quarrow cannot be loaded: {error}; install it, or name it in QUARROW_LIBRARY"
        ) from error
    for function, (result, arguments) in FUNCTIONS.items():
        try:
            declared = getattr(library, function)
        except AttributeError as error:
            raise ImportError(f"{path} is older than this package of Python: it has no {function}") from error
        declared.restype = result
        declared.argtypes = arguments
    return library


library = _load()


def failure() -> Error:
    """What went wrong in the last call of this thread that failed."""
    return Error(library.quarrow_error_code(), library.quarrow_error_text().decode(errors="replace"))


def made(handle: Any) -> int:
    """The handle that a call made."""
    if not handle:
        raise failure()
    return int(handle)


def done(code: int) -> None:
    """Of a call that answers a code."""
    if code != 0:
        raise failure()


def taken(text: Any) -> str:
    """A text that a call made, which is freed."""
    address = made(text)
    try:
        return ctypes.string_at(address).decode(errors="replace")
    finally:
        library.quarrow_text_free(address)


def asked(name: str, *arguments: Any) -> int:
    """Of a call that answers a number, 0 also where it fails."""
    library.quarrow_error_clear()
    value = int(getattr(library, name)(*arguments))
    if value == 0 and library.quarrow_error_code() != 0:
        raise failure()
    return value


def filled(name: str, facts: Any, *arguments: Any) -> Any:
    """The structure, filled by a call that takes it behind the arguments."""
    structure = facts()
    done(getattr(library, name)(*arguments, ctypes.byref(structure), ctypes.sizeof(structure)))
    return structure


def encoded(text: str) -> bytes:
    """A text for the library, which ends at a zero byte."""
    if "\0" in text:
        raise ValueError("a text for Quarrow must not hold a zero character")
    return text.encode(errors="surrogateescape")
