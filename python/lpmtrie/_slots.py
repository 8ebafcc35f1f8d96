"""Slots, and what travels in them: the way between Python's values and the library's."""

import ctypes
import ipaddress
import weakref
from ctypes import byref, c_int, c_size_t, c_uint32, c_uint64, c_void_p

from ._library import c

_SCALARS = ("bool", "U32", "U64", "String")


class Slot:
    """Owns one slot of the library; released with this object, at the latest when Python ends."""

    __slots__ = ("_handle", "_release", "__weakref__")

    def __init__(self, make, *arguments, not_allowed=TypeError):
        out = c_void_p()
        c.check(make(*arguments, byref(out)), not_allowed)
        self._handle = out.value
        self._release = weakref.finalize(self, c.Release, out.value)

    @property
    def handle(self):
        if not self._release.alive:
            raise ReferenceError("the library's objects have been released: Python is ending")
        return self._handle

    def type(self):
        return c.ValueType(self.handle)

    def flag(self, function, *arguments):
        out = c_int()
        c.check(function(self.handle, *arguments, byref(out)))
        return out.value != 0

    def number(self, function=None, *arguments):
        out = c_uint64()
        c.check((function or c.ToNumber)(self.handle, *arguments, byref(out)))
        return out.value

    def hash(self):
        out = c_uint32()
        c.check(c.Hash(self.handle, byref(out)))
        return out.value

    def string(self):
        data, length = c_void_p(), c_size_t()
        c.check(c.ToString(self.handle, byref(data), byref(length)))
        return ctypes.string_at(data.value, length.value).decode("utf-8", "surrogateescape")

    def text(self):
        return Slot(c.Text, self.handle).string()


def type_name(handle):
    return c.TypeName(handle).decode()


def _encoded(text):
    return text.encode("utf-8", "surrogateescape")


def string_slot(text):
    data = _encoded(text)
    return Slot(c.FromString, data, len(data))


def number_slot(number):
    if not 0 <= number < 1 << 64:
        raise ValueError(f"{number} is no number of 0 to 2**64 - 1")
    return Slot(c.FromNumber, number)


def text_slot(type_handle, text):
    """The value of a type that a text form gives."""
    data = _encoded(text)
    return Slot(c.FromText, type_handle, data, len(data))


def handles(slots):
    """The slots as an array for a call; the caller keeps `slots` alive meanwhile."""
    return (c_void_p * len(slots))(*(slot.handle for slot in slots))


def make(type_handle, slots):
    return Slot(c.Make, type_handle, handles(slots), len(slots))


def _convertible(type_handle):
    """The type of the one operand that a value may be made of on its way in, or None.

    A value type is made of whatever its constructor takes; a holder object, only of a value of a
    described type: a number is not silently turned into an object.
    """
    constructor = c.TypeConstructor(type_handle)
    if not constructor or c.ParameterCount(constructor) != 1:
        return None
    operand = c.ParameterType(constructor, 0)
    if not c.TypeIsValue(type_handle) and type_name(operand) in _SCALARS:
        return None
    return operand


def to_slot(value, wanted=None):
    """A slot for a Python value; `wanted` is the type that the receiver declares, if it does."""
    slot = getattr(value, "_slot", None)
    if isinstance(slot, Slot):
        given = slot.type()
        if wanted and given != wanted and _convertible(wanted) == given:
            return make(wanted, [slot])
        return slot
    if value is None:
        return Slot(c.__dict__["None"])
    if isinstance(value, (ipaddress.IPv4Network, ipaddress.IPv6Network)):
        value = str(value)
    plain = not wanted or type_name(wanted) in _SCALARS
    if not plain and (operand := _convertible(wanted)):
        return make(wanted, [to_slot(value, operand)])
    if isinstance(value, bool):
        return Slot(c.FromBool, value)
    if isinstance(value, int):
        return number_slot(value)
    if isinstance(value, str):
        return string_slot(value)
    if wanted and type_name(wanted) in ("U32", "U64") and hasattr(value, "fileno"):
        if hasattr(value, "flush"):
            value.flush()  # what Python has written comes before what the library writes
        return number_slot(value.fileno())
    raise TypeError(f"{type(value).__name__} is nothing that the library takes")


def to_python(slot, wrap):
    """What a slot holds; `wrap(slot)` makes the object for anything but a scalar."""
    if c.IsNull(slot.handle):
        return None
    name = type_name(slot.type())
    if name == "bool":
        return slot.flag(c.ToBool)
    if name in ("U32", "U64"):
        return slot.number()
    if name == "String":
        return slot.string()
    return wrap(slot)
