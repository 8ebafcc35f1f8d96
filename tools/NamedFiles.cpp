/*
 * Two names lead to one file when device and inode are the same: then links, too, are seen through.
 * A file that is yet to be written has neither, and is known by its path without detours.
 */

#include <tools/NamedFiles.h>

#include <tools/ByteSource.h>
#include <tools/OutputFile.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <tuple>
#include <vector>

namespace LpmTools {

namespace {

/** What a name leads to. */
using Identity = std::tuple<dev_t, ino_t, std::string>;

/** Only of regular files: all others can be read and written side by side. */
std::optional<Identity> identityOf(struct stat const& status) {
    if (!S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return Identity(status.st_dev, status.st_ino, "");
}

std::optional<Identity> identityOf(int file) {
    struct stat status {};
    return ::fstat(file, &status) == 0 ? identityOf(status) : std::nullopt;
}

std::optional<Identity> identityOf(std::string const& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) {
        return identityOf(status);
    }
    std::error_code error;
    auto const real = std::filesystem::weakly_canonical(path, error);
    return Identity(0, 0, error ? path : real.string());
}

std::optional<Identity> identityOfInput(std::string const& path) {
    return path == "-" ? identityOf(STDIN_FILENO) : identityOf(path);
}

[[noreturn]] void refuse(NamedOutput const& output, std::string const& why) {
    throw std::invalid_argument(std::string(output.option) + ": " + output.path + " " + why);
}

}  // namespace

void checkStandardInput(std::span<std::string const> inputs) {
    if (std::ranges::count(inputs, "-") > 1) {
        throw std::invalid_argument("standard input, -, is named more than once");
    }
}

void checkOutputs(std::span<std::string const> inputs, std::span<NamedOutput const> outputs) {
    std::vector<std::pair<Identity, NamedOutput const*>> known;
    for (NamedOutput const& output : outputs) {
        if (output.path == "-") {
            refuse(output, "is no name of a file; /dev/stdout is standard output");
        }
        if (output.path.empty() || standardStream(output.path)) {
            continue;
        }
        auto const identity = identityOf(output.path);
        if (!identity) {
            continue;
        }
        for (std::string const& input : inputs) {
            if (identityOfInput(input) == identity) {
                refuse(output, "is also an input");
            }
        }
        if (identityOf(STDOUT_FILENO) == identity) {
            refuse(output, "is where standard output goes");
        }
        for (auto const& [other, its] : known) {
            if (other == *identity) {
                refuse(output, std::string("is also the file of ") + its->option);
            }
        }
        known.emplace_back(*identity, &output);
    }
}

}  // namespace LpmTools
