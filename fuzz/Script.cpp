#include <fuzz/LibraryTypes.h>
#include <fuzz/ScriptProgram.h>

/*
 * A program over slots of the C interface for scripts: it makes values and objects of all
 * registered types, reads, changes and calls their attributes by name, with whatever operands are
 * at hand. No call may do more than fail with a status and a message, leaving its out-argument
 * alone; and in the end nothing is left alive.
 */

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Fuzz::requireLibraryTypes();
    std::uint64_t const before = vexoLiveAllocations();
    { Fuzz::ScriptProgram(Fuzz::Input(data, size)).run(); }
    Fuzz::require(vexoLiveAllocations() == before, "nothing is left alive");
    return 0;
}
