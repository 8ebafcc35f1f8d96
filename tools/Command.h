#pragma once

namespace LpmTools {

/**
 * The `lpmtrie` command. Exit status: 0 done; 1 an input, an output or a check failed; 2 the call
 * or a line of the input is not right. One line on standard error tells what.
 */
int runCommand(int argumentCount, char const* const* arguments);

}  // namespace LpmTools
