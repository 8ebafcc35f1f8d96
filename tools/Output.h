#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace LpmTools {

/** Standard output could not be written: a full disk, a pipe that nobody reads. */
class OutputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** The text with "\xNN" for control characters: safe to show in one line of a terminal. */
std::string onOneLine(std::string_view text);

/**
 * Seals standard streams that the caller has closed, so that no file or pipe opened later takes
 * their place: reading and writing them keeps failing.
 */
void sealClosedStreams();

/** Writes all of `text` to the file descriptor. Throws OutputError. */
void writeAll(int file, std::string_view text);

/**
 * Lets `writer` write to a file descriptor that it is given and passes all on to `file`, so that
 * errors are heard even from a writer that ignores its own. Memory stays bounded. Throws, once
 * `writer` has ended, OutputError or else what `writer` threw.
 *
 * Such a writer may go on for long when nothing that it writes arrives. `onLoss` is called, if
 * given, as soon as the output fails; it must not throw, and may end the process.
 */
void writeThrough(int file, std::function<void(int)> const& writer,
                  std::function<void(OutputError const&)> const& onLoss = nullptr);

}  // namespace LpmTools
