"""Sets of logical processors, and pinning to them."""

from __future__ import annotations

import collections.abc
import contextlib
import threading
import weakref
from typing import AbstractSet, Any, Iterable, Iterator, Union

from ._library import Error, ErrorCode, NONE, asked, done, encoded, library, made, taken

CpuSetLike = Union["CpuSet", str, Iterable[int]]
HIGHEST_NUMBER = 0x3FFFFF


class CpuSet(collections.abc.Set):  # type: ignore[type-arg] # collections.abc.Set[int] needs Python 3.9
    """An immutable set of logical processors by their numbers: ``CpuSet("0,4-7")`` or ``CpuSet([0, 4, 5, 6, 7])``.

    It is a set as Python knows them, with ``|``, ``&``, ``-`` and comparisons, written as taskset takes it.
    """

    __slots__ = ("_handle", "_finalizer", "__weakref__")

    def __init__(self, cpus: CpuSetLike = ()) -> None:
        if isinstance(cpus, CpuSet):
            handle = made(library.quarrow_set_copy(cpus._handle))
        elif isinstance(cpus, str) and cpus:
            handle = made(library.quarrow_set_from_list(encoded(cpus)))
        else:
            handle = made(library.quarrow_set_new())
        self._own(handle)
        if not isinstance(cpus, (CpuSet, str)):
            for number in cpus:
                if not 0 <= number <= HIGHEST_NUMBER:
                    raise Error(ErrorCode.ARGUMENT, f"no processor is numbered {number}")
                done(library.quarrow_set_add(handle, number, number))

    def _own(self, handle: int) -> None:
        self._handle = handle
        self._finalizer = weakref.finalize(self, library.quarrow_set_free, handle)

    @classmethod
    def _of(cls, handle: Any) -> CpuSet:
        """A set that the library made."""
        new = cls.__new__(cls)
        new._own(made(handle))
        return new

    @classmethod
    def _from_iterable(cls, cpus: Iterable[int]) -> CpuSet:
        return cls(cpus)

    def __len__(self) -> int:
        return asked("quarrow_set_count", self._handle)

    def __iter__(self) -> Iterator[int]:
        number = library.quarrow_set_next(self._handle, 0)
        while number != NONE:
            yield number
            number = library.quarrow_set_next(self._handle, number + 1)

    def __contains__(self, number: object) -> bool:
        return (
            isinstance(number, int)
            and 0 <= number <= HIGHEST_NUMBER
            and asked("quarrow_set_contains", self._handle, number) != 0
        )

    def _with(self, other: object, name: str) -> CpuSet:
        if isinstance(other, str) or not isinstance(other, collections.abc.Iterable):
            return NotImplemented
        chosen = _cpu_set(other)  # whose handle lasts as long as it does
        return CpuSet._of(getattr(library, name)(self._handle, chosen._handle))

    def __or__(self, other: AbstractSet[Any]) -> CpuSet:
        return self._with(other, "quarrow_set_union")

    def __and__(self, other: AbstractSet[Any]) -> CpuSet:
        return self._with(other, "quarrow_set_intersection")

    def __sub__(self, other: AbstractSet[Any]) -> CpuSet:
        return self._with(other, "quarrow_set_difference")

    def __eq__(self, other: object) -> bool:
        if isinstance(other, CpuSet):
            return asked("quarrow_set_equal", self._handle, other._handle) != 0
        return super().__eq__(other)

    def __hash__(self) -> int:
        return self._hash()  # that of the frozenset with the same numbers, to which it is equal

    def __str__(self) -> str:
        """The list, as in ``0,4-7``."""
        return taken(library.quarrow_set_list(self._handle))

    def __repr__(self) -> str:
        return f"CpuSet('{self}')"


def _cpu_set(cpus: CpuSetLike) -> CpuSet:
    return cpus if isinstance(cpus, CpuSet) else CpuSet(cpus)


def allowed() -> CpuSet:
    """The processors that the calling thread may run on."""
    return CpuSet._of(library.quarrow_set_of_thread())


@contextlib.contextmanager
def pin(cpus: CpuSetLike) -> Iterator[CpuSet]:
    """Lets the calling thread run on these processors of this machine alone while the block runs::

        with quarrow.pin("0-3"):
            work()

    What the thread was allowed before is put back at the end, whatever happens in the block.
    """
    chosen = _cpu_set(cpus)
    handle = made(library.quarrow_pin_thread(chosen._handle))
    thread = threading.get_ident()
    try:
        yield chosen
    finally:
        if threading.get_ident() == thread:
            try:
                done(library.quarrow_pin_restore(handle))
            except Error:
                library.quarrow_pin_free(handle)
                raise
        else:  # a generator that another thread ends: only the pinned one can put back
            library.quarrow_pin_free(handle)
            raise Error(ErrorCode.ARGUMENT, "another thread than the one that was pinned left the block")
