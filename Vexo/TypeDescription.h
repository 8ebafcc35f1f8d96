#pragma once

#include <Vexo/CharRange.h>
#include <Vexo/FwkType.h>

#include <array>
#include <span>

/*
 * What a type shows by name, as constant data. A type's description names the type it is derived
 * from, its attributes in their order, its generic operations if it is a value type, and how one is
 * made. Attribute.h builds the rows from member pointers; AttributeAccess.h serves requests from
 * them.
 */

namespace Vexo {

class Value;

/** A type in a declaration: a value type itself, or a counted reference to an object type. */
struct TypeRef {
    FwkType const* type = nullptr;  // null: nothing
    bool reference = false;         // the latter
};

/** What an attribute is. */
enum class AttributeKind : U8 {
    value,      // to read, or to read and write
    function,   // to call
    collection  // to look keys up in
};

/** What can be asked of an attribute, or of a value as a whole. */
enum class AttributeOperation : U8 {
    get,       // a value's: to read it
    set,       // a value's: to write it
    call,      // a function's: to call it
    truth,     // of a whole value: whether it is true
    equal,     // of a whole value: whether it equals another of its type
    less,      // of a whole value: whether it stands before another of its type
    lookUp,    // a collection's: what there is under a key
    put,       // a collection's: to enter something under a key
    erase,     // a collection's: to take a key's entry out
    count,     // a collection's: how many entries there are
    capacity,  // a collection's: how many entries fit before its table grows
    contains,  // a collection's: whether there is an entry of a key
    keyAt      // a collection's: the key of an entry by its number
};

/** What became of a request. Operands of wrong types are exceptions instead. */
enum class AttributeStatus : U8 {
    done,                 // the answer is there
    operationNotAllowed,  // the attribute, or the type of the value, does not offer it
    noSuchAttribute       // the type serves none of that name
};

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
