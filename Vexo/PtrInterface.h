#pragma once

#include <Vexo/FwkType.h>
#include <Vexo/Types.h>

#include <atomic>
#include <vector>

namespace Vexo {

namespace Detail {
LPMTRIE_API extern std::atomic<bool> threadSafePtrMode;
}

/**
 * @{ The thread-safe-pointer mode, one switch for the process. On: reference counts change by
 * atomic read-modify-write, so that threads may share counted objects. Off (the start value): by
 * plain loads and stores. Switch while no second thread touches counted objects.
 */
inline bool threadSafePtr() noexcept {
    return Detail::threadSafePtrMode.load(std::memory_order_relaxed);
}
inline void threadSafePtrIs(bool on) noexcept {
    Detail::threadSafePtrMode.store(on, std::memory_order_relaxed);
}
/** @} */

class PtrInterface;

/**
 * Somebody who wants to hear of the end of a counted object. Must outlive its place in the list.
 */
class LPMTRIE_API Notifiee {
public:
    /** `notifier` has lost its last reference and is about to be destroyed; it is still whole. */
    virtual void zeroReferences(PtrInterface& notifier) noexcept = 0;

protected:
    ~Notifiee() = default;
};

/**
 * The notifiees of one object, told in the order of their entry. One that is told may leave the
 * list, or take others from it. Entering and leaving take time in proportion to the list. Not
 * locked.
 */
class LPMTRIE_API NotifieeList {
public:
    /** Enters one at the end, unless it is in the list. Throws std::bad_alloc. */
    void notifieeIs(Notifiee* notifiee);
    /** Takes one out that may not be in the list. */
    void notifieeDel(Notifiee* notifiee) noexcept;
    /** Tells them all. */
    void zeroReferences(PtrInterface& notifier) noexcept;

private:
    std::vector<Notifiee*> notifiees_;
    std::size_t next_ = 0;  // the one to be told next
};

/**
 * Base of every counted object. `Ptr` holds references; the object destroys itself when the last
 * one goes.
 *
 * Invariants: the low 29 bits of the reference word count references, the upper bits are flags and
 * never part of a printed count. A count that would overflow or fall below zero is a fatal
 * assertion. A new object has no reference. Order of the virtual operations: notifieeList,
 * hasNotificationActiveIs, zeroReferencesIs, fwkType, destructor.
 */
class LPMTRIE_API PtrInterface {
public:
    /** The bits of the reference word that count: at most 536,870,911 references. */
    static constexpr U32 referenceMask_ = 0x1fffffffU;

    PtrInterface(PtrInterface const&) = delete;
    PtrInterface& operator=(PtrInterface const&) = delete;

    /** The object's list of notifiees, or null (as here) when the class keeps none. */
    virtual NotifieeList* notifieeList();
    /** Off while an object is being made: nobody is told about it. Factories switch it on. */
    virtual void hasNotificationActiveIs(bool active) { flagIs(notificationActive_, active); }
    /** The last reference has gone: tells the notifiees, if notification is on, and destroys. */
    virtual void zeroReferencesIs();
    /** The object's own type, not that of the reference. */
    virtual FwkType const* fwkType() const;
    virtual ~PtrInterface();

    /** Whether anybody is told of the object's end. */
    bool hasNotificationActive() const noexcept {
        return (word_.load(std::memory_order_relaxed) & notificationActive_) != 0;
    }
    /** How many references there are now. */
    U32 references() const noexcept {
        return word_.load(std::memory_order_relaxed) & referenceMask_;
    }

    /** Takes a reference. `Ptr` does it; who calls it owes a `referencesDec`. */
    void referencesInc() const noexcept {
        U32 before = 0;
        if (threadSafePtr()) {
            before = word_.fetch_add(1, std::memory_order_relaxed);
        } else {
            before = word_.load(std::memory_order_relaxed);
            word_.store(before + 1, std::memory_order_relaxed);
        }
        if ((before & referenceMask_) == referenceMask_) [[unlikely]] {
            failOverflow();
        }
    }

    /** Gives a reference back; with the last one the object goes. */
    void referencesDec() const noexcept {
        U32 before = 0;
        if (threadSafePtr()) {
            before = word_.fetch_sub(1, std::memory_order_acq_rel);
        } else {
            before = word_.load(std::memory_order_relaxed);
            word_.store(before - 1, std::memory_order_relaxed);
        }
        if ((before & referenceMask_) <= 1) [[unlikely]] {
            lastReferenceGone(before);
        }
    }

    /** Takes a reference unless the count has already reached zero; false in that case. */
    bool referencesIncUnlessZero() const noexcept;

    static FwkType const fwkType_;

protected:
    /** A first reference that the maker already holds, with notification on. */
    struct Held {};

    PtrInterface() noexcept = default;
    /** For factories: spares a new object the changes of its count and flags. */
    explicit PtrInterface(Held) noexcept : word_(notificationActive_ | 1) {}

private:
    friend class ObjectNames;
    static constexpr U32 notificationActive_ = 1U << 29;
    static constexpr U32 namedInText_ = 1U << 30;

    void flagIs(U32 flag, bool on) const noexcept {
        if (threadSafePtr()) {
            if (on) {
                word_.fetch_or(flag, std::memory_order_relaxed);
            } else {
                word_.fetch_and(~flag, std::memory_order_relaxed);
            }
        } else {
            U32 const word = word_.load(std::memory_order_relaxed);
            word_.store(on ? word | flag : word & ~flag, std::memory_order_relaxed);
        }
    }
    [[gnu::cold, noreturn]] void failOverflow() const noexcept;
    [[gnu::noinline]] void lastReferenceGone(U32 before) const noexcept;

    mutable std::atomic<U32> word_{0};
};

}  // namespace Vexo
