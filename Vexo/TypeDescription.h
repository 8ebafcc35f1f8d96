#pragma once

#include <Vexo/CharRange.h>
#include <Vexo/FwkType.h>

#include <array>
#include <span>

/*
 * What a type shows by name, as constant data. A type's description names the type it is derived
 * from, its attributes in their order, its generic operations if it is a value type, and how one is
 * made. Attribute.h builds the rows from member pointers; AttributeOperation.h serves requests from
 * them.
 */

namespace Vexo {

class Value;

/** A type in a declaration: a value type itself, or a counted reference to an object type. */
struct TypeRef {
    FwkType const* type = nullptr;  // null: nothing
    bool reference = false;         // the latter
};

/** What an attribute is: something to read or write, to call, or to look keys up in. */
enum class AttributeKind : U8 { value, function, collection };

/** What can be asked of an attribute, or, the three of the second line, of a value as a whole. */
enum class AttributeOperation : U8 {
    get,
    set,
    call,
    truth,
    equal,
    less,
    // of a collection
    lookUp,
    put,
    erase,
    count,
    capacity,
    contains,
    keyAt
};

/** What became of a request. Operands of wrong types are exceptions instead. */
enum class AttributeStatus : U8 { done, operationNotAllowed, noSuchAttribute };

/** One request and the place of its answer. */
struct AttributeRequest {
    void* self;  // the value, or a `PtrInterface*`; null for a function of a module
    AttributeOperation operation;     // what is asked
    std::span<Value const> operands;  // as many as the operation takes
    Value* result;                    // where the answer goes
    Attribute const* attribute;       // of which
    String place;                     // the attribute's full name, for errors
};

/** A parameter of a function. */
struct Parameter {
    char const* name = nullptr;  // as scripts pass it
    TypeRef type;                // that is taken
};

/** One row of a type's declaration. */
struct Attribute {
    /** The most that a function may take. */
    static constexpr std::size_t mostParameters_ = 8;

    char const* name = nullptr;                 // by which it is asked for
    AttributeKind kind = AttributeKind::value;  // what it is
    bool readable = false;                      // values
    bool writable = false;                      // values
    TypeRef type;     // of the value, of a function's result, of a collection's values
    TypeRef keyType;  // of a collection
    std::array<Parameter, mostParameters_> parameters{};  // of a function
    U32 parameterCount = 0;                               // how many of these there are
    /** Null: declared, but not served. */
    AttributeStatus (*serve)(AttributeRequest&) = nullptr;
};

/** What the framework can do with any value of a value type. A null entry: the type does not offer
 * it. */
struct ValueOps {
    /** @{ On pointers to values of the type. New values are the caller's, to be destroyed. */
    void* (*makeDefault)() = nullptr;
    void* (*copy)(void const*) = nullptr;
    void (*destroy)(void*) noexcept = nullptr;
    String (*text)(void const*) = nullptr;
    void* (*parse)(CharRange&) = nullptr;
    U32 (*hash)(void const*) = nullptr;
    bool (*truth)(void const*) = nullptr;
    bool (*equal)(void const*, void const*) = nullptr;
    bool (*less)(void const*, void const*) = nullptr;
    /** @} */
};

/** What a type shows: constant data, beside the type. */
struct TypeDescription {
    FwkType const* base = nullptr;               // null: derived from no registered type
    std::span<Attribute const> attributes = {};  // its own, in the order of their numbers
    ValueOps const* value = nullptr;             // null: a counted object
    Attribute const* constructor = nullptr;      // a function that returns one; null: none by name
};

}  // namespace Vexo
