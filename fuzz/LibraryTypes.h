#pragma once

#include <LpmTrie/LpmTrie.h>
#include <Vexo/Registry.h>
#include <fuzz/Fuzz.h>

#include <array>

namespace Fuzz {

/**
 * Brings the modules of all library folders into the program, of which the linker would leave out
 * what nobody names: one type of each source that registers some.
 */
inline void requireLibraryTypes() {
    static std::array const types{&LpmTrie::Trie::fwkType_, &LpmTrie::PartitionId::fwkType_,
                                  &Nimbal::IpGenPrefixRef::fwkType_, &Torvel::Bitmap::fwkType_};
    for (Vexo::FwkType const* const type : types) {
        require(Vexo::findType(type->name()) == type, "the library's types are registered");
    }
}

}  // namespace Fuzz
