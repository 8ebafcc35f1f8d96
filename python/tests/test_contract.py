"""Every attribute of every type, every status, by name."""

import copy
import ipaddress
import unittest

from support import LeakChecked, dumped, lpmtrie, partition_id, trie_with

READ_ONLY, READ_WRITE, FUNCTION, COLLECTION, HIDDEN = range(5)

# Per type, in declaration order: name, what it offers, the type it has.
DECLARED = {
    "Trie": [
        ("vrfId", READ_ONLY, "U32"),
        ("root", HIDDEN, None),
        ("allocateNode", HIDDEN, None),
        ("deallocateNode", HIDDEN, None),
        ("insertFromRoot", FUNCTION, "LpmTrie::TrieReturnCode"),
        ("findPartitionNode", FUNCTION, "LpmTrie::TrieReturnCode"),
        ("remove", FUNCTION, "LpmTrie::TrieNodeReturnCode"),
        ("verify", FUNCTION, "None"),
        ("dump", FUNCTION, "None"),
        ("dumpLimit", READ_WRITE, "U32"),
        ("dumpPrefix", FUNCTION, "None"),
        ("dumpPartition", FUNCTION, "None"),
        ("af", READ_WRITE, "U32"),
    ],
    "TrieNodesInfo": [("nodeInfo", COLLECTION, "bool")],
    "TrieNodeInfo": [
        ("prefixRef", READ_WRITE, "reference to Nimbal::IpGenPrefixRef"),
        ("oldPartitionId", READ_WRITE, "reference to LpmTrie::PartitionId"),
        ("newPartitionId", READ_WRITE, "reference to LpmTrie::PartitionId"),
        ("hash", FUNCTION, "U32"),
    ],
    "TrieReturnCode": [
        ("node", HIDDEN, None),
        ("partitionNode", HIDDEN, None),
        ("coveringPrefixNode", HIDDEN, None),
        ("dirty", READ_WRITE, "bool"),
    ],
    "TrieNodeReturnCode": [("node", HIDDEN, None), ("success", READ_WRITE, "bool")],
    "TrieTraversalReturnCode": [
        ("node", HIDDEN, None),
        ("bit", READ_ONLY, "U32"),
        ("level", READ_ONLY, "U32"),
    ],
    "TrieFindMergeReturnCode": [
        ("fromNode", HIDDEN, None),
        ("toNode", HIDDEN, None),
        ("dirty", READ_WRITE, "bool"),
    ],
    "PartitionIdValue": [("value", READ_ONLY, "U32"), ("hash", READ_ONLY, "U32")],
    "PendingState": [
        ("createPartition", READ_WRITE, "bool"),
        ("removePartition", READ_WRITE, "bool"),
        ("splittingPartition", READ_WRITE, "bool"),
        ("maxPendingState", READ_WRITE, "bool"),
        ("value", READ_ONLY, "U32"),
        ("createPartition_", READ_ONLY, "LpmTrie::PendingState"),
        ("removePartition_", READ_ONLY, "LpmTrie::PendingState"),
        ("splittingPartition_", READ_ONLY, "LpmTrie::PendingState"),
        ("maxPendingState_", READ_ONLY, "LpmTrie::PendingState"),
    ],
    "PartitionId": [
        ("id", READ_ONLY, "LpmTrie::PartitionIdValue"),
        ("mask", READ_ONLY, "U32"),
        ("handleConstruction", FUNCTION, "None"),
        ("handleDestruction", FUNCTION, "None"),
        ("bitMap", READ_ONLY, "reference to Torvel::Bitmap"),
    ],
}


def sample(name):
    """An object or value of the type."""
    if name == "Trie":
        return lpmtrie.Trie(vrfId=3)
    if name == "PartitionId":
        return partition_id(5)
    if name == "TrieNodeInfo":
        return lpmtrie.TrieNodeInfo("10.0.0.0/8", None, None)
    return getattr(lpmtrie, name)()


class Declarations(LeakChecked):
    def test_modules_hold_their_types_with_their_numbers(self):
        c = lpmtrie.c
        numbers = {
            module: {cls.__name__: c.TypeNumber(cls._type)
                     for cls in lpmtrie.modules()[module].types()}
            for module in ("LpmTrie", "LpmTrieTypes")
        }
        self.assertEqual(set(numbers["LpmTrie"]),
                         {"Trie", "TrieNodesInfo", "TrieNodeInfo", "TrieReturnCode",
                          "TrieNodeReturnCode", "TrieTraversalReturnCode",
                          "TrieFindMergeReturnCode"})
        self.assertEqual(set(numbers["LpmTrieTypes"]),
                         {"PartitionId", "PendingState", "PartitionIdValue"})
        self.assertEqual(numbers["LpmTrie"]["TrieNodesInfo"], 2)
        self.assertEqual(numbers["LpmTrie"]["Trie"], 6)
        self.assertEqual(numbers["LpmTrieTypes"]["PartitionId"], 1)
        self.assertEqual(numbers["LpmTrieTypes"]["PendingState"], 2)
        self.assertEqual(lpmtrie.modules()["LpmTrie"].source, "LpmTrie/LpmTrie")
        self.assertEqual(lpmtrie.modules()["LpmTrieTypes"].source, "LpmTrie/LpmTrieTypes")

    def test_attributes_are_numbered_in_declaration_order(self):
        c = lpmtrie.c
        for name, rows in DECLARED.items():
            cls = getattr(lpmtrie, name)
            # A value type's first attribute has number 2; an object's follow those of its base.
            first = 2 if c.TypeIsValue(cls._type) else 3
            numbers = [c.TypeAttributeNumber(cls._type, row[0].encode()) for row in rows]
            self.assertEqual(numbers, list(range(first, first + len(rows))), name)

    def test_served_attributes_are_exactly_those_declared_as_served(self):
        for name, rows in DECLARED.items():
            cls = getattr(lpmtrie, name)
            listed = [lpmtrie.c.AttributeName(row).decode()
                      for row in lpmtrie.listing(lpmtrie.c.TypeAttribute, cls._type)]
            expected = [row[0] for row in rows if row[1] != HIDDEN]
            self.assertEqual([n for n in listed if n != "references"], expected, name)

    def test_help_tells_kinds_types_and_parameters(self):
        text = lpmtrie.Trie.__doc__
        self.assertIn("insertFromRoot(prefix: Nimbal::IpGenPrefix, isFibRoute: bool, "
                      "isPartitionNode: bool, partitionId: reference to LpmTrie::PartitionId, "
                      "hwTable: U32) -> LpmTrie::TrieReturnCode: function", text)
        self.assertIn("dumpLimit: value, U32, read and written", text)
        self.assertIn("vrfId: value, U32, read only", text)
        self.assertIn("nodeInfo: collection of bool by LpmTrie::TrieNodeInfo",
                      lpmtrie.TrieNodesInfo.__doc__)


class Statuses(LeakChecked):
    def refused(self, error, text, action, *arguments):
        with self.assertRaises(error) as caught:
            action(*arguments)
        self.assertIn(text, str(caught.exception))

    def test_each_attribute_offers_just_what_its_kind_has(self):
        for name, rows in DECLARED.items():
            for attribute, offers, _ in rows:
                with self.subTest(type=name, attribute=attribute):
                    self.check(sample(name), attribute, offers)

    def check(self, item, attribute, offers):
        if offers == HIDDEN:
            for action in ((lpmtrie.get, item, attribute), (lpmtrie.set, item, attribute, None),
                           (lpmtrie.call, item, attribute)):
                self.refused(AttributeError, f"has no attribute '{attribute}'", *action)
            return
        if offers in (READ_ONLY, READ_WRITE):
            value = lpmtrie.get(item, attribute)
            self.refused(TypeError, "cannot be called", lpmtrie.call, item, attribute)
            if offers == READ_WRITE:
                lpmtrie.set(item, attribute, value)
                self.assertEqual(lpmtrie.get(item, attribute), value)
            else:
                self.refused(AttributeError, "cannot be written", lpmtrie.set, item, attribute,
                             value)
                self.assertEqual(lpmtrie.get(item, attribute), value)
            return
        self.refused(AttributeError, "cannot be read", lpmtrie.get, item, attribute)
        self.refused(AttributeError, "cannot be written", lpmtrie.set, item, attribute, None)
        if offers == COLLECTION:
            self.refused(TypeError, "cannot be called", lpmtrie.call, item, attribute)

    def test_an_unknown_attribute_is_no_attribute(self):
        trie = lpmtrie.Trie(vrfId=1)
        self.refused(AttributeError, "LpmTrie::Trie has no attribute 'rout'", lambda: trie.rout)
        self.refused(AttributeError, "LpmTrie::Trie has no attribute 'rout'",
                     setattr, trie, "rout", 1)

    def test_a_function_attribute_is_no_collection(self):
        trie = lpmtrie.Trie(vrfId=1)
        self.refused(TypeError, "attribute 'dump' of LpmTrie::Trie cannot be used as a collection",
                     trie._slot.number, lpmtrie.c.Count, b"dump")

    def test_setting_a_vrf_id_leaves_it(self):
        trie = lpmtrie.Trie(vrfId=9)
        with self.assertRaises(AttributeError):
            trie.vrfId = 10
        self.assertEqual(trie.vrfId, 9)

    def test_type_errors_name_attribute_wanted_and_given(self):
        trie = trie_with()
        self.addCleanup(lpmtrie.removeAll, trie)
        self.refused(TypeError, "attribute 'dumpLimit' of LpmTrie::Trie: wants U32, given bool",
                     setattr, trie, "dumpLimit", True)
        self.refused(TypeError, "attribute 'findPartitionNode' of LpmTrie::Trie, parameter "
                     "'includePendingRmPartition': wants bool, given U32",
                     trie.findPartitionNode, "10.0.0.0/8", 1)
        self.refused(TypeError, "attribute 'insertFromRoot' of LpmTrie::Trie, parameter "
                     "'partitionId': wants reference to LpmTrie::PartitionId, given reference to "
                     "LpmTrie::Trie", trie.insertFromRoot, "10.0.0.0/8", True, False, trie, 1)
        self.refused(TypeError, "wants Nimbal::IpGenPrefix, given nothing", trie.remove, None)
        self.refused(ValueError, "4294967296 is over 4294967295", setattr, trie, "dumpLimit", 1 << 32)
        self.refused(ValueError, "-1 is no number", setattr, trie, "dumpLimit", -1)
        self.refused(ValueError, "a bit is set past the prefix length", trie.remove, "10.1.0.0/8")
        self.refused(TypeError, "missing a required argument: 'prefix'", trie.remove)
        self.refused(TypeError, "unexpected keyword argument 'route'",
                     lambda: trie.remove("10.0.0.0/8", route="10.0.0.0/8"))


class Tries(LeakChecked):
    def tearDown(self):
        lpmtrie.removeAll(self.trie)
        del self.trie

    def setUp(self):
        super().setUp()
        self.trie = trie_with("10.0.0.0/8", "10.1.0.0/16")

    def test_insertion_look_up_and_removal(self):
        code = self.trie.insertFromRoot(prefix="11.0.0.0/8", isFibRoute=True,
                                        isPartitionNode=False,
                                        partitionId=lpmtrie.partitionOf(self.trie, "11.0.0.0/8"),
                                        hwTable=1)
        self.assertTrue(code)
        self.assertFalse(code.dirty)
        self.trie.verify()
        self.assertTrue(self.trie.findPartitionNode("11.0.0.0/8", False))
        self.assertTrue(self.trie.remove("11.0.0.0/8").success)
        self.assertFalse(self.trie.remove("11.0.0.0/8"))

    def test_prefixes_are_text_networks_or_values(self):
        for prefix in ("10.1.0.0/16", ipaddress.ip_network("10.1.0.0/16"),
                       lpmtrie.IpGenPrefix("10.1.0.0/16")):
            match = lpmtrie.longestMatch(self.trie, prefix)
            self.assertEqual(match.prefix.stringValue(), "10.1.0.0/16")
        network = ipaddress.ip_network("2001:db8::/32")
        self.assertEqual(lpmtrie.IpGenPrefix(network).stringValue(), "2001:db8::/32")
        self.assertIsNone(lpmtrie.longestMatch(self.trie, "2001:db8::/32"))

    def test_a_refusal_is_told_before_it_is_fatal(self):
        top = lpmtrie.partitionOf(self.trie, "10.0.0.0/8")
        self.assertEqual(lpmtrie.insertionRefusal(self.trie, "12.0.0.0/8", True, False, top, 1),
                         "")
        self.assertEqual(lpmtrie.insertionRefusal(self.trie, "10.0.0.0/8", True, False, top, 1),
                         "the prefix is a FIB route already")
        self.assertEqual(lpmtrie.insertionRefusal(self.trie, "::/0", True, False, top, 1),
                         "the prefix is not of the trie's address family")

    def test_dumps_go_to_any_file(self):
        self.trie.dumpLimit = 2
        self.assertEqual(dumped(self.trie.dump), """
 ----------------------- 
 Dumping Trie 7
 ----------------------- 
|-root [Partition,0.0.0.0/0,2,2,0x1,hw:1,cp]
| |-bit0 [Fib,10.0.0.0/8,2,2,0x1,hw:1]
 Trie has greater than 2 nodes, ending output
""")
        self.assertIn("Dumping Trie 7 Partitions\n", dumped(self.trie.dumpPartition))
        self.assertIn("bit0 [Fib,10.1.0.0/16,1,1,0x1,hw:1]\n",
                      dumped(self.trie.dumpPrefix, prefix="10.1.0.0/16"))

    def test_an_object_is_named_by_its_text_and_found_again(self):
        again = eval(repr(self.trie), {"Object": lpmtrie.Object})
        self.assertEqual(again, self.trie)
        self.assertEqual(hash(again), hash(self.trie))
        self.assertIsNot(again, self.trie)

    def test_the_name_of_a_dead_object_is_refused(self):
        other = lpmtrie.Trie(vrfId=1)
        name = repr(other)
        del other
        with self.assertRaises(ValueError):
            eval(name, {"Object": lpmtrie.Object})

    def test_families_are_numbers(self):
        trie = lpmtrie.Trie(vrfId=1)
        self.assertEqual(trie.af, 0)
        trie.af = lpmtrie.IPV6
        self.assertEqual(trie.af, 2)


class Collections(LeakChecked):
    def test_a_collection_is_a_mapping(self):
        info = lpmtrie.TrieNodesInfo()
        old, new = partition_id(1), partition_id(2)
        key = lpmtrie.TrieNodeInfo("10.0.0.0/8", old, new)
        self.assertFalse(info.nodeInfo.lookUp(key))
        self.assertNotIn(key, info.nodeInfo)
        with self.assertRaises(KeyError):
            info.nodeInfo[key]
        with self.assertRaises(KeyError):
            del info.nodeInfo[key]
        info.nodeInfo[key] = False
        self.assertIn(key, info.nodeInfo)
        self.assertFalse(info.nodeInfo[key])
        info.nodeInfo[key] = True
        self.assertEqual(dict(info.nodeInfo), {key: True})
        self.assertEqual(len(info.nodeInfo), 1)
        self.assertGreaterEqual(info.nodeInfo.capacity, 1)
        other_holder = lpmtrie.TrieNodeInfo("10.0.0.0/8", old, new)
        self.assertNotIn(other_holder, info.nodeInfo)
        self.assertEqual(hash(other_holder), hash(key))
        del info.nodeInfo[key]
        self.assertEqual(list(info.nodeInfo), [])

    def test_many_entries_and_iteration_while_changing(self):
        info = lpmtrie.TrieNodesInfo()
        keys = [lpmtrie.TrieNodeInfo(f"10.{i}.0.0/16", None, None) for i in range(100)]
        for key in keys:
            info.nodeInfo[key] = True
        for key in info.nodeInfo:
            del info.nodeInfo[key]
        self.assertEqual(len(info.nodeInfo), 0)

    def test_a_record_without_a_prefix_is_no_key(self):
        info = lpmtrie.TrieNodesInfo()
        with self.assertRaises(ValueError):
            info.nodeInfo[lpmtrie.TrieNodeInfo()] = True
        with self.assertRaises(ValueError):
            hash(lpmtrie.TrieNodeInfo())
        self.assertEqual(len(info.nodeInfo), 0)

    def test_keys_and_values_of_other_types_are_refused(self):
        info = lpmtrie.TrieNodesInfo()
        key = lpmtrie.TrieNodeInfo("10.0.0.0/8", None, None)
        with self.assertRaisesRegex(TypeError, "key: wants LpmTrie::TrieNodeInfo, given U32"):
            info.nodeInfo[5] = True
        with self.assertRaisesRegex(TypeError, "value: wants bool, given U32"):
            info.nodeInfo[key] = 1


class Values(LeakChecked):
    def test_pending_state_flags_change_only_their_bit(self):
        state = lpmtrie.PendingState(3)
        state.removePartition = False
        self.assertEqual(state.value, 1)
        state.maxPendingState = True
        self.assertEqual(state, lpmtrie.PendingState(9))
        self.assertEqual([getattr(state, name).value for name in
                          ("createPartition_", "removePartition_", "splittingPartition_",
                           "maxPendingState_")], [1, 2, 4, 8])
        self.assertTrue(state)
        self.assertFalse(lpmtrie.PendingState())
        self.assertLess(lpmtrie.PendingState(3), state)
        self.assertGreaterEqual(state, state)
        with self.assertRaises(ValueError):
            lpmtrie.PendingState(16)

    def test_texts_evaluate_back(self):
        names = {"Value": lpmtrie.Value, "Object": lpmtrie.Object}
        held = partition_id(5)
        for value in (lpmtrie.PendingState(6), lpmtrie.TrieNodeInfo()):
            self.assertEqual(eval(repr(value), names), value)
        info = lpmtrie.TrieNodeInfo("10.0.0.0/8", held, None)
        again = eval(repr(info), names)
        self.assertEqual(again.oldPartitionId, held)
        self.assertEqual(again.prefixRef.prefix, info.prefixRef.prefix)
        self.assertNotEqual(again.prefixRef, info.prefixRef)
        self.assertEqual(eval(repr(lpmtrie.PartitionIdValue(17)), names), 17)

    def test_records_print_and_compare(self):
        code = lpmtrie.TrieReturnCode()
        self.assertEqual(repr(code), "False")
        self.assertFalse(code)
        code.dirty = True
        self.assertEqual(repr(code), "True")
        self.assertTrue(code)
        self.assertEqual(copy.copy(code), code)
        self.assertNotEqual(code, lpmtrie.TrieReturnCode())
        walk = lpmtrie.TrieTraversalReturnCode()
        self.assertEqual(repr(walk),
                         "Value('LpmTrie::TrieTraversalReturnCode', ** {'bit': 0, 'level': 0})")
        moved = lpmtrie.Value("LpmTrie::TrieTraversalReturnCode", node=None, bit=0, level=1)
        self.assertTrue(moved)
        self.assertFalse(walk)
        for record in (code, walk, lpmtrie.TrieNodeReturnCode(),
                       lpmtrie.TrieFindMergeReturnCode()):
            with self.assertRaisesRegex(TypeError, "has no hash"):
                hash(record)
            with self.assertRaises(TypeError):
                record < record

    def test_references_are_counted(self):
        numbers = lpmtrie.Bitmap(limit=64)
        held = partition_id(65541, numbers)
        self.assertEqual(held.id.value, 65541)
        self.assertTrue(numbers.isSet(5))
        self.assertEqual(held.bitMap, numbers)
        info = lpmtrie.TrieNodeInfo("10.0.0.0/8", held, None)
        before = held.references
        info.newPartitionId = held
        self.assertEqual(held.references, before + 1)
        info.newPartitionId = held
        self.assertEqual(held.references, before + 1)
        info.newPartitionId = None
        self.assertEqual(held.references, before)
        del held, info
        self.assertFalse(numbers.isSet(5))

    def test_equality_with_other_things_is_false(self):
        self.assertNotEqual(lpmtrie.PendingState(), 0)
        self.assertNotEqual(lpmtrie.PendingState(), lpmtrie.PartitionIdValue())
        self.assertNotEqual(lpmtrie.Trie(vrfId=1), lpmtrie.Trie(vrfId=1))


if __name__ == "__main__":
    unittest.main()
