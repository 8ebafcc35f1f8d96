#pragma once

#include <fuzz/ScriptSlots.h>

/*
 * Misuse of an operation stops the process, and a client that takes input from elsewhere asks
 * first. So a program asks `insertionRefusal` before it inserts, chooses a trie's family before its
 * first insertion, has no trie verified whose labels it made up, and dumps to where nobody looks.
 */

namespace Fuzz {

bool isTrie(VexoValue const* value);
/** An attribute that is not for a program to set or to call. */
bool isMisuse(VexoValue const* self, std::string const& attribute);
/** An insertion that would stop the process. */
bool isRefused(VexoValue const* self, std::string const& attribute, Operands const& operands);
/** Takes a file descriptor first. */
bool isDump(VexoValue const* self, std::string const& attribute);
/** An open descriptor of what forgets all that is written. */
std::uint64_t nowhere();
/** A bitmap that could take much memory, and tell nothing more for it. */
bool isTooLarge(Slot const& made);
void emptyTrie(VexoValue const* trie);

}  // namespace Fuzz
