#pragma once

#include <Vexo/Script.h>
#include <fuzz/Fuzz.h>

#include <string>
#include <utility>
#include <vector>

namespace Fuzz {

/** A slot of the C interface that releases itself; never without a value, at least "nothing". */
class Slot {
public:
    Slot() { require(vexoNone(&value_) == VEXO_DONE, "there is memory for a slot"); }
    explicit Slot(VexoValue* value) : value_(value) {}
    Slot(Slot&& other) noexcept : value_(std::exchange(other.value_, nullptr)) {}
    Slot& operator=(Slot&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    Slot(Slot const&) = delete;
    Slot& operator=(Slot const&) = delete;
    ~Slot() { vexoRelease(value_); }

    operator VexoValue*() const { return value_; }

    static Slot number(std::uint64_t value) {
        VexoValue* slot = nullptr;
        require(vexoFromNumber(value, &slot) == VEXO_DONE, "there is memory for a number");
        return Slot(slot);
    }
    /** Attribute `name`, which the value has. */
    Slot attribute(char const* name) const {
        VexoValue* slot = nullptr;
        require(vexoGet(value_, name, &slot) == VEXO_DONE, "the attribute can be read");
        return Slot(slot);
    }
    std::uint64_t numberIn() const {
        std::uint64_t number = 0;
        require(vexoToNumber(value_, &number) == VEXO_DONE, "the slot holds a number");
        return number;
    }
    std::string textIn() const {
        char const* bytes = nullptr;
        std::size_t size = 0;
        require(vexoToString(value_, &bytes, &size) == VEXO_DONE, "the slot holds a text");
        return {bytes, size};
    }
    std::string typeName() const {
        VexoType const* const type = vexoValueType(value_);
        return type != nullptr ? vexoTypeName(type) : "";
    }

private:
    VexoValue* value_ = nullptr;
};

/** Arguments of a call, as the interface takes them. Good as long as the slots. */
using Operands = std::vector<VexoValue const*>;

}  // namespace Fuzz
