#pragma once

#include <Vexo/CharRange.h>
#include <Vexo/Ptr.h>
#include <Vexo/Types.h>

#include <concepts>
#include <type_traits>

/*
 * Text forms of values, "string representations", in both directions.
 *
 *   bool                True, False
 *   unsigned integers   decimal digits
 *   String              single quotes; quote, backslash and bytes that do not print are escaped
 *   void*, Node* ...    None, or 0x and hexadecimal digits; a number only, never followed
 *   Ptr<T>              None, or Object('Type', 0x...), which reads back while the object lives
 *   records             Record.h
 *
 * All are expressions of the common scripting languages' syntax. Readers take exactly what the
 * writers produce, save that a pointer's digits may begin with zeros and that 0x0 is null too; no
 * white space is skipped. Every error is a RangeException.
 */

namespace Vexo {

/** What is written in decimal digits. */
template <class T>
concept UnsignedNumber = std::unsigned_integral<T> && !std::same_as<T, bool>;

/** @{ The text form, as the head of this file lists it. Throws std::bad_alloc. */
LPMTRIE_API String valueToStrep(unsigned long long value);
String valueToStrep(std::same_as<bool> auto value) {
    return value ? "True" : "False";
}
template <UnsignedNumber T>
requires(!std::same_as<T, unsigned long long>) String valueToStrep(T value) {
    return valueToStrep(static_cast<unsigned long long>(value));
}
LPMTRIE_API String valueToStrep(String const& value);
LPMTRIE_API String valueToStrep(void const* pointer);
/** @} */
/** Names a counted object. The name can be read back as long as the object lives. */
LPMTRIE_API String objectToStrep(PtrInterface const* object);
/** The object's name, or "None". */
template <class T>
String valueToStrep(Ptr<T> const& object) {
    return objectToStrep(object.get());
}

/** @{ Reads one value and leaves what follows. Throws RangeException. */
LPMTRIE_API void sequenceToValue(CharRange& range, bool* value);
LPMTRIE_API void sequenceToValue(CharRange& range, String* value);
/** @} */
/** Reads one pointer as a number: "None" or "0x" and up to as many hexadecimal digits as it has. */
LPMTRIE_API void sequenceToValue(CharRange& range, void** value);
/** Decimal digits, without leading zeros, that make a number of at most `largest`. */
LPMTRIE_API U64 sequenceToNumber(CharRange& range, U64 largest);
/** Digits as of `sequenceToNumber`, that make a number of the type. */
template <UnsignedNumber T>
void sequenceToValue(CharRange& range, T* value) {
    *value = static_cast<T>(sequenceToNumber(range, static_cast<T>(~T{0})));
}
/** A class reads itself by its constructor. */
template <class T>
requires std::constructible_from<T, CharRange&>
void sequenceToValue(CharRange& range, T* value) {
    *value = T(range);
}
/** Reads the name of one counted object; null for "None". A name of none that lives is refused. */
LPMTRIE_API Ptr<PtrInterface> sequenceToValueOfPtr(CharRange& range);

/**
 * Reads the value of the attribute `fieldName`; a RangeException leaves with the attribute's name.
 * A library specialises it for types of its own whose text needs more than a constructor.
 */
template <class T>
T deserializeAttr(CharRange& range, char const* fieldName) {
    try {
        if constexpr (std::constructible_from<T, CharRange&>) {
            return T(range);
        } else {
            T value{};
            sequenceToValue(range, &value);
            return value;
        }
    } catch (RangeException const& error) {
        rethrowFromDeserializeAttr(error, fieldName);
    }
}

/** One value from a whole text: nothing may be left over. */
template <class T>
T strepToValue(String const& text) {
    CharRange range(text);
    if constexpr (std::constructible_from<T, CharRange&>) {
        T value(range);
        range.checkAllDataConsumed();
        return value;
    } else {
        T value{};
        sequenceToValue(range, &value);
        range.checkAllDataConsumed();
        return value;
    }
}

}  // namespace Vexo
