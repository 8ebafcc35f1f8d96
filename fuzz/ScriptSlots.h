#pragma once

#include <Vexo/Script.h>
#include <tests/Support/ScriptSlot.h>
#include <fuzz/Fuzz.h>

#include <string>
#include <vector>

namespace Fuzz {

/** A slot of the C interface that is never without a value: at least "nothing". */
class Slot : public TestSupport::ScriptSlot {
public:
    Slot() { require(vexoNone(out()) == VEXO_DONE, "there is memory for a slot"); }
    using ScriptSlot::ScriptSlot;

    static Slot number(std::uint64_t value) {
        VexoValue* slot = nullptr;
        require(vexoFromNumber(value, &slot) == VEXO_DONE, "there is memory for a number");
        return Slot(slot);
    }
    /** Attribute `name`, which the value has. */
    Slot attribute(char const* name) const {
        VexoValue* slot = nullptr;
        require(vexoGet(*this, name, &slot) == VEXO_DONE, "the attribute can be read");
        return Slot(slot);
    }
    std::uint64_t numberIn() const {
        std::uint64_t number = 0;
        require(vexoToNumber(*this, &number) == VEXO_DONE, "the slot holds a number");
        return number;
    }
    std::string textIn() const {
        char const* bytes = nullptr;
        std::size_t size = 0;
        require(vexoToString(*this, &bytes, &size) == VEXO_DONE, "the slot holds a text");
        return {bytes, size};
    }
    std::string typeName() const {
        VexoType const* const type = vexoValueType(*this);
        return type != nullptr ? vexoTypeName(type) : "";
    }
};

/** Arguments of a call, as the interface takes them. Good as long as the slots. */
using Operands = std::vector<VexoValue const*>;

}  // namespace Fuzz
