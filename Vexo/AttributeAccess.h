#pragma once

#include <Vexo/Value.h>

#include <span>

/*
 * Requests by name. Nothing here stops the process: a name that a type does not serve and an
 * operation that an attribute does not offer are answers; operands of a wrong type are exceptions
 * that name the attribute, the type wanted and the type given.
 */

namespace Vexo {

/**
 * The served attribute of that name, of the type itself or one that it is derived from, or null.
 * All names that these declare may have to be compared, as everywhere below that a name is given.
 */
LPMTRIE_API Attribute const* findAttribute(FwkType const& type, String const& name);

/** The number of a declared attribute, served or not; 0 when the type declares none of that name.
 */
LPMTRIE_API U32 attributeNumber(FwkType const& type, String const& name);

/**
 * The served attributes in the order of their numbers: those of the base type first. Looks each up
 * by its name: takes time in proportion to the square of how many are declared.
 */
LPMTRIE_API std::vector<Attribute const*> servedAttributes(FwkType const& type);

/**
 * One operation on an attribute of a value or of the object that a reference names. A set changes
 * the value in the slot itself. Throws ConversionException, and what the operation reached throws.
 */
LPMTRIE_API AttributeStatus attributeOperation(Value& self, String const& attribute,
                                               AttributeOperation operation,
                                               std::span<Value const> operands, Value* result);

/** Truth, equality and less-than of a value as a whole. References: not null, and identity. */
LPMTRIE_API AttributeStatus valueOperation(Value const& self, AttributeOperation operation,
                                           std::span<Value const> operands, Value* result);

/** A value's text form, or a reference's name of its object. */
LPMTRIE_API String valueText(Value const& value);
/** The value of that type that a whole text gives. Throws RangeException. */
LPMTRIE_API Value valueFromText(FwkType const& type, String const& text);
/** Throws UnhashableException when the type has none. A reference's is that of its object's
 * address. */
LPMTRIE_API U32 valueHash(Value const& value);

/** A new object or value, by the type's constructor; without operands a value type's default. */
LPMTRIE_API Value createByType(FwkType const& type, std::span<Value const> operands);

}  // namespace Vexo
