#pragma once

#include <gtest/gtest.h>

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ToolsTest {

/** A new directory that goes with all in it at the end. */
class TemporaryDirectory {
public:
    TemporaryDirectory() : path_(testing::TempDir() + "lpmtrie-XXXXXX") {
        if (::mkdtemp(path_.data()) == nullptr) {
            throw std::runtime_error("cannot make the directory " + path_);
        }
    }
    TemporaryDirectory(TemporaryDirectory const&) = delete;
    TemporaryDirectory& operator=(TemporaryDirectory const&) = delete;
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    std::string path(std::string_view name) const { return path_ + "/" + std::string(name); }
    /** Writes a file and answers its path. */
    std::string write(std::string_view name, std::string_view bytes) const {
        std::string const file = path(name);
        // File systems may wait for the disk where a file is cut to nothing and written anew.
        std::filesystem::remove(file);
        std::ofstream out(file, std::ios::binary);
        out << bytes;
        out.close();
        if (!out) {
            throw std::runtime_error("cannot write " + file);
        }
        return file;
    }

private:
    std::string path_;
};

}  // namespace ToolsTest
