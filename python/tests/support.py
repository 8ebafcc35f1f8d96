"""What the tests share: the package from this tree, a leak check, dumps as text."""

import gc
import os
import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
import lpmtrie  # noqa: E402

CLIENT_LIBRARY = os.environ.get("LPMTRIE_CLIENT_LIBRARY")


class LeakChecked(unittest.TestCase):
    """Fails a test that leaves more or fewer of the library's objects alive than it found."""

    def setUp(self):
        gc.collect()
        self._before = lpmtrie.liveAllocations()
        self.addCleanup(self._check)

    def _check(self):
        gc.collect()
        self.assertEqual(lpmtrie.liveAllocations(), self._before, "objects alive")


def dumped(dump, *arguments, **keywords):
    """The text that a dump writes to a file."""
    with tempfile.TemporaryFile(mode="w+") as file:
        dump(*arguments, socket=file, **keywords)
        file.seek(0)
        return file.read()


def partition_id(number, numbers=None):
    return lpmtrie.PartitionId(id=number, mask=0xFFFF, bitMap=numbers)


def trie_with(*prefixes, vrfId=7):
    """An IPv4 trie with a default partition in table 1 and these routes in it."""
    trie = lpmtrie.Trie(vrfId=vrfId)
    trie.af = lpmtrie.IPV4
    top = partition_id(1)
    trie.insertFromRoot("0.0.0.0/0", False, True, top, 1)
    for prefix in prefixes:
        trie.insertFromRoot(prefix, True, False, top, 1)
    return trie
