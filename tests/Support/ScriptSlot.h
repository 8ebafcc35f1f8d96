#pragma once

#include <Vexo/Script.h>

#include <utility>

namespace TestSupport {

/** A slot of the C interface that releases itself. */
class ScriptSlot {
public:
    ScriptSlot() = default;
    explicit ScriptSlot(VexoValue* value) : value_(value) {}
    ScriptSlot(ScriptSlot&& other) noexcept : value_(std::exchange(other.value_, nullptr)) {}
    ScriptSlot& operator=(ScriptSlot&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ScriptSlot(ScriptSlot const&) = delete;
    ScriptSlot& operator=(ScriptSlot const&) = delete;
    ~ScriptSlot() { vexoRelease(value_); }

    operator VexoValue*() const { return value_; }
    /** Where a call puts a new slot; what was there is released. */
    VexoValue** out() {
        vexoRelease(std::exchange(value_, nullptr));
        return &value_;
    }

private:
    VexoValue* value_ = nullptr;
};

}  // namespace TestSupport
