#include <Vexo/Registry.h>
#include <Vexo/Value.h>

#include <algorithm>
#include <mutex>

namespace Vexo {

namespace {

struct Entry {
    FwkModule const* module;
    std::vector<FwkType const*> types;
    std::span<Attribute const> functions;
};

constinit std::mutex registryMutex;

std::vector<Entry>& entries() {
    // Deliberate: never destroyed, libraries may leave after every static of this file.
    static auto& all = *new std::vector<Entry>;
    return all;
}

/** What `get` gives for the module's entry, or nothing. */
template <class T, class Get>
T ofModule(FwkModule const& module, Get const& get) {
    std::lock_guard const lock(registryMutex);
    for (Entry const& entry : entries()) {
        if (entry.module == &module) {
            return get(entry);
        }
    }
    return {};
}

// The scalars belong to the registry itself, so that no program can lack them.
ModuleRegistration const vexoRegistration(vexoModule, {&PtrInterface::fwkType_, &boolType, &u32Type,
                                                       &u64Type, &stringType});

}  // namespace

ModuleRegistration::ModuleRegistration(FwkModule const& module, std::vector<FwkType const*> types,
                                       std::span<Attribute const> functions)
    : module_(&module) {
    std::ranges::sort(types, {}, &FwkType::number);
    std::lock_guard const lock(registryMutex);
    entries().push_back({&module, std::move(types), functions});
}

ModuleRegistration::~ModuleRegistration() {
    std::lock_guard const lock(registryMutex);
    std::erase_if(entries(), [this](Entry const& entry) { return entry.module == module_; });
}

std::vector<FwkModule const*> registeredModules() {
    std::lock_guard const lock(registryMutex);
    std::vector<FwkModule const*> modules;
    for (Entry const& entry : entries()) {
        modules.push_back(entry.module);
    }
    return modules;
}

std::vector<FwkType const*> registeredTypes(FwkModule const& module) {
    return ofModule<std::vector<FwkType const*>>(module,
                                                 [](Entry const& entry) { return entry.types; });
}

std::span<Attribute const> registeredFunctions(FwkModule const& module) {
    return ofModule<std::span<Attribute const>>(module,
                                                [](Entry const& entry) { return entry.functions; });
}

FwkModule const* findModule(String const& name) {
    for (FwkModule const* module : registeredModules()) {
        if (name == module->name()) {
            return module;
        }
    }
    return nullptr;
}

FwkType const* findType(String const& qualifiedName) {
    std::lock_guard const lock(registryMutex);
    for (Entry const& entry : entries()) {
        for (FwkType const* type : entry.types) {
            if (qualifiedName == type->name()) {
                return type;
            }
        }
    }
    return nullptr;
}

AttributeStatus callFunction(FwkModule const& module, String const& function,
                             std::span<Value const> operands, Value* result) {
    for (Attribute const& row : registeredFunctions(module)) {
        if (function == row.name && row.serve != nullptr) {
            Value unused;
            AttributeRequest request{nullptr,  AttributeOperation::call,
                                     operands, result != nullptr ? result : &unused,
                                     &row,     "function '" + function + "' of " + module.name()};
            return row.serve(request);
        }
    }
    return AttributeStatus::noSuchAttribute;
}

}  // namespace Vexo
