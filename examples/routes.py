#!/usr/bin/env python3
"""Routes in a trie, divided into two partitions, looked up, removed: by name, from a script."""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "python"))
import lpmtrie

trie = lpmtrie.Trie(vrfId=7)
trie.af = lpmtrie.IPV4
numbers = lpmtrie.Bitmap(limit=1024)


def new_partition():
    return lpmtrie.PartitionId(id=numbers.takeNextFree(), mask=0xFFFF, bitMap=numbers)


# The default partition, and one for everything under 10.0.0.0/8, both in hardware table 1.
for prefix in ("0.0.0.0/0", "10.0.0.0/8"):
    trie.insertFromRoot(prefix, isFibRoute=False, isPartitionNode=True,
                        partitionId=new_partition(), hwTable=1)

for prefix in ("10.1.0.0/16", "10.1.2.0/24", "192.168.0.0/16", "192.168.0.0/16"):
    partition = lpmtrie.partitionOf(trie, prefix)
    route = dict(prefix=prefix, isFibRoute=True, isPartitionNode=False, partitionId=partition,
                 hwTable=1)
    # An insertion that is not right would stop the process, so ask first.
    refusal = lpmtrie.insertionRefusal(trie, **route)
    if refusal:
        print(f"{prefix} is left out: {refusal}")
    else:
        trie.insertFromRoot(**route)

trie.verify()
trie.dump(socket=sys.stdout)
print("10.1.2.3 goes by", lpmtrie.longestMatch(trie, "10.1.2.3/32").prefix.stringValue())
trie.remove("10.1.2.0/24")
print("10.1.2.3 goes by", lpmtrie.longestMatch(trie, "10.1.2.3/32").prefix.stringValue())

lpmtrie.removeAll(trie)
del trie, numbers, partition, route
print("objects left:", lpmtrie.liveAllocations())
