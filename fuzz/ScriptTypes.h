#pragma once

#include <Vexo/Script.h>

#include <vector>

/* All modules and types, in the order in which the C interface tells them. */

namespace Fuzz {

inline std::vector<VexoModule const*> modules() {
    std::vector<VexoModule const*> all;
    while (VexoModule const* const module = vexoModule(all.size())) {
        all.push_back(module);
    }
    return all;
}

inline std::vector<VexoType const*> const& types() {
    static auto const all = [] {
        std::vector<VexoType const*> found;
        for (VexoModule const* const module : modules()) {
            for (std::size_t i = 0; VexoType const* const type = vexoModuleType(module, i); ++i) {
                found.push_back(type);
            }
        }
        return found;
    }();
    return all;
}

}  // namespace Fuzz
