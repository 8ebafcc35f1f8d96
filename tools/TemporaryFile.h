#pragma once

#include <string>

/* Files that must not outlive the process, not even one that a signal ends. */

namespace LpmTools {

/**
 * Makes a file and its name from one that ends in "XXXXXX", as mkostemp(3) does: its descriptor, or
 * -1 and errno. The file goes when SIGHUP, SIGINT or SIGTERM ends the process, unless these are
 * handled or ignored already. `name` must stay as it is until `forgetTemporary`.
 */
int makeTemporary(std::string& name);

/** The file has gone, or is to stay. */
void forgetTemporary(std::string const& name) noexcept;

}  // namespace LpmTools
