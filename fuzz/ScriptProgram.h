#pragma once

#include <fuzz/ScriptSlots.h>

#include <array>

namespace Fuzz {

/** An input as a program: a byte for what to do, then what it needs. */
class ScriptProgram {
public:
    explicit ScriptProgram(Input input) : input_(input) {}
    void run();

private:
    void step();
    void makeScalar();
    void makeByType();
    void keepObject(Slot const& made);
    void ask();
    void askForAnother();
    void useAttribute();
    void useCollection();
    void call(VexoValue* self, std::string const& name);
    void callFunction();
    void endObjects();

    Slot& slot() { return slots_[input_.below(slots_.size())]; }
    std::string name(VexoValue* self);
    Operands operands();

    /** The result of a call, which it puts where its argument says, goes into a slot. */
    template <class Call>
    void take(Call const& call);

    Input input_;
    std::array<Slot, 6> slots_;
    /** All that were made: emptying tries and parting neighbours is the client's business. */
    std::vector<Slot> objects_;
};

}  // namespace Fuzz
