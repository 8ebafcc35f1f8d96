#pragma once

#include <LpmTrie/LpmTrieTypes.h>
#include <Nimbal/IpGenPrefixRef.h>
#include <Vexo/HashMap.h>

#include <iosfwd>

namespace LpmTrie {

/**
 * A route that has moved from one partition to another. Shares the node's own prefix holder and
 * both partition ids and keeps them alive; any may be null, but a record needs its prefix to be
 * hashed or ordered.
 */
class LPMTRIE_API TrieNodeInfo {
public:
    static constexpr auto fields() {
        using Vexo::Served;
        return std::tuple{
            Vexo::field("prefixRef", &TrieNodeInfo::prefixRef_, Served::readWrite),
            Vexo::field("oldPartitionId", &TrieNodeInfo::oldPartitionId_, Served::readWrite),
            Vexo::field("newPartitionId", &TrieNodeInfo::newPartitionId_, Served::readWrite)};
    }
    static Vexo::FwkType const fwkType_;

    /** A holder as records keep it: not to be changed. */
    using PrefixRef = Vexo::Ptr<Nimbal::IpGenPrefixRef const>;

    TrieNodeInfo() noexcept = default;
    /** Any of the three may be null. */
    TrieNodeInfo(PrefixRef prefixRef, PartitionId::Ptr oldPartitionId,
                 PartitionId::Ptr newPartitionId) noexcept
        : prefixRef_(std::move(prefixRef)),
          oldPartitionId_(std::move(oldPartitionId)),
          newPartitionId_(std::move(newPartitionId)) {}
    /** Reads the text form: a new prefix holder is made, ids must name living objects. */
    explicit TrieNodeInfo(Vexo::CharRange& range);

    /** @{ The route's prefix, the partition that it has left, the one that it is in now. */
    PrefixRef const& prefixRef() const noexcept { return prefixRef_; }
    PartitionId::Ptr const& oldPartitionId() const noexcept { return oldPartitionId_; }
    PartitionId::Ptr const& newPartitionId() const noexcept { return newPartitionId_; }
    void prefixRefIs(PrefixRef prefixRef) noexcept { prefixRef_.swap(prefixRef); }
    void oldPartitionIdIs(PartitionId::Ptr id) noexcept { oldPartitionId_.swap(id); }
    void newPartitionIdIs(PartitionId::Ptr id) noexcept { newPartitionId_.swap(id); }
    /** @} */

    /** Of the prefix alone: all records of one prefix share it. RangeException without a prefix. */
    U32 hash() const;
    explicit operator bool() const noexcept { return Vexo::recordIsSet(*this); }
    /** The same three objects, not equal ones. */
    bool operator==(TrieNodeInfo const& other) const noexcept {
        return Vexo::recordsEqual(*this, other);
    }
    /**
     * By prefix alone: two unequal records of one prefix are unordered. RangeException when one has
     * no prefix.
     */
    bool operator<(TrieNodeInfo const& other) const {
        return neededPrefix() < other.neededPrefix();
    }

private:
    Nimbal::IpGenPrefix const& neededPrefix() const;

    PrefixRef prefixRef_;
    PartitionId::Ptr oldPartitionId_;
    PartitionId::Ptr newPartitionId_;
};

LPMTRIE_API std::ostream& operator<<(std::ostream& out, TrieNodeInfo const& info);

/**
 * The moved routes of one change or several: the client makes it, passes it to the partition
 * operations, reads it and clears or drops it; the trie only adds. The order of entries carries no
 * meaning, and a change of the collection ends iterators and references into it. Constant time for
 * each entry named, as a hash map takes it. Not locked.
 */
class LPMTRIE_API TrieNodesInfo : public Vexo::PtrInterface,
                                  public Vexo::TrackedAllocation<TrieNodesInfo> {
public:
    using Ptr = Vexo::Ptr<TrieNodesInfo>;

    /** An entry of the map: a record and its value, which is true when the trie has added it. */
    class VexoNodeInfo {
    public:
        /** @{ Parts of an entry. The key is constant once it is in the map. */
        VexoNodeInfo(TrieNodeInfo key, bool value) noexcept : key_(std::move(key)), value_(value) {}
        TrieNodeInfo const& key() const noexcept { return key_; }
        bool value() const noexcept { return value_; }
        void valueIs(bool value) noexcept { value_ = value; }
        /** @} */

    private:
        TrieNodeInfo key_;
        bool value_;
    };

    /** How the map finds an entry. */
    struct Keys {
        /** @{ What Vexo::HashMap asks for. */
        using Key = TrieNodeInfo;
        static U32 hash(TrieNodeInfo const& key) { return key.hash(); }
        static TrieNodeInfo const& key(VexoNodeInfo const& entry) noexcept { return entry.key(); }
        static bool matches(VexoNodeInfo const& entry, TrieNodeInfo const& probe) {
            return order(nullptr, probe, entry) == 0;
        }
        /** @} */
        /**
         * Of the key of `first`, or of `probe` when `first` is null, to that of `second`: 0 equal,
         * 1 less, 2 neither.
         */
        static U32 order(VexoNodeInfo const* first, TrieNodeInfo const& probe,
                         VexoNodeInfo const& second);
    };
    /** The collection's type. */
    using Map = Vexo::HashMap<VexoNodeInfo, Keys>;

    TrieNodesInfo() = default;
    /** An empty collection with notification on. */
    static Ptr TrieNodesInfoIs();

    Vexo::FwkType const* fwkType() const override;

    /** All entries, for iteration. */
    Map const& nodeInfo() const noexcept { return nodeInfo_; }
    /** The entry's value; false when there is no such entry. */
    bool nodeInfo(TrieNodeInfo const& info) const;
    /**
     * Sets the value of the equal entry or adds one. Throws std::bad_alloc and changes nothing
     * then.
     */
    void nodeInfoIs(TrieNodeInfo const& info, bool value);
    /** True when there was such an entry. */
    bool nodeInfoDel(TrieNodeInfo const& info);
    /** Empties the collection; records let go of their objects. */
    void nodeInfoDelAll() noexcept;
    /** After it the next `more` additions do not throw. Throws std::bad_alloc. */
    void nodeInfoReserve(std::size_t more) { nodeInfo_.reserve(more); }

    static Vexo::FwkType const fwkType_;

private:
    Map nodeInfo_;
};

/** An empty collection with notification on. */
LPMTRIE_API TrieNodesInfo::Ptr trieNodesInfoFactory();

}  // namespace LpmTrie
