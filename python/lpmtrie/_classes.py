"""Python classes for registered types, built from what the registry lists."""

import collections.abc
import inspect

from . import _library, _slots
from ._library import c, listing
from ._slots import Slot, to_python, to_slot, type_name

_classes = {}


def wrap(slot):
    """The object for a slot that holds a value of a value type, or a reference."""
    cls = class_of(slot.type())
    self = cls.__new__(cls)
    object.__setattr__(self, "_slot", slot)
    return self


def get(self, attribute):
    """Reads an attribute by name, whatever its kind: what the library answers."""
    slot = Slot(c.Get, self._slot.handle, attribute.encode(), not_allowed=AttributeError)
    return to_python(slot, wrap)


def set(self, attribute, value):
    """Writes an attribute by name."""
    row = _row(self._slot.type(), attribute)
    operand = to_slot(value, c.AttributeType(row) if row else None)
    c.check(c.Set(self._slot.handle, attribute.encode(), operand.handle), AttributeError)


def call(self, attribute, *operands):
    """Calls a function attribute by name with operands in their order."""
    row = _row(self._slot.type(), attribute)
    slots = _operand_slots(row, operands)
    result = Slot(c.Call, self._slot.handle, attribute.encode(), _slots.handles(slots), len(slots))
    return to_python(result, wrap)


def _row(type_handle, name):
    for row in listing(c.TypeAttribute, type_handle):
        if c.AttributeName(row).decode() == name:
            return row
    return None


def _operand_slots(row, operands):
    count = c.ParameterCount(row) if row else 0
    return [to_slot(operand, c.ParameterType(row, i) if i < count else None)
            for i, operand in enumerate(operands)]


def _type_text(handle, reference):
    if not handle:
        return "None"
    return ("reference to " if reference else "") + type_name(handle)


def _parameters(row):
    return [(c.ParameterName(row, i).decode(),
             _type_text(c.ParameterType(row, i), c.ParameterIsReference(row, i)))
            for i in range(c.ParameterCount(row))]


def signature(row, own=True):
    """A function row as a Python signature, with `self` first if `own`."""
    kind = inspect.Parameter
    names = [kind("self", kind.POSITIONAL_ONLY)] if own else []
    names += [kind(name, kind.POSITIONAL_OR_KEYWORD, annotation=type_text)
              for name, type_text in _parameters(row)]
    result = _type_text(c.AttributeType(row), c.AttributeIsReference(row))
    return inspect.Signature(names, return_annotation=result)


def describe(row):
    """One line on an attribute: its name, kind, type and parameters."""
    name = c.AttributeName(row).decode()
    type_text = _type_text(c.AttributeType(row), c.AttributeIsReference(row))
    kind = c.AttributeKind(row)
    if kind == _library.FUNCTION:
        parameters = ", ".join(f"{name}: {type_}" for name, type_ in _parameters(row))
        return f"{name}({parameters}) -> {type_text}: function"
    if kind == _library.COLLECTION:
        return f"{name}: collection of {type_text} by {type_name(c.AttributeKeyType(row))}"
    access = "read and written" if c.AttributeIsWritable(row) else "read only"
    return f"{name}: value, {type_text}, {access}"


def _bound(row, function_signature, arguments, keywords):
    """Operands in their order; a name that is unknown, missing or given twice is a TypeError."""
    try:
        bound = function_signature.bind(*arguments, **keywords)
    except TypeError as error:
        raise TypeError(f"{c.AttributeName(row).decode()}: {error}") from None
    return list(bound.arguments.values())


def _method(row):
    name = c.AttributeName(row).decode()
    own = signature(row)

    def method(self, *arguments, **keywords):
        _, *operands = _bound(row, own, (self, *arguments), keywords)
        return call(self, name, *operands)

    method.__name__ = method.__qualname__ = name
    method.__signature__ = own
    method.__doc__ = describe(row)
    return method


def function_of(module, row):
    """A module's function, with keyword parameters."""
    name = c.AttributeName(row).decode()
    own = signature(row, own=False)

    def function(*arguments, **keywords):
        slots = _operand_slots(row, _bound(row, own, arguments, keywords))
        result = Slot(c.CallFunction, module, name.encode(), _slots.handles(slots), len(slots))
        return to_python(result, wrap)

    function.__name__ = function.__qualname__ = name
    function.__signature__ = own
    function.__doc__ = describe(row)
    return function


def _property(row):
    name = c.AttributeName(row).decode()
    return property(lambda self: get(self, name), lambda self, value: set(self, name, value),
                    doc=describe(row))


class Collection(collections.abc.MutableMapping):
    """A collection attribute as a mapping. `lookUp` answers the zero value for an absent key."""

    def __init__(self, owner, row):
        self._owner = owner
        self._name = c.AttributeName(row)
        self._key_type = c.AttributeKeyType(row)
        self._value_type = c.AttributeType(row)

    def _key(self, key):
        return to_slot(key, self._key_type)

    def lookUp(self, key):
        slot = self._key(key)
        return to_python(Slot(c.LookUp, self._owner._slot.handle, self._name, slot.handle), wrap)

    @property
    def capacity(self):
        """Entries that fit before the library's table grows."""
        return self._owner._slot.number(c.Capacity, self._name)

    def __contains__(self, key):
        slot = self._key(key)
        return self._owner._slot.flag(c.Contains, self._name, slot.handle)

    def __getitem__(self, key):
        if key not in self:
            raise KeyError(key)
        return self.lookUp(key)

    def __setitem__(self, key, value):
        key_slot, value_slot = self._key(key), to_slot(value, self._value_type)
        c.check(c.Put(self._owner._slot.handle, self._name, key_slot.handle, value_slot.handle))

    def __delitem__(self, key):
        slot = self._key(key)
        if not self._owner._slot.flag(c.Erase, self._name, slot.handle):
            raise KeyError(key)

    def __len__(self):
        return self._owner._slot.number(c.Count, self._name)

    def __iter__(self):
        # All keys first: a change renumbers the entries.
        keys = [to_python(Slot(c.KeyAt, self._owner._slot.handle, self._name, index), wrap)
                for index in range(len(self))]
        return iter(keys)

    def __repr__(self):
        return repr(dict(self))


class Registered:
    """Base of the classes of all registered types."""

    __slots__ = ("_slot", "__weakref__")
    _type = None

    def __init__(self, *arguments, **keywords):
        constructor = c.TypeConstructor(self._type)
        if constructor and (arguments or keywords or not c.TypeIsValue(self._type)):
            operands = _bound(constructor, signature(constructor, own=False), arguments, keywords)
        elif keywords:
            raise TypeError(f"{type_name(self._type)} takes no keywords")
        else:
            operands = arguments
        slots = _operand_slots(constructor, operands)
        object.__setattr__(self, "_slot", _slots.make(self._type, slots))

    def __getattr__(self, name):
        return get(self, name)

    def __setattr__(self, name, value):
        set(self, name, value)

    def __repr__(self):
        return self._slot.text()

    def __bool__(self):
        try:
            return self._slot.flag(c.Truth)
        except TypeError:
            return True

    def __eq__(self, other):
        other_slot = getattr(other, "_slot", None)
        if not isinstance(other_slot, Slot):
            return NotImplemented
        try:
            return self._slot.flag(c.Equal, other_slot.handle)
        except TypeError:
            return NotImplemented

    def __lt__(self, other):
        if not isinstance(getattr(other, "_slot", None), Slot):
            return NotImplemented
        return self._slot.flag(c.Less, other._slot.handle)

    def __gt__(self, other):
        return other < self if isinstance(other, Registered) else NotImplemented

    def __le__(self, other):
        return self < other or self == other

    def __ge__(self, other):
        return self > other or self == other

    def __hash__(self):
        return self._slot.hash()

    def __copy__(self):
        return wrap(Slot(c.Copy, self._slot.handle))


def _documentation(handle):
    name = type_name(handle)
    kind = "value type" if c.TypeIsValue(handle) else "object type"
    lines = [f"{name}: a {kind} of the module {c.ModuleName(c.TypeModule(handle)).decode()}."]
    constructor = c.TypeConstructor(handle)
    if constructor:
        lines += ["", "Made by " + describe(constructor)]
    lines += ["", "Attributes:"]
    lines += ["    " + describe(row) for row in listing(c.TypeAttribute, handle)]
    return "\n".join(lines)


def class_of(handle):
    """The class for a registered type; made on first use."""
    if handle in _classes:
        return _classes[handle]
    base = c.TypeBase(handle)
    members = {"__slots__": (), "_type": handle, "__doc__": _documentation(handle)}
    for row in listing(c.TypeAttribute, handle):
        name = c.AttributeName(row).decode()
        kind = c.AttributeKind(row)
        if kind == _library.FUNCTION:
            members[name] = _method(row)
        elif kind == _library.COLLECTION:
            members[name] = property(lambda self, row=row: Collection(self, row),
                                     doc=describe(row))
        else:
            members[name] = _property(row)
    constructor = c.TypeConstructor(handle)
    if constructor:
        members["__signature__"] = signature(constructor, own=False)
    name = type_name(handle).rpartition("::")[2]
    members["__module__"] = "lpmtrie." + c.ModuleName(c.TypeModule(handle)).decode()
    cls = type(name, (class_of(base) if base else Registered,), members)
    _classes[handle] = cls
    return cls
