#pragma once

#include <Vexo/Types.h>

#include <exception>
#include <utility>

namespace Vexo {

/** A text or number that does not lie in the range of what was asked for. */
class LPMTRIE_API RangeException : public std::exception {
public:
    /** @{ What went wrong, for a person to read, and where, if that is known. */
    explicit RangeException(String message) : message_(std::move(message)) {}
    RangeException(String message, String attribute)
        : message_(std::move(message)), attribute_(std::move(attribute)) {}
    /** @} */

    /** The message. */
    char const* what() const noexcept override { return message_.c_str(); }
    /** The attribute whose value failed, outermost first ("a.b"); empty when none is known. */
    String const& attribute() const noexcept { return attribute_; }

private:
    String message_;
    String attribute_;
};

class FwkType;

/** `error` again, now naming the attribute whose value was being read. */
[[noreturn]] LPMTRIE_API void rethrowFromDeserializeAttr(RangeException const& error,
                                                         char const* fieldName);
/** A set of flags was given a number with bits beyond its flags. */
[[noreturn]] LPMTRIE_API void throwDenseEnumBoolSetRangeException(FwkType const& type, U32 value);

/** A hash was asked of a type that has none. */
class LPMTRIE_API UnhashableException : public std::exception {
public:
    /** Names the type. */
    explicit UnhashableException(String message) : message_(std::move(message)) {}
    /** The message. */
    char const* what() const noexcept override { return message_.c_str(); }

private:
    String message_;
};

/** Throws UnhashableException with the type's name. */
[[noreturn]] LPMTRIE_API void throwUnhashableException(FwkType const& type);

}  // namespace Vexo
