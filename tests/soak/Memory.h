#pragma once

#include <Vexo/Types.h>

namespace Soak {

using Vexo::U64;

/** What the process takes, in bytes. */
struct Memory {
    U64 resident = 0;
    U64 tracked = 0;  // by the objects whose allocation the library tracks

    static Memory now();
};

/** Readings, and the largest distance of any from the first, up or down. */
class Drift {
public:
    explicit Drift(U64 first) noexcept : first_(first), last_(first), least_(first), most_(first) {}

    void read(U64 value) noexcept;
    U64 first() const noexcept { return first_; }
    U64 last() const noexcept { return last_; }
    /** That distance in percent of the first one. */
    double percent() const noexcept;
    /** By no more than a percent, or than `slack` where that is more? */
    bool isFlat(U64 slack) const noexcept;

private:
    U64 largest() const noexcept;

    U64 first_;
    U64 last_;
    U64 least_;
    U64 most_;
};

}  // namespace Soak
