#pragma once

#include <Vexo/Ptr.h>
#include <Vexo/TrackedAllocation.h>

#include <array>

namespace VexoTest {

inline constexpr Vexo::FwkModule testModule("VexoTest", "tests/Vexo");

/** A counted object that counts its own ends. */
class Body : public Vexo::PtrInterface, public Vexo::TrackedAllocation<Body> {
public:
    explicit Body(int* ends = nullptr) : ends_(ends) {}
    ~Body() override {
        if (ends_ != nullptr) {
            ++*ends_;
        }
    }
    Vexo::FwkType const* fwkType() const override { return &fwkType_; }

    static constexpr Vexo::FwkType fwkType_{"VexoTest::Body", testModule, 1};

private:
    int* ends_;
};

/** Larger than a Body and of a type of its own, but tracked as one. */
class Limb : public Body {
public:
    using Body::Body;
    Vexo::FwkType const* fwkType() const override { return &fwkType_; }

    static constexpr Vexo::FwkType fwkType_{"VexoTest::Limb", testModule, 2};

private:
    [[maybe_unused]] std::array<char, 100> bones_{};
};

}  // namespace VexoTest
