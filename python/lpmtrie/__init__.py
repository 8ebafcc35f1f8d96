"""The trie library by name: every registered type as a class, every module's functions.

    import lpmtrie
    trie = lpmtrie.Trie(vrfId=7)
    trie.af = lpmtrie.IPV4
    trie.insertFromRoot("10.0.0.0/8", isFibRoute=True, isPartitionNode=False, partitionId=None,
                        hwTable=1)

Types and functions are looked up in the library's registry when they are first named, so those
that a client's own library registers appear too (`load`). `lpmtrie.modules()` lists all;
`help(lpmtrie.Trie)` tells what a type shows. Prefixes are given as text or as `ipaddress` networks.

Insertions that the library would refuse stop the process: ask `insertionRefusal` first.
"""

import ctypes

from . import _classes, _slots
from ._classes import Collection, Registered, call, get, set
from ._library import c, listing

IPV4 = 1
IPV6 = 2

__all__ = ["Collection", "IPV4", "IPV6", "Object", "Registered", "Value", "call", "get",
           "liveAllocations", "load", "modules", "set", "threadSafePtrIs", "traceLevelsIs"]


class Module:
    """A registered module: its types and functions as attributes."""

    def __init__(self, handle):
        self._handle = handle
        self.__name__ = c.ModuleName(handle).decode()
        self.source = c.ModuleSource(handle).decode()

    def types(self):
        """The classes of the module's types, in the order of their numbers."""
        return [_classes.class_of(handle) for handle in listing(c.ModuleType, self._handle)]

    def functions(self):
        return [_classes.function_of(self._handle, row)
                for row in listing(c.ModuleFunction, self._handle)]

    def __getattr__(self, name):
        for member in self.types() + self.functions():
            if member.__name__ == name:
                return member
        raise AttributeError(f"module {self.__name__} registers no {name!r}")

    def __dir__(self):
        return [member.__name__ for member in self.types() + self.functions()]

    def __repr__(self):
        return f"<module {self.__name__} of the library>"


def modules():
    """All registered modules, by name."""
    found = map(Module, listing(c.Module))
    return {module.__name__: module for module in found}


def __getattr__(name):
    found = modules()
    if name in found:
        return found[name]
    for module in found.values():
        if name in dir(module):
            return getattr(module, name)
    raise AttributeError(f"module 'lpmtrie' has no attribute {name!r}")


def __dir__():
    names = dict.fromkeys(__all__)
    for module in modules().values():
        names.update(dict.fromkeys([module.__name__, *dir(module)]))
    return list(names)


def load(path):
    """Loads a client's own library, whose types appear here from then on."""
    return ctypes.PyDLL(path, mode=ctypes.RTLD_GLOBAL)


def _type(name):
    handle = c.FindType(name.encode())
    if not handle:
        raise ValueError(f"no type {name!r} is registered")
    return handle


def _strep(value):
    """The library's text form of what a text form holds."""
    if isinstance(value, (bool, int)) or value is None:
        return repr(value)
    return _slots.to_slot(value).text()


def Value(typeName, **fields):
    """A value from the fields that its text form names: what `repr` of a record evaluates to."""
    text = ", ".join(f"'{name}': {_strep(value)}" for name, value in fields.items())
    slot = _slots.text_slot(_type(typeName), f"Value('{typeName}', ** {{{text}}})")
    return _slots.to_python(slot, _classes.wrap)


def Object(typeName, address):
    """The living object that a text form has named: what `repr` of an object evaluates to."""
    slot = _slots.text_slot(_type(typeName), f"Object('{typeName}', {address:#x})")
    return _slots.to_python(slot, _classes.wrap)


def liveAllocations(typeName=None):
    """Objects of the library that are alive, of one type or of all."""
    if typeName is None:
        return c.LiveAllocations()
    return c.LiveAllocationsOf(typeName.encode())


def threadSafePtrIs(on):
    """Switches atomic reference counts on or off; to be called while one thread runs."""
    c.ThreadSafePtrIs(bool(on))


def traceLevelsIs(settings):
    """Switches traces: "LpmTrie/7-9,LpmTrieTypes/9", "LpmTrie/off"."""
    c.check(c.TraceLevelsIs(settings.encode()))
