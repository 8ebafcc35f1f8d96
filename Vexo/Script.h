#ifndef VEXO_SCRIPT_H
#define VEXO_SCRIPT_H

/*
 * C interface to the registered types, for script languages: what there is, and how to make, read,
 * change and call it by name.
 *
 * Handles. Modules, types and attributes are constants that live as long as their library and are
 * never released. A `VexoValue` is a slot of the caller's: nothing, a scalar, a value of a value
 * type, or a counted reference to an object. Every function that gives one out gives a new one, to
 * be released once; a slot that refers to an object keeps it alive. A slot is used by one thread at
 * a time.
 *
 * Errors. A function that can fail returns a status; all but VEXO_DONE leave their out-arguments as
 * they were, and `vexoMessage` tells what was wrong. Only a few questions that return no status,
 * which say so, answer null or 0 when memory ends, and leave the message alone. No C++ exception
 * leaves any function. What stops the process is misuse of an operation itself: a client that takes
 * input from elsewhere asks first.
 *
 * Texts are UTF-8, in arguments ended by a NUL unless a length stands beside them. Out-arguments
 * must not be null unless it is said so.
 */

/* NOLINTBEGIN(modernize-*): C, not C++. */

#include <Vexo/Export.h>

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** @{ A handle: see the head of this file. */
typedef struct VexoModule VexoModule;
typedef struct VexoType VexoType;
typedef struct VexoAttribute VexoAttribute;
typedef struct VexoValue VexoValue;
/** @} */

/** What became of a call. */
typedef enum VexoStatus {
    VEXO_DONE = 0,              /**< it was done */
    VEXO_NOT_ALLOWED = 1,       /**< the attribute or type does not offer this operation */
    VEXO_NO_SUCH_ATTRIBUTE = 2, /**< the type or module serves none of that name */
    VEXO_WRONG_TYPE = 3,        /**< an operand's type, or the number of operands */
    VEXO_OUT_OF_RANGE = 4,      /**< a text or number that is no value of the type */
    VEXO_NOT_HASHABLE = 5,      /**< a hash was asked of a type that has none */
    VEXO_NO_MEMORY = 6,         /**< memory ended */
    VEXO_FAILED = 7             /**< any other exception, of a client's hook for instance */
} VexoStatus;

/** What an attribute is. */
typedef enum VexoKind {
    VEXO_VALUE = 0,     /**< read by `vexoGet`, and perhaps written by `vexoSet` */
    VEXO_FUNCTION = 1,  /**< called by `vexoCall`, a module's by `vexoCallFunction` */
    VEXO_COLLECTION = 2 /**< a mapping, from `vexoLookUp` to `vexoKeyAt` */
} VexoKind;

/**
 * What was wrong at this thread's last call that failed with a status; empty before the first one.
 * Good until its next call that fails.
 */
LPMTRIE_API char const* vexoMessage(void);

/**
 * @{ What there is. An index past the end gives null, or 0; listings are in a fixed order. Handles
 * and texts live as long as their library.
 */

/**
 * Module number `index`, in the order of registration. This one, `vexoModuleType` and
 * `vexoTypeAttribute` make the whole listing at each call; they give null also when memory ends.
 */
LPMTRIE_API VexoModule const* vexoModule(size_t index);
/** The module's name: "LpmTrie". */
LPMTRIE_API char const* vexoModuleName(VexoModule const* module);
/** What its sources are called in traces and assertions: "LpmTrie/LpmTrie". */
LPMTRIE_API char const* vexoModuleSource(VexoModule const* module);
/** Type number `index`, in the order of the types' numbers. */
LPMTRIE_API VexoType const* vexoModuleType(VexoModule const* module, size_t index);
/** Function number `index` of those that belong to no type; goes through those before it. */
LPMTRIE_API VexoAttribute const* vexoModuleFunction(VexoModule const* module, size_t index);

/**
 * Null when no type of that qualified name is registered, or memory ends. All names there are may
 * have to be compared.
 */
LPMTRIE_API VexoType const* vexoFindType(char const* name);
/** The qualified name: "LpmTrie::Trie". */
LPMTRIE_API char const* vexoTypeName(VexoType const* type);
/** The module that it belongs to. */
LPMTRIE_API VexoModule const* vexoTypeModule(VexoType const* type);
/** Its number within the module, from 1 on. */
LPMTRIE_API uint32_t vexoTypeNumber(VexoType const* type);
/** The type it is derived from, or null. */
LPMTRIE_API VexoType const* vexoTypeBase(VexoType const* type);
/** 1: a value type, copied about; 0: an object type, referred to. */
LPMTRIE_API int vexoTypeIsValue(VexoType const* type);
/** 1 when values of the type have a hash. Objects have one, by identity. */
LPMTRIE_API int vexoTypeHasHash(VexoType const* type);
/** 1 when values of the type have an order. Objects have none. */
LPMTRIE_API int vexoTypeHasOrder(VexoType const* type);
/** Served attribute number `index`, those of the base type first. */
LPMTRIE_API VexoAttribute const* vexoTypeAttribute(VexoType const* type, size_t index);
/** A function that makes one from operands; null when the type has none. */
LPMTRIE_API VexoAttribute const* vexoTypeConstructor(VexoType const* type);
/**
 * The attribute's number within the type; 0 when the type declares none of that name, or memory
 * ends. All names that it declares may have to be compared.
 */
LPMTRIE_API uint32_t vexoTypeAttributeNumber(VexoType const* type, char const* attribute);

/** By which it is asked for. */
LPMTRIE_API char const* vexoAttributeName(VexoAttribute const* attribute);
/** What can be asked of it. */
LPMTRIE_API VexoKind vexoAttributeKind(VexoAttribute const* attribute);
/** 1: a value that `vexoGet` reads. */
LPMTRIE_API int vexoAttributeIsReadable(VexoAttribute const* attribute);
/** 1: a value that `vexoSet` writes. */
LPMTRIE_API int vexoAttributeIsWritable(VexoAttribute const* attribute);
/**
 * Of the value, of a function's result, of a collection's values; null: a function without result.
 */
LPMTRIE_API VexoType const* vexoAttributeType(VexoAttribute const* attribute);
/** 1 when that type is an object's, travelling as a reference. */
LPMTRIE_API int vexoAttributeIsReference(VexoAttribute const* attribute);
/** Of a collection's keys, else null. */
LPMTRIE_API VexoType const* vexoAttributeKeyType(VexoAttribute const* attribute);
/** How many operands a function takes; 0 for what is none. */
LPMTRIE_API size_t vexoParameterCount(VexoAttribute const* function);
/** What parameter number `index` is called. */
LPMTRIE_API char const* vexoParameterName(VexoAttribute const* function, size_t index);
/** The type that it takes. */
LPMTRIE_API VexoType const* vexoParameterType(VexoAttribute const* function, size_t index);
/** 1 when that type is an object's, travelling as a reference. */
LPMTRIE_API int vexoParameterIsReference(VexoAttribute const* function, size_t index);
/** @} */

/** @{ Making slots. `out` gets a new one, to be released. */

/** A slot that holds nothing. */
LPMTRIE_API VexoStatus vexoNone(VexoValue** out);
/** A flag: 0 is false, all else true. */
LPMTRIE_API VexoStatus vexoFromBool(int value, VexoValue** out);
/** A number of 64 bits. It serves where 32 are wanted, too, if it is in range. */
LPMTRIE_API VexoStatus vexoFromNumber(uint64_t value, VexoValue** out);
/** A String of these bytes, which are copied; NULs may be among them. */
LPMTRIE_API VexoStatus vexoFromString(char const* bytes, size_t length, VexoValue** out);
/** A value from its text form, or a reference from the name that `vexoText` gave a living object.
 */
LPMTRIE_API VexoStatus vexoFromText(VexoType const* type, char const* bytes, size_t length,
                                    VexoValue** out);
/** By the type's constructor; without operands a value type's default. */
LPMTRIE_API VexoStatus vexoMake(VexoType const* type, VexoValue const* const* operands,
                                size_t count, VexoValue** out);
/** A value is copied, an object gets one more reference. */
LPMTRIE_API VexoStatus vexoCopy(VexoValue const* value, VexoValue** out);
/** Ends a slot. Null is allowed and does nothing. */
LPMTRIE_API void vexoRelease(VexoValue* value);
/** @} */

/** @{ Looking at slots. One that does not hold what is asked for is VEXO_WRONG_TYPE. */

/**
 * Of the value, or of the object itself, which may be derived from the declared type; the declared
 * type of a reference to no object; null: nothing.
 */
LPMTRIE_API VexoType const* vexoValueType(VexoValue const* value);
/** 1 for nothing and for a reference to no object. */
LPMTRIE_API int vexoIsNull(VexoValue const* value);
/** The flag in the slot, 0 or 1. */
LPMTRIE_API VexoStatus vexoToBool(VexoValue const* value, int* out);
/** The number in the slot, of 32 or of 64 bits. */
LPMTRIE_API VexoStatus vexoToNumber(VexoValue const* value, uint64_t* out);
/** The bytes of a String, good until the slot is released. */
LPMTRIE_API VexoStatus vexoToString(VexoValue const* value, char const** bytes, size_t* length);
/** The text form, as a slot that holds a String. */
LPMTRIE_API VexoStatus vexoText(VexoValue const* value, VexoValue** out);

/**
 * Results are 0 or 1. References: truth is being there, equality is being the same object.
 * VEXO_NOT_ALLOWED: the type has no truth, no equality or no order.
 */
LPMTRIE_API VexoStatus vexoTruth(VexoValue const* value, int* out);
/** Whether the two are equal: values of one type, or two references. */
LPMTRIE_API VexoStatus vexoEqual(VexoValue const* a, VexoValue const* b, int* out);
/** Whether `a` stands before `b`, both values of one type. */
LPMTRIE_API VexoStatus vexoLess(VexoValue const* a, VexoValue const* b, int* out);
/** A value's hash, or that of an object's identity. VEXO_NOT_HASHABLE: the type has none. */
LPMTRIE_API VexoStatus vexoHash(VexoValue const* value, uint32_t* out);
/** @} */

/**
 * @{ Attributes by name, of the value in the slot `self` or of the object that it refers to.
 * Nothing, and a reference to no object, have none. All names that the type declares may have to be
 * compared.
 */

/** Reads a value: `out` gets a slot with a copy of it, or with one more reference to an object. */
LPMTRIE_API VexoStatus vexoGet(VexoValue* self, char const* attribute, VexoValue** out);
/** Writes a value. Where `self` holds a value itself, it changes in the slot. */
LPMTRIE_API VexoStatus vexoSet(VexoValue* self, char const* attribute, VexoValue const* operand);
/**
 * Calls a function with `count` operands, in the order of its parameters. `out` gets the result,
 * nothing from a function without one; null: the result is not wanted.
 */
LPMTRIE_API VexoStatus vexoCall(VexoValue* self, char const* attribute,
                                VexoValue const* const* operands, size_t count, VexoValue** out);
/** The same with a function of a module. */
LPMTRIE_API VexoStatus vexoCallFunction(VexoModule const* module, char const* function,
                                        VexoValue const* const* operands, size_t count,
                                        VexoValue** out);

/** Of a collection. A look-up of what is not there gives the mapped type's zero. */
LPMTRIE_API VexoStatus vexoLookUp(VexoValue* self, char const* attribute, VexoValue const* key,
                                  VexoValue** out);
/** Gives the entry of that key another mapped value, or enters one. */
LPMTRIE_API VexoStatus vexoPut(VexoValue* self, char const* attribute, VexoValue const* key,
                               VexoValue const* mapped);
/** Takes an entry out; `out` tells whether there was such an entry. */
LPMTRIE_API VexoStatus vexoErase(VexoValue* self, char const* attribute, VexoValue const* key,
                                 int* out);
/** Whether there is an entry of that key. */
LPMTRIE_API VexoStatus vexoContains(VexoValue* self, char const* attribute, VexoValue const* key,
                                    int* out);
/** How many entries there are. */
LPMTRIE_API VexoStatus vexoCount(VexoValue* self, char const* attribute, uint64_t* out);
/** How many entries fit before the collection takes more memory. */
LPMTRIE_API VexoStatus vexoCapacity(VexoValue* self, char const* attribute, uint64_t* out);
/**
 * The key of entry number `index`; VEXO_OUT_OF_RANGE from the count on. A change of the collection
 * renumbers.
 */
LPMTRIE_API VexoStatus vexoKeyAt(VexoValue* self, char const* attribute, uint64_t index,
                                 VexoValue** out);
/** @} */

/** @{ The process. */

/** Tracked objects of all types that are alive. Adds up what the types that ever allocated have. */
LPMTRIE_API uint64_t vexoLiveAllocations(void);
/**
 * The same of one type, by its qualified name; 0 for a name that has allocated nothing, and when
 * memory ends. Makes the listing of all types for it.
 */
LPMTRIE_API uint64_t vexoLiveAllocationsOf(char const* typeName);
/** Atomic reference counts on (1) or off (0); to be set while one thread runs. */
LPMTRIE_API void vexoThreadSafePtrIs(int on);
/** "LpmTrie/7-9,LpmTrieTypes/9": trace levels on, "LpmTrie/off": off. */
LPMTRIE_API VexoStatus vexoTraceLevelsIs(char const* settings);
/** @} */

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-*) */

#endif
