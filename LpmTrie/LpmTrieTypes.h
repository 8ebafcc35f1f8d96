#pragma once

#include <Torvel/Bitmap.h>
#include <Vexo/Ptr.h>
#include <Vexo/Record.h>
#include <Vexo/TrackedAllocation.h>

#include <compare>
#include <iosfwd>
#include <tuple>

namespace LpmTrie {

using Vexo::String;
using Vexo::U32;
using Vexo::U8;

/** The number of a partition. Its hash is the number itself; 0 counts as not set. */
class LPMTRIE_API PartitionIdValue {
public:
    static constexpr auto fields() {
        return std::tuple{Vexo::field("value", &PartitionIdValue::value_, Vexo::Served::readOnly)};
    }
    static Vexo::FwkType const fwkType_;

    constexpr PartitionIdValue() noexcept = default;
    /** Any number will do. */
    explicit constexpr PartitionIdValue(U32 value) noexcept : value_(value) {}
    /** Reads an unsigned decimal. Throws RangeException naming "value". */
    explicit PartitionIdValue(Vexo::CharRange& range);

    /** @{ The number. */
    constexpr U32 value() const noexcept { return value_; }
    constexpr U32 hash() const noexcept { return value_; }
    /** @} */

    constexpr explicit operator bool() const noexcept { return value_ != 0; }
    constexpr auto operator<=>(PartitionIdValue const&) const noexcept = default;

private:
    U32 value_ = 0;
};

LPMTRIE_API std::ostream& operator<<(std::ostream& out, PartitionIdValue const& id);

/**
 * What a node's partition is waiting for: a set of four flags in one byte, bits 4 to 7 always 0.
 * The trie sets `createPartition` and `removePartition`; the client clears them when the hardware
 * has followed, and may use the others as it likes. `maxPendingState` is an ordinary fourth flag,
 * not a count. A plain value, empty by default.
 */
class LPMTRIE_API PendingState {
public:
    constexpr PendingState() noexcept = default;
    /** Keeps the low four bits. Throws RangeException when another bit is set. */
    explicit PendingState(unsigned char v);
    /** Reads the text form. Throws RangeException. */
    explicit PendingState(Vexo::CharRange& range);

    /** @{ The set of this flag alone. */
    static constexpr PendingState createPartition_() noexcept { return ofBits(1); }
    static constexpr PendingState removePartition_() noexcept { return ofBits(2); }
    static constexpr PendingState splittingPartition_() noexcept { return ofBits(4); }
    static constexpr PendingState maxPendingState_() noexcept { return ofBits(8); }
    /** @} */

    /** @{ Whether this flag is set. */
    constexpr bool createPartition() const noexcept { return has(1); }
    constexpr bool removePartition() const noexcept { return has(2); }
    constexpr bool splittingPartition() const noexcept { return has(4); }
    constexpr bool maxPendingState() const noexcept { return has(8); }
    /** @} */
    /** @{ Sets or clears this flag, and no other. */
    constexpr void createPartition(bool on) noexcept { put(1, on); }
    constexpr void removePartition(bool on) noexcept { put(2, on); }
    constexpr void splittingPartition(bool on) noexcept { put(4, on); }
    constexpr void maxPendingState(bool on) noexcept { put(8, on); }
    /** @} */

    /** The byte: 1 createPartition, 2 removePartition, 4 splittingPartition, 8 maxPendingState. */
    constexpr U8 value() const noexcept { return value_; }
    /** Of the byte, by Vexo's hash. */
    U32 hash() const noexcept;

    constexpr explicit operator bool() const noexcept { return value_ != 0; }
    constexpr auto operator<=>(PendingState const&) const noexcept = default;
    /** @{ Set operations; the complement is within the four flags. */
    friend constexpr PendingState operator&(PendingState a, PendingState b) noexcept {
        return ofBits(a.value_ & b.value_);
    }
    friend constexpr PendingState operator|(PendingState a, PendingState b) noexcept {
        return ofBits(a.value_ | b.value_);
    }
    friend constexpr PendingState operator^(PendingState a, PendingState b) noexcept {
        return ofBits(a.value_ ^ b.value_);
    }
    friend constexpr PendingState operator-(PendingState a, PendingState b) noexcept {
        return ofBits(a.value_ & ~U32{b.value_});
    }
    friend constexpr PendingState operator~(PendingState a) noexcept {
        return ofBits(~U32{a.value_});
    }
    /** @} */

    static Vexo::FwkType const fwkType_;

private:
    static constexpr U32 allFlags_ = 15;

    static constexpr PendingState ofBits(U32 bits) noexcept {
        PendingState state;
        state.value_ = static_cast<U8>(bits & allFlags_);
        return state;
    }
    constexpr bool has(U32 flag) const noexcept { return (value_ & flag) != 0; }
    constexpr void put(U32 flag, bool on) noexcept {
        value_ = static_cast<U8>(on ? value_ | flag : value_ & ~flag);
    }

    U8 value_ = 0;
};

/** "Value('LpmTrie::PendingState', ** {'createPartition': False, ...})", as the parser reads it. */
LPMTRIE_API String valueToStrep(PendingState const& state);
LPMTRIE_API std::ostream& operator<<(std::ostream& out, PendingState const& state);

/**
 * Owns a partition number for as long as it lives: the bit `id & mask` of a shared bitmap is set at
 * construction and cleared at destruction. Deliberate: the bit is not `id` itself, a client may
 * keep bits of its own in `id` that `mask` holds back. Whether the bit was free is the bitmap's
 * affair. Nodes and records of moved routes share it; in thread-safe-pointer mode, threads may.
 */
class LPMTRIE_API PartitionId : public Vexo::PtrInterface,
                                public Vexo::TrackedAllocation<PartitionId> {
public:
    using Ptr = Vexo::Ptr<PartitionId>;

    /**
     * `bitMap` may be null: nothing is reserved. Throws what the bitmap throws, reserving nothing.
     */
    PartitionId(PartitionIdValue id, U32 mask, Vexo::Ptr<Torvel::Bitmap> const& bitMap);
    /** A new id with notification on. */
    static Ptr PartitionIdIs(PartitionIdValue id, U32 mask,
                             Vexo::Ptr<Torvel::Bitmap> const& bitMap);

    Vexo::FwkType const* fwkType() const override;
    ~PartitionId() override;

    /** @{ As at construction. */
    PartitionIdValue id() const noexcept { return id_; }
    U32 mask() const noexcept { return mask_; }
    Vexo::Ptr<Torvel::Bitmap> const& bitMap() const noexcept { return bitMap_; }
    /** @} */

    /** Reserves the number. The constructor calls it; a second call changes nothing. */
    void handleConstruction();
    /** Gives the number back. The destructor calls it. */
    void handleDestruction();

    static Vexo::FwkType const fwkType_;

private:
    PartitionIdValue const id_;
    U32 const mask_;
    Vexo::Ptr<Torvel::Bitmap> const bitMap_;
};

/** "PartitionId:5 references:3", or "PartitionId null". */
LPMTRIE_API std::ostream& operator<<(std::ostream& out, PartitionId const* id);

/** The module of this header's types. */
LPMTRIE_API extern Vexo::FwkModule const lpmTrieTypesModule;

}  // namespace LpmTrie

namespace Vexo {

/** Reads the name of a living PartitionId, or None. */
template <>
LPMTRIE_API Ptr<LpmTrie::PartitionId> deserializeAttr<Ptr<LpmTrie::PartitionId>>(
    CharRange& range, char const* fieldName);

}  // namespace Vexo
