#pragma once

#include <Vexo/Ptr.h>
#include <Vexo/RangeException.h>
#include <Vexo/Strep.h>
#include <Vexo/TypeDescription.h>

#include <concepts>
#include <memory>
#include <type_traits>
#include <utility>

namespace Vexo {

/**
 * The framework's untyped slot: nothing, a value of any described value type, or a counted
 * reference to an object (perhaps null). Copying copies the value or takes a reference; moving
 * leaves nothing behind. Owns what it holds. Not locked.
 */
class LPMTRIE_API Value {
public:
    Value() noexcept = default;
    /** Takes over a value made by the type's own operations. */
    static Value adopt(FwkType const& type, void* data) noexcept;
    /** `type` is the static type of the reference; the object may be of a derived one. */
    static Value reference(FwkType const& type, Ptr<PtrInterface> object) noexcept;

    /** @{ A copy may throw what copying the value throws. */
    Value(Value const& other);
    Value(Value&& other) noexcept { swap(other); }
    Value& operator=(Value other) noexcept {
        swap(other);
        return *this;
    }
    ~Value();
    void swap(Value& other) noexcept {
        std::swap(type_, other.type_);
        std::swap(data_, other.data_);
        object_.swap(other.object_);
    }
    /** @} */

    /** @{ Whether it holds nothing, or a reference, null included. */
    bool isNone() const noexcept { return type_ == nullptr; }
    bool isReference() const noexcept { return type_ != nullptr && data_ == nullptr; }
    /** @} */
    /** Of the value, or of the object that is referred to; of the reference when that is null. */
    FwkType const* type() const noexcept;
    /** "nothing", a value's type, or "reference to" an object's: for messages. */
    String typeName() const;

    /** The value's storage; null for nothing and for references. */
    void* data() const noexcept { return data_; }
    /** The object referred to; null for all else. */
    Ptr<PtrInterface> const& object() const noexcept { return object_; }

private:
    FwkType const* type_ = nullptr;
    void* data_ = nullptr;
    Ptr<PtrInterface> object_;
};

/** A slot does not hold what an attribute takes. */
class LPMTRIE_API ConversionException : public std::exception {
public:
    /** `place` names the attribute, and its parameter where there is one. */
    ConversionException(String const& place, String const& wanted, String const& given)
        : message_(place + ": wants " + wanted + ", given " + given) {}
    /** A message as it is. */
    explicit ConversionException(String message) noexcept : message_(std::move(message)) {}
    /** The message. */
    char const* what() const noexcept override { return message_.c_str(); }

private:
    String message_;
};

/**
 * How a C++ type travels in a slot. A class with a constant `fwkType_` travels as itself; a library
 * specialises this for types that travel as another.
 */
template <class T>
struct Boxing {
    /** @{ The type in the slot; into a slot; out of one, or ConversionException naming `place`. */
    static constexpr TypeRef type_{&T::fwkType_, false};

    static Value box(T const& value) { return Value::adopt(T::fwkType_, new T(value)); }
    static T unbox(Value const& slot, String const& place) {
        if (slot.data() == nullptr || slot.type() != &T::fwkType_) {
            throw ConversionException(place, T::fwkType_.name(), slot.typeName());
        }
        return *static_cast<T const*>(slot.data());
    }
    /** @} */
};

/** @cond Specialisations mean the same as the template. */
template <class T>
struct Boxing<Ptr<T>> {
    using Object = std::remove_const_t<T>;
    static constexpr TypeRef type_{&Object::fwkType_, true};

    static Value box(Ptr<T> const& object) {
        return Value::reference(Object::fwkType_,
                                Ptr<PtrInterface>(const_cast<Object*>(object.get())));
    }
    /** Nothing, and a null reference of any type, are null. */
    static Ptr<T> unbox(Value const& slot, String const& place) {
        bool const null = slot.isNone() || (slot.isReference() && !slot.object());
        Ptr<Object> object = dynamicPtrCast<Object>(slot.object());
        if (!null && !object) {
            throw ConversionException(place, String("reference to ") + Object::fwkType_.name(),
                                      slot.typeName());
        }
        return object;
    }
};

namespace Detail {
LPMTRIE_API Value boxNumber(U64 number);
/** The slot's number; throws ConversionException, or RangeException when it is over `largest`. */
LPMTRIE_API U64 unboxNumber(Value const& slot, String const& place, U64 largest);
}  // namespace Detail

template <UnsignedNumber T>
struct Boxing<T> {
    static constexpr TypeRef type_{sizeof(T) > sizeof(U32) ? &u64Type : &u32Type, false};

    static Value box(T number) { return Detail::boxNumber(number); }
    static T unbox(Value const& slot, String const& place) {
        return static_cast<T>(Detail::unboxNumber(slot, place, static_cast<T>(~T{0})));
    }
};

template <>
struct LPMTRIE_API Boxing<bool> {
    static constexpr TypeRef type_{&boolType, false};
    static Value box(bool value) { return Value::adopt(boolType, new bool(value)); }
    static bool unbox(Value const& slot, String const& place);
};

template <>
struct LPMTRIE_API Boxing<String> {
    static constexpr TypeRef type_{&stringType, false};
    static Value box(String const& value) { return Value::adopt(stringType, new String(value)); }
    static String unbox(Value const& slot, String const& place);
};

/** An enumeration travels as its number. */
template <class T>
requires std::is_enum_v<T>
struct Boxing<T> {
    using Number = std::underlying_type_t<T>;
    static constexpr TypeRef type_ = Boxing<Number>::type_;

    static Value box(T value) { return Boxing<Number>::box(static_cast<Number>(value)); }
    static T unbox(Value const& slot, String const& place) {
        return static_cast<T>(Boxing<Number>::unbox(slot, place));
    }
};
/** @endcond */

/** A value in a slot. Throws std::bad_alloc. */
template <class T>
Value box(T const& value) {
    return Boxing<T>::box(value);
}

namespace Detail {

/** Storage for a number, found before the number is known. */
class LPMTRIE_API NumberRoom {
public:
    explicit NumberRoom(bool wide) : wide_(wide ? new U64 : nullptr) {}
    Value box(U64 number) noexcept;

private:
    std::unique_ptr<U32> narrow_{new U32};
    std::unique_ptr<U64> wide_;
};

template <class T>
constexpr bool travelsAsItself() noexcept {
    if constexpr (!std::default_initializable<T> || !std::movable<T>) {
        return false;
    } else if constexpr (requires { T::fwkType_; }) {
        return Boxing<T>::type_.type == &T::fwkType_ && !Boxing<T>::type_.reference;
    } else {
        return std::same_as<T, bool> || std::same_as<T, String>;
    }
}

}  // namespace Detail

/**
 * What `call` returns, in a slot whose memory is found before `call` runs: what has been done is
 * not lost for want of it, and what cannot be told is not done.
 */
template <class T, class Call>
Value boxResult(Call const& call) {
    if constexpr (UnsignedNumber<T>) {
        Detail::NumberRoom room(sizeof(T) > sizeof(U32));
        return room.box(call());
    } else if constexpr (Detail::travelsAsItself<T>()) {
        auto room = std::make_unique<T>();
        *room = call();
        return Value::adopt(*Boxing<T>::type_.type, room.release());
    } else {
        return box<T>(call());
    }
}

/** Throws ConversionException, naming `place`, when the slot holds something else. */
template <class T>
T unbox(Value const& slot, String const& place) {
    return Boxing<T>::unbox(slot, place);
}

}  // namespace Vexo
