#pragma once

#include <Vexo/Ptr.h>
#include <Vexo/Types.h>

namespace Vexo {

/**
 * The counted objects that a text form has named. Writing an object's name enters it here, its end
 * takes it out; reading a name finds only what is here, so a text can never be followed to an
 * object that is gone. Objects that no text names cost nothing. Safe with threads in
 * thread-safe-pointer mode.
 */
class ObjectNames {
public:
    /** "Object('Type', 0x…)", or "None" for null. Throws std::bad_alloc. */
    static String name(PtrInterface const* object);
    /** The living object of that type at that address, or null when a text never named one. */
    static Ptr<PtrInterface> find(String const& typeName, U64 address);
    static void forget(PtrInterface const* object) noexcept;
};

}  // namespace Vexo
