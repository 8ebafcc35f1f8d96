#pragma once

#include <tools/Output.h>

#include <optional>
#include <string>
#include <string_view>

namespace LpmTools {

/** The descriptor of the standard stream that is to be written by the name /dev/stdout or so. */
std::optional<int> standardStream(std::string_view path);

/**
 * A file that is written whole or not at all. What is to become of the name is found out at once,
 * before long work: the text goes to a file beside it that takes its place when it is complete. A
 * symbolic link stays, and leads to the new file. A name that stands for something else than a
 * file is written as it is, and so are /dev/stdout and /dev/stderr, wherever they lead.
 */
class OutputFile {
public:
    /** Throws OutputError when there is no way to write it. */
    explicit OutputFile(std::string path);
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;
    /** Without `write` before, leaves all as it was. */
    ~OutputFile();

    /** Once. Throws OutputError. */
    void write(std::string_view text);

private:
    [[noreturn]] void fail() const;

    std::string const path_;
    std::string target_;     // the file that it names
    std::string temporary_;  // empty: the name itself is written
    int file_ = -1;
};

}  // namespace LpmTools
