#pragma once

#include <Nimbal/IpGenPrefix.h>
#include <Vexo/Ptr.h>
#include <Vexo/SlabStorage.h>
#include <Vexo/Strep.h>
#include <Vexo/TrackedAllocation.h>

#include <iosfwd>

namespace Nimbal {

/** Counted holder of one prefix, shared by a trie's node and the records that name it. Constant. */
class LPMTRIE_API IpGenPrefixRef
    : public Vexo::PtrInterface,
      public Vexo::TrackedAllocation<IpGenPrefixRef, Vexo::SlabStorage> {
public:
    using Ptr = Vexo::Ptr<IpGenPrefixRef>;

    /** Copies the prefix. Held by nobody yet. */
    explicit IpGenPrefixRef(IpGenPrefix const& prefix) noexcept : prefix_(prefix) {}
    /** A new holder with notification on. Throws std::bad_alloc. */
    static Ptr IpGenPrefixRefIs(IpGenPrefix const& prefix) {
        return Ptr::adopt(new IpGenPrefixRef(Held(), prefix));
    }

    Vexo::FwkType const* fwkType() const override;

    /** Lives as long as the holder. */
    IpGenPrefix const& prefix() const noexcept { return prefix_; }

    static Vexo::FwkType const fwkType_;

private:
    IpGenPrefixRef(Held held, IpGenPrefix const& prefix) noexcept
        : PtrInterface(held), prefix_(prefix) {}

    IpGenPrefix const prefix_;
};

/** The holder's prefix, or "prefixRef null". */
LPMTRIE_API std::ostream& operator<<(std::ostream& out, IpGenPrefixRef const* holder);

/**
 * A holder's text form is its prefix's, "None" for null: it reads back into a new, equal holder.
 */
LPMTRIE_API String valueToStrep(Vexo::Ptr<IpGenPrefixRef> const& holder);
LPMTRIE_API String valueToStrep(Vexo::Ptr<IpGenPrefixRef const> const& holder);

}  // namespace Nimbal

namespace Vexo {

/** @{ Reads a prefix into a new holder, or None. RangeException that names `fieldName`. */
template <>
LPMTRIE_API Ptr<Nimbal::IpGenPrefixRef> deserializeAttr<Ptr<Nimbal::IpGenPrefixRef>>(
    CharRange& range, char const* fieldName);
template <>
LPMTRIE_API Ptr<Nimbal::IpGenPrefixRef const> deserializeAttr<Ptr<Nimbal::IpGenPrefixRef const>>(
    CharRange& range, char const* fieldName);
/** @} */

}  // namespace Vexo
