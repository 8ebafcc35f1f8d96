#pragma once

#include <fuzz/ScriptSlots.h>

#include <string_view>

/* What every call of the C interface must keep to, whatever it is given. */

namespace Fuzz {

/** Whether a call was done. */
inline bool check(VexoStatus status) {
    require(status == VEXO_DONE || vexoMessage()[0] != '\0', "an error tells what is wrong");
    require(status != VEXO_NO_MEMORY || std::string_view(vexoMessage()) == "out of memory",
            "memory that is missing is told");
    return status == VEXO_DONE;
}

/** A call that gives a slot; false where it failed, with nothing given. */
template <class Call>
bool checkSlot(Call const& call, Slot& given) {
    VexoValue* out = nullptr;
    bool const done = check(call(&out));
    require(done == (out != nullptr), "a call that is done gives a slot, one that fails none");
    if (done) {
        given = Slot(out);
    }
    return done;
}

/** A call that answers 0 or 1. */
template <class Ask>
void checkFlag(Ask const& ask) {
    constexpr int unanswered = 7;
    int answer = unanswered;
    bool const done = check(ask(&answer));
    require(done ? answer == 0 || answer == 1 : answer == unanswered,
            "a flag is 0 or 1, and a call that fails leaves its out-argument alone");
}

/** A call that answers a number. */
template <class Ask>
void checkNumber(Ask const& ask) {
    std::uint64_t first = 7;
    std::uint64_t second = 8;
    bool const done = check(ask(&first));
    require(done == check(ask(&second)), "a question asked twice is answered alike");
    require(done ? first == second : first == 7 && second == 8,
            "the answer is the same, and none leaves the out-argument alone");
}

}  // namespace Fuzz
