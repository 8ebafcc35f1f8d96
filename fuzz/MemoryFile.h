#pragma once

#include <fuzz/Fuzz.h>

#include <sys/mman.h>
#include <unistd.h>

#include <string>

namespace Fuzz {

/** A file in memory with this content, for what reads by the file's name. */
class MemoryFile {
public:
    explicit MemoryFile(std::string_view content)
        : descriptor_(memfd_create("input", MFD_CLOEXEC)) {
        require(descriptor_ >= 0 && write(descriptor_, content.data(), content.size()) ==
                                        static_cast<ssize_t>(content.size()),
                "there is memory for the input");
    }
    MemoryFile(MemoryFile const&) = delete;
    MemoryFile& operator=(MemoryFile const&) = delete;
    ~MemoryFile() { close(descriptor_); }

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int const descriptor_;
};

}  // namespace Fuzz
