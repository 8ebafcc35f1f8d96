#pragma once

#include <Vexo/PtrInterface.h>

#include <cstddef>
#include <functional>
#include <ostream>
#include <type_traits>
#include <utility>

namespace Vexo {

/**
 * Counted reference to a `PtrInterface` object, or null. Size of one pointer. Comparison is
 * identity of the objects, never their value, also as a key of `std::unordered_map`. Not to be
 * shared between threads itself; the object may be, in thread-safe-pointer mode.
 */
template <class T>
class Ptr {
public:
    /** What it refers to. */
    using Element = T;

    constexpr Ptr() noexcept = default;
    /** @{ Takes a reference of its own; moving takes over the other's, and leaves null there. */
    constexpr Ptr(std::nullptr_t) noexcept {}
    Ptr(T* object) noexcept : object_(object) { take(); }
    Ptr(Ptr const& other) noexcept : object_(other.object_) { take(); }
    Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    template <class U>
    requires std::is_convertible_v<U*, T*> Ptr(Ptr<U> const& other)
    noexcept : object_(other.get()) { take(); }
    template <class U>
    requires std::is_convertible_v<U*, T*> Ptr(Ptr<U>&& other)
    noexcept : object_(other.release()) {}
    ~Ptr() { drop(object_); }

    Ptr& operator=(Ptr const& other) noexcept {
        Ptr(other).swap(*this);
        return *this;
    }
    Ptr& operator=(Ptr&& other) noexcept {
        Ptr(std::move(other)).swap(*this);
        return *this;
    }
    /** @} */

    /** Exchanges the references. */
    void swap(Ptr& other) noexcept { std::swap(object_, other.object_); }

    /** @{ The object, which lives as long as a reference to it; not to be asked of null but `get`.
     */
    T* get() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    T* operator->() const noexcept { return object_; }
    /** @} */
    /** Whether it is not null. */
    explicit operator bool() const noexcept { return object_ != nullptr; }

    /** Takes over a reference that the caller owns. */
    static Ptr adopt(T* object) noexcept {
        Ptr ptr;
        ptr.object_ = object;
        return ptr;
    }
    /** Hands the reference out as a plain pointer: the caller owes one `referencesDec`. */
    [[nodiscard]] T* release() noexcept { return std::exchange(object_, nullptr); }

private:
    void take() const noexcept {
        if (object_ != nullptr) {
            object_->referencesInc();
        }
    }
    static void drop(T* object) noexcept {
        if (object != nullptr) {
            object->referencesDec();
        }
    }

    T* object_ = nullptr;
};

/** @{ The same object, or both null. */
template <class T, class U>
bool operator==(Ptr<T> const& a, Ptr<U> const& b) noexcept {
    return a.get() == b.get();
}
template <class T, class U>
bool operator==(Ptr<T> const& a, U* b) noexcept {
    return a.get() == b;
}
template <class T>
bool operator==(Ptr<T> const& a, std::nullptr_t) noexcept {
    return a.get() == nullptr;
}
/** @} */

/** The same object as a `Ptr<T>`, or null when it is not a T. */
template <class T, class U>
Ptr<T> dynamicPtrCast(Ptr<U> const& other) noexcept {
    return Ptr<T>(dynamic_cast<T*>(other.get()));
}

}  // namespace Vexo

/** @cond Doxygen does not find the scope of a specialisation. */
template <class T>
struct std::hash<Vexo::Ptr<T>> {
    std::size_t operator()(Vexo::Ptr<T> const& ptr) const noexcept {
        return std::hash<T*>()(ptr.get());
    }
};
/** @endcond */
