#pragma once

#include <Vexo/Types.h>

#include <span>

namespace Vexo {

struct Attribute;
struct TypeDescription;
struct ValueOps;

/** A reflection module: the types of one source module of a library. Lives as long as its library.
 */
class FwkModule {
public:
    /** Keeps both texts, which must live as long: literals. */
    constexpr FwkModule(char const* name, char const* source) noexcept
        : name_(name), source_(source) {}
    FwkModule(FwkModule const&) = delete;
    FwkModule& operator=(FwkModule const&) = delete;

    /** As the registry lists it. */
    char const* name() const noexcept { return name_; }
    /** What the module's sources are called in traces and assertions, whatever file a line is in.
     */
    char const* source() const noexcept { return source_; }

private:
    char const* name_;
    char const* source_;
};

/** What a type without attributes shows: nothing. */
LPMTRIE_API extern TypeDescription const emptyDescription;

/**
 * A type as the framework knows it: its qualified name, its module, its fixed number there, and
 * what it shows by name. One constant per type, `T::fwkType_`; identity of types is identity of
 * these objects.
 */
class LPMTRIE_API FwkType {
public:
    /** Keeps all but the number by reference: constants. `number` is from 1 on. */
    constexpr FwkType(char const* name, FwkModule const& module, U32 number,
                      TypeDescription const& description = emptyDescription) noexcept
        : name_(name), module_(&module), number_(number), description_(&description) {}
    FwkType(FwkType const&) = delete;
    FwkType& operator=(FwkType const&) = delete;

    /** Qualified, as in source text: "LpmTrie::Trie". */
    char const* name() const noexcept { return name_; }
    /** @{ As at construction. */
    FwkModule const& module() const noexcept { return *module_; }
    U32 number() const noexcept { return number_; }
    TypeDescription const& description() const noexcept { return *description_; }
    /** @} */

    /** Itself or one that it is derived from. */
    bool isA(FwkType const& other) const noexcept;

private:
    char const* name_;
    FwkModule const* module_;
    U32 number_;
    TypeDescription const* description_;
};

/** The framework's own module. */
LPMTRIE_API extern FwkModule const vexoModule;

/** @{ Numbers, flags and texts as the framework hands them about. Wider numbers than U32 are U64.
 */
LPMTRIE_API extern FwkType const boolType;
LPMTRIE_API extern FwkType const u32Type;
LPMTRIE_API extern FwkType const u64Type;
LPMTRIE_API extern FwkType const stringType;
/** @} */

}  // namespace Vexo
