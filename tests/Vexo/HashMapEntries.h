#pragma once

#include <Vexo/Hash.h>
#include <Vexo/HashMap.h>
#include <Vexo/Types.h>

namespace VexoTest {

struct NumberEntry {
    Vexo::U32 key;
    Vexo::U32 value;
};

/** Hashes a number well. */
struct MixedPolicy {
    using Key = Vexo::U32;
    static Vexo::U32 hash(Key key) { return Vexo::hashOf(key); }
    static Key key(NumberEntry const& entry) { return entry.key; }
    static bool matches(NumberEntry const& entry, Key key) { return entry.key == key; }
};

/** Takes the number itself, so that a test decides where an entry's home is. */
struct PlainPolicy : MixedPolicy {
    static Vexo::U32 hash(Key key) { return key; }
};

/** Gives all keys the same hash. */
struct CollidingPolicy : MixedPolicy {
    static Vexo::U32 hash(Key) { return 0x12345678U; }
};

/** An entry that allocates, found by its text. */
struct TextEntry {
    Vexo::String key;
    Vexo::U32 value;
};
struct TextPolicy {
    using Key = Vexo::String;
    static Vexo::U32 hash(Key const& key) {
        Vexo::Hash hash;
        hash.hashMix(key.data(), key.size());
        return hash.result();
    }
    static Key const& key(TextEntry const& entry) { return entry.key; }
    static bool matches(TextEntry const& entry, Key const& key) { return entry.key == key; }
};

}  // namespace VexoTest
