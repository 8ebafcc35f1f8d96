#pragma once

#include <Vexo/TypeDescription.h>

#include <span>
#include <vector>

namespace Vexo {

/**
 * Enters a module, its types and its free functions into the process's registry for as long as it
 * lives: a static object of the module's library. A type becomes known by its qualified name. The
 * registry locks, so that libraries may come while others are asked.
 */
class LPMTRIE_API ModuleRegistration {
public:
    /** Keeps types and functions by reference: constants of the library. */
    ModuleRegistration(FwkModule const& module, std::vector<FwkType const*> types,
                       std::span<Attribute const> functions = {});
    ModuleRegistration(ModuleRegistration const&) = delete;
    ModuleRegistration& operator=(ModuleRegistration const&) = delete;
    ~ModuleRegistration();

private:
    FwkModule const* module_;
};

/** All modules, in the order of their registration. Takes time in proportion to them. */
LPMTRIE_API std::vector<FwkModule const*> registeredModules();
/**
 * The types of a module, in the order of their numbers. Takes time in proportion to all modules and
 * to these types.
 */
LPMTRIE_API std::vector<FwkType const*> registeredTypes(FwkModule const& module);
/** The functions of a module that belong to no type. All modules may have to be looked at. */
LPMTRIE_API std::span<Attribute const> registeredFunctions(FwkModule const& module);
/** @{ Null when there is none of that name. All names there are may have to be compared. */
LPMTRIE_API FwkModule const* findModule(String const& name);
LPMTRIE_API FwkType const* findType(String const& qualifiedName);
/** @} */

/** Calls a module's function. All names of its functions may have to be compared. */
LPMTRIE_API AttributeStatus callFunction(FwkModule const& module, String const& function,
                                         std::span<Value const> operands, Value* result);

}  // namespace Vexo
