"""The shared library and its C interface, declared for ctypes.

Calls keep the interpreter's lock: reference counts are then safe from whatever thread the garbage
collector runs in, without the library's thread-safe-pointer mode.
"""

import ctypes
import ctypes.util
import os
import pathlib
from ctypes import POINTER, c_char_p, c_int, c_size_t, c_uint32, c_uint64, c_void_p

DONE, NOT_ALLOWED, NO_SUCH_ATTRIBUTE, WRONG_TYPE, OUT_OF_RANGE, NOT_HASHABLE, NO_MEMORY, FAILED = \
    range(8)
VALUE, FUNCTION, COLLECTION = range(3)

_ERRORS = {
    NOT_ALLOWED: TypeError,
    NO_SUCH_ATTRIBUTE: AttributeError,
    WRONG_TYPE: TypeError,
    OUT_OF_RANGE: ValueError,
    NOT_HASHABLE: TypeError,
    NO_MEMORY: MemoryError,
    FAILED: RuntimeError,
}


def _candidates():
    """Where the library may be: as told, beside the package, in a build tree, on the system."""
    told = os.environ.get("LPMTRIE_LIBRARY")
    if told:
        yield told
        return
    here = pathlib.Path(__file__).resolve().parent
    yield from map(str, sorted(here.glob("liblpmtrie.so*")))
    yield from map(str, sorted(here.parents[1].glob("build/release*/LpmTrie/liblpmtrie.so")))
    found = ctypes.util.find_library("lpmtrie")
    if found:
        yield found


def _open():
    tried = ""
    for path in _candidates():
        try:
            # Global: a client's own library finds the framework's symbols in this one.
            return ctypes.PyDLL(path, mode=ctypes.RTLD_GLOBAL)
        except OSError as error:
            tried += f"; {error}"
    raise ImportError(f"liblpmtrie.so is not found; LPMTRIE_LIBRARY may name it{tried}")


_handle = c_void_p
_index = c_size_t
_out = POINTER(c_void_p)
_list = POINTER(c_void_p)
_flag = POINTER(c_int)
_number = POINTER(c_uint64)
_status = c_int

_PROTOTYPES = {
    "Message": (c_char_p,),
    "Module": (_handle, _index),
    "ModuleName": (c_char_p, _handle),
    "ModuleSource": (c_char_p, _handle),
    "ModuleType": (_handle, _handle, _index),
    "ModuleFunction": (_handle, _handle, _index),
    "FindType": (_handle, c_char_p),
    "TypeName": (c_char_p, _handle),
    "TypeModule": (_handle, _handle),
    "TypeNumber": (c_uint32, _handle),
    "TypeBase": (_handle, _handle),
    "TypeIsValue": (c_int, _handle),
    "TypeHasHash": (c_int, _handle),
    "TypeHasOrder": (c_int, _handle),
    "TypeAttribute": (_handle, _handle, _index),
    "TypeConstructor": (_handle, _handle),
    "TypeAttributeNumber": (c_uint32, _handle, c_char_p),
    "AttributeName": (c_char_p, _handle),
    "AttributeKind": (c_int, _handle),
    "AttributeIsReadable": (c_int, _handle),
    "AttributeIsWritable": (c_int, _handle),
    "AttributeType": (_handle, _handle),
    "AttributeIsReference": (c_int, _handle),
    "AttributeKeyType": (_handle, _handle),
    "ParameterCount": (c_size_t, _handle),
    "ParameterName": (c_char_p, _handle, _index),
    "ParameterType": (_handle, _handle, _index),
    "ParameterIsReference": (c_int, _handle, _index),
    "None": (_status, _out),
    "FromBool": (_status, c_int, _out),
    "FromNumber": (_status, c_uint64, _out),
    "FromString": (_status, c_char_p, c_size_t, _out),
    "FromText": (_status, _handle, c_char_p, c_size_t, _out),
    "Make": (_status, _handle, _list, c_size_t, _out),
    "Copy": (_status, _handle, _out),
    "Release": (None, _handle),
    "ValueType": (_handle, _handle),
    "IsNull": (c_int, _handle),
    "ToBool": (_status, _handle, _flag),
    "ToNumber": (_status, _handle, _number),
    "ToString": (_status, _handle, POINTER(c_void_p), POINTER(c_size_t)),
    "Text": (_status, _handle, _out),
    "Truth": (_status, _handle, _flag),
    "Equal": (_status, _handle, _handle, _flag),
    "Less": (_status, _handle, _handle, _flag),
    "Hash": (_status, _handle, POINTER(c_uint32)),
    "Get": (_status, _handle, c_char_p, _out),
    "Set": (_status, _handle, c_char_p, _handle),
    "Call": (_status, _handle, c_char_p, _list, c_size_t, _out),
    "CallFunction": (_status, _handle, c_char_p, _list, c_size_t, _out),
    "LookUp": (_status, _handle, c_char_p, _handle, _out),
    "Put": (_status, _handle, c_char_p, _handle, _handle),
    "Erase": (_status, _handle, c_char_p, _handle, _flag),
    "Contains": (_status, _handle, c_char_p, _handle, _flag),
    "Count": (_status, _handle, c_char_p, _number),
    "Capacity": (_status, _handle, c_char_p, _number),
    "KeyAt": (_status, _handle, c_char_p, c_uint64, _out),
    "LiveAllocations": (c_uint64,),
    "LiveAllocationsOf": (c_uint64, c_char_p),
    "ThreadSafePtrIs": (None, c_int),
    "TraceLevelsIs": (_status, c_char_p),
}


class Interface:
    """The C functions by their names without "vexo": `c.ModuleName(module)`."""

    def __init__(self):
        library = _open()
        for name, (result, *arguments) in _PROTOTYPES.items():
            function = library["vexo" + name]
            function.restype = result
            function.argtypes = arguments
            setattr(self, name, function)

    def check(self, status, not_allowed=TypeError):
        """Raises what a status that is not DONE stands for, with the library's message."""
        if status != DONE:
            error = not_allowed if status == NOT_ALLOWED else _ERRORS[status]
            raise error(self.Message().decode("utf-8", "replace"))


c = Interface()


def listing(element, *owner):
    """All elements of an indexed listing of the C interface."""
    index = 0
    while handle := element(*owner, index):
        yield handle
        index += 1
