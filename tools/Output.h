#pragma once

#include <functional>
#include <stdexcept>
#include <string_view>

namespace LpmTools {

/** Standard output could not be written: a full disk, a pipe that nobody reads. */
class OutputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** Writes all of `text` to the file descriptor. Throws OutputError. */
void writeAll(int file, std::string_view text);

/**
 * Lets `writer` write to a file descriptor that it is given and passes all on to `file`, so that
 * errors are heard even from a writer that ignores its own. Memory stays bounded. Throws
 * OutputError, once `writer` has returned, and what `writer` throws.
 */
void writeThrough(int file, std::function<void(int)> const& writer);

}  // namespace LpmTools
