#pragma once

#include <span>
#include <string>

/* Files that one call names, and the ways in which they must not be the same. */

namespace LpmTools {

/** A file to write, by the option that names it; an empty path where none is asked for. */
struct NamedOutput {
    char const* option;
    std::string path;
};

/** Throws std::invalid_argument when standard input, "-", is named more than once. */
void checkStandardInput(std::span<std::string const> inputs);

/**
 * Throws std::invalid_argument, which names the option, for an output that is "-", is one of the
 * inputs, another output or what standard output has been led to: whatever the names, the file
 * counts. Devices and pipes may be named again and again. Touches nothing.
 */
void checkOutputs(std::span<std::string const> inputs, std::span<NamedOutput const> outputs);

}  // namespace LpmTools
