#pragma once

#include <Vexo/Types.h>

namespace Vexo {

/**
 * A reflection module: the types of one source module of a library. Lives as long as the process.
 */
class FwkModule {
public:
    constexpr FwkModule(char const* name, char const* source) noexcept
        : name_(name), source_(source) {}
    FwkModule(FwkModule const&) = delete;
    FwkModule& operator=(FwkModule const&) = delete;

    char const* name() const noexcept { return name_; }
    /**
     * The name that the module's sources carry in traces and assertions, whatever file a line is
     * in.
     */
    char const* source() const noexcept { return source_; }

private:
    char const* name_;
    char const* source_;
};

/**
 * A type as the framework knows it: its qualified name, its module and its fixed number there.
 * One constant per type, `T::fwkType_`; identity of types is identity of these objects.
 */
class FwkType {
public:
    constexpr FwkType(char const* name, FwkModule const& module, U32 number) noexcept
        : name_(name), module_(&module), number_(number) {}
    FwkType(FwkType const&) = delete;
    FwkType& operator=(FwkType const&) = delete;

    /** Qualified, as in source text: "LpmTrie::Trie". */
    char const* name() const noexcept { return name_; }
    FwkModule const& module() const noexcept { return *module_; }
    U32 number() const noexcept { return number_; }

private:
    char const* name_;
    FwkModule const* module_;
    U32 number_;
};

/** The framework's own module. */
extern FwkModule const vexoModule;

}  // namespace Vexo
